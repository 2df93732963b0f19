#include "hardware/CaptureBackend.h"

#include "core/hardware/HardwareFakes.h"
#include "hardware/HidBackendFactory.h"
#include "hardware/HidapiBackend.h"
#include "hardware/LightCommand.h"
#include "hardware/TestSequenceRunner.h"
#include "hardware/USBHIDAppDelegate.h"
#include "support/CaptureFile.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class CaptureBackendTest : public testing::Test {
protected:
    QString capturePath() const { return m_dir.filePath(QStringLiteral("reports.txt")); }

    std::unique_ptr<USBHIDAppDelegate> makeDelegate() const
    {
        return std::make_unique<USBHIDAppDelegate>(std::make_unique<CaptureBackend>(capturePath()));
    }

    void sendMode(USBHIDAppDelegate& delegate, TallyMode mode, qint64 lightNumber) const
    {
        const LightCommand::BytePair pair = LightCommand::bytesForMode(mode, lightNumber);
        delegate.sendControl(pair.first);
        delegate.sendControl(pair.second);
    }

private:
    QTemporaryDir m_dir;
};

} // namespace

TEST_F(CaptureBackendTest, CaptureDeviceIsAttachedFromTheStart)
{
    const auto delegate = makeDelegate();
    ASSERT_NE(delegate->controller(), nullptr);
    EXPECT_EQ(delegate->controller()->description().path, capturePath());
    EXPECT_EQ(delegate->attachedDevices().size(), 1);
}

TEST_F(CaptureBackendTest, LiveLightWritesProgramOnThenPreviewOffLines)
{
    const auto delegate = makeDelegate();
    sendMode(*delegate, TallyMode::live, 1);
    EXPECT_EQ(CaptureFile::read(capturePath()),
        QStringList({ QStringLiteral("b1000000000000000000000000000000000000000000000000000000000000000000000000000000"
                                     "000000000000000000000000000000000000000000000000"),
            QStringLiteral("21000000000000000000000000000000000000000000000000000000000000000000000000000000"
                           "000000000000000000000000000000000000000000000000") }));
}

TEST_F(CaptureBackendTest, PreviewLightWritesProgramOffThenPreviewOnLines)
{
    const auto delegate = makeDelegate();
    sendMode(*delegate, TallyMode::preview, 8);
    EXPECT_EQ(CaptureFile::read(capturePath()), CaptureFile::lines({ 0x08, 0xD8 }));
}

TEST_F(CaptureBackendTest, OffLightWritesProgramOffThenPreviewOffLines)
{
    const auto delegate = makeDelegate();
    sendMode(*delegate, TallyMode::off, 3);
    EXPECT_EQ(CaptureFile::read(capturePath()), CaptureFile::lines({ 0x03, 0x23 }));
}

TEST_F(CaptureBackendTest, EachLineIs128LowerCaseHexDigits)
{
    const auto delegate = makeDelegate();
    delegate->sendControl(0xFF);
    const QStringList written = CaptureFile::read(capturePath());
    ASSERT_EQ(written.size(), 1);
    EXPECT_EQ(written.first().size(), 128);
    EXPECT_TRUE(written.first().startsWith(QStringLiteral("ff0000")));
}

TEST_F(CaptureBackendTest, EachReportIsInTheFileAsSoonAsItIsSent)
{
    const auto delegate = makeDelegate();
    delegate->sendControl(0xB5);
    EXPECT_EQ(CaptureFile::read(capturePath()), CaptureFile::lines({ 0xB5 }));
    delegate->sendControl(0x25);
    EXPECT_EQ(CaptureFile::read(capturePath()), CaptureFile::lines({ 0xB5, 0x25 }));
}

TEST_F(CaptureBackendTest, ReportsAreAppendedToWhatTheFileAlreadyHolds)
{
    makeDelegate()->sendControl(0xB1);
    makeDelegate()->sendControl(0xB2);
    EXPECT_EQ(CaptureFile::read(capturePath()), CaptureFile::lines({ 0xB1, 0xB2 }));
}

TEST_F(CaptureBackendTest, WholeChaseWritesTwentyOneStepsAsFiftyTwoLines)
{
    const auto delegate = makeDelegate();
    TestSequenceRunner runner([&delegate](quint8 byte) { delegate->sendControl(byte); });
    runner.testAll();
    QTimer* timer = runner.timer();
    for (int tick = 0; tick < 21; ++tick) {
        runner.runTestWithTimer(timer);
    }

    QList<quint8> expected;
    for (const QList<quint8>& step : LightCommand::testSequence()) {
        expected.append(step);
    }
    const QStringList written = CaptureFile::read(capturePath());
    EXPECT_EQ(written.size(), 52);
    EXPECT_EQ(written, CaptureFile::lines(expected));
    EXPECT_EQ(written.first(), CaptureFile::line(0xB0));
    EXPECT_EQ(written.last(), CaptureFile::line(0x28));
    EXPECT_FALSE(timer->isActive());
}

TEST_F(CaptureBackendTest, FileThatCannotBeOpenedIsLoggedAndNoDeviceIsAttached)
{
    LogCapture log;
    const QString path = capturePath() + QStringLiteral("/missing-directory/reports.txt");
    USBHIDAppDelegate delegate { std::make_unique<CaptureBackend>(path) };

    delegate.sendControl(0xB1);

    EXPECT_EQ(delegate.controller(), nullptr);
    EXPECT_TRUE(delegate.attachedDevices().isEmpty());
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.first().contains(path)) << log.lines.first().toStdString();
    EXPECT_TRUE(log.lines.first().contains(QStringLiteral("cannot be opened")));
}

TEST_F(CaptureBackendTest, EnvironmentNamingAFileChoosesTheCaptureBackend)
{
    qputenv(hidCaptureEnvironmentVariable, capturePath().toUtf8());
    const std::unique_ptr<HidBackend> backend = makeHidBackendFromEnvironment();
    qunsetenv(hidCaptureEnvironmentVariable);

    EXPECT_NE(dynamic_cast<CaptureBackend*>(backend.get()), nullptr);
}

TEST_F(CaptureBackendTest, EnvironmentWithoutACaptureFileChoosesHidapi)
{
    qunsetenv(hidCaptureEnvironmentVariable);
    const std::unique_ptr<HidBackend> backend = makeHidBackendFromEnvironment();
    EXPECT_NE(dynamic_cast<HidapiBackend*>(backend.get()), nullptr);
}

TEST_F(CaptureBackendTest, AnEnvironmentDelayMakesEveryReportTakeAtLeastThatLong)
{
    qputenv(hidCaptureEnvironmentVariable, capturePath().toUtf8());
    qputenv(hidCaptureDelayEnvironmentVariable, "30");
    USBHIDAppDelegate delegate { makeHidBackendFromEnvironment() };
    qunsetenv(hidCaptureEnvironmentVariable);
    qunsetenv(hidCaptureDelayEnvironmentVariable);
    QElapsedTimer clock;
    clock.start();

    sendMode(delegate, TallyMode::live, 1);
    sendMode(delegate, TallyMode::preview, 2);

    // A lower bound only: a busy machine makes it longer, never shorter.
    EXPECT_GE(clock.elapsed(), 4 * 30);
    EXPECT_EQ(CaptureFile::read(capturePath()).size(), 4);
}
