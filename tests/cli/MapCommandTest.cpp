#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class MapCommandTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(directory.isValid()); }

    QString file(const QString& name, const QByteArray& bytes) const
    {
        const QString path = directory.filePath(name);
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        EXPECT_EQ(out.write(bytes), bytes.size());
        return path;
    }

    static TallyctlRun tallyctl(const QStringList& arguments) { return runTallyctl(arguments); }

    QTemporaryDir directory;
};

const QByteArray exampleMap = "0|Camera 1|Camera 2\r\n1|\r\n2|Wide Shot\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n";

} // namespace

TEST_F(MapCommandTest, ShowPrintsOneLinePerLightWithItsNames)
{
    const TallyctlRun run
        = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), file(QStringLiteral("studio.tlx"), exampleMap) });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out,
        QStringLiteral("Light 1: Camera 1, Camera 2\n"
                       "Light 2: (none)\n"
                       "Light 3: Wide Shot\n"
                       "Light 4: (none)\n"
                       "Light 5: (none)\n"
                       "Light 6: (none)\n"
                       "Light 7: (none)\n"
                       "Light 8: (none)\n"));
    EXPECT_EQ(run.err, QString());
}

TEST_F(MapCommandTest, ShowJsonPrintsEightArraysOnOneLine)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), QStringLiteral("--json"),
        file(QStringLiteral("studio.tlx"), exampleMap) });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(
        run.out, QStringLiteral("{\"lights\":[[\"Camera 1\",\"Camera 2\"],[],[\"Wide Shot\"],[],[],[],[],[]]}\n"));
}

TEST_F(MapCommandTest, ShowJsonEscapesQuotesBackslashesAndControlCharactersAndKeepsUnicode)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"),
        file(QStringLiteral("odd.tlx"), "6|Say \"hi\"|back\\slash|tab\there|Cam\xc3\xa9ra\n"),
        QStringLiteral("--json") });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
        QStringLiteral("{\"lights\":[[],[],[],[],[],[],[\"Say "
                       "\\\"hi\\\"\",\"back\\\\slash\",\"tab\\there\",\"Cam\u00e9ra\"],[]]}\n"));
}

TEST_F(MapCommandTest, ShowOfAMissingFileFailsWithTheReadMessageAndExitCode1)
{
    const QString missing = directory.filePath(QStringLiteral("missing.tlx"));
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), missing });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, QString());
    EXPECT_EQ(run.err,
        QStringLiteral("Read of document failed: Unable to read \"%1\": No such file or directory\n").arg(missing));
}

TEST_F(MapCommandTest, ShowOfABadFileFailsWithTheFormatsMessageAndExitCode1)
{
    const QList<QPair<QByteArray, QString>> cases {
        { QByteArray("0|A\r\n; comment\r\n"), QStringLiteral("Unable to parse tally index") },
        { QByteArray("0|A\r\n\r\n"), QStringLiteral("Shot index missing from line") },
        { QByteArray("0|\xff"), QStringLiteral("Unable to decode utf8 data") },
    };
    for (const auto& [bytes, message] : cases) {
        const TallyctlRun run
            = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), file(QStringLiteral("bad.tlx"), bytes) });
        EXPECT_EQ(run.exitCode, 1) << message.toStdString();
        EXPECT_EQ(run.out, QString());
        EXPECT_EQ(run.err, QStringLiteral("Read of document failed: %1\n").arg(message));
    }
}

TEST_F(MapCommandTest, ShowOfAFileNamingALightOutsideTheMapFailsWithAMessageInsteadOfStopping)
{
    for (const auto& [bytes, index] : QList<QPair<QByteArray, QString>> {
             { QByteArray("0|A\r\n8|A\r\n"), QStringLiteral("8") }, { QByteArray("-1|A"), QStringLiteral("-1") } }) {
        const TallyctlRun run
            = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), file(QStringLiteral("far.tlx"), bytes) });
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, QString());
        EXPECT_EQ(run.err,
            QStringLiteral("Read of document failed: Tally index %1 is outside the lights 0 to 7\n").arg(index));
    }
}

TEST_F(MapCommandTest, ShowWithoutAFileIsAUsageError)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show") });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl map show [--json] FILE"))) << run.err.toStdString();
}

TEST_F(MapCommandTest, UnknownOptionsAndSubcommandsAreUsageErrors)
{
    const QString path = file(QStringLiteral("studio.tlx"), exampleMap);
    for (const QStringList& arguments :
        { QStringList { QStringLiteral("map"), QStringLiteral("show"), QStringLiteral("--yaml"), path },
            QStringList { QStringLiteral("map"), QStringLiteral("list"), path }, QStringList { QStringLiteral("map") },
            QStringList { QStringLiteral("map"), QStringLiteral("show"), path, path } }) {
        const TallyctlRun run = tallyctl(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_EQ(run.out, QString());
        EXPECT_TRUE(run.err.contains(QStringLiteral("usage: tallyctl map show [--json] FILE")));
    }
}

TEST_F(MapCommandTest, HelpPrintsTheUsage)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), QStringLiteral("--help") });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: tallyctl map show [--json] FILE\n")));
}

TEST_F(MapCommandTest, ShowOfAFifoOrADeviceFailsAtOnceWithTheReadMessage)
{
    const QString fifo = directory.filePath(QStringLiteral("pipe.tlx"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("mkfifo"), { fifo }), 0);
    for (const QString& path : { fifo, QStringLiteral("/dev/zero") }) {
        const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), path });
        EXPECT_EQ(run.exitCode, 1) << path.toStdString();
        EXPECT_EQ(
            run.err, QStringLiteral("Read of document failed: Unable to read \"%1\": not a regular file\n").arg(path));
    }
}
