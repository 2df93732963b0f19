#include "base/ModalSession.h"
#include "dialogs/FileDialogPanels.h"
#include "mainwindow/ViewController.h"
#include "support/QtPrinters.h"
#include "support/ShownText.h"
#include "support/WriteFailures.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QKeySequence>

#include <gtest/gtest.h>

namespace {

const QByteArray studioMap = "0|Cam 1\r\n1|Cam 2|Wide\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n";

class DocumentCommandsTest : public MainWindowFixture {
protected:
    QString studioPath() { return writeFile(QStringLiteral("studio.tlx"), studioMap); }

    QStringList recent() const { return controller->document().recentDocuments().recentDocuments(); }

    // Runs a command and returns what it printed on standard output.
    template<typename Command> std::string printedBy(Command command)
    {
        testing::internal::CaptureStdout();
        command();
        return testing::internal::GetCapturedStdout();
    }
};

} // namespace

TEST_F(DocumentCommandsTest, BeforeAnyOpenOrSaveSaveAsksForAFileThoughTheTitleIsUntitled)
{
    makeWindow();
    main.window->show();
    ASSERT_EQ(main.window->windowTitle(), QStringLiteral("Untitled.tlx"));
    controller->saveDocument(nullptr);
    EXPECT_EQ(panels->saveRuns, 1);
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
    EXPECT_TRUE(recent().isEmpty());
}

TEST_F(DocumentCommandsTest, ASaveConfirmedInThePanelWritesTheMapAndNamesTheWindowAfterIt)
{
    makeWindow();
    main.window->show();
    const QString path = directory.filePath(QStringLiteral("new.tlx"));
    panels->saveAnswers.append(QUrl::fromLocalFile(path));
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    controller->saveDocument(nullptr);
    EXPECT_TRUE(readFile(path).startsWith("0|Cam 1\r\n"));
    EXPECT_EQ(controller->currentDocumentUrl(), QUrl::fromLocalFile(path));
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("new.tlx"));
    EXPECT_EQ(main.window->windowFilePath(), path);
    EXPECT_EQ(recent(), QStringList { QFileInfo(path).canonicalFilePath() });
}

TEST_F(DocumentCommandsTest, ACancelledSavePanelWritesNothing)
{
    makeWindow();
    controller->saveDocumentAs(nullptr);
    EXPECT_EQ(panels->saveRuns, 1);
    EXPECT_TRUE(QDir(directory.path()).entryList({ QStringLiteral("*.tlx") }).isEmpty());
    panels->saveAnswers.append(QUrl());
    controller->saveDocumentAs(nullptr);
    EXPECT_TRUE(QDir(directory.path()).entryList({ QStringLiteral("*.tlx") }).isEmpty());
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
}

TEST_F(DocumentCommandsTest, AfterOpeningStudioSaveWritesThereWithoutAskingAndLeavesTitleAndRecentAlone)
{
    makeWindow();
    main.window->show();
    const QString path = studioPath();
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    ASSERT_EQ(main.window->windowTitle(), QStringLiteral("studio.tlx"));
    ASSERT_EQ(recent().size(), 1);
    // Marks that show whether the save touches them again.
    main.window->setWindowTitle(QStringLiteral("unchanged"));
    main.window->setWindowFilePath(QStringLiteral("/unchanged"));
    controller->document().recentDocuments().clearRecentDocuments();

    controller->document().tallyMap().setShotSelection(2, { record("Titles") });
    controller->saveDocument(nullptr);
    EXPECT_EQ(panels->saveRuns, 0);
    EXPECT_TRUE(readFile(path).contains("2|Titles\r\n"));
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("unchanged"));
    EXPECT_EQ(main.window->windowFilePath(), QStringLiteral("/unchanged"));
    EXPECT_TRUE(recent().isEmpty());
}

TEST_F(DocumentCommandsTest, SaveAsToTheSameFileWritesItButAddsNoRecentEntry)
{
    makeWindow();
    const QString path = studioPath();
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    controller->document().recentDocuments().clearRecentDocuments();
    controller->document().tallyMap().setShotSelection(3, { record("Titles") });
    panels->saveAnswers.append(QUrl::fromLocalFile(path));
    controller->saveDocumentAs(nullptr);
    EXPECT_EQ(panels->saveRuns, 1);
    EXPECT_TRUE(readFile(path).contains("3|Titles\r\n"));
    EXPECT_TRUE(recent().isEmpty());
}

TEST_F(DocumentCommandsTest, SaveAsToAnotherFileSwitchesCurrentUrlTitleAndRepresentedFile)
{
    makeWindow();
    main.window->show();
    const QString studio = studioPath();
    controller->loadTallyMap(QUrl::fromLocalFile(studio));
    const QString other = directory.filePath(QStringLiteral("other.tlx"));
    panels->saveAnswers.append(QUrl::fromLocalFile(other));
    controller->saveDocumentAs(nullptr);
    EXPECT_EQ(readFile(other), readFile(studio));
    EXPECT_EQ(controller->currentDocumentUrl(), QUrl::fromLocalFile(other));
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("other.tlx"));
    EXPECT_EQ(main.window->windowFilePath(), other);
    EXPECT_EQ(recent().value(0), QFileInfo(other).canonicalFilePath());
    EXPECT_EQ(recent().size(), 2);
}

TEST_F(DocumentCommandsTest, OpeningWhileShotsAreKnownTakesTheirIdsByNameAndRetitlesAtOnce)
{
    answer({ { "11", "Cam 1", true, false }, { "12", "Cam 2", false, true } });
    makeWindow();
    ASSERT_EQ(controller->shotList().size(), 3);
    controller->loadTallyMap(QUrl::fromLocalFile(studioPath()));
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).at(0)->shotId, QStringLiteral("11"));
    EXPECT_EQ(controller->document().tallyMap().shotSelection(1).at(0)->shotId, QStringLiteral("12"));
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(1).at(1)->shotId.isEmpty());
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));
    EXPECT_EQ(button(2)->text(), QStringLiteral("Multiple shots assigned...(Click to View)"));
}

TEST_F(DocumentCommandsTest, OpeningWhileNoShotsAreKnownLeavesTheIdsUntilTheFirstAnswer)
{
    makeWindow();
    ASSERT_TRUE(controller->shotList().isEmpty());
    controller->loadTallyMap(QUrl::fromLocalFile(studioPath()));
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(0).at(0)->shotId.isEmpty());
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));

    answer({ { "11", "Cam 1", true, false } });
    tick();
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).at(0)->shotId, QStringLiteral("11"));
}

TEST_F(DocumentCommandsTest, AFailedOpenPrintsWhyAndLeavesMapTitleAndAssignments)
{
    makeWindow();
    main.window->show();
    controller->loadTallyMap(QUrl::fromLocalFile(studioPath()));
    const ShotPtr assigned = controller->document().tallyMap().shotSelection(0).at(0);
    const QUrl before = controller->currentDocumentUrl();
    const QString bad = writeFile(QStringLiteral("bad.tlx"), "x|Cam 9\r\n");

    const std::string printed = printedBy([&] { controller->loadTallyMap(QUrl::fromLocalFile(bad)); });
    EXPECT_EQ(printed, "Read of document failed: Unable to parse tally index\n");
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).at(0), assigned);
    EXPECT_EQ(controller->currentDocumentUrl(), before);
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("studio.tlx"));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));
    EXPECT_EQ(recent().size(), 1);
}

TEST_F(DocumentCommandsTest, OpeningAMissingFilePrintsTheSystemsReason)
{
    makeWindow();
    const QString missing = directory.filePath(QStringLiteral("missing.tlx"));
    const std::string printed = printedBy([&] { controller->loadTallyMap(QUrl::fromLocalFile(missing)); });
    EXPECT_EQ(printed.rfind("Read of document failed: Unable to read \"" + missing.toStdString() + "\": ", 0), 0u)
        << printed;
    EXPECT_EQ(printed.back(), '\n');
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
}

TEST_F(DocumentCommandsTest, AFailedSavePrintsWhyAndChangesNothing)
{
    makeWindow();
    main.window->show();
    const QString unwritable = directory.filePath(QStringLiteral("no/such/folder/map.tlx"));
    panels->saveAnswers.append(QUrl::fromLocalFile(unwritable));
    const std::string printed = printedBy([&] { controller->saveDocumentAs(nullptr); });
    EXPECT_EQ(printed.rfind("Save of document failed: Unable to write \"", 0), 0u) << printed;
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("Untitled.tlx"));
    EXPECT_TRUE(recent().isEmpty());
}

TEST_F(DocumentCommandsTest, ASaveTheDiskCannotTakePrintsTheFailureAndKeepsTheOldMap)
{
    makeWindow();
    main.window->show();
    const QString path = studioPath();
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    // Larger than what the disk takes, and the printed line (which goes to a
    // file while it is captured) smaller.
    controller->document().tallyMap().setShotSelection(2, { record(QString(3000, QLatin1Char('W'))) });
    std::string printed;
    {
        const FileSizeLimit limit(2048);
        printed = printedBy([&] { controller->saveDocument(nullptr); });
    }
    EXPECT_EQ(printed, "Save of document failed: Unable to write \"" + path.toStdString() + "\": File too large\n");
    EXPECT_EQ(readFile(path), studioMap);
}

TEST_F(DocumentCommandsTest, ASaveOntoAFullFileSystemPrintsTheFailureAndKeepsTheOldMap)
{
    FullFileSystem full;
    if (!full.skipReason().empty()) {
        GTEST_SKIP() << full.skipReason();
    }
    makeWindow();
    main.window->show();
    const QString path = full.filePath(QStringLiteral("studio.tlx"));
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(studioMap);
    }
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    controller->document().tallyMap().setShotSelection(2, { record("Camera 3"), record("Wide Shot") });
    full.fill();
    const std::string printed = printedBy([&] { controller->saveDocument(nullptr); });
    EXPECT_EQ(
        printed, "Save of document failed: Unable to write \"" + path.toStdString() + "\": No space left on device\n");
    EXPECT_EQ(readFile(path), studioMap);
}

TEST_F(DocumentCommandsTest, OpenRunsThePanelAndLoadsTheChosenFile)
{
    makeWindow();
    const QString path = studioPath();
    panels->openAnswers.append(QUrl::fromLocalFile(path));
    controller->openDocument(nullptr);
    EXPECT_EQ(panels->openRuns, 1);
    EXPECT_EQ(controller->currentDocumentUrl(), QUrl::fromLocalFile(path));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));
}

TEST_F(DocumentCommandsTest, ACancelledOrEmptyOpenPanelChangesNothing)
{
    makeWindow();
    controller->openDocument(nullptr);
    panels->openAnswers.append(QUrl());
    const std::string printed = printedBy([&] { controller->openDocument(nullptr); });
    EXPECT_EQ(panels->openRuns, 2);
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
}

TEST_F(DocumentCommandsTest, OpenRecentListsTheFilesDisablesMissingOnesAndOpensThroughLoad)
{
    makeWindow();
    const QString studio = studioPath();
    const QString gone = writeFile(QStringLiteral("gone.tlx"), studioMap);
    controller->loadTallyMap(QUrl::fromLocalFile(gone));
    controller->loadTallyMap(QUrl::fromLocalFile(studio));
    QFile::remove(gone);
    controller->document().tallyMap().setShotSelection(0, {});

    main.menu->rebuildOpenRecentMenu();
    const QList<QAction*> items = main.menu->openRecentMenu()->actions();
    ASSERT_EQ(items.size(), 4); // studio, gone, separator, Clear
    EXPECT_EQ(items[0]->text(), QStringLiteral("studio.tlx"));
    EXPECT_TRUE(items[0]->isEnabled());
    EXPECT_EQ(items[1]->text(), QStringLiteral("gone.tlx"));
    EXPECT_FALSE(items[1]->isEnabled());
    EXPECT_TRUE(items[2]->isSeparator());

    items[0]->trigger();
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));

    main.menu->rebuildOpenRecentMenu();
    main.menu->openRecentMenu()->actions().last()->trigger();
    EXPECT_TRUE(recent().isEmpty());
    ASSERT_EQ(main.menu->openRecentMenu()->actions().size(), 1);
    EXPECT_FALSE(main.menu->openRecentMenu()->actions().first()->isEnabled());
}

TEST_F(DocumentCommandsTest, AnAmpersandInARecentFileNameIsShownAndMakesNoShortcut)
{
    makeWindow();
    controller->loadTallyMap(QUrl::fromLocalFile(writeFile(QStringLiteral("Q&A Panel.tlx"), studioMap)));
    main.menu->rebuildOpenRecentMenu();
    const QList<QAction*> items = main.menu->openRecentMenu()->actions();
    ASSERT_FALSE(items.isEmpty());
    EXPECT_EQ(shownText(items[0]->text()), QStringLiteral("Q&A Panel.tlx"));
    EXPECT_TRUE(QKeySequence::mnemonic(items[0]->text()).isEmpty());
}

TEST_F(DocumentCommandsTest, TheFilePanelsOfferOnlyTallyMapsApplicationModallyAndHoldTheTicksBack)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    const QString path = studioPath();
    FileDialogPanels fileDialogs;
    QStringList filters;
    Qt::WindowModality modality = Qt::NonModal;
    bool modalWhileUp = false;
    const int runsBefore = platform->runs;
    fileDialogs.setDialogWillRun([&](QFileDialog& dialog) {
        filters = dialog.nameFilters();
        modality = dialog.windowModality();
        QTimer::singleShot(0, &dialog, [&, dialogPointer = &dialog] {
            modalWhileUp = ModalSession::isActive();
            tick();
            dialogPointer->selectFile(path);
            static_cast<QDialog*>(dialogPointer)->accept();
        });
    });
    const std::optional<QUrl> chosen = fileDialogs.runOpenPanel(main.window.get());
    EXPECT_EQ(filters, QStringList { QStringLiteral("Tally maps (*.tlx)") });
    EXPECT_EQ(modality, Qt::ApplicationModal);
    EXPECT_TRUE(modalWhileUp);
    EXPECT_EQ(platform->runs, runsBefore);
    EXPECT_TRUE(device->reports.isEmpty());
    ASSERT_TRUE(chosen.has_value());
    EXPECT_EQ(*chosen, QUrl::fromLocalFile(path));
}

TEST_F(DocumentCommandsTest, ANameTypedWithAnotherExtensionInTheSavePanelIsSavedAsATallyMap)
{
    makeWindow();
    FileDialogPanels fileDialogs;
    const QString typed = directory.filePath(QStringLiteral("notes.txt"));
    fileDialogs.setDialogWillRun([&](QFileDialog& dialog) {
        QTimer::singleShot(0, &dialog, [&dialog, typed] {
            dialog.selectFile(typed);
            static_cast<QDialog&>(dialog).accept(); // as the Save button does
        });
    });
    const std::optional<QUrl> chosen = fileDialogs.runSavePanel(main.window.get());
    ASSERT_TRUE(chosen.has_value());
    EXPECT_EQ(*chosen, QUrl::fromLocalFile(typed + QStringLiteral(".tlx")));
}

TEST_F(DocumentCommandsTest, AFileOfAnotherExtensionCannotBeChosenInTheOpenPanel)
{
    makeWindow();
    FileDialogPanels fileDialogs;
    const QString notes = writeFile(QStringLiteral("notes.txt"), studioMap);
    bool stayedUp = false;
    fileDialogs.setDialogWillRun([&](QFileDialog& dialog) {
        QTimer::singleShot(0, &dialog, [&] {
            dialog.selectFile(notes);
            static_cast<QDialog&>(dialog).accept(); // as the Open button does
            stayedUp = dialog.isVisible() && dialog.result() != QDialog::Accepted;
            dialog.reject();
        });
    });
    EXPECT_FALSE(fileDialogs.runOpenPanel(main.window.get()).has_value());
    EXPECT_TRUE(stayedUp);
}

TEST_F(DocumentCommandsTest, ACancelledFileDialogGivesNothing)
{
    makeWindow();
    FileDialogPanels fileDialogs;
    fileDialogs.setDialogWillRun(
        [](QFileDialog& dialog) { QTimer::singleShot(0, &dialog, [&dialog] { dialog.reject(); }); });
    EXPECT_FALSE(fileDialogs.runSavePanel(main.window.get()).has_value());
}
