#include "switchers/TslShotSource.h"

#include "base/Problem.h"
#include "base/SystemLog.h"
#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"
#include "tsl/TslUmd50StreamReader.h"

#include <QNetworkDatagram>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <utility>

namespace {

// A 5.0 packet is at most 2048 bytes; a datagram may carry it framed, which
// at worst doubles it. Anything longer is not ours.
constexpr qsizetype maxDatagramSize = 2 * TslUmd50::maxPacketSize + 2;
constexpr qint64 maxBufferedBytes = 64 * 1024;
// Datagrams read in one go before the event loop gets its turn: a flood
// cannot keep the program from its ticks and its other sockets.
constexpr int maxDatagramsPerRead = 64;
// Room in the kernel for about a quarter of a second of a busy network
// (4,000 datagrams a second) while the event loop is busy elsewhere: with the
// system's default of some 200 KB, a busy device nearby made the kernel drop
// the switcher's own datagrams whenever the process was not scheduled for
// 30 ms, and a cut waited for the switcher's next repeat. Larger would only
// queue a flood's backlog in front of the switcher's next message.
constexpr int receiveBufferBytes = 1024 * 1024;

// A switcher's connection is kept however long it stays silent, so the
// system probes it: a switcher unplugged or powered off mid-show, which
// never closes its end, is noticed within about ten seconds instead of the
// system's two hours.
void probeWhileSilent(QTcpSocket& socket)
{
    socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    const qintptr descriptor = socket.socketDescriptor();
    if (descriptor < 0) {
        return;
    }
    const auto set = [descriptor](int option, int value) {
        ::setsockopt(static_cast<int>(descriptor), IPPROTO_TCP, option, &value, sizeof value);
    };
#if defined(TCP_KEEPIDLE)
    set(TCP_KEEPIDLE, 5);
#elif defined(TCP_KEEPALIVE)
    set(TCP_KEEPALIVE, 5);
#endif
#if defined(TCP_KEEPINTVL)
    set(TCP_KEEPINTVL, 1);
#endif
#if defined(TCP_KEEPCNT)
    set(TCP_KEEPCNT, 5);
#endif
}

} // namespace

// One switcher's TCP connection and what of its stream is still unread.
class TslShotSource::Connection : public QObject {
public:
    Connection(QTcpSocket* socket, QString sender, TslShotSource& owner)
        : m_socket(socket)
        , m_sender(std::move(sender))
        , m_owner(owner)
        , m_lastMessageAt(owner.now())
    {
        m_socket->setParent(this);
        // Read as it comes, a bounded amount at a time: a peer that floods
        // the connection cannot make the program hold more than this.
        m_socket->setReadBufferSize(maxBufferedBytes);
        probeWhileSilent(*m_socket);
        connect(m_socket, &QTcpSocket::readyRead, this, &Connection::read);
        connect(m_socket, &QTcpSocket::disconnected, this, &Connection::close);
        m_idle.setSingleShot(true);
        m_idle.setInterval(owner.m_idleDeadline);
        connect(&m_idle, &QTimer::timeout, this, &Connection::close);
        // From the moment it opens: a connection that never sends is idle.
        m_idle.start();
    }

    const QString& sender() const { return m_sender; }
    qint64 lastMessageAt() const { return m_lastMessageAt; }
    // Whether a whole message has come: a sender's connection, not a
    // stranger's idle or dripping one.
    bool isProven() const { return m_proven; }

    // Leaves the owner's list at once and goes when control returns to the
    // event loop, as it may be closed from inside its own read.
    void close()
    {
        if (!m_owner.m_connections.removeOne(this)) {
            return;
        }
        m_idle.stop();
        m_socket->disconnect(this);
        m_socket->abort();
        deleteLater();
        m_owner.noteClosedConnection();
    }

private:
    void read()
    {
        const QByteArray bytes = m_socket->readAll();
        TslDisplayTable::Outcome outcome;
        bool any = false;
        if (m_owner.m_listen.version == TslTallyEncoding::Version::v31) {
            m_pending31.append(bytes);
            for (const TslUmd31::Message& message : TslUmd31::takeFromStream(m_pending31)) {
                outcome |= m_owner.m_table.take(message, m_sender);
                any = true;
            }
            if (any) {
                m_owner.noteMessages(m_sender, outcome);
            }
        } else {
            const int rejectedBefore = m_reader50.rejectedCount();
            for (const QByteArray& packet : m_reader50.feed(bytes)) {
                any = m_owner.takePacket50(packet, m_sender) || any;
            }
            m_owner.m_rejected += m_reader50.rejectedCount() - rejectedBefore;
        }
        // Only a whole message proves a connection: bytes of one that
        // never finishes do not. A proven one stays while its sender keeps
        // it, as a switcher that sends only on change may be silent for long.
        if (any) {
            m_lastMessageAt = m_owner.now();
            m_proven = true;
            m_idle.stop();
        }
    }

    QTcpSocket* m_socket;
    QString m_sender;
    TslShotSource& m_owner;
    qint64 m_lastMessageAt;
    bool m_proven = false;
    QTimer m_idle;
    QByteArray m_pending31;
    TslUmd50StreamReader m_reader50;
};

QString TslShotSource::Listen::toString() const
{
    const QString versionName
        = version == TslTallyEncoding::Version::v31 ? QStringLiteral("3.1") : QStringLiteral("5.0");
    const QString transportName = transport == Transport::udp ? QStringLiteral("UDP") : QStringLiteral("TCP");
    return QStringLiteral("TSL UMD %1 on %2 %3 port %4").arg(versionName, transportName, address.toString()).arg(port);
}

bool TslShotSource::isTslAddress(const QString& source)
{
    return TslAddress::looksLikeAddress(source);
}

std::optional<TslShotSource::Listen> TslShotSource::parseAddress(const QString& source, QString* problem)
{
    const std::optional<TslAddress> written = TslAddress::parse(source, problem);
    if (!written) {
        return std::nullopt;
    }
    Listen listen;
    listen.version = written->version;
    listen.transport = written->transport;
    listen.port = written->port;
    if (written->host) {
        listen.address = QHostAddress(*written->host);
        if (listen.address.isNull()) {
            reportProblem(problem, TslAddress::badHostProblem(source, *written->host));
            return std::nullopt;
        }
    }
    return listen;
}

TslShotSource::TslShotSource(Listen listen, Clock clock, QObject* parent)
    : ShotSource(parent)
    , m_listen(std::move(listen))
    , m_clock(std::move(clock))
{
    m_elapsed.start();
    m_server.setMaxPendingConnections(static_cast<int>(maxConnections));
    connect(&m_udp, &QUdpSocket::readyRead, this, &TslShotSource::readDatagrams);
    connect(&m_server, &QTcpServer::newConnection, this, &TslShotSource::acceptConnections);
}

TslShotSource::~TslShotSource()
{
    // Before the table and the list go: a closing socket may still report.
    for (Connection* connection : std::exchange(m_connections, {})) {
        delete connection;
    }
}

bool TslShotSource::start(QString* problem)
{
    const bool listening = m_listen.transport == Transport::udp ? m_udp.bind(m_listen.address, m_listen.port)
                                                                : m_server.listen(m_listen.address, m_listen.port);
    if (!listening) {
        const QString why = m_listen.transport == Transport::udp ? m_udp.errorString() : m_server.errorString();
        return reportProblem(problem, QStringLiteral("cannot listen for %1: %2").arg(m_listen.toString(), why));
    }
    if (m_listen.transport == Transport::udp) {
        m_udp.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, receiveBufferBytes);
    }
    QString status = QStringLiteral("Listening for %1").arg(m_listen.toString());
    if (!m_allowed.isEmpty()) {
        status += QStringLiteral(" from %1 only").arg(m_allowed.entries().join(QStringLiteral(", ")));
    }
    Q_EMIT statusChanged(status);
    return true;
}

void TslShotSource::stop()
{
    m_udp.close();
    m_server.close();
    for (Connection* connection : QList<Connection*>(m_connections)) {
        connection->close();
    }
}

quint16 TslShotSource::localPort() const
{
    return m_listen.transport == Transport::udp ? m_udp.localPort() : m_server.serverPort();
}

int TslShotSource::rejectedCount() const
{
    return m_rejected;
}

void TslShotSource::setAllowedSenders(const SenderAllowList& allowed)
{
    m_allowed = allowed;
    for (auto sender = m_senders.begin(); sender != m_senders.end();) {
        if (m_allowed.allows(QHostAddress(sender.key()))) {
            ++sender;
            continue;
        }
        m_table.forgetSender(sender.key());
        sender = m_senders.erase(sender);
    }
    for (Connection* connection : QList<Connection*>(m_connections)) {
        if (!m_allowed.allows(QHostAddress(connection->sender()))) {
            connection->close();
        }
    }
}

void TslShotSource::chooseSilenceLimit(std::optional<std::chrono::milliseconds> limit)
{
    m_silenceChosen = true;
    m_chosenSilence = limit;
}

void TslShotSource::useDefaultSilenceLimit()
{
    m_silenceChosen = false;
    m_chosenSilence.reset();
}

std::optional<std::chrono::milliseconds> TslShotSource::silenceLimit() const
{
    if (m_silenceChosen) {
        return m_chosenSilence;
    }
    // Strangers could hold a light for as long as there were no limit; the
    // switcher alone may, once it is the only one heard.
    if (m_allowed.isEmpty()) {
        return defaultSilenceLimit;
    }
    return std::nullopt;
}

bool TslShotSource::isPast(qint64 since) const
{
    const std::optional<std::chrono::milliseconds> limit = silenceLimit();
    return limit && now() - since >= limit->count();
}

bool TslShotSource::isConnected(const QString& sender) const
{
    return std::any_of(m_connections.cbegin(), m_connections.cend(),
        [&](const Connection* connection) { return connection->isProven() && connection->sender() == sender; });
}

bool TslShotSource::isRunning()
{
    forgetQuietSenders();
    return isRunningNow();
}

bool TslShotSource::isRunningNow() const
{
    for (auto sender = m_senders.cbegin(); sender != m_senders.cend(); ++sender) {
        if (sender->litAt && (isConnected(sender.key()) || !isPast(*sender->litAt))) {
            return true;
        }
    }
    return false;
}

ShotList TslShotSource::queryShots()
{
    forgetQuietSenders();
    return m_table.shots();
}

QString TslShotSource::notRunningWarning() const
{
    if (!m_lastMessageAt) {
        return QStringLiteral("No TSL messages received");
    }
    if (isPast(*m_lastMessageAt)) {
        // Said the same way on every tick, however long the silence: the
        // status line says when the last message came.
        return QStringLiteral("No TSL message in the last %1 s").arg(double(silenceLimit()->count()) / 1000.0);
    }
    return QStringLiteral("TSL messages arrive, but none lights a display");
}

QString TslShotSource::displayName() const
{
    return QStringLiteral("TSL UMD");
}

ShotSource::Details TslShotSource::details() const
{
    Details details;
    details.listens = true;
    const QString version
        = m_listen.version == TslTallyEncoding::Version::v31 ? QStringLiteral("TSL 3.1") : QStringLiteral("TSL 5.0");
    const QString transport = m_listen.transport == Transport::tcp ? tr(" over TCP") : QString();
    const bool everyInterface = m_listen.address == QHostAddress(QHostAddress::Any)
        || m_listen.address == QHostAddress(QHostAddress::AnyIPv4)
        || m_listen.address == QHostAddress(QHostAddress::AnyIPv6);
    const QString where = everyInterface ? tr("port %1").arg(localPort())
                                         : tr("%1 port %2").arg(m_listen.address.toString()).arg(localPort());
    details.followed = version + transport + tr(" on ") + where;
    if (m_lastMessageAt) {
        details.sinceLastMessageMs = now() - *m_lastMessageAt;
        details.lastSender = m_lastSender;
    }
    return details;
}

void TslShotSource::readDatagrams()
{
    for (int read = 0; read < maxDatagramsPerRead && m_udp.hasPendingDatagrams(); ++read) {
        const QNetworkDatagram datagram = m_udp.receiveDatagram(maxDatagramSize + 1);
        if (!admits(datagram.senderAddress())) {
            continue;
        }
        if (datagram.data().size() > maxDatagramSize) {
            ++m_rejected;
            continue;
        }
        takeDatagram(datagram.data(), SenderAllowList::plain(datagram.senderAddress()).toString());
    }
    // What is left is read when the event loop comes back here: the socket
    // reports again while datagrams wait.
}

bool TslShotSource::admits(const QHostAddress& address)
{
    const bool allowed = m_allowed.allows(address);
    const QString name = SenderAllowList::plain(address).toString();
    if (!m_namedSenders.contains(name)) {
        if (m_namedSenders.size() < maxNamedSenders) {
            nameSender(allowed ? QStringLiteral("TSL messages from %1").arg(name)
                               : QStringLiteral("Ignoring TSL messages from %1: not an allowed sender").arg(name));
        } else if (m_namedSenders.size() == maxNamedSenders) {
            nameSender(
                QStringLiteral("TSL messages from more than %1 addresses; no more are named").arg(maxNamedSenders));
        }
        if (m_namedSenders.size() <= maxNamedSenders) {
            m_namedSenders.insert(name);
        }
    }
    if (!allowed) {
        ++m_refused;
    }
    return allowed;
}

void TslShotSource::nameSender(const QString& line)
{
    if (m_namesSendersOnStandardError) {
        systemLog(line);
    } else {
        systemLogOnly(line);
    }
    Q_EMIT statusChanged(line);
}

void TslShotSource::takeDatagram(const QByteArray& datagram, const QString& sender)
{
    if (m_listen.version == TslTallyEncoding::Version::v31) {
        const std::optional<QList<TslUmd31::Message>> messages = TslUmd31::decodeDatagram(datagram);
        if (!messages) {
            ++m_rejected;
            return;
        }
        TslDisplayTable::Outcome outcome;
        for (const TslUmd31::Message& message : *messages) {
            outcome |= m_table.take(message, sender);
        }
        noteMessages(sender, outcome);
        return;
    }
    // Some senders frame their datagrams as they would a stream.
    if (datagram.size() >= 2 && static_cast<quint8>(datagram[0]) == TslUmd50::dle
        && static_cast<quint8>(datagram[1]) == TslUmd50::stx) {
        const std::optional<QByteArray> packet = TslUmd50::unframe(datagram);
        if (!packet) {
            ++m_rejected;
            return;
        }
        takePacket50(*packet, sender);
        return;
    }
    takePacket50(datagram, sender);
}

bool TslShotSource::takePacket50(QByteArrayView bytes, const QString& sender)
{
    const std::optional<TslUmd50::Packet> packet = TslUmd50::decode(bytes);
    if (!packet) {
        ++m_rejected;
        return false;
    }
    TslDisplayTable::Outcome outcome;
    for (const TslUmd50::Display& display : packet->displays) {
        outcome |= m_table.take(display, sender);
    }
    noteMessages(sender, outcome);
    return true;
}

void TslShotSource::acceptConnections()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        if (!admits(socket->peerAddress())) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        if (m_connections.size() >= maxConnections) {
            replaceIdlestConnection();
        }
        const QString sender = SenderAllowList::plain(socket->peerAddress()).toString();
        auto* connection = new Connection(socket, sender, *this);
        connection->setParent(this);
        m_connections.append(connection);
    }
}

void TslShotSource::replaceIdlestConnection()
{
    // One that never brought a whole message goes first: a switcher that
    // sends only on change may well be the one silent longest.
    const auto idlest
        = std::min_element(m_connections.begin(), m_connections.end(), [](const Connection* a, const Connection* b) {
              if (a->isProven() != b->isProven()) {
                  return !a->isProven();
              }
              return a->lastMessageAt() < b->lastMessageAt();
          });
    if (idlest != m_connections.end()) {
        (*idlest)->close();
    }
}

void TslShotSource::noteClosedConnection()
{
    // Its sender may be gone with it: the owner ticks at once to see.
    Q_EMIT shotsChanged();
}

void TslShotSource::noteMessages(const QString& sender, TslDisplayTable::Outcome outcome)
{
    if (!hearFrom(sender)) {
        // No place for another sender: what it said is not kept.
        m_table.forgetSender(sender);
        ++m_refused;
        return;
    }
    const bool wasRunning = isRunningNow();
    m_lastMessageAt = now();
    m_lastSender = sender;
    if (outcome.refreshedTally) {
        m_senders[sender].litAt = now();
    }
    if (!outcome.newlyLimitedSender.isEmpty()) {
        nameSender(
            QStringLiteral("TSL messages from %1 name more displays than there is room for; its oldest are forgotten")
                .arg(outcome.newlyLimitedSender));
    }
    if (outcome.changed || wasRunning != isRunningNow()) {
        Q_EMIT shotsChanged();
    }
}

bool TslShotSource::hearFrom(const QString& sender)
{
    const auto known = m_senders.find(sender);
    if (known != m_senders.end()) {
        known->heardAt = now();
        return true;
    }
    if (m_senders.size() >= maxSenders) {
        forgetQuietSenders();
    }
    // Still full: every sender kept is being heard. Pushing out the quietest
    // would let datagrams forged from many addresses push out the switcher.
    if (m_senders.size() >= maxSenders) {
        return false;
    }
    m_senders.insert(sender, Sender { now(), std::nullopt });
    return true;
}

void TslShotSource::forgetQuietSenders()
{
    for (auto sender = m_senders.begin(); sender != m_senders.end();) {
        if (!isPast(sender->heardAt) || isConnected(sender.key())) {
            ++sender;
            continue;
        }
        m_table.forgetSender(sender.key());
        sender = m_senders.erase(sender);
    }
}

qint64 TslShotSource::now() const
{
    return m_clock ? m_clock() : m_elapsed.elapsed();
}
