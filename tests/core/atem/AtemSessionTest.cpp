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

namespace {

// What a forger would send: camera 3 on air by source.
AtemCommand cameraThreeOnAir()
{
    return tallyBySource({ { 1, {} }, { 3, { true, false } } });
}

// A packet from the switcher's side carrying only flags and ids.
QByteArray control(quint8 flags, quint16 resendId = 0, quint16 ackedId = 0)
{
    AtemPacket packet;
    packet.flags = flags;
    packet.sessionId = assigned;
    packet.resendId = resendId;
    packet.ackedId = ackedId;
    return packet.encode();
}

} // namespace

TEST_F(AtemSessionTest, AForgedTallyIsUndoneByAResyncWhenTheSwitchersOwnPacketArrives)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }), initComplete() }), now);
    ASSERT_TRUE(session.isUp());
    // A device that watched the wire sends the next id first, from the
    // switcher's address, with camera 3 on air.
    session.receive(reliable(2, { cameraThreeOnAir() }), now);
    ASSERT_EQ(received.back(), QByteArray("TlSr")) << "indistinguishable until the real one comes";
    // The switcher's own packet 2, its ping, disagrees.
    sent.clear();
    session.receive(reliable(2, {}), now + 400);
    EXPECT_FALSE(session.isUp());
    ASSERT_EQ(lost.size(), 1);
    EXPECT_TRUE(lost[0].contains(QStringLiteral("disagree")));
    // The next connection starts from nothing, at once, without the retry
    // delay: the forged tally is gone.
    EXPECT_EQ(newConnections, 2);
    ASSERT_FALSE(sent.isEmpty());
    EXPECT_TRUE(sent.back().has(AtemPacket::hello));
}

TEST_F(AtemSessionTest, ASecondDisagreementBeforeThePictureIsWholeWaitsForTheRetryDelay)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }), initComplete() }), now);
    session.receive(reliable(2, { cameraThreeOnAir() }), now);
    session.receive(reliable(2, {}), now + 10);
    ASSERT_EQ(newConnections, 2) << "the first disagreement reconnects at once";

    // The forger keeps at it on the new connection before its picture is
    // whole: no hello at once this time, only after the grown delay.
    const quint16 second = sent.back().sessionId;
    AtemPacket answer;
    answer.flags = AtemPacket::hello;
    answer.sessionId = second;
    answer.payload = QByteArray::fromHex("0200000000000000");
    session.receive(answer.encode(), now + 20);
    session.receive(reliable(1, { programInput({ 0, 1 }) }, 0x8006), now + 30);
    session.receive(reliable(1, { cameraThreeOnAir() }, 0x8006), now + 40);
    ASSERT_EQ(lost.size(), 2);
    EXPECT_EQ(newConnections, 2);
    session.tick(now + 40 + 499);
    EXPECT_EQ(newConnections, 2);
    session.tick(now + 40 + 500);
    EXPECT_EQ(newConnections, 3);
}

TEST_F(AtemSessionTest, ForgedIdsJustBeforeACutCostAResyncNotTheCut)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }), initComplete() }), now);
    for (quint16 id = 2; id <= 4; ++id) {
        session.receive(reliable(id, {}), now);
    }
    // The switcher's next ping matches what the forger sent under its id;
    // the cut that follows does not.
    session.receive(reliable(2, {}), now + 100);
    EXPECT_TRUE(session.isUp());
    session.receive(reliable(3, { programInput({ 0, 2 }) }), now + 200);
    EXPECT_FALSE(session.isUp());
    ASSERT_EQ(lost.size(), 1);

    // A new connection, at once, brings the whole picture again, the cut in
    // it.
    ASSERT_TRUE(sent.back().has(AtemPacket::hello));
    AtemPacket answer;
    answer.flags = AtemPacket::hello;
    answer.sessionId = sent.back().sessionId;
    answer.payload = QByteArray::fromHex("0200000000000000");
    session.receive(answer.encode(), now + 460);
    received.clear();
    session.receive(reliable(1, { programInput({ 0, 2 }), initComplete() }, 0x8006), now + 470);
    EXPECT_TRUE(session.isUp());
    EXPECT_EQ(received, (QList<QByteArray> { "PrgI", "InCm" }));
}

TEST_F(AtemSessionTest, AForgedFloodOfIdsAheadIsNotBufferedAndTheRealPacketsStillArrive)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    const int rejectedBefore = session.rejectedCount();
    // Ids from 18 to far ahead, each lighting camera 3: past the few kept
    // for a gap, within what a looser session would keep.
    constexpr int firstForged = 18;
    ASSERT_LT(AtemSession::maxEarlyPackets, firstForged - 1);
    const AtemCommand forged = cameraThreeOnAir();
    for (int id = firstForged; id < 1000; ++id) {
        session.receive(reliable(quint16(id), { forged }), now);
    }
    EXPECT_EQ(session.rejectedCount() - rejectedBefore, 1000 - firstForged);
    received.clear();
    // The switcher's own packets follow, up to and past where the forged
    // ids began.
    for (int id = 2; id <= firstForged + 2; ++id) {
        session.receive(reliable(quint16(id), { programInput({ 0, quint16(id) }) }), now + id);
    }
    EXPECT_TRUE(session.isUp());
    EXPECT_TRUE(lost.isEmpty());
    EXPECT_EQ(received.size(), firstForged + 1);
    EXPECT_FALSE(received.contains(QByteArray("TlSr")));
}

TEST_F(AtemSessionTest, AForgedEarlyPacketThatDisagreesWithTheRealOneIsAResync)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    session.receive(reliable(5, { cameraThreeOnAir() }), now);
    EXPECT_TRUE(session.isUp());
    session.receive(reliable(5, { programInput({ 0, 2 }) }), now + 10);
    EXPECT_FALSE(session.isUp());
    ASSERT_EQ(lost.size(), 1);
    EXPECT_TRUE(lost[0].contains(QStringLiteral("disagree")));
}

TEST_F(AtemSessionTest, AStallAfterForgedIdsEndsInAResyncWithinTheLostLimit)
{
    handshake();
    session.receive(reliable(1, { programInput({ 0, 1 }), initComplete() }), now);
    // 100 forged empty packets: every id the switcher sends next is taken.
    for (quint16 id = 2; id <= 101; ++id) {
        session.receive(reliable(id, {}), now);
    }
    // The switcher goes on pinging with ids 2, 3, 4…, which look old, and
    // acknowledging the keep-alives: it is heard, but nothing is new.
    const qint64 forgedAt = now;
    qint64 lostAt = 0;
    quint16 realId = 2;
    for (qint64 at = now + 100; at <= now + 5000 && lostAt == 0; at += 100) {
        if (at % 500 == 0) {
            session.receive(reliable(realId++, {}), at);
            session.receive(control(AtemPacket::ack, 0, 1), at);
        }
        session.tick(at);
        if (!lost.isEmpty()) {
            lostAt = at;
        }
    }
    ASSERT_EQ(lost.size(), 1) << "the frozen session must end";
    EXPECT_LE(lostAt - forgedAt, AtemSession::Timing {}.silenceLimitMs);
    EXPECT_TRUE(lost[0].contains(QStringLiteral("nothing new")));
    session.tick(lostAt + 250);
    EXPECT_EQ(newConnections, 2);
}

TEST_F(AtemSessionTest, ASessionThatDeliversNothingNewIsLostAndReopened)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    // Only unreliable packets come (acknowledgements of the keep-alives)
    // and copies of packet 1: heard all the time, never anything new.
    for (qint64 at = now + 100; at < now + 1500; at += 100) {
        session.receive(control(AtemPacket::ack, 0, 1), at);
        session.receive(reliable(1, { initComplete() }), at);
        session.tick(at);
    }
    EXPECT_TRUE(session.isUp());
    EXPECT_TRUE(lost.isEmpty());
    session.receive(control(AtemPacket::ack, 0, 1), now + 1500);
    session.tick(now + 1500);
    EXPECT_FALSE(session.isUp());
    ASSERT_EQ(lost.size(), 1);
    EXPECT_TRUE(lost[0].contains(QStringLiteral("nothing new")));
    sent.clear();
    session.tick(now + 1500 + 250);
    ASSERT_EQ(sent.size(), 1);
    EXPECT_TRUE(sent[0].has(AtemPacket::hello));
}

TEST_F(AtemSessionTest, AForgedCopyOfAPacketTooOldToCheckIsAResync)
{
    handshake();
    for (int id = 1; id <= AtemSession::rememberedPackets + 10; ++id) {
        session.receive(reliable(quint16(id), {}), now);
    }
    session.receive(reliable(2, {}), now);
    EXPECT_EQ(lost.size(), 1);
}

TEST_F(AtemSessionTest, InjectedResendRequestsAreAnsweredAtABoundedRate)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    sent.clear();
    // 20,000 forged requests a second for one second.
    for (int request = 0; request < 20000; ++request) {
        session.receive(control(AtemPacket::resendRequest, 1), now + request / 20);
    }
    const AtemSession::Timing timing;
    const qsizetype answers = sentWith(AtemPacket::retransmission).size();
    EXPECT_GE(answers, timing.answerBurst);
    EXPECT_LE(answers, timing.answerBurst + timing.answersPerSecond + 1);
    EXPECT_EQ(session.unansweredCount(), 20000 - answers);
    // Once the flood ends the budget comes back: a real request is answered.
    sent.clear();
    session.receive(control(AtemPacket::resendRequest, 1), now + 2000);
    EXPECT_EQ(sentWith(AtemPacket::retransmission).size(), 1);
}

TEST_F(AtemSessionTest, InjectedCopiesOfAPacketAreAcknowledgedAtABoundedRate)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    sent.clear();
    for (int copy = 0; copy < 10000; ++copy) {
        session.receive(reliable(1, { initComplete() }), now + copy / 10);
    }
    const AtemSession::Timing timing;
    EXPECT_LE(sentWith(AtemPacket::ack).size(), timing.answerBurst + timing.answersPerSecond + 1);
    EXPECT_TRUE(session.isUp());
}

TEST_F(AtemSessionTest, AnIdleSwitcherThatOnlyAcknowledgesIsNotTakenForAStall)
{
    handshake();
    session.receive(reliable(1, { initComplete() }), now);
    // No pings, no changes: only the acknowledgements of the keep-alives.
    for (qint64 at = now + 100; at <= now + 5000; at += 100) {
        session.receive(control(AtemPacket::ack, 0, 1), at);
        session.tick(at);
    }
    EXPECT_TRUE(session.isUp());
    EXPECT_TRUE(lost.isEmpty());
}
