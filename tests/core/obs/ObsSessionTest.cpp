// The conversation with OBS Studio without a socket: what it answers to the
// greeting, how it reads the picture, and what it refuses.

#include "obs/ObsSession.h"

#include "obs/ObsAuthentication.h"
#include "support/ShotSummary.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <gtest/gtest.h>

namespace {

class RecordingConnection : public ObsSession::Connection {
public:
    QList<QJsonObject> sent;
    QStringList refusals;
    int readingsStarted = 0;
    int readingsFinished = 0;
    int readies = 0;
    int changes = 0;

    void sendText(const QString& message) override { sent.append(QJsonDocument::fromJson(message.toUtf8()).object()); }
    void readingStarted() override { ++readingsStarted; }
    void readingFinished() override { ++readingsFinished; }
    void becameReady() override { ++readies; }
    void pictureChanged() override { ++changes; }
    void refuse(const QString& why) override { refusals.append(why); }
};

QString message(int op, const QJsonObject& data)
{
    return QString::fromUtf8(
        QJsonDocument(QJsonObject { { QStringLiteral("op"), op }, { QStringLiteral("d"), data } }).toJson());
}

QString hello(const QString& salt, const QString& challenge)
{
    return message(0,
        { { QStringLiteral("rpcVersion"), 1 },
            { QStringLiteral("authentication"),
                QJsonObject { { QStringLiteral("salt"), salt }, { QStringLiteral("challenge"), challenge } } } });
}

const QString salt = QStringLiteral("c2FsdA==");
const QString challenge = QStringLiteral("Y2hhbGxlbmdl");

class ObsSessionTest : public testing::Test {
protected:
    // Answers every request the session has sent since the last call, as
    // an OBS with one scene "Wide" holding "Camera 1" would.
    void answerRequests()
    {
        while (m_answered < connection.sent.size()) {
            const QJsonObject envelope = connection.sent[m_answered++];
            if (envelope.value(QLatin1String("op")).toInt() != 6) {
                continue;
            }
            const QJsonObject request = envelope.value(QLatin1String("d")).toObject();
            const QString type = request.value(QLatin1String("requestType")).toString();
            QJsonObject data;
            if (type == QLatin1String("GetSceneList")) {
                data = { { QStringLiteral("currentProgramSceneName"), QStringLiteral("Wide") },
                    { QStringLiteral("scenes"),
                        QJsonArray { QJsonObject { { QStringLiteral("sceneName"), QStringLiteral("Wide") },
                            { QStringLiteral("sceneIndex"), 0 } } } } };
            } else if (type == QLatin1String("GetInputList")) {
                data = { { QStringLiteral("inputs"),
                    QJsonArray { QJsonObject { { QStringLiteral("inputName"), QStringLiteral("Camera 1") } } } } };
            } else if (type == QLatin1String("GetSceneItemList")) {
                data = { { QStringLiteral("sceneItems"),
                    QJsonArray { QJsonObject { { QStringLiteral("sceneItemId"), 1 },
                        { QStringLiteral("sourceName"), QStringLiteral("Camera 1") } } } } };
            } else if (refusedRequests.contains(type)) {
                // As OBS answers a request it cannot carry out: a failed
                // status and no data.
                session.receive(message(7,
                    { { QStringLiteral("requestType"), type },
                        { QStringLiteral("requestId"), request.value("requestId") },
                        { QStringLiteral("requestStatus"),
                            QJsonObject { { QStringLiteral("result"), false }, { QStringLiteral("code"), 604 } } } }));
                continue;
            } else if (activeOutputs.contains(type)) {
                data = { { QStringLiteral("outputActive"), activeOutputs.value(type) } };
            }
            session.receive(message(7,
                { { QStringLiteral("requestType"), type }, { QStringLiteral("requestId"), request.value("requestId") },
                    { QStringLiteral("responseData"), data } }));
        }
    }

    // Greets, is accepted and answers the first reading.
    void connectAndRead()
    {
        session.receive(message(0, {}));
        session.receive(message(2, { { QStringLiteral("negotiatedRpcVersion"), 1 } }));
        answerRequests();
        ASSERT_TRUE(session.isReady());
    }

    void outputEvent(const QString& type, const QString& state, bool active)
    {
        session.receive(message(5,
            { { QStringLiteral("eventType"), type }, { QStringLiteral("eventIntent"), 64 },
                { QStringLiteral("eventData"),
                    QJsonObject {
                        { QStringLiteral("outputActive"), active }, { QStringLiteral("outputState"), state } } } }));
    }

    bool isLive(const QString& name) const
    {
        for (const ShotPtr& shot : session.shots()) {
            if (shot->name == name) {
                return shot->isLive;
            }
        }
        ADD_FAILURE() << "no shot named " << name.toStdString();
        return false;
    }

    QStringList requestTypes() const
    {
        QStringList types;
        for (const QJsonObject& envelope : connection.sent) {
            if (envelope.value(QLatin1String("op")).toInt() == 6) {
                types.append(
                    envelope.value(QLatin1String("d")).toObject().value(QLatin1String("requestType")).toString());
            }
        }
        return types;
    }

    RecordingConnection connection;
    ObsSession session { connection, QString() };
    // Status request -> outputActive in its answer.
    QHash<QString, bool> activeOutputs;
    QSet<QString> refusedRequests;

private:
    qsizetype m_answered = 0;
};

} // namespace

TEST_F(ObsSessionTest, AGreetingWithoutAPasswordCheckIsAnsweredWithVersion1)
{
    session.receive(message(0, { { QStringLiteral("rpcVersion"), 1 } }));
    ASSERT_EQ(connection.sent.size(), 1);
    EXPECT_EQ(connection.sent[0].value("op").toInt(), 1);
    const QJsonObject identify = connection.sent[0].value("d").toObject();
    EXPECT_EQ(identify.value("rpcVersion").toInt(), 1);
    EXPECT_FALSE(identify.contains(QLatin1String("authentication")));
}

TEST_F(ObsSessionTest, ReadsThePictureAfterBeingAcceptedAndIsReadyWhenTheLastAnswerIsIn)
{
    session.receive(message(0, {}));
    session.receive(message(2, { { QStringLiteral("negotiatedRpcVersion"), 1 } }));
    EXPECT_TRUE(session.isIdentified());
    EXPECT_EQ(connection.readingsStarted, 1);
    EXPECT_FALSE(session.isReady());
    answerRequests();
    EXPECT_TRUE(session.isReady());
    EXPECT_EQ(connection.readies, 1);
    EXPECT_EQ(connection.readingsFinished, 1);
    EXPECT_EQ(shotSummary(session.shots()),
        (QStringList { "Wide:L", "Camera 1:L", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsSessionTest, AnAnswerToARequestNeverMadeChangesNothing)
{
    session.receive(message(0, {}));
    session.receive(message(2, {}));
    session.receive(message(7, { { QStringLiteral("requestId"), QStringLiteral("999") } }));
    EXPECT_FALSE(session.isReady());
    EXPECT_EQ(connection.changes, 0);
}

TEST_F(ObsSessionTest, EventsBeforeBeingAcceptedAreIgnored)
{
    session.receive(message(
        5, { { QStringLiteral("eventType"), QStringLiteral("SceneCreated") }, { QStringLiteral("eventData"), {} } }));
    EXPECT_TRUE(connection.sent.isEmpty());
    EXPECT_EQ(connection.readingsStarted, 0);
}

TEST(ObsSessionPasswordTest, TheChallengeIsAnsweredWithTheDoubleHash)
{
    RecordingConnection connection;
    ObsSession session(connection, QStringLiteral("stage door"));
    session.receive(hello(salt, challenge));
    ASSERT_EQ(connection.sent.size(), 1);
    EXPECT_EQ(connection.sent[0].value("d").toObject().value("authentication").toString(),
        obsAuthenticationResponse(QStringLiteral("stage door"), salt, challenge));
}

TEST(ObsSessionPasswordTest, AnEmptySaltIsRefusedAndNothingIsSent)
{
    RecordingConnection connection;
    ObsSession session(connection, QStringLiteral("stage door"));
    session.receive(hello(QString(), challenge));
    EXPECT_TRUE(connection.sent.isEmpty());
    EXPECT_EQ(connection.refusals,
        QStringList { QStringLiteral("the server sent an empty password salt; the password was not sent") });
}

TEST(ObsSessionPasswordTest, AnEmptyOrMissingChallengeIsRefusedAndNothingIsSent)
{
    for (const QString& greeting : { hello(salt, QString()),
             message(0, { { QStringLiteral("authentication"), QJsonObject { { QStringLiteral("salt"), salt } } } }) }) {
        RecordingConnection connection;
        ObsSession session(connection, QStringLiteral("stage door"));
        session.receive(greeting);
        EXPECT_TRUE(connection.sent.isEmpty());
        EXPECT_EQ(connection.refusals,
            QStringList { QStringLiteral("the server sent an empty password challenge; the password was not sent") });
    }
}

TEST(ObsSessionPasswordTest, AGreetingWaitsForAPasswordStillComing)
{
    RecordingConnection connection;
    ObsSession session(connection, std::nullopt);
    EXPECT_TRUE(session.awaitsPassword());
    session.receive(hello(salt, challenge));
    EXPECT_TRUE(connection.sent.isEmpty());
    session.setPassword(QStringLiteral("stage door"));
    EXPECT_FALSE(session.awaitsPassword());
    ASSERT_EQ(connection.sent.size(), 1);
    EXPECT_EQ(connection.sent[0].value("d").toObject().value("authentication").toString(),
        obsAuthenticationResponse(QStringLiteral("stage door"), salt, challenge));
}

TEST(ObsSessionPasswordTest, AGreetingWithoutAPasswordCheckNeedNotWaitForThePassword)
{
    RecordingConnection connection;
    ObsSession session(connection, std::nullopt);
    session.receive(message(0, {}));
    EXPECT_EQ(connection.sent.size(), 1);
}

TEST(ObsSessionPasswordTest, AGreetingThatWaitedIsForgottenWhenTheConnectionEnds)
{
    RecordingConnection connection;
    ObsSession session(connection, std::nullopt);
    session.receive(hello(salt, challenge));
    session.restart();
    session.setPassword(QStringLiteral("stage door"));
    EXPECT_TRUE(connection.sent.isEmpty()) << "the greeting belonged to a connection that is gone";
}

TEST_F(ObsSessionTest, TheIdentifySubscribesToTheOutputsEvents)
{
    session.receive(message(0, {}));
    ASSERT_EQ(connection.sent.size(), 1);
    const int subscriptions = connection.sent[0].value("d").toObject().value("eventSubscriptions").toInt();
    EXPECT_NE(subscriptions & (1 << 6), 0) << subscriptions;
    // The groups the picture already needed are still there.
    EXPECT_EQ(subscriptions & ((1 << 2) | (1 << 3) | (1 << 7) | (1 << 10)), (1 << 2) | (1 << 3) | (1 << 7) | (1 << 10));
}

TEST_F(ObsSessionTest, TheReadingAsksEachOutputsStatusAndOffersThemAsShots)
{
    activeOutputs = { { QStringLiteral("GetRecordStatus"), true }, { QStringLiteral("GetStreamStatus"), false },
        { QStringLiteral("GetVirtualCamStatus"), true } };
    connectAndRead();
    const QStringList types = requestTypes();
    EXPECT_TRUE(types.contains(QLatin1String("GetRecordStatus"))) << types.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(types.contains(QLatin1String("GetStreamStatus")));
    EXPECT_TRUE(types.contains(QLatin1String("GetVirtualCamStatus")));
    EXPECT_EQ(shotSummary(session.shots()),
        (QStringList { "Wide:L", "Camera 1:L", "Recording:L", "Streaming:", "Virtual Camera:L" }));
}

TEST_F(ObsSessionTest, AVirtualCameraOBSCannotRunAnswersWithAFailureAndStaysOff)
{
    activeOutputs = { { QStringLiteral("GetRecordStatus"), true } };
    refusedRequests = { QStringLiteral("GetVirtualCamStatus") };
    connectAndRead();
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    EXPECT_FALSE(isLive(QStringLiteral("Virtual Camera")));
}

TEST_F(ObsSessionTest, RecordingIsLiveFromStartingToStartedAndOffFromStopping)
{
    connectAndRead();
    const int changesBefore = connection.changes;
    const QString event = QStringLiteral("RecordStateChanged");
    EXPECT_FALSE(isLive(QStringLiteral("Recording")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTING"), false);
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTED"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_PAUSED"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_RESUMED"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPING"), true);
    EXPECT_FALSE(isLive(QStringLiteral("Recording")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPED"), false);
    EXPECT_FALSE(isLive(QStringLiteral("Recording")));
    EXPECT_FALSE(isLive(QStringLiteral("Streaming")));
    EXPECT_FALSE(isLive(QStringLiteral("Virtual Camera")));
    EXPECT_EQ(connection.changes, changesBefore + 6) << "every event tells the lights";
}

TEST_F(ObsSessionTest, StreamingIsLiveFromStartingThroughReconnectingAndOffFromStopping)
{
    connectAndRead();
    const QString event = QStringLiteral("StreamStateChanged");
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTING"), false);
    EXPECT_TRUE(isLive(QStringLiteral("Streaming")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTED"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Streaming")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_RECONNECTING"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Streaming")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_RECONNECTED"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Streaming")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPING"), true);
    EXPECT_FALSE(isLive(QStringLiteral("Streaming")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPED"), false);
    EXPECT_FALSE(isLive(QStringLiteral("Streaming")));
    EXPECT_FALSE(isLive(QStringLiteral("Recording")));
}

TEST_F(ObsSessionTest, TheVirtualCameraFollowsItsOwnEvent)
{
    connectAndRead();
    const QString event = QStringLiteral("VirtualcamStateChanged");
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTING"), false);
    EXPECT_TRUE(isLive(QStringLiteral("Virtual Camera")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTED"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Virtual Camera")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPING"), true);
    EXPECT_FALSE(isLive(QStringLiteral("Virtual Camera")));
    outputEvent(event, QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPED"), false);
    EXPECT_FALSE(isLive(QStringLiteral("Virtual Camera")));
}

TEST_F(ObsSessionTest, AnOutputStateNotKnownIsTakenFromOutputActive)
{
    connectAndRead();
    outputEvent(QStringLiteral("RecordStateChanged"), QStringLiteral("OBS_WEBSOCKET_OUTPUT_SOMETHING_NEW"), true);
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    outputEvent(QStringLiteral("RecordStateChanged"), QStringLiteral("OBS_WEBSOCKET_OUTPUT_UNKNOWN"), false);
    EXPECT_FALSE(isLive(QStringLiteral("Recording")));
}

TEST_F(ObsSessionTest, AnOutputsStateOutlastsAReadingOfTheScenes)
{
    activeOutputs = { { QStringLiteral("GetRecordStatus"), false } };
    connectAndRead();
    outputEvent(QStringLiteral("RecordStateChanged"), QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTED"), true);
    // A new scene makes the session read the picture again, outputs too:
    // OBS now answers that it records.
    activeOutputs = { { QStringLiteral("GetRecordStatus"), true } };
    session.receive(message(5,
        { { QStringLiteral("eventType"), QStringLiteral("SceneCreated") },
            { QStringLiteral("eventData"), QJsonObject { { QStringLiteral("sceneName"), QStringLiteral("New") } } } }));
    answerRequests();
    EXPECT_TRUE(isLive(QStringLiteral("Recording")));
    EXPECT_EQ(requestTypes().count(QStringLiteral("GetRecordStatus")), 2);
}
