// OBS Studio as a shot source, against a websocket server in the test's own
// process: logging in, reading the scenes, following events, and staying
// calm when the connection fails or the server misbehaves.

#include "switchers/ObsShotSource.h"

#include "net/switchers/FakeObsServer.h"
#include "obs/ObsAuthentication.h"
#include "support/Eventually.h"
#include "support/QtPrinters.h"
#include "support/ShotSummary.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

using Item = FakeObsServer::Item;

class ObsShotSourceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.listening());
        // Two scenes: "Wide" with Camera 1, "Close" with Camera 2.
        server.scenes = { QStringLiteral("Wide"), QStringLiteral("Close") };
        server.inputs = { QStringLiteral("Camera 1"), QStringLiteral("Camera 2") };
        server.items[QStringLiteral("Wide")] = { Item { 1, QStringLiteral("Camera 1") } };
        server.items[QStringLiteral("Close")] = { Item { 1, QStringLiteral("Camera 2") } };
        server.program = QStringLiteral("Wide");
        server.preview = QStringLiteral("Close");
    }

    ObsShotSource::Settings settings(const QString& password = {})
    {
        ObsShotSource::Settings chosen;
        chosen.address.host = QStringLiteral("127.0.0.1");
        chosen.address.port = server.port();
        chosen.password = password;
        chosen.answerTimeoutMs = 1000;
        chosen.firstRetryDelayMs = 50;
        chosen.longestRetryDelayMs = 200;
        return chosen;
    }

    void start(const ObsShotSource::Settings& chosen)
    {
        source = std::make_unique<ObsShotSource>(chosen);
        changes = std::make_unique<QSignalSpy>(source.get(), &ShotSource::shotsChanged);
        statuses = std::make_unique<QSignalSpy>(source.get(), &ShotSource::statusChanged);
    }

    bool running()
    {
        return eventually([this] { return source->isRunning(); }, 5000);
    }

    QStringList shots() { return shotSummary(source->queryShots()); }

    bool shotsBecome(const QStringList& expected)
    {
        return eventually([&] { return shots() == expected; }, 5000);
    }

    QStringList statusLines() const
    {
        QStringList lines;
        for (const QList<QVariant>& arguments : *statuses) {
            lines.append(arguments.first().toString());
        }
        return lines;
    }

    FakeObsServer server;
    std::unique_ptr<ObsShotSource> source;
    std::unique_ptr<QSignalSpy> changes;
    std::unique_ptr<QSignalSpy> statuses;
};

} // namespace

TEST(ObsAuthenticationTest, AnswersTheChallengeWithTheDoubleHashOfPasswordSaltAndChallenge)
{
    // Worked out on its own: base64(sha256(base64(sha256(password + salt)) + challenge)).
    EXPECT_EQ(obsAuthenticationResponse(QStringLiteral("supersecretpassword"),
                  QStringLiteral("lM1GncleQOaCu9lT1yeUZhFYnqhsLLP1G5lAGo3ixaI="),
                  QStringLiteral("+IxH4CnCiqpX1rM9scsNynZzbOe4KhDeYcTNS3PDaeY=")),
        QStringLiteral("1Ct943GAT+6YQUUX47Ia/ncufilbe6+oD6lY+5kaCu4="));
}

TEST_F(ObsShotSourceTest, ConnectsIdentifiesWithVersion1AndReadsScenesThenInputs)
{
    start(settings());
    ASSERT_TRUE(running());
    EXPECT_EQ(shots(),
        QStringList({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
    ASSERT_EQ(server.identifies.size(), 1);
    EXPECT_EQ(server.identifies.first().value(QLatin1String("rpcVersion")).toInt(), 1);
    EXPECT_FALSE(server.identifies.first().contains(QLatin1String("authentication")));
    EXPECT_EQ(statusLines().last(), QStringLiteral("OBS Studio at 127.0.0.1:%1: connected").arg(server.port()));
    EXPECT_GE(changes->size(), 1);
}

TEST_F(ObsShotSourceTest, SubscribesToScenesInputsSceneItemsAndStudioModeEvents)
{
    start(settings());
    ASSERT_TRUE(running());
    const int subscriptions = server.identifies.first().value(QLatin1String("eventSubscriptions")).toInt();
    EXPECT_EQ(subscriptions & (1 << 2), 1 << 2) << "scenes";
    EXPECT_EQ(subscriptions & (1 << 3), 1 << 3) << "inputs";
    EXPECT_EQ(subscriptions & (1 << 7), 1 << 7) << "scene items";
    EXPECT_EQ(subscriptions & (1 << 10), 1 << 10) << "studio mode";
}

TEST_F(ObsShotSourceTest, IsNotRunningBeforeTheFirstReadingIsIn)
{
    start(settings());
    EXPECT_FALSE(source->isRunning());
    EXPECT_TRUE(source->queryShots().isEmpty());
    EXPECT_EQ(source->notRunningWarning(), QStringLiteral("OBS Studio is not connected"));
}

TEST_F(ObsShotSourceTest, TheRightPasswordAnswersTheChallenge)
{
    server.password = QStringLiteral("stage door");
    start(settings(QStringLiteral("stage door")));
    ASSERT_TRUE(running());
    EXPECT_TRUE(server.identifies.first().contains(QLatin1String("authentication")));
}

TEST_F(ObsShotSourceTest, AWrongPasswordIsReportedAndNeverRuns)
{
    server.password = QStringLiteral("stage door");
    start(settings(QStringLiteral("back door")));
    const QString expected
        = QStringLiteral("OBS Studio at 127.0.0.1:%1: not connected (OBS Studio refused the password); reconnecting")
              .arg(server.port());
    ASSERT_TRUE(eventually([&] { return statusLines().contains(expected); }, 5000))
        << statusLines().join('\n').toStdString();
    EXPECT_FALSE(source->isRunning());
    EXPECT_TRUE(source->queryShots().isEmpty());
}

TEST_F(ObsShotSourceTest, AMissingPasswordIsReportedAsSuch)
{
    server.password = QStringLiteral("stage door");
    start(settings());
    ASSERT_TRUE(eventually(
        [&] { return source->status().contains(QStringLiteral("asks for a password and none was given")); }, 5000))
        << source->status().toStdString();
    EXPECT_FALSE(source->isRunning());
}

TEST_F(ObsShotSourceTest, AnEmptySaltIsRefusedAndThePasswordNeverLeaves)
{
    server.password = QStringLiteral("stage door");
    server.salt.clear();
    start(settings(QStringLiteral("stage door")));
    const QString expected = QStringLiteral("OBS Studio at 127.0.0.1:%1: not connected (the server sent an empty "
                                            "password salt; the password was not sent); reconnecting")
                                 .arg(server.port());
    ASSERT_TRUE(eventually([&] { return statusLines().contains(expected); }, 5000))
        << statusLines().join('\n').toStdString();
    EXPECT_TRUE(server.identifies.isEmpty());
    EXPECT_FALSE(source->isRunning());
}

TEST_F(ObsShotSourceTest, AnEmptyChallengeIsRefusedAndThePasswordNeverLeaves)
{
    server.password = QStringLiteral("stage door");
    server.challenge.clear();
    start(settings(QStringLiteral("stage door")));
    ASSERT_TRUE(eventually(
        [&] { return source->status().contains(QStringLiteral("the server sent an empty password challenge")); }, 5000))
        << source->status().toStdString();
    EXPECT_TRUE(server.identifies.isEmpty());
    EXPECT_FALSE(source->isRunning());
}

TEST_F(ObsShotSourceTest, AGreetingWaitsForAPasswordThatComesLater)
{
    server.password = QStringLiteral("stage door");
    ObsShotSource::Settings chosen = settings();
    chosen.passwordComesLater = true;
    chosen.answerTimeoutMs = 5000;
    start(chosen);
    EXPECT_TRUE(source->awaitsPassword());
    eventually([] { return false; }, 300);
    EXPECT_EQ(server.connections, 1);
    EXPECT_TRUE(server.identifies.isEmpty()) << "nothing is answered before the password is known";
    source->setPassword(QStringLiteral("stage door"));
    EXPECT_FALSE(source->awaitsPassword());
    ASSERT_TRUE(running());
    EXPECT_EQ(server.connections, 1) << "the first connection was kept";
}

TEST_F(ObsShotSourceTest, APasswordThatTakesTooLongIsWhatTheStatusNames)
{
    server.password = QStringLiteral("stage door");
    ObsShotSource::Settings chosen = settings();
    chosen.passwordComesLater = true;
    chosen.answerTimeoutMs = 300;
    start(chosen);
    ASSERT_TRUE(eventually(
        [&] {
            return source->status().contains(QStringLiteral("the password has not come from the secret store yet"));
        },
        5000))
        << source->status().toStdString();
    source->setPassword(QStringLiteral("stage door"));
    EXPECT_TRUE(running()) << "the next connection uses the password that came";
}

TEST_F(ObsShotSourceTest, ACutReachesTheShotsAtOnceAndAnnouncesIt)
{
    start(settings());
    ASSERT_TRUE(running());
    const qsizetype changesBefore = changes->size();
    const qsizetype requestsBefore = server.requestTypes.size();
    server.cut(QStringLiteral("Close"));
    ASSERT_TRUE(eventually([&] { return changes->size() > changesBefore; }, 5000));
    EXPECT_EQ(shots(),
        QStringList({ "Wide:", "Close:L", "Camera 1:", "Camera 2:L", "Recording:", "Streaming:", "Virtual Camera:" }));
    // Straight from the event, without asking OBS again.
    EXPECT_EQ(server.requestTypes.size(), requestsBefore);
}

TEST_F(ObsShotSourceTest, PreviewShowsWhileStudioModeIsOnAndGoesWhenItIsTurnedOff)
{
    server.studioMode = true;
    start(settings());
    ASSERT_TRUE(running());
    EXPECT_EQ(shots(),
        QStringList(
            { "Wide:L", "Close:P", "Camera 1:L", "Camera 2:P", "Recording:", "Streaming:", "Virtual Camera:" }));
    server.putInPreview(QStringLiteral("Wide"));
    ASSERT_TRUE(shotsBecome(
        { "Wide:LP", "Close:", "Camera 1:LP", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
    server.studioMode = false;
    server.sendEvent(QStringLiteral("StudioModeStateChanged"), { { QStringLiteral("studioModeEnabled"), false } });
    ASSERT_TRUE(
        shotsBecome({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, TheRecordingFollowsOBSFromItsStatusAndItsEvents)
{
    server.recording = true;
    start(settings());
    ASSERT_TRUE(running());
    // GetVirtualCamStatus is refused by this server: that output stays off.
    EXPECT_EQ(shots(),
        QStringList({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:L", "Streaming:", "Virtual Camera:" }));
    server.sendEvent(QStringLiteral("RecordStateChanged"),
        { { QStringLiteral("outputActive"), false },
            { QStringLiteral("outputState"), QStringLiteral("OBS_WEBSOCKET_OUTPUT_STOPPING") } });
    ASSERT_TRUE(
        shotsBecome({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
    server.sendEvent(QStringLiteral("StreamStateChanged"),
        { { QStringLiteral("outputActive"), false },
            { QStringLiteral("outputState"), QStringLiteral("OBS_WEBSOCKET_OUTPUT_STARTING") } });
    ASSERT_TRUE(
        shotsBecome({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:L", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, TurningStudioModeOnReadsWhichSceneIsInPreview)
{
    start(settings());
    ASSERT_TRUE(running());
    server.studioMode = true;
    server.sendEvent(QStringLiteral("StudioModeStateChanged"), { { QStringLiteral("studioModeEnabled"), true } });
    ASSERT_TRUE(shotsBecome(
        { "Wide:L", "Close:P", "Camera 1:L", "Camera 2:P", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, AnInputIsLiveThroughANestedSceneAndAGroup)
{
    server.scenes = { QStringLiteral("Show"), QStringLiteral("Guests") };
    server.inputs = { QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Camera 3") };
    server.items.clear();
    server.items[QStringLiteral("Show")]
        = { Item { 1, QStringLiteral("Guests") }, Item { 2, QStringLiteral("Desk"), true, true } };
    server.items[QStringLiteral("Guests")] = { Item { 1, QStringLiteral("Camera 1") } };
    server.items[QStringLiteral("Desk")] = { Item { 1, QStringLiteral("Camera 2") } };
    server.program = QStringLiteral("Show");
    start(settings());
    ASSERT_TRUE(running());
    EXPECT_EQ(shots(),
        QStringList({ "Show:L", "Guests:", "Camera 1:L", "Camera 2:L",
            "Camera 3:", "Recording:", "Streaming:", "Virtual Camera:" }));
    EXPECT_EQ(server.requestTypes.count(QStringLiteral("GetGroupSceneItemList")), 1);
}

TEST_F(ObsShotSourceTest, HidingAnItemOnProgramTakesItsInputOffAir)
{
    start(settings());
    ASSERT_TRUE(running());
    server.sendEvent(QStringLiteral("SceneItemEnableStateChanged"),
        { { QStringLiteral("sceneName"), QStringLiteral("Wide") }, { QStringLiteral("sceneItemId"), 1 },
            { QStringLiteral("sceneItemEnabled"), false } });
    ASSERT_TRUE(
        shotsBecome({ "Wide:L", "Close:", "Camera 1:", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, ARenamedInputKeepsItsIdAndItsLight)
{
    start(settings());
    ASSERT_TRUE(running());
    server.inputs = { QStringLiteral("Cam 1"), QStringLiteral("Camera 2") };
    server.items[QStringLiteral("Wide")] = { Item { 1, QStringLiteral("Cam 1") } };
    server.sendEvent(QStringLiteral("InputNameChanged"),
        { { QStringLiteral("oldInputName"), QStringLiteral("Camera 1") },
            { QStringLiteral("inputName"), QStringLiteral("Cam 1") } });
    ASSERT_TRUE(
        shotsBecome({ "Wide:L", "Close:", "Cam 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
    EXPECT_EQ(source->queryShots()[2]->shotId, QStringLiteral("Camera 1"));
}

TEST_F(ObsShotSourceTest, ARenamedSceneKeepsItsUuidAsId)
{
    server.sceneUuids[QStringLiteral("Wide")] = QStringLiteral("6a1e-wide");
    start(settings());
    ASSERT_TRUE(running());
    EXPECT_EQ(source->queryShots()[0]->shotId, QStringLiteral("6a1e-wide"));
    server.scenes[0] = QStringLiteral("Total");
    server.sceneUuids = { { QStringLiteral("Total"), QStringLiteral("6a1e-wide") } };
    server.items[QStringLiteral("Total")] = server.items.take(QStringLiteral("Wide"));
    server.program = QStringLiteral("Total");
    server.sendEvent(QStringLiteral("SceneNameChanged"),
        { { QStringLiteral("oldSceneName"), QStringLiteral("Wide") },
            { QStringLiteral("sceneName"), QStringLiteral("Total") } });
    ASSERT_TRUE(
        shotsBecome({ "Total:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
    EXPECT_EQ(source->queryShots()[0]->shotId, QStringLiteral("6a1e-wide"));
}

TEST_F(ObsShotSourceTest, ANewSceneIsReadAfterOBSAnnouncesIt)
{
    start(settings());
    ASSERT_TRUE(running());
    server.scenes.append(QStringLiteral("Titles"));
    server.sendEvent(QStringLiteral("SceneCreated"), { { QStringLiteral("sceneName"), QStringLiteral("Titles") } });
    ASSERT_TRUE(shotsBecome(
        { "Wide:L", "Close:", "Titles:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, ALostConnectionStopsRunningAtOnceAndReconnectsByItself)
{
    start(settings());
    ASSERT_TRUE(running());
    const qsizetype changesBefore = changes->size();
    server.dropClients();
    ASSERT_TRUE(eventually([&] { return !source->isRunning(); }, 5000));
    EXPECT_GT(changes->size(), changesBefore) << "the owner hears of the loss at once";
    EXPECT_TRUE(source->queryShots().isEmpty());
    EXPECT_TRUE(source->status().contains(QStringLiteral("reconnecting"))) << source->status().toStdString();
    ASSERT_TRUE(running());
    EXPECT_EQ(server.connections, 2);
    EXPECT_EQ(shots(),
        QStringList({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, GarbageFramesAreIgnoredAndEventsStillFollow)
{
    ObsShotSource::Settings chosen = settings();
    chosen.maxMessageBytes = 4096;
    start(chosen);
    ASSERT_TRUE(running());
    server.sendRaw(QStringLiteral("this is not json"));
    server.sendRaw(QStringLiteral("[1, 2, 3]"));
    server.sendRaw(QStringLiteral("{\"op\": \"five\", \"d\": 7}"));
    server.sendRaw(QStringLiteral("{\"op\": 7, \"d\": {\"requestId\": \"nobody asked\"}}"));
    server.sendRaw(QStringLiteral("{\"op\": 5, \"d\": {\"eventType\": 12, \"eventData\": []}}"));
    server.sendBinary(QByteArray("\x00\xff\x13", 3));
    server.cut(QStringLiteral("Close"));
    ASSERT_TRUE(
        shotsBecome({ "Wide:", "Close:L", "Camera 1:", "Camera 2:L", "Recording:", "Streaming:", "Virtual Camera:" }));
    EXPECT_TRUE(source->isRunning());
    EXPECT_EQ(server.connections, 1) << "garbage is no reason to start again";
}

TEST_F(ObsShotSourceTest, AnOversizedMessageEndsTheConnectionAndAFreshOneFollows)
{
    ObsShotSource::Settings chosen = settings();
    chosen.maxMessageBytes = 4096;
    start(chosen);
    ASSERT_TRUE(running());
    server.program = QStringLiteral("Close");
    server.sendRaw(QStringLiteral("{\"op\": 5, \"d\": {\"eventType\": \"CurrentProgramSceneChanged\", \"pad\": \"")
        + QString(8000, QLatin1Char('x')) + QStringLiteral("\"}}"));
    ASSERT_TRUE(eventually([&] { return server.connections == 2 && source->isRunning(); }, 5000));
    EXPECT_EQ(shots(),
        QStringList({ "Wide:", "Close:L", "Camera 1:", "Camera 2:L", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST_F(ObsShotSourceTest, AServerThatNeverAnswersNeverCountsAsRunning)
{
    server.silent = true;
    start(settings());
    const QString expected
        = QStringLiteral("OBS Studio at 127.0.0.1:%1: not connected (OBS Studio did not answer); reconnecting")
              .arg(server.port());
    ASSERT_TRUE(eventually([&] { return statusLines().contains(expected); }, 5000))
        << statusLines().join('\n').toStdString();
    EXPECT_FALSE(source->isRunning());
    // It tries again rather than waiting for ever.
    ASSERT_TRUE(eventually([&] { return server.connections >= 2; }, 5000));
}

TEST_F(ObsShotSourceTest, NoServerAtTheAddressIsReportedAndRetried)
{
    const quint16 port = server.port();
    server.stopListening();
    ObsShotSource::Settings chosen = settings();
    chosen.address.port = port;
    start(chosen);
    ASSERT_TRUE(eventually([&] { return source->status().contains(QStringLiteral("not connected")); }, 5000));
    EXPECT_FALSE(source->isRunning());
    EXPECT_EQ(statuses->size(), 1) << "the same trouble again is not news";
}

TEST_F(ObsShotSourceTest, ItsDetailsNameTheAddressAndSayWhenItIsConnected)
{
    start(settings());
    const QString followed = QStringLiteral("OBS Studio at 127.0.0.1:%1").arg(server.port());
    EXPECT_EQ(
        source->details(), (ShotSource::Details { followed, false, QStringLiteral("connecting"), std::nullopt, {} }));
    ASSERT_TRUE(running());
    EXPECT_EQ(source->details().link, QStringLiteral("connected"));
    EXPECT_FALSE(source->details().listens);
}

TEST_F(ObsShotSourceTest, ItsDetailsSayWhyItIsNotConnectedWhileItWaitsToTryAgain)
{
    server.password = QStringLiteral("stage door");
    start(settings(QStringLiteral("back door")));
    ASSERT_TRUE(eventually([&] { return source->details().link.startsWith(QStringLiteral("not connected")); }, 5000));
    EXPECT_EQ(source->details().link, QStringLiteral("not connected (OBS Studio refused the password), trying again"));
}
