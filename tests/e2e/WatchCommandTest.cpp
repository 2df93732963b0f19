// tallyctl watch beside the built stand-in, as real processes.

#include "MixdeskProcesses.h"
#include "WatchProcessFixture.h"
#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class WatchCommandTest : public WatchProcessFixture {
protected:
    // With the capture file as tally box, unless withoutTallyBox.
    void start(const QStringList& arguments, bool withoutTallyBox = false)
    {
        QProcessEnvironment environment = standin.environment();
        if (withoutTallyBox) {
            environment.remove(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"));
        } else {
            environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        }
        watch.setProcessEnvironment(environment);
        watch.start(
            QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"), QStringList { QStringLiteral("watch") } + arguments);
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    bool finished()
    {
        if (!watch.waitForFinished(15000)) {
            watch.kill();
            watch.waitForFinished();
            return false;
        }
        return true;
    }
};

} // namespace

TEST_F(WatchCommandTest, PrintsTheRunningStateAndEachLightOnceAndSendsEveryTick)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--ticks"), QStringLiteral("6"), mapPath });
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 0);
    EXPECT_EQ(QString::fromUtf8(watch.readAllStandardOutput()),
        QStringLiteral("Mixdesk running\n"
                       "Light 1: live (Camera 1)\n"
                       "Light 2: preview (Camera 2)\n"
                       "Light 3: live (Camera 1)\n"
                       "Light 4: off\n"
                       "Light 5: off\n"
                       "Light 6: off\n"
                       "Light 7: off\n"
                       "Light 8: off\n"));
    EXPECT_EQ(capture.lines().size(), 6 * 16);
    EXPECT_EQ(capture.ticks().last(), "b1 21 02 d2 b3 23 04 24 05 25 06 26 07 27 08 28");
}

TEST_F(WatchCommandTest, PrintsTheChangeAfterACut)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ mapPath });
    QByteArray printed;
    ASSERT_TRUE(eventually([&] {
        printed += watch.readAllStandardOutput();
        return printed.contains("Light 8: off\n");
    })) << printed.toStdString();
    printed.clear();
    standin.send("cut\n");
    EXPECT_TRUE(eventually([&] {
        printed += watch.readAllStandardOutput();
        return printed.contains("Light 2: live (Camera 2)\n");
    })) << printed.toStdString();
    EXPECT_TRUE(printed.contains("Light 1: preview (Camera 1)\n"));
    // Light 3 stays live, now for its other camera.
    EXPECT_TRUE(printed.contains("Light 3: live (Camera 2)\n")) << printed.toStdString();
    EXPECT_FALSE(printed.contains("Light 3: preview")) << printed.toStdString();
    watch.terminate();
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch.exitCode(), 0);
}

TEST_F(WatchCommandTest, WithoutMixdeskItSaysSoAndSendsNothing)
{
    start({ QStringLiteral("--ticks=3"), mapPath });
    ASSERT_TRUE(finished());
    if (anyMixdeskRunning()) {
        GTEST_SKIP() << "another process named mixdesk runs on this machine";
    }
    EXPECT_EQ(watch.exitCode(), 0);
    EXPECT_EQ(QString::fromUtf8(watch.readAllStandardOutput()), QStringLiteral("Mixdesk not running\n"));
    EXPECT_TRUE(capture.lines().isEmpty());
}

TEST_F(WatchCommandTest, WrongUsageExitsTwoWithAUsageLine)
{
    start({ QStringLiteral("--ticks"), QStringLiteral("zero"), mapPath });
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 2);
    const QByteArray errors = watch.readAllStandardError();
    EXPECT_TRUE(errors.contains(
        "usage: tallyctl watch [--ticks N] [--json] [--timestamps|--no-timestamps] [--source SOURCE] "
        "[--tsl-allow LIST]... [--tsl-silence SECONDS] [--password-file FILE] [--tsl URL]... [--tsl5 URL]... "
        "[--tsl-offset N] [--web [ADDRESS:]PORT] [--vmix-feed [ADDRESS:]PORT] [--vmix-feed-allow LIST]... "
        "[--mqtt URL]... "
        "[--mqtt-password-file FILE] [--mqtt-ca-file FILE] [--mqtt-discovery] [--dmx URL]... [--dmx-start N] "
        "[--dmx-layout rgb|single] [--when-lost keep|off|blink] [--blink-after SECONDS] [--lights-off-at-quit] MAP"))
        << errors.toStdString();
}

namespace {

const QByteArray everyLightOff = "01 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28";

} // namespace

TEST_F(WatchCommandTest, WithLightsOffAtQuitTheLastBytesSwitchEveryLightOff)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--ticks=3"), QStringLiteral("--lights-off-at-quit"), mapPath });
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 0) << watch.readAllStandardError().toStdString();
    const QList<QByteArray> ticks = capture.ticks();
    ASSERT_EQ(ticks.size(), 4);
    EXPECT_EQ(ticks[2], "b1 21 02 d2 b3 23 04 24 05 25 06 26 07 27 08 28");
    EXPECT_EQ(ticks[3], everyLightOff);
}

TEST_F(WatchCommandTest, WithoutLightsOffAtQuitTheLastTickIsTheLastBytesSent)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--ticks=2"), mapPath });
    ASSERT_TRUE(finished());
    const QList<QByteArray> ticks = capture.ticks();
    ASSERT_EQ(ticks.size(), 2);
    EXPECT_EQ(ticks.last(), "b1 21 02 d2 b3 23 04 24 05 25 06 26 07 27 08 28");
}

TEST_F(WatchCommandTest, WithoutMixdeskAndWhenLostOffEveryTickSwitchesEveryLightOff)
{
    start({ QStringLiteral("--ticks=2"), QStringLiteral("--when-lost"), QStringLiteral("off"), mapPath });
    ASSERT_TRUE(finished());
    if (anyMixdeskRunning()) {
        GTEST_SKIP() << "another process named mixdesk runs on this machine";
    }
    EXPECT_EQ(watch.exitCode(), 0) << watch.readAllStandardError().toStdString();
    EXPECT_EQ(capture.ticks(), (QList<QByteArray> { everyLightOff, everyLightOff }));
}

TEST_F(WatchCommandTest, AnUnknownWhenLostChoiceIsAUsageError)
{
    start({ QStringLiteral("--when-lost=dim"), mapPath });
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 2);
    EXPECT_TRUE(watch.readAllStandardError().contains("--when-lost takes keep, off, blink, not 'dim'"));
}

TEST_F(WatchCommandTest, AnUnreadableMapFailsWithTheReason)
{
    start({ folder.filePath(QStringLiteral("missing.tlx")) });
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 1);
    EXPECT_TRUE(watch.readAllStandardError().startsWith("Read of document failed: Unable to read"));
}

TEST_F(WatchCommandTest, JsonPrintsOneObjectPerChangeWithItsTime)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--json"), QStringLiteral("--ticks=4"), mapPath });
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 0);
    const QList<QByteArray> lines = watch.readAllStandardOutput().trimmed().split('\n');
    ASSERT_EQ(lines.size(), 9) << lines.join('\n').toStdString();
    QStringList events;
    for (const QByteArray& line : lines) {
        QJsonParseError error;
        const QJsonObject object = QJsonDocument::fromJson(line, &error).object();
        ASSERT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
        EXPECT_FALSE(QDateTime::fromString(object.value(QStringLiteral("time")).toString(), Qt::ISODateWithMs).isNull())
            << line.toStdString();
        events.append(object.value(QStringLiteral("event")).toString());
    }
    EXPECT_TRUE(lines.first().startsWith("{\"event\":\"mixdesk\",\"running\":true,\"time\":\""));
    EXPECT_TRUE(lines[1].startsWith("{\"event\":\"light\",\"light\":1,\"litBy\":[\"Camera 1\"],\"missing\":[],"
                                    "\"mode\":\"live\",\"shots\":[\"Camera 1\"],\"time\":\""))
        << lines[1].toStdString();
    EXPECT_EQ(events.count(QStringLiteral("light")), 8);
}

TEST_F(WatchCommandTest, TimestampsPutTheTimeInFrontOfEachLine)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--timestamps"), QStringLiteral("--ticks=2"), mapPath });
    ASSERT_TRUE(finished());
    const QStringList lines = QString::fromUtf8(watch.readAllStandardOutput()).trimmed().split(u'\n');
    ASSERT_EQ(lines.size(), 9);
    static const QRegularExpression stamped(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}([+-]\\d\\d:\\d\\d|Z) (.*)$"));
    const QRegularExpressionMatch first = stamped.match(lines.first());
    ASSERT_TRUE(first.hasMatch()) << lines.first().toStdString();
    EXPECT_EQ(first.captured(2), QStringLiteral("Mixdesk running"));
    for (const QString& line : lines) {
        EXPECT_TRUE(stamped.match(line).hasMatch()) << line.toStdString();
    }
}

TEST_F(WatchCommandTest, IntoAPipeLinesAreUnstampedUnlessAsked)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--no-timestamps"), QStringLiteral("--ticks=2"), mapPath });
    ASSERT_TRUE(finished());
    EXPECT_TRUE(watch.readAllStandardOutput().startsWith("Mixdesk running\nLight 1: live (Camera 1)\n"));
}

TEST_F(WatchCommandTest, WithoutATallyBoxItSaysSoOnce)
{
    TallyctlOptions noBox;
    noBox.environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), QString());
    const TallyctlRun devices = runTallyctl({ QStringLiteral("devices") }, noBox);
    if (!devices.out.contains(QStringLiteral("no tally device attached"))) {
        GTEST_SKIP() << "a tally box is plugged into this machine: " << devices.out.toStdString();
    }
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--ticks=4"), mapPath }, true);
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 0);
    const QString printed = QString::fromUtf8(watch.readAllStandardOutput());
    EXPECT_EQ(printed.count(QStringLiteral("No tally box attached: the lights are shown here only\n")), 1)
        << printed.toStdString();
    EXPECT_TRUE(printed.startsWith(QStringLiteral("Mixdesk running\nLight 1: live (Camera 1)\n")))
        << printed.toStdString();
}

TEST_F(WatchCommandTest, OnATerminalLinesAreStampedWithoutBeingAsked)
{
    // script(1) (bsdutils, part of every Debian system) gives the command a
    // terminal of its own and copies what it prints.
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    QProcessEnvironment environment = standin.environment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
    watch.setProcessEnvironment(environment);
    const QString command = QStringLiteral("'" TALLY_BINARY_DIR "/bin/tallyctl' watch --ticks=2 '%1'").arg(mapPath);
    watch.start(QStringLiteral("script"),
        { QStringLiteral("--quiet"), QStringLiteral("--return"), QStringLiteral("--command"), command,
            QStringLiteral("/dev/null") });
    ASSERT_TRUE(watch.waitForStarted(10000)) << watch.errorString().toStdString();
    ASSERT_TRUE(finished());
    EXPECT_EQ(watch.exitCode(), 0);
    const QString first = QString::fromUtf8(watch.readAllStandardOutput()).split(u'\n').first().trimmed();
    static const QRegularExpression stamped(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT[\\d:.]+([+-]\\d\\d:\\d\\d|Z) Mixdesk running$"));
    EXPECT_TRUE(stamped.match(first).hasMatch()) << first.toStdString();
}
