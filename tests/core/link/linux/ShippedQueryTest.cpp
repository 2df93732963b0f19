// The shipped query script and its answer in this process, side by side over
// the same answer files: same bytes on standard output and standard error,
// same exit status, and the same result through the query.

#include "link/linux/ShippedQuery.h"

#include "link/AppleScriptNotationParser.h"
#include "link/Mixdesk.h"
#include "link/linux/LinuxMixdeskPlatform.h"
#include "support/NobodysAnswerFolder.h"
#include "support/QtPrinters.h"
#include "support/QueryAnswers.h"
#include "support/ScopedEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using QueryAnswers::answerOf;

const QString shippedScript = QStringLiteral(TALLY_SOURCE_DIR "/resources/query_shots");

// Every byte value, line breaks of both kinds, a NUL at the start, middle and
// end of lines, backslashes, blanks at both ends of a line, and no break at
// the end.
QByteArray awkwardBytes()
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value) {
        bytes.append(static_cast<char>(value));
    }
    static const char lines[] = "\n\0start\r\nmid\0dle\n  \\t blanks \\\n\n\nend\0\n\0last";
    return bytes + QByteArray(lines, sizeof lines - 1);
}

void writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

// The script run to its end as a child process: program and arguments, with
// XDG_RUNTIME_DIR set to runtime (removed when it is null).
ShippedQuery::Outcome runScript(const QString& program, const QStringList& arguments, const QByteArray& runtime)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("XDG_RUNTIME_DIR");
    if (!runtime.isNull()) {
        environment.insert("XDG_RUNTIME_DIR", QString::fromUtf8(runtime));
    }
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(10000)) << program.toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return ShippedQuery::Outcome { process.exitCode(), process.readAllStandardOutput(),
        process.readAllStandardError() };
}

void expectSameOutcome(const ShippedQuery::Outcome& script, const std::optional<ShippedQuery::Outcome>& inProcess)
{
    ASSERT_TRUE(inProcess);
    EXPECT_EQ(inProcess->exitStatus, script.exitStatus);
    EXPECT_EQ(inProcess->standardOutput, script.standardOutput);
    EXPECT_EQ(inProcess->standardError, script.standardError);
}

void expectSameResult(const ScriptResult& script, const ScriptResult& inProcess)
{
    EXPECT_EQ(inProcess.isError(), script.isError());
    EXPECT_EQ(inProcess.errorInformation(), script.errorInformation());
    EXPECT_TRUE(inProcess.descriptor() == script.descriptor());
}

class ShippedQueryTest : public testing::Test {
protected:
    QTemporaryDir runtime;

    QByteArray runtimePath() const { return QFile::encodeName(runtime.path()); }
    QString shotsPath() const { return runtime.filePath("mixdesk/shots"); }

    // Runs the script and answers in this process over the same files, and
    // expects the same from both: the outcome and what the query makes of it.
    void expectSameAsTheScript()
    {
        const ShippedQuery::Outcome script = runScript(shippedScript, {}, runtimePath());
        expectSameOutcome(script, ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser()));

        const ScopedEnvironment variable("XDG_RUNTIME_DIR", runtimePath());
        std::unique_ptr<ScriptRunner> runner = ScriptRunner::load(shippedScript);
        ASSERT_TRUE(runner);
        const ScriptResult scriptResult = runner->execute();
        ShippedQueryScript inProcess(ScriptRunner::load(shippedScript));
        expectSameResult(scriptResult, inProcess.execute());
    }
};

} // namespace

TEST_F(ShippedQueryTest, TheScriptBuiltInIsTheShippedFile)
{
    QFile file(shippedScript);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(ShippedQuery::shippedText(), file.readAll());
    EXPECT_TRUE(ShippedQuery::isShippedScript(shippedScript));
}

TEST_F(ShippedQueryTest, AStandInAnswerReadsTheSame)
{
    writeFile(shotsPath(), answerOf(20));
    expectSameAsTheScript();
    EXPECT_EQ(ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser())->standardOutput, answerOf(20));
}

TEST_F(ShippedQueryTest, ALargeAnswerReadsTheSame)
{
    writeFile(shotsPath(), answerOf(1000));
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, AnAnswerWithoutAFinalLineBreakReadsTheSame)
{
    writeFile(shotsPath(), answerOf(3).chopped(1));
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, EveryByteValueAndEveryKindOfLineReadsTheSame)
{
    writeFile(shotsPath(), awkwardBytes());
    expectSameAsTheScript();
    // The shell's read drops NUL bytes, and so does the answer here.
    EXPECT_FALSE(ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser())->standardOutput.contains('\0'));
}

TEST_F(ShippedQueryTest, AnEmptyAnswerReadsTheSame)
{
    writeFile(shotsPath(), "");
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, OnlyLineBreaksReadTheSame)
{
    writeFile(shotsPath(), "\n\r\n\n");
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, AnUnreadableAnswerFailsTheSame)
{
    writeFile(shotsPath(), "{{shotId:\"1\", shotName:\n");
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, AnExecutionErrorLineInTheAnswerReadsTheSame)
{
    writeFile(shotsPath(), "12:40: execution error: Mixdesk got an error. (-1728)\n");
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, NoAnswerFileFailsTheSame)
{
    expectSameAsTheScript();
    EXPECT_EQ(ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser())->standardError,
        "query_shots: no shot list at " + QFile::encodeName(shotsPath()) + " (is mixdesk running?)\n");
}

TEST_F(ShippedQueryTest, AFileWhereTheFolderShouldBeFailsTheSame)
{
    writeFile(runtime.filePath("mixdesk"), "not a folder");
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, ALinkToNowhereFailsTheSame)
{
    QDir().mkpath(runtime.filePath("mixdesk"));
    ASSERT_TRUE(QFile::link(runtime.filePath("gone"), shotsPath()));
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, ALinkToAnAnswerReadsTheSame)
{
    writeFile(runtime.filePath("elsewhere"), answerOf(2));
    QDir().mkpath(runtime.filePath("mixdesk"));
    ASSERT_TRUE(QFile::link(runtime.filePath("elsewhere"), shotsPath()));
    expectSameAsTheScript();
}

TEST_F(ShippedQueryTest, AFolderInPlaceOfTheAnswerIsLeftToTheScript)
{
    QDir().mkpath(shotsPath());
    EXPECT_FALSE(ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser()));
    const ScopedEnvironment variable("XDG_RUNTIME_DIR", runtimePath());
    ShippedQueryScript inProcess(ScriptRunner::load(shippedScript));
    expectSameResult(ScriptRunner::load(shippedScript)->execute(), inProcess.execute());
}

TEST_F(ShippedQueryTest, AFifoInPlaceOfTheAnswerIsLeftToTheScriptWithoutWaiting)
{
    QDir().mkpath(runtime.filePath("mixdesk"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(shotsPath()).constData(), 0600), 0);
    // Opening a FIFO for reading waits for a writer; the answer here must not.
    EXPECT_FALSE(ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser()));
}

TEST_F(ShippedQueryTest, AnAnswerLargerThanARunMayPrintIsLeftToTheScript)
{
    writeFile(shotsPath(), "");
    ASSERT_TRUE(QFile::resize(shotsPath(), ScriptRunner::outputLimitBytes + 1));
    EXPECT_FALSE(ShippedQuery::answer(runtimePath(), ShippedQuery::currentUser()));
}

TEST_F(ShippedQueryTest, AnEditedScriptIsNotTheShippedOne)
{
    QTemporaryDir dir;
    const QString edited = dir.filePath("query_shots");
    writeFile(edited, ShippedQuery::shippedText() + "\n");
    EXPECT_FALSE(ShippedQuery::isShippedScript(edited));
    writeFile(edited, ShippedQuery::shippedText().chopped(1));
    EXPECT_FALSE(ShippedQuery::isShippedScript(edited));
    writeFile(edited, ShippedQuery::shippedText());
    EXPECT_TRUE(ShippedQuery::isShippedScript(edited));
    EXPECT_FALSE(ShippedQuery::isShippedScript(dir.filePath("absent")));
}

// The platform answers the shipped script without starting it: once loaded,
// the file may change under it and the answer still comes from the answer
// file. Any other script is started as it is.
TEST_F(ShippedQueryTest, ThePlatformStartsNoChildForTheShippedScriptAndRunsAnyOther)
{
    writeFile(shotsPath(), answerOf(2));
    const ScopedEnvironment variable("XDG_RUNTIME_DIR", runtimePath());
    QTemporaryDir resources;
    const QString script = resources.filePath("query_shots");
    ASSERT_TRUE(QFile::copy(shippedScript, script));
    const QByteArray otherAnswer = "{{shotId:\"9\", shotName:\"Other\", isLive:true, isPreview:false}}";
    const QByteArray other = "#!/bin/sh\necho '" + otherAnswer + "'\n";
    LinuxMixdeskPlatform platform;

    std::unique_ptr<LoadedScript> shipped = platform.loadScript(script);
    ASSERT_TRUE(shipped);
    writeFile(script, other);
    EXPECT_TRUE(
        shipped->execute().descriptor() == *AppleScriptNotationParser::parse(QByteArrayView(answerOf(2)), nullptr));

    std::unique_ptr<LoadedScript> edited = platform.loadScript(script);
    ASSERT_TRUE(edited);
    EXPECT_TRUE(
        edited->execute().descriptor() == *AppleScriptNotationParser::parse(QByteArrayView(otherAnswer), nullptr));
}

TEST_F(ShippedQueryTest, TheShippedScriptMustStillBeExecutableToLoad)
{
    QTemporaryDir resources;
    const QString script = resources.filePath("query_shots");
    ASSERT_TRUE(QFile::copy(shippedScript, script));
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner);
    LinuxMixdeskPlatform platform;
    EXPECT_FALSE(platform.loadScript(script));
}

namespace {

// Without XDG_RUNTIME_DIR the answer is in /tmp, open to every user. The
// script is run as the user "nobody" (only root can), from a copy in a
// folder that user may enter, against /tmp/mixdesk-<nobody's uid>, one this
// test may make and hand to that user or another.
class ShippedQuerySharedFolderTest : public testing::Test {
protected:
    static constexpr uid_t nobody = NobodysAnswerFolder::nobody;

    void SetUp() override
    {
        if (::getuid() != 0) {
            GTEST_SKIP() << "running the query as another user needs root";
        }
        ASSERT_TRUE(folderLock.take()) << "another test holds " << folderLock.lockPath().toStdString();
        if (QFileInfo::exists(folder) || QFileInfo(folder).isSymLink()) {
            GTEST_SKIP() << folder.toStdString() << " is in use on this machine";
        }
        ASSERT_TRUE(scriptCopy.isValid());
        script = scriptCopy.filePath("query_shots");
        ASSERT_TRUE(QFile::copy(shippedScript, script));
        ::chmod(QFile::encodeName(scriptCopy.path()).constData(), 0755);
        ::chmod(QFile::encodeName(script).constData(), 0755);
        made = true;
    }

    void TearDown() override
    {
        if (made) {
            QFile::remove(folder); // when it is a link
            QDir(folder).removeRecursively();
        }
    }

    void makeFolder(uid_t owner, mode_t mode, uid_t answerOwner)
    {
        ASSERT_TRUE(QDir().mkpath(folder));
        const QByteArray native = QFile::encodeName(folder);
        ASSERT_EQ(::chown(native.constData(), owner, owner), 0);
        ASSERT_EQ(::chmod(native.constData(), mode), 0);
        writeFile(folder + "/shots", answerOf(3));
        ASSERT_EQ(::chown(QFile::encodeName(folder + "/shots").constData(), answerOwner, answerOwner), 0);
    }

    void expectSameAsTheScriptRunByNobody()
    {
        const ShippedQuery::Outcome run = runScript(QStringLiteral("setpriv"),
            { "--reuid=65534", "--regid=65534", "--clear-groups", "--", script }, QByteArray());
        expectSameOutcome(run, ShippedQuery::answer(QByteArray(), ShippedQuery::User { nobody, nobody }));
    }

    const QString folder = NobodysAnswerFolder::path();
    NobodysAnswerFolder folderLock;
    QTemporaryDir scriptCopy;
    QString script;
    bool made = false;
};

} // namespace

TEST_F(ShippedQuerySharedFolderTest, AnAnswerInTheUsersOwnPrivateFolderReadsTheSame)
{
    makeFolder(nobody, 0700, nobody);
    expectSameAsTheScriptRunByNobody();
}

TEST_F(ShippedQuerySharedFolderTest, NoFolderFailsTheSame)
{
    expectSameAsTheScriptRunByNobody();
}

TEST_F(ShippedQuerySharedFolderTest, AFolderMadeByAnotherUserFailsTheSame)
{
    makeFolder(0, 0755, 0);
    expectSameAsTheScriptRunByNobody();
}

TEST_F(ShippedQuerySharedFolderTest, AnAnswerOfAnotherUserFailsTheSame)
{
    makeFolder(nobody, 0777, 0);
    expectSameAsTheScriptRunByNobody();
}

TEST_F(ShippedQuerySharedFolderTest, ALinkInPlaceOfTheFolderFailsTheSame)
{
    QTemporaryDir target;
    ::chown(QFile::encodeName(target.path()).constData(), nobody, nobody);
    ASSERT_TRUE(QFile::link(target.path(), folder));
    expectSameAsTheScriptRunByNobody();
}
