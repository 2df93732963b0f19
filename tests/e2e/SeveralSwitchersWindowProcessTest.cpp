// The built mixdesk-tally following the ATEM stand-in and the vMix stand-in
// at once, with a capture tally box: both light the box, and with vMix
// killed its lights keep their last state while the ATEM's cut still reaches
// the box.

#include "WindowHome.h"
#include "support/AtemStandinProcess.h"
#include "support/VmixStandinProcess.h"

#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

namespace {

// Light 1 the ATEM's Camera 1 (live), light 2 its Camera 2 (preview), light
// 3 the vMix's Clip (live), light 4 its Camera 1 (preview).
const QByteArray bothAtTheirStart = "b1 21 02 d2 b3 23 04 d4 05 25 06 26 07 27 08 28";
// After a cut in the ATEM, with vMix lost and its lights kept.
const QByteArray atemCutVmixKept = "01 d1 b2 22 b3 23 04 d4 05 25 06 26 07 27 08 28";

class SeveralSwitchersWindowProcessTest : public testing::Test {
protected:
    SeveralSwitchersWindowProcessTest()
        : vmix(QStringLiteral("Clip,Graphics,Camera 1"))
    {
    }

    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        mapPath = home.write(
            QStringLiteral("studio.tlx"), "0|ATEM: Camera 1\r\n1|Camera 2\r\n2|Clip\r\n3|vMix: Camera 1\r\n");
        ASSERT_TRUE(atem.start());
        vmix.setOptions(
            { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("3") });
        ASSERT_TRUE(vmix.start());
    }

    void TearDown() override
    {
        if (window.state() != QProcess::NotRunning) {
            window.kill();
            window.waitForFinished();
        }
    }

    WindowHome home;
    const CaptureFile& capture = home.capture();
    QString mapPath;
    AtemStandinProcess atem;
    VmixStandinProcess vmix;
    QProcess window;
};

} // namespace

TEST_F(SeveralSwitchersWindowProcessTest, BothLightTheBoxAndAKilledOneKeepsItsLightsWhileTheOthersCutArrives)
{
    QProcessEnvironment environment = home.environment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
    WindowHome::launch(window, environment,
        { QStringLiteral("--source"), atem.address(), QStringLiteral("--source"), vmix.address(), mapPath });
    EXPECT_TRUE(home.lastTickIs(bothAtTheirStart)) << capture.ticks().last().toStdString();

    vmix.stop();
    atem.send("cut");
    EXPECT_TRUE(home.lastTickIs(atemCutVmixKept)) << capture.ticks().last().toStdString();
    // Well after vMix was found lost (within two seconds): its lights are
    // still kept, and the ATEM's next cut still goes through at once.
    QThread::msleep(2500);
    EXPECT_EQ(capture.ticks().last(), atemCutVmixKept);
    atem.send("cut");
    EXPECT_TRUE(home.lastTickIs(bothAtTheirStart)) << capture.ticks().last().toStdString();
    EXPECT_EQ(window.state(), QProcess::Running);
}
