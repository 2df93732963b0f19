#pragma once

#include <QByteArray>
#include <QString>
#include <QUuid>

// The sACN (ANSI E1.31) data packet that carries one universe's levels: an
// ACN root layer (preamble, the "ASC-E1.17" identifier, the source's CID),
// a framing layer (source name, priority, sequence, options, universe) and
// a DMP layer holding the start code 0 and the levels. Multi-byte numbers
// go high byte first; each layer's length counts from its own flags.
namespace E131Packet {

constexpr int headerSize = 126; // the packet before its first level
constexpr int sourceNameSize = 64;
constexpr quint8 defaultPriority = 100;
inline const QString defaultSourceName = QStringLiteral("Mixdesk Tally");

// The options bits of the framing layer.
constexpr quint8 previewDataBit = 0x80;
constexpr quint8 streamTerminatedBit = 0x40;
constexpr quint8 forceSynchronizationBit = 0x20;

// Who sends: the CID tells a receiver one source from another across
// restarts, so it stays the same for an installation.
struct Source {
    QUuid cid;
    QString name = defaultSourceName;
    quint8 priority = defaultPriority;
};

// The packet for universe (1 to 63999) with the given sequence. A source
// that stops says so with streamTerminated, and receivers let go of its
// levels at once instead of after their 2.5 s timeout. The name is cut to
// 63 bytes of UTF-8 (a whole character at a time) and ends in NULs; more
// than 512 levels are cut to 512.
QByteArray build(const Source& source, int universe, quint8 sequence, bool streamTerminated, const QByteArray& levels);

} // namespace E131Packet
