// Whole-process check of the running test against real processes: starts a
// process named mixdesk, so these tests run serially.

#include "link/Mixdesk.h"
#include "link/linux/LinuxMixdeskPlatform.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace {

QByteArray commandName(qint64 pid)
{
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
    return comm.open(QIODevice::ReadOnly) ? comm.readAll().trimmed() : QByteArray();
}

} // namespace

TEST(MixdeskProcessTest, CountsAProcessNamedMixdeskWhileItRuns)
{
    QTemporaryDir dir;
    QTemporaryDir runtime;
    const QString fakeMixdesk = dir.filePath("mixdesk");
    ASSERT_TRUE(QFile::copy("/bin/sleep", fakeMixdesk));
    QFile::setPermissions(fakeMixdesk, QFile::ReadOwner | QFile::ExeOwner);

    LinuxMixdeskPlatform platform;
    const int before = platform.runningApplicationCount(mixdeskBundleIdentifier);

    QProcess mixdesk;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_RUNTIME_DIR", runtime.path());
    mixdesk.setProcessEnvironment(environment);
    mixdesk.start(fakeMixdesk, { "30" });
    ASSERT_TRUE(mixdesk.waitForStarted());
    for (int i = 0; i < 100 && commandName(mixdesk.processId()) != "mixdesk"; ++i) {
        QThread::msleep(10);
    }
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), before + 1);

    mixdesk.kill();
    mixdesk.waitForFinished();
    EXPECT_EQ(platform.runningApplicationCount(mixdeskBundleIdentifier), before);
}
