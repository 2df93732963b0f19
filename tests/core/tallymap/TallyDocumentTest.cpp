#include "tallymap/TallyDocument.h"

#include "support/QtPrinters.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class TallyDocumentTest : public testing::Test {
protected:
    TallyDocumentTest()
        : document(std::make_unique<RecentDocuments>(dir.filePath(QStringLiteral("recent.json"))))
    {
    }

    QUrl writeMap(const QString& name, const QByteArray& bytes) const
    {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(file.fileName());
    }

    static ShotPtr shot(const QString& id, const QString& name)
    {
        auto made = std::make_shared<Shot>(name);
        made->shotId = id;
        return made;
    }

    QTemporaryDir dir;
    TallyDocument document;
};

TEST_F(TallyDocumentTest, ANewDocumentHasAnEmptyMapNoFileAndNoChanges)
{
    EXPECT_FALSE(document.hasFile());
    EXPECT_TRUE(document.currentDocumentUrl().path().isEmpty());
    EXPECT_FALSE(document.isEdited());
    ASSERT_EQ(document.tallyMap().shotSelections().size(), TallyMap::numberOfLights);
    for (const ShotList& light : document.tallyMap().shotSelections()) {
        EXPECT_TRUE(light.isEmpty());
    }
}

TEST_F(TallyDocumentTest, LoadingTakesTheKnownShotIdsByNameThenTellsOfTheNewAssignmentsAndTheFile)
{
    const QUrl url = writeMap(QStringLiteral("studio.tlx"), "0|Cam 1\r\n");
    QStringList order;
    QObject::connect(&document, &TallyDocument::assignmentsChanged,
        [&] { order.append(QStringLiteral("assignments ") + document.tallyMap().shotSelection(0).at(0)->shotId); });
    QObject::connect(&document, &TallyDocument::fileChanged,
        [&](const QUrl& changed) { order.append(QStringLiteral("file ") + changed.fileName()); });
    ASSERT_TRUE(document.load(url, { shot(QStringLiteral("7"), QStringLiteral("Cam 1")) }));
    EXPECT_EQ(order, (QStringList { QStringLiteral("assignments 7"), QStringLiteral("file studio.tlx") }));
    EXPECT_EQ(document.currentDocumentUrl(), url);
    EXPECT_EQ(document.recentDocuments().recentDocuments(), QStringList { url.toLocalFile() });
}

TEST_F(TallyDocumentTest, AFailedLoadPrintsItsLineAndLeavesTheMapAndFileAsTheyWere)
{
    const QUrl good = writeMap(QStringLiteral("good.tlx"), "0|Cam 1\r\n");
    ASSERT_TRUE(document.load(good, {}));
    QSignalSpy failed(&document, &TallyDocument::documentFailed);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(document.load(QUrl::fromLocalFile(dir.filePath(QStringLiteral("missing.tlx"))), {}));
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.rfind("Read of document failed: ", 0), 0u) << printed;
    ASSERT_EQ(failed.size(), 1);
    EXPECT_EQ(failed.first().at(0).toString(), QStringLiteral("open"));
    EXPECT_EQ(document.currentDocumentUrl(), good);
    EXPECT_EQ(document.tallyMap().shotSelection(0).at(0)->name, QStringLiteral("Cam 1"));
}

TEST_F(TallyDocumentTest, SavingBackToTheSameFileChangesNoFileAndNoRecentEntry)
{
    const QUrl url = writeMap(QStringLiteral("studio.tlx"), "0|Cam 1\r\n");
    ASSERT_TRUE(document.load(url, {}));
    document.assign(1, { shot(QStringLiteral("2"), QStringLiteral("Cam 2")) });
    QSignalSpy fileChanged(&document, &TallyDocument::fileChanged);
    ASSERT_TRUE(document.save(url));
    EXPECT_TRUE(fileChanged.isEmpty());
    EXPECT_FALSE(document.isEdited());
    EXPECT_EQ(document.recentDocuments().recentDocuments(), QStringList { url.toLocalFile() });
}

TEST_F(TallyDocumentTest, SavingToAnotherFileMakesItTheCurrentOneAndPutsItOnTop)
{
    const QUrl first = writeMap(QStringLiteral("first.tlx"), "0|Cam 1\r\n");
    ASSERT_TRUE(document.load(first, {}));
    const QUrl second = QUrl::fromLocalFile(dir.filePath(QStringLiteral("second.tlx")));
    QSignalSpy fileChanged(&document, &TallyDocument::fileChanged);
    ASSERT_TRUE(document.save(second));
    ASSERT_EQ(fileChanged.size(), 1);
    EXPECT_EQ(document.currentDocumentUrl(), second);
    EXPECT_EQ(
        document.recentDocuments().recentDocuments(), (QStringList { second.toLocalFile(), first.toLocalFile() }));
}

TEST_F(TallyDocumentTest, AFailedSavePrintsItsLineAndKeepsTheChanges)
{
    document.setTracksChanges(true);
    document.assign(0, { shot(QStringLiteral("1"), QStringLiteral("Cam 1")) });
    testing::internal::CaptureStdout();
    EXPECT_FALSE(document.save(QUrl::fromLocalFile(dir.filePath(QStringLiteral("no/such/folder/map.tlx")))));
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.rfind("Save of document failed: ", 0), 0u) << printed;
    EXPECT_TRUE(document.isEdited());
    EXPECT_FALSE(document.hasFile());
}

TEST_F(TallyDocumentTest, AnAssignmentWithOtherNamesIsAChangeAndTheSameNamesAreNot)
{
    document.setTracksChanges(true);
    QSignalSpy assignments(&document, &TallyDocument::assignmentsChanged);
    document.assign(0, {});
    EXPECT_FALSE(document.isEdited());
    document.assign(0, { shot(QStringLiteral("1"), QStringLiteral("Cam 1")) });
    EXPECT_TRUE(document.isEdited());
    EXPECT_EQ(assignments.size(), 2);
    EXPECT_EQ(document.tallyMap().shotSelection(0).at(0)->name, QStringLiteral("Cam 1"));
}

} // namespace

TEST_F(TallyDocumentTest, ByDefaultAnAssignmentIsNoChangeToSave)
{
    QSignalSpy edited(&document, &TallyDocument::editedChanged);
    EXPECT_FALSE(document.tracksChanges());
    document.assign(0, { shot(QStringLiteral("1"), QStringLiteral("Cam 1")) });
    EXPECT_FALSE(document.isEdited());
    EXPECT_TRUE(edited.isEmpty());
    EXPECT_EQ(document.tallyMap().shotSelection(0).at(0)->name, QStringLiteral("Cam 1"));
}

TEST_F(TallyDocumentTest, StoppingTrackingForgetsThePendingChangeAndStartingCountsFromThen)
{
    document.setTracksChanges(true);
    document.assign(0, { shot(QStringLiteral("1"), QStringLiteral("Cam 1")) });
    ASSERT_TRUE(document.isEdited());
    QSignalSpy edited(&document, &TallyDocument::editedChanged);
    document.setTracksChanges(false);
    EXPECT_FALSE(document.isEdited());
    EXPECT_EQ(edited.size(), 1);
    document.setTracksChanges(true);
    EXPECT_FALSE(document.isEdited());
    document.assign(0, {});
    EXPECT_TRUE(document.isEdited());
}
