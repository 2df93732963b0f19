// A second launch of the built mixdesk-tally while a first window runs, both
// real processes with a private runtime folder (where the single-instance
// socket lives), home and capture tally box: what the second is asked goes
// to the window, or is refused by the second launch itself.

#include "WindowHome.h"
#include "net/outputs/WebTallyClient.h"
#include "support/FreePort.h"
#include "support/QtPrinters.h"
#include "tools/StandinProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTcpServer>

#include <gtest/gtest.h>

namespace {

// Light 1 live, light 2 preview, the rest off.
const QByteArray firstLiveSecondPreview = "b1 21 02 d2 03 23 04 24 05 25 06 26 07 27 08 28";
// Light 1 preview, light 2 live.
const QByteArray firstPreviewSecondLive = "01 d1 b2 22 03 23 04 24 05 25 06 26 07 27 08 28";

struct LaunchRun {
    int exitCode = -1;
    QString standardOutput;
    QString standardError;
};

class SecondLaunchProcessTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }

    void TearDown() override
    {
        if (window.state() != QProcess::NotRunning) {
            window.kill();
            window.waitForFinished();
        }
    }

    // The first window, once it listens for later launches.
    void startWindow(const QStringList& arguments = {})
    {
        WindowHome::launch(window, environment(), arguments);
        const QString socket = QDir(standin.runtimeDirectory()).filePath(QStringLiteral("mixdesk-tally.socket"));
        ASSERT_TRUE(eventually([&] { return QFileInfo::exists(socket); })) << "the window never listened";
    }

    // A second launch with arguments, run to its end.
    LaunchRun secondLaunch(const QStringList& arguments)
    {
        QProcess process;
        WindowHome::launch(process, environment(), arguments);
        LaunchRun run;
        if (!process.waitForFinished(15000)) {
            process.kill();
            process.waitForFinished();
            ADD_FAILURE() << "the second launch did not end";
            return run;
        }
        run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
        run.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
        run.standardError = QString::fromUtf8(process.readAllStandardError());
        return run;
    }

    QProcessEnvironment environment() const { return home.environment(standin.environment()); }

    WindowHome home;
    StandinProcess standin;
    QProcess window;
};

} // namespace

TEST_F(SecondLaunchProcessTest, ASecondLaunchWithWebMakesTheRunningWindowServeThePage)
{
    startWindow();
    const quint16 port = freePort();
    ASSERT_NE(port, 0);

    const LaunchRun run = secondLaunch({ QStringLiteral("--web"), QString::number(port) });
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_EQ(run.standardOutput,
        QStringLiteral("mixdesk-tally: the running window took web tally page on *:%1\n").arg(port));

    HttpAnswer answer;
    EXPECT_TRUE(eventually([&] {
        answer = httpGet(port, QStringLiteral("/"));
        return answer.status == 200;
    })) << answer.status;
    EXPECT_TRUE(answer.body.contains("<html")) << answer.body.left(200).toStdString();
    EXPECT_EQ(window.state(), QProcess::Running);
}

TEST_F(SecondLaunchProcessTest, ASecondLaunchWithABadSourceIsRefusedAndTheWindowRunsOn)
{
    startWindow();
    const LaunchRun run = secondLaunch({ QStringLiteral("--source"), QStringLiteral("bogus://x") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.standardError.startsWith(QStringLiteral("mixdesk-tally: unknown source 'bogus://x'")))
        << run.standardError.toStdString();
    EXPECT_EQ(window.state(), QProcess::Running);

    // Still listening, and still taking what it can.
    const LaunchRun later = secondLaunch({});
    EXPECT_EQ(later.exitCode, 0) << later.standardError.toStdString();
    EXPECT_EQ(later.standardOutput, QStringLiteral("mixdesk-tally: the running window comes to the front\n"));
}

TEST_F(SecondLaunchProcessTest, AnOptionOnlyTheStartTakesIsRefusedBeforeAnyHandOver)
{
    startWindow();
    const LaunchRun run = secondLaunch({ QStringLiteral("--source"), QStringLiteral("atem://10.0.0.7"),
        QStringLiteral("--atem-me"), QStringLiteral("2") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.standardError.startsWith(QStringLiteral("mixdesk-tally: --atem-me is taken only when")))
        << run.standardError.toStdString();
    EXPECT_TRUE(run.standardOutput.isEmpty()) << run.standardOutput.toStdString();
    EXPECT_EQ(window.state(), QProcess::Running);
}

TEST_F(SecondLaunchProcessTest, ASecondLaunchWithAMapOpensItInTheRunningWindow)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWindow({ home.write(QStringLiteral("studio.tlx"), "0|Camera 1\r\n1|Camera 2\r\n") });
    ASSERT_TRUE(home.lastTickIs(firstLiveSecondPreview));

    const QString swapped = home.write(QStringLiteral("swapped.tlx"), "0|Camera 2\r\n1|Camera 1\r\n");
    const LaunchRun run = secondLaunch({ swapped });
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_EQ(run.standardOutput, QStringLiteral("mixdesk-tally: the running window took map %1\n").arg(swapped));
    EXPECT_TRUE(home.lastTickIs(firstPreviewSecondLive)) << home.capture().ticks().last().toStdString();
    EXPECT_EQ(window.state(), QProcess::Running);
}

TEST_F(SecondLaunchProcessTest, AWindowThatCannotTakeWhatWasHandedTellsTheSecondLaunchWhy)
{
    startWindow();
    QTcpServer holder; // the port is someone else's
    ASSERT_TRUE(holder.listen(QHostAddress::Any, 0));

    const LaunchRun run = secondLaunch({ QStringLiteral("--web"), QString::number(holder.serverPort()) });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.standardError.startsWith(QStringLiteral("mixdesk-tally: the running Mixdesk Tally refused: ")))
        << run.standardError.toStdString();
    EXPECT_TRUE(run.standardOutput.isEmpty()) << run.standardOutput.toStdString();
    EXPECT_EQ(window.state(), QProcess::Running);
}

TEST_F(SecondLaunchProcessTest, ASecondLaunchWithSeveralSourcesHandsThemAllAndTheWindowFollowsAndRemembersThatSet)
{
    startWindow();
    const QString settingsPath = home.filePath(QStringLiteral("config/Mixdesk/Mixdesk Tally.conf"));
    const auto settings = [&] {
        QFile file(settingsPath);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    };
    const LaunchRun run = secondLaunch({ QStringLiteral("--source"), QStringLiteral("atem://127.0.0.1:1"),
        QStringLiteral("--source"), QStringLiteral("Playback=vmix://127.0.0.1:2") });
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_EQ(run.standardOutput,
        QStringLiteral("mixdesk-tally: the running window took source atem://127.0.0.1:1, source "
                       "Playback=vmix://127.0.0.1:2\n"));
    EXPECT_TRUE(eventually([&] {
        const QString now = settings();
        return now.contains(QStringLiteral("atem://127.0.0.1:1"))
            && now.contains(QStringLiteral("Playback=vmix://127.0.0.1:2"));
    })) << settings().toStdString();

    // One --source again: the window follows that one alone.
    const LaunchRun alone = secondLaunch({ QStringLiteral("--source"), QStringLiteral("atem://127.0.0.1:1") });
    EXPECT_EQ(alone.exitCode, 0) << alone.standardError.toStdString();
    EXPECT_TRUE(eventually([&] { return !settings().contains(QStringLiteral("vmix://")); }))
        << settings().toStdString();
    EXPECT_TRUE(settings().contains(QStringLiteral("atem://127.0.0.1:1")));
    EXPECT_EQ(window.state(), QProcess::Running);
}
