#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace {

TallyctlRun tallyctl(const QStringList& arguments)
{
    return runTallyctl(arguments);
}

} // namespace

TEST(DigestCommandTest, PrintsDigestOfText)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest"), QStringLiteral("abc") });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, QStringLiteral("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n"));
    EXPECT_TRUE(run.err.isEmpty());
}

TEST(DigestCommandTest, PrintsDigestOfEmptyText)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest"), QString() });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n"));
}

TEST(DigestCommandTest, KeepsSpacesAndCompositionOfText)
{
    const TallyctlRun spaced = tallyctl({ QStringLiteral("digest"), QStringLiteral(" abc ") });
    const TallyctlRun plain = tallyctl({ QStringLiteral("digest"), QStringLiteral("abc") });
    const TallyctlRun composed = tallyctl({ QStringLiteral("digest"), QStringLiteral("caf\u00e9") });
    const TallyctlRun decomposed = tallyctl({ QStringLiteral("digest"), QStringLiteral("cafe\u0301") });
    for (const TallyctlRun* run : { &spaced, &plain, &composed, &decomposed }) {
        EXPECT_EQ(run->exitCode, 0);
        EXPECT_EQ(run->out.size(), 65);
    }
    EXPECT_NE(spaced.out, plain.out);
    EXPECT_NE(composed.out, decomposed.out);
}

TEST(DigestCommandTest, TextStartingWithDashesFollowsDoubleDash)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest"), QStringLiteral("--"), QStringLiteral("--x") });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out.trimmed().size(), 64);
    EXPECT_NE(run.out, tallyctl({ QStringLiteral("digest"), QStringLiteral("x") }).out);
}

TEST(DigestCommandTest, MissingTextIsUsageError)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl digest"))) << run.err.toStdString();
}

TEST(DigestCommandTest, SecondTextIsUsageError)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest"), QStringLiteral("a"), QStringLiteral("b") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl digest")));
}

TEST(DigestCommandTest, UnknownOptionIsUsageError)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest"), QStringLiteral("--json"), QStringLiteral("abc") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("unknown option '--json'"))) << run.err.toStdString();
}

TEST(DigestCommandTest, HelpPrintsUsage)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("digest"), QStringLiteral("--help") });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: tallyctl digest [--] TEXT\n"))) << run.out.toStdString();
}

TEST(DigestCommandTest, ListedInCommandList)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("--help") });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains(QStringLiteral("digest [--] TEXT")));
}
