// tallyctl decode, end to end: the built program with its real input and
// output streams.

#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TallyctlRun tallyctl(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    TallyctlOptions options;
    options.input = input;
    return runTallyctl(QStringList { "decode" } + arguments, options);
}

const QByteArray twoShots = "{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, "
                            "{shotId:\"2\", shotName:\"Cam 2\", isLive:false, isPreview:true}}\n";

} // namespace

TEST(TallyctlDecodeTest, DecodesStandardInputIntoOneReadableLinePerShot)
{
    const TallyctlRun run = tallyctl({}, twoShots);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "1. \"Cam 1\" (id \"1\"): live\n2. \"Cam 2\" (id \"2\"): preview\n");
    EXPECT_EQ(run.err, "");
}

TEST(TallyctlDecodeTest, DecodesAFile)
{
    QTemporaryDir dir;
    QFile file(dir.filePath("answer.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{{shotId:\"a\", shotName:\"Wide\", isLive:true, isPreview:true}, {shotId:\"b\"}}");
    file.close();
    const TallyctlRun run = tallyctl({ file.fileName() });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "1. \"Wide\" (id \"a\"): live, preview\n2. \"\" (id \"b\"): off\n");
}

TEST(TallyctlDecodeTest, JsonPrintsOneLineOfShots)
{
    const TallyctlRun run = tallyctl({ "--json" }, twoShots);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out,
        "[{\"shotId\":\"1\",\"name\":\"Cam 1\",\"isLive\":true,\"isPreview\":false},"
        "{\"shotId\":\"2\",\"name\":\"Cam 2\",\"isLive\":false,\"isPreview\":true}]\n");
}

TEST(TallyctlDecodeTest, JsonEscapesQuotesBackslashesAndControlCharacters)
{
    const TallyctlRun run = tallyctl({ "--json" }, "{{shotName:\"a \\\"b\\\" \\\\ c\td\"}, {shotName:\"é\"}}");
    EXPECT_EQ(run.out,
        QString::fromUtf8("[{\"shotId\":\"\",\"name\":\"a \\\"b\\\" \\\\ c\\td\",\"isLive\":false,"
                          "\"isPreview\":false},{\"shotId\":\"\",\"name\":\"é\",\"isLive\":false,"
                          "\"isPreview\":false}]\n"));
}

TEST(TallyctlDecodeTest, UnexpectedLabelsGoToStandardOutputAndWithJsonToStandardError)
{
    const QByteArray answer = "{{shotId:\"1\", camera:3}, {shotId:\"2\"}}";
    const TallyctlRun readable = tallyctl({}, answer);
    EXPECT_EQ(readable.out, "unexpected record attribute camera\n1. \"\" (id \"1\"): off\n2. \"\" (id \"2\"): off\n");
    const TallyctlRun json = tallyctl({ "--json" }, answer);
    EXPECT_EQ(json.err, "unexpected record attribute camera\n");
    EXPECT_TRUE(json.out.startsWith("[{\"shotId\":\"1\""));
}

TEST(TallyctlDecodeTest, AnswerOfOneShotDecodesToNoShots)
{
    EXPECT_EQ(tallyctl({ "--json" }, "{{shotId:\"1\"}}").out, "[]\n");
    const TallyctlRun readable = tallyctl({}, "{{shotId:\"1\"}}");
    EXPECT_EQ(readable.exitCode, 0);
    EXPECT_EQ(readable.out, "no shots\n");
}

TEST(TallyctlDecodeTest, UnreadableInputExitsOneWithWhatAndWhere)
{
    const TallyctlRun run = tallyctl({}, "{{shotId:\"1\"}, {shotId:\"2}}");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "tallyctl decode: unreadable answer: text is never closed at offset 23\n");
}

TEST(TallyctlDecodeTest, AnswerOfTheWrongShapeExitsOneInsteadOfStopping)
{
    const TallyctlRun run = tallyctl({}, "{{shotId:\"1\"}, {shotId:missing value}}");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
        "tallyctl decode: not a shot list: the shotId value (item 2) of shot 2 of the query answer has no text "
        "value\n");
}

TEST(TallyctlDecodeTest, MissingFileExitsOne)
{
    const TallyctlRun run = tallyctl({ "/nonexistent/answer.txt" });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("tallyctl decode: cannot read /nonexistent/answer.txt: ")) << run.err.toStdString();
}

TEST(TallyctlDecodeTest, UnknownOptionOrTwoFilesIsAUsageError)
{
    const TallyctlRun option = tallyctl({ "--yaml" });
    EXPECT_EQ(option.exitCode, 2);
    EXPECT_EQ(option.err, "tallyctl decode: unknown option '--yaml'\nusage: tallyctl decode [--json] [FILE]\n");
    EXPECT_EQ(tallyctl({ "a", "b" }).exitCode, 2);
}

TEST(TallyctlDecodeTest, HelpPrintsUsage)
{
    const TallyctlRun run = tallyctl({ "--help" });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith("usage: tallyctl decode [--json] [FILE]\n"));
}

TEST(TallyctlDecodeTest, AnAnswerThatIsNotAListExitsOneAndSaysWhatItIs)
{
    for (const auto& [answer, what] : QList<QPair<QByteArray, QString>> { { "\"hello\"", QStringLiteral("a text") },
             { "42", QStringLiteral("an integer") },
             { "{shotId:\"1\", shotName:\"Cam 1\"}", QStringLiteral("a record") },
             { "missing value", QStringLiteral("missing value") } }) {
        const TallyctlRun run = tallyctl({}, answer);
        EXPECT_EQ(run.exitCode, 1) << answer.toStdString();
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err,
            QStringLiteral("tallyctl decode: not a shot list: the answer is %1, not a list of records\n").arg(what));
    }
}

TEST(TallyctlDecodeTest, AListHoldingSomethingOtherThanRecordsExitsOneNamingTheItem)
{
    for (const QByteArray& answer : { QByteArray("{\"Cam 1\"}"), QByteArray("{{shotId:\"1\"}, \"Cam 2\"}") }) {
        const TallyctlRun run = tallyctl({ "--json" }, answer);
        EXPECT_EQ(run.exitCode, 1) << answer.toStdString();
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.startsWith("tallyctl decode: not a shot list: item ")) << run.err.toStdString();
        EXPECT_TRUE(run.err.endsWith(" of the answer is a text, not a record\n")) << run.err.toStdString();
    }
}

TEST(TallyctlDecodeTest, AnEmptyListIsAShotListOfNoShots)
{
    const TallyctlRun run = tallyctl({}, "{}");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "no shots\n");
}

TEST(TallyctlDecodeTest, AFifoOrADeviceIsRefusedAtOnceWithExitCode1)
{
    QTemporaryDir dir;
    const QString fifo = dir.filePath("answer.fifo");
    ASSERT_EQ(QProcess::execute("mkfifo", { fifo }), 0);
    for (const QString& path : { fifo, QStringLiteral("/dev/zero") }) {
        const TallyctlRun run = tallyctl({ path });
        EXPECT_EQ(run.exitCode, 1) << path.toStdString();
        EXPECT_EQ(run.err, "tallyctl decode: cannot read " + path + ": not a regular file\n");
    }
}

TEST(TallyctlDecodeTest, AnAnswerOverSixteenMebibytesIsRefused)
{
    QTemporaryDir dir;
    QFile file(dir.filePath("answer.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(twoShots);
    ASSERT_TRUE(file.resize(16 * 1024 * 1024 + 1));
    file.close();
    const TallyctlRun run = tallyctl({ file.fileName() });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
        "tallyctl decode: cannot read " + file.fileName() + ": larger than 16 MiB, too large for this kind of file\n");
}
