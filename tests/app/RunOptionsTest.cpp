#include "app/RunOptions.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(RunOptionsTest, WithNoOptionsTheSourceIsMixdeskAndEveryArgumentStays)
{
    QStringList arguments { QStringLiteral("studio.tlx"), QStringLiteral("other.tlx") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("mixdesk"));
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("studio.tlx"), QStringLiteral("other.tlx") }));
}

TEST(RunOptionsTest, KnownOptionsAreTakenInBothSpellingsAndTheRestIsLeft)
{
    QStringList arguments { QStringLiteral("--source"), QStringLiteral("obs://studio:4455"), QStringLiteral("map.tlx"),
        QStringLiteral("--password-file=/run/secret"), QStringLiteral("--json") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("obs://studio:4455"));
    EXPECT_EQ(options.passwordFile, QStringLiteral("/run/secret"));
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("map.tlx"), QStringLiteral("--json") }));
}

TEST(RunOptionsTest, AnOptionWithoutItsValueIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("map.tlx"), QStringLiteral("--source") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), QStringLiteral("--source needs a value"));
    QStringList empty { QStringLiteral("--password-file=") };
    EXPECT_EQ(RunOptions::takeFrom(empty, &options), QStringLiteral("--password-file needs a value"));
}

TEST(RunOptionsTest, ADoubleDashEndsTheOptions)
{
    QStringList arguments { QStringLiteral("--"), QStringLiteral("--source") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("--"), QStringLiteral("--source") }));
}

TEST(RunOptionsTest, TheDefaultSourceIsMixdesksQuery)
{
    QString problem;
    const std::unique_ptr<ShotSource> source = makeShotSource(RunOptions {}, &problem);
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->notRunningWarning(), QStringLiteral("Mixdesk is not running"));
}

TEST(RunOptionsTest, AnUnknownSourceIsRefusedWithItsName)
{
    RunOptions options;
    options.source = QStringLiteral("vmix://studio");
    QString problem;
    EXPECT_EQ(makeShotSource(options, &problem), nullptr);
    EXPECT_TRUE(problem.contains(QStringLiteral("vmix://studio"))) << problem.toStdString();
}

TEST(RunOptionsTest, WithoutLostSourceOptionsThePolicyGivenStaysAsItIs)
{
    QStringList arguments { QStringLiteral("map.tlx") };
    RunOptions options;
    ASSERT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    const LostSourcePolicy saved { LostSourcePolicy::Action::blink, 4, true };
    EXPECT_EQ(options.lostSourcePolicy(saved), saved);
    EXPECT_EQ(options.lostSourcePolicy(), LostSourcePolicy {});
}

TEST(RunOptionsTest, LostSourceOptionsAreTakenAndPutOverThePolicy)
{
    QStringList arguments { QStringLiteral("--when-lost"), QStringLiteral("blink"), QStringLiteral("--blink-after=3"),
        QStringLiteral("--lights-off-at-quit"), QStringLiteral("map.tlx") };
    RunOptions options;
    ASSERT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
    EXPECT_EQ(options.lostSourcePolicy(), (LostSourcePolicy { LostSourcePolicy::Action::blink, 3, true }));
}

TEST(RunOptionsTest, AnUnknownLostSourceActionIsAUsageProblemNamingTheChoices)
{
    QStringList arguments { QStringLiteral("--when-lost=dim") };
    RunOptions options;
    EXPECT_EQ(
        RunOptions::takeFrom(arguments, &options), QStringLiteral("--when-lost takes keep, off, blink, not 'dim'"));
}

TEST(RunOptionsTest, ABlinkDelayThatIsNotAWholeNumberOfSecondsIsAUsageProblem)
{
    for (const QString& value : { QStringLiteral("-1"), QStringLiteral("soon"), QStringLiteral("1.5") }) {
        QStringList arguments { QStringLiteral("--blink-after"), value };
        RunOptions options;
        EXPECT_EQ(RunOptions::takeFrom(arguments, &options),
            QStringLiteral("--blink-after takes a whole number of seconds, not '%1'").arg(value));
    }
}
