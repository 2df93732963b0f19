// tallyctl's own help: alone, --version, and "help COMMAND" with the
// options, environment variables and exit codes of each command.

#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <gtest/gtest.h>

namespace {

const QStringList everyCommand { QStringLiteral("digest"), QStringLiteral("map"), QStringLiteral("decode"),
    QStringLiteral("evaluate"), QStringLiteral("devices"), QStringLiteral("send"), QStringLiteral("off"),
    QStringLiteral("chase"), QStringLiteral("watch") };

} // namespace

TEST(TallyctlHelpTest, AloneItPrintsTheCommandListAndExitsZero)
{
    const TallyctlRun run = runTallyctl({});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: tallyctl COMMAND [ARGUMENTS...]\ncommands:\n")));
    for (const QString& command : everyCommand) {
        EXPECT_TRUE(run.out.contains(QStringLiteral("\n  ") + command)) << command.toStdString();
    }
    EXPECT_TRUE(run.out.contains(QStringLiteral("tallyctl help COMMAND")));
    EXPECT_EQ(run.err, QString());
}

TEST(TallyctlHelpTest, AloneItPrintsWhatHelpPrints)
{
    EXPECT_EQ(runTallyctl({}).out, runTallyctl({ QStringLiteral("help") }).out);
    EXPECT_EQ(runTallyctl({}).out, runTallyctl({ QStringLiteral("--help") }).out);
}

TEST(TallyctlHelpTest, VersionPrintsTheProjectVersionAndExitsZero)
{
    const TallyctlRun run = runTallyctl({ QStringLiteral("--version") });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, QStringLiteral("tallyctl " TALLY_VERSION "\n"));
}

TEST(TallyctlHelpTest, HelpCommandShowsTheOptionsEnvironmentAndExitCodesOfWatch)
{
    const TallyctlRun run = runTallyctl({ QStringLiteral("help"), QStringLiteral("watch") });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: tallyctl watch ")));
    for (const char* expected :
        { "\noptions:\n", "  --ticks N ", "  --json ", "  --timestamps ", "  --no-timestamps ", "  --source SOURCE ",
            " [--vmix-feed [ADDRESS:]PORT] ", "\n  --vmix-feed WHERE     answer vMix tally receivers",
            "itself uses port 8099", "\nenvironment:\n  MIXDESK_TALLY_HID_CAPTURE=FILE ", "\nexit codes:\n  0  ",
            "\n  1  the map cannot be read", "\n  2  wrong usage\n" }) {
        EXPECT_TRUE(run.out.contains(QString::fromLatin1(expected))) << expected << " missing from\n"
                                                                     << run.out.toStdString();
    }
}

TEST(TallyctlHelpTest, HelpCommandAndHelpOptionPrintTheSameForEveryCommand)
{
    for (const QString& command : everyCommand) {
        const TallyctlRun help = runTallyctl({ QStringLiteral("help"), command });
        const TallyctlRun option = runTallyctl({ command, QStringLiteral("--help") });
        EXPECT_EQ(help.exitCode, 0) << command.toStdString();
        EXPECT_EQ(help.out, option.out) << command.toStdString();
        EXPECT_TRUE(help.out.contains(QStringLiteral("\nexit codes:\n  0  "))) << help.out.toStdString();
        EXPECT_TRUE(help.out.contains(QStringLiteral("\n  2  wrong usage\n"))) << help.out.toStdString();
    }
}

TEST(TallyctlHelpTest, CommandsThatDriveTheTallyBoxExplainTheCaptureVariable)
{
    for (const char* command : { "devices", "send", "off", "chase", "watch" }) {
        const TallyctlRun run = runTallyctl({ QStringLiteral("help"), QString::fromLatin1(command) });
        EXPECT_TRUE(run.out.contains(QStringLiteral("environment:\n  MIXDESK_TALLY_HID_CAPTURE=FILE"))) << command;
    }
    const TallyctlRun digest = runTallyctl({ QStringLiteral("help"), QStringLiteral("digest") });
    EXPECT_FALSE(digest.out.contains(QStringLiteral("environment:"))) << digest.out.toStdString();
}

TEST(TallyctlHelpTest, HelpOfAnUnknownCommandIsAUsageError)
{
    const TallyctlRun run = runTallyctl({ QStringLiteral("help"), QStringLiteral("blink") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, QString());
    EXPECT_TRUE(run.err.startsWith(QStringLiteral("tallyctl: unknown command 'blink'\n"))) << run.err.toStdString();
}

TEST(TallyctlHelpTest, HelpOfTwoCommandsIsAUsageError)
{
    const TallyctlRun run = runTallyctl({ QStringLiteral("help"), QStringLiteral("map"), QStringLiteral("watch") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl help [COMMAND]"))) << run.err.toStdString();
}

TEST(TallyctlHelpTest, AnUnknownCommandIsStillAUsageError)
{
    const TallyctlRun run = runTallyctl({ QStringLiteral("blink") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.startsWith(QStringLiteral("tallyctl: unknown command 'blink'\n")));
}

TEST(TallyctlHelpTest, TheDescriptionsOfOneSectionStartInOneColumn)
{
    const TallyctlRun run = runTallyctl({ QStringLiteral("help"), QStringLiteral("watch") });
    const QStringList lines = run.out.split(QLatin1Char('\n'));
    const qsizetype options = lines.indexOf(QStringLiteral("options:"));
    ASSERT_GE(options, 0) << run.out.toStdString();
    // "  --ticks N   stop after..." and "  --help      this help": the text
    // after the option names starts at the same column in every entry.
    QList<qsizetype> columns;
    for (qsizetype i = options + 1; i < lines.size() && !lines[i].isEmpty(); ++i) {
        if (lines[i].startsWith(QStringLiteral("   "))) {
            continue; // a long description going on under the one above
        }
        const qsizetype gap = lines[i].indexOf(QStringLiteral("  "), 2);
        ASSERT_GT(gap, 2) << lines[i].toStdString();
        qsizetype column = gap;
        while (lines[i].at(column) == u' ') {
            ++column;
        }
        columns.append(column);
    }
    ASSERT_GE(columns.size(), 5);
    for (const qsizetype column : columns) {
        EXPECT_EQ(column, columns.first()) << run.out.toStdString();
    }
    EXPECT_TRUE(
        lines.contains(QStringLiteral("  --help") + QString(columns.first() - 8, u' ') + QStringLiteral("this help")));
}
