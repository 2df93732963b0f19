#include "base/StandardOutput.h"

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
