#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class EvaluateCommandTest : public testing::Test {
protected:
    QString file(const QString& name, const QByteArray& bytes) const
    {
        const QString path = directory.filePath(name);
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
        return path;
    }

    QTemporaryDir directory;
};

// Light 1 watches Camera 1 (live), light 2 Camera 2 (preview), light 3 both,
// light 8 a shot that is neither; the rest watch nothing.
const QByteArray studioMap = "0|Camera 1\r\n1|Camera 2\r\n2|Camera 2|Camera 1\r\n7|Titles\r\n";
const QByteArray answer = "{{shotId:\"1\", shotName:\"Camera 1\", isLive:true, isPreview:false}, "
                          "{shotId:\"2\", shotName:\"Camera 2\", isLive:false, isPreview:true}, "
                          "{shotId:\"3\", shotName:\"Titles\", isLive:false, isPreview:false}}\n";

} // namespace

TEST_F(EvaluateCommandTest, PrintsEachLightsModeAndItsTwoBytes)
{
    const TallyctlRun run = runTallyctl({ "evaluate", file("studio.tlx", studioMap), file("answer.txt", answer) });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
        "Light 1: live b1 21\n"
        "Light 2: preview 02 d2\n"
        "Light 3: live b3 23\n"
        "Light 4: off 04 24\n"
        "Light 5: off 05 25\n"
        "Light 6: off 06 26\n"
        "Light 7: off 07 27\n"
        "Light 8: off 08 28\n");
}

TEST_F(EvaluateCommandTest, JsonKeepsTheEightModesAndSixteenBytesInSendOrder)
{
    const TallyctlRun run
        = runTallyctl({ "evaluate", "--json", file("studio.tlx", studioMap), file("answer.txt", answer) });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    ASSERT_TRUE(run.out.endsWith('\n'));
    const QJsonObject result = QJsonDocument::fromJson(run.out.toUtf8()).object();
    EXPECT_EQ(QJsonDocument(result.value(QStringLiteral("bytes")).toArray()).toJson(QJsonDocument::Compact),
        "[\"b1\",\"21\",\"02\",\"d2\",\"b3\",\"23\",\"04\",\"24\",\"05\",\"25\",\"06\",\"26\",\"07\",\"27\",\"08\","
        "\"28\"]");
    EXPECT_EQ(QJsonDocument(result.value(QStringLiteral("modes")).toArray()).toJson(QJsonDocument::Compact),
        "[\"live\",\"preview\",\"live\",\"off\",\"off\",\"off\",\"off\",\"off\"]");
}

TEST_F(EvaluateCommandTest, JsonGivesEachLightInTheSharedFormWithItsBytes)
{
    const TallyctlRun run
        = runTallyctl({ "evaluate", "--json", file("studio.tlx", studioMap), file("answer.txt", answer) });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonArray lights
        = QJsonDocument::fromJson(run.out.toUtf8()).object().value(QStringLiteral("lights")).toArray();
    ASSERT_EQ(lights.size(), 8) << run.out.toStdString();
    auto compact = [&](int index) { return QJsonDocument(lights[index].toObject()).toJson(QJsonDocument::Compact); };
    // Light 3 watches both cameras and is live for Camera 1 alone; light 8
    // watches a shot that is there but neither live nor in preview.
    EXPECT_EQ(compact(0),
        "{\"bytes\":[\"b1\",\"21\"],\"light\":1,\"litBy\":[\"Camera 1\"],\"missing\":[],\"mode\":\"live\","
        "\"shots\":[\"Camera 1\"]}");
    EXPECT_EQ(compact(1),
        "{\"bytes\":[\"02\",\"d2\"],\"light\":2,\"litBy\":[\"Camera 2\"],\"missing\":[],\"mode\":\"preview\","
        "\"shots\":[\"Camera 2\"]}");
    EXPECT_EQ(compact(2),
        "{\"bytes\":[\"b3\",\"23\"],\"light\":3,\"litBy\":[\"Camera 1\"],\"missing\":[],\"mode\":\"live\","
        "\"shots\":[\"Camera 2\",\"Camera 1\"]}");
    EXPECT_EQ(compact(7),
        "{\"bytes\":[\"08\",\"28\"],\"light\":8,\"litBy\":[],\"missing\":[],\"mode\":\"off\","
        "\"shots\":[\"Titles\"]}");
}

TEST_F(EvaluateCommandTest, JsonNamesAnAssignedShotTheAnswerLacks)
{
    const TallyctlRun run = runTallyctl(
        { "evaluate", "--json", file("studio.tlx", "0|Camera 1|Camera 9\r\n"), file("answer.txt", answer) });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonObject first = QJsonDocument::fromJson(run.out.toUtf8())
                                  .object()
                                  .value(QStringLiteral("lights"))
                                  .toArray()
                                  .first()
                                  .toObject();
    EXPECT_EQ(first.value(QStringLiteral("missing")).toArray(), QJsonArray({ QStringLiteral("Camera 9") }))
        << run.out.toStdString();
}

TEST_F(EvaluateCommandTest, MissingAnswerIsAUsageError)
{
    const TallyctlRun run = runTallyctl({ "evaluate", file("studio.tlx", studioMap) });
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains("usage: tallyctl evaluate [--json] MAP ANSWER")) << run.err.toStdString();
}

TEST_F(EvaluateCommandTest, UnreadableMapReportsTheReadFailureWithFileAndLine)
{
    const QString map = file("bad.tlx", ";comment|A\r\n");
    const TallyctlRun run = runTallyctl({ "evaluate", map, file("answer.txt", answer) });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "Read of document failed: " + map + ":1: Unable to parse tally index\n");
    EXPECT_EQ(run.out, "");
}

TEST_F(EvaluateCommandTest, AnswerThatIsNotTheNotationExitsOne)
{
    const TallyctlRun run
        = runTallyctl({ "evaluate", file("studio.tlx", studioMap), file("answer.txt", "{{shotId:\"1\"") });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("tallyctl evaluate: unreadable answer: ")) << run.err.toStdString();
}

TEST_F(EvaluateCommandTest, UnknownLabelsGoToStandardErrorAndTheRestStillCounts)
{
    const QByteArray odd = "{{shotName:\"Camera 1\", isLive:true, camera:7}, {shotName:\"Camera 2\"}}";
    const TallyctlRun run = runTallyctl({ "evaluate", file("studio.tlx", studioMap), file("answer.txt", odd) });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "unexpected record attribute camera\n");
    EXPECT_TRUE(run.out.startsWith("Light 1: live b1 21\nLight 2: off 02 22\n")) << run.out.toStdString();
}
