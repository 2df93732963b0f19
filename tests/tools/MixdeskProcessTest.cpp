// The built stand-in and query script, run as the tally controller and a
// user run them.

#include "StandinProcess.h"
#include "link/ShotsFile.h"
#include "support/NobodysAnswerFolder.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray record(int id, const char* name, bool live, bool preview)
{
    return QStringLiteral("{shotId:\"%1\", shotName:\"%2\", isLive:%3, isPreview:%4}")
        .arg(QString::number(id), QString::fromUtf8(name), QLatin1String(live ? "true" : "false"),
            QLatin1String(preview ? "true" : "false"))
        .toUtf8();
}

QByteArray answerOf(const QList<QByteArray>& records)
{
    QByteArray answer = "{";
    for (qsizetype i = 0; i < records.size(); ++i) {
        answer += (i ? ", " : "") + records.at(i);
    }
    return answer + "}\n";
}

// The defaults with program on `live` and preview on `preview` (1-based ids,
// 0 for an empty bus).
QByteArray defaultAnswer(int live, int preview)
{
    const char* names[]
        = { "Camera 1", "Camera 2", "Camera 3", "Camera 4", "Wide Shot", "Titles", "Lower Third Clear Layer" };
    QList<QByteArray> records;
    for (int id = 1; id <= 7; ++id) {
        records.append(record(id, names[id - 1], id == live, id == preview));
    }
    return answerOf(records);
}

struct Finished {
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
};

Finished runToEnd(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
        return { -2, process.readAllStandardOutput(), "<timed out>" };
    }
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -3, process.readAllStandardOutput(),
        process.readAllStandardError() };
}

QString queryShots()
{
    return QStringLiteral(TALLY_BUILD_RESOURCE_DIR "/query_shots");
}

} // namespace

TEST(MixdeskProcessTest, HeadlessWritesTheAnswerAtStartWithNothingOnProgramOrInPreview)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start()) << standin.process().readAllStandardError().toStdString();
    EXPECT_EQ(standin.answer(), defaultAnswer(0, 0));
}

TEST(MixdeskProcessTest, ProgramAndPreviewOptionsPutTheirShotsThereFromTheStart)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start({ "--program", "3", "--preview", "5" }))
        << standin.process().readAllStandardError().toStdString();
    EXPECT_EQ(standin.answer(), defaultAnswer(3, 5));
    standin.send("cut\n");
    EXPECT_EQ(standin.waitForAnswer(defaultAnswer(5, 3)), defaultAnswer(5, 3));
}

TEST(MixdeskProcessTest, AProgramShotPastTheEndOfTheListExitsTwoWithAMessage)
{
    StandinProcess standin;
    const Finished run = runToEnd(standin.program(),
        { "--headless", "--shots", TALLY_SOURCE_DIR "/tests/tools/data/two-shots.txt", "--program", "3" },
        standin.environment());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.standardError, "mixdesk: --program 3 names no shot: there are 2\n");
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, TheAnswerDirectoryIsPrivate)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    EXPECT_EQ(QFile::permissions(standin.runtimeDirectory() + "/mixdesk"),
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
}

TEST(MixdeskProcessTest, PreviewThreeThenCutPutsCameraThreeOnProgram)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    standin.send("preview 3\n");
    EXPECT_EQ(standin.waitForAnswer(defaultAnswer(1, 3)), defaultAnswer(1, 3));
    standin.send("cut\n");
    EXPECT_EQ(standin.waitForAnswer(defaultAnswer(3, 1)), defaultAnswer(3, 1));
}

TEST(MixdeskProcessTest, RenameKeepsTheIdsAndTheTally)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    standin.send("rename 1 Host \"A\"\\B\nrename 4 Cam\xC3\xA9ra\n");
    const QByteArray expected = answerOf({ record(1, "Host \\\"A\\\"\\\\B", true, false),
        record(2, "Camera 2", false, true), record(3, "Camera 3", false, false),
        record(4, "Cam\xC3\xA9ra", false, false), record(5, "Wide Shot", false, false),
        record(6, "Titles", false, false), record(7, "Lower Third Clear Layer", false, false) });
    EXPECT_EQ(standin.waitForAnswer(expected), expected);
}

TEST(MixdeskProcessTest, AnAddedShotGetsAnIdThatWasNeverUsed)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start({ "--shots", TALLY_SOURCE_DIR "/tests/tools/data/two-shots.txt", "--program", "1" }));
    standin.send("remove 2\nadd Guest\n");
    const QByteArray expected = answerOf({ record(1, "Host", true, false), record(3, "Guest", false, false) });
    EXPECT_EQ(standin.waitForAnswer(expected), expected);
}

TEST(MixdeskProcessTest, ShotsOptionStartsWithTheNamesOfTheFile)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(
        QStringList { "--shots", TALLY_SOURCE_DIR "/tests/tools/data/two-shots.txt" } + StandinProcess::studioStart()));
    EXPECT_EQ(standin.answer(), answerOf({ record(1, "Host", true, false), record(2, "Guest Wide", false, true) }));
}

TEST(MixdeskProcessTest, AutoCutOptionCutsWithNobodyAtTheSwitcher)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(QStringList { "--auto-cut", "1" } + StandinProcess::studioStart()));
    EXPECT_EQ(standin.waitForAnswer(defaultAnswer(2, 1)), defaultAnswer(2, 1));
}

TEST(MixdeskProcessTest, ListPrintsTheShots)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    standin.send("list\n");
    QByteArray printed;
    eventually([&] {
        printed += standin.process().readAllStandardOutput();
        return printed.count('\n') >= 7;
    });
    EXPECT_EQ(printed,
        "1. Camera 1 (id 1) [program]\n2. Camera 2 (id 2) [preview]\n3. Camera 3 (id 3)\n4. Camera 4 (id 4)\n"
        "5. Wide Shot (id 5)\n6. Titles (id 6)\n7. Lower Third Clear Layer (id 7)\n");
}

TEST(MixdeskProcessTest, AnUnknownCommandIsReportedAndTheProgramGoesOn)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    standin.send("fade 3\npreview 4\n");
    EXPECT_EQ(standin.waitForAnswer(defaultAnswer(1, 4)), defaultAnswer(1, 4));
    QByteArray error;
    eventually([&] {
        error += standin.process().readAllStandardError();
        return error.contains('\n');
    });
    EXPECT_TRUE(error.startsWith("mixdesk: unknown command \"fade\"")) << error.toStdString();
    EXPECT_EQ(standin.process().state(), QProcess::Running);
}

TEST(MixdeskProcessTest, QuitRemovesTheAnswerFile)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    EXPECT_EQ(standin.process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(standin.process().exitCode(), 0);
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, EndOfInputQuitsAndRemovesTheAnswerFile)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    standin.process().closeWriteChannel();
    ASSERT_TRUE(standin.waitForExit());
    EXPECT_EQ(standin.process().exitCode(), 0);
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, SigtermRemovesTheAnswerFile)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    standin.process().terminate();
    ASSERT_TRUE(standin.waitForExit());
    // A normal exit shows that the program handled the signal itself.
    EXPECT_EQ(standin.process().exitStatus(), QProcess::NormalExit);
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, SigintRemovesTheAnswerFile)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    ASSERT_EQ(::kill(static_cast<pid_t>(standin.process().processId()), SIGINT), 0);
    ASSERT_TRUE(standin.waitForExit());
    EXPECT_EQ(standin.process().exitStatus(), QProcess::NormalExit);
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, TheProcessNameIsMixdesk)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    QFile comm(QStringLiteral("/proc/%1/comm").arg(standin.process().processId()));
    ASSERT_TRUE(comm.open(QIODevice::ReadOnly));
    EXPECT_EQ(comm.readAll(), "mixdesk\n");
}

TEST(MixdeskProcessTest, HeadlessNeedsNoDisplay)
{
    StandinProcess standin;
    QProcessEnvironment environment = standin.environment();
    for (const char* name : { "DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM" }) {
        environment.remove(name);
    }
    standin.process().setProcessEnvironment(environment);
    ASSERT_TRUE(standin.start()) << standin.process().readAllStandardError().toStdString();
    EXPECT_EQ(standin.answer(), defaultAnswer(0, 0));
}

TEST(MixdeskProcessTest, AWindowWithoutADisplaySuggestsHeadless)
{
    StandinProcess standin;
    QProcessEnvironment environment = standin.environment();
    for (const char* name : { "DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM" }) {
        environment.remove(name);
    }
    const Finished run = runToEnd(standin.program(), {}, environment);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.standardError, "mixdesk: no display to show the window on; run it with --headless\n");
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, HelpDescribesTheOptionsAndExitsZero)
{
    StandinProcess standin;
    const Finished run = runToEnd(standin.program(), { "--help" }, standin.environment());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.standardOutput.startsWith("Usage: mixdesk [--headless]")) << run.standardOutput.toStdString();
    EXPECT_TRUE(run.standardOutput.contains(standin.shotsPath().toUtf8())) << run.standardOutput.toStdString();
    EXPECT_FALSE(QFile::exists(standin.shotsPath()));
}

TEST(MixdeskProcessTest, AWrongOptionExitsTwoWithAMessage)
{
    StandinProcess standin;
    const Finished run = runToEnd(standin.program(), { "--headless", "--fast" }, standin.environment());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.standardError, "mixdesk: Unknown option 'fast'. (see mixdesk --help)\n");
}

TEST(MixdeskProcessTest, AMissingShotListExitsOneWithAMessage)
{
    StandinProcess standin;
    const Finished run
        = runToEnd(standin.program(), { "--headless", "--shots", "/nonexistent/show.txt" }, standin.environment());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.standardError.startsWith("mixdesk: cannot read the shot list /nonexistent/show.txt: "))
        << run.standardError.toStdString();
}

TEST(MixdeskProcessTest, AnUnusableRuntimeDirectoryExitsOneWithAMessage)
{
    StandinProcess standin;
    QProcessEnvironment environment = standin.environment();
    environment.insert("XDG_RUNTIME_DIR", standin.runtimeDirectory() + "/missing");
    const Finished run = runToEnd(standin.program(), { "--headless" }, environment);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.standardError,
        "mixdesk: cannot create " + standin.runtimeDirectory().toUtf8()
            + "/missing/mixdesk: No such file or directory\n");
}

TEST(MixdeskProcessTest, QueryShotsPrintsTheAnswerAndExitsZero)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    standin.send("preview 5\n");
    ASSERT_EQ(standin.waitForAnswer(defaultAnswer(1, 5)), defaultAnswer(1, 5));
    const Finished run = runToEnd(queryShots(), {}, standin.environment());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.standardOutput, defaultAnswer(1, 5));
    EXPECT_EQ(run.standardError, "");
}

TEST(MixdeskProcessTest, QueryShotsFailsWithAMessageWhenThereIsNoAnswer)
{
    StandinProcess standin;
    const Finished run = runToEnd(queryShots(), {}, standin.environment());
    EXPECT_NE(run.exitCode, 0);
    EXPECT_EQ(run.standardOutput, "");
    EXPECT_EQ(
        run.standardError, "query_shots: no shot list at " + standin.shotsPath().toUtf8() + " (is mixdesk running?)\n");
}

TEST(MixdeskProcessTest, QueryShotsFailsOnceTheProgramHasQuit)
{
    StandinProcess standin;
    ASSERT_TRUE(standin.start());
    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    const Finished run = runToEnd(queryShots(), {}, standin.environment());
    EXPECT_NE(run.exitCode, 0);
    EXPECT_EQ(run.standardOutput, "");
}

// Without XDG_RUNTIME_DIR the script and the program's own rule must name the
// same file. Whether a stand-in is running there or not, the script either
// prints that file or names it in its complaint.
TEST(MixdeskProcessTest, QueryShotsFollowsTheSamePathRuleWithoutARuntimeDirectory)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("XDG_RUNTIME_DIR");
    const Finished run = runToEnd(queryShots(), {}, environment);

    const QByteArray saved = qgetenv("XDG_RUNTIME_DIR");
    const bool wasSet = qEnvironmentVariableIsSet("XDG_RUNTIME_DIR");
    qunsetenv("XDG_RUNTIME_DIR");
    const QString path = ShotsFile::path();
    if (wasSet) {
        qputenv("XDG_RUNTIME_DIR", saved);
    }

    QFile file(path);
    if (run.exitCode == 0) {
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(run.standardOutput, file.readAll());
    } else {
        EXPECT_EQ(run.standardError, "query_shots: no shot list at " + path.toUtf8() + " (is mixdesk running?)\n");
    }
}

// Asked four times a second, the script starts no program of its own: with
// nothing to find on PATH it still names this user's folder.
TEST(MixdeskProcessTest, QueryShotsStartsNoOtherProgramWithoutARuntimeDirectory)
{
    QTemporaryDir emptyPath;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("XDG_RUNTIME_DIR");
    environment.insert("PATH", emptyPath.path());
    const Finished run = runToEnd(queryShots(), {}, environment);
    const QByteArray folder = "/tmp/mixdesk-" + QByteArray::number(::getuid());
    if (run.exitCode == 0) {
        EXPECT_FALSE(run.standardOutput.isEmpty());
    } else {
        EXPECT_EQ(run.standardError, "query_shots: no shot list at " + folder + "/shots (is mixdesk running?)\n");
    }
}

namespace {

// The script run as the user "nobody" without XDG_RUNTIME_DIR, so that its
// folder is /tmp/mixdesk-<nobody's uid>, one this test may make, own or hand
// to that user. Only root can run a program as another user.
class SharedTmpFolderTest : public testing::Test {
protected:
    static constexpr uid_t nobody = NobodysAnswerFolder::nobody;

    void SetUp() override
    {
        if (::getuid() != 0) {
            GTEST_SKIP() << "running the query as another user needs root";
        }
        ASSERT_TRUE(folderLock.take()) << "another test holds " << folderLock.lockPath().toStdString();
        if (QFileInfo::exists(folder)) {
            GTEST_SKIP() << folder.toStdString() << " is in use on this machine";
        }
        ASSERT_TRUE(scriptCopy.isValid());
        // The build tree may not be open to nobody: run a copy from a folder
        // that is.
        script = scriptCopy.filePath("query_shots");
        ASSERT_TRUE(QFile::copy(queryShots(), script));
        ::chmod(QFile::encodeName(scriptCopy.path()).constData(), 0755);
        ::chmod(QFile::encodeName(script).constData(), 0755);
        made = true;
    }

    void TearDown() override
    {
        if (made) {
            QDir(folder).removeRecursively();
        }
    }

    void makeFolder(uid_t owner, mode_t mode, uid_t answerOwner)
    {
        ASSERT_TRUE(QDir().mkpath(folder));
        const QByteArray native = QFile::encodeName(folder);
        ASSERT_EQ(::chown(native.constData(), owner, owner), 0);
        ASSERT_EQ(::chmod(native.constData(), mode), 0);
        QFile answer(folder + "/shots");
        ASSERT_TRUE(answer.open(QIODevice::WriteOnly));
        answer.write(defaultAnswer(1, 2));
        answer.close();
        ASSERT_EQ(::chown(QFile::encodeName(answer.fileName()).constData(), answerOwner, answerOwner), 0);
    }

    Finished queryAsNobody()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("XDG_RUNTIME_DIR");
        return runToEnd(QStringLiteral("setpriv"), { "--reuid=65534", "--regid=65534", "--clear-groups", "--", script },
            environment);
    }

    const QString folder = NobodysAnswerFolder::path();
    NobodysAnswerFolder folderLock;
    QTemporaryDir scriptCopy;
    QString script;
    bool made = false;
};

} // namespace

TEST_F(SharedTmpFolderTest, AnAnswerInTheUsersOwnPrivateFolderIsRead)
{
    makeFolder(nobody, 0700, nobody);
    const Finished run = queryAsNobody();
    EXPECT_EQ(run.standardError, "");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.standardOutput, defaultAnswer(1, 2));
}

TEST_F(SharedTmpFolderTest, AFolderMadeByAnotherUserIsNotRead)
{
    makeFolder(0, 0755, 0);
    const Finished run = queryAsNobody();
    EXPECT_NE(run.exitCode, 0);
    EXPECT_EQ(run.standardOutput, "");
    EXPECT_EQ(
        run.standardError, "query_shots: " + folder.toUtf8() + " is not a folder of this user's own; not reading it\n");
}

TEST_F(SharedTmpFolderTest, AnAnswerPutIntoAFolderOthersCanWriteIsNotRead)
{
    // The folder is the user's, but open to all: another user has put an
    // answer of their own there.
    makeFolder(nobody, 0777, 0);
    const Finished run = queryAsNobody();
    EXPECT_NE(run.exitCode, 0);
    EXPECT_EQ(run.standardOutput, "");
    EXPECT_EQ(
        run.standardError, "query_shots: " + folder.toUtf8() + "/shots was not written by this user; not reading it\n");
}
