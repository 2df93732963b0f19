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

// The light number as the window shows it, the index as the file writes it.
QString jsonLight(int index, const QString& shots)
{
    return QStringLiteral("{\"index\":%1,\"light\":%2,\"shots\":[%3]}").arg(index).arg(index + 1).arg(shots);
}

QString jsonLights(const QStringList& shotsPerLight)
{
    QStringList lights;
    for (qsizetype index = 0; index < shotsPerLight.size(); ++index) {
        lights.append(jsonLight(static_cast<int>(index), shotsPerLight[index]));
    }
    return QStringLiteral("{\"lights\":[%1]}\n").arg(lights.join(QLatin1Char(',')));
}

TEST_F(MapCommandTest, ShowJsonPrintsEightLightsWithTheirNumbersOnOneLine)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), QStringLiteral("--json"),
        file(QStringLiteral("studio.tlx"), exampleMap) });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out,
        jsonLights(
            { QStringLiteral("\"Camera 1\",\"Camera 2\""), {}, QStringLiteral("\"Wide Shot\""), {}, {}, {}, {}, {} }));
}

TEST_F(MapCommandTest, ShowJsonEscapesQuotesBackslashesAndControlCharactersAndKeepsUnicode)
{
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"),
        file(QStringLiteral("odd.tlx"), "6|Say \"hi\"|back\\slash|tab\there|Cam\xc3\xa9ra\n"),
        QStringLiteral("--json") });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
        jsonLights({ {}, {}, {}, {}, {}, {},
            QStringLiteral("\"Say \\\"hi\\\"\",\"back\\\\slash\",\"tab\\there\",\"Cam\u00e9ra\""), {} }));
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

TEST_F(MapCommandTest, ShowOfABadFileNamesTheFileAndTheLineWithTheFormatsMessageAndExitCode1)
{
    const QList<QPair<QByteArray, QString>> cases {
        { QByteArray("0|A\r\n; comment\r\n"), QStringLiteral(":2: Unable to parse tally index") },
        { QByteArray("0|A\r\n1|B\n2|C\r\r\n"), QStringLiteral(":4: Shot index missing from line") },
        { QByteArray("0|A\r3|B\n+x|C"), QStringLiteral(":3: Unable to parse tally index") },
    };
    for (const auto& [bytes, message] : cases) {
        const QString path = file(QStringLiteral("bad.tlx"), bytes);
        const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), path });
        EXPECT_EQ(run.exitCode, 1) << message.toStdString();
        EXPECT_EQ(run.out, QString());
        EXPECT_EQ(run.err, QStringLiteral("Read of document failed: %1%2\n").arg(path, message));
    }
}

TEST_F(MapCommandTest, ShowOfAFileThatIsNotUtf8NamesTheFileButNoLine)
{
    const QString path = file(QStringLiteral("latin1.tlx"), QByteArray("0|Cam\xe9ra\r\n"));
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), path });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, QStringLiteral("Read of document failed: %1: Unable to decode utf8 data\n").arg(path));
}

TEST_F(MapCommandTest, ShowOfAFileNamingALightOutsideTheMapFailsWithTheLineInsteadOfStopping)
{
    for (const auto& [bytes, where] :
        QList<QPair<QByteArray, QString>> { { QByteArray("0|A\r\n8|A\r\n"), QStringLiteral("2: Tally index 8") },
            { QByteArray("-1|A"), QStringLiteral("1: Tally index -1") } }) {
        const QString path = file(QStringLiteral("far.tlx"), bytes);
        const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), path });
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, QString());
        EXPECT_EQ(
            run.err, QStringLiteral("Read of document failed: %1:%2 is outside the lights 0 to 7\n").arg(path, where));
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
    EXPECT_TRUE(run.out.startsWith(
        QStringLiteral("usage: tallyctl map show [--json] FILE | map new [--source SOURCE] [--force] FILE\n")))
        << run.out.toStdString();
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

TEST_F(MapCommandTest, NewWithoutASourceWritesEightEmptyLights)
{
    const QString path = directory.filePath(QStringLiteral("new.tlx"));
    const TallyctlRun run = tallyctl({ QStringLiteral("map"), QStringLiteral("new"), path });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.err, QString());
    QFile written(path);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), QByteArray("0|\r\n1|\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
    const TallyctlRun shown = tallyctl({ QStringLiteral("map"), QStringLiteral("show"), path });
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_TRUE(shown.out.startsWith(QStringLiteral("Light 1: (none)\n"))) << shown.out.toStdString();
}

TEST_F(MapCommandTest, NewKeepsAnExistingMapUnlessForced)
{
    const QString path = file(QStringLiteral("studio.tlx"), exampleMap);
    const TallyctlRun refused = tallyctl({ QStringLiteral("map"), QStringLiteral("new"), path });
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, QStringLiteral("tallyctl map new: %1 exists; give --force to replace it\n").arg(path));
    QFile kept(path);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), exampleMap);
    kept.close();

    const TallyctlRun forced
        = tallyctl({ QStringLiteral("map"), QStringLiteral("new"), QStringLiteral("--force"), path });
    EXPECT_EQ(forced.exitCode, 0) << forced.err.toStdString();
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), QByteArray("0|\r\n1|\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
}

TEST_F(MapCommandTest, NewRefusesOutputsAndASecondFile)
{
    const QString path = directory.filePath(QStringLiteral("new.tlx"));
    const TallyctlRun withWeb = tallyctl(
        { QStringLiteral("map"), QStringLiteral("new"), QStringLiteral("--web"), QStringLiteral("8080"), path });
    EXPECT_EQ(withWeb.exitCode, 2);
    EXPECT_TRUE(withWeb.err.contains(QStringLiteral("map new takes --source and the source's own options, no outputs")))
        << withWeb.err.toStdString();
    const TallyctlRun twoFiles
        = tallyctl({ QStringLiteral("map"), QStringLiteral("new"), path, path + QLatin1Char('2') });
    EXPECT_EQ(twoFiles.exitCode, 2);
    EXPECT_FALSE(QFile::exists(path));
}
