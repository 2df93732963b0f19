#include "atem/AtemSession.h"

#include <algorithm>

namespace {

QString contradiction()
{
    return QStringLiteral("two packets under one id disagree (another device may be sending in the switcher's name)");
}

} // namespace

AtemSession::AtemSession(Handlers handlers, Timing timing, quint32 sessionSeed)
    : m_handlers(std::move(handlers))
    , m_timing(timing)
    , m_random(sessionSeed | 1u)
    , m_retryDelayMs(timing.firstRetryDelayMs)
{
}

void AtemSession::start(qint64 now)
{
    m_retryDelayMs = m_timing.firstRetryDelayMs;
    sendHello(now);
}

void AtemSession::stop()
{
    m_phase = Phase::stopped;
    m_early.clear();
}

quint16 AtemSession::nextHelloSession()
{
    // xorshift: only needs to differ from one attempt to the next and from
    // other clients on the network, never to be secret.
    m_random ^= m_random << 13;
    m_random ^= m_random >> 17;
    m_random ^= m_random << 5;
    // The switcher's own ids have the top bit set; a client's hello does not.
    return static_cast<quint16>(m_random & 0x7fff);
}

void AtemSession::sendHello(qint64 now)
{
    m_phase = Phase::greeting;
    m_phaseSince = now;
    m_sessionId = nextHelloSession();
    m_sessionAssigned = false;
    m_lastInOrder = 0;
    m_early.clear();
    m_remembered.fill(Remembered {});
    m_ownPacketId = 0;
    m_lastResendRequest.reset();
    m_answerTokens = m_timing.answerBurst;
    m_answerTokensAt = now;
    if (m_handlers.newConnection) {
        m_handlers.newConnection();
    }
    AtemPacket hello;
    hello.flags = AtemPacket::hello;
    hello.sessionId = m_sessionId;
    hello.payload = AtemPacket::helloPayload();
    m_handlers.send(hello.encode());
}

void AtemSession::sendControl(quint8 flags, quint16 ackedId, quint16 resendId)
{
    AtemPacket packet;
    packet.flags = flags;
    packet.sessionId = m_sessionId;
    packet.ackedId = ackedId;
    packet.resendId = resendId;
    m_handlers.send(packet.encode());
}

void AtemSession::receive(QByteArrayView datagram, qint64 now)
{
    if (m_phase == Phase::stopped || m_phase == Phase::waiting) {
        ++m_rejected;
        return;
    }
    const std::optional<AtemPacket> packet = AtemPacket::decode(datagram);
    if (!packet) {
        ++m_rejected;
        return;
    }
    if (m_phase == Phase::greeting) {
        takeHelloAnswer(*packet, now);
        return;
    }
    if (packet->has(AtemPacket::hello)) {
        // A late second answer to the handshake; the switcher repeats it
        // when our acknowledgement was lost.
        if (packet->sessionId == m_sessionId || !m_sessionAssigned) {
            if (mayAnswer(now)) {
                sendControl(AtemPacket::ack);
            }
            m_lastHeard = now;
        } else {
            ++m_rejected;
        }
        return;
    }
    if (!m_sessionAssigned && packet->has(AtemPacket::reliable)) {
        // The first packet after the handshake brings the session id the
        // switcher assigned.
        m_sessionId = packet->sessionId;
        m_sessionAssigned = true;
    }
    if (packet->sessionId != m_sessionId) {
        ++m_rejected;
        return;
    }
    m_lastHeard = now;
    if (packet->has(AtemPacket::resendRequest)) {
        answerResendRequest(packet->resendId, now);
    }
    if (packet->has(AtemPacket::reliable)) {
        takeReliable(*packet, now);
    }
}

void AtemSession::takeHelloAnswer(const AtemPacket& packet, qint64 now)
{
    if (!packet.has(AtemPacket::hello) || packet.sessionId != m_sessionId || packet.payload.isEmpty()) {
        ++m_rejected;
        return;
    }
    if (static_cast<quint8>(packet.payload.at(0)) != AtemPacket::helloAccepted) {
        fail(QStringLiteral("the switcher refused the connection (it may have no room for another client)"), now);
        return;
    }
    sendControl(AtemPacket::ack);
    m_phase = Phase::receivingState;
    m_phaseSince = now;
    m_lastHeard = now;
    m_lastNew = now;
    m_heardOldSinceNew = false;
    m_lastKeepAlive = now;
}

void AtemSession::answerResendRequest(quint16 id, qint64 now)
{
    if (!mayAnswer(now)) {
        return;
    }
    // Only keep-alives are ever sent reliably, so an empty packet under the
    // asked id is all the switcher can be missing.
    AtemPacket again;
    again.flags = AtemPacket::reliable | AtemPacket::retransmission;
    again.sessionId = m_sessionId;
    again.packetId = id;
    m_handlers.send(again.encode());
}

bool AtemSession::mayAnswer(qint64 now)
{
    const double refill = double(now - m_answerTokensAt) * m_timing.answersPerSecond / 1000.0;
    m_answerTokens = std::min(double(m_timing.answerBurst), m_answerTokens + std::max(0.0, refill));
    m_answerTokensAt = now;
    if (m_answerTokens < 1.0) {
        ++m_unanswered;
        return false;
    }
    m_answerTokens -= 1.0;
    return true;
}

void AtemSession::takeReliable(const AtemPacket& packet, qint64 now)
{
    const quint16 expected = AtemPacket::nextId(m_lastInOrder);
    if (packet.packetId == expected) {
        deliver(packet, now);
        // Whatever waited for this one follows it now.
        while (true) {
            const auto next = m_early.find(AtemPacket::nextId(m_lastInOrder));
            if (next == m_early.end()) {
                break;
            }
            const AtemPacket early = next.value();
            m_early.erase(next);
            deliver(early, now);
        }
        if (m_early.isEmpty()) {
            m_lastResendRequest.reset();
        }
        sendControl(AtemPacket::ack, m_lastInOrder);
        if (m_phase == Phase::stopped || m_phase == Phase::waiting) {
            return;
        }
        if (!m_early.isEmpty()) {
            requestResend(now);
        }
        return;
    }
    if (!AtemPacket::isAfter(packet.packetId, m_lastInOrder)) {
        if (!matchesDelivered(packet)) {
            failOnDisagreement(now);
            return;
        }
        // Seen already: its acknowledgement was lost, so say it again.
        m_heardOldSinceNew = true;
        if (mayAnswer(now)) {
            sendControl(AtemPacket::ack, m_lastInOrder);
        }
        return;
    }
    takeEarly(packet, now);
}

void AtemSession::takeEarly(const AtemPacket& packet, qint64 now)
{
    const int ahead = (int(packet.packetId) - int(m_lastInOrder) + AtemPacket::idModulo) % AtemPacket::idModulo;
    if (ahead > maxEarlyPackets) {
        ++m_rejected;
    } else {
        const auto known = m_early.constFind(packet.packetId);
        if (known != m_early.cend() && known->payload != packet.payload) {
            failOnDisagreement(now);
            return;
        }
        m_early.insert(packet.packetId, packet);
    }
    requestResend(now);
}

bool AtemSession::matchesDelivered(const AtemPacket& packet) const
{
    const int behind = (int(m_lastInOrder) - int(packet.packetId) + AtemPacket::idModulo) % AtemPacket::idModulo;
    if (behind >= rememberedPackets) {
        return false;
    }
    const Remembered& remembered = m_remembered[packet.packetId % rememberedPackets];
    return remembered.held && remembered.id == packet.packetId && remembered.payload == packet.payload;
}

void AtemSession::deliver(const AtemPacket& packet, qint64 now)
{
    m_lastInOrder = packet.packetId;
    m_lastNew = now;
    m_heardOldSinceNew = false;
    m_remembered[packet.packetId % rememberedPackets] = Remembered { true, packet.packetId, packet.payload };
    if (packet.payload.isEmpty()) {
        return;
    }
    const std::optional<QList<AtemCommand>> commands = AtemCommand::split(packet.payload);
    if (!commands) {
        ++m_rejected;
        return;
    }
    if (m_handlers.commands) {
        m_handlers.commands(*commands);
    }
    if (m_phase != Phase::receivingState) {
        return;
    }
    const bool complete = std::any_of(commands->cbegin(), commands->cend(),
        [](const AtemCommand& command) { return command.name == AtemCommands::initCompleteName; });
    if (complete) {
        m_phase = Phase::up;
        m_retryDelayMs = m_timing.firstRetryDelayMs;
        if (m_handlers.up) {
            m_handlers.up();
        }
    }
}

void AtemSession::requestResend(qint64 now)
{
    if (m_lastResendRequest && now - *m_lastResendRequest < m_timing.resendRequestMs) {
        return;
    }
    m_lastResendRequest = now;
    ++m_resendRequests;
    sendControl(AtemPacket::resendRequest, 0, AtemPacket::nextId(m_lastInOrder));
}

void AtemSession::sendKeepAlive(qint64 now)
{
    m_lastKeepAlive = now;
    m_ownPacketId = AtemPacket::nextId(m_ownPacketId);
    AtemPacket ping;
    ping.flags = AtemPacket::reliable;
    ping.sessionId = m_sessionId;
    ping.packetId = m_ownPacketId;
    m_handlers.send(ping.encode());
}

void AtemSession::tick(qint64 now)
{
    switch (m_phase) {
    case Phase::stopped:
        return;
    case Phase::waiting:
        if (now >= m_retryAt) {
            sendHello(now);
        }
        return;
    case Phase::greeting:
        if (now - m_phaseSince >= m_timing.helloTimeoutMs) {
            fail(QStringLiteral("the switcher does not answer"), now);
        }
        return;
    case Phase::receivingState:
    case Phase::up:
        break;
    }
    if (now - m_lastHeard >= m_timing.silenceLimitMs) {
        fail(QStringLiteral("the switcher stopped answering"), now);
        return;
    }
    if (m_heardOldSinceNew && now - m_lastNew >= m_timing.silenceLimitMs) {
        fail(QStringLiteral("the switcher's packets bring nothing new (another device may be sending in its name)"),
            now);
        return;
    }
    if (!m_early.isEmpty()) {
        requestResend(now);
    }
    if (m_sessionAssigned && now - m_lastKeepAlive >= m_timing.keepAliveMs) {
        sendKeepAlive(now);
    }
}

void AtemSession::failOnDisagreement(qint64 now)
{
    // The switcher answers, but what it said disagrees with what another
    // device said in its name, and a forged light may be showing. The first
    // time since the picture was whole, the whole picture is asked for again
    // at once rather than after the retry delay. Should it happen again
    // before the picture is whole, the delay grows as after any failure, so
    // forged packets cannot make the program hammer the switcher.
    const bool firstSinceWhole = m_retryDelayMs == m_timing.firstRetryDelayMs;
    fail(contradiction(), now);
    if (firstSinceWhole && m_phase == Phase::waiting) {
        sendHello(now);
    }
}

void AtemSession::fail(const QString& why, qint64 now)
{
    m_phase = Phase::waiting;
    m_early.clear();
    m_retryAt = now + m_retryDelayMs;
    m_retryDelayMs = std::min(m_retryDelayMs * 2, m_timing.longestRetryDelayMs);
    if (m_handlers.lost) {
        m_handlers.lost(why);
    }
}
