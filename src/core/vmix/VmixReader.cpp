#include "vmix/VmixReader.h"

namespace {

bool isLength(const QByteArray& status)
{
    if (status.isEmpty() || status.size() > 12) {
        return false;
    }
    for (const char c : status) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

// vMix's commands are capital letters alone (XML, XMLTEXT, TALLY); a first
// word with anything else (an HTTP status line's "HTTP/1.1") announces no
// data, whatever number follows it.
bool isCommandWord(const QByteArray& word)
{
    for (const char c : word) {
        if (c < 'A' || c > 'Z') {
            return false;
        }
    }
    return !word.isEmpty();
}

} // namespace

void VmixReader::reset()
{
    m_buffer.clear();
    m_awaitingData.reset();
    m_dataLength = 0;
    m_skippingLine = false;
    m_broken = false;
}

QList<VmixReader::Item> VmixReader::feed(QByteArrayView bytes)
{
    QList<Item> items;
    if (m_broken) {
        return items;
    }
    m_buffer.append(bytes.data(), bytes.size());
    for (;;) {
        if (m_awaitingData) {
            if (m_buffer.size() < m_dataLength) {
                return items;
            }
            m_awaitingData->data = m_buffer.left(m_dataLength);
            m_buffer.remove(0, m_dataLength);
            items.append(Item { std::move(m_awaitingData), {} });
            m_awaitingData.reset();
            continue;
        }
        const qsizetype end = m_buffer.indexOf('\n');
        if (m_skippingLine) {
            if (end < 0) {
                m_buffer.clear();
                return items;
            }
            m_buffer.remove(0, end + 1);
            m_skippingLine = false;
            continue;
        }
        if (end < 0) {
            if (m_buffer.size() > maxLineBytes) {
                // Said now, not at the line's end, which may never come.
                items.append(Item {
                    std::nullopt, QStringLiteral("a line longer than %1 KB was dropped").arg(maxLineBytes / 1024) });
                m_buffer.clear();
                m_skippingLine = true;
            }
            return items;
        }
        if (end > maxLineBytes) {
            items.append(
                Item { std::nullopt, QStringLiteral("a line longer than %1 KB was dropped").arg(maxLineBytes / 1024) });
            m_buffer.remove(0, end + 1);
            continue;
        }
        QByteArray line = m_buffer.left(end);
        m_buffer.remove(0, end + 1);
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        takeLine(line, items);
        if (m_broken) {
            m_buffer.clear();
            return items;
        }
    }
}

void VmixReader::takeLine(const QByteArray& line, QList<Item>& items)
{
    if (line.isEmpty()) {
        return;
    }
    Message message;
    const qsizetype firstSpace = line.indexOf(' ');
    message.command = firstSpace < 0 ? line : line.left(firstSpace);
    if (firstSpace >= 0) {
        const QByteArray rest = line.mid(firstSpace + 1);
        const qsizetype secondSpace = rest.indexOf(' ');
        message.status = secondSpace < 0 ? rest : rest.left(secondSpace);
        message.text = secondSpace < 0 ? QByteArray() : rest.mid(secondSpace + 1);
    }
    if (!isCommandWord(message.command) || !isLength(message.status)) {
        items.append(Item { std::move(message), {} });
        return;
    }
    bool fits = false;
    const qlonglong length = message.status.toLongLong(&fits);
    if (!fits || length > maxDataBytes) {
        items.append(Item { std::nullopt,
            QStringLiteral("%1 announced %2 bytes of data, more than the %3 MB taken; the connection cannot go on")
                .arg(QString::fromLatin1(message.command.left(32)), QString::fromLatin1(message.status))
                .arg(maxDataBytes / (1024 * 1024)) });
        m_broken = true;
        return;
    }
    m_awaitingData = std::move(message);
    m_dataLength = static_cast<qsizetype>(length);
}
