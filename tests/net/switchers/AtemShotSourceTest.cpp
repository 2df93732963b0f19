// The ATEM source against a switcher played by the test on a loopback UDP
// socket: the shots it reads, when it counts as running, what it does with
// datagrams that are not the switcher's, and that a change ticks at once.

#include "switchers/AtemShotSource.h"

#include "atem/AtemCommand.h"
#include "atem/AtemPacket.h"
#include "support/Eventually.h"

#include <QNetworkDatagram>
#include <QSignalSpy>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <algorithm>

using namespace AtemCommands;

namespace {

constexpr quint16 session = 0x8010;

class AtemShotSourceTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(switcher.bind(QHostAddress::LocalHost, 0)); }

    std::unique_ptr<AtemShotSource> makeSource()
    {
        AtemShotSource::Settings settings;
        settings.address.host = QStringLiteral("127.0.0.1");
        settings.address.port = switcher.localPort();
        return std::make_unique<AtemShotSource>(settings);
    }

    // Waits for the client's hello, accepts it and its acknowledgement.
    bool acceptClient()
    {
        std::optional<AtemPacket> hello;
        if (!eventually([&] {
                while (switcher.hasPendingDatagrams()) {
                    const QNetworkDatagram datagram = switcher.receiveDatagram();
                    const std::optional<AtemPacket> packet = AtemPacket::decode(datagram.data());
                    if (packet && packet->has(AtemPacket::hello)) {
                        hello = packet;
                        client = datagram.senderAddress();
                        clientPort = static_cast<quint16>(datagram.senderPort());
                    }
                }
                return hello.has_value();
            })) {
            return false;
        }
        AtemPacket answer;
        answer.flags = AtemPacket::hello;
        answer.sessionId = hello->sessionId;
        answer.payload = QByteArray::fromHex("0200000000000000");
        switcher.writeDatagram(answer.encode(), client, clientPort);
        return true;
    }

    void send(const QList<AtemCommand>& commands)
    {
        AtemPacket packet;
        packet.flags = AtemPacket::reliable;
        packet.sessionId = session;
        packet.packetId = ++lastId;
        packet.payload = AtemCommand::join(commands);
        switcher.writeDatagram(packet.encode(), client, clientPort);
    }

    QList<AtemCommand> picture()
    {
        return { version({ 2, 30 }), inputProperties({ 1, QStringLiteral("Camera 1"), QStringLiteral("CAM1") }),
            inputProperties({ 2, QString(), QStringLiteral("CAM2") }), programInput({ 0, 1 }), previewInput({ 0, 2 }),
            initComplete() };
    }

    QUdpSocket switcher;
    QHostAddress client;
    quint16 clientPort = 0;
    quint16 lastId = 0;
};

QStringList describe(const ShotList& shots)
{
    QStringList lines;
    for (const ShotPtr& shot : shots) {
        lines.append(shot->shotId + QLatin1Char(' ') + shot->name + (shot->isLive ? QStringLiteral(" live") : QString())
            + (shot->isPreview ? QStringLiteral(" preview") : QString()));
    }
    return lines;
}

} // namespace

TEST_F(AtemShotSourceTest, TheSourceRunsOnceThePictureIsWholeAndReadsItsInputs)
{
    const std::unique_ptr<AtemShotSource> source = makeSource();
    EXPECT_FALSE(source->isRunning());
    EXPECT_TRUE(source->queryShots().isEmpty());
    EXPECT_EQ(source->displayName(), QStringLiteral("Blackmagic ATEM"));
    ASSERT_TRUE(acceptClient());
    QList<AtemCommand> commands = picture();
    const AtemCommand last = commands.takeLast();
    send(commands);
    QCoreApplication::processEvents();
    QThread::msleep(50);
    QCoreApplication::processEvents();
    EXPECT_FALSE(source->isRunning()) << "not before the picture is whole";
    QSignalSpy changes(source.get(), &ShotSource::shotsChanged);
    send({ last });
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }));
    EXPECT_GE(changes.count(), 1);
    EXPECT_EQ(describe(source->queryShots()), (QStringList { "1 Camera 1 live", "2 CAM2 preview" }));
}

TEST_F(AtemShotSourceTest, TheStatusLineIsToldWhereTheSwitcherIsAndWhetherItIsConnected)
{
    const std::unique_ptr<AtemShotSource> source = makeSource();
    const QString where = QStringLiteral("ATEM switcher at 127.0.0.1:%1").arg(switcher.localPort());
    EXPECT_EQ(source->details().followed, where);
    EXPECT_FALSE(source->details().listens);
    EXPECT_EQ(source->details().link, QStringLiteral("connecting"));
    ASSERT_TRUE(acceptClient());
    send(picture());
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }));
    EXPECT_EQ(source->details().link, QStringLiteral("connected"));
}

TEST_F(AtemShotSourceTest, AChangeTicksAtOnce)
{
    const std::unique_ptr<AtemShotSource> source = makeSource();
    ASSERT_TRUE(acceptClient());
    send(picture());
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }));
    QSignalSpy changes(source.get(), &ShotSource::shotsChanged);
    send({ tallyBySource({ { 1, { false, true } }, { 2, { true, false } } }) });
    ASSERT_TRUE(eventually([&] { return changes.count() > 0; }));
    EXPECT_EQ(describe(source->queryShots()), (QStringList { "1 Camera 1 preview", "2 CAM2 live" }));
}

TEST_F(AtemShotSourceTest, DatagramsFromElsewhereAndGarbageAreDroppedWithoutHarm)
{
    const std::unique_ptr<AtemShotSource> source = makeSource();
    ASSERT_TRUE(acceptClient());
    send(picture());
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }));
    // The same packet from another port: a stranger's, however well formed.
    QUdpSocket stranger;
    ASSERT_TRUE(stranger.bind(QHostAddress::LocalHost, 0));
    AtemPacket forged;
    forged.flags = AtemPacket::reliable;
    forged.sessionId = session;
    forged.packetId = AtemPacket::nextId(lastId);
    forged.payload = AtemCommand::join({ tallyBySource({ { 2, { true, false } } }) });
    stranger.writeDatagram(forged.encode(), client, clientPort);
    switcher.writeDatagram(QByteArray(64 * 1024 - 100, '\x08'), client, clientPort);
    switcher.writeDatagram(forged.encode().left(13), client, clientPort);
    ASSERT_TRUE(eventually([&] { return source->rejectedCount() >= 3; }));
    EXPECT_TRUE(source->isRunning());
    EXPECT_EQ(describe(source->queryShots()), (QStringList { "1 Camera 1 live", "2 CAM2 preview" }));
}

TEST_F(AtemShotSourceTest, ASilentSwitcherStopsTheSource)
{
    const std::unique_ptr<AtemShotSource> source = makeSource();
    ASSERT_TRUE(acceptClient());
    send(picture());
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }));
    // Nothing more from the switcher: not even the acknowledgement of the
    // source's keep-alive.
    ASSERT_TRUE(eventually([&] { return !source->isRunning(); }, 5000));
    EXPECT_TRUE(source->status().contains(QStringLiteral("stopped answering"))) << source->status().toStdString();
}

TEST_F(AtemShotSourceTest, AtemSourceSaysWhichMixEffectsExistWhenAskedForAMissingOne)
{
    AtemShotSource::Settings settings;
    settings.address.host = QStringLiteral("127.0.0.1");
    settings.address.port = switcher.localPort();
    settings.mixEffect = 1; // mix effect 2 to the user
    AtemShotSource source(settings);
    QSignalSpy statuses(&source, &ShotSource::statusChanged);
    ASSERT_TRUE(acceptClient());
    QList<AtemCommand> commands = picture();
    commands.insert(1, topology(1, 2));
    send(commands);
    const QString where = QStringLiteral("127.0.0.1:%1").arg(switcher.localPort());
    const QString said = QStringLiteral("The ATEM switcher at %1 has no mix effect 2; it has mix effect 1").arg(where);
    ASSERT_TRUE(eventually([&] { return source.status() == said; })) << source.status().toStdString();
    // It cannot give the lights of a mix effect it does not have: not
    // running, so the lost-source policy decides, rather than every light
    // off as if nothing were on air.
    EXPECT_FALSE(source.isRunning());
    EXPECT_TRUE(source.queryShots().isEmpty());
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("The ATEM switcher has no mix effect 2; it has mix effect 1"));
    EXPECT_EQ(source.details().link, QStringLiteral("connected, but it has no mix effect 2; it has mix effect 1"));
    EXPECT_FALSE(std::any_of(statuses.begin(), statuses.end(), [](const QList<QVariant>& status) {
        return status.at(0).toString().startsWith(QStringLiteral("Connected"));
    })) << "never claims to be connected as usual";
}

TEST_F(AtemShotSourceTest, AMixEffectTheSwitcherHasRunsAsUsual)
{
    AtemShotSource::Settings settings;
    settings.address.host = QStringLiteral("127.0.0.1");
    settings.address.port = switcher.localPort();
    settings.mixEffect = 1;
    AtemShotSource source(settings);
    ASSERT_TRUE(acceptClient());
    QList<AtemCommand> commands = picture();
    commands.insert(1, topology(2, 2));
    commands.insert(commands.size() - 1, programInput({ 1, 2 }));
    send(commands);
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }));
    EXPECT_EQ(describe(source.queryShots()), (QStringList { "1 Camera 1", "2 CAM2 live" }));
    EXPECT_EQ(source.details().link, QStringLiteral("connected"));
    EXPECT_EQ(
        source.status(), QStringLiteral("Connected to the ATEM switcher at 127.0.0.1:%1").arg(switcher.localPort()));
}
