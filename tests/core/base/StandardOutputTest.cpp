#include "base/StandardOutput.h"

#include <QStringList>

#include <gtest/gtest.h>

TEST(StandardOutputTest, PrintLineWritesOneUtf8LineToStandardOutput)
{
    testing::internal::CaptureStdout();
    printLine(QString::fromUtf8("error: caf\xC3\xA9"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "error: caf\xC3\xA9\n");
}

TEST(StandardOutputTest, PrintErrorLineWritesToStandardError)
{
    testing::internal::CaptureStderr();
    printErrorLine(QStringLiteral("tallyctl: no device"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "tallyctl: no device\n");
}

namespace {

// 2026-11-23 12:04:05.678 at one hour east of UTC.
QDateTime fixedTime()
{
    return QDateTime(QDate(2026, 11, 23), QTime(12, 4, 5, 678), Qt::OffsetFromUTC, 3600);
}

// Lines stamped with fixedTime() while it lives; Qt's messages as they were
// after.
class StampedLines {
public:
    StampedLines() { setLineTimestamps(fixedTime); }
    ~StampedLines()
    {
        setLineTimestamps({});
        qInstallMessageHandler(nullptr);
    }
    StampedLines(const StampedLines&) = delete;
    StampedLines& operator=(const StampedLines&) = delete;
};

} // namespace

TEST(StandardOutputTest, WithTimestampsEveryLineOnEitherStreamStartsWithTheLocalTimeAndOffset)
{
    StampedLines stamped;
    testing::internal::CaptureStdout();
    printLine(QStringLiteral("Light 8: off"));
    printLine(QStringLiteral("OBS Studio at 127.0.0.1:4455: connected"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
        "2026-11-23T12:04:05.678+01:00 Light 8: off\n"
        "2026-11-23T12:04:05.678+01:00 OBS Studio at 127.0.0.1:4455: connected\n");
    testing::internal::CaptureStderr();
    printErrorLine(QStringLiteral("TSL destination udp://10.0.0.9:9000: unreachable"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "2026-11-23T12:04:05.678+01:00 TSL destination udp://10.0.0.9:9000: unreachable\n");
}

TEST(StandardOutputTest, WithoutTimestampsAgainLinesArePlain)
{
    {
        StampedLines stamped;
    }
    testing::internal::CaptureStdout();
    printLine(QStringLiteral("Light 8: off"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Light 8: off\n");
}

TEST(StandardOutputTest, QtsOwnWarningsBecomeStampedLinesOnStandardError)
{
    StampedLines stamped;
    printQtMessagesAsLines();
    testing::internal::CaptureStderr();
    qWarning("QWebSocketServer: the socket was closed");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "2026-11-23T12:04:05.678+01:00 QWebSocketServer: the socket was closed\n");
}

TEST(StandardOutputTest, AWarningThatOnlySaysAPeerHungUpMidRequestIsNotPrinted)
{
    StampedLines stamped;
    printQtMessagesAsLines();
    testing::internal::CaptureStderr();
    qWarning("QIODevice::peek (QTcpSocket): device not open");
    qWarning("QIODevice::read (QTcpSocket): device not open");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "2026-11-23T12:04:05.678+01:00 QIODevice::read (QTcpSocket): device not open\n");
}

namespace {

QStringList& handedOn()
{
    static QStringList messages;
    return messages;
}

void noteHandedOn(QtMsgType, const QMessageLogContext&, const QString& message)
{
    handedOn().append(message);
}

} // namespace

TEST(StandardOutputTest, TheWindowKeepsQtsWayOfPrintingButDropsPeerHangUps)
{
    // Stands in for Qt's own handler, which prints everything it is given.
    qInstallMessageHandler(noteHandedOn);
    dropPeerHangUpWarnings();
    qWarning("QIODevice::peek (QTcpSocket): device not open");
    qWarning("QWebSocketServer: the socket was closed");
    qInstallMessageHandler(nullptr);
    EXPECT_EQ(handedOn(), QStringList { QStringLiteral("QWebSocketServer: the socket was closed") });
}
