#pragma once

#include "atem/AtemCommand.h"
#include "atem/AtemPacket.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <array>
#include <functional>
#include <optional>

// A client's side of one ATEM switcher's UDP control protocol, without the
// socket: the owner hands it every datagram that comes from the switcher's
// address, calls tick() now and then, and sends what it is given to send.
// Time is the owner's steady clock in milliseconds, so tests drive it
// without waiting.
//
// The connection:
//   greeting        a hello with a random session id, again on silence
//   receivingState  the switcher accepted; the handshake is acknowledged and
//                   the switcher sends its whole picture under the session id
//                   it assigns, ending with InCm
//   up              the picture is whole; changes follow as they happen
//   waiting         the switcher refused, went silent or never answered;
//                   the next hello follows after a delay that doubles each
//                   time up to a limit, and starts over from nothing
//
// Every reliable packet is acknowledged. Packets are handed on in the order
// the switcher numbered them: one that arrives early waits until the gap
// before it is filled, and the session asks the switcher to send the
// missing ones again. While connected it sends an empty reliable packet now
// and then, whose acknowledgement shows the switcher is still there even
// when nothing changes; silence longer than the limit ends the connection.
//
// Nothing in a packet proves the switcher sent it: a device on the network
// that has seen the session id and the packet ids can send packets from the
// switcher's address. The session cannot tell a forged packet from a real
// one, but it can tell when two packets disagree, and every disagreement
// ends the connection and starts a new one at once, on which the switcher
// sends its whole picture again. So a forged packet can cost a
// reconnection, never a light that stays wrong:
// - A packet under an id already handed on must carry what was handed on
//   (a switcher repeats a packet byte for byte when our acknowledgement was
//   lost); one that differs, or whose id is too old to check, ends the
//   connection. A forged packet that takes a real one's id is found out when
//   the real one arrives, and the other way round.
// - An early packet waiting for its gap must match any later copy.
// - Only a few packets ahead of the next one expected are kept; anything
//   further ahead is dropped, so forged ids cannot fill the wait.
// - The switcher's reliable packets (its changes, and the pings it sends
//   while idle) bring new ids. A connection that hears reliable packets,
//   every one already seen, and hands on nothing new for as long as the
//   silence limit has had its ids taken over (forged packets ran ahead of
//   the switcher's, so its real ones look old, the same as the forged ones
//   or not): it ends like a silent one. Acknowledgements alone do not count,
//   so a switcher that sends no pings is not taken for one that stalled.
// - What the switcher's side asks for (a packet sent again, an
//   acknowledgement repeated) is answered at a bounded rate, so forged
//   requests cannot turn the program into a flood aimed at the switcher.
class AtemSession {
public:
    struct Timing {
        int helloTimeoutMs = 1000;
        // Heard nothing for this long: the switcher is gone. With ticks
        // every 100 ms the loss is noticed within two seconds.
        int silenceLimitMs = 1500;
        int keepAliveMs = 500;
        int resendRequestMs = 100;
        int firstRetryDelayMs = 250;
        int longestRetryDelayMs = 4000;
        // Answers to the switcher side's requests: at most this many at
        // once, refilled at this rate. A real switcher asks a few times a
        // second at most.
        int answerBurst = 16;
        int answersPerSecond = 20;
    };

    enum class Phase {
        stopped,
        greeting,
        receivingState,
        up,
        waiting,
    };

    struct Handlers {
        // A datagram to send to the switcher.
        std::function<void(const QByteArray&)> send;
        // A new connection begins: what the last one said no longer holds.
        std::function<void()> newConnection;
        // One packet's commands, in the switcher's order.
        std::function<void(const QList<AtemCommand>&)> commands;
        // The whole picture has arrived.
        std::function<void()> up;
        // The connection ended (or an attempt failed), in words.
        std::function<void(const QString& why)> lost;
    };

    // Packets that arrive further than this ahead of the next one expected
    // are dropped rather than kept: the switcher sends a few at a time, and
    // anything further ahead is a broken connection or forged ids.
    static constexpr int maxEarlyPackets = 16;
    // Packets handed on that are remembered, to check a later copy against.
    // A copy of an older one cannot be checked and ends the connection.
    static constexpr int rememberedPackets = 256;

    // sessionSeed: the hello's session ids come from it (tests pin it).
    AtemSession(Handlers handlers, Timing timing, quint32 sessionSeed);

    void start(qint64 now);
    void stop();
    void receive(QByteArrayView datagram, qint64 now);
    void tick(qint64 now);

    Phase phase() const { return m_phase; }
    bool isUp() const { return m_phase == Phase::up; }
    // Datagrams dropped as not a packet of this connection.
    int rejectedCount() const { return m_rejected; }
    // Resend requests sent so far.
    int resendRequestCount() const { return m_resendRequests; }
    // Requests from the switcher's side left unanswered as too many.
    int unansweredCount() const { return m_unanswered; }

private:
    void sendHello(qint64 now);
    void sendControl(quint8 flags, quint16 ackedId = 0, quint16 resendId = 0);
    void sendKeepAlive(qint64 now);
    void takeHelloAnswer(const AtemPacket& packet, qint64 now);
    void takeReliable(const AtemPacket& packet, qint64 now);
    void takeEarly(const AtemPacket& packet, qint64 now);
    void deliver(const AtemPacket& packet, qint64 now);
    // Whether the packet carries what was handed on under its id.
    bool matchesDelivered(const AtemPacket& packet) const;
    void answerResendRequest(quint16 id, qint64 now);
    // Whether there is room for one more answer now; takes it.
    bool mayAnswer(qint64 now);
    void requestResend(qint64 now);
    void fail(const QString& why, qint64 now);
    void failOnDisagreement(qint64 now);
    quint16 nextHelloSession();

    struct Remembered {
        bool held = false;
        quint16 id = 0;
        QByteArray payload;
    };

    Handlers m_handlers;
    Timing m_timing;
    quint32 m_random;
    Phase m_phase = Phase::stopped;
    quint16 m_sessionId = 0;
    bool m_sessionAssigned = false;
    quint16 m_lastInOrder = 0;
    QMap<quint16, AtemPacket> m_early;
    // The packets handed on last, by id modulo their number.
    std::array<Remembered, rememberedPackets> m_remembered;
    // When a packet was last handed on (or the connection accepted), and
    // whether a reliable packet seen before has come since.
    qint64 m_lastNew = 0;
    bool m_heardOldSinceNew = false;
    double m_answerTokens = 0;
    qint64 m_answerTokensAt = 0;
    int m_unanswered = 0;
    quint16 m_ownPacketId = 0;
    qint64 m_phaseSince = 0;
    qint64 m_lastHeard = 0;
    qint64 m_lastKeepAlive = 0;
    std::optional<qint64> m_lastResendRequest;
    qint64 m_retryAt = 0;
    int m_retryDelayMs;
    int m_rejected = 0;
    int m_resendRequests = 0;
};
