#include "outputs/TslSender.h"

#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/QtPrinters.h"
#include "support/UdpReceiver.h"
#include "tsl/TslUmd50.h"
#include "tsl/TslUmd50StreamReader.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>

#include <gtest/gtest.h>

namespace {

TallySnapshot snapshot(TallyMode firstMode, const QString& firstName = QStringLiteral("Cam 1"))
{
    TallySnapshot built;
    built.sourceRunning = true;
    built.lights.append({ firstMode, { firstName } });
    for (int i = 1; i < 8; ++i) {
        built.lights.append({ TallyMode::off, {} });
    }
    return built;
}

TslDestination destination(TslTallyEncoding::Version version, TslDestination::Transport transport, quint16 port)
{
    TslDestination built;
    built.version = version;
    built.transport = transport;
    built.host = QStringLiteral("127.0.0.1");
    built.port = port;
    return built;
}

using Receiver = UdpReceiver;

} // namespace

TEST(TslSenderTest, AChangeGoesOutAtOnceAsOneDatagramPerLight)
{
    Receiver receiver;
    TslSender sender(
        { destination(TslTallyEncoding::Version::v50, TslDestination::Transport::udp, receiver.port()) }, 0);
    const TallySnapshot live = snapshot(TallyMode::live);
    sender.publish(live);
    const QList<QByteArray> datagrams = receiver.waitFor(8);
    EXPECT_EQ(datagrams, TslTallyEncoding::packets(TslTallyEncoding::Version::v50, live, 0));
}

TEST(TslSenderTest, ThreeOneAndFiveDestinationsEachGetTheirOwnVersion)
{
    Receiver receiver31;
    Receiver receiver50;
    TslSender sender(
        { destination(TslTallyEncoding::Version::v31, TslDestination::Transport::udp, receiver31.port()),
            destination(TslTallyEncoding::Version::v50, TslDestination::Transport::udp, receiver50.port()) },
        4);
    const TallySnapshot preview = snapshot(TallyMode::preview);
    sender.publish(preview);
    EXPECT_EQ(receiver31.waitFor(8), TslTallyEncoding::packets(TslTallyEncoding::Version::v31, preview, 4));
    EXPECT_EQ(receiver50.waitFor(8), TslTallyEncoding::packets(TslTallyEncoding::Version::v50, preview, 4));
}

TEST(TslSenderTest, TheSameLightsAgainAreNotSentButAChangeIs)
{
    Receiver receiver;
    TslSender sender({ destination(TslTallyEncoding::Version::v31, TslDestination::Transport::udp, receiver.port()) },
        0, std::chrono::minutes(1));
    sender.publish(snapshot(TallyMode::live));
    ASSERT_EQ(receiver.waitFor(8).size(), 8);
    // A tick with nothing new, as every quarter second.
    sender.publish(snapshot(TallyMode::live));
    EXPECT_TRUE(receiver.waitFor(1, 300).isEmpty());
    const TallySnapshot preview = snapshot(TallyMode::preview);
    sender.publish(preview);
    EXPECT_EQ(receiver.waitFor(8), TslTallyEncoding::packets(TslTallyEncoding::Version::v31, preview, 0));
}

TEST(TslSenderTest, TheStateIsRepeatedAtEveryRefreshWithoutAChange)
{
    Receiver receiver;
    TslSender sender({ destination(TslTallyEncoding::Version::v31, TslDestination::Transport::udp, receiver.port()) },
        0, std::chrono::milliseconds(50));
    const TallySnapshot live = snapshot(TallyMode::live);
    sender.publish(live);
    const QList<QByteArray> datagrams = receiver.waitFor(24, 5000);
    ASSERT_GE(datagrams.size(), 24);
    EXPECT_EQ(datagrams.mid(16, 8), TslTallyEncoding::packets(TslTallyEncoding::Version::v31, live, 0));
}

TEST(TslSenderTest, TheRefreshIsOneSecond)
{
    EXPECT_EQ(TslSender::refreshInterval, std::chrono::seconds(1));
}

TEST(TslSenderTest, NothingIsSentBeforeTheFirstTick)
{
    Receiver receiver;
    TslSender sender({ destination(TslTallyEncoding::Version::v31, TslDestination::Transport::udp, receiver.port()) },
        0, std::chrono::milliseconds(50));
    EXPECT_TRUE(receiver.waitFor(1, 300).isEmpty());
}

TEST(TslSenderTest, ANameIsLookedUpAndThenSentTo)
{
    Receiver receiver;
    TslDestination named = destination(TslTallyEncoding::Version::v31, TslDestination::Transport::udp, receiver.port());
    named.host = QStringLiteral("localhost");
    TslSender sender({ named }, 0, std::chrono::milliseconds(100));
    sender.publish(snapshot(TallyMode::live));
    // The look-up may still be under way at the first publish; the refresh
    // sends once it is done.
    const QList<QByteArray> datagrams = receiver.waitFor(8, 5000);
    ASSERT_GE(datagrams.size(), 8);
    EXPECT_EQ(datagrams.first(),
        TslTallyEncoding::packets(TslTallyEncoding::Version::v31, snapshot(TallyMode::live), 0).first());
}

TEST(TslSenderTest, OverTcpFivePacketsAreFramedAndANewConnectionGetsTheWholeState)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    TslSender sender(
        { destination(TslTallyEncoding::Version::v50, TslDestination::Transport::tcp, server.serverPort()) }, 0);
    const TallySnapshot live = snapshot(TallyMode::live, QStringLiteral("Kamera \u00e9"));
    sender.publish(live);
    ASSERT_TRUE(eventually([&] { return server.hasPendingConnections(); }, 5000));
    QTcpSocket* connection = server.nextPendingConnection();
    TslUmd50StreamReader reader;
    QList<QByteArray> packets;
    eventually(
        [&] {
            packets += reader.feed(connection->readAll());
            return packets.size() >= 8;
        },
        5000);
    ASSERT_GE(packets.size(), 8);
    EXPECT_EQ(packets.first(8), TslTallyEncoding::packets(TslTallyEncoding::Version::v50, live, 0));
    EXPECT_EQ(reader.rejectedCount(), 0);
}

TEST(TslSenderTest, ATcpDestinationThatGoesAwayIsConnectedToAgain)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    TslSender sender(
        { destination(TslTallyEncoding::Version::v50, TslDestination::Transport::tcp, server.serverPort()) }, 0);
    sender.publish(snapshot(TallyMode::live));
    ASSERT_TRUE(eventually([&] { return server.hasPendingConnections(); }, 5000));
    QTcpSocket* first = server.nextPendingConnection();
    first->abort();
    ASSERT_TRUE(eventually([&] { return server.hasPendingConnections(); }, 5000));
    QTcpSocket* second = server.nextPendingConnection();
    TslUmd50StreamReader reader;
    QList<QByteArray> packets;
    eventually(
        [&] {
            packets += reader.feed(second->readAll());
            return packets.size() >= 8;
        },
        5000);
    EXPECT_GE(packets.size(), 8);
}

TEST(TslSenderTest, PublishingToAnUnreachableTcpDestinationDoesNotWait)
{
    const quint16 port = freePort();
    ASSERT_NE(port, 0);
    TslSender sender({ destination(TslTallyEncoding::Version::v50, TslDestination::Transport::tcp, port) }, 0);
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 20; ++i) {
        sender.publish(snapshot(i % 2 == 0 ? TallyMode::live : TallyMode::preview));
    }
    EXPECT_LT(timer.elapsed(), 1000);
}

// The displays show what the tally box shows, the lost-source choice
// applied, and say "LOST" before the shots while the switcher is lost;
// "TEST" under test; off, unmarked, once the lights were turned off at quit.
TEST(TslSenderTest, TheDisplaysShowTheBoxsModesMarkedWhileLostUnderTestAndAtQuit)
{
    Receiver receiver;
    TslSender sender(
        { destination(TslTallyEncoding::Version::v50, TslDestination::Transport::udp, receiver.port()) }, 0);
    const auto firstDisplay = [](const QList<QByteArray>& datagrams) {
        return datagrams.isEmpty() ? std::optional<TslUmd50::Packet>() : TslUmd50::decode(datagrams.first());
    };

    // Lost, and the choice turned the box off although Cam 1 was last live.
    TallySnapshot lost = snapshot(TallyMode::off);
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 1000;
    sender.publish(lost);
    std::optional<TslUmd50::Packet> packet = firstDisplay(receiver.waitFor(8));
    ASSERT_TRUE(packet.has_value());
    EXPECT_EQ(packet->displays.value(0).leftTally, TslUmd50::Colour::off);
    EXPECT_EQ(packet->displays.value(0).text, QStringLiteral("LOST Cam 1"));

    TallySnapshot test = snapshot(TallyMode::live);
    test.sourceRunning = false;
    test.underTest = true;
    sender.publish(test);
    packet = firstDisplay(receiver.waitFor(8));
    ASSERT_TRUE(packet.has_value());
    EXPECT_EQ(packet->displays.value(0).leftTally, TslUmd50::Colour::red);
    EXPECT_TRUE(packet->displays.value(0).text.startsWith(QStringLiteral("TEST")))
        << packet->displays.value(0).text.toStdString();

    TallySnapshot quit = snapshot(TallyMode::off);
    quit.sourceRunning = false;
    quit.turnedOffAtQuit = true;
    sender.publish(quit);
    packet = firstDisplay(receiver.waitFor(8));
    ASSERT_TRUE(packet.has_value());
    EXPECT_EQ(packet->displays.value(0).leftTally, TslUmd50::Colour::off);
    EXPECT_EQ(packet->displays.value(0).text, QStringLiteral("Cam 1"));
}

TEST(TslSenderTest, ALostSwitcherIsSentAtOnceEvenWithTheLightsKeptAndItsReturnClearsTheMark)
{
    Receiver receiver;
    // A refresh far away: what arrives is sent because the mark changed.
    TslSender sender({ destination(TslTallyEncoding::Version::v50, TslDestination::Transport::udp, receiver.port()) },
        0, std::chrono::hours(1));
    const auto firstText = [&] {
        const QList<QByteArray> datagrams = receiver.waitFor(8);
        const std::optional<TslUmd50::Packet> packet
            = datagrams.isEmpty() ? std::nullopt : TslUmd50::decode(datagrams.first());
        return packet ? packet->displays.value(0).text : QStringLiteral("<nothing>");
    };
    const TallySnapshot running = snapshot(TallyMode::live);
    sender.publish(running);
    EXPECT_EQ(firstText(), QStringLiteral("Cam 1"));
    // The lights are kept as they were: only the word changes.
    TallySnapshot lost = running;
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 5000;
    sender.publish(lost);
    EXPECT_EQ(firstText(), QStringLiteral("LOST Cam 1"));
    sender.publish(running);
    EXPECT_EQ(firstText(), QStringLiteral("Cam 1"));
}

TEST(TslSenderTest, OneOfSeveralSwitchersLostMarksOnlyTheDisplaysOfTheLightsThatRestOnIt)
{
    Receiver receiver;
    TslSender sender(
        { destination(TslTallyEncoding::Version::v31, TslDestination::Transport::udp, receiver.port()) }, 0);
    TallySnapshot partly = snapshot(TallyMode::live, QStringLiteral("ATEM: Cam 1"));
    partly.lights[1] = { TallyMode::preview, { QStringLiteral("vMix: Cam 1") } };
    partly.lights[1].sourceLost = true;
    sender.publish(partly);
    const QList<QByteArray> datagrams = receiver.waitFor(8);
    ASSERT_GE(datagrams.size(), 2);
    EXPECT_EQ(datagrams[0].mid(2).trimmed(), QByteArray("ATEM: Cam 1"));
    EXPECT_EQ(datagrams[1].mid(2).trimmed(), QByteArray("LOST vMix: Cam 1"));
    // The colour is still the box's: preview, tally 2.
    EXPECT_EQ(quint8(datagrams[1][1]) & 0x03, 0x02);
}
