#include "base/FatalError.h"

#include "base/StandardOutput.h"

#include <gtest/gtest.h>

TEST(FatalErrorDeathTest, PrintsWhatAndAborts)
{
    EXPECT_DEATH(fatalError(QStringLiteral("index 9 outside the lights")), "fatal error: index 9 outside the lights");
}

TEST(FatalErrorDeathTest, UnderLineTimestampsTheLastLineIsStampedToo)
{
    setLineTimestamps([] { return QDateTime(QDate(2026, 11, 23), QTime(12, 4, 5, 678), Qt::OffsetFromUTC, 3600); });
    EXPECT_DEATH(fatalError(QStringLiteral("index 9 outside the lights")),
        "2026-11-23T12:04:05\\.678\\+01:00 fatal error: index 9 outside the lights");
    setLineTimestamps({});
}
