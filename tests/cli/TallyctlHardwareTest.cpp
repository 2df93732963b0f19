#include "hardware/LightCommand.h"
#include "support/CaptureFile.h"
#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class TallyctlHardwareTest : public testing::Test {
protected:
    QString capturePath() const { return m_dir.filePath(QStringLiteral("reports.txt")); }

    static TallyctlRun tallyctl(const QStringList& arguments, const QString& capture, int timeoutMs = 10000)
    {
        TallyctlOptions options;
        options.environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture);
        options.timeoutMs = timeoutMs;
        return runTallyctl(arguments, options);
    }

    QStringList captured() const { return CaptureFile::read(capturePath()); }

    QString unopenablePath() const { return m_dir.filePath(QStringLiteral("no-such-directory/reports.txt")); }

private:
    QTemporaryDir m_dir;
};

} // namespace

TEST_F(TallyctlHardwareTest, DevicesListsTheCaptureDevice)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("devices") }, capturePath());
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
        capturePath()
            + QStringLiteral(
                " (driven)\n  manufacturer: Mixdesk Tally\n  product: HID capture file\n  serial: (none)\n"));
    EXPECT_TRUE(captured().isEmpty());
}

TEST_F(TallyctlHardwareTest, DevicesSaysNoneIsAttachedWhenTheCaptureFileCannotBeOpened)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("devices") }, unopenablePath());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, QStringLiteral("no tally device attached\n"));
    EXPECT_TRUE(run.err.contains(QStringLiteral("cannot be opened"))) << run.err.toStdString();
}

TEST_F(TallyctlHardwareTest, DevicesWithoutCaptureExitsZero)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("devices") }, QString());
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_FALSE(run.out.isEmpty());
}

TEST_F(TallyctlHardwareTest, SendWritesEachByteAsOneReportInOrder)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("send"), QStringLiteral("0xB3"), QStringLiteral("35"),
                                         QStringLiteral("0x00"), QStringLiteral("255") },
        capturePath());
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(captured(), CaptureFile::lines({ 0xB3, 0x23, 0x00, 0xFF }));
}

TEST_F(TallyctlHardwareTest, SendRejectsWhatIsNotAByteWithUsageAndSendsNothing)
{
    for (const QString& bad : { QStringLiteral("256"), QStringLiteral("0x100"), QStringLiteral("-1"),
             QStringLiteral("abc"), QStringLiteral("0x"), QStringLiteral("1.5") }) {
        const TallyctlRun run = tallyctl({ QStringLiteral("send"), QStringLiteral("0xB1"), bad }, capturePath());
        EXPECT_EQ(run.exitCode, 2) << bad.toStdString();
        EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl send"))) << run.err.toStdString();
    }
    const TallyctlRun none = tallyctl({ QStringLiteral("send") }, capturePath());
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_TRUE(captured().isEmpty());
}

TEST_F(TallyctlHardwareTest, SendWithoutADeviceGivesUpAfterWaitingAndExitsOne)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("send"), QStringLiteral("0xB1") }, unopenablePath());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("no tally device is attached"))) << run.err.toStdString();
}

TEST_F(TallyctlHardwareTest, OffSendsB0ThenD0AndNothingElse)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("off") }, capturePath());
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(captured(), CaptureFile::lines({ 0xB0, 0xD0 }));
}

TEST_F(TallyctlHardwareTest, ChasePrintsEveryStepAndWritesTheWholeSequence)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("chase") }, capturePath(), 30000);
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();

    const QStringList printed = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(printed.size(), 21) << run.out.toStdString();
    EXPECT_EQ(printed.first(), QStringLiteral("step 1: b0 d0 b1 b2 b3 b4 b5 b6 b7 b8"));
    EXPECT_EQ(printed.at(5), QStringLiteral("step 6: 01 d1"));
    EXPECT_EQ(printed.last(), QStringLiteral("step 21: 28"));

    QList<quint8> everyByte;
    for (const QList<quint8>& step : LightCommand::testSequence()) {
        everyByte.append(step);
    }
    const QStringList lines = captured();
    EXPECT_EQ(lines.size(), 52);
    EXPECT_EQ(lines, CaptureFile::lines(everyByte));
}

// /dev/full takes the capture device's file but refuses every write, as a
// box does whose writes all fail.
TEST_F(TallyctlHardwareTest, SendOffAndChaseExitOneWhenNoWriteReachesTheDevice)
{
    const QList<QStringList> commands { { QStringLiteral("send"), QStringLiteral("0xB1"), QStringLiteral("0x21") },
        { QStringLiteral("off") }, { QStringLiteral("chase") } };
    for (const QStringList& arguments : commands) {
        const TallyctlRun run = tallyctl(arguments, QStringLiteral("/dev/full"), 30000);
        EXPECT_EQ(run.exitCode, 1) << arguments.join(' ').toStdString();
        EXPECT_TRUE(
            run.err.contains(QStringLiteral("tallyctl %1: no write reached the tally device").arg(arguments[0])))
            << run.err.toStdString();
    }
}

TEST_F(TallyctlHardwareTest, HardwareCommandsTakeNoStrayArguments)
{
    for (const QString& name : { QStringLiteral("devices"), QStringLiteral("off"), QStringLiteral("chase") }) {
        const TallyctlRun run = tallyctl({ name, QStringLiteral("extra") }, capturePath());
        EXPECT_EQ(run.exitCode, 2) << name.toStdString();
        EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl ") + name)) << run.err.toStdString();
    }
    EXPECT_TRUE(captured().isEmpty());
}

TEST_F(TallyctlHardwareTest, HelpOfSendShowsItsUsage)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("send"), QStringLiteral("--help") }, capturePath());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: tallyctl send BYTE...\n"))) << run.out.toStdString();
}
