#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

// One datagram of an ATEM switcher's UDP control protocol: a 12-byte header
// and the commands it carries. All numbers are big-endian.
//
//   bytes 0-1   five flag bits above an 11-bit length of the whole packet
//   bytes 2-3   the session id
//   bytes 4-5   with the ack flag: the sender's last packet id received
//   bytes 6-7   with the resend flag: the first packet id to send again
//   bytes 8-9   unused
//   bytes 10-11 with the reliable flag: this packet's id, which the other
//               end acknowledges; ids count up from 1 and wrap at 32768
//
// decode() accepts a datagram only when its length field matches its size,
// so a truncated or padded datagram is never read as a packet.
struct AtemPacket {
    enum Flag : quint8 {
        reliable = 0x01, // the other end must acknowledge this packet
        hello = 0x02, // the handshake; the switcher assigns the session
        retransmission = 0x04, // a copy of a packet sent before
        resendRequest = 0x08, // asks for resendId and what follows again
        ack = 0x10, // ackedId is the last packet received
    };

    static constexpr int headerSize = 12;
    // The length field has 11 bits.
    static constexpr int maxSize = 2047;
    static constexpr quint16 idModulo = 0x8000;

    quint8 flags = 0;
    quint16 sessionId = 0;
    quint16 ackedId = 0;
    quint16 resendId = 0;
    quint16 packetId = 0;
    QByteArray payload;

    bool has(Flag flag) const { return (flags & flag) != 0; }

    // Nothing when the datagram is not one whole packet.
    static std::optional<AtemPacket> decode(QByteArrayView datagram);
    // The datagram; a payload too long for the length field is cut short
    // of it (callers keep payloads well under maxSize - headerSize).
    QByteArray encode() const;

    // The id that follows id, wrapping.
    static quint16 nextId(quint16 id) { return static_cast<quint16>((id + 1) % idModulo); }
    // Whether id comes after reference within half the id space: the
    // wrap-around comparison both ends use to tell new packets from old.
    static bool isAfter(quint16 id, quint16 reference);

    // The payload of the opening handshake packet a client sends, and the
    // first byte of the switcher's answer: accepted, or no room for another
    // client.
    static QByteArray helloPayload();
    static constexpr quint8 helloAccepted = 0x02;
    static constexpr quint8 helloRefused = 0x04;
};
