#include "base/SmallFile.h"

#include "support/QtPrinters.h"
#include "support/WriteFailures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray oldContents = "0|Camera 1\r\n1|Camera 2\r\n";
const QByteArray newContents = QByteArray("0|Wide Shot\r\n").repeated(40);

class SmallFileTest : public testing::Test {
protected:
    QString put(const QString& name, const QByteArray& bytes)
    {
        const QString path = directory.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        return path;
    }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }

    QStringList entries() const
    {
        return QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(SmallFileTest, WriteReplacesTheFileAndLeavesNothingElse)
{
    const QString path = put("map.tlx", oldContents);
    QString reason;
    ASSERT_TRUE(SmallFile::write(path, newContents, &reason)) << reason.toStdString();
    EXPECT_EQ(contents(path), newContents);
    EXPECT_EQ(entries(), QStringList { "map.tlx" });
}

TEST_F(SmallFileTest, AWriteTheSystemCutsShortFailsAndKeepsTheOldFile)
{
    const QString path = put("map.tlx", oldContents);
    QString reason;
    bool written = true;
    {
        const FileSizeLimit limit(100); // the new contents are 520 bytes
        written = SmallFile::write(path, newContents, &reason);
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(reason, QStringLiteral("File too large"));
    EXPECT_EQ(contents(path), oldContents);
    EXPECT_EQ(entries(), QStringList { "map.tlx" });
}

TEST_F(SmallFileTest, AWriteOntoAFullFileSystemFailsAndKeepsTheOldFile)
{
    FullFileSystem full;
    if (!full.skipReason().empty()) {
        GTEST_SKIP() << full.skipReason();
    }
    const QString path = full.filePath("map.tlx");
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(oldContents);
    }
    full.fill();
    QString reason;
    EXPECT_FALSE(SmallFile::write(path, newContents, &reason));
    EXPECT_EQ(reason, QStringLiteral("No space left on device"));
    EXPECT_EQ(contents(path), oldContents);
}

TEST_F(SmallFileTest, AFifoIsRefusedAtOnceWithoutWaitingForAWriter)
{
    const QString path = directory.filePath("pipe.tlx");
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    QElapsedTimer timer;
    timer.start();
    QString reason;
    EXPECT_FALSE(SmallFile::read(path, &reason));
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_EQ(reason, QStringLiteral("not a regular file"));
}

TEST_F(SmallFileTest, ADeviceIsRefused)
{
    QString reason;
    EXPECT_FALSE(SmallFile::read("/dev/zero", &reason));
    EXPECT_EQ(reason, QStringLiteral("not a regular file"));
}

TEST_F(SmallFileTest, AFolderIsRefusedWithTheSystemsReason)
{
    QString reason;
    EXPECT_FALSE(SmallFile::read(directory.path(), &reason));
    EXPECT_EQ(reason, QStringLiteral("Is a directory"));
}

TEST_F(SmallFileTest, AFileOverTheLimitIsRefusedWithoutBeingRead)
{
    const QString path = put("huge.tlx", "0|A\r\n");
    // Sparse: no disk space and no time spent.
    ASSERT_TRUE(QFile::resize(path, SmallFile::sizeLimit + 1));
    QString reason;
    EXPECT_FALSE(SmallFile::read(path, &reason));
    EXPECT_EQ(reason, QStringLiteral("larger than 16 MiB, too large for this kind of file"));
}

TEST_F(SmallFileTest, AFileThroughASymbolicLinkIsRead)
{
    const QString target = put("map.tlx", oldContents);
    ASSERT_TRUE(QFile::link(target, directory.filePath("link.tlx")));
    EXPECT_EQ(SmallFile::read(directory.filePath("link.tlx"), nullptr), oldContents);
}

TEST_F(SmallFileTest, AStreamThatGoesOnIsRefusedAtTheLimit)
{
    const int fd = ::open("/dev/zero", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    QString reason;
    EXPECT_FALSE(SmallFile::readStream(fd, &reason));
    ::close(fd);
    EXPECT_EQ(reason, QStringLiteral("larger than 16 MiB, too large for this kind of file"));
}
