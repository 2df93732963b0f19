#include "link/ScriptResult.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(ScriptResultTest, ErrorInformationIsDescribedOnOneLineWithKeysInOrder)
{
    EXPECT_EQ(describeErrorInformation(scriptErrorInformation("Mixdesk got an error: Can’t get shot 1.", -1728)),
        QString::fromUtf8("{NSAppleScriptErrorMessage = \"Mixdesk got an error: Can’t get shot 1.\"; "
                          "NSAppleScriptErrorNumber = -1728;}"));
}

TEST(ScriptResultTest, QuotesAndBackslashesInTheMessageAreEscaped)
{
    EXPECT_EQ(describeErrorInformation(scriptErrorInformation(R"(no "shots" in C:\x)", 3)),
        R"({NSAppleScriptErrorMessage = "no \"shots\" in C:\\x"; NSAppleScriptErrorNumber = 3;})");
}

TEST(ScriptResultTest, LineBreaksInTheMessageStayOnOneLine)
{
    const QString line = describeErrorInformation(scriptErrorInformation("first\nsecond\r\nthird", -1));
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_EQ(line, R"({NSAppleScriptErrorMessage = "first\nsecond\r\nthird"; NSAppleScriptErrorNumber = -1;})");
}

TEST(ScriptResultTest, SuccessCarriesTheDescriptorAndFailureTheInformation)
{
    const ScriptResult success = ScriptResult::success(AppleEventDescriptor::integer(4));
    EXPECT_FALSE(success.isError());
    EXPECT_EQ(success.descriptor(), AppleEventDescriptor::integer(4));
    const ScriptResult failure = ScriptResult::failure(scriptErrorInformation("x", 2));
    EXPECT_TRUE(failure.isError());
    EXPECT_EQ(failure.errorInformation().value(NSAppleScriptErrorNumber), QVariant(2));
}
