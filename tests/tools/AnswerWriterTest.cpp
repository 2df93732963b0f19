#include "AnswerWriter.h"

#include "support/QtPrinters.h"
#include "support/WriteFailures.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return "<unreadable>";
    }
    return file.readAll();
}

const QList<ShowModel::Shot> twoShots = {
    { 1, "Camera 1", true, false },
    { 2, "Camera 2", false, true },
};

} // namespace

TEST(AnswerWriterTest, NotationOfTwoShotsIsAListOfRecordsAsOsascriptPrintsIt)
{
    EXPECT_EQ(AnswerWriter::notation(twoShots),
        "{{shotId:\"1\", shotName:\"Camera 1\", isLive:true, isPreview:false}, "
        "{shotId:\"2\", shotName:\"Camera 2\", isLive:false, isPreview:true}}\n");
}

TEST(AnswerWriterTest, NotationOfAnEmptyShowIsAnEmptyList)
{
    EXPECT_EQ(AnswerWriter::notation({}), "{}\n");
}

TEST(AnswerWriterTest, QuoteAndBackslashAreEscapedInNames)
{
    EXPECT_EQ(AnswerWriter::notation({ { 7, R"(Say "hi"\)", false, false } }),
        R"({{shotId:"7", shotName:"Say \"hi\"\\", isLive:false, isPreview:false}})"
        "\n");
}

TEST(AnswerWriterTest, UnicodeAndOtherCharactersStayRaw)
{
    const QString name = QString::fromUtf8("Cam\xC3\xA9ra \xE5\x8C\x97 'x' {y}, z:");
    EXPECT_EQ(AnswerWriter::notation({ { 3, name, false, true } }),
        QStringLiteral("{{shotId:\"3\", shotName:\"") + name + QStringLiteral("\", isLive:false, isPreview:true}}\n"));
}

TEST(AnswerWriterTest, WriteStoresTheNotationAsUtf8)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    AnswerWriter writer(directory.filePath("shots"));
    const QList<ShowModel::Shot> shots = { { 1, QString::fromUtf8("Cam\xC3\xA9ra"), true, false } };
    QString error;
    ASSERT_TRUE(writer.write(shots, &error)) << error.toStdString();
    EXPECT_EQ(
        contentsOf(writer.path()), "{{shotId:\"1\", shotName:\"Cam\xC3\xA9ra\", isLive:true, isPreview:false}}\n");
}

// A reader that opened the previous answer keeps reading it whole while the
// new one takes its place: the file is replaced, never rewritten in place.
TEST(AnswerWriterTest, WriteReplacesTheFileAtomically)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    AnswerWriter writer(directory.filePath("shots"));
    QString error;
    ASSERT_TRUE(writer.write(twoShots, &error)) << error.toStdString();

    QFile reader(writer.path());
    ASSERT_TRUE(reader.open(QIODevice::ReadOnly));
    ASSERT_TRUE(writer.write({ { 9, "Other", false, false } }, &error)) << error.toStdString();

    EXPECT_EQ(reader.readAll(), AnswerWriter::notation(twoShots).toUtf8());
    EXPECT_EQ(contentsOf(writer.path()), AnswerWriter::notation({ { 9, "Other", false, false } }).toUtf8());
    // No temporary file is left beside it.
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden), QStringList({ "shots" }));
}

TEST(AnswerWriterTest, AFailedWriteSaysWhyAndKeepsNothing)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    AnswerWriter writer(directory.filePath("missing/shots"));
    QString error;
    EXPECT_FALSE(writer.write(twoShots, &error));
    EXPECT_TRUE(error.startsWith("cannot write " + directory.filePath("missing/shots") + ": ")) << error.toStdString();
    EXPECT_FALSE(QFile::exists(writer.path()));
}

TEST(AnswerWriterTest, AnAnswerTheDiskCannotTakeFailsAndKeepsTheLastOne)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    AnswerWriter writer(directory.filePath("shots"));
    QString error;
    ASSERT_TRUE(writer.write(twoShots, &error));
    const QList<ShowModel::Shot> manyShots(40, { 3, "Camera 3", false, false });
    bool written = true;
    {
        const FileSizeLimit limit(200); // the new answer is over 2 KB
        written = writer.write(manyShots, &error);
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(error, "cannot write " + writer.path() + ": File too large");
    EXPECT_EQ(contentsOf(writer.path()), AnswerWriter::notation(twoShots).toUtf8());
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden), QStringList({ "shots" }));
}

TEST(AnswerWriterTest, WithdrawRemovesTheFile)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    AnswerWriter writer(directory.filePath("shots"));
    QString error;
    ASSERT_TRUE(writer.write(twoShots, &error));
    ASSERT_TRUE(QFile::exists(writer.path()));
    writer.withdraw();
    EXPECT_FALSE(QFile::exists(writer.path()));
}

TEST(AnswerWriterTest, TheFileGoesWithTheWriter)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath("shots");
    {
        AnswerWriter writer(path);
        QString error;
        ASSERT_TRUE(writer.write(twoShots, &error));
        ASSERT_TRUE(QFile::exists(path));
    }
    EXPECT_FALSE(QFile::exists(path));
}

// Another program's answer at the same place is not this writer's to remove.
TEST(AnswerWriterTest, AWriterThatNeverWroteRemovesNothing)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath("shots");
    QFile other(path);
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write("{}\n");
    other.close();
    {
        AnswerWriter writer(path);
        writer.withdraw();
    }
    EXPECT_TRUE(QFile::exists(path));
}

TEST(AnswerWriterTest, FollowWritesTheAnswerNowAndAfterEveryChange)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    ShowModel model({ "A", "B", "C" }, { .program = 0, .preview = 1 });
    AnswerWriter writer(directory.filePath("shots"));
    QString error;
    ASSERT_TRUE(writer.follow(model, &error)) << error.toStdString();
    EXPECT_EQ(contentsOf(writer.path()), AnswerWriter::notation(model.shots()).toUtf8());

    model.setPreview(2);
    model.cut();
    EXPECT_EQ(contentsOf(writer.path()),
        "{{shotId:\"1\", shotName:\"A\", isLive:false, isPreview:true}, "
        "{shotId:\"2\", shotName:\"B\", isLive:false, isPreview:false}, "
        "{shotId:\"3\", shotName:\"C\", isLive:true, isPreview:false}}\n");

    model.rename(2, "See");
    EXPECT_TRUE(contentsOf(writer.path()).contains("{shotId:\"3\", shotName:\"See\", isLive:true"));
}
