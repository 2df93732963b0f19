#include "lock/PasswordCheck.h"

#include "lock/PasswordDigest.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

const QString emptyDigest = QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");

PasswordCheck::Outcome setPassword(const QString& primary, const QString& confirm)
{
    return PasswordCheck(PasswordMode::set).check(primary, confirm);
}

PasswordCheck::Outcome collectPassword(const QString& entry, const QString& storedDigest)
{
    return PasswordCheck(PasswordMode::collect, storedDigest).check(entry, QString());
}

} // namespace

TEST(PasswordCheckTest, ErrorTextsAreTheDialogsOwn)
{
    EXPECT_EQ(PasswordCheck::emptyPasswordMessage, QStringLiteral("The passsword may not be empty"));
    EXPECT_EQ(PasswordCheck::mismatchMessage, QStringLiteral("Passsword do not match"));
    EXPECT_EQ(PasswordCheck::wrongPasswordMessage, QStringLiteral("Sorry, wrong password"));
}

TEST(PasswordCheckTest, SetRejectsPasswordOfOnlySpacesAsEmpty)
{
    const PasswordCheck::Outcome outcome = setPassword(QStringLiteral("   "), QStringLiteral("   "));
    EXPECT_FALSE(outcome.accepted);
    EXPECT_EQ(outcome.errorMessage, QStringLiteral("The passsword may not be empty"));
    EXPECT_TRUE(outcome.passwordHash.isEmpty());
}

TEST(PasswordCheckTest, SetRejectsEmptyPassword)
{
    const PasswordCheck::Outcome outcome = setPassword(QString(), QString());
    EXPECT_FALSE(outcome.accepted);
    EXPECT_EQ(outcome.errorMessage, QStringLiteral("The passsword may not be empty"));
}

TEST(PasswordCheckTest, SetTreatsTabsAndUnicodeSpacesAsBlank)
{
    const QString blank = QStringLiteral("\t \u00a0\u2003\u3000\t");
    const PasswordCheck::Outcome outcome = setPassword(blank, blank);
    EXPECT_FALSE(outcome.accepted);
    EXPECT_EQ(outcome.errorMessage, QStringLiteral("The passsword may not be empty"));
}

TEST(PasswordCheckTest, SetCountsLineBreaksAsPasswordCharacters)
{
    for (const QString& text : { QStringLiteral("\n"), QStringLiteral(" \r "), QStringLiteral("\v") }) {
        const PasswordCheck::Outcome outcome = setPassword(text, text);
        EXPECT_TRUE(outcome.accepted) << "code " << int(text.at(text.size() / 2).unicode());
        EXPECT_EQ(outcome.passwordHash, passwordDigest(text));
    }
}

TEST(PasswordCheckTest, SetKeepsSpacesAroundPasswordInItsDigest)
{
    const QString typed = QStringLiteral("  open sesame\t ");
    const PasswordCheck::Outcome outcome = setPassword(typed, typed);
    EXPECT_TRUE(outcome.accepted);
    EXPECT_TRUE(outcome.errorMessage.isEmpty());
    EXPECT_EQ(outcome.passwordHash, passwordDigest(typed));
    EXPECT_NE(outcome.passwordHash, passwordDigest(QStringLiteral("open sesame")));
}

TEST(PasswordCheckTest, SetChecksEmptinessBeforeConfirmation)
{
    const PasswordCheck::Outcome outcome = setPassword(QStringLiteral(" "), QStringLiteral("something else"));
    EXPECT_EQ(outcome.errorMessage, QStringLiteral("The passsword may not be empty"));
}

TEST(PasswordCheckTest, SetRefusesDifferingConfirmation)
{
    const PasswordCheck::Outcome outcome = setPassword(QStringLiteral("abc"), QStringLiteral("abd"));
    EXPECT_FALSE(outcome.accepted);
    EXPECT_EQ(outcome.errorMessage, QStringLiteral("Passsword do not match"));
    EXPECT_TRUE(outcome.passwordHash.isEmpty());
}

TEST(PasswordCheckTest, SetComparesConfirmationUntrimmedAndCaseSensitive)
{
    EXPECT_EQ(setPassword(QStringLiteral("abc"), QStringLiteral("abc ")).errorMessage,
        QStringLiteral("Passsword do not match"));
    EXPECT_EQ(setPassword(QStringLiteral(" abc"), QStringLiteral("abc")).errorMessage,
        QStringLiteral("Passsword do not match"));
    EXPECT_EQ(setPassword(QStringLiteral("abc"), QStringLiteral("ABC")).errorMessage,
        QStringLiteral("Passsword do not match"));
}

TEST(PasswordCheckTest, SetAcceptsComposedAndDecomposedConfirmationAndDigestsPrimaryAsTyped)
{
    const QString composed = QStringLiteral("caf\u00e9");
    const QString decomposed = QStringLiteral("cafe\u0301");

    const PasswordCheck::Outcome composedFirst = setPassword(composed, decomposed);
    EXPECT_TRUE(composedFirst.accepted);
    EXPECT_EQ(composedFirst.passwordHash, passwordDigest(composed));

    const PasswordCheck::Outcome decomposedFirst = setPassword(decomposed, composed);
    EXPECT_TRUE(decomposedFirst.accepted);
    EXPECT_EQ(decomposedFirst.passwordHash, passwordDigest(decomposed));

    EXPECT_NE(composedFirst.passwordHash, decomposedFirst.passwordHash);
}

TEST(PasswordCheckTest, SetReportsNoMatchResultAndIgnoresStoredDigest)
{
    const PasswordCheck::Outcome outcome = PasswordCheck(PasswordMode::set, passwordDigest(QStringLiteral("other")))
                                               .check(QStringLiteral("new"), QStringLiteral("new"));
    EXPECT_TRUE(outcome.accepted);
    EXPECT_EQ(outcome.passwordHash, passwordDigest(QStringLiteral("new")));
    EXPECT_FALSE(outcome.passwordMatched.has_value());
}

TEST(PasswordCheckTest, CollectWithEmptyEntrySucceedsExactlyWhenStoredDigestIsThatOfEmpty)
{
    const PasswordCheck::Outcome matching = collectPassword(QString(), emptyDigest);
    EXPECT_TRUE(matching.accepted);
    EXPECT_EQ(matching.passwordMatched, std::optional<bool>(true));
    EXPECT_TRUE(matching.errorMessage.isEmpty());

    const PasswordCheck::Outcome other = collectPassword(QString(), passwordDigest(QStringLiteral("abc")));
    EXPECT_FALSE(other.accepted);
    EXPECT_EQ(other.passwordMatched, std::optional<bool>(false));
    EXPECT_EQ(other.errorMessage, QStringLiteral("Sorry, wrong password"));

    // No stored digest at all is not the digest of the empty password either.
    EXPECT_FALSE(collectPassword(QString(), QString()).accepted);
}

TEST(PasswordCheckTest, CollectMatchesRightEntry)
{
    const PasswordCheck::Outcome outcome
        = collectPassword(QStringLiteral("open sesame"), passwordDigest(QStringLiteral("open sesame")));
    EXPECT_TRUE(outcome.accepted);
    EXPECT_EQ(outcome.passwordMatched, std::optional<bool>(true));
    EXPECT_TRUE(outcome.passwordHash.isEmpty());
}

TEST(PasswordCheckTest, CollectRefusesWrongEntry)
{
    const PasswordCheck::Outcome outcome
        = collectPassword(QStringLiteral("open sesame!"), passwordDigest(QStringLiteral("open sesame")));
    EXPECT_FALSE(outcome.accepted);
    EXPECT_EQ(outcome.passwordMatched, std::optional<bool>(false));
    EXPECT_EQ(outcome.errorMessage, QStringLiteral("Sorry, wrong password"));
}

TEST(PasswordCheckTest, CollectDigestsEntryUntrimmed)
{
    const QString stored = passwordDigest(QStringLiteral("abc"));
    EXPECT_FALSE(collectPassword(QStringLiteral(" abc"), stored).accepted);
    EXPECT_TRUE(collectPassword(QStringLiteral("  "), passwordDigest(QStringLiteral("  "))).accepted);
}

TEST(PasswordCheckTest, CollectTreatsOtherCompositionAsOtherPassword)
{
    const QString stored = passwordDigest(QStringLiteral("caf\u00e9"));
    EXPECT_TRUE(collectPassword(QStringLiteral("caf\u00e9"), stored).accepted);
    EXPECT_FALSE(collectPassword(QStringLiteral("cafe\u0301"), stored).accepted);
}

TEST(PasswordCheckTest, CollectIgnoresConfirmation)
{
    const PasswordCheck::Outcome outcome = PasswordCheck(PasswordMode::collect, passwordDigest(QStringLiteral("abc")))
                                               .check(QStringLiteral("abc"), QStringLiteral("something else"));
    EXPECT_TRUE(outcome.accepted);
}

TEST(PasswordCheckTest, BlankMeansOnlySpacesAndTabs)
{
    EXPECT_TRUE(PasswordCheck::isBlank(QString()));
    EXPECT_TRUE(PasswordCheck::isBlank(QStringLiteral(" \t ")));
    EXPECT_FALSE(PasswordCheck::isBlank(QStringLiteral(" a ")));
    EXPECT_FALSE(PasswordCheck::isBlank(QStringLiteral("\n")));
}
