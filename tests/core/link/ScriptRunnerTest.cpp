#include "link/ScriptRunner.h"

#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace {

// State letter of a process from /proc/PID/stat ('R', 'S', 'Z', ...), or 0
// when there is no such process (any more).
char processState(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray line = stat.readAll();
    const qsizetype close = line.lastIndexOf(')');
    return close >= 0 && close + 2 < line.size() ? line.at(close + 2) : 0;
}

class ScriptRunnerTest : public testing::Test {
protected:
    QTemporaryDir dir;

    QString script(const QByteArray& body,
        QFile::Permissions permissions
        = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup)
    {
        const QString path = dir.filePath(QStringLiteral("query_shots"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("#!/bin/sh\n" + body + "\n");
        file.close();
        file.setPermissions(permissions);
        return path;
    }

    // An executable file with exactly these bytes.
    QString writeRaw(const QByteArray& bytes)
    {
        const QString path = dir.filePath(QStringLiteral("query_shots"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    ScriptResult run(const QByteArray& body)
    {
        std::unique_ptr<ScriptRunner> runner = ScriptRunner::load(script(body));
        EXPECT_TRUE(runner);
        return runner ? runner->execute() : ScriptResult::failure({});
    }

    qint64 pidFromFile(const QString& name)
    {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
    }

    static QString messageOf(const ScriptResult& result)
    {
        return result.errorInformation().value(NSAppleScriptErrorMessage).toString();
    }

    static QVariant numberOf(const ScriptResult& result)
    {
        return result.errorInformation().value(NSAppleScriptErrorNumber);
    }
};

} // namespace

TEST_F(ScriptRunnerTest, SuccessfulRunGivesItsStandardOutputAsTheResult)
{
    const ScriptResult result
        = run(R"(printf '%s\n' '{{shotId:"1", shotName:"Cam 1", isLive:true, isPreview:false}, {shotId:"2"}}')");
    ASSERT_FALSE(result.isError()) << describeErrorInformation(result.errorInformation()).toStdString();
    ASSERT_EQ(result.descriptor().numberOfItems(), 2);
    EXPECT_EQ(result.descriptor().descriptorAtIndex(1)->descriptorAtIndex(1)->descriptorAtIndex(4)->stringValue(),
        QString("Cam 1"));
}

TEST_F(ScriptRunnerTest, StandardErrorOfASuccessfulRunIsIgnored)
{
    const ScriptResult result = run("echo 'warning: slow' >&2; echo '{1, 2}'");
    ASSERT_FALSE(result.isError());
    EXPECT_EQ(result.descriptor().numberOfItems(), 2);
}

TEST_F(ScriptRunnerTest, NonZeroExitGivesStandardErrorTrimmedAndTheExitStatus)
{
    const ScriptResult result
        = run("echo '{1, 2}'; printf '  no shots file in /run/user/1000/mixdesk\\n\\n' >&2; exit 3");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), "no shots file in /run/user/1000/mixdesk");
    EXPECT_EQ(numberOf(result), QVariant(3));
}

TEST_F(ScriptRunnerTest, NonZeroExitWithoutStandardErrorSaysTheStatus)
{
    const ScriptResult result = run("exit 4");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), "exited with status 4");
    EXPECT_EQ(numberOf(result), QVariant(4));
}

TEST_F(ScriptRunnerTest, OsascriptFailureLineGivesTheMessageAndNumberFromTheLine)
{
    const ScriptResult result
        = run("echo '12:40: execution error: Mixdesk got an error: Can’t get shot 1. (-1728)' >&2; exit 1");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), QString::fromUtf8("Mixdesk got an error: Can’t get shot 1."));
    EXPECT_EQ(numberOf(result), QVariant(-1728));
}

TEST_F(ScriptRunnerTest, OsascriptFailureLineAmongOtherLinesIsFound)
{
    const ScriptResult result = run("echo 'starting' >&2; echo 'query_shots.scpt: execution error: Mixdesk is not "
                                    "running. (-600)' >&2; exit 1");
    EXPECT_EQ(messageOf(result), "Mixdesk is not running.");
    EXPECT_EQ(numberOf(result), QVariant(-600));
}

TEST_F(ScriptRunnerTest, OsascriptLikeLineWithAnotherExitStatusIsPlainStandardError)
{
    const ScriptResult result = run("echo '0:5: execution error: nope (-1)' >&2; exit 2");
    EXPECT_EQ(messageOf(result), "0:5: execution error: nope (-1)");
    EXPECT_EQ(numberOf(result), QVariant(2));
}

TEST_F(ScriptRunnerTest, HangingScriptTimesOutAfterTwoSecondsAndLeavesNoZombie)
{
    QElapsedTimer timer;
    timer.start();
    const ScriptResult result = run("echo $$ > \"$(dirname \"$0\")/pid\"; exec sleep 30");
    const qint64 elapsed = timer.elapsed();
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), "timed out after 2 s");
    EXPECT_EQ(numberOf(result), QVariant(-1));
    EXPECT_GE(elapsed, 1900);
    EXPECT_LT(elapsed, 5000);
    const qint64 pid = pidFromFile("pid");
    ASSERT_GT(pid, 0);
    EXPECT_EQ(processState(pid), 0) << "the child is still there (state " << processState(pid) << ")";
}

TEST_F(ScriptRunnerTest, TimeoutAlsoStopsWhatTheScriptStarted)
{
    const ScriptResult result = run("sleep 30 & echo $! > \"$(dirname \"$0\")/pid\"; wait");
    EXPECT_EQ(messageOf(result), "timed out after 2 s");
    const qint64 grandchild = pidFromFile("pid");
    ASSERT_GT(grandchild, 0);
    // Killed; whoever inherited it reaps it in its own time.
    char state = processState(grandchild);
    for (int i = 0; i < 100 && state != 0 && state != 'Z'; ++i) {
        QThread::msleep(20);
        state = processState(grandchild);
    }
    EXPECT_TRUE(state == 0 || state == 'Z') << "still running, state " << state;
}

TEST_F(ScriptRunnerTest, GarbageOutputIsUnreadableOutputSayingWhatAndWhere)
{
    const ScriptResult result = run("echo '{{shotId:\"1\"}, {shotId:\"2\"'");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), "unreadable output: '{' is never closed at offset 15");
    EXPECT_EQ(numberOf(result), QVariant(-1));
}

TEST_F(ScriptRunnerTest, OutputThatIsNotUtf8IsUnreadableOutput)
{
    const ScriptResult result = run("printf '\"caf\\351\"'");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), "unreadable output: text is not valid UTF-8 at offset 0");
}

TEST_F(ScriptRunnerTest, EmptyOutputIsNoResultRatherThanAnError)
{
    const ScriptResult result = run("true");
    ASSERT_FALSE(result.isError());
    EXPECT_EQ(result.descriptor().numberOfItems(), 0);
}

TEST_F(ScriptRunnerTest, ScriptKilledBySignalIsErrorWithoutExitStatus)
{
    const ScriptResult result = run("kill -KILL $$");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), "terminated by a signal");
    EXPECT_EQ(numberOf(result), QVariant(-1));
}

TEST_F(ScriptRunnerTest, ScriptWhoseInterpreterIsMissingCannotBeLoaded)
{
    EXPECT_FALSE(ScriptRunner::load(writeRaw("#!/nonexistent/interpreter\necho '{1, 2}'\n")));
}

TEST_F(ScriptRunnerTest, FileOfAnUnknownExecutableFormatCannotBeLoaded)
{
    // Executable text without "#!": the kernel refuses it (exec format error).
    EXPECT_FALSE(ScriptRunner::load(writeRaw("echo '{1, 2}'\n")));
    EXPECT_FALSE(ScriptRunner::load(writeRaw("")));
}

TEST_F(ScriptRunnerTest, BinaryAndScriptWithAnArgumentToItsInterpreterLoad)
{
    EXPECT_TRUE(ScriptRunner::load(QStringLiteral("/bin/true")));
    const QString withArgument = writeRaw("#!/bin/sh -e\necho '{1, 2}'\n");
    ASSERT_TRUE(ScriptRunner::load(withArgument));
    EXPECT_FALSE(ScriptRunner::load(withArgument)->execute().isError());
}

TEST_F(ScriptRunnerTest, WhatTheScriptLeavesRunningIsStoppedAfterEveryRun)
{
    const ScriptResult result = run("sleep 30 & echo $! > \"$(dirname \"$0\")/pid\"; echo '{1, 2}'");
    EXPECT_FALSE(result.isError());
    const qint64 leftover = pidFromFile("pid");
    ASSERT_GT(leftover, 0);
    char state = processState(leftover);
    for (int i = 0; i < 100 && state != 0 && state != 'Z'; ++i) {
        QThread::msleep(20);
        state = processState(leftover);
    }
    EXPECT_TRUE(state == 0 || state == 'Z') << "still running, state " << state;
}

TEST_F(ScriptRunnerTest, FileThatIsNotExecutableCannotBeLoaded)
{
    EXPECT_FALSE(ScriptRunner::load(script("echo '{1, 2}'", QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup)));
}

TEST_F(ScriptRunnerTest, MissingFileOrDirectoryCannotBeLoaded)
{
    EXPECT_FALSE(ScriptRunner::load(dir.filePath("absent")));
    EXPECT_FALSE(ScriptRunner::load(dir.path()));
}

TEST_F(ScriptRunnerTest, ReadableExecutableFileLoads)
{
    const QString path = script("echo 1");
    const std::unique_ptr<ScriptRunner> runner = ScriptRunner::load(path);
    ASSERT_TRUE(runner);
    EXPECT_EQ(runner->file(), path);
}

TEST_F(ScriptRunnerTest, ScriptGetsNoStandardInput)
{
    // A script that reads standard input must not wait for the terminal.
    const ScriptResult result = run("cat >/dev/null; echo '{1, 2}'");
    ASSERT_FALSE(result.isError());
}

TEST_F(ScriptRunnerTest, ScriptThatClosesItsOutputEarlyIsWaitedForUntilItExits)
{
    const ScriptResult result = run("echo '{1, 2}'; exec >&-; sleep 0.3; exit 5");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(numberOf(result), QVariant(5));
}

TEST_F(ScriptRunnerTest, FloodingOutputIsStoppedAtTheLimit)
{
    const ScriptResult result = run("exec yes '{1, 2}'");
    ASSERT_TRUE(result.isError());
    EXPECT_EQ(messageOf(result), QString("output larger than %1 bytes").arg(ScriptRunner::outputLimitBytes));
    EXPECT_EQ(numberOf(result), QVariant(-1));
}
