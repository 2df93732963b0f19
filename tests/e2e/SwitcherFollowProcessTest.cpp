// The built mixdesk-tally beside the built stand-in, both real processes with
// a private runtime folder, home and capture tally box: every change made in
// the stand-in (preview, cut, rename) reaches the box's bytes within two
// ticks, and when the stand-in quits the lights freeze.

#include "MixdeskProcesses.h"
#include "WindowHome.h"
#include "support/QtPrinters.h"
#include "tools/StandinProcess.h"

#include <QFile>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

namespace {

class SwitcherFollowProcessTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }

    void TearDown() override
    {
        if (tally.state() != QProcess::NotRunning) {
            tally.kill();
            tally.waitForFinished();
        }
    }

    void launchTally(const QString& mapPath)
    {
        WindowHome::launch(tally, home.environment(standin.environment()), { mapPath });
    }

    QString writeMap(const QByteArray& contents) const { return home.write(QStringLiteral("studio.tlx"), contents); }

    // Sends a command to the stand-in and waits until its answer has
    // changed; then the second complete tick after that moment must show the
    // change (the first may have asked before it). Returns that tick.
    QByteArray tickAfter(const QByteArray& command)
    {
        const QByteArray before = standin.answer();
        standin.send(command);
        if (!eventually([&] { return standin.answer() != before && !standin.answer().isEmpty(); })) {
            ADD_FAILURE() << "the stand-in's answer did not change after " << command.toStdString();
            return {};
        }
        const qsizetype seen = capture.ticks().size();
        if (!eventually([&] { return capture.ticks().size() >= seen + 2; })) {
            ADD_FAILURE() << "no two ticks after " << command.toStdString();
            return {};
        }
        return capture.ticks().at(seen + 1);
    }

    WindowHome home;
    const CaptureFile& capture = home.capture();
    StandinProcess standin;
    QProcess tally;
};

} // namespace

TEST_F(SwitcherFollowProcessTest, PreviewCutAndRenameInTheStandInReachTheBoxWithinTwoTicksAndQuittingFreezesIt)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    // Lights 1 to 3 follow Camera 1 to 3; light 4 waits for a shot named
    // Camera A, which does not exist yet.
    launchTally(writeMap("0|Camera 1\r\n1|Camera 2\r\n2|Camera 3\r\n3|Camera A\r\n"));

    // Camera 1 on program, Camera 2 in preview: light 1 live, light 2 preview.
    ASSERT_TRUE(eventually([&] { return capture.ticks().size() >= 2; })) << capture.lines().size();
    EXPECT_EQ(capture.ticks().at(1), "b1 21 02 d2 03 23 04 24 05 25 06 26 07 27 08 28");

    // Camera 3 to preview: light 2 goes dark, light 3 shows preview.
    EXPECT_EQ(tickAfter("preview 3\n"), "b1 21 02 22 03 d3 04 24 05 25 06 26 07 27 08 28");

    // Cut: Camera 3 on program, Camera 1 in preview.
    EXPECT_EQ(tickAfter("cut\n"), "01 d1 02 22 b3 23 04 24 05 25 06 26 07 27 08 28");

    // Camera 3 renamed Camera A: light 3 keeps its shot (followed by its id)
    // and light 4, waiting for that name, goes live with it.
    EXPECT_EQ(tickAfter("rename 3 Camera A\n"), "01 d1 02 22 b3 23 b4 24 05 25 06 26 07 27 08 28");

    // Mixdesk gone: no byte more, the lights keep their last state.
    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    if (anyMixdeskRunning()) {
        GTEST_SKIP() << "another process named mixdesk runs on this machine";
    }
    QThread::msleep(400); // a tick that had already asked may still finish
    const qsizetype frozen = capture.lines().size();
    QThread::msleep(1200);
    EXPECT_EQ(capture.lines().size(), frozen);
    EXPECT_TRUE(capture.endsOnWholeTick());
    EXPECT_EQ(capture.ticks().last(), "01 d1 02 22 b3 23 b4 24 05 25 06 26 07 27 08 28");
    EXPECT_EQ(tally.state(), QProcess::Running);
}
