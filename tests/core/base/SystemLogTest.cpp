#include "base/SystemLog.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(SystemLogTest, SinkReceivesTheMessageInsteadOfTheLog)
{
    QStringList seen;
    const SystemLogSink previous = setSystemLogSink([&seen](const QString& line) { seen.append(line); });
    systemLog(QStringLiteral("set report failed status: -536870212"));
    setSystemLogSink(previous);
    EXPECT_EQ(seen, QStringList { QStringLiteral("set report failed status: -536870212") });
}

TEST(SystemLogTest, WithoutSinkTheMessageAlsoReachesStandardError)
{
    setSystemLogSink({});
    testing::internal::CaptureStderr();
    systemLog(QStringLiteral("IOHIDManagerOpen failed."));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "IOHIDManagerOpen failed.\n");
}

TEST(SystemLogTest, ALineShownElsewhereGoesToTheLogButNotToStandardError)
{
    QStringList seen;
    const SystemLogSink previous = setSystemLogSink([&seen](const QString& line) { seen.append(line); });
    systemLogOnly(QStringLiteral("TSL messages from 10.0.0.7"));
    setSystemLogSink(previous);
    EXPECT_EQ(seen, QStringList { QStringLiteral("TSL messages from 10.0.0.7") });
    setSystemLogSink({});
    testing::internal::CaptureStderr();
    systemLogOnly(QStringLiteral("TSL messages from 10.0.0.7"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
