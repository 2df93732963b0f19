// What a later launch hands to the window: taken as if chosen in the Source,
// Outputs and Edit menus, remembered for the next start the same way, or
// refused with the reason and the window left as it was.

#include "launch/NetworkOutputs.h"
#include "mainwindow/LostSourceMenu.h"
#include "outputs/WebTallyServer.h"
#include "support/FreePort.h"
#include "switchers/TslShotSource.h"
#include "tally/CombinedShotSource.h"
#include "tally/TallyTicker.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QTcpServer>

namespace {

class HandOverWindowTest : public MainWindowFixture { };

} // namespace

TEST_F(HandOverWindowTest, AHandedOverSourceIsFollowedAndRememberedAsIfChosenInTheMenu)
{
    makeWindow();
    const QString address = QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort());
    HandOverRequest request;
    request.source = HandOverRequest::Source { address, QString(), { QStringLiteral("127.0.0.1") }, QStringList() };
    QString problem;
    ASSERT_TRUE(main.menu->takeHandOver(request, &problem)) << problem.toStdString();

    auto* source = qobject_cast<TslShotSource*>(&controller->shotSource());
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->allowedSenders().entries(), QStringList { QStringLiteral("127.0.0.1") });
    EXPECT_TRUE(main.menu->tslSourceAction()->isChecked());
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.objectForKey(Preferences::shotSource).toString(), address);
    EXPECT_EQ(defaults.objectForKey(Preferences::tslAllowedSenders).toStringList(),
        QStringList { QStringLiteral("127.0.0.1") });
}

TEST_F(HandOverWindowTest, AHandedOverWebPageRunsBesideTheOutputsAlreadyChosenAndIsRemembered)
{
    makeWindow();
    NetworkOutputChoices tsl;
    tsl.tsl31Destinations = QStringList { QStringLiteral("udp://127.0.0.1:%1").arg(freeUdpPort()) };
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(tsl, nullptr));
    const QString web = QStringLiteral("127.0.0.1:%1").arg(freePort());
    HandOverRequest request;
    request.webGiven = true;
    request.outputs.web = web;
    QString problem;
    ASSERT_TRUE(main.menu->takeHandOver(request, &problem)) << problem.toStdString();

    const NetworkOutputs& outputs = controller->networkOutputs();
    EXPECT_NE(outputs.webServer(), nullptr);
    EXPECT_NE(outputs.tslSender(), nullptr);
    EXPECT_EQ(outputs.current().web, web);
    EXPECT_EQ(outputs.current().tsl31Destinations, tsl.tsl31Destinations);
    EXPECT_EQ(NetworkOutputChoices::saved(UserDefaults::standardUserDefaults()), outputs.current());
}

TEST_F(HandOverWindowTest, AWebPageThatCannotListenIsRefusedWithTheReasonAndNothingChanges)
{
    makeWindow();
    QTcpServer holder;
    ASSERT_TRUE(holder.listen(QHostAddress::LocalHost, 0));
    HandOverRequest request;
    request.webGiven = true;
    request.outputs.web = QStringLiteral("127.0.0.1:%1").arg(holder.serverPort());
    request.whenSourceLost = LostSourcePolicy::Action::turnOff;
    QString problem;
    EXPECT_FALSE(main.menu->takeHandOver(request, &problem));
    EXPECT_TRUE(problem.contains(QString::number(holder.serverPort()))) << problem.toStdString();
    EXPECT_EQ(controller->networkOutputs().webServer(), nullptr);
    EXPECT_EQ(controller->networkOutputs().current(), NetworkOutputChoices {});
    // What came after the refused choice was not taken either.
    EXPECT_EQ(controller->ticker().lostSourcePolicy().action, LostSourcePolicy::Action::keepLights);
}

TEST_F(HandOverWindowTest, HandedOverLostSwitcherChoicesTakeEffectAndAreTickedAndRemembered)
{
    makeWindow();
    HandOverRequest request;
    request.whenSourceLost = LostSourcePolicy::Action::blink;
    request.blinkAfterSeconds = 7;
    request.lightsOffAtQuit = true;
    QString problem;
    ASSERT_TRUE(main.menu->takeHandOver(request, &problem)) << problem.toStdString();

    const LostSourcePolicy policy = controller->ticker().lostSourcePolicy();
    EXPECT_EQ(policy.action, LostSourcePolicy::Action::blink);
    EXPECT_EQ(policy.blinkAfterSeconds, 7);
    EXPECT_TRUE(policy.turnOffAtQuit);
    EXPECT_TRUE(main.menu->lostSourceMenu()->blinkAction(7)->isChecked());
    EXPECT_TRUE(main.menu->lostSourceMenu()->lightsOffAtQuitAction()->isChecked());
    EXPECT_EQ(LostSourcePolicy::fromDefaults(UserDefaults::standardUserDefaults()), policy);
}

TEST_F(HandOverWindowTest, HandedOverSwitchersReplaceTheAddedOnesAndThoseFollowedBeforeGoOnRunning)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("atem://127.0.0.1:3"), &problem)) << problem.toStdString();
    ShotSource* vmix = CombinedShotSource::switchersOf(controller->shotSource()).at(1);
    HandOverRequest request;
    request.source = HandOverRequest::Source { QStringLiteral("atem://127.0.0.1:1"), QString(), {},
        QStringList { QStringLiteral("vmix://127.0.0.1:2") } };
    ASSERT_TRUE(main.menu->takeHandOver(request, &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("ATEM + vMix"));
    const QList<ShotSource*> switchers = CombinedShotSource::switchersOf(controller->shotSource());
    ASSERT_EQ(switchers.size(), 2);
    EXPECT_EQ(switchers.at(1), vmix) << "the vMix followed before goes on as it was";
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.objectForKey(Preferences::shotSource).toString(), QStringLiteral("atem://127.0.0.1:1"));
    EXPECT_EQ(MainMenu::addedSources(), QStringList { QStringLiteral("vmix://127.0.0.1:2") });
    ASSERT_EQ(main.menu->removeSourceMenu()->actions().size(), 1);
}

TEST_F(HandOverWindowTest, AHandedOverSourceAloneIsFollowedAloneAndOneFromAnEarlierLaunchKeepsTheAddedOnes)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    HandOverRequest earlier;
    earlier.source = HandOverRequest::Source { QStringLiteral("atem://127.0.0.1:1"), QString(), {}, std::nullopt };
    ASSERT_TRUE(main.menu->takeHandOver(earlier, &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("ATEM + vMix"));

    HandOverRequest alone;
    alone.source = HandOverRequest::Source { QStringLiteral("atem://127.0.0.1:1"), QString(), {}, QStringList() };
    ASSERT_TRUE(main.menu->takeHandOver(alone, &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::atem);
    EXPECT_EQ(CombinedShotSource::switchersOf(controller->shotSource()).size(), 1);
    EXPECT_TRUE(MainMenu::addedSources().isEmpty());
}

TEST_F(HandOverWindowTest, HandedOverSwitchersWithABadAddressOrALabelTwiceChangeNothing)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    HandOverRequest request;
    request.source = HandOverRequest::Source { QStringLiteral("atem://127.0.0.1:1"), QString(), {},
        QStringList { QStringLiteral("vmix://host:http") } };
    EXPECT_FALSE(main.menu->takeHandOver(request, &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("the port 'http' is not a number"))) << problem.toStdString();
    request.source->added = QStringList { QStringLiteral("ATEM=vmix://127.0.0.1:5") };
    EXPECT_FALSE(main.menu->takeHandOver(request, &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("two sources are labelled 'ATEM'"))) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk + vMix"));
    EXPECT_EQ(MainMenu::addedSources(), QStringList { QStringLiteral("vmix://127.0.0.1:2") });
}
