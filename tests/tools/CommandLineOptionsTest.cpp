#include "CommandLineOptions.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using Action = CommandLineOptions::Action;

TEST(CommandLineOptionsTest, NoOptionsRunsAWindowWithTheDefaultShots)
{
    const CommandLineOptions options = CommandLineOptions::parse({ "mixdesk" });
    EXPECT_EQ(options.action, Action::Run);
    EXPECT_FALSE(options.headless);
    EXPECT_EQ(options.shotsFile, "");
    EXPECT_EQ(options.autoCutSeconds, 0);
    EXPECT_EQ(options.programShot, 0);
    EXPECT_EQ(options.previewShot, 0);
}

TEST(CommandLineOptionsTest, ProgramAndPreviewNameTheShotsThatStartThere)
{
    const CommandLineOptions options = CommandLineOptions::parse({ "mixdesk", "--program", "3", "--preview", "1" });
    EXPECT_EQ(options.action, Action::Run);
    EXPECT_EQ(options.programShot, 3);
    EXPECT_EQ(options.previewShot, 1);
    EXPECT_EQ(CommandLineOptions::parse({ "mixdesk", "--preview", "2" }).programShot, 0);
}

TEST(CommandLineOptionsTest, ProgramOrPreviewThatIsNoShotPositionFails)
{
    for (const char* value : { "0", "-1", "two" }) {
        const CommandLineOptions program = CommandLineOptions::parse({ "mixdesk", "--program", value });
        EXPECT_EQ(program.action, Action::Fail) << value;
        EXPECT_EQ(program.error, QStringLiteral("--program needs a shot position from 1, not \"%1\"").arg(value));
        const CommandLineOptions preview = CommandLineOptions::parse({ "mixdesk", "--preview", value });
        EXPECT_EQ(preview.action, Action::Fail) << value;
        EXPECT_EQ(preview.error, QStringLiteral("--preview needs a shot position from 1, not \"%1\"").arg(value));
    }
}

TEST(CommandLineOptionsTest, HeadlessShotsAndAutoCutAreRead)
{
    const CommandLineOptions options
        = CommandLineOptions::parse({ "mixdesk", "--headless", "--shots", "show.txt", "--auto-cut", "3" });
    EXPECT_EQ(options.action, Action::Run);
    EXPECT_TRUE(options.headless);
    EXPECT_EQ(options.shotsFile, "show.txt");
    EXPECT_EQ(options.autoCutSeconds, 3);
}

TEST(CommandLineOptionsTest, HelpIsAskedWithEitherSpelling)
{
    EXPECT_EQ(CommandLineOptions::parse({ "mixdesk", "--help" }).action, Action::ShowHelp);
    EXPECT_EQ(CommandLineOptions::parse({ "mixdesk", "-h" }).action, Action::ShowHelp);
}

TEST(CommandLineOptionsTest, HelpDocumentsTheShotListFormatTheCommandsAndTheAnswerFile)
{
    const QString help = CommandLineOptions::helpText();
    EXPECT_TRUE(help.startsWith("Usage: mixdesk [--headless] [--shots FILE] [--auto-cut SECONDS]\n"
                                "               [--program N] [--preview N]\n"));
    EXPECT_TRUE(help.contains("--program N         start with shot N on program (none by default)"))
        << help.toStdString();
    EXPECT_TRUE(help.contains("one shot name per line")) << help.toStdString();
    EXPECT_TRUE(help.contains("  rename N NAME ")) << help.toStdString();
    EXPECT_TRUE(help.contains("/shots\n")) << help.toStdString();
}

TEST(CommandLineOptionsTest, AnUnknownOptionFails)
{
    const CommandLineOptions options = CommandLineOptions::parse({ "mixdesk", "--loud" });
    EXPECT_EQ(options.action, Action::Fail);
    EXPECT_EQ(options.error, "Unknown option 'loud'.");
}

TEST(CommandLineOptionsTest, AStrayArgumentFails)
{
    const CommandLineOptions options = CommandLineOptions::parse({ "mixdesk", "show.txt" });
    EXPECT_EQ(options.action, Action::Fail);
    EXPECT_EQ(options.error, "unexpected argument \"show.txt\"");
}

TEST(CommandLineOptionsTest, AutoCutOutsideItsRangeFails)
{
    for (const char* value : { "-1", "3601", "soon" }) {
        const CommandLineOptions options = CommandLineOptions::parse({ "mixdesk", "--auto-cut", value });
        EXPECT_EQ(options.action, Action::Fail) << value;
        EXPECT_EQ(options.error,
            QStringLiteral("--auto-cut needs a number of seconds from 0 to 3600, not \"%1\"").arg(value));
    }
}

TEST(CommandLineOptionsTest, ShotsWithoutAFileFails)
{
    const CommandLineOptions options = CommandLineOptions::parse({ "mixdesk", "--shots" });
    EXPECT_EQ(options.action, Action::Fail);
    EXPECT_EQ(options.error, "Missing value after '--shots'.");
}
