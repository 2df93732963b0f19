#include "LaunchInformation.h"

#include "launch/RunOptions.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(LaunchInformationTest, VersionLineNamesTheProgramAndTheBuiltVersion)
{
    EXPECT_EQ(LaunchInformation::versionLine(), QStringLiteral("mixdesk-tally " TALLY_VERSION));
    EXPECT_FALSE(QStringLiteral(TALLY_VERSION).isEmpty());
}

TEST(LaunchInformationTest, HelpListsEveryRunOption)
{
    const QStringList help = LaunchInformation::helpLines();
    EXPECT_TRUE(help.first().startsWith(QStringLiteral("usage: mixdesk-tally")));
    for (const QString& optionLine : RunOptions::helpLines()) {
        EXPECT_TRUE(help.contains(optionLine)) << optionLine.toStdString();
    }
    EXPECT_TRUE(help.join(QLatin1Char('\n')).contains(QStringLiteral("--version")));
}

TEST(LaunchInformationTest, HelpAndVersionAreAnsweredWhereverTheyStandBeforeTheFiles)
{
    EXPECT_EQ(LaunchInformation::requestedLines({ QStringLiteral("map.tlx"), QStringLiteral("--help") }),
        LaunchInformation::helpLines());
    EXPECT_EQ(LaunchInformation::requestedLines({ QStringLiteral("-h") }), LaunchInformation::helpLines());
    EXPECT_EQ(LaunchInformation::requestedLines({ QStringLiteral("--version") }),
        QStringList { LaunchInformation::versionLine() });
}

TEST(LaunchInformationTest, WithoutHelpOrVersionTheWindowOpens)
{
    EXPECT_EQ(LaunchInformation::requestedLines({}), std::nullopt);
    EXPECT_EQ(
        LaunchInformation::requestedLines({ QStringLiteral("--source"), QStringLiteral("mixdesk") }), std::nullopt);
}

TEST(LaunchInformationTest, AFileNamedLikeAnOptionAfterDoubleDashIsAFile)
{
    EXPECT_EQ(LaunchInformation::requestedLines({ QStringLiteral("--"), QStringLiteral("--help") }), std::nullopt);
}
