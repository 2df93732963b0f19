#include "outputs/MqttPublisher.h"

#include "FakeMqttClient.h"
#include "support/Eventually.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <algorithm>

using namespace std::chrono_literals;

namespace {

TallySnapshot snapshot(TallyMode first, bool running = true)
{
    TallySnapshot built;
    built.sourceRunning = running;
    built.lights.append({ first, { QStringLiteral("Cam 1") } });
    built.lights.append({ TallyMode::off, {} });
    return built;
}

// The payloads published on topic, oldest first.
QList<QByteArray> payloadsOn(const FakeMqttClient::Record& record, const QString& topic)
{
    QList<QByteArray> payloads;
    for (const MqttMessage& message : record.published) {
        if (message.topic == topic) {
            payloads.append(message.payload);
        }
    }
    return payloads;
}

class MqttPublisherTest : public testing::Test {
protected:
    // A publisher whose retries come after 10 ms, 20 ms, ... instead of
    // seconds.
    void make(bool discovery = false, std::chrono::seconds stateExpiry = MqttTallyState::defaultStateExpiry,
        std::chrono::milliseconds answerWait = 3s)
    {
        MqttPublisher::Settings settings;
        QString problem;
        settings.address = *MqttBrokerAddress::parse(QStringLiteral("mqtt://broker/studio"), &problem);
        settings.instance = QStringLiteral("desk");
        settings.discovery = discovery;
        settings.stateExpiry = stateExpiry;
        settings.answerWait = answerWait;
        auto client = std::make_unique<FakeMqttClient>(record);
        fake = client.get();
        publisher = std::make_unique<MqttPublisher>(settings, std::move(client), MqttBackoff(10ms, 40ms),
            [] { return QDateTime::fromMSecsSinceEpoch(0, Qt::UTC); });
    }

    FakeMqttClient::Record record;
    FakeMqttClient* fake = nullptr;
    std::unique_ptr<MqttPublisher> publisher;
};

} // namespace

TEST_F(MqttPublisherTest, ConnectsAtOnceAndOnConnectingSaysOnlineThenTheState)
{
    make();
    EXPECT_EQ(record.attempts, 1);
    publisher->publish(snapshot(TallyMode::live));
    EXPECT_TRUE(record.published.isEmpty());
    fake->accept();
    ASSERT_FALSE(record.published.isEmpty());
    EXPECT_EQ(record.published.first(), (MqttMessage { "studio/status", "online", true }));
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), QList<QByteArray> { "live" });
    EXPECT_TRUE(publisher->isConnected());
    EXPECT_TRUE(publisher->condition().isEmpty());
}

TEST_F(MqttPublisherTest, EveryChangeGoesOutWhileConnectedAndTheSamePictureDoesNot)
{
    make();
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    publisher->publish(snapshot(TallyMode::live));
    publisher->publish(snapshot(TallyMode::preview));
    publisher->publish(snapshot(TallyMode::preview, false));
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), (QList<QByteArray> { "live", "preview", "unknown" }));
}

TEST_F(MqttPublisherTest, WhileTheBrokerIsAwayOnlyTheLatestStateWaitsAndANewConnectionGetsEverything)
{
    make();
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    fake->fail(QStringLiteral("the broker closed the connection"));
    for (int cut = 0; cut < 100; ++cut) {
        publisher->publish(snapshot(cut % 2 ? TallyMode::live : TallyMode::preview));
    }
    record.published.clear();
    fake->accept();
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), QList<QByteArray> { "live" });
    // The light that did not change is sent again too: the broker may have
    // restarted without it.
    EXPECT_EQ(payloadsOn(record, "studio/light/2/state"), QList<QByteArray> { "off" });
    EXPECT_EQ(payloadsOn(record, "studio/lights").size(), 1);
    EXPECT_EQ(payloadsOn(record, "studio/status"), QList<QByteArray> { "online" });
}

TEST_F(MqttPublisherTest, AFailedAttemptIsSaidAndTriedAgainAfterAGrowingWait)
{
    make();
    QSignalSpy said(publisher.get(), &MqttPublisher::conditionChanged);
    fake->fail(QStringLiteral("Connection refused"));
    EXPECT_EQ(publisher->condition(),
        QStringLiteral("MQTT mqtt://broker:1883/studio: Connection refused; trying again in 0.01 s"));
    EXPECT_EQ(record.attempts, 1);
    EXPECT_TRUE(eventually([&] { return record.attempts == 2; }, 2000));
    fake->fail(QStringLiteral("Connection refused"));
    EXPECT_TRUE(publisher->condition().endsWith(QStringLiteral("trying again in 0.02 s")));
    EXPECT_TRUE(eventually([&] { return record.attempts == 3; }, 2000));
    fake->accept();
    EXPECT_TRUE(publisher->condition().isEmpty());
    EXPECT_EQ(said.size(), 3);
    EXPECT_TRUE(said.last().first().toString().isEmpty());
    // A success starts the waits again from the first.
    fake->fail(QStringLiteral("the broker closed the connection"));
    EXPECT_TRUE(publisher->condition().endsWith(QStringLiteral("trying again in 0.01 s")));
}

TEST_F(MqttPublisherTest, DiscoveryDocumentsGoOutOnConnectingBeforeTheState)
{
    make(true);
    publisher->publish(snapshot(TallyMode::live));
    fake->accept();
    ASSERT_GE(record.published.size(), 3);
    EXPECT_EQ(record.published[1].topic, QStringLiteral("homeassistant/sensor/desk/light1/config"));
    EXPECT_EQ(payloadsOn(record, "homeassistant/sensor/desk/light8/config").size(), 1);
}

TEST_F(MqttPublisherTest, GoingAwaySaysOfflineAsTheLastMessage)
{
    make();
    fake->accept();
    FakeMqttClient::Record& kept = record;
    publisher.reset();
    EXPECT_TRUE(kept.closed);
    EXPECT_EQ(kept.lastMessages, QList<MqttMessage> { (MqttMessage { "studio/status", "offline", true }) });
}

TEST_F(MqttPublisherTest, GoingAwayMakesEveryLightUnknownForGoodBeforeSayingOffline)
{
    make();
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    publisher.reset();
    ASSERT_FALSE(record.lastMessages.isEmpty());
    EXPECT_EQ(record.lastMessages.last(), (MqttMessage { "studio/status", "offline", true }));
    const QList<MqttMessage> goodbye = record.lastMessages;
    EXPECT_TRUE(goodbye.contains(MqttMessage { "studio/light/1/state", "unknown", true }));
    EXPECT_TRUE(goodbye.contains(MqttMessage { "studio/light/2/state", "unknown", true }));
    EXPECT_EQ(std::count_if(goodbye.cbegin(), goodbye.cend(),
                  [](const MqttMessage& message) { return message.topic == QStringLiteral("studio/lights"); }),
        1);
}

TEST_F(MqttPublisherTest, GoingAwayAfterTheLightsWereTurnedOffAtQuitLeavesThemOff)
{
    make();
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    TallySnapshot dark = snapshot(TallyMode::off);
    dark.turnedOffAtQuit = true;
    publisher->publish(dark);
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), (QList<QByteArray> { "live", "off" }));
    publisher.reset();
    EXPECT_TRUE(record.lastMessages.contains(MqttMessage { "studio/light/1/state", "off", true }));
    EXPECT_TRUE(record.lastMessages.contains(MqttMessage { "studio/light/2/state", "off", true }));
    EXPECT_EQ(record.lastMessages.last(), (MqttMessage { "studio/status", "offline", true }));
}

TEST_F(MqttPublisherTest, WhileConnectedTheLightsStateIsSaidAgainBeforeItExpires)
{
    make(false, 1s);
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    ASSERT_EQ(payloadsOn(record, "studio/light/1/state").size(), 1);
    EXPECT_EQ(record.published[1].expiry, 1s);
    record.published.clear();
    // A third of the expiry later, with no new picture.
    QElapsedTimer since;
    since.start();
    ASSERT_TRUE(eventually([&] { return !payloadsOn(record, "studio/light/1/state").isEmpty(); }, 2000));
    EXPECT_GE(since.elapsed(), 250);
    EXPECT_LT(since.elapsed(), 1000);
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), QList<QByteArray> { "live" });
    EXPECT_EQ(payloadsOn(record, "studio/light/2/state"), QList<QByteArray> { "off" });
    EXPECT_EQ(payloadsOn(record, "studio/lights").size(), 1);
    // The status does not expire: nothing to say again.
    EXPECT_TRUE(payloadsOn(record, "studio/status").isEmpty());
    for (const MqttMessage& message : std::as_const(record.published)) {
        EXPECT_EQ(message.expiry, 1s) << message.topic.toStdString();
    }
}

TEST_F(MqttPublisherTest, OneThatNeverConnectedLeavesTheStatusAlone)
{
    make();
    fake->fail(QStringLiteral("Connection refused"));
    publisher.reset();
    EXPECT_TRUE(record.closed);
    EXPECT_TRUE(record.lastMessages.isEmpty());
}

TEST_F(MqttPublisherTest, WhileTheBrokerDoesNotAcknowledgeOnlyTheLatestStatePerTopicWaits)
{
    make();
    record.acknowledgesAtOnce = false;
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    ASSERT_EQ(payloadsOn(record, "studio/light/1/state"), QList<QByteArray> { "live" });
    // The broker stalls: twenty cuts, none of them handed to the client.
    for (int cut = 0; cut < 20; ++cut) {
        publisher->publish(snapshot(cut % 2 ? TallyMode::preview : TallyMode::off));
    }
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), QList<QByteArray> { "live" });
    EXPECT_EQ(payloadsOn(record, "studio/lights").size(), 1);
    // It wakes and takes what it had: the state of now follows, once.
    fake->acknowledgeAll();
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), (QList<QByteArray> { "live", "preview" }));
    EXPECT_EQ(payloadsOn(record, "studio/lights").size(), 2);
    fake->acknowledgeAll();
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), (QList<QByteArray> { "live", "preview" }));
    EXPECT_TRUE(record.unacknowledged.isEmpty());
}

TEST_F(MqttPublisherTest, EachTopicHasAtMostOneMessageUnacknowledged)
{
    make();
    record.acknowledgesAtOnce = false;
    fake->accept();
    for (int cut = 0; cut < 50; ++cut) {
        publisher->publish(snapshot(cut % 2 ? TallyMode::preview : TallyMode::live));
        if (cut % 7 == 0) {
            fake->acknowledgeAll();
        }
        QList<QString> topics = record.unacknowledged;
        std::sort(topics.begin(), topics.end());
        EXPECT_EQ(std::adjacent_find(topics.cbegin(), topics.cend()), topics.cend()) << "after cut " << cut;
    }
}

TEST_F(MqttPublisherTest, AfterTheStalledConnectionIsLostEachLampGetsOnlyTheCurrentState)
{
    make();
    record.acknowledgesAtOnce = false;
    fake->accept();
    publisher->publish(snapshot(TallyMode::live));
    for (int cut = 0; cut < 20; ++cut) {
        publisher->publish(snapshot(cut % 2 ? TallyMode::live : TallyMode::preview));
    }
    fake->fail(QStringLiteral("the broker stopped answering"));
    record.published.clear();
    fake->accept();
    EXPECT_EQ(payloadsOn(record, "studio/light/1/state"), QList<QByteArray> { "live" });
    EXPECT_EQ(payloadsOn(record, "studio/light/2/state"), QList<QByteArray> { "off" });
    EXPECT_EQ(payloadsOn(record, "studio/lights").size(), 1);
}

TEST_F(MqttPublisherTest, AnAttemptTheBrokerDoesNotAnswerIsSaidAndGoesOn)
{
    make(false, MqttTallyState::defaultStateExpiry, 50ms);
    QSignalSpy said(publisher.get(), &MqttPublisher::conditionChanged);
    ASSERT_TRUE(eventually([&] { return !said.isEmpty(); }, 2000));
    EXPECT_EQ(publisher->condition(),
        QStringLiteral("MQTT mqtt://broker:1883/studio: no answer from the broker within 0.05 s; still trying"));
    EXPECT_EQ(record.attempts, 1);
    fake->accept();
    EXPECT_TRUE(publisher->condition().isEmpty());
}

TEST_F(MqttPublisherTest, AnAttemptAnsweredInTimeSaysNothingOfWaiting)
{
    make(false, MqttTallyState::defaultStateExpiry, 50ms);
    fake->accept();
    QSignalSpy said(publisher.get(), &MqttPublisher::conditionChanged);
    EXPECT_FALSE(eventually([&] { return !said.isEmpty(); }, 200));
    EXPECT_TRUE(publisher->condition().isEmpty());
}
