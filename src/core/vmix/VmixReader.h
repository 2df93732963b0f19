#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

// Cuts what vMix's TCP API sends into messages. Every message is one line,
// "COMMAND STATUS [text]" ended by CR LF (a bare LF is taken too); when the
// status is a number and the command is capital letters, that many bytes of
// data follow the line ("XML 37" then the document). Bytes may come in any pieces: what is not yet a
// whole message waits for the next feed.
//
// The reader is bounded so that a broken or hostile server costs neither
// memory nor time: a line longer than maxLineBytes is dropped whole (its
// bytes are skipped up to its end, however long) and said once, and data
// longer than maxDataBytes is refused, after which the stream cannot be
// trusted and the reader stops (broken()) until reset().
class VmixReader {
public:
    static constexpr qsizetype maxLineBytes = 64 * 1024;
    static constexpr qsizetype maxDataBytes = 32 * 1024 * 1024;

    struct Message {
        QByteArray command; // "TALLY", "XML", "SUBSCRIBE"
        QByteArray status; // "OK", "ER" or the data's length
        QByteArray text; // what follows the status on the line, if anything
        QByteArray data; // the bytes after the line, when status is a length
    };

    // What a feed gave, in the order it came: messages, and the lines that
    // were dropped with the reason.
    struct Item {
        std::optional<Message> message;
        QString problem; // set when no message: why something was dropped
    };

    // Takes the next bytes of the stream; the messages and drops they
    // complete.
    QList<Item> feed(QByteArrayView bytes);

    // Forgets everything, for a new connection.
    void reset();

    // Whether data over the limit was announced: nothing more is read.
    bool broken() const { return m_broken; }

    // Bytes held for a message not yet complete.
    qsizetype pending() const { return m_buffer.size(); }

private:
    void takeLine(const QByteArray& line, QList<Item>& items);

    QByteArray m_buffer;
    // While a message's data is awaited: the message whose line came.
    std::optional<Message> m_awaitingData;
    qsizetype m_dataLength = 0;
    // Inside a line that was too long: skipping to its end.
    bool m_skippingLine = false;
    bool m_broken = false;
};
