#include "atem/AtemPacket.h"

#include <QtEndian>

namespace {

quint16 readWord(QByteArrayView bytes, qsizetype at)
{
    return qFromBigEndian<quint16>(bytes.data() + at);
}

void appendWord(QByteArray& bytes, quint16 value)
{
    bytes.append(static_cast<char>(value >> 8));
    bytes.append(static_cast<char>(value & 0xff));
}

} // namespace

std::optional<AtemPacket> AtemPacket::decode(QByteArrayView datagram)
{
    if (datagram.size() < headerSize || datagram.size() > maxSize) {
        return std::nullopt;
    }
    const quint16 first = readWord(datagram, 0);
    if ((first & 0x07ff) != datagram.size()) {
        return std::nullopt;
    }
    AtemPacket packet;
    packet.flags = static_cast<quint8>(first >> 11);
    packet.sessionId = readWord(datagram, 2);
    packet.ackedId = readWord(datagram, 4);
    packet.resendId = readWord(datagram, 6);
    packet.packetId = readWord(datagram, 10);
    packet.payload = datagram.sliced(headerSize).toByteArray();
    return packet;
}

QByteArray AtemPacket::encode() const
{
    const QByteArray body = payload.left(maxSize - headerSize);
    QByteArray bytes;
    bytes.reserve(headerSize + body.size());
    appendWord(bytes, static_cast<quint16>((quint16(flags & 0x1f) << 11) | (headerSize + body.size())));
    appendWord(bytes, sessionId);
    appendWord(bytes, ackedId);
    appendWord(bytes, resendId);
    appendWord(bytes, 0);
    appendWord(bytes, packetId);
    bytes.append(body);
    return bytes;
}

bool AtemPacket::isAfter(quint16 id, quint16 reference)
{
    const int distance = (int(id) - int(reference) + idModulo) % idModulo;
    return distance != 0 && distance < idModulo / 2;
}

QByteArray AtemPacket::helloPayload()
{
    return QByteArray("\x01\x00\x00\x00\x00\x00\x00\x00", 8);
}
