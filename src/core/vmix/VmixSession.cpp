#include "vmix/VmixSession.h"

namespace {

const QByteArray subscribeTally = QByteArrayLiteral("SUBSCRIBE TALLY");
const QByteArray tallyRequest = QByteArrayLiteral("TALLY");
const QByteArray xmlRequest = QByteArrayLiteral("XML");

QByteArray commandWord(const QByteArray& request)
{
    const qsizetype space = request.indexOf(' ');
    return space < 0 ? request : request.left(space);
}

} // namespace

VmixSession::VmixSession(Handlers handlers, Timing timing)
    : m_handlers(std::move(handlers))
    , m_timing(timing)
{
}

void VmixSession::start(qint64 now)
{
    stop();
    m_open = true;
    m_lastSent = now;
    m_lastXml = now;
    request(subscribeTally, now);
    request(xmlRequest, now);
    // Whether the subscription sends the tally at once is not promised.
    request(tallyRequest, now);
}

void VmixSession::stop()
{
    m_open = false;
    m_reader.reset();
    m_queue.clear();
    m_out.reset();
    m_document.reset();
    m_tally.clear();
    m_hasTally = false;
}

bool VmixSession::isReady() const
{
    return m_open && m_document.has_value() && m_hasTally;
}

ShotList VmixSession::shots() const
{
    return isReady() ? VmixState::shots(*m_document, m_tally) : ShotList();
}

void VmixSession::request(const QByteArray& command, qint64 now)
{
    m_queue.append(command);
    sendNext(now);
}

bool VmixSession::isQueuedOrOut(const QByteArray& command) const
{
    return m_out == commandWord(command) || m_queue.contains(command);
}

void VmixSession::sendNext(qint64 now)
{
    if (!m_open || m_out || m_queue.isEmpty()) {
        return;
    }
    const QByteArray command = m_queue.takeFirst();
    m_out = commandWord(command);
    m_outSince = now;
    m_lastSent = now;
    if (command == xmlRequest) {
        m_lastXml = now;
    }
    m_handlers.send(command + QByteArrayLiteral("\r\n"));
}

void VmixSession::receive(QByteArrayView bytes, qint64 now)
{
    if (!m_open) {
        return;
    }
    const qsizetype heldBefore = m_reader.pending();
    const QList<VmixReader::Item> items = m_reader.feed(bytes);
    // A long document coming in pieces is an answer on its way.
    if (m_reader.pending() > heldBefore) {
        m_outSince = now;
    }
    for (const VmixReader::Item& item : items) {
        if (!m_open) {
            return; // a handler ended the connection
        }
        if (item.message) {
            take(*item.message, now);
            if (!m_open) {
                return;
            }
        } else {
            m_handlers.dropped(item.problem);
        }
    }
    if (m_open && m_reader.broken()) {
        giveUp(QStringLiteral("vMix sent more than can be read"));
    }
}

void VmixSession::take(const VmixReader::Message& message, qint64 now)
{
    if (message.command.startsWith("HTTP/")) {
        // The most common mistake: the web interface's port for the API's.
        giveUp(QStringLiteral("the server answered in HTTP, as vMix's web interface (port 8088) does; "
                              "the TCP API listens on port 8099"));
        return;
    }
    if (m_out && message.command == *m_out) {
        m_out.reset();
    }
    // Anything whole proves the server is there.
    m_outSince = now;
    if (message.command == tallyRequest) {
        takeTally(message);
    } else if (message.command == xmlRequest) {
        takeXml(message);
    } else if (message.command == "SUBSCRIBE" && message.status == "ER") {
        m_handlers.dropped(QStringLiteral("vMix refused the tally subscription (%1); asking every %2 ms instead")
                               .arg(QString::fromUtf8(message.text.left(200)))
                               .arg(m_timing.keepAliveMs));
    }
    sendNext(now);
}

void VmixSession::takeTally(const VmixReader::Message& message)
{
    if (message.status != "OK") {
        m_handlers.dropped(
            QStringLiteral("vMix answered TALLY with an error: %1").arg(QString::fromUtf8(message.text.left(200))));
        return;
    }
    QString why;
    const std::optional<QList<VmixState::Tally>> tally = VmixState::parseTally(message.text, &why);
    if (!tally) {
        m_handlers.dropped(why);
        return;
    }
    // A different count of digits than inputs: inputs came or went, and the
    // numbers may now belong to other titles.
    if (m_document && tally->size() != m_document->inputs.size() && !isQueuedOrOut(xmlRequest)) {
        m_queue.append(xmlRequest);
    }
    const bool wasReady = isReady();
    if (m_hasTally && *tally == m_tally) {
        return;
    }
    m_tally = *tally;
    m_hasTally = true;
    notifyChange(wasReady);
}

void VmixSession::takeXml(const VmixReader::Message& message)
{
    if (message.status == "ER" || message.status == "OK") {
        m_handlers.dropped(
            QStringLiteral("vMix answered XML without a document: %1").arg(QString::fromUtf8(message.text.left(200))));
        return;
    }
    QString why;
    const std::optional<VmixState::Document> document = VmixState::parseXml(message.data, &why);
    if (!document) {
        m_handlers.dropped(why);
        return;
    }
    const bool wasReady = isReady();
    if (m_document == document) {
        return;
    }
    m_document = document;
    notifyChange(wasReady);
}

void VmixSession::notifyChange(bool wasReady)
{
    if (isReady() || wasReady) {
        m_handlers.changed();
    }
}

void VmixSession::giveUp(const QString& why)
{
    const bool wasReady = isReady();
    // Nothing more is read or sent on this connection, whatever arrives
    // before the owner has closed it.
    m_open = false;
    m_handlers.lost(why);
    if (wasReady) {
        m_handlers.changed();
    }
}

void VmixSession::tick(qint64 now)
{
    if (!m_open) {
        return;
    }
    if (m_out) {
        if (now - m_outSince >= m_timing.answerTimeoutMs) {
            giveUp(QStringLiteral("vMix did not answer %1 within %2 ms")
                       .arg(QString::fromLatin1(*m_out))
                       .arg(m_timing.answerTimeoutMs));
        }
        return;
    }
    if (m_queue.isEmpty() && now - m_lastXml >= m_timing.xmlEveryMs) {
        m_queue.append(xmlRequest);
    } else if (m_queue.isEmpty() && now - m_lastSent >= m_timing.keepAliveMs) {
        m_queue.append(tallyRequest);
    }
    sendNext(now);
}
