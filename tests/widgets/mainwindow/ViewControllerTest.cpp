#include "mainwindow/ViewController.h"

#include "base/ModalSession.h"
#include "dialogs/EditViewController.h"
#include "lamps/AssignmentButton.h"
#include "mainwindow/LampRow.h"
#include "support/FakeShotSource.h"
#include "support/QtPrinters.h"
#include "support/ShownText.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QKeySequence>
#include <QLabel>
#include <QPaintEvent>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

// Indicator children of a bare view, added in the given order.
QStringList sortedNames(const QStringList& namesInViewOrder)
{
    QWidget view;
    for (const QString& name : namesInViewOrder) {
        auto* display = new TallyState(&view);
        display->setObjectName(name);
    }
    QStringList names;
    for (const QPointer<TallyState>& display : LampRow::collectTallyStateDisplays(view)) {
        names.append(display->objectName());
    }
    return names;
}

// A TallyState of another class name still counts: the class name contains
// "TallyState".
class StudioTallyState : public TallyState {
    Q_OBJECT

public:
    using TallyState::TallyState;
};

class ViewControllerTest : public MainWindowFixture { };

// Collects the area of every paint event a widget receives.
class PaintedRegion : public QObject {
public:
    explicit PaintedRegion(QWidget* widget) { widget->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            region += static_cast<QPaintEvent*>(event)->region();
        }
        return false;
    }

    QRegion region;
};

} // namespace

TEST(ViewControllerIndicatorsTest, IdentifiersEndingInOneToEightSortIntoLightOrderWhateverTheViewOrder)
{
    const QStringList names
        = sortedNames({ "light5", "light2", "light8", "light1", "light7", "light3", "light6", "light4" });
    EXPECT_EQ(names, (QStringList { "light1", "light2", "light3", "light4", "light5", "light6", "light7", "light8" }));
}

TEST(ViewControllerIndicatorsTest, WithEndingsOneToTenLightTwoIsShownByTheIndicatorEndingInTen)
{
    const QStringList names = sortedNames(
        { "light3", "light10", "light9", "light1", "light2", "light4", "light5", "light6", "light7", "light8" });
    EXPECT_EQ(names.at(0), QStringLiteral("light1"));
    EXPECT_EQ(names.at(1), QStringLiteral("light10"));
    EXPECT_EQ(names.at(2), QStringLiteral("light2"));
    EXPECT_EQ(names.last(), QStringLiteral("light9"));
}

TEST(ViewControllerIndicatorsTest, NestedIndicatorsAndChildrenOfOtherClassesAreNotCollected)
{
    QWidget view;
    auto* direct = new TallyState(&view);
    direct->setObjectName(QStringLiteral("b"));
    auto* subclass = new StudioTallyState(&view);
    subclass->setObjectName(QStringLiteral("a"));
    auto* label = new QLabel(&view);
    label->setObjectName(QStringLiteral("0"));
    auto* panel = new QWidget(&view);
    panel->setObjectName(QStringLiteral("1"));
    auto* nested = new TallyState(panel);
    nested->setObjectName(QStringLiteral("2"));

    const QList<QPointer<TallyState>> displays = LampRow::collectTallyStateDisplays(view);
    ASSERT_EQ(displays.size(), 2);
    EXPECT_EQ(displays[0], subclass);
    EXPECT_EQ(displays[1], direct);
}

TEST(ViewControllerIndicatorsTest, EqualIdentifiersKeepTheirViewOrder)
{
    QWidget view;
    auto* first = new TallyState(&view);
    first->setObjectName(QStringLiteral("same"));
    auto* other = new TallyState(&view);
    other->setObjectName(QStringLiteral("a"));
    auto* second = new TallyState(&view);
    second->setObjectName(QStringLiteral("same"));
    const QList<QPointer<TallyState>> displays = LampRow::collectTallyStateDisplays(view);
    ASSERT_EQ(displays.size(), 3);
    EXPECT_EQ(displays[0], other);
    EXPECT_EQ(displays[1], first);
    EXPECT_EQ(displays[2], second);
}

TEST(ViewControllerIndicatorsDeathTest, AnIndicatorWithoutIdentifierStopsTheProcess)
{
    QWidget view;
    new TallyState(&view);
    EXPECT_DEATH(LampRow::collectTallyStateDisplays(view), "fatal error: a light indicator of the main window");
}

TEST_F(ViewControllerTest, TheWindowHasEightIndicatorsInLightOrderAndEightTaggedButtons)
{
    makeWindow();
    ASSERT_EQ(controller->tallyStateDisplays().size(), 8);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(controller->tallyStateDisplays()[i]->objectName(), QStringLiteral("tallyState%1").arg(i + 1));
        EXPECT_EQ(controller->tallyStateDisplays()[i]->parentWidget(), controller);
        ASSERT_NE(button(i + 1), nullptr);
    }
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("Mixdesk is not running"));
    EXPECT_EQ(controller->lockTallyCheckBox()->objectName(), QStringLiteral("lockTallyCheckBox"));
}

TEST_F(ViewControllerTest, LoadingQueriesOnceBeforeStartingTheRepeatingQuarterSecondTimer)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    EXPECT_EQ(platform->runs, 1);
    EXPECT_EQ(controller->shotList().size(), 2);
    EXPECT_EQ(controller->timer()->interval(), 250);
    EXPECT_FALSE(controller->timer()->isSingleShot());
    EXPECT_TRUE(controller->enableEditing() == false);
}

TEST_F(ViewControllerTest, TheTimerTicksOnItsOwn)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    controller->timer()->start();
    EXPECT_TRUE(QTest::qWaitFor([this] { return device->reports.size() >= 32; }, 5000));
    EXPECT_TRUE(controller->enableEditing());
}

TEST_F(ViewControllerTest, BeforeAnyOpenOrSaveTheWindowIsUntitledInTheDocumentsFolderWithEmptyCurrentUrl)
{
    makeWindow();
    main.window->show();
    EXPECT_EQ(main.window->windowTitle(), QStringLiteral("Untitled.tlx"));
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    EXPECT_EQ(main.window->windowFilePath(), QDir(documents).filePath(QStringLiteral("Untitled.tlx")));
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
    EXPECT_TRUE(controller->currentDocumentUrl().fileName().isEmpty());
}

TEST_F(ViewControllerTest, ShowingTheWindowStartsTheTallyDevice)
{
    auto owned = std::make_unique<FakeBackend>();
    FakeBackend* backend = owned.get();
    USBHIDAppDelegate::setSharedBackendOnFirstUseForTesting(std::move(owned));
    makeWindow();
    EXPECT_EQ(backend->startCount, 0); // device discovery waits for the window
    main.window->show();
    ASSERT_EQ(backend->startCount, 1);
    auto box = std::make_shared<FakeDevice>();
    backend->plug(box);
    EXPECT_EQ(box->openCount, 1);
    controller->updateTallyLights();
    EXPECT_EQ(box->reports.size(), 16);
}

TEST_F(ViewControllerTest, ALightWithOneShotIsTitledWithItsName)
{
    makeWindow();
    controller->document().tallyMap().setShotSelection(2, { record("Wide Shot") });
    controller->refreshAssignmentTitles();
    EXPECT_EQ(button(3)->text(), QStringLiteral("Wide Shot"));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Not Assigned"));
}

TEST_F(ViewControllerTest, ALightWithSeveralShotsSaysSo)
{
    makeWindow();
    controller->document().tallyMap().setShotSelection(7, { record("Cam 1"), record("Cam 2") });
    controller->refreshAssignmentTitles();
    EXPECT_EQ(button(8)->text(), QStringLiteral("Multiple shots assigned...(Click to View)"));
}

TEST_F(ViewControllerTest, AfterTheEditorReturnsAnEmptyAssignmentTheTitleIsNotAssigned)
{
    makeWindow();
    controller->document().tallyMap().setShotSelection(4, { record("Cam 1") });
    controller->refreshAssignmentTitles();
    ASSERT_EQ(button(5)->text(), QStringLiteral("Cam 1"));

    auto* editor = new EditViewController(controller);
    editor->setAttribute(Qt::WA_DeleteOnClose);
    editor->setRepresentedObject({ controller->shotList(), {} });
    editor->lightIndex = 4;
    controller->dismissViewController(editor);
    EXPECT_TRUE(controller->document().tallyMap().shotSelection(4).isEmpty());
    EXPECT_EQ(button(5)->text(), QStringLiteral("Not Assigned"));
}

TEST_F(ViewControllerTest, AssignmentButtonsFollowEnableEditing)
{
    makeWindow();
    QSignalSpy changes(controller, &ViewController::enableEditingChanged);
    EXPECT_FALSE(button(1)->isEnabled());
    controller->setProperty("enableEditing", true);
    EXPECT_EQ(changes.count(), 1);
    for (int n = 1; n <= 8; ++n) {
        EXPECT_TRUE(button(n)->isEnabled()) << n;
    }
}

TEST_F(ViewControllerTest, TurningAlwaysOnTopOnAndSendingTheToggleFloatsTheWindowAndOffReturnsIt)
{
    makeWindow();
    main.window->show();
    ASSERT_EQ(main.window->windowLevel(), 0);
    // The menu item stores the preference and then sends the toggle.
    main.menu->alwaysOnTopAction()->trigger();
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::alwaysOnTop));
    EXPECT_EQ(main.window->windowLevel(), 3);
    EXPECT_TRUE(main.window->isVisible());
    main.menu->alwaysOnTopAction()->trigger();
    EXPECT_FALSE(UserDefaults::standardUserDefaults().boolForKey(Preferences::alwaysOnTop));
    EXPECT_EQ(main.window->windowLevel(), 0);
}

TEST_F(ViewControllerTest, TheToggleOnlyAppliesTheStoredPreference)
{
    makeWindow();
    main.window->show();
    controller->toggleAlwaysOnTopWithSender(nullptr);
    EXPECT_EQ(main.window->windowLevel(), 0);
    UserDefaults::standardUserDefaults().setBool(Preferences::alwaysOnTop, true);
    EXPECT_EQ(main.window->windowLevel(), 0);
    controller->toggleAlwaysOnTopWithSender(nullptr);
    EXPECT_EQ(main.window->windowLevel(), 3);
}

TEST_F(ViewControllerTest, TheLevelIsAppliedAgainEveryTimeTheWindowIsShown)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::alwaysOnTop, true);
    makeWindow();
    main.window->show();
    EXPECT_EQ(main.window->windowLevel(), 3);
    main.window->hide();
    UserDefaults::standardUserDefaults().setBool(Preferences::alwaysOnTop, false);
    main.window->show();
    EXPECT_EQ(main.window->windowLevel(), 0);
    main.window->hide();
    UserDefaults::standardUserDefaults().setBool(Preferences::alwaysOnTop, true);
    main.window->show();
    EXPECT_EQ(main.window->windowLevel(), 3);
    EXPECT_TRUE(main.window->isVisible());
}

TEST_F(ViewControllerTest, WithMixdeskAbsentTheWarningShowsTheLightsFreezeAndNothingIsSent)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    tick();
    ASSERT_TRUE(controller->mixdeskWarning()->isHidden());
    ASSERT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
    const qsizetype sent = device->reports.size();

    platform->runningCount = 0;
    tick();
    EXPECT_FALSE(controller->mixdeskWarning()->isHidden());
    EXPECT_EQ(device->reports.size(), sent);
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);

    platform->runningCount = 1;
    tick();
    EXPECT_TRUE(controller->mixdeskWarning()->isHidden());
    EXPECT_EQ(device->reports.size(), sent + 16);
}

TEST_F(ViewControllerTest, ASourceThatAnnouncesAChangeGetsATickAtOnceWithoutTheTimer)
{
    FakeShotSource* source = makeWindowFollowingAFakeSwitcher();
    const qsizetype sent = device->reports.size();

    source->announceChange();

    EXPECT_FALSE(controller->timer()->isActive());
    EXPECT_EQ(device->reports.size(), sent + 16);
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
}

TEST_F(ViewControllerTest, TheWarningNamesTheSourceThatIsMissing)
{
    auto owned = std::make_unique<FakeShotSource>();
    FakeShotSource* source = owned.get();
    source->running = false;
    makeWindow(std::move(owned));
    main.window->show();
    tick();
    EXPECT_FALSE(controller->mixdeskWarning()->isHidden());
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("Fake switcher is not connected"));
    EXPECT_EQ(platform->runningCountQueries, 0);
}

TEST_F(ViewControllerTest, AReplacedSourceDrivesTheLightsAndNamesItsWarning)
{
    makeWindow();
    main.window->show();
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    auto owned = std::make_unique<FakeShotSource>();
    FakeShotSource* source = owned.get();
    source->running = false;
    const int mixdeskQueries = platform->runningCountQueries;
    controller->setShotSource(std::move(owned));
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("Fake switcher is not connected"));
    tick();
    EXPECT_FALSE(controller->mixdeskWarning()->isHidden());
    EXPECT_EQ(platform->runningCountQueries, mixdeskQueries) << "Mixdesk is no longer asked";

    auto live = std::make_shared<Shot>(QStringLiteral("Cam 1"));
    live->shotId = QStringLiteral("cam-1");
    live->isLive = true;
    source->shots = { live };
    source->running = true;
    const qsizetype sent = device->reports.size();
    source->announceChange();
    EXPECT_TRUE(controller->mixdeskWarning()->isHidden());
    EXPECT_EQ(device->reports.size(), sent + 16);
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
}

TEST_F(ViewControllerTest, AReplacedSourceNoLongerTriggersTicks)
{
    auto first = std::make_unique<FakeShotSource>();
    QPointer<FakeShotSource> old = first.get();
    makeWindow(std::move(first));
    main.window->show();
    controller->setShotSource(std::make_unique<FakeShotSource>());
    ASSERT_FALSE(old.isNull()) << "deleted only back in the event loop";
    const qsizetype sent = device->reports.size();
    old->announceChange();
    EXPECT_EQ(device->reports.size(), sent);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(old.isNull());
}

TEST_F(ViewControllerTest, WithNoSourceChosenTheWarningIsMixdesks)
{
    makeWindow();
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("Mixdesk is not running"));
}

TEST_F(ViewControllerTest, AnEmptyAnswerSwitchesEveryIndicatorOffAndKeepsEditingEnabled)
{
    answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
    makeWindow();
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    controller->document().tallyMap().setShotSelection(1, { record("Cam 2") });
    tick();
    ASSERT_EQ(controller->tallyStateDisplays()[1]->mode, TallyMode::preview);
    ASSERT_TRUE(controller->enableEditing());

    platform->answerWithNotation(QStringLiteral("{}"));
    tick();
    for (const QPointer<TallyState>& display : controller->tallyStateDisplays()) {
        EXPECT_EQ(display->mode, TallyMode::off);
    }
    QList<quint8> last = device->commandBytes().mid(device->reports.size() - 16);
    EXPECT_EQ(last.mid(0, 4), (QList<quint8> { 0x01, 0x21, 0x02, 0x22 }));
    EXPECT_TRUE(controller->enableEditing());
    EXPECT_TRUE(button(1)->isEnabled());
}

TEST_F(ViewControllerTest, ARenameInMixdeskRetitlesTheButtonOnTheNextTick)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    controller->document().tallyMap().resolveShotIds(controller->shotList());
    controller->refreshAssignmentTitles();
    answer({ { "1", "Camera One", true, false } });
    tick();
    EXPECT_EQ(button(1)->text(), QStringLiteral("Camera One"));
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
}

TEST_F(ViewControllerTest, TicksAreHeldBackWhileAnApplicationModalDialogIsUp)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    const int runsBefore = platform->runs;
    QDialog dialog(main.window.get());
    dialog.setWindowModality(Qt::ApplicationModal);
    bool sawModal = false;
    QTimer::singleShot(0, &dialog, [&] {
        sawModal = ModalSession::isActive();
        tick();
        tick();
        dialog.reject();
    });
    dialog.exec();
    EXPECT_TRUE(sawModal);
    EXPECT_EQ(platform->runs, runsBefore);
    EXPECT_TRUE(device->reports.isEmpty());
    tick();
    EXPECT_EQ(platform->runs, runsBefore + 1);
    EXPECT_EQ(device->reports.size(), 16);
}

TEST_F(ViewControllerTest, TicksGoOnWhileTheWindowModalShotEditorIsUp)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    controller->setEnableEditing(true);
    button(1)->click();
    auto* editor = main.window->findChild<EditViewController*>();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(editor->lightIndex, 0);
    tick();
    EXPECT_EQ(device->reports.size(), 16);
    editor->finishEditingWithSender(nullptr);
}

TEST_F(ViewControllerTest, IndicatorsAreRedrawnOverTheirWholeBoundsOnEveryTick)
{
    answer({ { "1", "Cam 1", false, true } });
    makeWindow();
    main.window->show();
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    QApplication::processEvents();
    const QImage before = controller->tallyStateDisplays()[0]->grab().toImage();
    tick();
    QApplication::processEvents();
    const QImage after = controller->tallyStateDisplays()[0]->grab().toImage();
    const QPoint centre(after.width() / 2, after.height() / 4);
    EXPECT_NE(before.pixelColor(centre), after.pixelColor(centre));
    EXPECT_EQ(after.pixelColor(centre), QColor(0x00, 0xFF, 0x00));

    // grab() paints whatever was asked, so what the tick asks is seen in the
    // paint events the indicator receives: its whole bounds, on a tick that
    // changes nothing as well.
    TallyState* display = controller->tallyStateDisplays()[0];
    PaintedRegion painted(display);
    tick();
    QApplication::processEvents();
    EXPECT_EQ(painted.region, QRegion(display->rect()));
    painted.region = QRegion();
    tick();
    QApplication::processEvents();
    EXPECT_EQ(painted.region, QRegion(display->rect()));
}

TEST_F(ViewControllerTest, AnAmpersandInAShotNameIsPaintedAsItIsAndMakesNoShortcut)
{
    makeWindow();
    main.window->show();
    controller->document().tallyMap().setShotSelection(0, { record("Q&A Panel") });
    controller->refreshAssignmentTitles();
    TextRecordingStyle style;
    button(1)->setStyle(&style);
    button(1)->grab();
    ASSERT_FALSE(style.drawn.isEmpty());
    EXPECT_EQ(shownText(style.drawn.last()), QStringLiteral("Q&A Panel"));
    EXPECT_TRUE(QKeySequence::mnemonic(button(1)->text()).isEmpty());
    EXPECT_EQ(button(1)->toolTip(), QStringLiteral("Q&A Panel"));
    button(1)->setStyle(nullptr);
}

TEST_F(ViewControllerTest, AHugeShotNameIsPaintedCutShortFromItsStart)
{
    makeWindow();
    main.window->show();
    const QString huge = QStringLiteral("Camera ") + QString(10 * 1024 * 1024, QLatin1Char('x'));
    controller->document().tallyMap().setShotSelection(0, { record(huge) });
    controller->refreshAssignmentTitles();
    TextRecordingStyle style;
    button(1)->setStyle(&style);
    button(1)->grab();
    ASSERT_FALSE(style.drawn.isEmpty());
    const QString shown = shownText(style.drawn.last());
    EXPECT_TRUE(shown.startsWith(QStringLiteral("Camera x"))) << shown.left(40).toStdString();
    EXPECT_TRUE(shown.endsWith(QChar(0x2026))) << shown.right(40).toStdString();
    EXPECT_LE(shown.size(), AssignmentButton::measuredLength + 1);
    button(1)->setStyle(nullptr);
}

TEST_F(ViewControllerTest, AFileNameWithTheModifiedPlaceholderKeepsItInTheWindowTitle)
{
    makeWindow();
    main.window->show();
    const QString path = writeFile(QStringLiteral("take[*]2.tlx"), "0|Cam 1\r\n");
    controller->loadTallyMap(QUrl::fromLocalFile(path));
    ASSERT_NE(main.window->windowHandle(), nullptr);
    EXPECT_EQ(main.window->windowHandle()->title(), QStringLiteral("take[*]2.tlx"));
}

using ViewControllerDeathTest = ViewControllerTest;

TEST_F(ViewControllerDeathTest, TitlingWithAButtonMissingStopsTheProcess)
{
    makeWindow();
    button(3)->setProperty("tag", QVariant());
    EXPECT_DEATH(controller->refreshAssignmentTitles(), "fatal error: the main window has no view tagged 12");
}

TEST_F(ViewControllerDeathTest, TitlingWithATaggedViewThatIsNoButtonStopsTheProcess)
{
    makeWindow();
    button(3)->setProperty("tag", QVariant());
    controller->lockTallyCheckBox()->setProperty("tag", 12);
    EXPECT_DEATH(controller->refreshAssignmentTitles(), "fatal error: the view tagged 12 is a QCheckBox, not a button");
}

#include "ViewControllerTest.moc"
