// Feeds arbitrary bytes to the TSL UMD readers, as a switcher on the studio
// network (or anyone else who can reach the port) might send them. Nothing
// may crash, and whatever is accepted must hold together: a 3.1 message
// reads back the same once written, a 5.0 packet written again keeps its
// displays, a frame that unframes frames back to the same bytes, and the
// stream readers never keep or hand on more than a packet's worth.

#include "sources/TslDisplayTable.h"
#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"
#include "tsl/TslUmd50StreamReader.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void check31(QByteArrayView input, TslDisplayTable& table)
{
    if (const std::optional<QList<TslUmd31::Message>> messages = TslUmd31::decodeDatagram(input)) {
        for (const TslUmd31::Message& message : *messages) {
            if (TslUmd31::decode(TslUmd31::encode(message)) != message) {
                fail("3.1 message does not read back the same");
            }
            table.apply(message);
        }
    }
    QByteArray stream = input.toByteArray();
    TslUmd31::takeFromStream(stream);
    if (stream.size() >= TslUmd31::messageSize) {
        fail("3.1 stream reader kept a whole message's worth");
    }
}

void check50Packet(QByteArrayView input, TslDisplayTable& table)
{
    const std::optional<TslUmd50::Packet> packet = TslUmd50::decode(input);
    if (!packet) {
        return;
    }
    const std::optional<TslUmd50::Packet> again = TslUmd50::decode(TslUmd50::encode(*packet));
    if (!again || again->displays.size() != packet->displays.size()) {
        fail("5.0 packet does not read back with its displays");
    }
    for (qsizetype i = 0; i < packet->displays.size(); ++i) {
        if (TslUmd50::controlWord(again->displays[i]) != TslUmd50::controlWord(packet->displays[i])
            || again->displays[i].index != packet->displays[i].index) {
            fail("5.0 display changed on the way back");
        }
        table.apply(packet->displays[i]);
    }
}

void check50Framing(QByteArrayView input, TslDisplayTable& table)
{
    if (const std::optional<QByteArray> unframed = TslUmd50::unframe(input)) {
        if (TslUmd50::frame(*unframed) != input) {
            fail("5.0 frame does not frame back to the same bytes");
        }
    }
    TslUmd50StreamReader reader;
    const qsizetype half = input.size() / 2;
    QList<QByteArray> packets = reader.feed(input.first(half));
    packets += reader.feed(input.sliced(half));
    for (const QByteArray& packet : packets) {
        if (packet.size() > TslUmd50::maxPacketSize || packet.size() < 6) {
            fail("5.0 stream reader handed on a packet of impossible size");
        }
        check50Packet(packet, table);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    TslDisplayTable table;
    check31(input, table);
    check50Packet(input, table);
    check50Framing(input, table);
    if (table.shots().size() > TslDisplayTable::maxDisplays) {
        fail("display table grew past its limit");
    }
    return 0;
}
