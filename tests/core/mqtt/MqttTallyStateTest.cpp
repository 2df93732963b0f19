#include "mqtt/MqttTallyState.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

const QDateTime at = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);

TallySnapshot snapshot(bool running, QList<TallyMode> modes)
{
    TallySnapshot picture;
    picture.sourceRunning = running;
    int number = 1;
    for (TallyMode mode : modes) {
        picture.lights.append({ mode, { QStringLiteral("Camera %1").arg(number++) } });
    }
    return picture;
}

QStringList topics(const QList<MqttMessage>& messages)
{
    QStringList names;
    for (const MqttMessage& message : messages) {
        names.append(message.topic);
    }
    return names;
}

QByteArray payloadOf(const QList<MqttMessage>& messages, const QString& topic)
{
    for (const MqttMessage& message : messages) {
        if (message.topic == topic) {
            return message.payload;
        }
    }
    ADD_FAILURE() << "no message on " << topic.toStdString();
    return {};
}

} // namespace

TEST(MqttTallyStateTest, TheFirstSnapshotSendsEveryLightWordAndJsonThenTheWholePicture)
{
    MqttTallyState state(QStringLiteral("studio"));
    const QList<MqttMessage> messages
        = state.messagesFor(snapshot(true, { TallyMode::live, TallyMode::preview, TallyMode::off }), at);
    EXPECT_EQ(topics(messages),
        (QStringList { "studio/light/1/state", "studio/light/1", "studio/light/2/state", "studio/light/2",
            "studio/light/3/state", "studio/light/3", "studio/lights" }));
    EXPECT_EQ(payloadOf(messages, "studio/light/1/state"), "live");
    EXPECT_EQ(payloadOf(messages, "studio/light/2/state"), "preview");
    EXPECT_EQ(payloadOf(messages, "studio/light/3/state"), "off");
    for (const MqttMessage& message : messages) {
        EXPECT_TRUE(message.retain) << message.topic.toStdString();
    }
}

TEST(MqttTallyStateTest, ALightsJsonCarriesModeShotsSourceSequenceAndTime)
{
    MqttTallyState state(QStringLiteral("studio"));
    const QList<MqttMessage> messages = state.messagesFor(snapshot(true, { TallyMode::live }), at);
    const QJsonObject light = QJsonDocument::fromJson(payloadOf(messages, "studio/light/1")).object();
    EXPECT_EQ(light.value("light").toInt(), 1);
    EXPECT_EQ(light.value("mode").toString(), QStringLiteral("live"));
    EXPECT_EQ(light.value("state").toString(), QStringLiteral("live"));
    EXPECT_EQ(light.value("shots").toArray(), QJsonArray { QStringLiteral("Camera 1") });
    EXPECT_TRUE(light.value("sourceRunning").toBool());
    EXPECT_EQ(light.value("sequence").toInt(), 1);
    EXPECT_EQ(light.value("timestamp").toString(), QStringLiteral("2023-11-14T22:13:20.123Z"));
    const QJsonObject whole = QJsonDocument::fromJson(payloadOf(messages, "studio/lights")).object();
    EXPECT_EQ(whole.value("lights").toArray().size(), 1);
    EXPECT_EQ(whole.value("sequence").toInt(), 1);
}

TEST(MqttTallyStateTest, TheSamePictureSendsNothingAndAChangeSendsOnlyTheChangedLights)
{
    MqttTallyState state(QStringLiteral("p"));
    state.messagesFor(snapshot(true, { TallyMode::live, TallyMode::preview, TallyMode::off }), at);
    EXPECT_TRUE(
        state.messagesFor(snapshot(true, { TallyMode::live, TallyMode::preview, TallyMode::off }), at).isEmpty());
    const QList<MqttMessage> cut
        = state.messagesFor(snapshot(true, { TallyMode::preview, TallyMode::live, TallyMode::off }), at);
    EXPECT_EQ(
        topics(cut), (QStringList { "p/light/1/state", "p/light/1", "p/light/2/state", "p/light/2", "p/lights" }));
    EXPECT_EQ(state.sequence(), 2);
    EXPECT_EQ(QJsonDocument::fromJson(payloadOf(cut, "p/light/2")).object().value("sequence").toInt(), 2);
}

TEST(MqttTallyStateTest, ALostSourceMakesEveryLightUnknownButKeepsItsLastMode)
{
    MqttTallyState state(QStringLiteral("p"));
    state.messagesFor(snapshot(true, { TallyMode::live, TallyMode::off }), at);
    const QList<MqttMessage> lost = state.messagesFor(snapshot(false, { TallyMode::live, TallyMode::off }), at);
    EXPECT_EQ(payloadOf(lost, "p/light/1/state"), "unknown");
    EXPECT_EQ(payloadOf(lost, "p/light/2/state"), "unknown");
    const QJsonObject light = QJsonDocument::fromJson(payloadOf(lost, "p/light/1")).object();
    EXPECT_EQ(light.value("mode").toString(), QStringLiteral("live"));
    EXPECT_FALSE(light.value("sourceRunning").toBool());
}

TEST(MqttTallyStateTest, UnderTestEveryLampFollowsTheBoxMarkedAsATestEvenWithTheSourceLost)
{
    MqttTallyState state(QStringLiteral("p"));
    state.messagesFor(snapshot(false, { TallyMode::off, TallyMode::off }), at);
    TallySnapshot underTest = snapshot(false, { TallyMode::live, TallyMode::off });
    underTest.underTest = true;
    const QList<MqttMessage> test = state.messagesFor(underTest, at);
    EXPECT_EQ(payloadOf(test, "p/light/1/state"), "live");
    EXPECT_EQ(payloadOf(test, "p/light/2/state"), "off");
    EXPECT_TRUE(QJsonDocument::fromJson(payloadOf(test, "p/light/2")).object().value("test").toBool());
    EXPECT_TRUE(QJsonDocument::fromJson(payloadOf(test, "p/lights")).object().value("test").toBool());
    const QList<MqttMessage> over = state.messagesFor(snapshot(false, { TallyMode::live, TallyMode::off }), at);
    EXPECT_EQ(payloadOf(over, "p/light/1/state"), "unknown");
    EXPECT_FALSE(QJsonDocument::fromJson(payloadOf(over, "p/lights")).object().value("test").toBool());
}

TEST(MqttTallyStateTest, ALightsJsonNamesTheAssignedShotsTheSourceLacks)
{
    MqttTallyState state(QStringLiteral("p"));
    TallySnapshot picture = snapshot(true, { TallyMode::off });
    picture.lights[0].missingShots = { QStringLiteral("Camera 1") };
    const QList<MqttMessage> messages = state.messagesFor(picture, at);
    const QJsonObject light = QJsonDocument::fromJson(payloadOf(messages, "p/light/1")).object();
    EXPECT_EQ(light.value("missing").toArray(), QJsonArray { QStringLiteral("Camera 1") });
}

TEST(MqttTallyStateTest, EveryStateMessageExpiresAtTheBrokerAndIsSaidAgainThreeTimesAsOften)
{
    MqttTallyState usual(QStringLiteral("p"));
    const QList<MqttMessage> messages = usual.messagesFor(snapshot(true, { TallyMode::live, TallyMode::off }), at);
    ASSERT_FALSE(messages.isEmpty());
    for (const MqttMessage& message : messages) {
        EXPECT_EQ(message.expiry, 15s) << message.topic.toStdString();
    }
    EXPECT_EQ(usual.refreshInterval(), 5000ms);

    MqttTallyState quick(QStringLiteral("p"), 3s);
    EXPECT_EQ(quick.messagesFor(snapshot(false, { TallyMode::live }), at).first().expiry, 3s);
    EXPECT_EQ(quick.refreshInterval(), 1000ms);
}

TEST(MqttTallyStateTest, TheGoodbyeMakesEveryLightUnknownForGood)
{
    MqttTallyState state(QStringLiteral("p"));
    state.messagesFor(snapshot(true, { TallyMode::live, TallyMode::preview }), at);
    const QList<MqttMessage> goodbye = state.goodbyeMessages(at);
    EXPECT_EQ(
        topics(goodbye), (QStringList { "p/light/1/state", "p/light/1", "p/light/2/state", "p/light/2", "p/lights" }));
    EXPECT_EQ(payloadOf(goodbye, "p/light/1/state"), "unknown");
    EXPECT_EQ(payloadOf(goodbye, "p/light/2/state"), "unknown");
    for (const MqttMessage& message : goodbye) {
        EXPECT_TRUE(message.retain) << message.topic.toStdString();
        EXPECT_FALSE(message.expires()) << message.topic.toStdString();
    }
    const QJsonObject light = QJsonDocument::fromJson(payloadOf(goodbye, "p/light/1")).object();
    EXPECT_EQ(light.value("state").toString(), QStringLiteral("unknown"));
    EXPECT_EQ(light.value("sequence").toInt(), 2);
    const QJsonArray lights
        = QJsonDocument::fromJson(payloadOf(goodbye, "p/lights")).object().value("lights").toArray();
    ASSERT_EQ(lights.size(), 2);
    EXPECT_EQ(lights[1].toObject().value("state").toString(), QStringLiteral("unknown"));
}

TEST(MqttTallyStateTest, LightsTurnedOffAtQuitAreOffEvenWithTheSourceLostAndStayOffAfterTheGoodbye)
{
    MqttTallyState state(QStringLiteral("p"));
    state.messagesFor(snapshot(false, { TallyMode::live, TallyMode::off }), at);
    TallySnapshot dark = snapshot(false, { TallyMode::off, TallyMode::off });
    dark.turnedOffAtQuit = true;
    const QList<MqttMessage> last = state.messagesFor(dark, at);
    EXPECT_EQ(payloadOf(last, "p/light/1/state"), "off");
    // Its word changed from unknown too, although its mode did not.
    EXPECT_EQ(payloadOf(last, "p/light/2/state"), "off");
    const QList<MqttMessage> goodbye = state.goodbyeMessages(at);
    EXPECT_EQ(payloadOf(goodbye, "p/light/1/state"), "off");
    EXPECT_EQ(payloadOf(goodbye, "p/light/2/state"), "off");
    EXPECT_EQ(QJsonDocument::fromJson(payloadOf(goodbye, "p/light/1")).object().value("state").toString(),
        QStringLiteral("off"));
    EXPECT_FALSE(goodbye.first().expires());
}

TEST(MqttTallyStateTest, NothingToSayGoodbyeToBeforeTheFirstSnapshot)
{
    MqttTallyState state(QStringLiteral("p"));
    EXPECT_TRUE(state.goodbyeMessages(at).isEmpty());
    EXPECT_EQ(state.sequence(), 0);
}

TEST(MqttTallyStateTest, ALightOnASwitcherLostWhileOthersRunIsUnknownAndItsJsonSaysLost)
{
    TallySnapshot picture = snapshot(true, { TallyMode::live, TallyMode::preview });
    picture.lights[0].sourceLost = true;
    EXPECT_EQ(MqttTallyState::stateWord(picture, picture.lights[0]), QByteArrayLiteral("unknown"));
    EXPECT_EQ(MqttTallyState::stateWord(picture, picture.lights[1]), QByteArrayLiteral("preview"));
    MqttTallyState state(QStringLiteral("studio"));
    const QList<MqttMessage> messages = state.messagesFor(picture, at);
    const QJsonObject first = QJsonDocument::fromJson(payloadOf(messages, QStringLiteral("studio/light/1"))).object();
    EXPECT_TRUE(first.value(QStringLiteral("lost")).toBool());
    const QJsonObject second = QJsonDocument::fromJson(payloadOf(messages, QStringLiteral("studio/light/2"))).object();
    EXPECT_FALSE(second.contains(QStringLiteral("lost")));
}
