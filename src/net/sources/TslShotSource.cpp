#include "sources/TslShotSource.h"

#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"
#include "tsl/TslUmd50StreamReader.h"

#include <QNetworkDatagram>
#include <QTcpSocket>

#include <utility>

namespace {

// A 5.0 packet is at most 2048 bytes; a datagram may carry it framed, which
// at worst doubles it. Anything longer is not ours.
constexpr qsizetype maxDatagramSize = 2 * TslUmd50::maxPacketSize + 2;
constexpr qint64 maxBufferedBytes = 64 * 1024;

struct Scheme {
    const char* prefix;
    TslTallyEncoding::Version version;
    TslShotSource::Transport transport;
};

const Scheme schemes[] = {
    { "tsl://", TslTallyEncoding::Version::v31, TslShotSource::Transport::udp },
    { "tsl+udp://", TslTallyEncoding::Version::v31, TslShotSource::Transport::udp },
    { "tsl+tcp://", TslTallyEncoding::Version::v31, TslShotSource::Transport::tcp },
    { "tsl5://", TslTallyEncoding::Version::v50, TslShotSource::Transport::udp },
    { "tsl5+udp://", TslTallyEncoding::Version::v50, TslShotSource::Transport::udp },
    { "tsl5+tcp://", TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp },
};

const Scheme* schemeOf(const QString& source)
{
    for (const Scheme& scheme : schemes) {
        if (source.startsWith(QLatin1String(scheme.prefix))) {
            return &scheme;
        }
    }
    return nullptr;
}

} // namespace

// One switcher's TCP connection and what of its stream is still unread.
class TslShotSource::Connection : public QObject {
public:
    Connection(QTcpSocket* socket, TslShotSource& owner)
        : m_socket(socket)
        , m_owner(owner)
    {
        m_socket->setParent(this);
        // Read as it comes, a bounded amount at a time: a peer that floods
        // the connection cannot make the program hold more than this.
        m_socket->setReadBufferSize(maxBufferedBytes);
        connect(m_socket, &QTcpSocket::readyRead, this, &Connection::read);
        connect(m_socket, &QTcpSocket::disconnected, this, [this] {
            m_owner.m_connections.removeOne(this);
            deleteLater();
        });
    }

private:
    void read()
    {
        const QByteArray bytes = m_socket->readAll();
        m_owner.m_currentSender = m_socket->peerAddress();
        bool changed = false;
        bool any = false;
        if (m_owner.m_listen.version == TslTallyEncoding::Version::v31) {
            m_pending31.append(bytes);
            for (const TslUmd31::Message& message : TslUmd31::takeFromStream(m_pending31)) {
                changed = m_owner.m_table.apply(message) || changed;
                any = true;
            }
        } else {
            const int rejectedBefore = m_reader50.rejectedCount();
            for (const QByteArray& packet : m_reader50.feed(bytes)) {
                m_owner.takePacket50(packet);
            }
            m_owner.m_rejected += m_reader50.rejectedCount() - rejectedBefore;
        }
        if (any) {
            m_owner.noteMessages(changed);
        }
    }

    QTcpSocket* m_socket;
    TslShotSource& m_owner;
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
    return schemeOf(source) != nullptr;
}

std::optional<TslShotSource::Listen> TslShotSource::parseAddress(const QString& source, QString* problem)
{
    const auto fail = [&](const QString& why) -> std::optional<Listen> {
        if (problem) {
            *problem = QStringLiteral("bad TSL source '%1': %2").arg(source, why);
        }
        return std::nullopt;
    };
    const Scheme* scheme = schemeOf(source);
    if (!scheme) {
        return fail(QStringLiteral("expected tsl://, tsl+tcp://, tsl5:// or tsl5+tcp:// and [ADDRESS:]PORT"));
    }
    Listen listen;
    listen.version = scheme->version;
    listen.transport = scheme->transport;
    const QString rest = source.mid(qsizetype(qstrlen(scheme->prefix)));
    const qsizetype colon = rest.lastIndexOf(QLatin1Char(':'));
    const QString portText = colon < 0 ? rest : rest.mid(colon + 1);
    if (colon >= 0) {
        QString host = rest.left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']'))) {
            host = host.mid(1, host.size() - 2);
        }
        listen.address = QHostAddress(host);
        if (listen.address.isNull()) {
            return fail(QStringLiteral("'%1' is not an address of this computer's").arg(host));
        }
    }
    bool isNumber = false;
    const uint port = portText.toUInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535) {
        return fail(QStringLiteral("the port must be a number from 1 to 65535"));
    }
    listen.port = static_cast<quint16>(port);
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
        if (problem) {
            const QString why = m_listen.transport == Transport::udp ? m_udp.errorString() : m_server.errorString();
            *problem = QStringLiteral("cannot listen for %1: %2").arg(m_listen.toString(), why);
        }
        return false;
    }
    Q_EMIT statusChanged(QStringLiteral("Listening for %1").arg(m_listen.toString()));
    return true;
}

quint16 TslShotSource::localPort() const
{
    return m_listen.transport == Transport::udp ? m_udp.localPort() : m_server.serverPort();
}

int TslShotSource::rejectedCount() const
{
    return m_rejected;
}

bool TslShotSource::isRunning()
{
    return m_lastMessageAt && now() - *m_lastMessageAt < silenceLimit.count();
}

ShotList TslShotSource::queryShots()
{
    return m_table.shots();
}

QString TslShotSource::notRunningWarning() const
{
    return QStringLiteral("No TSL messages received");
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
        // An IPv4 sender reaching a dual-stack socket reads as ::ffff:a.b.c.d.
        bool isIpv4 = false;
        const quint32 ipv4 = m_lastSender.toIPv4Address(&isIpv4);
        details.lastSender = isIpv4 ? QHostAddress(ipv4).toString() : m_lastSender.toString();
    }
    return details;
}

void TslShotSource::readDatagrams()
{
    while (m_udp.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_udp.receiveDatagram(maxDatagramSize + 1);
        if (datagram.data().size() > maxDatagramSize) {
            ++m_rejected;
            continue;
        }
        m_currentSender = datagram.senderAddress();
        takeDatagram(datagram.data());
    }
}

void TslShotSource::takeDatagram(const QByteArray& datagram)
{
    if (m_listen.version == TslTallyEncoding::Version::v31) {
        const std::optional<QList<TslUmd31::Message>> messages = TslUmd31::decodeDatagram(datagram);
        if (!messages) {
            ++m_rejected;
            return;
        }
        bool changed = false;
        for (const TslUmd31::Message& message : *messages) {
            changed = m_table.apply(message) || changed;
        }
        noteMessages(changed);
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
        takePacket50(*packet);
        return;
    }
    takePacket50(datagram);
}

void TslShotSource::takePacket50(QByteArrayView bytes)
{
    const std::optional<TslUmd50::Packet> packet = TslUmd50::decode(bytes);
    if (!packet) {
        ++m_rejected;
        return;
    }
    bool changed = false;
    for (const TslUmd50::Display& display : packet->displays) {
        changed = m_table.apply(display) || changed;
    }
    noteMessages(changed);
}

void TslShotSource::acceptConnections()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        if (m_connections.size() >= maxConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        m_connections.append(new Connection(socket, *this));
        m_connections.back()->setParent(this);
    }
}

void TslShotSource::noteMessages(bool changed)
{
    const bool wasRunning = isRunning();
    m_lastMessageAt = now();
    m_lastSender = m_currentSender;
    if (changed || !wasRunning) {
        Q_EMIT shotsChanged();
    }
}

qint64 TslShotSource::now() const
{
    return m_clock ? m_clock() : m_elapsed.elapsed();
}
