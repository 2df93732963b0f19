// The segues of the main window: which may run, what the shot editor, the
// password dialog and the light test panel receive, how they are presented,
// and what comes back when they close.

#include "base/ModalSession.h"
#include "dialogs/EditViewController.h"
#include "dialogs/TestViewController.h"
#include "hardware/CaptureBackend.h"
#include "hardware/LightCommand.h"
#include "support/CaptureFile.h"
#include "support/FakeShotSource.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/SegueWidgetFixture.h"

#include <QCheckBox>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class SegueTest : public SegueWidgetFixture {
protected:
    EditViewController* openEditor() const
    {
        for (auto it = presentations.crbegin(); it != presentations.crend(); ++it) {
            auto* editor = qobject_cast<EditViewController*>(it->viewController.data());
            if (editor != nullptr && editor->isVisible()) {
                return editor;
            }
        }
        return nullptr;
    }

    TestViewController* openTestPanel() const
    {
        for (auto it = presentations.crbegin(); it != presentations.crend(); ++it) {
            auto* panel = qobject_cast<TestViewController*>(it->viewController.data());
            if (panel != nullptr && panel->isVisible()) {
                return panel;
            }
        }
        return nullptr;
    }

    // The editor's check box of the row showing the named shot.
    static QCheckBox* editorRow(EditViewController* editor, const QString& name)
    {
        for (int row = 0; row < editor->table->rowCount(); ++row) {
            auto* box = qobject_cast<QCheckBox*>(editor->table->cellWidget(row, 0));
            if (box != nullptr && box->text() == name) {
                return box;
            }
        }
        return nullptr;
    }

    static void clickDone(EditViewController* editor) { editor->doneButton->click(); }

    // The window with Cam 1 live and Cam 2 in preview known, light 1 showing
    // Cam 1, and editing enabled by that first answer.
    void openWindowWithShots()
    {
        answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
        openWindow();
        tick();
        ASSERT_TRUE(controller->enableEditing());
        controller->document().tallyMap().setShotSelection(0, { controller->shotList().at(0) });
        controller->refreshAssignmentTitles();
        device->reports.clear();
    }

    static QList<quint8> tickBytesFirstLive()
    {
        QList<quint8> bytes { 0xB1, 0x21 };
        for (quint8 light = 2; light <= 8; ++light) {
            bytes << static_cast<quint8>(0x00 | light) << static_cast<quint8>(0x20 | light);
        }
        return bytes;
    }
};

using Mode = PasswordViewController::Mode;

} // namespace

TEST_F(SegueTest, WhileLockedAnAssignmentButtonOpensNoEditor)
{
    openWindowWithShots();
    clickLock();
    ASSERT_TRUE(locked());
    EXPECT_FALSE(controller->shouldPerformSegueWithIdentifier(ViewController::editorSegueIdentifier, button(1)));
    button(1)->click();
    EXPECT_EQ(presented(ViewController::editorSegueIdentifier), 0);
    EXPECT_EQ(main.window->findChild<EditViewController*>(), nullptr);

    clickLock();
    button(1)->click();
    EXPECT_EQ(presented(ViewController::editorSegueIdentifier), 1);
    ASSERT_NE(openEditor(), nullptr);
    clickDone(openEditor());
}

TEST_F(SegueTest, ThePasswordAndTestSeguesAreNeverRefusedEvenWhileLocked)
{
    openWindowWithShots();
    clickLock();
    ASSERT_TRUE(locked());
    EXPECT_TRUE(controller->shouldPerformSegueWithIdentifier(ViewController::passwordSegueIdentifier, nullptr));
    EXPECT_TRUE(controller->shouldPerformSegueWithIdentifier(ViewController::testSegueIdentifier, nullptr));

    main.menu->testLightsAction()->trigger();
    ASSERT_NE(openTestPanel(), nullptr);
    openTestPanel()->closeButton->click();
    EXPECT_EQ(openTestPanel(), nullptr);

    controller->performSegueWithIdentifier(ViewController::passwordSegueIdentifier, nullptr);
    ASSERT_NE(openPasswordDialog(), nullptr);
    cancelPassword();
    EXPECT_EQ(presented(ViewController::testSegueIdentifier), 1);
    EXPECT_EQ(passwordDialogs(), 1);
}

TEST_F(SegueTest, TheButtonTaggedTwelveOpensTheEditorForLightIndexTwoWithTheShotListAndThatLightsAssignment)
{
    openWindowWithShots();
    const ShotPtr fromFile = record(QStringLiteral("Cam 2"));
    controller->document().tallyMap().setShotSelection(2, { fromFile, controller->shotList().at(0) });
    QPushButton* tagged12 = button(3);
    ASSERT_EQ(tagged12->property("tag").toInt(), 12);
    tagged12->click();

    EditViewController* editor = openEditor();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->lightIndex, 2);
    const QList<ShotList> lists = editor->representedObject();
    ASSERT_EQ(lists.size(), 2);
    // The same records, not copies: the editor shares them with the window.
    EXPECT_EQ(lists[0], controller->shotList());
    EXPECT_EQ(lists[1], controller->document().tallyMap().shotSelection(2));
    EXPECT_EQ(lists[1].at(0).get(), fromFile.get());
    clickDone(editor);
}

TEST_F(SegueTest, FollowingMixdeskTheEditorOffersToHideEmptyLayers)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::showEmptyLayers, false);
    answer({ { "1", "Cam 1", true, false }, { "2", "Titles Clear Layer", false, false } });
    openWindow();
    tick();
    ASSERT_TRUE(controller->enableEditing());
    button(1)->click();
    EditViewController* editor = openEditor();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->showEmptyCheckBox->isVisibleTo(editor));
    EXPECT_NE(editorRow(editor, QStringLiteral("Cam 1")), nullptr);
    EXPECT_EQ(editorRow(editor, QStringLiteral("Titles Clear Layer")), nullptr);
    clickDone(editor);
}

TEST_F(SegueTest, FollowingAnotherSwitcherTheEditorHasNoEmptyLayersOptionAndListsEveryShot)
{
    // Stored while following Mixdesk; it means nothing to an ATEM.
    UserDefaults::standardUserDefaults().setBool(Preferences::showEmptyLayers, false);
    for (const ShotSource::Kind kind :
        { ShotSource::Kind::atem, ShotSource::Kind::obsStudio, ShotSource::Kind::tslUmd, ShotSource::Kind::vmix }) {
        auto owned = std::make_unique<FakeShotSource>();
        owned->sourceKind = kind;
        for (const QString& name : { QStringLiteral("Cam 1"), QStringLiteral("Titles Clear Layer") }) {
            auto shot = std::make_shared<Shot>(name);
            shot->shotId = name;
            owned->shots.append(shot);
        }
        presentations.clear();
        openWindow(std::move(owned));
        tick();
        ASSERT_TRUE(controller->enableEditing());
        button(1)->click();
        EditViewController* editor = openEditor();
        ASSERT_NE(editor, nullptr) << static_cast<int>(kind);
        EXPECT_FALSE(editor->showEmptyCheckBox->isVisibleTo(editor)) << static_cast<int>(kind);
        EXPECT_NE(editorRow(editor, QStringLiteral("Titles Clear Layer")), nullptr) << static_cast<int>(kind);
        EXPECT_EQ(editor->table->rowCount(), 2);
        clickDone(editor);
        main.window.reset();
    }
}

TEST_F(SegueTest, TheEditorIsAWindowModalSheetOverTheMainWindow)
{
    openWindowWithShots();
    button(1)->click();
    ASSERT_EQ(presentations.size(), 1);
    EXPECT_EQ(presentations[0].modality, Qt::WindowModal);
    EditViewController* editor = openEditor();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->parentWidget(), main.window.get());
    EXPECT_TRUE(editor->isWindow());
    EXPECT_FALSE(ModalSession::isActive());
    clickDone(editor);
}

TEST_F(SegueTest, UntickingTheOnlyShotInTheEditorLeavesTheLightEmptyAndTitledNotAssigned)
{
    openWindowWithShots();
    controller->document().tallyMap().setShotSelection(4, { controller->shotList().at(0) });
    controller->refreshAssignmentTitles();
    ASSERT_EQ(button(5)->text(), QStringLiteral("Cam 1"));

    button(5)->click();
    EditViewController* editor = openEditor();
    ASSERT_NE(editor, nullptr);
    QCheckBox* cam1 = editorRow(editor, QStringLiteral("Cam 1"));
    ASSERT_NE(cam1, nullptr);
    ASSERT_TRUE(cam1->isChecked());
    cam1->click();
    clickDone(editor);

    EXPECT_EQ(openEditor(), nullptr);
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(4).isEmpty());
    EXPECT_EQ(button(5)->text(), QStringLiteral("Not Assigned"));
}

TEST_F(SegueTest, TickingAShotInTheEditorAssignsItToTheLightRetitlesItsButtonAndDrivesItsLamp)
{
    openWindowWithShots();
    ASSERT_EQ(button(3)->text(), QStringLiteral("Not Assigned"));
    button(3)->click();
    EditViewController* editor = openEditor();
    ASSERT_NE(editor, nullptr);
    editorRow(editor, QStringLiteral("Cam 2"))->click();
    clickDone(editor);

    ASSERT_EQ(controller->document().tallyMap().shotSelection(2).size(), 1);
    EXPECT_EQ(controller->document().tallyMap().shotSelection(2).at(0).get(), controller->shotList().at(1).get());
    EXPECT_EQ(button(3)->text(), QStringLiteral("Cam 2"));
    tick();
    const QList<quint8> bytes = device->commandBytes();
    ASSERT_EQ(bytes.size(), 16);
    EXPECT_EQ(bytes.mid(4, 2), QList<quint8>({ 0x03, 0xD3 })); // light 3 in preview
}

TEST_F(SegueTest, ClosingTheEditorByItsCloseBoxKeepsWhatItHolds)
{
    openWindowWithShots();
    button(2)->click();
    EditViewController* editor = openEditor();
    ASSERT_NE(editor, nullptr);
    editorRow(editor, QStringLiteral("Cam 1"))->click();
    editor->close();
    ASSERT_EQ(controller->document().tallyMap().shotSelection(1).size(), 1);
    EXPECT_EQ(button(2)->text(), QStringLiteral("Cam 1"));
}

TEST_F(SegueTest, DismissingThePasswordDialogNeverTouchesTheAssignments)
{
    openWindowWithShots();
    controller->document().tallyMap().setShotSelection(3, { controller->shotList().at(1) });
    controller->refreshAssignmentTitles();
    const QList<ShotList> before = controller->document().tallyMap().shotSelections();

    chooseRequirement();
    clickLock();
    typePassword(QStringLiteral("secret")); // set, accepted
    clickLock();
    typePassword(QStringLiteral("wrong"));
    cancelPassword(); // collect, cancelled
    clickLock();
    typePassword(QStringLiteral("secret")); // collect, matched
    ASSERT_EQ(passwordDialogs(), 3);

    EXPECT_EQ(controller->document().tallyMap().shotSelections(), before);
    EXPECT_EQ(button(4)->text(), QStringLiteral("Cam 2"));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));
}

TEST_F(SegueTest, TicksGoOnByTheTimerWhileTheEditorSheetIsOpen)
{
    openWindowWithShots();
    button(1)->click();
    ASSERT_NE(openEditor(), nullptr);
    const int runsBefore = platform->runs;
    controller->timer()->start();
    EXPECT_TRUE(QTest::qWaitFor([&] { return device->reports.size() >= 32; }, 5000));
    EXPECT_GE(platform->runs, runsBefore + 2);
    EXPECT_EQ(device->commandBytes().mid(0, 16), tickBytesFirstLive());
    ASSERT_NE(openEditor(), nullptr); // still open all along
    clickDone(openEditor());
}

TEST_F(SegueTest, TicksAreHeldBackWhileThePasswordDialogIsUpAndGoOnAfterIt)
{
    openWindowWithShots();
    chooseRequirement();
    clickLock();
    ASSERT_NE(openPasswordDialog(), nullptr);
    EXPECT_TRUE(ModalSession::isActive());
    const int runsBefore = platform->runs;
    controller->timer()->start();
    QTest::qWait(700);
    EXPECT_EQ(platform->runs, runsBefore);
    EXPECT_TRUE(device->reports.isEmpty());

    cancelPassword();
    EXPECT_TRUE(QTest::qWaitFor([&] { return device->reports.size() >= 32; }, 5000));
    EXPECT_GE(platform->runs, runsBefore + 2);
}

TEST_F(SegueTest, TicksAreHeldBackWhileTheTestPanelIsUpAndItClosesWithoutComingBackThroughDismiss)
{
    openWindowWithShots();
    const QList<ShotList> before = controller->document().tallyMap().shotSelections();
    main.menu->testLightsAction()->trigger();
    ASSERT_EQ(presentations.size(), 1);
    EXPECT_EQ(presentations[0].identifier, ViewController::testSegueIdentifier);
    EXPECT_EQ(presentations[0].modality, Qt::ApplicationModal);
    EXPECT_TRUE(presentations[0].wasActiveModal);
    const QPointer<TestViewController> panel = openTestPanel();
    ASSERT_NE(panel, nullptr);

    const int runsBefore = platform->runs;
    controller->timer()->start();
    QTest::qWait(700);
    EXPECT_EQ(platform->runs, runsBefore);
    EXPECT_TRUE(device->reports.isEmpty());

    // Were it to pass through dismissViewController the process would stop:
    // the panel is no shot editor.
    panel->closeButton->click();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(panel.isNull());
    EXPECT_EQ(controller->document().tallyMap().shotSelections(), before);
    EXPECT_TRUE(QTest::qWaitFor([&] { return platform->runs >= runsBefore + 2; }, 5000));
    EXPECT_EQ(device->reports.size() % 16, 0);
    EXPECT_GE(device->reports.size(), 32);
}

TEST_F(SegueTest, EscapeClosesTheTestPanelAndLetsTicksGoOn)
{
    openWindowWithShots();
    main.menu->testLightsAction()->trigger();
    const QPointer<TestViewController> panel = openTestPanel();
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(ModalSession::isActive());
    QTest::keyClick(panel, Qt::Key_Escape);
    EXPECT_FALSE(ModalSession::isActive());
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(panel.isNull());
    EXPECT_EQ(device->reports.size(), 16) << "the switcher's lights come back the moment the panel goes";
    tick();
    EXPECT_EQ(device->reports.size(), 32);
}

TEST_F(SegueTest, TheTestPanelsBytesNeverInterleaveWithTicksAndTicksResumeAfterItCloses)
{
    const QString capturePath = directory.filePath(QStringLiteral("capture.hex"));
    USBHIDAppDelegate::setSharedBackendForTesting(std::make_unique<CaptureBackend>(capturePath));
    openWindowWithShots();
    const QStringList tickLines = CaptureFile::lines(tickBytesFirstLive());
    controller->timer()->start();
    ASSERT_TRUE(QTest::qWaitFor([&] { return CaptureFile::read(capturePath).size() >= 32; }, 5000));
    const QStringList beforePanel = CaptureFile::read(capturePath);
    ASSERT_EQ(beforePanel.size() % 16, 0);
    // (The window's first tick, before light 1 had its shot, was all off.)
    EXPECT_EQ(beforePanel.mid(beforePanel.size() - 16), tickLines);

    main.menu->testLightsAction()->trigger();
    TestViewController* panel = openTestPanel();
    ASSERT_NE(panel, nullptr);
    QCheckBox* program3 = nullptr;
    for (QCheckBox* box : panel->programStackView->findChildren<QCheckBox*>()) {
        if (box->text() == QStringLiteral("3")) {
            program3 = box;
        }
    }
    ASSERT_NE(program3, nullptr);
    program3->click();
    panel->testButton->click();
    // The hand byte and the chase's first two steps, then some ticks' time.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return CaptureFile::read(capturePath).size() >= beforePanel.size() + 1 + 10 + 1; }, 5000));
    QTest::qWait(600);
    QList<quint8> panelBytes { 0xB3 };
    for (const QList<quint8>& step : LightCommand::testSequence()) {
        panelBytes += step;
    }
    panel->closeButton->click();

    const QStringList whileOpen = CaptureFile::read(capturePath).mid(beforePanel.size());
    // The hand byte, the whole first step and at least the second.
    ASSERT_GE(whileOpen.size(), 1 + 10 + 1);
    EXPECT_EQ(whileOpen, CaptureFile::lines(panelBytes).mid(0, whileOpen.size()));

    const qsizetype closedAt = beforePanel.size() + whileOpen.size();
    ASSERT_TRUE(QTest::qWaitFor([&] { return CaptureFile::read(capturePath).size() >= closedAt + 32; }, 5000));
    QTest::qWait(300);
    const QStringList afterPanel = CaptureFile::read(capturePath).mid(closedAt);
    // Only whole ticks again: the chase waits for the next modal panel.
    ASSERT_EQ(afterPanel.size() % 16, 0);
    for (qsizetype first = 0; first < afterPanel.size(); first += 16) {
        EXPECT_EQ(afterPanel.mid(first, 16), tickLines) << "tick at line " << first;
    }
}

using SegueDeathTest = SegueTest;

TEST_F(SegueDeathTest, AnEditorSegueFromSomethingOtherThanAnAssignmentButtonStopsTheProcess)
{
    openWindowWithShots();
    EditViewController editor;
    EXPECT_DEATH(
        controller->prepareForSegue(ViewController::editorSegueIdentifier, &editor, controller->lockTallyCheckBox()),
        "fatal error: the shot editor was asked for by something other than an assignment button");
    EXPECT_DEATH(controller->performSegueWithIdentifier(ViewController::editorSegueIdentifier, nullptr),
        "fatal error: the shot editor was asked for by something other than an assignment button");
}

TEST_F(SegueDeathTest, AnEditorSegueToAnotherKindOfScreenStopsTheProcess)
{
    openWindowWithShots();
    QWidget notAnEditor;
    EXPECT_DEATH(controller->prepareForSegue(ViewController::editorSegueIdentifier, &notAnEditor, button(1)),
        "fatal error: the editor segue leads to something other than the shot editor");
}

TEST_F(SegueDeathTest, AButtonTagOutsideTheMapStopsTheProcess)
{
    openWindowWithShots();
    EditViewController editor;
    QPushButton stray;
    stray.setProperty("tag", 18);
    EXPECT_DEATH(controller->prepareForSegue(ViewController::editorSegueIdentifier, &editor, &stray),
        "fatal error: the button tagged 18 stands for light index 8, outside the tally map's 8 lights");
    stray.setProperty("tag", 9);
    EXPECT_DEATH(controller->prepareForSegue(ViewController::editorSegueIdentifier, &editor, &stray),
        "fatal error: the button tagged 9 stands for light index -1, outside the tally map's 8 lights");
}

TEST_F(SegueDeathTest, ThePasswordSegueToAnotherKindOfScreenStopsTheProcess)
{
    openWindowWithShots();
    EditViewController editor;
    EXPECT_DEATH(controller->prepareForSegue(ViewController::passwordSegueIdentifier, &editor, nullptr),
        "fatal error: the password segue leads to something other than the password dialog");
}

TEST_F(SegueDeathTest, AnEditorComingBackWithFewerThanTwoListsStopsTheProcess)
{
    openWindowWithShots();
    auto* editor = new EditViewController(main.window.get());
    // No shots reported, so the editor itself makes no row that needs the
    // second list.
    editor->setRepresentedObject({ ShotList {} });
    EXPECT_DEATH(controller->dismissViewController(editor),
        "fatal error: the shot editor came back with 1 lists instead of two");
}

TEST_F(SegueDeathTest, AnEditorComingBackForALightOutsideTheMapStopsTheProcess)
{
    openWindowWithShots();
    auto* editor = new EditViewController(main.window.get());
    editor->setRepresentedObject({ controller->shotList(), {} });
    editor->lightIndex = 8;
    EXPECT_DEATH(controller->dismissViewController(editor),
        "fatal error: the shot editor came back for light index 8, outside the tally map's 8 lights");
}

TEST_F(SegueDeathTest, DismissingAnythingButTheEditorOrThePasswordDialogStopsTheProcess)
{
    openWindowWithShots();
    auto* panel = new TestViewController(sendToSharedBox, main.window.get());
    EXPECT_DEATH(controller->dismissViewController(panel),
        "fatal error: TestViewController was dismissed as if it were the shot editor");
    EXPECT_DEATH(
        controller->dismissViewController(nullptr), "fatal error: dismissViewController was given no view controller");
}

namespace {

// Keeps every light report the cycle hands its outputs.
class ReportRecorder : public TallyOutput {
public:
    void publish(const TallySnapshot& snapshot) override { reports.append(snapshot); }

    QList<TallySnapshot> reports;
};

QCheckBox* boxTitled(QWidget* row, const QString& title)
{
    for (QCheckBox* box : row->findChildren<QCheckBox*>()) {
        if (box->text() == title) {
            return box;
        }
    }
    return nullptr;
}

} // namespace

TEST_F(SegueTest, WhileTheTestPanelDrivesTheBoxTheWindowAndEveryOutputShowItsLampsMarkedAsATest)
{
    openWindowWithShots();
    tick(); // the box shows light 1 live
    ReportRecorder outputs;
    controller->ticker().cycle().addOutput(&outputs);
    main.menu->testLightsAction()->trigger();
    const QPointer<TestViewController> panel = openTestPanel();
    ASSERT_NE(panel, nullptr);
    ASSERT_FALSE(outputs.reports.isEmpty());
    EXPECT_TRUE(outputs.reports.last().underTest);
    EXPECT_EQ(outputs.reports.last().lights[0].mode, TallyMode::live) << "the box still shows the last tick";
    EXPECT_TRUE(controller->status().text().startsWith(QStringLiteral("Testing lights")))
        << controller->status().text().toStdString();

    boxTitled(panel->previewStackView, QStringLiteral("4"))->click();
    EXPECT_EQ(outputs.reports.last().lights[3].mode, TallyMode::preview);
    EXPECT_TRUE(outputs.reports.last().underTest);
    EXPECT_EQ(controller->tallyStateDisplays()[3]->mode, TallyMode::preview);
    EXPECT_EQ(controller->tallyStateDisplays()[3]->mark, LampMark::test);

    panel->closeButton->click();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_TRUE(panel.isNull());
    EXPECT_FALSE(outputs.reports.last().underTest) << "the switcher's lights come back the moment the test ends";
    EXPECT_EQ(outputs.reports.last().lights[3].mode, TallyMode::off);
    EXPECT_EQ(outputs.reports.last().lights[0].mode, TallyMode::live);
    EXPECT_EQ(controller->tallyStateDisplays()[3]->mark, LampMark::none);
    EXPECT_FALSE(controller->status().text().contains(QStringLiteral("Testing lights")));
    controller->ticker().cycle().removeOutput(&outputs);
}
