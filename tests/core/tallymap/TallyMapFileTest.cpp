#include "tallymap/TallyMapFile.h"

#include "support/QtPrinters.h"
#include "support/WriteFailures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

class TallyMapFileTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(directory.isValid()); }

    QString path(const QString& name) const { return directory.filePath(name); }

    void writeBytes(const QString& name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    QByteArray readBytes(const QString& name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QTemporaryDir directory;
};

ShotList records(const QStringList& names)
{
    ShotList list;
    for (const QString& name : names) {
        list.append(std::make_shared<Shot>(name));
    }
    return list;
}

} // namespace

TEST_F(TallyMapFileTest, TheDocumentTypeIsTlx)
{
    EXPECT_EQ(TallyMapFile::documentType, QStringLiteral("tlx"));
}

TEST_F(TallyMapFileTest, OpenMakesANewMapFromTheFile)
{
    writeBytes(QStringLiteral("studio.tlx"), "0|Camera 1|Camera 2\r\n2|Wide Shot\r\n");
    Error error;
    const std::optional<TallyMap> map
        = TallyMapFile::open(path(QStringLiteral("studio.tlx")), TallyMapFile::documentType, &error);
    ASSERT_TRUE(map.has_value()) << error.localizedDescription.toStdString();
    ASSERT_EQ(map->shotSelection(0).size(), 2);
    EXPECT_EQ(map->shotSelection(0)[0]->name, QStringLiteral("Camera 1"));
    EXPECT_EQ(map->shotSelection(0)[1]->name, QStringLiteral("Camera 2"));
    ASSERT_EQ(map->shotSelection(2).size(), 1);
    EXPECT_EQ(map->shotSelection(2)[0]->name, QStringLiteral("Wide Shot"));
    EXPECT_TRUE(map->shotSelection(1).isEmpty());
}

TEST_F(TallyMapFileTest, OpeningAMissingFileFailsWithTheSystemsReason)
{
    Error error;
    const QString missing = path(QStringLiteral("missing.tlx"));
    EXPECT_FALSE(TallyMapFile::open(missing, TallyMapFile::documentType, &error).has_value());
    EXPECT_EQ(error.localizedDescription,
        QStringLiteral("Unable to read \"%1\": No such file or directory").arg(QDir::toNativeSeparators(missing)));
    EXPECT_EQ(error.domain, TallyMapFile::NSCocoaErrorDomain);
    EXPECT_EQ(error.code, TallyMapFile::fileReadUnknownError);
}

TEST_F(TallyMapFileTest, OpeningADirectoryFails)
{
    Error error;
    EXPECT_FALSE(TallyMapFile::open(directory.path(), TallyMapFile::documentType, &error).has_value());
    EXPECT_TRUE(error.localizedDescription.startsWith(QStringLiteral("Unable to read \"")))
        << error.localizedDescription.toStdString();
}

TEST_F(TallyMapFileTest, OpeningAFileWithBadContentsFailsWithTheFormatsMessage)
{
    writeBytes(QStringLiteral("bad.tlx"), "0|A\r\n\r\n");
    Error error;
    EXPECT_FALSE(TallyMapFile::open(path(QStringLiteral("bad.tlx")), TallyMapFile::documentType, &error).has_value());
    EXPECT_EQ(error.localizedDescription, QStringLiteral("Shot index missing from line"));
    EXPECT_EQ(error.domain, NSOSStatusErrorDomain);
    EXPECT_EQ(error.code, 0);
}

TEST_F(TallyMapFileTest, WriteThenOpenGivesBackTheSameNames)
{
    TallyMap map;
    map.setShotSelection(0, records({ QStringLiteral("Camera 1"), QStringLiteral("Cam\u00e9ra \u30ab\u30e1\u30e9") }));
    map.setShotSelection(7, records({ QStringLiteral("\U0001F3A5") }));
    Error error;
    ASSERT_TRUE(TallyMapFile::write(map, path(QStringLiteral("out.tlx")), TallyMapFile::documentType, &error))
        << error.localizedDescription.toStdString();
    EXPECT_EQ(readBytes(QStringLiteral("out.tlx")), map.dataOfType(TallyMapFile::documentType));

    const std::optional<TallyMap> reread
        = TallyMapFile::open(path(QStringLiteral("out.tlx")), TallyMapFile::documentType, &error);
    ASSERT_TRUE(reread.has_value());
    ASSERT_EQ(reread->shotSelection(0).size(), 2);
    EXPECT_EQ(reread->shotSelection(0)[1]->name, QStringLiteral("Cam\u00e9ra \u30ab\u30e1\u30e9"));
    ASSERT_EQ(reread->shotSelection(7).size(), 1);
    EXPECT_EQ(reread->shotSelection(7)[0]->name, QStringLiteral("\U0001F3A5"));
}

TEST_F(TallyMapFileTest, WritingReplacesTheWholeFileAndLeavesNothingElseBehind)
{
    writeBytes(QStringLiteral("out.tlx"), QByteArray(4096, 'x'));
    Error error;
    ASSERT_TRUE(TallyMapFile::write(TallyMap(), path(QStringLiteral("out.tlx")), TallyMapFile::documentType, &error));
    EXPECT_EQ(readBytes(QStringLiteral("out.tlx")), QByteArray("0|\r\n1|\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
        QStringList { QStringLiteral("out.tlx") });
}

TEST_F(TallyMapFileTest, WritingIntoAMissingFolderFailsWithTheSystemsReason)
{
    Error error;
    const QString target = path(QStringLiteral("no such folder/out.tlx"));
    EXPECT_FALSE(TallyMapFile::write(TallyMap(), target, TallyMapFile::documentType, &error));
    EXPECT_TRUE(error.localizedDescription.startsWith(
        QStringLiteral("Unable to write \"%1\": ").arg(QDir::toNativeSeparators(target))))
        << error.localizedDescription.toStdString();
    EXPECT_GT(error.localizedDescription.size(), QStringLiteral("Unable to write \"%1\": ").arg(target).size());
    EXPECT_EQ(error.code, TallyMapFile::fileWriteUnknownError);
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(TallyMapFileTest, WritingOverADirectoryFailsAndKeepsIt)
{
    ASSERT_TRUE(QDir(directory.path()).mkdir(QStringLiteral("taken.tlx")));
    Error error;
    EXPECT_FALSE(
        TallyMapFile::write(TallyMap(), path(QStringLiteral("taken.tlx")), TallyMapFile::documentType, &error));
    EXPECT_TRUE(error.localizedDescription.startsWith(QStringLiteral("Unable to write \"")));
    EXPECT_TRUE(QFileInfo(path(QStringLiteral("taken.tlx"))).isDir());
}

namespace {

// A map of a few hundred bytes, as real maps are: far less than any buffer.
TallyMap studioMap()
{
    TallyMap map;
    for (int light = 0; light < TallyMap::numberOfLights; ++light) {
        map.setShotSelection(
            light, records({ QStringLiteral("Camera %1").arg(light + 1), QStringLiteral("Wide Shot") }));
    }
    return map;
}

} // namespace

TEST_F(TallyMapFileTest, AWriteTheSystemCutsShortFailsAndKeepsTheOldMap)
{
    writeBytes(QStringLiteral("studio.tlx"), "0|Camera 1\r\n");
    Error error;
    bool written = true;
    {
        const FileSizeLimit limit(64);
        written
            = TallyMapFile::write(studioMap(), path(QStringLiteral("studio.tlx")), TallyMapFile::documentType, &error);
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(error.localizedDescription,
        QStringLiteral("Unable to write \"%1\": File too large").arg(path(QStringLiteral("studio.tlx"))));
    EXPECT_EQ(readBytes(QStringLiteral("studio.tlx")), QByteArray("0|Camera 1\r\n"));
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
        QStringList { QStringLiteral("studio.tlx") });
}

TEST_F(TallyMapFileTest, AWriteOntoAFullFileSystemFailsAndKeepsTheOldMap)
{
    FullFileSystem full;
    if (!full.skipReason().empty()) {
        GTEST_SKIP() << full.skipReason();
    }
    const QString target = full.filePath(QStringLiteral("studio.tlx"));
    {
        QFile file(target);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("0|Camera 1\r\n");
    }
    full.fill();
    Error error;
    EXPECT_FALSE(TallyMapFile::write(studioMap(), target, TallyMapFile::documentType, &error));
    EXPECT_EQ(
        error.localizedDescription, QStringLiteral("Unable to write \"%1\": No space left on device").arg(target));
    QFile file(target);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("0|Camera 1\r\n"));
}

TEST_F(TallyMapFileTest, OpeningAFifoIsRefusedAtOnce)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(path(QStringLiteral("pipe.tlx"))).constData(), 0600), 0);
    QElapsedTimer timer;
    timer.start();
    Error error;
    EXPECT_FALSE(TallyMapFile::open(path(QStringLiteral("pipe.tlx")), TallyMapFile::documentType, &error));
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_EQ(error.localizedDescription,
        QStringLiteral("Unable to read \"%1\": not a regular file").arg(path(QStringLiteral("pipe.tlx"))));
}

TEST_F(TallyMapFileTest, OpeningADeviceIsRefused)
{
    Error error;
    EXPECT_FALSE(TallyMapFile::open(QStringLiteral("/dev/zero"), TallyMapFile::documentType, &error));
    EXPECT_EQ(error.localizedDescription, QStringLiteral("Unable to read \"/dev/zero\": not a regular file"));
}

TEST_F(TallyMapFileTest, OpeningAFileOverSixteenMebibytesIsRefused)
{
    writeBytes(QStringLiteral("huge.tlx"), "0|Camera 1\r\n");
    ASSERT_TRUE(QFile::resize(path(QStringLiteral("huge.tlx")), 16 * 1024 * 1024 + 1));
    Error error;
    EXPECT_FALSE(TallyMapFile::open(path(QStringLiteral("huge.tlx")), TallyMapFile::documentType, &error));
    EXPECT_EQ(error.localizedDescription,
        QStringLiteral("Unable to read \"%1\": larger than 16 MiB, too large for this kind of file")
            .arg(path(QStringLiteral("huge.tlx"))));
}
