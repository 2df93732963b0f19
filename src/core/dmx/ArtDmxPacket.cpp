#include "dmx/ArtDmxPacket.h"

namespace ArtDmxPacket {

QByteArray build(int universe, quint8 sequence, const QByteArray& levels)
{
    QByteArray data = levels.left(512);
    if (data.size() < 2) {
        data.append(QByteArray(2 - data.size(), char(0)));
    }
    if (data.size() % 2 != 0) {
        data.append(char(0));
    }
    QByteArray packet;
    packet.reserve(headerSize + data.size());
    packet.append("Art-Net", 7);
    packet.append(char(0));
    packet.append(char(opDmx & 0xff));
    packet.append(char(opDmx >> 8));
    packet.append(char(protocolVersion >> 8));
    packet.append(char(protocolVersion & 0xff));
    packet.append(char(sequence));
    packet.append(char(0)); // physical: the program has one output
    packet.append(char(universe & 0xff));
    packet.append(char((universe >> 8) & 0x7f));
    packet.append(char(data.size() >> 8));
    packet.append(char(data.size() & 0xff));
    packet.append(data);
    return packet;
}

quint8 nextSequence(quint8 previous)
{
    return previous == 255 ? 1 : quint8(previous + 1);
}

} // namespace ArtDmxPacket
