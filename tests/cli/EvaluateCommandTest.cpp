#include "support/QtPrinters.h"
#include "support/TallyctlProcess.h"

#include <QFile>
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

TEST_F(EvaluateCommandTest, JsonGivesEightModesAndSixteenBytesInSendOrder)
{
    const TallyctlRun run
        = runTallyctl({ "evaluate", "--json", file("studio.tlx", studioMap), file("answer.txt", answer) });
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out,
        "{\"bytes\":[\"b1\",\"21\",\"02\",\"d2\",\"b3\",\"23\",\"04\",\"24\",\"05\",\"25\",\"06\",\"26\",\"07\",\"27\","
        "\"08\",\"28\"],\"modes\":[\"live\",\"preview\",\"live\",\"off\",\"off\",\"off\",\"off\",\"off\"]}\n");
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
