// The Source menu: following Mixdesk, OBS Studio, a TSL switcher or an ATEM,
// chosen in the window and remembered for the next start.

#include "dialogs/AtemSourceDialog.h"
#include "dialogs/ObsSourceDialog.h"
#include "dialogs/TslSourceDialog.h"
#include "dialogs/VmixSourceDialog.h"
#include "mainwindow/StatusLine.h"
#include "net/switchers/FakeObsServer.h"
#include "secrets/FallbackSecretStore.h"
#include "secrets/SecretFile.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "switchers/ObsShotSource.h"
#include "switchers/TslShotSource.h"
#include "tally/CombinedShotSource.h"
#include "tsl/TslUmd50.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QUdpSocket>

namespace {

class SourceMenuTest : public MainWindowFixture { };

} // namespace

TEST_F(SourceMenuTest, WithNoChoiceMadeMixdeskIsChecked)
{
    makeWindow();
    ASSERT_NE(main.menu->sourceMenu(), nullptr);
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->obsSourceAction()->isChecked());
    EXPECT_EQ(main.menu->obsSourceAction()->text(), QStringLiteral("OBS Studio…"));
}

TEST_F(SourceMenuTest, FollowingATslSwitcherTicksTheListenerItemOnly)
{
    auto source = std::make_unique<FakeShotSource>();
    source->sourceKind = ShotSource::Kind::tslUmd;
    makeWindow(std::move(source));
    EXPECT_TRUE(main.menu->tslSourceAction()->isChecked());
    EXPECT_EQ(main.menu->tslSourceAction()->text(), QStringLiteral("TSL UMD Listener…"));
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->obsSourceAction()->isChecked());
}

TEST_F(SourceMenuTest, AnOBSSourceIsRecognisedByItsKindWhateverItsName)
{
    auto source = std::make_unique<FakeShotSource>();
    source->sourceKind = ShotSource::Kind::obsStudio;
    makeWindow(std::move(source));
    EXPECT_TRUE(main.menu->obsSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
}

TEST_F(SourceMenuTest, ChoosingOBSStudioFollowsItAndKeepsThePasswordInTheSecretStoreNeverInTheSettings)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 42"), &problem))
        << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("OBS Studio"));
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("OBS Studio is not connected"));
    EXPECT_TRUE(main.menu->obsSourceAction()->isChecked());
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.objectForKey(Preferences::shotSource).toString(), QStringLiteral("obs://127.0.0.1:1"));
    EXPECT_EQ(secretStore->secrets.value(ObsPasswordKeeper::secretKey), QStringLiteral("pw 42"));
    const QByteArray settings = readFile(defaults.settingsFilePath());
    EXPECT_TRUE(settings.contains("obs://127.0.0.1:1")) << settings.toStdString();
    EXPECT_FALSE(settings.contains("pw 42")) << settings.toStdString();
    EXPECT_FALSE(defaults.objectForKey(Preferences::obsPassword).isValid());
}

TEST_F(SourceMenuTest, ChoosingMixdeskAgainGoesBackToItsQueryAndForgetsThePassword)
{
    makeWindow();
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 42")));
    ASSERT_FALSE(secretStore->secrets.isEmpty());
    main.menu->chooseMixdeskSource();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("mixdesk"));
    EXPECT_TRUE(secretStore->secrets.isEmpty());
    EXPECT_EQ(controller->obsPassword().known(), QString());
}

TEST_F(SourceMenuTest, WithoutADesktopStoreThePasswordGoesToAPrivateFileThatGoesWithTheSource)
{
    // The stores as the program puts them together, with no desktop store.
    auto missing = std::make_unique<FakeSecretStore>();
    missing->behaviour = SecretStore::Outcome::unavailable;
    const QString filePath = directory.filePath(QStringLiteral("secrets.json"));
    secretStoreForNextWindow
        = std::make_unique<FallbackSecretStore>(std::move(missing), std::make_unique<SecretFile>(filePath));
    makeWindow();
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 42")));
    ASSERT_TRUE(QFile::exists(filePath));
    EXPECT_EQ(QFile::permissions(filePath) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    EXPECT_TRUE(readFile(filePath).contains("pw 42"));
    EXPECT_FALSE(readFile(UserDefaults::standardUserDefaults().settingsFilePath()).contains("pw 42"));
    main.menu->chooseMixdeskSource();
    EXPECT_FALSE(QFile::exists(filePath));
}

TEST_F(SourceMenuTest, TheOBSDialogOpensWithThePasswordTheStoreKeepsOnceTheStoreHasAnswered)
{
    makeWindow();
    main.window->show();
    secretStore->secrets.insert(ObsPasswordKeeper::secretKey, QStringLiteral("kept 7"));
    secretStore->holdAnswers = true;
    main.menu->obsSourceAction()->trigger();
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << "no dialog before the store answers";
    QString shown;
    QTimer::singleShot(0, [&shown] {
        auto* dialog = qobject_cast<ObsSourceDialog*>(QApplication::activeModalWidget());
        if (dialog) {
            shown = dialog->passwordField->text();
            dialog->reject();
        }
    });
    secretStore->answerAll();
    EXPECT_EQ(shown, QStringLiteral("kept 7"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked()) << "cancelled: nothing changed";
}

TEST_F(SourceMenuTest, AnUnusableAddressChangesNothingAndSaysWhy)
{
    makeWindow();
    QString problem;
    EXPECT_FALSE(main.menu->chooseObsSource(QStringLiteral("obs://"), QString(), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("no host"))) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
}

TEST(ObsSourceDialogTest, StartsFromThePreviousAddressAndGivesTheEnteredOne)
{
    ObsSourceDialog dialog(QStringLiteral("obs://studio.local:4460"), QStringLiteral("pw"));
    EXPECT_EQ(dialog.hostField->text(), QStringLiteral("studio.local"));
    EXPECT_EQ(dialog.portField->value(), 4460);
    EXPECT_EQ(dialog.passwordField->echoMode(), QLineEdit::Password);
    dialog.hostField->setText(QStringLiteral(" 10.0.0.5 "));
    dialog.portField->setValue(4455);
    EXPECT_EQ(dialog.address(), QStringLiteral("obs://10.0.0.5:4455"));
    EXPECT_EQ(dialog.password(), QStringLiteral("pw"));
}

TEST(ObsSourceDialogTest, WithoutAPreviousAddressItOffersThisComputerOnPort4455)
{
    ObsSourceDialog dialog(QStringLiteral("mixdesk"), QString());
    EXPECT_EQ(dialog.address(), QStringLiteral("obs://127.0.0.1:4455"));
}

TEST_F(SourceMenuTest, ChoosingATslListenerFollowsItAndRemembersItsAddressAndAllowedSenders)
{
    makeWindow();
    const QString address = QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort());
    QString problem;
    ASSERT_TRUE(
        main.menu->chooseTslSource(address, { QStringLiteral("127.0.0.1"), QStringLiteral("10.0.1.0/24") }, &problem))
        << problem.toStdString();
    auto* source = qobject_cast<TslShotSource*>(&controller->shotSource());
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->allowedSenders().entries(),
        (QStringList { QStringLiteral("127.0.0.1"), QStringLiteral("10.0.1.0/24") }));
    EXPECT_TRUE(main.menu->tslSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("No TSL messages received"));
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.objectForKey(Preferences::shotSource).toString(), address);
    EXPECT_EQ(defaults.objectForKey(Preferences::tslAllowedSenders).toStringList(),
        (QStringList { QStringLiteral("127.0.0.1"), QStringLiteral("10.0.1.0/24") }));
}

TEST_F(SourceMenuTest, ATslSilenceChosenWithTheListenerIsUsedAndRememberedAndTheDefaultIsNot)
{
    makeWindow();
    const QString address = QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort());
    QString problem;
    ASSERT_TRUE(main.menu->chooseTslSource(address, { QStringLiteral("127.0.0.1") }, &problem, 45))
        << problem.toStdString();
    EXPECT_EQ(
        qobject_cast<TslShotSource*>(&controller->shotSource())->silenceLimit(), std::chrono::milliseconds(45'000));
    EXPECT_EQ(MainMenu::rememberedTslSilence(), 45);
    ASSERT_TRUE(main.menu->chooseTslSource(address, {}, &problem)) << problem.toStdString();
    EXPECT_EQ(
        qobject_cast<TslShotSource*>(&controller->shotSource())->silenceLimit(), TslShotSource::defaultSilenceLimit);
    EXPECT_EQ(MainMenu::rememberedTslSilence(), std::nullopt);
    EXPECT_FALSE(UserDefaults::standardUserDefaults().objectForKey(Preferences::tslSilenceSeconds).isValid());
}

TEST_F(SourceMenuTest, ChoosingOtherSendersOnThePortTheListenerHoldsWorks)
{
    makeWindow();
    const QString address = QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort());
    ASSERT_TRUE(main.menu->chooseTslSource(address, {}));
    QString problem;
    ASSERT_TRUE(main.menu->chooseTslSource(address, { QStringLiteral("127.0.0.1") }, &problem))
        << problem.toStdString();
    EXPECT_EQ(qobject_cast<TslShotSource*>(&controller->shotSource())->allowedSenders().entries(),
        QStringList { QStringLiteral("127.0.0.1") });
}

TEST_F(SourceMenuTest, APortInUseLeavesTheSourceAsItWasAndSaysWhy)
{
    QUdpSocket holder;
    ASSERT_TRUE(holder.bind(QHostAddress::LocalHost, 0));
    makeWindow();
    QString problem;
    EXPECT_FALSE(main.menu->chooseTslSource(
        QStringLiteral("tsl5://127.0.0.1:%1").arg(holder.localPort()), { QStringLiteral("127.0.0.1") }, &problem));
    EXPECT_TRUE(problem.startsWith(QStringLiteral("cannot listen for TSL UMD 5.0 on UDP"))) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_FALSE(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).isValid());
}

TEST_F(SourceMenuTest, AnAllowedSenderThatIsNotAnAddressIsRefused)
{
    makeWindow();
    QString problem;
    EXPECT_FALSE(main.menu->chooseTslSource(
        QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort()), { QStringLiteral("switcher") }, &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("'switcher' is not an IP address"))) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
}

TEST_F(SourceMenuTest, TheStatusLineNamesEachNewTslSender)
{
    makeWindow();
    const quint16 port = freeUdpPort();
    ASSERT_TRUE(
        main.menu->chooseTslSource(QStringLiteral("tsl5://127.0.0.1:%1").arg(port), { QStringLiteral("127.0.0.1") }));
    const QString listening = QStringLiteral("Listening for TSL 5.0 on 127.0.0.1 port %1 · no message yet").arg(port);
    EXPECT_EQ(main.statusLine->text(), listening);
    TslUmd50::Packet packet;
    TslUmd50::Display display;
    display.index = 1;
    display.leftTally = TslUmd50::Colour::red;
    display.text = QStringLiteral("Cam 1");
    packet.displays.append(display);
    QUdpSocket stranger;
    ASSERT_TRUE(stranger.bind(QHostAddress(QStringLiteral("127.0.0.66")), 0));
    stranger.writeDatagram(TslUmd50::encode(packet), QHostAddress::LocalHost, port);
    EXPECT_TRUE(eventually([&] {
        return main.statusLine->text()
            == listening + QStringLiteral(" · Ignoring TSL messages from 127.0.0.66: not an allowed sender");
    })) << main.statusLine->text().toStdString();
}

TEST(TslSourceDialogTest, StartsFromThePreviousChoiceAndGivesTheEnteredOne)
{
    TslSourceDialog dialog(QStringLiteral("tsl+tcp://10.0.0.2:9000"), { QStringLiteral("10.0.0.5") });
    EXPECT_EQ(dialog.versionField->currentText(), QStringLiteral("TSL UMD 3.1"));
    EXPECT_EQ(dialog.transportField->currentText(), QStringLiteral("TCP"));
    EXPECT_EQ(dialog.listenAddressField->text(), QStringLiteral("10.0.0.2"));
    EXPECT_EQ(dialog.portField->value(), 9000);
    EXPECT_EQ(dialog.allowedSendersField->text(), QStringLiteral("10.0.0.5"));
    EXPECT_EQ(dialog.address(), QStringLiteral("tsl+tcp://10.0.0.2:9000"));

    dialog.versionField->setCurrentIndex(dialog.versionField->findText(QStringLiteral("TSL UMD 5.0")));
    dialog.transportField->setCurrentIndex(dialog.transportField->findText(QStringLiteral("UDP")));
    dialog.listenAddressField->clear();
    dialog.portField->setValue(8901);
    dialog.allowedSendersField->setText(QStringLiteral(" 10.0.0.5, 10.0.1.0/24 "));
    EXPECT_EQ(dialog.address(), QStringLiteral("tsl5://8901"));
    EXPECT_EQ(dialog.allowedSenders(), (QStringList { QStringLiteral("10.0.0.5"), QStringLiteral("10.0.1.0/24") }));
}

TEST(TslSourceDialogTest, WithoutAPreviousChoiceItOffersFiveOverUdpOnPort8900FromEverySender)
{
    TslSourceDialog dialog(QStringLiteral("obs://127.0.0.1:4455"), {});
    EXPECT_EQ(dialog.address(), QStringLiteral("tsl5://8900"));
    EXPECT_TRUE(dialog.allowedSenders().isEmpty());
    EXPECT_EQ(dialog.allowedSendersField->placeholderText(), QStringLiteral("every sender"));
}

TEST(TslSourceDialogTest, TheSilenceShowsTheDefaultForTheAllowedSendersUntilTheUserSetsIt)
{
    TslSourceDialog dialog(QString(), {});
    EXPECT_EQ(dialog.silenceField->value(), 5);
    EXPECT_EQ(dialog.silenceSeconds(), std::nullopt);
    dialog.allowedSendersField->setText(QStringLiteral("10.0.0.5"));
    EXPECT_EQ(dialog.silenceField->text(), QStringLiteral("never"));
    EXPECT_EQ(dialog.silenceSeconds(), std::nullopt);
    dialog.allowedSendersField->clear();
    EXPECT_EQ(dialog.silenceField->value(), 5);
    dialog.silenceField->setValue(30);
    dialog.allowedSendersField->setText(QStringLiteral("10.0.0.5"));
    EXPECT_EQ(dialog.silenceField->value(), 30) << "the user's choice stays";
    EXPECT_EQ(dialog.silenceSeconds(), 30);
}

TEST(TslSourceDialogTest, StartsFromTheRememberedSilence)
{
    TslSourceDialog never(QStringLiteral("tsl5://8900"), {}, 0);
    EXPECT_EQ(never.silenceField->text(), QStringLiteral("never"));
    EXPECT_EQ(never.silenceSeconds(), 0);
    TslSourceDialog twenty(QStringLiteral("tsl5://8900"), { QStringLiteral("10.0.0.5") }, 20);
    EXPECT_EQ(twenty.silenceSeconds(), 20);
}

TEST(TslSourceDialogTest, OKWaitsForAllowedSendersThatAreAddresses)
{
    TslSourceDialog dialog(QString(), {});
    auto* ok = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    EXPECT_TRUE(ok->isEnabled());
    dialog.allowedSendersField->setText(QStringLiteral("10.0.0.5, switcher"));
    EXPECT_FALSE(ok->isEnabled());
    EXPECT_TRUE(dialog.problemLabel->text().contains(QStringLiteral("'switcher' is not an IP address")))
        << dialog.problemLabel->text().toStdString();
    dialog.allowedSendersField->setText(QStringLiteral("10.0.0.5"));
    EXPECT_TRUE(ok->isEnabled());
    dialog.listenAddressField->setText(QStringLiteral("studio"));
    EXPECT_FALSE(ok->isEnabled());
}

TEST_F(SourceMenuTest, AnAtemSourceIsRecognisedByItsKind)
{
    auto source = std::make_unique<FakeShotSource>();
    source->sourceKind = ShotSource::Kind::atem;
    makeWindow(std::move(source));
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->obsSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(main.menu->atemSourceAction()->text(), QStringLiteral("Blackmagic ATEM…"));
}

TEST_F(SourceMenuTest, ChoosingAnAtemFollowsItAndRemembersTheChoice)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::atem);
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("ATEM switcher is not connected"));
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("atem://127.0.0.1:1"));
    EXPECT_FALSE(main.menu->chooseAtemSource(QStringLiteral("atem://"), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("no host"))) << problem.toStdString();
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked()) << "an unusable address changes nothing";
}

TEST(AtemSourceDialogTest, StartsFromThePreviousAddressAndGivesTheEnteredOne)
{
    AtemSourceDialog dialog(QStringLiteral("atem://10.0.0.9:9911"));
    EXPECT_EQ(dialog.hostField->text(), QStringLiteral("10.0.0.9"));
    EXPECT_EQ(dialog.portField->value(), 9911);
    dialog.hostField->setText(QStringLiteral(" studio-atem.local "));
    dialog.portField->setValue(9910);
    EXPECT_EQ(dialog.address(), QStringLiteral("atem://studio-atem.local:9910"));
}

TEST(AtemSourceDialogTest, WithoutAPreviousAddressItOffersPort9910AndWaitsForAHost)
{
    AtemSourceDialog dialog(QStringLiteral("obs://127.0.0.1:4455"));
    EXPECT_TRUE(dialog.hostField->text().isEmpty());
    EXPECT_EQ(dialog.portField->value(), 9910);
    const QDialogButtonBox* buttons = dialog.findChild<QDialogButtonBox*>();
    ASSERT_NE(buttons, nullptr);
    EXPECT_FALSE(buttons->button(QDialogButtonBox::Ok)->isEnabled());
    dialog.hostField->setText(QStringLiteral("10.0.0.9"));
    EXPECT_TRUE(buttons->button(QDialogButtonBox::Ok)->isEnabled());
}

TEST_F(SourceMenuTest, ATslListenerWhosePortIsTakenIsRefusedInABoxAndTheMenuKeepsItsTick)
{
    makeWindow();
    main.window->show();
    QUdpSocket holder;
    ASSERT_TRUE(holder.bind(QHostAddress::LocalHost, 0));
    QString boxTitle;
    QString boxText;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<TslSourceDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->listenAddressField->setText(QStringLiteral("127.0.0.1"));
        dialog->portField->setValue(holder.localPort());
        // The box comes once the dialog has closed.
        QTimer::singleShot(0, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            boxTitle = box->windowTitle();
            boxText = box->text();
            box->close();
        });
        dialog->accept();
    });
    main.menu->tslSourceAction()->trigger();
    EXPECT_TRUE(eventually([&] { return !boxTitle.isEmpty(); }, 5000));
    EXPECT_EQ(boxTitle, QStringLiteral("TSL UMD Listener"));
    EXPECT_TRUE(boxText.contains(QString::number(holder.localPort()))) << boxText.toStdString();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::mixdesk);
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->tslSourceAction()->isChecked());
}

TEST_F(SourceMenuTest, AnAtemAddressAcceptedInItsDialogIsFollowedAndTicked)
{
    makeWindow();
    main.window->show();
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<AtemSourceDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->hostField->setText(QStringLiteral("127.0.0.1"));
        dialog->accept();
    });
    main.menu->atemSourceAction()->trigger();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::atem);
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("atem://127.0.0.1:9910"));
}

TEST_F(SourceMenuTest, TheOBSDialogStartsFromTheOBSStudioTheWindowFollows)
{
    // Followed from the command line on 4465 while the settings remember
    // another.
    UserDefaults::standardUserDefaults().setObject(Preferences::shotSource, QStringLiteral("obs://studio.local:4455"));
    ObsShotSource::Settings settings;
    settings.address.host = QStringLiteral("127.0.0.1");
    settings.address.port = 4465;
    makeWindow(std::make_unique<ObsShotSource>(settings));
    main.window->show();
    QString host;
    int port = 0;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<ObsSourceDialog*>(QApplication::activeModalWidget());
        if (dialog) {
            host = dialog->hostField->text();
            port = dialog->portField->value();
            dialog->reject();
        }
    });
    main.menu->obsSourceAction()->trigger();
    EXPECT_TRUE(eventually([&] { return port != 0; }, 5000));
    EXPECT_EQ(host, QStringLiteral("127.0.0.1"));
    EXPECT_EQ(port, 4465);
}

TEST_F(SourceMenuTest, ChoosingVmixFollowsItAndRemembersTheChoice)
{
    makeWindow();
    EXPECT_EQ(main.menu->vmixSourceAction()->text(), QStringLiteral("vMix…"));
    QString problem;
    ASSERT_TRUE(main.menu->chooseVmixSource(QStringLiteral("vmix://127.0.0.1:1"), &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::vmix);
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("vMix is not connected"));
    EXPECT_TRUE(main.menu->vmixSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->atemSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("vmix://127.0.0.1:1"));
    EXPECT_FALSE(main.menu->chooseVmixSource(QStringLiteral("vmix://host:http"), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("the port 'http' is not a number"))) << problem.toStdString();
    EXPECT_TRUE(main.menu->vmixSourceAction()->isChecked()) << "an unusable address changes nothing";
}

TEST_F(SourceMenuTest, AVmixAddressAcceptedInItsDialogIsFollowedOnPort8099AndTicked)
{
    makeWindow();
    main.window->show();
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<VmixSourceDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->hostField->setText(QStringLiteral("127.0.0.1"));
        dialog->accept();
    });
    main.menu->vmixSourceAction()->trigger();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::vmix);
    EXPECT_TRUE(main.menu->vmixSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("vmix://127.0.0.1:8099"));
}

TEST(VmixSourceDialogTest, StartsFromThePreviousVmixAddressOrFromPort8099)
{
    VmixSourceDialog known(QStringLiteral("vmix://10.0.0.7:9000"));
    EXPECT_EQ(known.hostField->text(), QStringLiteral("10.0.0.7"));
    EXPECT_EQ(known.portField->value(), 9000);
    known.hostField->setText(QStringLiteral(" production-pc "));
    known.portField->setValue(8099);
    EXPECT_EQ(known.address(), QStringLiteral("vmix://production-pc:8099"));

    VmixSourceDialog fresh(QStringLiteral("atem://10.0.0.9:9910"));
    EXPECT_TRUE(fresh.hostField->text().isEmpty());
    EXPECT_EQ(fresh.portField->value(), 8099);
    const QDialogButtonBox* buttons = fresh.findChild<QDialogButtonBox*>();
    ASSERT_NE(buttons, nullptr);
    EXPECT_FALSE(buttons->button(QDialogButtonBox::Ok)->isEnabled());
}

TEST_F(SourceMenuTest, AddingSwitchersFollowsThemBesidesTheChosenSourceAndRemembersThem)
{
    makeWindow();
    ASSERT_NE(main.menu->addSourceMenu(), nullptr);
    EXPECT_EQ(main.menu->addSourceMenu()->title(), QStringLiteral("Add Switcher"));
    ASSERT_NE(main.menu->removeSourceMenu(), nullptr);
    EXPECT_FALSE(main.menu->removeSourceMenu()->isEnabled()) << "nothing added yet";
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk + ATEM + vMix"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked()) << "the chosen source is still the first";
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::addedShotSources).toStringList(),
        (QStringList { QStringLiteral("atem://127.0.0.1:1"), QStringLiteral("vmix://127.0.0.1:2") }));
    EXPECT_FALSE(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).isValid())
        << "the one-source key keeps its meaning";
    ASSERT_EQ(main.menu->removeSourceMenu()->actions().size(), 2);
    EXPECT_EQ(main.menu->removeSourceMenu()->actions().first()->text(), QStringLiteral("atem://127.0.0.1:1"));
    EXPECT_TRUE(main.menu->removeSourceMenu()->isEnabled());
}

TEST_F(SourceMenuTest, AnAddedSwitcherTwiceOrALabelTakenIsRefusedAndChangesNothing)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    EXPECT_FALSE(main.menu->addSource(QStringLiteral("atem://127.0.0.1:1"), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("followed already"))) << problem.toStdString();
    EXPECT_FALSE(main.menu->addSource(QStringLiteral("ATEM=vmix://127.0.0.1:2"), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("two sources are labelled 'ATEM'"))) << problem.toStdString();
    EXPECT_FALSE(main.menu->addSource(QStringLiteral("atem://"), &problem));
    EXPECT_EQ(MainMenu::addedSources(), QStringList { QStringLiteral("atem://127.0.0.1:1") });
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk + ATEM"));
}

TEST_F(SourceMenuTest, ChoosingAnotherSourceKeepsTheAddedSwitchersAndRemovingOneFromTheMenuDropsIt)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("Playback=vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("ATEM + Playback"));
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    ASSERT_EQ(main.menu->removeSourceMenu()->actions().size(), 1);
    main.menu->removeSourceMenu()->actions().first()->trigger();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::atem);
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Blackmagic ATEM"));
    EXPECT_TRUE(MainMenu::addedSources().isEmpty());
    EXPECT_FALSE(UserDefaults::standardUserDefaults().objectForKey(Preferences::addedShotSources).isValid());
    QApplication::processEvents(); // the triggered item goes
    EXPECT_TRUE(main.menu->removeSourceMenu()->actions().isEmpty());
    EXPECT_FALSE(main.menu->removeSourceMenu()->isEnabled());
}

TEST_F(SourceMenuTest, AOneSourceSettingFromBeforeIsTheFirstOfTheSwitchersFollowed)
{
    UserDefaults::standardUserDefaults().setObject(Preferences::shotSource, QStringLiteral("vmix://127.0.0.1:5"));
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("vMix + ATEM"));
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("vmix://127.0.0.1:5"));
}

TEST_F(SourceMenuTest, AddingAndRemovingSwitchersBesideATslListenerKeepsTheListenerRunningOnItsPort)
{
    makeWindow();
    const QString address = QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort());
    QString problem;
    ASSERT_TRUE(main.menu->chooseTslSource(address, {}, &problem)) << problem.toStdString();
    auto* listener = qobject_cast<TslShotSource*>(&controller->shotSource());
    ASSERT_NE(listener, nullptr);
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    QList<ShotSource*> switchers = CombinedShotSource::switchersOf(controller->shotSource());
    ASSERT_EQ(switchers.size(), 2);
    EXPECT_EQ(switchers.first(), listener) << "the listener is the one that ran before, not one built again";
    ShotSource* atem = switchers.last();
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    switchers = CombinedShotSource::switchersOf(controller->shotSource());
    ASSERT_EQ(switchers.size(), 3);
    EXPECT_EQ(switchers.at(0), listener);
    EXPECT_EQ(switchers.at(1), atem) << "an unchanged added switcher goes on as it was";
    ASSERT_TRUE(main.menu->removeSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    ASSERT_TRUE(main.menu->removeSource(QStringLiteral("vmix://127.0.0.1:2"), &problem)) << problem.toStdString();
    EXPECT_EQ(&controller->shotSource(), listener) << "alone again, the listener is followed as it always was";
    // It still hears its port: a TSL 5.0 message from here reaches it.
    QUdpSocket sender;
    TslUmd50::Packet packet;
    TslUmd50::Display display;
    display.index = 1;
    display.leftTally = TslUmd50::Colour::red;
    display.text = QStringLiteral("Cam 1");
    packet.displays.append(display);
    sender.writeDatagram(TslUmd50::encode(packet), QHostAddress::LocalHost, listener->localPort());
    EXPECT_TRUE(eventually([&] { return !listener->queryShots().isEmpty(); }, 5000));
}

TEST_F(SourceMenuTest, AnAddedTslListenerGoesOnListeningWhenAnotherSourceIsChosen)
{
    makeWindow();
    const QString address = QStringLiteral("tsl5://127.0.0.1:%1").arg(freeUdpPort());
    QString problem;
    ASSERT_TRUE(main.menu->addSource(address, &problem)) << problem.toStdString();
    QList<ShotSource*> switchers = CombinedShotSource::switchersOf(controller->shotSource());
    ASSERT_EQ(switchers.size(), 2);
    ShotSource* listener = switchers.last();
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    switchers = CombinedShotSource::switchersOf(controller->shotSource());
    ASSERT_EQ(switchers.size(), 2) << "the added listener is not left out for its port being taken";
    EXPECT_EQ(switchers.first()->kind(), ShotSource::Kind::atem);
    EXPECT_EQ(switchers.last(), listener);
}

namespace {

// The Add Switcher item whose text is given.
QAction* addSwitcherItem(MainMenu& menu, const QString& text)
{
    for (QAction* item : menu.addSourceMenu()->actions()) {
        if (item->text() == text) {
            return item;
        }
    }
    return nullptr;
}

// The OBS Studio among the switchers the window follows, if any.
ObsShotSource* followedObs(ViewController& controller)
{
    for (ShotSource* switcher : CombinedShotSource::switchersOf(controller.shotSource())) {
        if (auto* obs = qobject_cast<ObsShotSource*>(switcher)) {
            return obs;
        }
    }
    return nullptr;
}

// An OBS Studio in the test that asks for password, with one scene.
void setUpObsServer(FakeObsServer& server, const QString& password)
{
    server.password = password;
    server.scenes = { QStringLiteral("Wide") };
    server.inputs = { QStringLiteral("Camera 1") };
    server.items[QStringLiteral("Wide")] = { FakeObsServer::Item { 1, QStringLiteral("Camera 1") } };
    server.program = QStringLiteral("Wide");
}

} // namespace

TEST_F(SourceMenuTest, AddSwitcherOffersEveryKindTheWindowCanFollow)
{
    makeWindow();
    QStringList texts;
    for (QAction* item : main.menu->addSourceMenu()->actions()) {
        texts.append(item->text());
    }
    EXPECT_EQ(texts,
        (QStringList { QStringLiteral("Mixdesk"), QStringLiteral("OBS Studio…"), QStringLiteral("TSL UMD Listener…"),
            QStringLiteral("Blackmagic ATEM…"), QStringLiteral("vMix…") }));
}

TEST_F(SourceMenuTest, MixdeskAddedFromTheMenuIsFollowedBesideTheChosenSwitcher)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    QAction* item = addSwitcherItem(*main.menu, QStringLiteral("Mixdesk"));
    ASSERT_NE(item, nullptr);
    item->trigger();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("ATEM + Mixdesk"));
    EXPECT_EQ(MainMenu::addedSources(), QStringList { QStringLiteral("mixdesk") });
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
}

TEST_F(SourceMenuTest, MixdeskIsNotAddedBesideItselfWhenItIsTheChosenSource)
{
    makeWindow();
    QString problem;
    EXPECT_FALSE(main.menu->addSource(QStringLiteral("mixdesk"), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("followed already"))) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(MainMenu::addedSources().isEmpty());
}

TEST_F(SourceMenuTest, AnOBSStudioAddedInItsDialogConnectsAtOnceWithItsPasswordWhichTheSecretStoreKeeps)
{
    FakeObsServer server;
    ASSERT_TRUE(server.listening());
    setUpObsServer(server, QStringLiteral("added 5"));
    makeWindow();
    main.window->show();
    QString problem;
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<ObsSourceDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->hostField->setText(QStringLiteral("127.0.0.1"));
        dialog->portField->setValue(server.port());
        dialog->passwordField->setText(QStringLiteral("added 5"));
        dialog->accept();
    });
    QAction* item = addSwitcherItem(*main.menu, QStringLiteral("OBS Studio…"));
    ASSERT_NE(item, nullptr);
    item->trigger();
    ObsShotSource* obs = followedObs(*controller);
    ASSERT_NE(obs, nullptr);
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("ATEM + OBS"));
    EXPECT_TRUE(eventually([&] { return obs->isRunning(); }, 10000)) << "OBS Studio took the password";
    EXPECT_EQ(secretStore->secrets.value(ObsPasswordKeeper::secretKey), QStringLiteral("added 5"));
    EXPECT_FALSE(readFile(UserDefaults::standardUserDefaults().settingsFilePath()).contains("added 5"));
    EXPECT_EQ(MainMenu::addedSources(), QStringList { QStringLiteral("obs://127.0.0.1:%1").arg(server.port()) });
}

TEST_F(SourceMenuTest, AnOBSStudioAddedWithoutAPasswordGetsTheOneTheSecretStoreKeeps)
{
    FakeObsServer server;
    ASSERT_TRUE(server.listening());
    setUpObsServer(server, QStringLiteral("kept 7"));
    makeWindow();
    secretStore->secrets.insert(ObsPasswordKeeper::secretKey, QStringLiteral("kept 7"));
    QString problem;
    ASSERT_TRUE(main.menu->addSource(QStringLiteral("obs://127.0.0.1:%1").arg(server.port()), &problem))
        << problem.toStdString();
    ObsShotSource* obs = followedObs(*controller);
    ASSERT_NE(obs, nullptr);
    EXPECT_TRUE(eventually([&] { return obs->isRunning(); }, 10000)) << "OBS Studio took the kept password";
    EXPECT_EQ(secretStore->secrets.value(ObsPasswordKeeper::secretKey), QStringLiteral("kept 7"));
}

TEST_F(SourceMenuTest, ChoosingAnotherSourceKeepsThePasswordOfAnAddedOBSStudio)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->addObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 3"), &problem))
        << problem.toStdString();
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:2"), &problem)) << problem.toStdString();
    EXPECT_EQ(secretStore->secrets.value(ObsPasswordKeeper::secretKey), QStringLiteral("pw 3"));
    ASSERT_TRUE(main.menu->removeSource(QStringLiteral("obs://127.0.0.1:1"), &problem)) << problem.toStdString();
    main.menu->chooseMixdeskSource();
    EXPECT_TRUE(secretStore->secrets.isEmpty()) << "no OBS Studio is followed any more";
}

TEST_F(SourceMenuTest, ATslListenerAddedInItsDialogListensForTheChosenSendersWhichAreRemembered)
{
    makeWindow();
    main.window->show();
    const quint16 port = freeUdpPort();
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<TslSourceDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->listenAddressField->setText(QStringLiteral("127.0.0.1"));
        dialog->portField->setValue(port);
        dialog->allowedSendersField->setText(QStringLiteral("127.0.0.1"));
        dialog->accept();
    });
    QAction* item = addSwitcherItem(*main.menu, QStringLiteral("TSL UMD Listener…"));
    ASSERT_NE(item, nullptr);
    item->trigger();
    const QList<ShotSource*> switchers = CombinedShotSource::switchersOf(controller->shotSource());
    ASSERT_EQ(switchers.size(), 2);
    auto* listener = qobject_cast<TslShotSource*>(switchers.last());
    ASSERT_NE(listener, nullptr);
    EXPECT_EQ(listener->localPort(), port);
    EXPECT_EQ(listener->allowedSenders().entries(), QStringList { QStringLiteral("127.0.0.1") });
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::tslAllowedSenders).toStringList(),
        QStringList { QStringLiteral("127.0.0.1") });
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked()) << "the chosen source is still Mixdesk";
}
