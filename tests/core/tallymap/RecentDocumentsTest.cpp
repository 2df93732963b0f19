#include "tallymap/RecentDocuments.h"

#include "support/QtPrinters.h"
#include "support/WriteFailures.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class RecentDocumentsTest : public testing::Test {
protected:
    RecentDocuments makeList() const { return RecentDocuments(listPath()); }

    QString listPath() const { return dir.filePath("recent-documents.json"); }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }

    QString touch(const QString& name) const
    {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return QFileInfo(file).canonicalFilePath();
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(RecentDocumentsTest, NewestFileComesFirst)
{
    RecentDocuments recent = makeList();
    const QString a = touch("a.tlx");
    const QString b = touch("b.tlx");
    recent.noteNewRecentDocument(a);
    recent.noteNewRecentDocument(b);
    EXPECT_EQ(recent.recentDocuments(), (QStringList { b, a }));
}

TEST_F(RecentDocumentsTest, NotingAFileAgainMovesItUpWithoutADuplicate)
{
    RecentDocuments recent = makeList();
    const QString a = touch("a.tlx");
    const QString b = touch("b.tlx");
    recent.noteNewRecentDocument(a);
    recent.noteNewRecentDocument(b);
    recent.noteNewRecentDocument(dir.filePath("sub/../a.tlx"));
    EXPECT_EQ(recent.recentDocuments(), (QStringList { a, b }));
}

TEST_F(RecentDocumentsTest, KeepsAtMostTenEntries)
{
    RecentDocuments recent = makeList();
    QStringList noted;
    for (int i = 0; i < 12; ++i) {
        noted.prepend(touch(QStringLiteral("map%1.tlx").arg(i)));
        recent.noteNewRecentDocument(noted.first());
    }
    EXPECT_EQ(recent.recentDocuments(), noted.mid(0, 10));
}

TEST_F(RecentDocumentsTest, ListSurvivesANewProcess)
{
    const QString a = touch("a.tlx");
    makeList().noteNewRecentDocument(a);
    EXPECT_EQ(makeList().recentDocuments(), QStringList { a });
}

TEST_F(RecentDocumentsTest, ClearEmptiesTheList)
{
    RecentDocuments recent = makeList();
    recent.noteNewRecentDocument(touch("a.tlx"));
    recent.clearRecentDocuments();
    EXPECT_TRUE(recent.recentDocuments().isEmpty());
    EXPECT_TRUE(makeList().recentDocuments().isEmpty());
}

TEST_F(RecentDocumentsTest, MissingFileKeepsItsAbsolutePath)
{
    RecentDocuments recent = makeList();
    recent.noteNewRecentDocument(dir.filePath("gone.tlx"));
    EXPECT_EQ(recent.recentDocuments(), QStringList { QDir(dir.path()).absoluteFilePath("gone.tlx") });
}

TEST_F(RecentDocumentsTest, AListCutShortByTheSystemKeepsTheOldFileAndSaysWhy)
{
    RecentDocuments recent = makeList();
    const QString a = touch("a.tlx");
    ASSERT_TRUE(recent.noteNewRecentDocument(a));
    const QByteArray before = contents(listPath());

    QString problem;
    bool stored = true;
    {
        const FileSizeLimit limit(before.size() + 4); // two entries need more
        stored = recent.noteNewRecentDocument(touch("b.tlx"), &problem);
    }
    EXPECT_FALSE(stored);
    EXPECT_EQ(problem, QStringLiteral("File too large"));
    EXPECT_EQ(contents(listPath()), before);
    EXPECT_EQ(makeList().recentDocuments(), QStringList { a });
}

TEST_F(RecentDocumentsTest, AListOnAFullFileSystemKeepsTheOldFileAndSaysWhy)
{
    FullFileSystem full;
    if (!full.skipReason().empty()) {
        GTEST_SKIP() << full.skipReason();
    }
    const QString path = full.filePath("recent-documents.json");
    RecentDocuments recent(path);
    const QString a = touch("a.tlx");
    ASSERT_TRUE(recent.noteNewRecentDocument(a));
    const QByteArray before = contents(path);
    full.fill();

    QString problem;
    EXPECT_FALSE(recent.noteNewRecentDocument(touch("b.tlx"), &problem));
    EXPECT_EQ(problem, QStringLiteral("No space left on device"));
    EXPECT_EQ(contents(path), before);
    EXPECT_EQ(RecentDocuments(path).recentDocuments(), QStringList { a });
}

TEST_F(RecentDocumentsTest, AnEntryThatCouldNotBeStoredStaysListedAndIsStoredNextTime)
{
    RecentDocuments recent = makeList();
    const QString a = touch("a.tlx");
    const QString b = touch("b.tlx");
    ASSERT_TRUE(recent.noteNewRecentDocument(a));
    {
        const FileSizeLimit limit(contents(listPath()).size() + 4);
        ASSERT_FALSE(recent.noteNewRecentDocument(b));
    }
    EXPECT_EQ(recent.recentDocuments(), (QStringList { b, a }));

    const QString c = touch("c.tlx");
    ASSERT_TRUE(recent.noteNewRecentDocument(c));
    EXPECT_EQ(makeList().recentDocuments(), (QStringList { c, b, a }));
}

TEST_F(RecentDocumentsTest, AListThatCannotBeMadeAtAllIsReportedWithItsFolder)
{
    const QString blocker = touch("plain-file");
    RecentDocuments recent(blocker + "/recent-documents.json");
    QString problem;
    EXPECT_FALSE(recent.noteNewRecentDocument(touch("a.tlx"), &problem));
    EXPECT_EQ(problem, QStringLiteral("cannot make the folder ") + blocker);
}

TEST_F(RecentDocumentsTest, TheListOfAnEarlierVersionIsTakenOverUntilTheNewFileExists)
{
    const QString a = touch("a.tlx");
    const QString b = touch("b.tlx");
    auto previous = std::make_unique<QSettings>(dir.filePath("settings.ini"), QSettings::IniFormat);
    previous->setValue("RecentDocuments", QStringList { a });
    previous->sync();

    RecentDocuments recent(listPath(), std::move(previous));
    EXPECT_EQ(recent.recentDocuments(), QStringList { a });
    ASSERT_TRUE(recent.noteNewRecentDocument(b));
    EXPECT_EQ(makeList().recentDocuments(), (QStringList { b, a }));
}

TEST_F(RecentDocumentsTest, ADamagedListReadsAsEmptyAndIsReplacedByTheNextEntry)
{
    QFile damaged(listPath());
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("[\"/half a pa");
    damaged.close();
    RecentDocuments recent = makeList();
    EXPECT_TRUE(recent.recentDocuments().isEmpty());
    const QString a = touch("a.tlx");
    ASSERT_TRUE(recent.noteNewRecentDocument(a));
    EXPECT_EQ(makeList().recentDocuments(), QStringList { a });
}

TEST_F(RecentDocumentsTest, APathWithALineBreakComesBackWhole)
{
    RecentDocuments recent = makeList();
    const QString odd = touch("two\nlines.tlx");
    ASSERT_TRUE(recent.noteNewRecentDocument(odd));
    EXPECT_EQ(makeList().recentDocuments(), QStringList { odd });
}
