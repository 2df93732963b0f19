#include "app/RecentDocuments.h"

#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class RecentDocumentsTest : public testing::Test {
protected:
    RecentDocuments makeList() const
    {
        return RecentDocuments(std::make_unique<QSettings>(dir.filePath("settings.ini"), QSettings::IniFormat));
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
