// The web page and TSL outputs chosen in the window's settings: off unless
// chosen, started at launch unless the command line says otherwise, and
// replaced at once when other choices are applied, without losing a working
// setup to a bad choice or a busy port.

#include "launch/NetworkOutputs.h"

#include "base/UserDefaults.h"
#include "net/launch/TakingOptions.h"
#include "net/outputs/WebTallyClient.h"
#include "outputs/DmxSender.h"
#include "outputs/MqttPublisher.h"
#include "outputs/TslSender.h"
#include "outputs/VmixFeedServer.h"
#include "outputs/WebTallyServer.h"
#include "support/Eventually.h"
#include "support/FakeShotSource.h"
#include "support/FreePort.h"
#include "support/UdpReceiver.h"
#include "tally/TallyCycle.h"
#include "tallymap/TallyMap.h"
#include "tsl/TslTallyEncoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkDatagram>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUdpSocket>

#include <gtest/gtest.h>

namespace {

// Why the choices cannot be used; nothing when they can.
std::optional<QString> problemWith(const NetworkOutputChoices& choices)
{
    return problemOf([&](QString* problem) { return choices.check(problem); });
}

// The cycle's screen, which these tests do not look at.
class UnseenWindow : public TallyCycle::Observer {
public:
    void setMixdeskWarningHidden(bool) override { }
    void setEnableEditing(bool) override { }
    void refreshAssignmentTitles() override { }
    qsizetype indicatorCount() const override { return TallyMap::numberOfLights; }
    void showLightMode(qsizetype, TallyMode) override { }
};

using Receiver = UdpReceiver;

// Whether a connection to the port on this machine is refused outright.
bool refused(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    eventually(
        [&] {
            return socket.state() == QAbstractSocket::UnconnectedState
                || socket.state() == QAbstractSocket::ConnectedState;
        },
        5000);
    return socket.error() == QAbstractSocket::ConnectionRefusedError;
}

bool answersLights(quint16 port)
{
    const HttpAnswer answer = httpGet(port, QStringLiteral("/api/lights"));
    return answer.status == 200 && QJsonDocument::fromJson(answer.body).object().contains(QStringLiteral("lights"));
}

class NetworkOutputsTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(directory.isValid());
        auto live = std::make_shared<Shot>(QStringLiteral("Camera 1"));
        live->shotId = QStringLiteral("1");
        live->isLive = true;
        source.shots = { live, std::make_shared<Shot>(QStringLiteral("Unused")) };
        map.setShotSelection(0, { std::make_shared<Shot>(QStringLiteral("Camera 1")) });
    }

    void tick() { cycle.updateTallyLights(shotList, map); }

    // The lights after a tick: light 1 live on Camera 1, the others off.
    static TallySnapshot lightsAfterTick()
    {
        TallySnapshot snapshot;
        snapshot.sourceRunning = true;
        snapshot.lights = QList<LightState>(TallyMap::numberOfLights);
        snapshot.lights[0] = { TallyMode::live, { QStringLiteral("Camera 1") } };
        return snapshot;
    }

    static NetworkOutputChoices webOn(quint16 port)
    {
        NetworkOutputChoices choices;
        choices.web = QStringLiteral("127.0.0.1:%1").arg(port);
        return choices;
    }

    QTemporaryDir directory;
    UserDefaults defaults { directory.filePath(QStringLiteral("preferences.ini")) };
    FakeShotSource source;
    UnseenWindow window;
    TallyCycle cycle { source, window, TallyCycle::byteByByte([](quint8) {}) };
    TallyMap map;
    ShotList shotList;
    NetworkOutputs outputs { cycle };
};

} // namespace

TEST_F(NetworkOutputsTest, WithNoSettingsAndNoOptionsNoOutputStarts)
{
    const NetworkOutputChoices saved = NetworkOutputChoices::saved(defaults);
    EXPECT_EQ(saved, NetworkOutputChoices {});
    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(RunOptions {}, saved, &problem)) << problem.toStdString();
    EXPECT_EQ(outputs.webServer(), nullptr);
    EXPECT_EQ(outputs.tslSender(), nullptr);
    EXPECT_EQ(outputs.current(), NetworkOutputChoices {});
    EXPECT_TRUE(outputs.problem().isEmpty());
}

TEST_F(NetworkOutputsTest, NoOutputSettingIsRegisteredAsOn)
{
    const QVariantMap registered = Preferences::registeredDefaults();
    for (const QString& key : { Preferences::webTally, Preferences::tsl31Destinations, Preferences::tsl50Destinations,
             Preferences::tslIndexOffset }) {
        EXPECT_FALSE(registered.contains(key)) << key.toStdString();
    }
}

TEST_F(NetworkOutputsTest, ASavedWebPageAnswersOnItsPortAtLaunch)
{
    const quint16 port = freePort();
    defaults.setObject(Preferences::webTally, QStringLiteral("127.0.0.1:%1").arg(port));
    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(RunOptions {}, NetworkOutputChoices::saved(defaults), &problem));
    ASSERT_NE(outputs.webServer(), nullptr);
    tick();
    const HttpAnswer answer = httpGet(port, QStringLiteral("/api/lights"));
    ASSERT_EQ(answer.status, 200);
    const QJsonObject state = QJsonDocument::fromJson(answer.body).object();
    EXPECT_TRUE(state.value(QStringLiteral("sourceRunning")).toBool());
    const QJsonObject first = state.value(QStringLiteral("lights")).toArray().first().toObject();
    EXPECT_EQ(first.value(QStringLiteral("mode")).toString(), QStringLiteral("live"));
}

TEST_F(NetworkOutputsTest, TheCommandLineWinsOverTheSavedChoicesOfTheSameKind)
{
    Receiver saved31;
    Receiver given50;
    const quint16 savedPort = freePort();
    NetworkOutputChoices saved = webOn(savedPort);
    saved.tsl31Destinations = { saved31.url() };
    const quint16 givenPort = freePort();
    QStringList arguments { QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(givenPort),
        QStringLiteral("--tsl5"), given50.url() };
    RunOptions commandLine;
    ASSERT_EQ(takingOptions(arguments, &commandLine), std::nullopt);

    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(commandLine, saved, &problem)) << problem.toStdString();
    tick();
    EXPECT_TRUE(answersLights(givenPort));
    EXPECT_TRUE(refused(savedPort));
    EXPECT_EQ(given50.waitFor(TallyMap::numberOfLights),
        TslTallyEncoding::packets(TslTallyEncoding::Version::v50, lightsAfterTick(), 0));
    EXPECT_TRUE(saved31.waitFor(1, 300).isEmpty());
    EXPECT_EQ(outputs.current(), NetworkOutputChoices::of(commandLine));
}

TEST_F(NetworkOutputsTest, ACommandLineWebPageLeavesTheSavedTslOutputsOn)
{
    Receiver saved31;
    NetworkOutputChoices saved;
    saved.tsl31Destinations = { saved31.url() };
    saved.tslIndexOffset = 3;
    const quint16 givenPort = freePort();
    QStringList arguments { QStringLiteral("--web=127.0.0.1:%1").arg(givenPort) };
    RunOptions commandLine;
    ASSERT_EQ(takingOptions(arguments, &commandLine), std::nullopt);

    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(commandLine, saved, &problem)) << problem.toStdString();
    tick();
    EXPECT_TRUE(answersLights(givenPort));
    EXPECT_EQ(saved31.waitFor(TallyMap::numberOfLights),
        TslTallyEncoding::packets(TslTallyEncoding::Version::v31, lightsAfterTick(), 3));
}

TEST_F(NetworkOutputsTest, ApplyingTslChoicesSendsThreeOneAndFiveBytesAtOnce)
{
    Receiver receiver31;
    Receiver receiver50;
    NetworkOutputChoices choices;
    choices.tsl31Destinations = { receiver31.url() };
    choices.tsl50Destinations = { receiver50.url() };
    choices.tslIndexOffset = 2;
    QString problem;
    ASSERT_TRUE(outputs.apply(choices, &problem)) << problem.toStdString();
    ASSERT_NE(outputs.tslSender(), nullptr);
    tick();
    EXPECT_EQ(receiver31.waitFor(TallyMap::numberOfLights),
        TslTallyEncoding::packets(TslTallyEncoding::Version::v31, lightsAfterTick(), 2));
    EXPECT_EQ(receiver50.waitFor(TallyMap::numberOfLights),
        TslTallyEncoding::packets(TslTallyEncoding::Version::v50, lightsAfterTick(), 2));
    EXPECT_EQ(outputs.current(), choices);
}

TEST_F(NetworkOutputsTest, SavedDmxChoicesStartAtLaunchAndSendTheLightsAsArtNet)
{
    Receiver receiver;
    NetworkOutputChoices chosen;
    chosen.dmxDestinations = { receiver.url().replace(QStringLiteral("udp://"), QStringLiteral("artnet://")) + "/5" };
    chosen.dmxStartChannel = 3;
    chosen.dmxLayout = QStringLiteral("single");
    chosen.save(defaults);
    EXPECT_EQ(NetworkOutputChoices::saved(defaults), chosen);

    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(RunOptions {}, NetworkOutputChoices::saved(defaults), &problem))
        << problem.toStdString();
    ASSERT_NE(outputs.dmxSender(), nullptr);
    tick();
    const QList<QByteArray> datagrams = receiver.waitFor(1);
    ASSERT_FALSE(datagrams.isEmpty());
    EXPECT_EQ(quint8(datagrams[0][14]), 5);
    // Light 1 (live) on channel 3, the others off.
    EXPECT_EQ(datagrams[0].mid(18, 4), QByteArray("\x00\x00\xff\x00", 4));
}

TEST_F(NetworkOutputsTest, UnchangedDmxChoicesKeepTheRunningSenderAndBadOnesAreRefusedInTheOperatorsWords)
{
    NetworkOutputChoices choices;
    choices.dmxDestinations = { QStringLiteral("artnet://127.0.0.1:9/0") };
    QString problem;
    ASSERT_TRUE(outputs.apply(choices, &problem)) << problem.toStdString();
    DmxSender* running = outputs.dmxSender();
    ASSERT_NE(running, nullptr);
    choices.web = QStringLiteral("127.0.0.1:%1").arg(freePort());
    ASSERT_TRUE(outputs.apply(choices, &problem)) << problem.toStdString();
    EXPECT_EQ(outputs.dmxSender(), running);

    NetworkOutputChoices bad = choices;
    bad.dmxStartChannel = 490;
    EXPECT_EQ(problemWith(bad),
        QStringLiteral("DMX: the 8 lights take 24 channels in the rgb layout, so the first channel must be between 1 "
                       "and 489, not 490"));
    EXPECT_FALSE(outputs.apply(bad, &problem));
    EXPECT_EQ(outputs.dmxSender(), running);
    bad = choices;
    bad.dmxDestinations = { QStringLiteral("sacn:///0") };
    EXPECT_TRUE(problemWith(bad).value_or(QString()).startsWith(QStringLiteral("DMX: bad sACN address 'sacn:///0'")));
    bad = choices;
    bad.dmxLayout = QStringLiteral("rgbw");
    EXPECT_EQ(problemWith(bad), QStringLiteral("DMX: the layout is rgb or single, not 'rgbw'"));
}

TEST_F(NetworkOutputsTest, TurningTheWebPageOffStopsItsServer)
{
    const quint16 port = freePort();
    QString problem;
    ASSERT_TRUE(outputs.apply(webOn(port), &problem)) << problem.toStdString();
    ASSERT_TRUE(answersLights(port));
    ASSERT_TRUE(outputs.apply(NetworkOutputChoices {}, &problem)) << problem.toStdString();
    EXPECT_EQ(outputs.webServer(), nullptr);
    EXPECT_TRUE(refused(port));
    tick(); // the cycle no longer holds the server it had
}

TEST_F(NetworkOutputsTest, ABadDestinationIsRefusedWithItsReasonAndTheRunningSetupStays)
{
    const quint16 port = freePort();
    QString problem;
    ASSERT_TRUE(outputs.choose(webOn(port), defaults, &problem)) << problem.toStdString();
    WebTallyServer* running = outputs.webServer();

    NetworkOutputChoices bad;
    bad.tsl50Destinations = { QStringLiteral("ftp://studio:21") };
    EXPECT_FALSE(outputs.choose(bad, defaults, &problem));
    EXPECT_EQ(problem,
        QStringLiteral("TSL 5.0: bad TSL destination 'ftp://studio:21': expected udp://HOST:PORT or tcp://HOST:PORT"));
    EXPECT_EQ(outputs.webServer(), running);
    EXPECT_EQ(outputs.current(), webOn(port));
    EXPECT_EQ(NetworkOutputChoices::saved(defaults), webOn(port));
    tick();
    EXPECT_TRUE(answersLights(port));
}

TEST_F(NetworkOutputsTest, AnOffsetPastAVersionsDisplayIndexesIsRefusedInTheOperatorsWords)
{
    NetworkOutputChoices choices;
    choices.tsl31Destinations = { QStringLiteral("udp://127.0.0.1:8900") };
    choices.tslIndexOffset = 119;
    EXPECT_EQ(problemWith(choices),
        QStringLiteral("The display index offset 119 is too large for TSL 3.1: display indexes end at 126, so the "
                       "offset can be at most 118"));
    choices.tslIndexOffset = -1;
    EXPECT_EQ(problemWith(choices), QStringLiteral("The display index offset must be 0 or more, not -1"));
    choices.tslIndexOffset = 118;
    EXPECT_EQ(problemWith(choices), std::nullopt);
}

TEST_F(NetworkOutputsTest, AWebPageWithoutAUsableAddressIsRefusedWithItsReason)
{
    NetworkOutputChoices choices;
    choices.web = QString();
    EXPECT_EQ(problemWith(choices),
        QStringLiteral("The web tally page needs a port to listen on: [ADDRESS:]PORT, such as 8080"));
    choices.web = QStringLiteral("studio:8080");
    EXPECT_EQ(problemWith(choices), QStringLiteral("Web tally page: 'studio' is not an IP address"));
    QString problem;
    EXPECT_FALSE(outputs.apply(choices, &problem));
}

TEST_F(NetworkOutputsTest, ABusyPortIsReportedAndTheWorkingSetupIsNotLost)
{
    Receiver receiver;
    const quint16 port = freePort();
    NetworkOutputChoices working = webOn(port);
    working.tsl31Destinations = { receiver.url() };
    QString problem;
    ASSERT_TRUE(outputs.choose(working, defaults, &problem)) << problem.toStdString();

    QTcpServer taken;
    ASSERT_TRUE(taken.listen(QHostAddress::LocalHost, 0));
    EXPECT_FALSE(outputs.choose(webOn(taken.serverPort()), defaults, &problem));
    EXPECT_TRUE(problem.contains(QString::number(taken.serverPort()))) << problem.toStdString();

    EXPECT_EQ(outputs.current(), working);
    EXPECT_EQ(NetworkOutputChoices::saved(defaults), working);
    tick();
    EXPECT_TRUE(answersLights(port));
    EXPECT_EQ(receiver.waitFor(TallyMap::numberOfLights).size(), TallyMap::numberOfLights);
}

TEST_F(NetworkOutputsTest, ASavedWebPageOnABusyPortLeavesTheWindowStartingAndSaysWhy)
{
    QTcpServer taken;
    ASSERT_TRUE(taken.listen(QHostAddress::LocalHost, 0));
    defaults.setObject(Preferences::webTally, QStringLiteral("127.0.0.1:%1").arg(taken.serverPort()));
    QSignalSpy reported(&outputs, &NetworkOutputs::problemChanged);
    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(RunOptions {}, NetworkOutputChoices::saved(defaults), &problem));
    EXPECT_EQ(outputs.webServer(), nullptr);
    ASSERT_EQ(reported.size(), 1);
    const QString said = reported.first().first().toString();
    EXPECT_TRUE(said.startsWith(QStringLiteral("The saved web tally page did not start: "))) << said.toStdString();
    EXPECT_TRUE(said.contains(QString::number(taken.serverPort()))) << said.toStdString();
    EXPECT_EQ(outputs.problem(), said);
    // The choice stays saved, for when the port is free again.
    EXPECT_EQ(NetworkOutputChoices::saved(defaults).web, QStringLiteral("127.0.0.1:%1").arg(taken.serverPort()));
}

TEST_F(NetworkOutputsTest, AFailureOfTheCommandLinesOwnOutputsStopsTheLaunch)
{
    QStringList arguments { QStringLiteral("--tsl5"), QStringLiteral("ftp://studio:21") };
    RunOptions commandLine;
    ASSERT_EQ(takingOptions(arguments, &commandLine), std::nullopt);
    QString problem;
    EXPECT_FALSE(outputs.startAtLaunch(commandLine, NetworkOutputChoices {}, &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("ftp://studio:21"))) << problem.toStdString();
    EXPECT_FALSE(checkOutputs(commandLine, nullptr)) << "the launch calls it a usage mistake";
}

TEST_F(NetworkOutputsTest, ApplyingTheSameAddressKeepsThePageAndItsOpenConnections)
{
    const quint16 port = freePort();
    QString problem;
    ASSERT_TRUE(outputs.apply(webOn(port), &problem));
    tick();
    PageSocket page(port);
    ASSERT_TRUE(page.connected());
    WebTallyServer* running = outputs.webServer();
    NetworkOutputChoices withTsl = webOn(port);
    withTsl.tsl50Destinations = { QStringLiteral("udp://127.0.0.1:9") };
    ASSERT_TRUE(outputs.apply(withTsl, &problem)) << problem.toStdString();
    EXPECT_EQ(outputs.webServer(), running);
    EXPECT_EQ(page.socket.state(), QAbstractSocket::ConnectedState);
}

TEST_F(NetworkOutputsTest, ThePageMovesToEveryInterfaceOnTheSamePort)
{
    const quint16 port = freePort();
    QString problem;
    ASSERT_TRUE(outputs.apply(webOn(port), &problem));
    NetworkOutputChoices everywhere;
    everywhere.web = QString::number(port);
    ASSERT_TRUE(outputs.apply(everywhere, &problem)) << problem.toStdString();
    tick();
    EXPECT_TRUE(answersLights(port));
    EXPECT_EQ(outputs.current(), everywhere);
}

TEST_F(NetworkOutputsTest, ChosenOutputsAreSavedAndReadBackAlike)
{
    NetworkOutputChoices choices;
    choices.web = QStringLiteral("127.0.0.1:%1").arg(freePort());
    choices.tsl31Destinations = { QStringLiteral("udp://127.0.0.1:4003") };
    choices.tsl50Destinations = { QStringLiteral("udp://127.0.0.1:8900"), QStringLiteral("tcp://127.0.0.1:9") };
    choices.tslIndexOffset = 4;
    QString problem;
    ASSERT_TRUE(outputs.choose(choices, defaults, &problem)) << problem.toStdString();
    UserDefaults reopened(defaults.settingsFilePath());
    EXPECT_EQ(NetworkOutputChoices::saved(reopened), choices);

    ASSERT_TRUE(outputs.choose(NetworkOutputChoices {}, defaults, &problem)) << problem.toStdString();
    UserDefaults reopenedOff(defaults.settingsFilePath());
    EXPECT_EQ(NetworkOutputChoices::saved(reopenedOff), NetworkOutputChoices {});
}

TEST_F(NetworkOutputsTest, TheFeedsAllowListIsSavedAndAChangeKeepsTheRunningFeed)
{
    NetworkOutputChoices choices;
    choices.vmixFeed = QStringLiteral("127.0.0.1:%1").arg(freePort());
    choices.vmixFeedAllowedClients = QStringLiteral("127.0.0.2, 10.0.0.0/24");
    QString problem;
    ASSERT_TRUE(outputs.choose(choices, defaults, &problem)) << problem.toStdString();
    UserDefaults reopened(defaults.settingsFilePath());
    EXPECT_EQ(NetworkOutputChoices::saved(reopened), choices);
    VmixFeedServer* const feed = outputs.vmixFeed();
    ASSERT_NE(feed, nullptr);
    EXPECT_EQ(feed->allowedClients().entries(), (QStringList { "127.0.0.2", "10.0.0.0/24" }));

    // Everyone again, on every interface of the same port: the same feed.
    NetworkOutputChoices everyone;
    everyone.vmixFeed = QString::number(feed->port());
    ASSERT_TRUE(outputs.choose(everyone, defaults, &problem)) << problem.toStdString();
    EXPECT_EQ(outputs.vmixFeed(), feed);
    EXPECT_TRUE(feed->allowedClients().isEmpty());
    EXPECT_EQ(feed->address().address, QHostAddress(QHostAddress::Any));

    NetworkOutputChoices bad = everyone;
    bad.vmixFeedAllowedClients = QStringLiteral("studio");
    EXPECT_FALSE(outputs.choose(bad, defaults, &problem));
    EXPECT_TRUE(problem.startsWith(QStringLiteral("vMix tally feed: only from: "))) << problem.toStdString();
    EXPECT_EQ(outputs.vmixFeed(), feed);
}

TEST_F(NetworkOutputsTest, MqttChoicesAreSavedAndAnUnchangedPublisherGoesOn)
{
    NetworkOutputChoices choices;
    choices.mqttBrokers = { QStringLiteral("mqtt://127.0.0.1:%1/studio").arg(freePort()) };
    QString problem;
    ASSERT_TRUE(outputs.choose(choices, defaults, &problem)) << problem.toStdString();
    ASSERT_EQ(outputs.mqttPublishers().size(), 1u);
    const MqttPublisher* first = outputs.mqttPublishers().front().get();

    choices.web = QStringLiteral("127.0.0.1:%1").arg(freePort());
    ASSERT_TRUE(outputs.choose(choices, defaults, &problem)) << problem.toStdString();
    EXPECT_EQ(outputs.mqttPublishers().front().get(), first);

    choices.mqttDiscovery = true;
    choices.mqttCaFile = QStringLiteral("/etc/hostname");
    ASSERT_TRUE(outputs.choose(choices, defaults, &problem)) << problem.toStdString();
    EXPECT_TRUE(outputs.mqttPublishers().front()->settings().discovery);
    UserDefaults reopened(defaults.settingsFilePath());
    EXPECT_EQ(NetworkOutputChoices::saved(reopened), choices);
}

TEST_F(NetworkOutputsTest, ABrokerThatCannotBeReachedIsSaidWhileTheOtherOutputsRun)
{
    NetworkOutputChoices choices = webOn(freePort());
    choices.mqttBrokers = { QStringLiteral("mqtt://127.0.0.1:%1").arg(freePort()) };
    QString problem;
    ASSERT_TRUE(outputs.apply(choices, &problem)) << problem.toStdString();
    EXPECT_TRUE(eventually([&] {
        return outputs.problem().contains(QStringLiteral("Connection refused; trying again in 1 s"));
    })) << outputs.problem().toStdString();
    tick();
    EXPECT_TRUE(answersLights(choices.runOptions().web->port));
}

TEST_F(NetworkOutputsTest, ABadBrokerIsRefusedInTheOperatorsWords)
{
    NetworkOutputChoices choices;
    choices.mqttBrokers = { QStringLiteral("broker.studio") };
    QString problem;
    EXPECT_FALSE(outputs.apply(choices, &problem));
    EXPECT_EQ(problem,
        QStringLiteral(
            "MQTT: bad MQTT broker 'broker.studio': expected mqtt://[USER@]HOST[:PORT][/PREFIX] or mqtts://..."));
    EXPECT_TRUE(outputs.mqttPublishers().empty());
}

TEST_F(NetworkOutputsTest, SavedMqttChoicesStartAtLaunchUnlessTheCommandLineGivesItsOwn)
{
    NetworkOutputChoices saved;
    saved.mqttBrokers = { QStringLiteral("mqtt://127.0.0.1:%1/saved").arg(freePort()) };
    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(RunOptions {}, saved, &problem)) << problem.toStdString();
    ASSERT_EQ(outputs.mqttPublishers().size(), 1u);
    EXPECT_EQ(outputs.mqttPublishers().front()->topicPrefix(), QStringLiteral("saved"));

    NetworkOutputs other { cycle };
    RunOptions commandLine;
    commandLine.mqttBrokers = { QStringLiteral("mqtt://127.0.0.1:%1/given").arg(freePort()) };
    commandLine.mqttGiven = true;
    ASSERT_TRUE(other.startAtLaunch(commandLine, saved, &problem)) << problem.toStdString();
    ASSERT_EQ(other.mqttPublishers().size(), 1u);
    EXPECT_EQ(other.mqttPublishers().front()->topicPrefix(), QStringLiteral("given"));
}

TEST_F(NetworkOutputsTest, ASavedPasswordFileThatCannotBeReadLeavesTheWindowStartingAndSaysWhy)
{
    NetworkOutputChoices saved;
    saved.mqttBrokers = { QStringLiteral("mqtt://tally@127.0.0.1:%1").arg(freePort()) };
    saved.mqttPasswordFile = directory.filePath(QStringLiteral("missing-password"));
    QString problem;
    ASSERT_TRUE(outputs.startAtLaunch(RunOptions {}, saved, &problem)) << problem.toStdString();
    EXPECT_TRUE(outputs.mqttPublishers().empty());
    EXPECT_TRUE(outputs.problem().startsWith(
        QStringLiteral("The saved MQTT outputs did not start: cannot read the password file '%1'")
            .arg(saved.mqttPasswordFile)))
        << outputs.problem().toStdString();
}
