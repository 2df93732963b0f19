#include "base/FatalError.h"

#include <gtest/gtest.h>

TEST(FatalErrorDeathTest, PrintsWhatAndAborts)
{
    EXPECT_DEATH(fatalError(QStringLiteral("index 9 outside the lights")), "fatal error: index 9 outside the lights");
}
