#include "link/ShotsFile.h"

#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Sets XDG_RUNTIME_DIR (or unsets it, for a null value) for one test and puts
// the old value back afterwards.
class RuntimeDirectory {
public:
    explicit RuntimeDirectory(const QString& value)
        : m_wasSet(qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        , m_old(qgetenv("XDG_RUNTIME_DIR"))
    {
        if (value.isNull()) {
            qunsetenv("XDG_RUNTIME_DIR");
        } else {
            qputenv("XDG_RUNTIME_DIR", value.toLocal8Bit());
        }
    }

    ~RuntimeDirectory()
    {
        if (m_wasSet) {
            qputenv("XDG_RUNTIME_DIR", m_old);
        } else {
            qunsetenv("XDG_RUNTIME_DIR");
        }
    }

private:
    bool m_wasSet;
    QByteArray m_old;
};

mode_t modeOf(const QString& path)
{
    struct stat status { };
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0) {
        return 0;
    }
    return status.st_mode & 07777;
}

} // namespace

TEST(ShotsFileTest, ThePathIsUnderTheRuntimeDirectoryWhenThereIsOne)
{
    const RuntimeDirectory runtime("/run/user/1234");
    EXPECT_EQ(ShotsFile::directory(), "/run/user/1234/mixdesk");
    EXPECT_EQ(ShotsFile::path(), "/run/user/1234/mixdesk/shots");
}

TEST(ShotsFileTest, ThePathFallsBackToTmpWithTheUserIdWithoutARuntimeDirectory)
{
    const RuntimeDirectory runtime { QString() };
    EXPECT_EQ(ShotsFile::path(), QStringLiteral("/tmp/mixdesk-%1/shots").arg(::getuid()));
}

TEST(ShotsFileTest, AnEmptyRuntimeDirectoryCountsAsNone)
{
    const RuntimeDirectory runtime("");
    EXPECT_EQ(ShotsFile::path(), QStringLiteral("/tmp/mixdesk-%1/shots").arg(::getuid()));
}

TEST(ShotsFileTest, PrepareDirectoryMakesAPrivateDirectory)
{
    QTemporaryDir runtimeDirectory;
    ASSERT_TRUE(runtimeDirectory.isValid());
    const RuntimeDirectory runtime(runtimeDirectory.path());
    QString error;
    ASSERT_TRUE(ShotsFile::prepareDirectory(&error)) << error.toStdString();
    EXPECT_TRUE(QFileInfo(runtimeDirectory.filePath("mixdesk")).isDir());
    EXPECT_EQ(modeOf(runtimeDirectory.filePath("mixdesk")), 0700u);
    // A second start finds it ready.
    EXPECT_TRUE(ShotsFile::prepareDirectory(&error)) << error.toStdString();
}

TEST(ShotsFileTest, PrepareDirectoryTightensADirectoryOfOursThatIsOpenToOthers)
{
    QTemporaryDir parent;
    ASSERT_TRUE(parent.isValid());
    const QString directory = parent.filePath("mixdesk");
    ASSERT_EQ(::mkdir(QFile::encodeName(directory).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(directory).constData(), 0755), 0);
    QString error;
    ASSERT_TRUE(ShotsFile::preparePrivateDirectory(directory, &error)) << error.toStdString();
    EXPECT_EQ(modeOf(directory), 0700u);
}

TEST(ShotsFileTest, PrepareDirectoryRefusesASymbolicLink)
{
    QTemporaryDir parent;
    ASSERT_TRUE(parent.isValid());
    ASSERT_TRUE(QDir(parent.path()).mkdir("elsewhere"));
    const QString link = parent.filePath("mixdesk");
    ASSERT_TRUE(QFile::link(parent.filePath("elsewhere"), link));
    QString error;
    EXPECT_FALSE(ShotsFile::preparePrivateDirectory(link, &error));
    EXPECT_EQ(error, link + " is not a directory");
}

TEST(ShotsFileTest, PrepareDirectoryRefusesAFile)
{
    QTemporaryDir parent;
    ASSERT_TRUE(parent.isValid());
    QFile file(parent.filePath("mixdesk"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    QString error;
    EXPECT_FALSE(ShotsFile::preparePrivateDirectory(file.fileName(), &error));
    EXPECT_EQ(error, file.fileName() + " is not a directory");
}

TEST(ShotsFileTest, PrepareDirectorySaysWhyItCannotCreateIt)
{
    QTemporaryDir parent;
    ASSERT_TRUE(parent.isValid());
    const QString directory = parent.filePath("missing/mixdesk");
    QString error;
    EXPECT_FALSE(ShotsFile::preparePrivateDirectory(directory, &error));
    EXPECT_EQ(error, "cannot create " + directory + ": No such file or directory");
}
