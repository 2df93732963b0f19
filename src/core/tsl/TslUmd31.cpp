#include "tsl/TslUmd31.h"

#include <algorithm>

namespace {

constexpr quint8 addressFlag = 0x80;
constexpr quint8 controlDataFlag = 0x80;
constexpr int brightnessShift = 4;

char displayCharacter(QChar character)
{
    const char16_t code = character.unicode();
    return code >= 0x20 && code < 0x7F ? static_cast<char>(code) : '?';
}

} // namespace

QByteArray TslUmd31::displayText(const QString& text)
{
    QByteArray bytes(textSize, ' ');
    const qsizetype count = std::min(text.size(), textSize);
    for (qsizetype i = 0; i < count; ++i) {
        bytes[i] = displayCharacter(text[i]);
    }
    return bytes;
}

QByteArray TslUmd31::encode(const Message& message)
{
    QByteArray bytes;
    bytes.reserve(messageSize);
    bytes.append(static_cast<char>(addressFlag | std::clamp(message.address, 0, maxAddress)));
    quint8 control = 0;
    for (std::size_t tally = 0; tally < message.tallies.size(); ++tally) {
        if (message.tallies[tally]) {
            control |= static_cast<quint8>(1U << tally);
        }
    }
    control |= static_cast<quint8>(std::clamp(message.brightness, 0, maxBrightness) << brightnessShift);
    bytes.append(static_cast<char>(control));
    bytes.append(displayText(message.text));
    return bytes;
}

std::optional<TslUmd31::Message> TslUmd31::decode(QByteArrayView bytes)
{
    if (bytes.size() != messageSize) {
        return std::nullopt;
    }
    const auto header = static_cast<quint8>(bytes[0]);
    const auto control = static_cast<quint8>(bytes[1]);
    // Address 127 (0xFF) is not a display; a set control bit 7 marks
    // control data rather than a display's tally and text.
    if ((header & addressFlag) == 0 || (header & ~addressFlag) > maxAddress || (control & controlDataFlag) != 0) {
        return std::nullopt;
    }
    Message message;
    message.address = header & ~addressFlag;
    for (std::size_t tally = 0; tally < message.tallies.size(); ++tally) {
        message.tallies[tally] = (control & (1U << tally)) != 0;
    }
    message.brightness = (control >> brightnessShift) & maxBrightness;
    const QByteArrayView text = bytes.sliced(2);
    if (std::any_of(text.begin(), text.end(), [](char c) { return (static_cast<quint8>(c) & 0x80) != 0; })) {
        return std::nullopt;
    }
    // Senders pad with spaces or with NULs; neither is part of the name, and
    // a control character has no place in one.
    QString decoded;
    for (const char byte : text) {
        decoded.append(byte >= 0x20 && byte < 0x7F ? QChar::fromLatin1(byte) : QLatin1Char(' '));
    }
    while (decoded.endsWith(QLatin1Char(' '))) {
        decoded.chop(1);
    }
    message.text = decoded;
    return message;
}

std::optional<QList<TslUmd31::Message>> TslUmd31::decodeDatagram(QByteArrayView datagram)
{
    if (datagram.isEmpty() || datagram.size() % messageSize != 0) {
        return std::nullopt;
    }
    QList<Message> messages;
    for (qsizetype offset = 0; offset < datagram.size(); offset += messageSize) {
        std::optional<Message> message = decode(datagram.sliced(offset, messageSize));
        if (!message) {
            return std::nullopt;
        }
        messages.append(*message);
    }
    return messages;
}

QList<TslUmd31::Message> TslUmd31::takeFromStream(QByteArray& buffer)
{
    QList<Message> messages;
    qsizetype start = 0;
    while (true) {
        while (start < buffer.size() && (static_cast<quint8>(buffer[start]) & addressFlag) == 0) {
            ++start;
        }
        if (buffer.size() - start < messageSize) {
            break;
        }
        if (std::optional<Message> message = decode(QByteArrayView(buffer).sliced(start, messageSize))) {
            messages.append(*message);
            start += messageSize;
        } else {
            ++start;
        }
    }
    buffer.remove(0, start);
    return messages;
}
