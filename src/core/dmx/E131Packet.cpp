#include "dmx/E131Packet.h"

namespace {

void appendU16(QByteArray& packet, int value)
{
    packet.append(char((value >> 8) & 0xff));
    packet.append(char(value & 0xff));
}

void appendU32(QByteArray& packet, quint32 value)
{
    appendU16(packet, int(value >> 16));
    appendU16(packet, int(value & 0xffff));
}

// A PDU's flags (0x7) and length in twelve bits, counted from this field
// to the end of the packet.
void appendFlagsAndLength(QByteArray& packet, int length)
{
    appendU16(packet, 0x7000 | (length & 0x0fff));
}

// The name as UTF-8 in 64 bytes, the last always NUL, never cutting a
// character in two.
QByteArray sourceNameField(const QString& name)
{
    QByteArray bytes = name.toUtf8();
    constexpr qsizetype room = E131Packet::sourceNameSize - 1;
    if (bytes.size() > room) {
        qsizetype cut = room;
        while (cut > 0 && (quint8(bytes[cut]) & 0xc0) == 0x80) {
            --cut; // bytes[cut] continues a character: cut before it starts
        }
        bytes.truncate(cut);
    }
    bytes.append(QByteArray(E131Packet::sourceNameSize - bytes.size(), char(0)));
    return bytes;
}

constexpr quint32 vectorRootE131Data = 0x00000004;
constexpr quint32 vectorE131DataPacket = 0x00000002;
constexpr quint8 vectorDmpSetProperty = 0x02;
constexpr quint8 dmpAddressAndDataType = 0xa1;

// Where each layer starts in the packet.
constexpr int rootLayerStart = 16;
constexpr int framingLayerStart = 38;
constexpr int dmpLayerStart = 115;

} // namespace

namespace E131Packet {

QByteArray build(const Source& source, int universe, quint8 sequence, bool streamTerminated, const QByteArray& levels)
{
    const QByteArray data = levels.left(512);
    const int size = headerSize + int(data.size());
    QByteArray packet;
    packet.reserve(size);
    // Root layer.
    appendU16(packet, 0x0010); // preamble size
    appendU16(packet, 0x0000); // post-amble size
    packet.append("ASC-E1.17", 9);
    packet.append(QByteArray(3, char(0)));
    appendFlagsAndLength(packet, size - rootLayerStart);
    appendU32(packet, vectorRootE131Data);
    packet.append(source.cid.toRfc4122());
    // Framing layer.
    appendFlagsAndLength(packet, size - framingLayerStart);
    appendU32(packet, vectorE131DataPacket);
    packet.append(sourceNameField(source.name));
    packet.append(char(source.priority));
    appendU16(packet, 0); // synchronization address: none
    packet.append(char(sequence));
    packet.append(char(streamTerminated ? streamTerminatedBit : 0));
    appendU16(packet, universe);
    // DMP layer.
    appendFlagsAndLength(packet, size - dmpLayerStart);
    packet.append(char(vectorDmpSetProperty));
    packet.append(char(dmpAddressAndDataType));
    appendU16(packet, 0x0000); // first property address
    appendU16(packet, 0x0001); // address increment
    appendU16(packet, 1 + int(data.size())); // the start code and the levels
    packet.append(char(0)); // start code: levels
    packet.append(data);
    return packet;
}

} // namespace E131Packet
