// The file that keeps secrets where no desktop store answers: private from
// the moment it exists, replaced whole, gone with its last secret.

#include "secrets/SecretFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr mode_t groupOrOthers = S_IRWXG | S_IRWXO;

// The process's umask for the test's length: 022, under which a file made
// the ordinary way is readable by everyone.
class Umask {
public:
    explicit Umask(mode_t mask)
        : m_previous(::umask(mask))
    {
    }
    ~Umask() { ::umask(m_previous); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t m_previous;
};

class SecretFileTest : public testing::Test {
protected:
    SecretStore::Answer read(const QString& key)
    {
        SecretStore::Answer answer;
        file.read(key, [&](const SecretStore::Answer& given) { answer = given; });
        return answer;
    }
    SecretStore::Outcome write(const QString& key, const QString& secret)
    {
        SecretStore::Outcome outcome = SecretStore::Outcome::failed;
        file.write(key, secret, [&](const SecretStore::Answer& given) { outcome = given.outcome; });
        return outcome;
    }
    SecretStore::Outcome remove(const QString& key)
    {
        SecretStore::Outcome outcome = SecretStore::Outcome::failed;
        file.remove(key, [&](const SecretStore::Answer& given) { outcome = given.outcome; });
        return outcome;
    }
    mode_t modeOf(const QString& path) const
    {
        struct stat status { };
        EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0) << path.toStdString();
        return status.st_mode & 0777;
    }

    QTemporaryDir directory;
    Umask umask { 022 };
    SecretFile file { directory.filePath(QStringLiteral("config/secrets.json")) };
};

} // namespace

TEST_F(SecretFileTest, WithNoFileNothingIsKeptAndNoFileAppears)
{
    EXPECT_EQ(read(QStringLiteral("ObsPassword")).outcome, SecretStore::Outcome::notFound);
    EXPECT_EQ(remove(QStringLiteral("ObsPassword")), SecretStore::Outcome::notFound);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(SecretFileTest, ASecretWrittenReadsBack)
{
    ASSERT_EQ(write(QStringLiteral("ObsPassword"), QStringLiteral("stage door")), SecretStore::Outcome::done);
    const SecretStore::Answer answer = read(QStringLiteral("ObsPassword"));
    EXPECT_EQ(answer.outcome, SecretStore::Outcome::done);
    EXPECT_EQ(answer.secret, QStringLiteral("stage door"));
    EXPECT_EQ(SecretFile(file.path()).description(),
        QStringLiteral("the file %1, readable by this user only").arg(file.path()));
}

TEST_F(SecretFileTest, TheFileIsReadableAndWritableByTheUserOnly)
{
    ASSERT_EQ(write(QStringLiteral("ObsPassword"), QStringLiteral("stage door")), SecretStore::Outcome::done);
    EXPECT_EQ(modeOf(file.path()), mode_t(0600));
    ASSERT_EQ(write(QStringLiteral("ObsPassword"), QStringLiteral("back door")), SecretStore::Outcome::done);
    EXPECT_EQ(modeOf(file.path()), mode_t(0600));
}

TEST_F(SecretFileTest, NoOtherUserCanReadItAtAnyMomentOfItsWriting)
{
    // Every file that appears in the folder is looked at the instant the
    // kernel says it was made; a file created readable and closed down
    // afterwards would be caught in between.
    ASSERT_EQ(write(QStringLiteral("first"), QStringLiteral("x")), SecretStore::Outcome::done);
    const QByteArray folder = QFile::encodeName(QFileInfo(file.path()).absolutePath());
    const int watch = ::inotify_init1(IN_NONBLOCK);
    ASSERT_GE(watch, 0);
    ASSERT_GE(::inotify_add_watch(watch, folder.constData(), IN_CREATE | IN_MOVED_TO | IN_MODIFY), 0);
    std::atomic<bool> stop = false;
    std::atomic<int> seen = 0;
    std::atomic<int> exposed = 0;
    std::thread watcher([&] {
        alignas(inotify_event) char buffer[4096];
        while (!stop) {
            pollfd ready { watch, POLLIN, 0 };
            if (::poll(&ready, 1, 20) <= 0) {
                continue;
            }
            const ssize_t length = ::read(watch, buffer, sizeof buffer);
            for (ssize_t offset = 0; offset < length;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
                offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
                if (event->len == 0) {
                    continue;
                }
                struct stat status { };
                const QByteArray path = folder + '/' + event->name;
                if (::stat(path.constData(), &status) == 0) {
                    ++seen;
                    if ((status.st_mode & groupOrOthers) != 0) {
                        ++exposed;
                    }
                }
            }
        }
    });
    for (int round = 0; round < 50; ++round) {
        write(QStringLiteral("ObsPassword"), QStringLiteral("secret %1").arg(round));
    }
    stop = true;
    watcher.join();
    ::close(watch);
    EXPECT_GT(seen, 0) << "the watch saw no file being made";
    EXPECT_EQ(exposed, 0) << "a file in the folder was readable by others while the secret was written";
}

TEST_F(SecretFileTest, ALeftOverOrPlantedTemporaryFileIsNeverWrittenThrough)
{
    QDir().mkpath(QFileInfo(file.path()).absolutePath());
    const QString elsewhere = directory.filePath(QStringLiteral("someone-elses"));
    QFile other(elsewhere);
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write("untouched");
    other.close();
    ASSERT_TRUE(QFile::link(elsewhere, file.path() + QStringLiteral(".new")));
    ASSERT_EQ(write(QStringLiteral("ObsPassword"), QStringLiteral("stage door")), SecretStore::Outcome::done);
    ASSERT_TRUE(other.open(QIODevice::ReadOnly));
    EXPECT_EQ(other.readAll(), QByteArray("untouched"));
    EXPECT_FALSE(QFileInfo(file.path()).isSymLink());
    EXPECT_EQ(read(QStringLiteral("ObsPassword")).secret, QStringLiteral("stage door"));
}

TEST_F(SecretFileTest, RemovingOneSecretKeepsTheOthersAndTheLastTakesTheFile)
{
    write(QStringLiteral("a"), QStringLiteral("1"));
    write(QStringLiteral("b"), QStringLiteral("2"));
    EXPECT_EQ(remove(QStringLiteral("a")), SecretStore::Outcome::done);
    EXPECT_EQ(read(QStringLiteral("a")).outcome, SecretStore::Outcome::notFound);
    EXPECT_EQ(read(QStringLiteral("b")).secret, QStringLiteral("2"));
    EXPECT_EQ(modeOf(file.path()), mode_t(0600));
    EXPECT_EQ(remove(QStringLiteral("b")), SecretStore::Outcome::done);
    EXPECT_FALSE(QFile::exists(file.path()));
}

TEST_F(SecretFileTest, AFileThatIsNotASecretsFileIsReportedAndLeftAlone)
{
    QDir().mkpath(QFileInfo(file.path()).absolutePath());
    QFile garbage(file.path());
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    garbage.write("not json");
    garbage.close();
    const SecretStore::Answer answer = read(QStringLiteral("ObsPassword"));
    EXPECT_EQ(answer.outcome, SecretStore::Outcome::failed);
    EXPECT_TRUE(answer.error.contains(QStringLiteral("is not a secrets file"))) << answer.error.toStdString();
    EXPECT_EQ(write(QStringLiteral("ObsPassword"), QStringLiteral("x")), SecretStore::Outcome::failed);
    ASSERT_TRUE(garbage.open(QIODevice::ReadOnly));
    EXPECT_EQ(garbage.readAll(), QByteArray("not json"));
}

TEST(SecretFilePlaceTest, LiesBesideTheSettingsFile)
{
    EXPECT_EQ(SecretFile::besideSettings(QStringLiteral("/home/a/.config/Mixdesk/Mixdesk Tally.conf")),
        QStringLiteral("/home/a/.config/Mixdesk/secrets.json"));
}
