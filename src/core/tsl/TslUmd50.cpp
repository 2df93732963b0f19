#include "tsl/TslUmd50.h"

#include <QtEndian>

#include <algorithm>

namespace {

constexpr qsizetype packetHeaderSize = 6; // PBC, VER, FLAGS, SCREEN
constexpr qsizetype messageHeaderSize = 6; // INDEX, CONTROL, LENGTH
constexpr quint8 unicodeFlag = 0x01;
constexpr quint8 screenControlFlag = 0x02;
constexpr quint16 controlDataBit = 0x8000;

void appendWord(QByteArray& bytes, quint16 value)
{
    bytes.append(static_cast<char>(value & 0xFF));
    bytes.append(static_cast<char>(value >> 8));
}

quint16 readWord(QByteArrayView bytes, qsizetype offset)
{
    return qFromLittleEndian<quint16>(bytes.data() + offset);
}

QByteArray asciiText(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar character : text) {
        const char16_t code = character.unicode();
        bytes.append(code >= 0x20 && code < 0x7F ? static_cast<char>(code) : '?');
    }
    return bytes;
}

QByteArray unicodeText(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size() * 2);
    for (const QChar character : text) {
        appendWord(bytes, character.unicode());
    }
    return bytes;
}

QString decodeText(QByteArrayView bytes, bool unicode)
{
    if (!unicode) {
        return QString::fromLatin1(bytes);
    }
    QString text;
    text.reserve(bytes.size() / 2);
    for (qsizetype offset = 0; offset + 1 < bytes.size(); offset += 2) {
        text.append(QChar(readWord(bytes, offset)));
    }
    return text;
}

} // namespace

quint16 TslUmd50::controlWord(const Display& display)
{
    quint16 control = static_cast<quint16>(display.rightTally) & 0x3;
    control |= static_cast<quint16>((static_cast<quint16>(display.textTally) & 0x3) << 2);
    control |= static_cast<quint16>((static_cast<quint16>(display.leftTally) & 0x3) << 4);
    control |= static_cast<quint16>((std::clamp(display.brightness, 0, 3) & 0x3) << 6);
    if (display.controlData) {
        control |= controlDataBit;
    }
    return control;
}

QByteArray TslUmd50::encode(const Packet& packet)
{
    QByteArray bytes;
    appendWord(bytes, 0); // the byte count, known at the end
    bytes.append(static_cast<char>(packet.version));
    quint8 flags = packet.unicode ? unicodeFlag : 0;
    if (packet.screenControl) {
        flags |= screenControlFlag;
    }
    bytes.append(static_cast<char>(flags));
    appendWord(bytes, static_cast<quint16>(packet.screen));
    for (const Display& display : packet.displays) {
        const qsizetype room = maxPacketSize - bytes.size() - messageHeaderSize;
        if (room < 0) {
            break;
        }
        QByteArray text = display.controlData ? QByteArray()
                                              : (packet.unicode ? unicodeText(display.text) : asciiText(display.text));
        // Cut on a whole character so UTF-16 text stays even.
        text.truncate(packet.unicode ? room & ~qsizetype(1) : room);
        appendWord(bytes, static_cast<quint16>(display.index));
        appendWord(bytes, controlWord(display));
        appendWord(bytes, static_cast<quint16>(text.size()));
        bytes.append(text);
    }
    qToLittleEndian<quint16>(static_cast<quint16>(bytes.size() - 2), bytes.data());
    return bytes;
}

std::optional<TslUmd50::Packet> TslUmd50::decode(QByteArrayView bytes)
{
    if (bytes.size() < packetHeaderSize || bytes.size() > maxPacketSize || readWord(bytes, 0) != bytes.size() - 2) {
        return std::nullopt;
    }
    Packet packet;
    packet.version = static_cast<quint8>(bytes[2]);
    const auto flags = static_cast<quint8>(bytes[3]);
    packet.unicode = (flags & unicodeFlag) != 0;
    packet.screenControl = (flags & screenControlFlag) != 0;
    packet.screen = readWord(bytes, 4);
    if (packet.screenControl) {
        return packet; // nothing a tally follows
    }
    qsizetype offset = packetHeaderSize;
    while (offset < bytes.size()) {
        if (bytes.size() - offset < messageHeaderSize) {
            return std::nullopt;
        }
        Display display;
        display.index = readWord(bytes, offset);
        const quint16 control = readWord(bytes, offset + 2);
        const qsizetype length = readWord(bytes, offset + 4);
        offset += messageHeaderSize;
        if (bytes.size() - offset < length) {
            return std::nullopt;
        }
        display.rightTally = static_cast<Colour>(control & 0x3);
        display.textTally = static_cast<Colour>((control >> 2) & 0x3);
        display.leftTally = static_cast<Colour>((control >> 4) & 0x3);
        display.brightness = (control >> 6) & 0x3;
        display.controlData = (control & controlDataBit) != 0;
        if (!display.controlData) {
            if (packet.unicode && length % 2 != 0) {
                return std::nullopt;
            }
            display.text = decodeText(bytes.sliced(offset, length), packet.unicode);
        }
        offset += length;
        packet.displays.append(display);
    }
    return packet;
}

QByteArray TslUmd50::frame(QByteArrayView packet)
{
    QByteArray framed;
    framed.reserve(packet.size() + 2 + packet.count(static_cast<char>(dle)));
    framed.append(static_cast<char>(dle));
    framed.append(static_cast<char>(stx));
    for (const char byte : packet) {
        framed.append(byte);
        if (static_cast<quint8>(byte) == dle) {
            framed.append(byte);
        }
    }
    return framed;
}

std::optional<QByteArray> TslUmd50::unframe(QByteArrayView framed)
{
    if (framed.size() < 2 || static_cast<quint8>(framed[0]) != dle || static_cast<quint8>(framed[1]) != stx) {
        return std::nullopt;
    }
    QByteArray packet;
    packet.reserve(framed.size() - 2);
    for (qsizetype i = 2; i < framed.size(); ++i) {
        const char byte = framed[i];
        if (static_cast<quint8>(byte) == dle) {
            if (i + 1 >= framed.size() || static_cast<quint8>(framed[i + 1]) != dle) {
                return std::nullopt;
            }
            ++i;
        }
        packet.append(byte);
    }
    return packet;
}
