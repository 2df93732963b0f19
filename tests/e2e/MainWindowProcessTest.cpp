// The built mixdesk-tally beside the built stand-in, both as real processes
// with a private runtime folder, home and capture tally box.

#include "MixdeskProcesses.h"
#include "WindowHome.h"
#include "support/QtPrinters.h"
#include "tools/StandinProcess.h"

#include <QFile>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

namespace {

// Light 1 live, light 2 preview, the rest off.
const QByteArray firstLiveSecondPreview = "b1 21 02 d2 03 23 04 24 05 25 06 26 07 27 08 28";
// Light 1 preview, light 2 live.
const QByteArray firstPreviewSecondLive = "01 d1 b2 22 03 23 04 24 05 25 06 26 07 27 08 28";

class MainWindowProcessTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }

    void TearDown() override
    {
        for (QProcess* process : { &tally, &secondLaunch }) {
            if (process->state() != QProcess::NotRunning) {
                process->kill();
                process->waitForFinished();
            }
        }
    }

    QString map(const QString& name, const QByteArray& contents) const { return home.write(name, contents); }

    void launch(QProcess& process, const QStringList& arguments)
    {
        WindowHome::launch(process, home.environment(standin.environment()), arguments);
    }

    WindowHome home;
    const CaptureFile& capture = home.capture();
    StandinProcess standin;
    QProcess tally;
    QProcess secondLaunch;
};

} // namespace

TEST_F(MainWindowProcessTest, DrivesTheBoxFollowsCutsAndHandOversAndFreezesWhenMixdeskEnds)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    launch(tally, { map(QStringLiteral("studio.tlx"), "0|Camera 1\r\n1|Camera 2\r\n") });

    // Sixteen 64-byte reports per tick, light 1 first, program byte first.
    ASSERT_TRUE(eventually([&] { return capture.ticks().size() >= 2; })) << capture.lines().size();
    const QList<QByteArray> lines = capture.lines();
    for (const QByteArray& line : lines) {
        EXPECT_EQ(line.mid(2), QByteArray(126, '0'));
    }
    EXPECT_EQ(capture.ticks().at(0), firstLiveSecondPreview);
    EXPECT_EQ(capture.ticks().at(1), firstLiveSecondPreview);

    standin.send("cut\n");
    EXPECT_TRUE(home.lastTickIs(firstPreviewSecondLive)) << capture.ticks().last().toStdString();

    // A second launch hands its file to the running window and leaves.
    launch(secondLaunch, { map(QStringLiteral("swapped.tlx"), "0|Camera 2\r\n1|Camera 1\r\n") });
    ASSERT_TRUE(secondLaunch.waitForFinished(10000));
    EXPECT_EQ(secondLaunch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(secondLaunch.exitCode(), 0);
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview)) << capture.ticks().last().toStdString();
    EXPECT_EQ(tally.state(), QProcess::Running);

    // Mixdesk gone: the lights keep their last state, no byte is sent.
    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    if (anyMixdeskRunning()) {
        GTEST_SKIP() << "another process named mixdesk runs on this machine";
    }
    QThread::msleep(400);
    const qsizetype frozen = capture.lines().size();
    QThread::msleep(1000);
    EXPECT_EQ(capture.lines().size(), frozen);
    EXPECT_TRUE(capture.endsOnWholeTick());
    // Frozen in the state of the last tick before the quit, not switched off.
    EXPECT_EQ(capture.ticks().last(), firstLiveSecondPreview);
    EXPECT_EQ(tally.state(), QProcess::Running);
}

TEST_F(MainWindowProcessTest, AMixdeskThatHasEndedButIsNotYetReapedFreezesTheLightsToo)
{
    // The stand-in runs as the child of a shell that then becomes a sleep,
    // which never waits for it: once it quits it stays a zombie, with its
    // name in the process table and its answer gone.
    QProcess parent;
    parent.setProcessEnvironment(standin.environment());
    parent.start(QStringLiteral("/bin/sh"),
        { QStringLiteral("-c"),
            QStringLiteral(
                "exec 3<&0; \"$0\" --headless --program 1 --preview 2 <&3 3<&- & echo $!; exec sleep 60 3<&-"),
            standin.program() });
    ASSERT_TRUE(parent.waitForStarted(10000));
    ASSERT_TRUE(eventually([&] { return parent.canReadLine(); }));
    const QByteArray standinPid = parent.readLine().trimmed();
    ASSERT_TRUE(eventually([&] { return !standin.answer().isEmpty(); }));

    launch(tally, { map(QStringLiteral("studio.tlx"), "0|Camera 1\r\n1|Camera 2\r\n") });
    ASSERT_TRUE(home.lastTickIs(firstLiveSecondPreview));

    parent.write("quit\n");
    ASSERT_TRUE(standin.waitForNoAnswer());
    QFile stat(QStringLiteral("/proc/%1/stat").arg(QString::fromLatin1(standinPid)));
    ASSERT_TRUE(eventually([&] {
        stat.close();
        return stat.open(QIODevice::ReadOnly) && stat.readAll().contains(") Z ");
    })) << "the stand-in did not stay as a zombie";
    QThread::msleep(1200); // several ticks with the zombie in the table
    const qsizetype frozen = capture.lines().size();
    QThread::msleep(600);
    EXPECT_EQ(capture.lines().size(), frozen);
    EXPECT_EQ(capture.ticks().last(), firstLiveSecondPreview);
    EXPECT_TRUE(tally.readAllStandardOutput().isEmpty()); // no failed query was printed

    parent.kill(); // the zombie goes to a new parent, which reaps it
    parent.waitForFinished();
}

TEST_F(MainWindowProcessTest, WithoutMixdeskNothingIsSent)
{
    launch(tally, {});
    QThread::msleep(1500);
    if (anyMixdeskRunning()) {
        GTEST_SKIP() << "another process named mixdesk runs on this machine";
    }
    EXPECT_EQ(tally.state(), QProcess::Running);
    EXPECT_TRUE(capture.lines().isEmpty());
}

TEST_F(MainWindowProcessTest, AnUnreadableFileArgumentIsReportedAndTheWindowRunsOn)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    const QString missing = home.filePath(QStringLiteral("missing.tlx"));
    launch(tally, { missing });
    ASSERT_TRUE(eventually([&] { return !capture.ticks().isEmpty(); }));
    EXPECT_EQ(capture.ticks().first(), "01 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28");
    EXPECT_TRUE(eventually([&] { return tally.bytesAvailable() > 0; }));
    EXPECT_TRUE(tally.readAllStandardOutput().startsWith("Read of document failed: Unable to read \""));
}
