#include "link/linux/LinuxMixdeskPlatform.h"

#include "link/Mixdesk.h"
#include "support/QtPrinters.h"
#include "support/ScopedEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

void writeFile(const QString& path, const QByteArray& content, bool executable = false)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
    file.close();
    if (executable) {
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
}

class LinuxMixdeskPlatformTest : public testing::Test {
protected:
    QTemporaryDir processes;
    QTemporaryDir resources;

    // A process as /proc shows it: its name, and in its status its state
    // and its real, effective, saved and file system user.
    void addProcess(
        const QString& pid, const QByteArray& comm, const QByteArray& state = "S (sleeping)", uid_t owner = ::getuid())
    {
        writeFile(processes.filePath(pid + "/comm"), comm);
        const QByteArray uid = QByteArray::number(owner);
        writeFile(processes.filePath(pid + "/status"),
            "Name:\t" + comm + "Umask:\t0022\nState:\t" + state + "\nTgid:\t" + pid.toUtf8() + "\nUid:\t" + uid + "\t"
                + uid + "\t" + uid + "\t" + uid + "\nGid:\t100\t100\t100\t100\n");
    }
};

using LinuxMixdeskPlatformDeathTest = LinuxMixdeskPlatformTest;

} // namespace

TEST_F(LinuxMixdeskPlatformTest, CountsProcessesWhoseCommandNameIsMixdesk)
{
    addProcess("12", "mixdesk\n");
    addProcess("345", "mixdesk\n");
    addProcess("346", "mixdesk-tally\n");
    addProcess("347", "bash\n");
    addProcess("self", "mixdesk\n"); // not a process number
    QDir(processes.path()).mkpath("400"); // ended while being looked at: no comm
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 2);
}

TEST_F(LinuxMixdeskPlatformTest, AnEndedMixdeskNotYetReapedDoesNotCount)
{
    addProcess("12", "mixdesk\n", "Z (zombie)");
    addProcess("13", "mixdesk\n", "X (dead)");
    addProcess("14", "mixdesk\n", "R (running)");
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 1);
}

TEST_F(LinuxMixdeskPlatformTest, AMixdeskOfAnotherUserDoesNotCount)
{
    addProcess("20", "mixdesk\n", "S (sleeping)", ::getuid() + 1);
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 0);
    addProcess("21", "mixdesk\n", "S (sleeping)", ::getuid());
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 1);
}

TEST_F(LinuxMixdeskPlatformTest, AMixdeskWhoseStatusIsGoneHasEnded)
{
    writeFile(processes.filePath("30/comm"), "mixdesk\n");
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 0);
}

TEST_F(LinuxMixdeskPlatformTest, ThisProcessCountsUnderTheRealProcessTable)
{
    // The real /proc: this test program is alive and ours, so its own entry
    // passes the check once it is looked for under its own name.
    const QByteArray pid = QByteArray::number(::getpid());
    writeFile(processes.filePath(pid + "/comm"), "mixdesk\n");
    QFile status("/proc/self/status");
    ASSERT_TRUE(status.open(QIODevice::ReadOnly));
    writeFile(processes.filePath(pid + "/status"), status.readAll());
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 1);
}

TEST_F(LinuxMixdeskPlatformTest, NoProcessTableMeansNothingRuns)
{
    LinuxMixdeskPlatform platform(processes.filePath("absent"));
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), 0);
}

TEST_F(LinuxMixdeskPlatformTest, ResourceDirectoryComesFromTheEnvironmentWhenSet)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    EXPECT_EQ(LinuxMixdeskPlatform().resourceDirectory(), resources.path());
}

TEST_F(LinuxMixdeskPlatformTest, ResourceDirectoryIsShareMixdeskTallyBesideTheExecutablesDirectory)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", QByteArray());
    EXPECT_EQ(LinuxMixdeskPlatform().resourceDirectory(),
        QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../share/mixdesk-tally"));
}

TEST_F(LinuxMixdeskPlatformTest, EmptyEnvironmentVariableCountsAsUnset)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", "");
    EXPECT_TRUE(LinuxMixdeskPlatform().resourceDirectory().endsWith("/share/mixdesk-tally"));
}

TEST_F(LinuxMixdeskPlatformTest, ScriptResourceIsTheFileNamedQueryShotsWithoutExtension)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    LinuxMixdeskPlatform platform;
    EXPECT_FALSE(platform.scriptResource("query_shots"));
    writeFile(resources.filePath("query_shots.scpt"), "compiled elsewhere");
    EXPECT_FALSE(platform.scriptResource("query_shots"));
    writeFile(resources.filePath("query_shots"), "#!/bin/sh\n", true);
    EXPECT_EQ(platform.scriptResource("query_shots"), resources.filePath("query_shots"));
}

TEST_F(LinuxMixdeskPlatformTest, ResourceThatIsNotExecutableDoesNotLoad)
{
    writeFile(resources.filePath("query_shots"), "#!/bin/sh\necho '{1, 2}'\n");
    LinuxMixdeskPlatform platform;
    EXPECT_FALSE(platform.loadScript(resources.filePath("query_shots")));
}

TEST_F(LinuxMixdeskPlatformTest, QueryRunsTheQueryShotsResourceAndDecodesItsAnswer)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    addProcess("77", "mixdesk\n");
    writeFile(resources.filePath("query_shots"),
        "#!/bin/sh\necho '{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, "
        "{shotId:\"2\", shotName:\"Cam 2\", isLive:false, isPreview:true}}'\n",
        true);
    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(processes.path()));
    testing::internal::CaptureStdout();
    const ShotList shots = mixdesk.queryShots();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[1]->name, "Cam 2");
    EXPECT_TRUE(shots[1]->isPreview);
    EXPECT_TRUE(mixdesk.authorizationChecked);
}

TEST_F(LinuxMixdeskPlatformTest, FailingQueryResourcePrintsTheErrorLine)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    addProcess("77", "mixdesk\n");
    writeFile(resources.filePath("query_shots"),
        "#!/bin/sh\necho 'no shots file: Mixdesk is not running' >&2\nexit 1\n", true);
    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(processes.path()));
    testing::internal::CaptureStdout();
    EXPECT_TRUE(mixdesk.queryShots().isEmpty());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
        "error: {NSAppleScriptErrorMessage = \"no shots file: Mixdesk is not running\"; NSAppleScriptErrorNumber = "
        "1;}\n");
}

TEST_F(LinuxMixdeskPlatformTest, QueryWithoutMixdeskRunningDoesNotLookForTheScript)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    addProcess("78", "other\n");
    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(processes.path()));
    EXPECT_TRUE(mixdesk.queryShots().isEmpty()); // no resource, yet no fatal stop
}

TEST_F(LinuxMixdeskPlatformDeathTest, QueryResourceMissingFromTheResourceDirectoryStopsTheProgram)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    addProcess("79", "mixdesk\n");
    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(processes.path()));
    // The death test runs this test again in a child with temporary
    // directories of its own, so the message cannot name this one.
    EXPECT_DEATH(mixdesk.queryShots(), "fatal error: resource query_shots missing from /.*");
}

TEST_F(LinuxMixdeskPlatformTest, AQueryScriptThatCannotBeStartedGivesNoShotsAndPrintsNothing)
{
    ScopedEnvironment environment("MIXDESK_TALLY_RESOURCE_DIR", resources.path().toUtf8());
    addProcess("77", "mixdesk\n");
    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(processes.path()));
    for (const QByteArray& unstartable :
        { QByteArray("echo '{1, 2}'\n"), QByteArray("#!/absent/sh\necho '{1, 2}'\n") }) {
        writeFile(resources.filePath("query_shots"), unstartable, true);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(mixdesk.queryShots().isEmpty());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
}

TEST_F(LinuxMixdeskPlatformTest, IsRunningWhileAnyMixdeskOfThisUserRuns)
{
    addProcess("12", "bash\n");
    addProcess("13", "mixdesk\n", "Z (zombie)");
    addProcess("14", "mixdesk\n", "S (sleeping)", ::getuid() + 1);
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_FALSE(platform.isApplicationRunning(mixdeskBundleIdentifier));
    addProcess("15", "mixdesk\n");
    EXPECT_TRUE(platform.isApplicationRunning(mixdeskBundleIdentifier));
}

TEST_F(LinuxMixdeskPlatformTest, AMixdeskFoundBeforeThatHasEndedIsLookedForAfresh)
{
    addProcess("20", "mixdesk\n");
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_TRUE(platform.isApplicationRunning(mixdeskBundleIdentifier));
    // Gone, and another copy started meanwhile.
    QDir(processes.filePath("20")).removeRecursively();
    addProcess("31", "mixdesk\n");
    EXPECT_TRUE(platform.isApplicationRunning(mixdeskBundleIdentifier));
    QDir(processes.filePath("31")).removeRecursively();
    EXPECT_FALSE(platform.isApplicationRunning(mixdeskBundleIdentifier));
}

TEST_F(LinuxMixdeskPlatformTest, AProcessNumberTakenOverByAnotherProgramDoesNotCount)
{
    addProcess("40", "mixdesk\n");
    LinuxMixdeskPlatform platform(processes.path());
    EXPECT_TRUE(platform.isApplicationRunning(mixdeskBundleIdentifier));
    addProcess("40", "bash\n");
    EXPECT_FALSE(platform.isApplicationRunning(mixdeskBundleIdentifier));
    addProcess("40", "mixdesk\n", "Z (zombie)");
    EXPECT_FALSE(platform.isApplicationRunning(mixdeskBundleIdentifier));
}
