#include "dialogs/EditViewController.h"

#include "base/ModalSession.h"
#include "base/UserDefaults.h"
#include "mainwindow/ModalPanelProbe.h"
#include "model/OnAirShot.h"
#include "support/QtPrinters.h"
#include "support/ShownText.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QImage>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

ShotPtr makeShot(const QString& shotId, const QString& name)
{
    auto shot = std::make_shared<Shot>(name);
    shot->shotId = shotId;
    return shot;
}

class EditViewControllerTest : public testing::Test {
protected:
    EditViewControllerTest()
    {
        // The editor reads and writes the standard preferences: keep them in
        // a private file, never the user's.
        UserDefaults::standardUserDefaults().useSettingsFile(settingsFile());
        Preferences::registerDefaults();
    }

    QString settingsFile() const { return m_dir.filePath(QStringLiteral("Mixdesk Tally.conf")); }

    static void setShowEmptyLayers(bool show)
    {
        UserDefaults::standardUserDefaults().setBool(Preferences::showEmptyLayers, show);
    }

    QCheckBox* row(int index) const
    {
        auto* checkBox = qobject_cast<QCheckBox*>(editor->table->cellWidget(index, 0));
        EXPECT_NE(checkBox, nullptr) << "row " << index;
        return checkBox;
    }

    QStringList rowTitles() const
    {
        QStringList titles;
        for (int index = 0; index < editor->table->rowCount(); ++index) {
            titles.append(row(index)->text());
        }
        return titles;
    }

    QList<bool> rowTicks() const
    {
        QList<bool> ticks;
        for (int index = 0; index < editor->table->rowCount(); ++index) {
            ticks.append(row(index)->isChecked());
        }
        return ticks;
    }

    ShotList lightsList() const { return editor->representedObject().value(1); }

    // Made after the preferences are in place, as the main window does.
    void makeEditor(const ShotList& current, const ShotList& assigned)
    {
        editor = std::make_unique<EditViewController>();
        editor->setRepresentedObject({ current, assigned });
    }

    QTemporaryDir m_dir;
    std::unique_ptr<EditViewController> editor;
};

TEST_F(EditViewControllerTest, NewEditorStartsEmptyWithOneColumnTable)
{
    editor = std::make_unique<EditViewController>();

    EXPECT_EQ(editor->lightIndex, 0);
    ASSERT_NE(editor->table, nullptr);
    EXPECT_EQ(editor->table->columnCount(), 1);
    EXPECT_EQ(editor->table->rowCount(), 0);
    EXPECT_TRUE(editor->usableShotList.isEmpty());
    EXPECT_TRUE(editor->shotLists.isEmpty());
    EXPECT_TRUE(editor->representedObject().isEmpty());
    EXPECT_EQ(editor->numberOfRowsInTableView(editor->table), 0);
}

TEST_F(EditViewControllerTest, RowsAreCheckBoxesTitledWithNamesAndTaggedWithRows)
{
    const ShotPtr wide = makeShot("1", "Wide");
    const ShotPtr close = makeShot("2", "Close");
    const ShotPtr stage = makeShot("3", "Stage");

    makeEditor({ wide, close, stage }, { stage, wide });

    EXPECT_EQ(editor->numberOfRowsInTableView(editor->table), 3);
    EXPECT_EQ(rowTitles(), (QStringList { "Wide", "Close", "Stage" }));
    EXPECT_EQ(rowTicks(), (QList<bool> { true, false, true }));
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(row(index)->property("tag").toInt(), index);
    }
    EXPECT_EQ(editor->usableShotList, (ShotList { wide, close, stage }));
}

TEST_F(EditViewControllerTest, AnOutputNamedLikeAnInputIsMarkedAndEachRowTicksItsOwnShot)
{
    const ShotPtr scene = makeShot("Recording", "Recording");
    const ShotPtr wide = makeShot("Wide", "Wide");
    const ShotPtr recording = OnAirShot::make(OnAirShot::Output::recording, false);
    const ShotPtr streaming = OnAirShot::make(OnAirShot::Output::streaming, false);
    makeEditor({ scene, wide, recording, streaming }, {});

    // Only the output whose name a scene also has is marked.
    EXPECT_EQ(rowTitles(), (QStringList { "Recording", "Wide", "Recording (output)", "Streaming" }));
    EXPECT_TRUE(row(0)->toolTip().isEmpty());
    EXPECT_TRUE(row(2)->toolTip().contains(QLatin1String("recording")));
    EXPECT_TRUE(row(3)->toolTip().contains(QLatin1String("streaming")));

    row(2)->click();
    EXPECT_EQ(lightsList(), (ShotList { recording }));
    EXPECT_EQ(rowTicks(), (QList<bool> { false, false, true, false }));
    row(0)->click();
    EXPECT_EQ(lightsList(), (ShotList { recording, scene }));
    row(2)->click();
    EXPECT_EQ(lightsList(), (ShotList { scene }));
}

TEST_F(EditViewControllerTest, AnAmpersandInAShotNameIsPaintedAsItIsAndMakesNoShortcut)
{
    makeEditor({ makeShot("1", "Q&A Panel"), makeShot("2", "Rock && Roll") }, {});
    TextRecordingStyle style;
    for (int index = 0; index < 2; ++index) {
        row(index)->setStyle(&style);
        style.drawn.clear();
        row(index)->grab();
        ASSERT_FALSE(style.drawn.isEmpty());
        EXPECT_EQ(shownText(style.drawn.last()), index == 0 ? "Q&A Panel" : "Rock && Roll");
        EXPECT_TRUE(QKeySequence::mnemonic(row(index)->text()).isEmpty());
        row(index)->setStyle(nullptr);
    }
}

TEST_F(EditViewControllerTest, ShowEmptyLayersOffHidesClearLayerNamesButNotBareClearLayer)
{
    setShowEmptyLayers(false);

    makeEditor({ makeShot("1", "Wide"), makeShot("2", "Wide Clear Layer"), makeShot("3", "Clear Layer") }, {});

    EXPECT_EQ(rowTitles(), (QStringList { "Wide", "Clear Layer" }));
    EXPECT_FALSE(editor->showEmptyCheckBox->isChecked());
}

TEST_F(EditViewControllerTest, ShowEmptyLayersByDefaultListsEveryShot)
{
    makeEditor({ makeShot("1", "Wide"), makeShot("2", "Wide Clear Layer") }, {});

    EXPECT_EQ(rowTitles(), (QStringList { "Wide", "Wide Clear Layer" }));
    EXPECT_TRUE(editor->showEmptyCheckBox->isChecked());
}

TEST_F(EditViewControllerTest, NoShotsGiveNoRowsAndClosingKeepsTheLightsList)
{
    const ShotList assigned { makeShot("", "Wide"), makeShot("9", "Close") };
    QList<QObject*> dismissed;
    makeEditor({}, assigned);
    editor->setPresentingViewController([&dismissed](QObject* viewController) { dismissed.append(viewController); });

    EXPECT_EQ(editor->table->rowCount(), 0);
    editor->doneButton->click();

    EXPECT_EQ(dismissed, QList<QObject*> { editor.get() });
    EXPECT_EQ(lightsList(), assigned);
}

TEST_F(EditViewControllerTest, FileRecordWithEmptyShotIdShowsUntickedAndUntickingCannotRemoveIt)
{
    const ShotPtr fromFile = makeShot("", "Wide");
    const ShotPtr current = makeShot("7", "Wide");
    makeEditor({ current }, { fromFile });

    EXPECT_FALSE(row(0)->isChecked());

    row(0)->click(); // tick: the current record joins the list
    EXPECT_EQ(lightsList(), (ShotList { fromFile, current }));
    row(0)->click(); // untick: only the record with shotId 7 goes
    EXPECT_EQ(lightsList(), ShotList { fromFile });
    row(0)->setChecked(false);
    editor->checkBoxToggleWithSender(row(0));
    EXPECT_EQ(lightsList(), ShotList { fromFile });
}

TEST_F(EditViewControllerTest, CurrentShotWithEmptyShotIdMatchesFileRecord)
{
    const ShotPtr fromFile = makeShot("", "Wide");
    makeEditor({ makeShot("", "Some other name") }, { fromFile });

    EXPECT_TRUE(row(0)->isChecked());
    row(0)->click();

    EXPECT_TRUE(lightsList().isEmpty());
}

TEST_F(EditViewControllerTest, TickingAppendsAtTheEndAndUntickingRemovesOnlyTheFirstWithThatShotId)
{
    const ShotPtr wide = makeShot("1", "Wide");
    const ShotPtr close = makeShot("2", "Close");
    const ShotPtr oldClose = makeShot("2", "Close (old)");
    const ShotPtr stage = makeShot("3", "Stage");
    makeEditor({ wide, close, stage }, { stage });

    row(0)->click();
    EXPECT_EQ(lightsList(), (ShotList { stage, wide }));
    EXPECT_EQ(lightsList().last().get(), wide.get()); // the very record, not a copy

    editor->shotLists[1] = { oldClose, stage, wide, close };
    editor->toggleShowEmptyWithSender(nullptr);
    ASSERT_TRUE(row(1)->isChecked());
    row(1)->click();

    EXPECT_EQ(lightsList(), (ShotList { stage, wide, close }));
}

TEST_F(EditViewControllerTest, HiddenRowsKeepTheirAssignmentsWhenShowEmptyLayersIsSwitchedOff)
{
    const ShotPtr wide = makeShot("1", "Wide");
    const ShotPtr empty = makeShot("2", "Wide Clear Layer");
    makeEditor({ wide, empty }, { empty, wide });

    editor->showEmptyCheckBox->click();
    EXPECT_EQ(rowTitles(), QStringList { "Wide" });
    row(0)->click(); // untick Wide while the empty layer is hidden
    EXPECT_EQ(lightsList(), ShotList { empty });

    editor->showEmptyCheckBox->click();
    EXPECT_EQ(rowTitles(), (QStringList { "Wide", "Wide Clear Layer" }));
    EXPECT_EQ(rowTicks(), (QList<bool> { false, true }));
}

TEST_F(EditViewControllerTest, ShowEmptyCheckBoxStoresThePreferenceAndRebuildsTheRows)
{
    makeEditor({ makeShot("1", "Wide Clear Layer"), makeShot("2", "Wide") }, {});

    editor->showEmptyCheckBox->click();

    EXPECT_FALSE(UserDefaults(settingsFile()).boolForKey(Preferences::showEmptyLayers));
    EXPECT_EQ(rowTitles(), QStringList { "Wide" });
    EXPECT_EQ(row(0)->property("tag").toInt(), 0);

    editor->showEmptyCheckBox->click();

    EXPECT_TRUE(UserDefaults(settingsFile()).boolForKey(Preferences::showEmptyLayers));
    EXPECT_EQ(rowTitles(), (QStringList { "Wide Clear Layer", "Wide" }));
}

TEST_F(EditViewControllerTest, ToggleShowEmptyRebuildsFromTheStoredValueOnly)
{
    makeEditor({ makeShot("1", "Wide Clear Layer"), makeShot("2", "Wide") }, {});

    editor->toggleShowEmptyWithSender(nullptr);
    EXPECT_EQ(editor->table->rowCount(), 2);

    setShowEmptyLayers(false);
    EXPECT_EQ(editor->table->rowCount(), 2); // nothing changes until the action runs
    editor->toggleShowEmptyWithSender(nullptr);
    EXPECT_EQ(rowTitles(), QStringList { "Wide" });
}

TEST_F(EditViewControllerTest, DoneReachesThePresenter)
{
    makeEditor({ makeShot("1", "Wide") }, {});
    editor->doneButton->click(); // no presenter yet: nothing to reach, nothing breaks

    QList<QObject*> dismissed;
    editor->setPresentingViewController([&dismissed](QObject* viewController) { dismissed.append(viewController); });
    editor->doneButton->click();

    EXPECT_EQ(dismissed, QList<QObject*> { editor.get() });
}

TEST_F(EditViewControllerTest, ClosingTheSheetDismissesOnceLikeDone)
{
    makeEditor({ makeShot("1", "Wide") }, {});
    int dismissals = 0;
    // The presenter closes the editor as it dismisses it, as the main window does.
    editor->setPresentingViewController([this, &dismissals](QObject*) {
        ++dismissals;
        editor->close();
    });
    editor->show();

    editor->doneButton->click();
    EXPECT_EQ(dismissals, 1);
    EXPECT_FALSE(editor->isVisible());

    editor->show();
    editor->close();
    EXPECT_EQ(dismissals, 2);
    EXPECT_FALSE(editor->isVisible());
}

TEST_F(EditViewControllerTest, OpenEditorIsAWindowModalSheetThatLetsTicksGoOn)
{
    QWidget mainWindow;
    mainWindow.show();
    editor = std::make_unique<EditViewController>();
    editor->setParent(&mainWindow, editor->windowFlags());
    editor->setRepresentedObject({ { makeShot("1", "Wide") }, {} });
    installModalPanelProbe();

    editor->show();
    QApplication::processEvents();

    EXPECT_TRUE(editor->isWindow());
    EXPECT_EQ(editor->windowModality(), Qt::WindowModal);
    EXPECT_EQ(QApplication::activeModalWidget(), editor.get());
    EXPECT_FALSE(ModalSession::isActive());

    editor->close();
    editor.reset();
    ModalSession::setProbe({});
}

TEST_F(EditViewControllerTest, LightIndexIsCarriedBack)
{
    makeEditor({}, {});
    editor->lightIndex = 5;

    EXPECT_EQ(editor->lightIndex, 5);
    EXPECT_EQ(editor->representedObject().size(), 2);
}

TEST_F(EditViewControllerTest, SavesAScreenshotWithSomeShotsTicked)
{
    const ShotList shots { makeShot("1", "Camera 1 Wide"), makeShot("2", "Camera 2 Close"), makeShot("3", "Stage Left"),
        makeShot("4", "Stage Right"), makeShot("5", "Graphics Clear Layer"), makeShot("6", "Audience") };
    makeEditor(shots, { shots.at(0), shots.at(3) });
    editor->show();
    QApplication::processEvents();

    const QImage image = editor->grab().toImage();
    const QString directory = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
    ASSERT_TRUE(QDir().mkpath(directory));
    ASSERT_FALSE(image.isNull());
    EXPECT_TRUE(image.save(directory + QStringLiteral("/editor.png")));
    EXPECT_EQ(rowTicks(), (QList<bool> { true, false, false, true, false, false }));
}

using EditViewControllerDeathTest = EditViewControllerTest;

TEST_F(EditViewControllerDeathTest, RepresentedObjectWithNoListsStops)
{
    editor = std::make_unique<EditViewController>();
    EXPECT_DEATH(editor->setRepresentedObject({}), "fatal error: the shot editor was given no shot lists");
}

TEST_F(EditViewControllerDeathTest, RepresentedObjectWithOneListStopsWhenARowIsMade)
{
    editor = std::make_unique<EditViewController>();
    EXPECT_DEATH(editor->setRepresentedObject({ { makeShot("1", "Wide") } }),
        "fatal error: the shot editor needs two shot lists, it has 1");
}

TEST_F(EditViewControllerDeathTest, RowToggledBySomethingElseThanACheckBoxStops)
{
    makeEditor({ makeShot("1", "Wide") }, {});
    QObject notACheckBox;
    EXPECT_DEATH(editor->checkBoxToggleWithSender(&notACheckBox), "fatal error: a shot row was toggled by something");
}

TEST_F(EditViewControllerDeathTest, CheckBoxTagOutsideTheRowsStops)
{
    makeEditor({ makeShot("1", "Wide") }, {});
    QCheckBox stray;
    stray.setProperty("tag", 4);
    EXPECT_DEATH(editor->checkBoxToggleWithSender(&stray), "fatal error: check box tag 4 outside");
}

TEST_F(EditViewControllerDeathTest, CellForAColumnTheTableHasNotStops)
{
    makeEditor({ makeShot("1", "Wide") }, {});
    EXPECT_DEATH(editor->tableViewViewForTableColumnRow(editor->table, 1, 0),
        "fatal error: the shot editor's table has no column 1");
}

} // namespace

TEST_F(EditViewControllerTest, CancelHandsBackTheListAsItCameAfterTicking)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::shotEditorCancel, true);
    const ShotPtr wide = makeShot("1", "Wide");
    const ShotPtr stage = makeShot("3", "Stage");
    QList<ShotList> handedBack;
    makeEditor({ wide, stage }, { stage });
    editor->setPresentingViewController(
        [this, &handedBack](QObject*) { handedBack.append(editor->representedObject().value(1)); });

    row(0)->click();
    row(1)->click();
    ASSERT_EQ(lightsList(), (ShotList { wide }));
    editor->cancelButton->click();

    EXPECT_EQ(handedBack, (QList<ShotList> { { stage } }));
}

TEST_F(EditViewControllerTest, EscapeCancelsAndReturnIsDone)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::shotEditorCancel, true);
    const ShotPtr wide = makeShot("1", "Wide");
    QList<ShotList> handedBack;
    makeEditor({ wide }, {});
    editor->setPresentingViewController(
        [this, &handedBack](QObject*) { handedBack.append(editor->representedObject().value(1)); });
    editor->show();
    QApplication::setActiveWindow(editor.get());

    row(0)->click();
    QTest::keyClick(editor.get(), Qt::Key_Escape);
    ASSERT_EQ(handedBack.size(), 1);
    EXPECT_TRUE(handedBack.last().isEmpty());

    row(0)->click();
    QTest::keyClick(editor.get(), Qt::Key_Return);
    ASSERT_EQ(handedBack.size(), 2);
    EXPECT_EQ(handedBack.last(), (ShotList { wide }));
}

TEST_F(EditViewControllerTest, ByDefaultThereIsNoCancelAndEscapeHandsBackTheTicksLikeDone)
{
    const ShotPtr wide = makeShot("1", "Wide");
    QList<ShotList> handedBack;
    makeEditor({ wide }, {});
    editor->setPresentingViewController(
        [this, &handedBack](QObject*) { handedBack.append(editor->representedObject().value(1)); });
    editor->show();
    QApplication::setActiveWindow(editor.get());
    EXPECT_FALSE(editor->cancelButton->isVisible());
    EXPECT_TRUE(editor->doneButton->isVisible());

    row(0)->click();
    QTest::keyClick(editor.get(), Qt::Key_Escape);
    ASSERT_EQ(handedBack.size(), 1);
    EXPECT_EQ(handedBack.last(), (ShotList { wide }));
}

TEST_F(EditViewControllerTest, TheTitleNamesTheLightByItsNumber)
{
    EXPECT_EQ(EditViewController::titleForLight(2), QStringLiteral("Assign Shots to Light 3"));
}

TEST_F(EditViewControllerTest, AnAssignedShotTheSourceDoesNotReportIsNamedUnderTheTable)
{
    const ShotPtr wide = makeShot("1", "Wide");
    const ShotPtr typo = makeShot("", "Wdie");
    makeEditor({ wide, makeShot("2", "Close") }, { wide, typo });
    ASSERT_NE(editor->missingShotsLabel, nullptr);
    EXPECT_FALSE(editor->missingShotsLabel->isHidden());
    EXPECT_TRUE(editor->missingShotsLabel->text().contains(QStringLiteral("Wdie")))
        << editor->missingShotsLabel->text().toStdString();
    EXPECT_FALSE(editor->missingShotsLabel->text().contains(QStringLiteral("Wide")));
}

TEST_F(EditViewControllerTest, NoShotIsCalledMissingWhenEveryAssignedShotIsReportedOrNoneAreKnown)
{
    const ShotPtr wide = makeShot("1", "Wide");
    makeEditor({ wide }, { wide });
    EXPECT_TRUE(editor->missingShotsLabel->isHidden());
    makeEditor({}, { wide });
    EXPECT_TRUE(editor->missingShotsLabel->isHidden());
}
