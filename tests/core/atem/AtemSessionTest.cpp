#include "atem/AtemSession.h"

#include <gtest/gtest.h>

using namespace AtemCommands;

namespace {

constexpr quint16 assigned = 0x8005;

// A session driven by hand: what it sends is kept, what it hands on is
// recorded, and the test plays the switcher.
class AtemSessionTest : public testing::Test {
protected:
    AtemSessionTest()
        : session(
            AtemSession::Handlers { [this](const QByteArray& datagram) { sent.append(*AtemPacket::decode(datagram)); },
                [this] { ++newConnections; },
                [this](const QList<AtemCommand>& commands) {
                    for (const AtemCommand& command : commands) {
                        received.append(command.name);
                    }
                },
                [this] { ++ups; }, [this](const QString& why) { lost.append(why); } },
            AtemSession::Timing {}, 42)
    {
    }

    // Starts, answers the hello and checks the handshake's acknowledgement.
    void handshake()
    {
        session.start(now);
        ASSERT_EQ(sent.size(), 1);
        const AtemPacket hello = sent.takeFirst();
        EXPECT_TRUE(hello.has(AtemPacket::hello));
        EXPECT_EQ(hello.payload, AtemPacket::helloPayload());
        helloSession = hello.sessionId;
        AtemPacket answer;
        answer.flags = AtemPacket::hello;
        answer.sessionId = helloSession;
        answer.payload = QByteArray::fromHex("0200000000000000");
        session.receive(answer.encode(), now);
        ASSERT_EQ(sent.size(), 1);
        const AtemPacket ack = sent.takeFirst();
        EXPECT_TRUE(ack.has(AtemPacket::ack));
        EXPECT_EQ(ack.sessionId, helloSession);
        EXPECT_EQ(session.phase(), AtemSession::Phase::receivingState);
    }

    QByteArray reliable(quint16 id, const QList<AtemCommand>& commands, quint16 sessionId = assigned)
    {
        AtemPacket packet;
        packet.flags = AtemPacket::reliable;
        packet.sessionId = sessionId;
        packet.packetId = id;
        packet.payload = AtemCommand::join(commands);
        return packet.encode();
    }

    QList<AtemPacket> sentWith(AtemPacket::Flag flag)
    {
        QList<AtemPacket> matching;
        for (const AtemPacket& packet : sent) {
            if (packet.has(flag)) {
                matching.append(packet);
            }
        }
        return matching;
    }

    qint64 now = 1000;
    QList<AtemPacket> sent;
    QList<QByteArray> received;
    QStringList lost;
    int newConnections = 0;
    int ups = 0;
    quint16 helloSession = 0;
    AtemSession session;
};

} // namespace

TEST_F(AtemSessionTest, TheWholePictureArrivesAcknowledgedAndThenTheSessionIsUp)
{
    handshake();
    session.receive(reliable(1, { version({ 2, 30 }), programInput({ 0, 1 }) }), now);
    EXPECT_FALSE(session.isUp());
    session.receive(reliable(2, { previewInput({ 0, 2 }), initComplete() }), now);
    EXPECT_TRUE(session.isUp());
    EXPECT_EQ(ups, 1);
    EXPECT_EQ(received, (QList<QByteArray> { "_ver", "PrgI", "PrvI", "InCm" }));
    const QList<AtemPacket> acks = sentWith(AtemPacket::ack);
    ASSERT_EQ(acks.size(), 2);
    EXPECT_EQ(acks[0].ackedId, 1);
    EXPECT_EQ(acks[1].ackedId, 2);
    EXPECT_EQ(acks[1].sessionId, assigned) << "the switcher's session from then on";
}

TEST_F(AtemSessionTest, AnEarlyPacketWaitsForTheGapAndTheGapIsAskedForAgain)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }) }), now);
    sent.clear();
    session.receive(reliable(3, { initComplete() }), now);
    EXPECT_EQ(received, (QList<QByteArray> { "PrgI" })) << "3 waits for 2";
    const QList<AtemPacket> requests = sentWith(AtemPacket::resendRequest);
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0].resendId, 2);
    EXPECT_TRUE(sentWith(AtemPacket::ack).isEmpty()) << "nothing past the gap is acknowledged";
    session.receive(reliable(2, { previewInput({ 0, 2 }) }), now);
    EXPECT_EQ(received, (QList<QByteArray> { "PrgI", "PrvI", "InCm" }));
    EXPECT_TRUE(session.isUp());
    ASSERT_FALSE(sentWith(AtemPacket::ack).isEmpty());
    EXPECT_EQ(sentWith(AtemPacket::ack).back().ackedId, 3);
}

TEST_F(AtemSessionTest, AGapStillOpenIsAskedForAgainOnLaterTicks)
{
    handshake();
    session.receive(reliable(2, { programInput({ 0, 1 }) }), now);
    EXPECT_EQ(session.resendRequestCount(), 1);
    session.tick(now + 50);
    EXPECT_EQ(session.resendRequestCount(), 1) << "not more often than the interval";
    session.tick(now + 150);
    EXPECT_EQ(session.resendRequestCount(), 2);
}

TEST_F(AtemSessionTest, APacketSeenBeforeIsAcknowledgedAgainAndNotHandedOnTwice)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }) }), now);
    sent.clear();
    session.receive(reliable(1, { programInput({ 0, 1 }) }), now);
    EXPECT_EQ(received.size(), 1);
    ASSERT_EQ(sentWith(AtemPacket::ack).size(), 1);
    EXPECT_EQ(sentWith(AtemPacket::ack).front().ackedId, 1);
}

TEST_F(AtemSessionTest, SilenceEndsTheConnectionAndTheNextHelloWaitsLongerEachTime)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    ASSERT_TRUE(session.isUp());
    session.tick(now + 1400);
    EXPECT_TRUE(session.isUp());
    session.tick(now + 1500);
    EXPECT_FALSE(session.isUp());
    ASSERT_EQ(lost.size(), 1);
    EXPECT_EQ(lost[0], QStringLiteral("the switcher stopped answering"));
    sent.clear();
    now += 1500;
    session.tick(now + 200);
    EXPECT_TRUE(sent.isEmpty()) << "waits a quarter second first";
    session.tick(now + 250);
    ASSERT_EQ(sent.size(), 1);
    EXPECT_TRUE(sent[0].has(AtemPacket::hello));
    EXPECT_EQ(newConnections, 2) << "the old picture no longer holds";
    // No answer: the hello times out, and the next wait is twice as long.
    now += 250;
    session.tick(now + 1000);
    EXPECT_EQ(lost.size(), 2);
    sent.clear();
    session.tick(now + 1000 + 499);
    EXPECT_TRUE(sent.isEmpty());
    session.tick(now + 1000 + 500);
    EXPECT_EQ(sent.size(), 1);
}

TEST_F(AtemSessionTest, AReconnectionStartsFromPacketOneUnderANewSession)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    session.receive(reliable(2, { programInput({ 0, 1 }) }), now);
    session.tick(now + 1500);
    session.tick(now + 1750);
    ASSERT_FALSE(sent.isEmpty());
    const AtemPacket hello = sent.back();
    ASSERT_TRUE(hello.has(AtemPacket::hello));
    AtemPacket answer;
    answer.flags = AtemPacket::hello;
    answer.sessionId = hello.sessionId;
    answer.payload = QByteArray::fromHex("0200000000000000");
    session.receive(answer.encode(), now + 1760);
    received.clear();
    session.receive(reliable(1, { programInput({ 0, 2 }), initComplete() }, 0x8006), now + 1770);
    EXPECT_EQ(received, (QList<QByteArray> { "PrgI", "InCm" }));
    EXPECT_TRUE(session.isUp());
    EXPECT_EQ(ups, 2);
}

TEST_F(AtemSessionTest, ARefusalIsAFailedAttempt)
{
    session.start(now);
    AtemPacket answer;
    answer.flags = AtemPacket::hello;
    answer.sessionId = sent.front().sessionId;
    answer.payload = QByteArray::fromHex("0400000000000000");
    session.receive(answer.encode(), now);
    EXPECT_EQ(session.phase(), AtemSession::Phase::waiting);
    ASSERT_EQ(lost.size(), 1);
    EXPECT_TRUE(lost[0].contains(QStringLiteral("refused")));
}

TEST_F(AtemSessionTest, AnIdleConnectionIsKeptAliveWithAnEmptyReliablePacket)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    sent.clear();
    session.tick(now + 500);
    const QList<AtemPacket> pings = sentWith(AtemPacket::reliable);
    ASSERT_EQ(pings.size(), 1);
    EXPECT_TRUE(pings[0].payload.isEmpty());
    EXPECT_EQ(pings[0].sessionId, assigned);
    EXPECT_EQ(pings[0].packetId, 1);
}

TEST_F(AtemSessionTest, BadInputIsDroppedWithoutHarm)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }) }), now);
    const int before = session.rejectedCount();
    session.receive(QByteArray(64 * 1024, '\x08'), now);
    session.receive(reliable(2, { initComplete() }).left(15), now);
    session.receive(reliable(2, { initComplete() }, 0x1234), now) /* another session */;
    AtemPacket spoiled;
    spoiled.flags = AtemPacket::reliable;
    spoiled.sessionId = assigned;
    spoiled.packetId = 2;
    spoiled.payload = QByteArray::fromHex("00ff0000496e436d");
    session.receive(spoiled.encode(), now);
    EXPECT_EQ(session.rejectedCount(), before + 4);
    EXPECT_EQ(received, (QList<QByteArray> { "PrgI" }));
    EXPECT_FALSE(session.isUp());
    session.receive(reliable(3, { AtemCommand { "Zzzz", "abc" }, initComplete() }), now);
    EXPECT_TRUE(session.isUp()) << "an unknown command is passed over";
}
