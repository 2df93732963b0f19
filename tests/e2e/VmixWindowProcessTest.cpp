// The built mixdesk-tally following the vMix stand-in, with a capture tally
// box: a cut reaches the box, the lights freeze (nothing is sent) while vMix
// is gone, and follow its picture again once it is back.

#include "WindowHome.h"
#include "support/VmixStandinProcess.h"

#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

namespace {

// Light 1 live, light 2 preview, the rest off.
const QByteArray firstLiveSecondPreview = "b1 21 02 d2 03 23 04 24 05 25 06 26 07 27 08 28";
// Light 1 preview, light 2 live.
const QByteArray firstPreviewSecondLive = "01 d1 b2 22 03 23 04 24 05 25 06 26 07 27 08 28";

class VmixWindowProcessTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        mapPath = home.write(QStringLiteral("studio.tlx"), "0|Camera 1\r\n1|Camera 2\r\n");
        vmix.setOptions(
            { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("2") });
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
    VmixStandinProcess vmix;
    QProcess window;
};

} // namespace

TEST_F(VmixWindowProcessTest, TheWindowDrivesTheBoxFreezesWhileVmixIsGoneAndFollowsItAgain)
{
    QProcessEnvironment environment = home.environment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
    WindowHome::launch(window, environment, { QStringLiteral("--source"), vmix.address(), mapPath });
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview)) << capture.lines().size();
    vmix.send("cut");
    EXPECT_TRUE(home.lastTickIs(firstPreviewSecondLive)) << capture.ticks().last().toStdString();

    vmix.stop();
    // Noticed within two seconds; from then on no byte is sent.
    QThread::msleep(2500);
    const qsizetype frozen = capture.lines().size();
    QThread::msleep(700);
    EXPECT_EQ(capture.lines().size(), frozen);
    EXPECT_TRUE(capture.endsOnWholeTick());
    EXPECT_EQ(capture.ticks().last(), firstPreviewSecondLive) << "frozen, not switched off";

    // Back with its own picture: the lights follow it again.
    ASSERT_TRUE(vmix.restart());
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview)) << capture.ticks().last().toStdString();
    EXPECT_GT(capture.lines().size(), frozen);
    EXPECT_EQ(window.state(), QProcess::Running);
}
