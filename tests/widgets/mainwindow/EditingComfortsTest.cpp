// The main window's editing comforts: the unsaved-changes marker, the save
// prompt before Open and Quit, where the file panels start, the editor's
// title and Save As's key. The marker, the prompt and the editor's Cancel
// are the user's choice (Edit > Ask Before Discarding Changes, Edit > Cancel
// in Shot Editor): EditingComfortsTest runs with them chosen,
// EditingComfortsByDefaultTest with nothing chosen.

#include "dialogs/EditViewController.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QKeySequence>
#include <QTableWidget>
#include <QTest>
#include <QWindow>

namespace {

// Answers the save prompt from a queue and remembers what it was asked.
class FakeSaveChangesPrompt : public SaveChangesPrompt {
public:
    QList<Answer> answers;
    QStringList askedAbout;

    Answer ask(QWidget*, const QString& documentName) override
    {
        askedAbout.append(documentName);
        return answers.isEmpty() ? Answer::cancel : answers.takeFirst();
    }
};

class EditingComfortsFixture : public MainWindowFixture {
protected:
    // A shown window after one tick, Cam 1 live and Cam 2 in preview.
    void makeWindowWithTwoShots()
    {
        auto owned = std::make_unique<FakeSaveChangesPrompt>();
        prompt = owned.get();
        saveChangesPrompt = std::move(owned);
        answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
        makeWindow();
        main.window->show();
        tick();
    }

    // Clicks light 1's button; the shot editor it presents, if any.
    EditViewController* openEditorOfLightOne()
    {
        QWidget* shown = nullptr;
        // Only for this click: the lambda holds on to a local.
        const QMetaObject::Connection watch = QObject::connect(&controller->segues(), &Segues::viewControllerPresented,
            [&shown](const QString&, QWidget* viewController) { shown = viewController; });
        button(1)->click();
        QObject::disconnect(watch);
        return qobject_cast<EditViewController*>(shown);
    }

    // Opens light 1's editor, ticks its first shot and presses Done.
    void assignFirstShotToLightOne()
    {
        EditViewController* editor = openEditorOfLightOne();
        ASSERT_NE(editor, nullptr);
        editorTitle = editor->windowTitle();
        qobject_cast<QAbstractButton*>(editor->table->cellWidget(0, 0))->click();
        editor->doneButton->click();
    }

    // The shot editor's Escape key, as the user presses it.
    static void pressEscape(EditViewController* editor)
    {
        editor->activateWindow();
        QApplication::setActiveWindow(editor);
        QTest::keyClick(editor, Qt::Key_Escape);
    }

    FakeSaveChangesPrompt* prompt = nullptr;
    QString editorTitle;
};

// With both comforts chosen.
class EditingComfortsTest : public EditingComfortsFixture {
protected:
    void SetUp() override
    {
        EditingComfortsFixture::SetUp();
        UserDefaults::standardUserDefaults().setBool(Preferences::askBeforeDiscardingChanges, true);
        UserDefaults::standardUserDefaults().setBool(Preferences::shotEditorCancel, true);
        makeWindowWithTwoShots();
    }
};

// With nothing chosen: the preferences as a first start finds them.
class EditingComfortsByDefaultTest : public EditingComfortsFixture {
protected:
    void SetUp() override
    {
        EditingComfortsFixture::SetUp();
        makeWindowWithTwoShots();
    }
};

} // namespace

TEST_F(EditingComfortsTest, AChangedAssignmentMarksTheWindowModifiedAndTheTitleStaysTheFileName)
{
    EXPECT_FALSE(controller->document().isEdited());
    assignFirstShotToLightOne();
    EXPECT_TRUE(controller->document().isEdited());
    EXPECT_TRUE(main.window->isWindowModified());
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("Untitled.tlx"));
    EXPECT_EQ(main.window->displayedTitle(), QStringLiteral("Untitled.tlx *"));
}

TEST_F(EditingComfortsTest, TheEditorsTitleNamesTheLight)
{
    assignFirstShotToLightOne();
    EXPECT_EQ(editorTitle, QStringLiteral("Assign Shots to Light 1"));
}

TEST_F(EditingComfortsTest, SavingClearsTheMarker)
{
    assignFirstShotToLightOne();
    const QString path = directory.filePath(QStringLiteral("show.tlx"));
    panels->saveAnswers = { QUrl::fromLocalFile(path) };
    controller->saveDocument(nullptr);
    EXPECT_FALSE(controller->document().isEdited());
    EXPECT_EQ(main.window->displayedTitle(), QStringLiteral("show.tlx"));
}

TEST_F(EditingComfortsTest, OpenWithoutChangesAsksNothing)
{
    controller->openDocument(nullptr);
    EXPECT_TRUE(prompt->askedAbout.isEmpty());
    EXPECT_EQ(panels->openRuns, 1);
}

TEST_F(EditingComfortsTest, CancellingThePromptBeforeOpenKeepsTheChangesAndRunsNoPanel)
{
    assignFirstShotToLightOne();
    prompt->answers = { SaveChangesPrompt::Answer::cancel };
    controller->openDocument(nullptr);
    EXPECT_EQ(prompt->askedAbout, QStringList { QStringLiteral("Untitled.tlx") });
    EXPECT_EQ(panels->openRuns, 0);
    EXPECT_TRUE(controller->document().isEdited());
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).size(), 1);
}

TEST_F(EditingComfortsTest, DiscardingBeforeOpenGoesOnToTheOpenPanel)
{
    assignFirstShotToLightOne();
    const QString other = writeFile(QStringLiteral("other.tlx"), "1|Cam 2\r\n");
    panels->openAnswers = { QUrl::fromLocalFile(other) };
    prompt->answers = { SaveChangesPrompt::Answer::discard };
    controller->openDocument(nullptr);
    EXPECT_EQ(panels->openRuns, 1);
    EXPECT_FALSE(controller->document().isEdited());
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(0).isEmpty());
}

TEST_F(EditingComfortsTest, SavingFromThePromptWritesTheMapThenOpens)
{
    assignFirstShotToLightOne();
    const QString path = directory.filePath(QStringLiteral("kept.tlx"));
    panels->saveAnswers = { QUrl::fromLocalFile(path) };
    prompt->answers = { SaveChangesPrompt::Answer::save };
    controller->openDocument(nullptr);
    EXPECT_TRUE(readFile(path).contains("0|Cam 1\r\n"));
    EXPECT_EQ(panels->openRuns, 1);
}

TEST_F(EditingComfortsTest, ACancelledSaveFromThePromptStopsTheOpen)
{
    assignFirstShotToLightOne();
    prompt->answers = { SaveChangesPrompt::Answer::save };
    controller->openDocument(nullptr); // the save panel is cancelled
    EXPECT_EQ(panels->saveRuns, 1);
    EXPECT_EQ(panels->openRuns, 0);
    EXPECT_TRUE(controller->document().isEdited());
}

TEST_F(EditingComfortsTest, ClosingTheWindowWithChangesAsksAndCancelKeepsItOpen)
{
    assignFirstShotToLightOne();
    prompt->answers = { SaveChangesPrompt::Answer::cancel };
    EXPECT_FALSE(main.window->close());
    EXPECT_TRUE(main.window->isVisible());
    prompt->answers = { SaveChangesPrompt::Answer::discard };
    EXPECT_TRUE(main.window->close());
    EXPECT_EQ(prompt->askedAbout.size(), 2);
}

TEST_F(EditingComfortsTest, ClosingTheWindowWithoutChangesAsksNothing)
{
    EXPECT_TRUE(main.window->close());
    EXPECT_TRUE(prompt->askedAbout.isEmpty());
}

TEST_F(EditingComfortsTest, TheEditorReturningTheSameNamesIsNoChange)
{
    controller->document().tallyMap().setShotSelection(0, { record("Cam 2") });
    EditViewController* editor = openEditorOfLightOne();
    ASSERT_NE(editor, nullptr);
    editor->doneButton->click();
    EXPECT_FALSE(controller->document().isEdited());
}

TEST_F(EditingComfortsTest, ThePanelsAreToldTheCurrentFile)
{
    const QString path = writeFile(QStringLiteral("studio.tlx"), "0|Cam 1\r\n");
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    controller->saveDocumentAs(nullptr);
    EXPECT_EQ(panels->currentPath, path);
}

TEST_F(EditingComfortsTest, SaveAsHasControlShiftS)
{
    QAction* saveAs = nullptr;
    for (QAction* item : main.menu->fileMenu()->actions()) {
        if (item->text() == QStringLiteral("Save &As…")) {
            saveAs = item;
        }
    }
    ASSERT_NE(saveAs, nullptr);
    EXPECT_EQ(saveAs->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
}

TEST_F(EditingComfortsTest, TheWindowsSizeIsRememberedAcrossRuns)
{
    main.window->resize(1133, 611);
    ASSERT_TRUE(main.window->close());
    makeWindow();
    main.window->restoreSavedGeometry();
    EXPECT_EQ(main.window->size(), QSize(1133, 611));
}

TEST_F(EditingComfortsTest, ThePromptNamesAFileWhoseNameHoldsTheMarkersPlaceAsItIsShown)
{
    const QString path = writeFile(QStringLiteral("take[*]two.tlx"), "0|Cam 2\r\n");
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    assignFirstShotToLightOne();
    prompt->answers = { SaveChangesPrompt::Answer::cancel };
    controller->openDocument(nullptr);
    EXPECT_EQ(prompt->askedAbout, QStringList { QStringLiteral("take[*]two.tlx") });
}

TEST_F(EditingComfortsTest, TheEditorsCancelAndEscapePutTheLightsListBack)
{
    EditViewController* editor = openEditorOfLightOne();
    ASSERT_NE(editor, nullptr);
    EXPECT_FALSE(editor->cancelButton->isHidden());
    qobject_cast<QAbstractButton*>(editor->table->cellWidget(0, 0))->click();
    editor->cancelButton->click();
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(0).isEmpty());

    editor = openEditorOfLightOne();
    ASSERT_NE(editor, nullptr);
    qobject_cast<QAbstractButton*>(editor->table->cellWidget(0, 0))->click();
    pressEscape(editor);
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(0).isEmpty());
    EXPECT_FALSE(controller->document().isEdited());
}

TEST_F(EditingComfortsTest, TheMenuItemsShowTheChoicesAndUncheckingAskBeforeDiscardingForgetsTheMarker)
{
    ASSERT_TRUE(main.menu->askBeforeDiscardingChangesAction()->isChecked());
    ASSERT_TRUE(main.menu->shotEditorCancelAction()->isChecked());
    assignFirstShotToLightOne();
    ASSERT_TRUE(main.window->isWindowModified());
    main.menu->askBeforeDiscardingChangesAction()->trigger();
    EXPECT_FALSE(UserDefaults::standardUserDefaults().boolForKey(Preferences::askBeforeDiscardingChanges));
    EXPECT_FALSE(main.window->isWindowModified());
    EXPECT_TRUE(main.window->close());
    EXPECT_TRUE(prompt->askedAbout.isEmpty());
}

TEST_F(EditingComfortsByDefaultTest, AnEditByDefaultPutsNoMarkerAndLeavesTheDocumentUnchanged)
{
    EXPECT_FALSE(main.menu->askBeforeDiscardingChangesAction()->isChecked());
    assignFirstShotToLightOne();
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).size(), 1);
    EXPECT_FALSE(controller->document().isEdited());
    EXPECT_FALSE(main.window->isWindowModified());
    EXPECT_EQ(main.window->displayedTitle(), QStringLiteral("Untitled.tlx"));
    EXPECT_EQ(main.window->windowHandle()->title(), QStringLiteral("Untitled.tlx"));
}

TEST_F(EditingComfortsByDefaultTest, OpenAfterAnEditByDefaultAsksNothingAndReplacesTheMap)
{
    assignFirstShotToLightOne();
    const QString other = writeFile(QStringLiteral("other.tlx"), "1|Cam 2\r\n");
    panels->openAnswers = { QUrl::fromLocalFile(other) };
    controller->openDocument(nullptr);
    EXPECT_TRUE(prompt->askedAbout.isEmpty());
    EXPECT_EQ(panels->openRuns, 1);
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(0).isEmpty());
    EXPECT_EQ(controller->document().tallyMap().shotSelection(1).size(), 1);
}

TEST_F(EditingComfortsByDefaultTest, QuitAfterAnEditByDefaultAsksNothing)
{
    assignFirstShotToLightOne();
    EXPECT_TRUE(main.window->close());
    EXPECT_TRUE(prompt->askedAbout.isEmpty());
}

TEST_F(EditingComfortsByDefaultTest, TheEditorByDefaultHasNoCancelAndEscapeKeepsTheTicks)
{
    EXPECT_FALSE(main.menu->shotEditorCancelAction()->isChecked());
    EditViewController* editor = openEditorOfLightOne();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->cancelButton->isHidden());
    qobject_cast<QAbstractButton*>(editor->table->cellWidget(0, 0))->click();
    pressEscape(editor);
    ASSERT_EQ(controller->document().tallyMap().shotSelection(0).size(), 1);
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).at(0)->name, QStringLiteral("Cam 1"));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));
}

TEST_F(EditingComfortsByDefaultTest, ClosingTheEditorByDefaultAnyWayKeepsTheTicks)
{
    EditViewController* editor = openEditorOfLightOne();
    ASSERT_NE(editor, nullptr);
    qobject_cast<QAbstractButton*>(editor->table->cellWidget(1, 0))->click();
    editor->close();
    ASSERT_EQ(controller->document().tallyMap().shotSelection(0).size(), 1);
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).at(0)->name, QStringLiteral("Cam 2"));
}

TEST_F(EditingComfortsByDefaultTest, ChoosingAskBeforeDiscardingChangesTurnsOnTheMarkerAndThePromptTogether)
{
    main.menu->askBeforeDiscardingChangesAction()->trigger();
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::askBeforeDiscardingChanges));
    assignFirstShotToLightOne();
    EXPECT_EQ(main.window->displayedTitle(), QStringLiteral("Untitled.tlx *"));
    prompt->answers = { SaveChangesPrompt::Answer::cancel };
    EXPECT_FALSE(main.window->close());
    EXPECT_EQ(prompt->askedAbout, QStringList { QStringLiteral("Untitled.tlx") });
}

TEST_F(EditingComfortsByDefaultTest, ChoosingCancelInShotEditorGivesTheNextEditorItsCancel)
{
    main.menu->shotEditorCancelAction()->trigger();
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::shotEditorCancel));
    EditViewController* editor = openEditorOfLightOne();
    ASSERT_NE(editor, nullptr);
    EXPECT_FALSE(editor->cancelButton->isHidden());
}

TEST_F(EditingComfortsTest, NewWithChangesAsksFirstAndCancelKeepsTheMap)
{
    assignFirstShotToLightOne();
    prompt->answers = { SaveChangesPrompt::Answer::cancel };
    controller->newDocument(nullptr);
    EXPECT_EQ(prompt->askedAbout, QStringList { QStringLiteral("Untitled.tlx") });
    EXPECT_TRUE(controller->document().isEdited());
    EXPECT_EQ(controller->document().tallyMap().shotSelection(0).size(), 1);
}

TEST_F(EditingComfortsTest, NewAfterDiscardingEmptiesEveryLightAndForgetsTheFile)
{
    const QString path = writeFile(QStringLiteral("studio.tlx"), "0|Cam 1\r\n1|Cam 2\r\n");
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    ASSERT_EQ(main.window->windowTitle(), QStringLiteral("studio.tlx"));
    assignFirstShotToLightOne();
    prompt->answers = { SaveChangesPrompt::Answer::discard };
    controller->newDocument(nullptr);
    for (qsizetype light = 0; light < TallyMap::numberOfLights; ++light) {
        EXPECT_TRUE(controller->document().tallyMap().shotSelection(light).isEmpty()) << light;
    }
    EXPECT_FALSE(controller->document().hasFile());
    EXPECT_FALSE(controller->document().isEdited());
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("Untitled.tlx"));
    // The file on disk is as it was: nothing was saved.
    EXPECT_EQ(readFile(path), QByteArray("0|Cam 1\r\n1|Cam 2\r\n"));
    // The next save asks where to put the new map.
    const QString other = directory.filePath(QStringLiteral("new.tlx"));
    panels->saveAnswers = { QUrl::fromLocalFile(other) };
    controller->saveDocument(nullptr);
    EXPECT_EQ(panels->saveRuns, 1);
    EXPECT_EQ(readFile(other), QByteArray("0|\r\n1|\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
}

TEST_F(EditingComfortsByDefaultTest, NewAsksNothingAndTheLightsGoOffAtTheNextTick)
{
    assignFirstShotToLightOne();
    tick();
    ASSERT_EQ(controller->tallyStateDisplays().at(0)->mode, TallyMode::live);
    controller->newDocument(nullptr);
    EXPECT_TRUE(prompt->askedAbout.isEmpty());
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(0).isEmpty());
    tick();
    EXPECT_EQ(controller->tallyStateDisplays().at(0)->mode, TallyMode::off);
}

TEST_F(EditingComfortsByDefaultTest, NewIsTheFirstEntryOfTheFileMenuWithTheNewKey)
{
    const QList<QAction*> items = main.menu->fileMenu()->actions();
    ASSERT_FALSE(items.isEmpty());
    EXPECT_EQ(items.first()->text(), QStringLiteral("&New"));
    EXPECT_EQ(items.first()->shortcut(), QKeySequence(QKeySequence::New));
}
