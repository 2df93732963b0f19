// The window's fail-safe choices: the Edit menu's "When the Switcher Is
// Lost" items, what they store, and what the box gets while the switcher is
// gone and at quit.

#include "mainwindow/LostSourceMenu.h"
#include "support/FakeShotSource.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QActionGroup>
#include <QMessageBox>

namespace {

const QList<quint8> everyLightOff { 0x01, 0x21, 0x02, 0x22, 0x03, 0x23, 0x04, 0x24, 0x05, 0x25, 0x06, 0x26, 0x07, 0x27,
    0x08, 0x28 };

class LostSourceWindowTest : public MainWindowFixture {
protected:
    // Light 1 live on a running fake switcher, one tick done.
    void makeLiveWindow()
    {
        source = makeWindowFollowingAFakeSwitcher();
        tick();
        ASSERT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
    }

    QList<quint8> bytesSince(qsizetype first) const { return device->commandBytes().mid(first); }

    LostSourceMenu& menu() const { return *main.menu->lostSourceMenu(); }

    FakeShotSource* source = nullptr;
};

} // namespace

TEST_F(LostSourceWindowTest, ByDefaultKeepTheLightsIsTickedAndLightsOffAtQuitIsNot)
{
    makeLiveWindow();
    EXPECT_TRUE(menu().keepLightsAction()->isChecked());
    EXPECT_FALSE(menu().lightsOffAtQuitAction()->isChecked());
    EXPECT_EQ(controller->ticker().lostSourcePolicy(), LostSourcePolicy {});
}

TEST_F(LostSourceWindowTest, ByDefaultQuittingSendsNothing)
{
    makeLiveWindow();
    const qsizetype sent = device->reports.size();
    controller->applicationWillQuit();
    EXPECT_EQ(device->reports.size(), sent);
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
}

TEST_F(LostSourceWindowTest, ChoosingTurnOffSwitchesEveryLightOffWhileTheSwitcherIsLost)
{
    makeLiveWindow();
    menu().turnOffAction()->trigger();
    source->running = false;
    const qsizetype sent = device->reports.size();
    tick();
    EXPECT_EQ(bytesSince(sent), everyLightOff);
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::off);
    EXPECT_FALSE(controller->mixdeskWarning()->isHidden());
}

TEST_F(LostSourceWindowTest, AChoiceIsSavedAndANewWindowStartsWithIt)
{
    makeLiveWindow();
    menu().blinkAction(30)->trigger();
    menu().lightsOffAtQuitAction()->trigger();
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::whenSourceLost).toString(),
        QStringLiteral("blink"));

    makeWindow();
    EXPECT_EQ(
        controller->ticker().lostSourcePolicy(), (LostSourcePolicy { LostSourcePolicy::Action::blink, 30, true }));
    EXPECT_TRUE(main.menu->lostSourceMenu()->blinkAction(30)->isChecked());
    EXPECT_TRUE(main.menu->lostSourceMenu()->lightsOffAtQuitAction()->isChecked());
}

TEST_F(LostSourceWindowTest, WithLightsOffAtQuitChosenQuittingSendsAndShowsEveryLightOff)
{
    makeLiveWindow();
    menu().lightsOffAtQuitAction()->trigger();
    const qsizetype sent = device->reports.size();
    controller->applicationWillQuit();
    EXPECT_EQ(bytesSince(sent), everyLightOff);
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::off);
}

TEST_F(LostSourceWindowTest, ABlinkDelayFromTheCommandLineGetsItsOwnTickedItem)
{
    makeLiveWindow();
    controller->ticker().setLostSourcePolicy({ LostSourcePolicy::Action::blink, 3 });
    menu().showPolicy();
    QAction* three = menu().blinkAction(3);
    EXPECT_TRUE(three->isChecked());
    EXPECT_EQ(three->text(), QStringLiteral("Blink the Lights After 3 Seconds"));
    // Kept with the other choices, above the separator and the quit item.
    const QList<QAction*> items = menu().menu()->actions();
    EXPECT_LT(items.indexOf(three), items.indexOf(menu().lightsOffAtQuitAction()) - 1);
    EXPECT_FALSE(menu().keepLightsAction()->isChecked());
}

TEST_F(LostSourceWindowTest, TheAboutBoxNamesTheVersion)
{
    makeWindow();
    EXPECT_TRUE(MainMenu::aboutText().contains(QStringLiteral(TALLY_VERSION)));
    EXPECT_EQ(main.menu->aboutAction()->menuRole(), QAction::AboutRole);
    EXPECT_TRUE(main.menu->helpMenu()->actions().contains(main.menu->aboutAction()));
}

TEST_F(LostSourceWindowTest, TheWarningSaysWhatTheSourceSaysNowWhyItIsNotRunning)
{
    makeLiveWindow();
    source->running = false;
    tick();
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("Fake switcher is not connected"));
    source->warning = QStringLiteral("TSL messages arrive, but none lights a display");
    tick();
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("TSL messages arrive, but none lights a display"));
}
