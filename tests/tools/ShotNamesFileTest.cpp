#include "ShotNamesFile.h"

#include "support/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(ShotNamesFileTest, OneNamePerLineWithBlanksTrimmedAndEmptyLinesSkipped)
{
    EXPECT_EQ(ShotNamesFile::parse("Camera 1\n  Wide  Shot \r\n\n\t\nCam\xC3\xA9ra 3"),
        QStringList({ "Camera 1", "Wide  Shot", QString::fromUtf8("Cam\xC3\xA9ra 3") }));
}

TEST(ShotNamesFileTest, ReadGivesTheNamesOfTheFile)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    QFile file(directory.filePath("show.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("Host\nGuest\n");
    file.close();
    QString error;
    const std::optional<QStringList> names = ShotNamesFile::read(file.fileName(), &error);
    ASSERT_TRUE(names.has_value()) << error.toStdString();
    EXPECT_EQ(*names, QStringList({ "Host", "Guest" }));
}

TEST(ShotNamesFileTest, AMissingFileIsAnError)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath("none.txt");
    QString error;
    EXPECT_FALSE(ShotNamesFile::read(path, &error).has_value());
    EXPECT_TRUE(error.startsWith("cannot read the shot list " + path + ": ")) << error.toStdString();
}

TEST(ShotNamesFileTest, AFileWithoutNamesIsAnError)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    QFile file(directory.filePath("blank.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("\n  \n");
    file.close();
    QString error;
    EXPECT_FALSE(ShotNamesFile::read(file.fileName(), &error).has_value());
    EXPECT_EQ(error, "the shot list " + file.fileName() + " holds no shot name");
}
