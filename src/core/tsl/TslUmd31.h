#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <array>
#include <optional>

// The 18-byte display message of TSL UMD 3.1, the oldest and most widely
// understood under-monitor-display protocol: one byte of address (0x80 +
// display address), one control byte (four tally bits and a two-bit
// brightness) and sixteen ASCII characters. Over IP each UDP datagram carries
// one message or several back to back.
class TslUmd31 {
public:
    static constexpr qsizetype messageSize = 18;
    static constexpr qsizetype textSize = 16;
    static constexpr int maxAddress = 126;
    static constexpr int maxBrightness = 3;

    struct Message {
        int address = 0;
        // Tally 1 to 4. Tally 1 is the program (red) tally by convention,
        // tally 2 the preview (green) one.
        std::array<bool, 4> tallies {};
        int brightness = maxBrightness;
        // Without the padding on decode; cut to 16 characters and made ASCII
        // on encode.
        QString text;

        friend bool operator==(const Message&, const Message&) = default;
    };

    // The 18 bytes of message. An address beyond 126 or a brightness beyond 3
    // is a caller's mistake and is clamped rather than sent as garbage.
    static QByteArray encode(const Message& message);

    // The one message in exactly 18 bytes, or nothing when they are not a
    // display message (no address byte, control bit 7 set, text outside ASCII).
    static std::optional<Message> decode(QByteArrayView bytes);

    // Every message of a datagram, or nothing when its length is not a whole
    // number of messages or any of them is not valid.
    static std::optional<QList<Message>> decodeDatagram(QByteArrayView datagram);

    // Takes the whole messages at the front of a byte stream (TCP) out of
    // buffer. A message starts at a byte with bit 7 set, the only place such
    // a byte may be, so after noise or a broken message the reader finds its
    // way back at the next address byte. What cannot be a message is
    // dropped; at most one message's bytes stay behind.
    static QList<Message> takeFromStream(QByteArray& buffer);

    // The text as a display shows it: ASCII, characters outside printable
    // ASCII replaced by '?', cut or space-padded to 16 characters.
    static QByteArray displayText(const QString& text);
};
