// Outputs > Network Outputs: the web tally page and the TSL outputs chosen in
// the window, running at once and remembered for the next start.

#include "base/Problem.h"
#include "dialogs/NetworkOutputsDialog.h"
#include "dialogs/PhoneLinksDialog.h"
#include "dialogs/PhoneLinksView.h"
#include "mainwindow/StatusLine.h"
#include "net/outputs/WebTallyClient.h"
#include "outputs/VmixFeedServer.h"
#include "outputs/WebTallyServer.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTcpServer>
#include <QTcpSocket>

namespace {

class NetworkOutputsMenuTest : public MainWindowFixture { };

NetworkOutputChoices everyField()
{
    NetworkOutputChoices choices;
    choices.web = QStringLiteral("192.168.1.20:8080");
    choices.tsl31Destinations = { QStringLiteral("udp://10.0.0.21:4003") };
    choices.tsl50Destinations = { QStringLiteral("udp://10.0.0.20:8900"), QStringLiteral("tcp://10.0.0.22:9000") };
    choices.tslIndexOffset = 4;
    return choices;
}

// Answers the dialog the menu opens, once it is up.
void whenTheDialogOpens(const std::function<void(NetworkOutputsDialog&)>& answer)
{
    QTimer::singleShot(0, [answer] {
        auto* dialog = qobject_cast<NetworkOutputsDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        answer(*dialog);
        // Whatever the answer, the dialog must not be left waiting.
        if (dialog->isVisible()) {
            dialog->reject();
        }
    });
}

void clickOk(NetworkOutputsDialog& dialog)
{
    dialog.buttons->button(QDialogButtonBox::Ok)->click();
}

} // namespace

TEST_F(NetworkOutputsMenuTest, TheOutputsMenuOffersNetworkOutputs)
{
    makeWindow();
    ASSERT_NE(main.menu->outputsMenu(), nullptr);
    EXPECT_EQ(main.menu->outputsMenu()->title(), QStringLiteral("&Outputs"));
    EXPECT_TRUE(main.menu->outputsMenu()->actions().contains(main.menu->networkOutputsAction()));
    EXPECT_EQ(main.menu->networkOutputsAction()->text(), QStringLiteral("&Network Outputs…"));
}

TEST_F(NetworkOutputsMenuTest, AWindowWithNothingChosenRunsNoNetworkOutput)
{
    makeWindow();
    EXPECT_EQ(controller->networkOutputs().webServer(), nullptr);
    EXPECT_EQ(controller->networkOutputs().tslSender(), nullptr);
    EXPECT_EQ(controller->networkOutputs().current(), NetworkOutputChoices {});
}

TEST_F(NetworkOutputsMenuTest, ChoosingTheWebPageInTheDialogServesItAtOnceAndRemembersIt)
{
    makeWindow();
    const quint16 port = freePort();
    const QString address = QStringLiteral("127.0.0.1:%1").arg(port);
    bool accepted = false;
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) {
        EXPECT_FALSE(dialog.webCheckBox->isChecked());
        dialog.webCheckBox->setChecked(true);
        dialog.webAddressField->setText(address);
        clickOk(dialog);
        accepted = dialog.result() == QDialog::Accepted;
    });
    main.menu->networkOutputsAction()->trigger();
    ASSERT_TRUE(accepted);
    answer({ { "1", "Cam 1", true, false } });
    tick();
    EXPECT_EQ(httpGet(port, QStringLiteral("/api/lights")).status, 200);
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::webTally).toString(), address);
}

TEST_F(NetworkOutputsMenuTest, ChoosingTheVmixFeedInTheDialogStartsItAtOnceAndRemembersIt)
{
    makeWindow();
    const quint16 port = freePort();
    const QString address = QStringLiteral("127.0.0.1:%1").arg(port);
    bool accepted = false;
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) {
        EXPECT_FALSE(dialog.vmixFeedCheckBox->isChecked());
        EXPECT_FALSE(dialog.vmixFeedAddressField->isEnabled());
        dialog.vmixFeedCheckBox->setChecked(true);
        dialog.vmixFeedAddressField->setText(address);
        clickOk(dialog);
        accepted = dialog.result() == QDialog::Accepted;
    });
    main.menu->networkOutputsAction()->trigger();
    ASSERT_TRUE(accepted);
    ASSERT_NE(controller->networkOutputs().vmixFeed(), nullptr);
    answer({ { "1", "Cam 1", true, false } });
    tick();
    QTcpSocket receiver;
    receiver.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(receiver.waitForConnected(5000));
    receiver.write("TALLY\r\n");
    QByteArray answered;
    EXPECT_TRUE(eventually([&] {
        answered += receiver.readAll();
        return answered.endsWith("\r\n");
    }));
    EXPECT_TRUE(answered.startsWith("TALLY OK ")) << answered.toStdString();
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::vmixFeed).toString(), address);
}

TEST(NetworkOutputsDialogTest, ShowsAndGivesTheVmixFeedAddress)
{
    NetworkOutputChoices current;
    current.vmixFeed = QStringLiteral("127.0.0.1:8100");
    current.vmixFeedAllowedClients = QStringLiteral("10.0.0.0/24");
    NetworkOutputsDialog dialog(current, [](const NetworkOutputChoices&, QString*) { return true; });
    EXPECT_TRUE(dialog.vmixFeedCheckBox->isChecked());
    EXPECT_EQ(dialog.vmixFeedAddressField->text(), QStringLiteral("127.0.0.1:8100"));
    EXPECT_EQ(dialog.vmixFeedAllowedField->text(), QStringLiteral("10.0.0.0/24"));
    EXPECT_EQ(dialog.choices(), current);
    dialog.vmixFeedAllowedField->clear();
    // Off keeps the address in the field, and gives no feed.
    dialog.vmixFeedCheckBox->setChecked(false);
    EXPECT_FALSE(dialog.vmixFeedAddressField->isEnabled());
    EXPECT_FALSE(dialog.vmixFeedAllowedField->isEnabled());
    EXPECT_EQ(dialog.vmixFeedAddressField->text(), QStringLiteral("127.0.0.1:8100"));
    EXPECT_EQ(dialog.choices(), NetworkOutputChoices {});
    dialog.vmixFeedCheckBox->setChecked(true);
    dialog.vmixFeedAddressField->setText(QStringLiteral(" 8200 "));
    dialog.vmixFeedAllowedField->setText(QStringLiteral(" 10.0.0.5, 10.0.0.6 "));
    NetworkOutputChoices expected;
    expected.vmixFeed = QStringLiteral("8200");
    expected.vmixFeedAllowedClients = QStringLiteral("10.0.0.5, 10.0.0.6");
    EXPECT_EQ(dialog.choices(), expected);
}

TEST_F(NetworkOutputsMenuTest, ABadDestinationKeepsTheDialogOpenWithTheReasonAndTheTypedChoices)
{
    makeWindow();
    bool stayedOpen = false;
    QString shownReason;
    QString keptText;
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) {
        dialog.tsl31Field->setPlainText(QStringLiteral("studio:8900"));
        clickOk(dialog);
        stayedOpen = dialog.isVisible() && dialog.result() != QDialog::Accepted;
        shownReason = dialog.problemLabel->isVisible() ? dialog.problemLabel->text() : QString();
        keptText = dialog.tsl31Field->toPlainText();
    });
    main.menu->networkOutputsAction()->trigger();
    EXPECT_TRUE(stayedOpen);
    EXPECT_EQ(shownReason,
        QStringLiteral("TSL 3.1: bad TSL destination 'studio:8900': expected udp://HOST:PORT or tcp://HOST:PORT"));
    EXPECT_EQ(keptText, QStringLiteral("studio:8900"));
    EXPECT_EQ(controller->networkOutputs().tslSender(), nullptr);
    EXPECT_FALSE(UserDefaults::standardUserDefaults().objectForKey(Preferences::tsl31Destinations).isValid());
}

TEST_F(NetworkOutputsMenuTest, ABusyPortIsShownInTheDialogAndTheRunningPageGoesOn)
{
    makeWindow();
    const quint16 port = freePort();
    NetworkOutputChoices working;
    working.web = QStringLiteral("127.0.0.1:%1").arg(port);
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(working, nullptr));
    QTcpServer taken;
    ASSERT_TRUE(taken.listen(QHostAddress::LocalHost, 0));
    QString shownReason;
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) {
        EXPECT_EQ(dialog.webAddressField->text(), *working.web);
        dialog.webAddressField->setText(QStringLiteral("127.0.0.1:%1").arg(taken.serverPort()));
        clickOk(dialog);
        shownReason = dialog.problemLabel->text();
    });
    main.menu->networkOutputsAction()->trigger();
    EXPECT_TRUE(shownReason.contains(QString::number(taken.serverPort()))) << shownReason.toStdString();
    tick();
    EXPECT_EQ(httpGet(port, QStringLiteral("/api/lights")).status, 200);
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::webTally).toString(), *working.web);
}

TEST_F(NetworkOutputsMenuTest, ASavedPageThatCannotListenAtLaunchShowsOnTheStatusLine)
{
    makeWindow();
    QTcpServer taken;
    ASSERT_TRUE(taken.listen(QHostAddress::LocalHost, 0));
    NetworkOutputChoices saved;
    saved.web = QStringLiteral("127.0.0.1:%1").arg(taken.serverPort());
    QString problem;
    ASSERT_TRUE(controller->networkOutputs().startAtLaunch(RunOptions {}, saved, &problem));
    EXPECT_TRUE(main.statusLine->showsProblem());
    EXPECT_TRUE(main.statusLine->text().contains(QStringLiteral("The saved web tally page did not start")))
        << main.statusLine->text().toStdString();
    // Chosen again once the port is free, the page runs and the line clears
    // of it.
    const quint16 port = freePort();
    NetworkOutputChoices elsewhere;
    elsewhere.web = QStringLiteral("127.0.0.1:%1").arg(port);
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(elsewhere, nullptr));
    EXPECT_FALSE(main.statusLine->text().contains(QStringLiteral("web tally page")))
        << main.statusLine->text().toStdString();
}

TEST_F(NetworkOutputsMenuTest, WhileThePageRunsTheDialogShowsEveryPhoneLinkWithItsCode)
{
    makeWindow();
    const quint16 port = freePort();
    NetworkOutputChoices page;
    page.web = QStringLiteral("127.0.0.1:%1").arg(port);
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(page, nullptr));
    const QString root = QStringLiteral("http://127.0.0.1:%1/").arg(port);
    QList<PhoneLink> shown;
    bool visible = false;
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) {
        visible = dialog.phoneLinksView->isVisibleTo(&dialog);
        shown = dialog.phoneLinksView->links();
    });
    main.menu->networkOutputsAction()->trigger();
    EXPECT_TRUE(visible);
    ASSERT_EQ(shown.size(), 9);
    EXPECT_EQ(shown.first().url, root);
    for (int light = 1; light <= 8; ++light) {
        EXPECT_EQ(shown.at(light).url, root + QStringLiteral("light/%1").arg(light));
    }
}

TEST_F(NetworkOutputsMenuTest, WithoutThePageTheDialogShowsNoPhoneLinks)
{
    makeWindow();
    bool visible = true;
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) { visible = dialog.phoneLinksView->isVisibleTo(&dialog); });
    main.menu->networkOutputsAction()->trigger();
    EXPECT_FALSE(visible);
}

TEST_F(NetworkOutputsMenuTest, TurningThePageOnBringsUpThePhoneLinksAndTheViewMenuShowsThemAgain)
{
    makeWindow();
    main.window->show();
    EXPECT_TRUE(main.menu->viewMenu()->actions().contains(main.menu->phoneLinksAction()));
    EXPECT_EQ(main.menu->phoneLinksAction()->text(), QStringLiteral("&Phone Links…"));
    const quint16 port = freePort();
    whenTheDialogOpens([&](NetworkOutputsDialog& dialog) {
        dialog.webCheckBox->setChecked(true);
        dialog.webAddressField->setText(QStringLiteral("127.0.0.1:%1").arg(port));
        clickOk(dialog);
    });
    main.menu->networkOutputsAction()->trigger();
    PhoneLinksDialog* links = main.menu->phoneLinksDialog();
    ASSERT_NE(links, nullptr);
    EXPECT_TRUE(links->isVisible());
    // It leaves the main window and the lights alone.
    EXPECT_EQ(links->windowModality(), Qt::NonModal);
    EXPECT_EQ(links->view->list->count(), 9);
    EXPECT_EQ(links->view->links().value(2).url, QStringLiteral("http://127.0.0.1:%1/light/2").arg(port));

    links->close();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(main.menu->phoneLinksDialog(), nullptr);
    main.menu->phoneLinksAction()->trigger();
    ASSERT_NE(main.menu->phoneLinksDialog(), nullptr);
    EXPECT_EQ(main.menu->phoneLinksDialog()->view->list->count(), 9);
}

TEST_F(NetworkOutputsMenuTest, ThePhoneLinksWithoutThePageSayHowToTurnItOn)
{
    makeWindow();
    main.menu->phoneLinksAction()->trigger();
    ASSERT_NE(main.menu->phoneLinksDialog(), nullptr);
    EXPECT_EQ(main.menu->phoneLinksDialog()->view->list->count(), 0);
    EXPECT_TRUE(main.menu->phoneLinksDialog()->view->chosenUrl->text().contains(QStringLiteral("Network Outputs")));
}

TEST_F(NetworkOutputsMenuTest, ABrokerThatCannotBeReachedShowsOnTheStatusLineWithItsNextTry)
{
    makeWindow();
    NetworkOutputChoices choices;
    choices.mqttBrokers = { QStringLiteral("mqtt://127.0.0.1:%1/studio").arg(freePort()) };
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(choices, nullptr));
    EXPECT_TRUE(eventually([&] {
        return main.statusLine->text().contains(QStringLiteral("Connection refused; trying again in 1 s"));
    })) << main.statusLine->text().toStdString();
    EXPECT_TRUE(main.statusLine->showsProblem());
    // Turned off, the broker no longer stands on the line.
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(NetworkOutputChoices {}, nullptr));
    EXPECT_FALSE(main.statusLine->text().contains(QStringLiteral("MQTT"))) << main.statusLine->text().toStdString();
}

TEST(NetworkOutputsDialogTest, ShowsTheCurrentChoicesAndGivesThemBackUnchanged)
{
    const NetworkOutputChoices current = everyField();
    NetworkOutputsDialog dialog(current, [](const NetworkOutputChoices&, QString*) { return true; });
    EXPECT_TRUE(dialog.webCheckBox->isChecked());
    EXPECT_EQ(dialog.webAddressField->text(), QStringLiteral("192.168.1.20:8080"));
    EXPECT_EQ(dialog.tsl50Field->toPlainText(), QStringLiteral("udp://10.0.0.20:8900\ntcp://10.0.0.22:9000"));
    EXPECT_EQ(dialog.offsetField->value(), 4);
    EXPECT_EQ(dialog.choices(), current);
}

TEST(NetworkOutputsDialogTest, GivesTheEditedFieldsAsChoices)
{
    NetworkOutputsDialog dialog(NetworkOutputChoices {}, [](const NetworkOutputChoices&, QString*) { return true; });
    EXPECT_FALSE(dialog.webCheckBox->isChecked());
    EXPECT_FALSE(dialog.webAddressField->isEnabled());
    EXPECT_EQ(dialog.offsetField->value(), 0);
    dialog.webCheckBox->setChecked(true);
    EXPECT_TRUE(dialog.webAddressField->isEnabled());
    dialog.webAddressField->setText(QStringLiteral(" 8080 "));
    dialog.tsl31Field->setPlainText(QStringLiteral("  udp://10.0.0.21:4003 \n\n"));
    dialog.tsl50Field->setPlainText(QStringLiteral("udp://10.0.0.20:8900\ntcp://10.0.0.22:9000\n"));
    dialog.offsetField->setValue(10);
    NetworkOutputChoices expected;
    expected.web = QStringLiteral("8080");
    expected.tsl31Destinations = { QStringLiteral("udp://10.0.0.21:4003") };
    expected.tsl50Destinations = { QStringLiteral("udp://10.0.0.20:8900"), QStringLiteral("tcp://10.0.0.22:9000") };
    expected.tslIndexOffset = 10;
    EXPECT_EQ(dialog.choices(), expected);
}

TEST(NetworkOutputsDialogTest, TurningThePageOffKeepsItsAddressForTurningItOnAgain)
{
    NetworkOutputsDialog dialog(everyField(), [](const NetworkOutputChoices&, QString*) { return true; });
    dialog.webCheckBox->setChecked(false);
    EXPECT_EQ(dialog.choices().web, std::nullopt);
    EXPECT_EQ(dialog.webAddressField->text(), QStringLiteral("192.168.1.20:8080"));
    dialog.webCheckBox->setChecked(true);
    EXPECT_EQ(dialog.choices().web, QStringLiteral("192.168.1.20:8080"));
}

TEST(NetworkOutputsDialogTest, OkHandsTheChoicesOverAndClosesOnlyWhenTheyWereTaken)
{
    QList<NetworkOutputChoices> handed;
    std::optional<QString> answer = QStringLiteral("The display index offset must be 0 or more, not -1");
    NetworkOutputsDialog dialog(everyField(), [&](const NetworkOutputChoices& choices, QString* problem) {
        handed.append(choices);
        return answer ? reportProblem(problem, *answer) : true;
    });
    dialog.show();
    dialog.buttons->button(QDialogButtonBox::Ok)->click();
    ASSERT_EQ(handed.size(), 1);
    EXPECT_EQ(handed.first(), everyField());
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(dialog.problemLabel->isVisible());
    EXPECT_EQ(dialog.problemLabel->text(), *answer);

    answer.reset();
    dialog.buttons->button(QDialogButtonBox::Ok)->click();
    EXPECT_EQ(handed.size(), 2);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_FALSE(dialog.problemLabel->isVisibleTo(&dialog));
}

TEST(NetworkOutputsDialogTest, ShowsAndGivesTheMqttChoices)
{
    NetworkOutputChoices current;
    current.mqttBrokers = { QStringLiteral("mqtt://broker.studio"), QStringLiteral("mqtts://tally@10.0.0.5/studio") };
    current.mqttDiscovery = true;
    current.mqttPasswordFile = QStringLiteral("/etc/mixdesk-tally/mqtt-password");
    NetworkOutputsDialog dialog(current, [](const NetworkOutputChoices&, QString*) { return true; });
    EXPECT_EQ(dialog.mqttField->toPlainText(), QStringLiteral("mqtt://broker.studio\nmqtts://tally@10.0.0.5/studio"));
    EXPECT_TRUE(dialog.mqttDiscoveryCheckBox->isChecked());
    EXPECT_EQ(dialog.mqttPasswordFileField->text(), QStringLiteral("/etc/mixdesk-tally/mqtt-password"));
    EXPECT_TRUE(dialog.mqttCaFileField->text().isEmpty());
    EXPECT_EQ(dialog.choices(), current);

    dialog.mqttField->setPlainText(QStringLiteral(" mqtt://other \n\n"));
    dialog.mqttDiscoveryCheckBox->setChecked(false);
    dialog.mqttCaFileField->setText(QStringLiteral(" ca.pem "));
    NetworkOutputChoices expected = current;
    expected.mqttBrokers = { QStringLiteral("mqtt://other") };
    expected.mqttDiscovery = false;
    expected.mqttCaFile = QStringLiteral("ca.pem");
    EXPECT_EQ(dialog.choices(), expected);
}

TEST(NetworkOutputsDialogTest, ShowsAndGivesTheDmxChoices)
{
    NetworkOutputChoices current;
    current.dmxDestinations = { QStringLiteral("artnet://10.0.0.20/3"), QStringLiteral("sacn://") };
    current.dmxStartChannel = 101;
    current.dmxLayout = QStringLiteral("single");
    NetworkOutputsDialog dialog(current, [](const NetworkOutputChoices&, QString*) { return true; });
    EXPECT_EQ(dialog.dmxField->toPlainText(), QStringLiteral("artnet://10.0.0.20/3\nsacn://"));
    EXPECT_EQ(dialog.dmxStartField->value(), 101);
    EXPECT_EQ(dialog.dmxLayoutField->currentData().toString(), QStringLiteral("single"));
    EXPECT_EQ(dialog.choices(), current);

    dialog.dmxField->setPlainText(QStringLiteral(" sacn:///7 \n\n"));
    dialog.dmxStartField->setValue(1);
    dialog.dmxLayoutField->setCurrentIndex(dialog.dmxLayoutField->findData(QStringLiteral("rgb")));
    NetworkOutputChoices expected = current;
    expected.dmxDestinations = { QStringLiteral("sacn:///7") };
    expected.dmxStartChannel = 1;
    expected.dmxLayout = QStringLiteral("rgb");
    EXPECT_EQ(dialog.choices(), expected);
}
