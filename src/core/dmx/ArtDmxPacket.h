#pragma once

#include <QByteArray>

// ArtDmx, the Art-Net 4 datagram that carries one universe's levels:
//   "Art-Net\0", OpCode 0x5000 (low byte first), protocol version 14 (high
//   byte first), sequence, physical port, SubUni and Net (the 15-bit
//   port-address, low byte first), the length (high byte first, even, 2 to
//   512) and the levels.
namespace ArtDmxPacket {

constexpr int headerSize = 18;
constexpr quint16 opDmx = 0x5000;
constexpr quint16 protocolVersion = 14;

// The datagram for universe (the port-address, 0 to 32767) with the given
// sequence (1 to 255 as receivers reorder by it; 0 turns their reordering
// off). An odd number of levels gets a zero level after it, as the length
// must be even; more than 512 are cut to 512, fewer than 2 filled to 2.
QByteArray build(int universe, quint8 sequence, const QByteArray& levels);

// The sequence after previous: 1 to 255 and round again, never 0.
quint8 nextSequence(quint8 previous);

} // namespace ArtDmxPacket
