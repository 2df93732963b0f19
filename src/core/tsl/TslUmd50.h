#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

// TSL UMD 5.0: a packet of a byte count, a version, flags and a screen,
// followed by any number of display messages (an index, a 16-bit control word
// with three two-bit tally colours and a brightness, and variable-length text,
// ASCII or UTF-16LE). 16-bit values are little-endian. Over UDP a datagram is
// one packet; over a byte stream (TCP) each packet starts with DLE STX and
// every DLE inside it is doubled.
class TslUmd50 {
public:
    static constexpr qsizetype maxPacketSize = 2048;
    static constexpr quint8 dle = 0xFE;
    static constexpr quint8 stx = 0x02;
    // Index 0xFFFF addresses every display of a screen.
    static constexpr int broadcastIndex = 0xFFFF;

    enum class Colour : quint8 {
        off = 0,
        red = 1,
        green = 2,
        amber = 3,
    };

    struct Display {
        int index = 0;
        Colour rightTally = Colour::off;
        Colour textTally = Colour::off;
        Colour leftTally = Colour::off;
        int brightness = 3;
        // Set when the message carries display control data instead of text;
        // such a message has no text.
        bool controlData = false;
        QString text;

        friend bool operator==(const Display&, const Display&) = default;
    };

    struct Packet {
        int version = 0;
        // Text as UTF-16LE rather than ASCII.
        bool unicode = true;
        // The packet carries screen control data rather than display
        // messages; displays is then empty.
        bool screenControl = false;
        int screen = 0;
        QList<Display> displays;

        friend bool operator==(const Packet&, const Packet&) = default;
    };

    // The packet's bytes, without stream framing. Text that would take the
    // packet past 2048 bytes is cut; ASCII text replaces what ASCII cannot
    // say with '?'.
    static QByteArray encode(const Packet& packet);

    // The packet in bytes (one UDP datagram, or a frame's content), or
    // nothing when it is not a whole, consistent packet: shorter than its
    // header, a byte count that is not the rest of the bytes, a message
    // running past the end, odd-length UTF-16 text.
    static std::optional<Packet> decode(QByteArrayView bytes);

    // The packet framed for a byte stream: DLE STX, then the bytes with every
    // DLE doubled.
    static QByteArray frame(QByteArrayView packet);

    // The content of one framed packet (DLE STX, stuffed bytes), or nothing
    // when the framing is broken: no DLE STX at the start, a DLE followed by
    // anything but DLE, a trailing lone DLE.
    static std::optional<QByteArray> unframe(QByteArrayView framed);

    // The control word of a display message.
    static quint16 controlWord(const Display& display);
};
