#include "outputs/TslSender.h"

#include "base/StandardOutput.h"
#include "outputs/HostLookup.h"
#include "tsl/TslUmd50.h"

#include <QTcpSocket>
#include <QUdpSocket>

namespace {

// More than this waiting in a TCP socket means the receiver is not reading;
// further states are dropped until it catches up.
constexpr qint64 maxPendingBytes = 64 * 1024;

} // namespace

// One destination and its socket.
class TslSender::Link : public QObject {
public:
    Link(TslDestination destination, TslSender& owner)
        : m_destination(std::move(destination))
        , m_owner(owner)
    {
        if (m_destination.transport == TslDestination::Transport::udp) {
            m_host
                = std::make_unique<HostLookup>(m_destination.host, [this](const QString& failure) { report(failure); });
        } else {
            connect(&m_tcp, &QTcpSocket::connected, this, &Link::onConnected);
            connect(&m_tcp, &QTcpSocket::errorOccurred, this, &Link::onError);
            reconnectIfAway();
        }
    }

    const TslDestination& destination() const { return m_destination; }

    // Sends the packets, or drops them when the destination cannot take
    // them now.
    void send(const QList<QByteArray>& packets)
    {
        if (m_destination.transport == TslDestination::Transport::udp) {
            if (m_host->address().isNull()) {
                return; // the name is still being looked up
            }
            for (const QByteArray& packet : packets) {
                m_udp.writeDatagram(packet, m_host->address(), m_destination.port);
            }
            return;
        }
        if (m_tcp.state() != QAbstractSocket::ConnectedState || m_tcp.bytesToWrite() > maxPendingBytes) {
            return;
        }
        for (const QByteArray& packet : packets) {
            // On a stream 5.0 packets need their framing to be found again;
            // 3.1 messages find their own start.
            m_tcp.write(m_destination.version == TslTallyEncoding::Version::v50 ? TslUmd50::frame(packet) : packet);
        }
    }

    // Called every second: starts another connection attempt or name
    // look-up where the last one failed.
    void reconnectIfAway()
    {
        if (m_destination.transport == TslDestination::Transport::udp) {
            m_host->retryIfUnknown();
        } else if (m_tcp.state() == QAbstractSocket::UnconnectedState) {
            m_tcp.connectToHost(m_destination.host, m_destination.port);
        }
    }

private:
    void onConnected()
    {
        report(QStringLiteral("connected"));
        m_owner.sendAll(); // a new connection gets the whole state at once
    }

    void onError(QAbstractSocket::SocketError /*error*/)
    {
        report(QStringLiteral("%1; trying again every second").arg(m_tcp.errorString()));
        m_tcp.abort();
    }

    // One line per change of condition, not one per retry.
    void report(const QString& condition)
    {
        if (condition == m_lastReport) {
            return;
        }
        m_lastReport = condition;
        printErrorLine(QStringLiteral("TSL %1: %2").arg(m_destination.toString(), condition));
    }

    TslDestination m_destination;
    TslSender& m_owner;
    QUdpSocket m_udp;
    // Over UDP: where the datagrams go.
    std::unique_ptr<HostLookup> m_host;
    QTcpSocket m_tcp;
    QString m_lastReport;
};

TslSender::TslSender(
    const QList<TslDestination>& destinations, int indexOffset, std::chrono::milliseconds refresh, QObject* parent)
    : QObject(parent)
    , m_indexOffset(indexOffset)
{
    for (const TslDestination& destination : destinations) {
        m_links.push_back(std::make_unique<Link>(destination, *this));
    }
    m_refreshTimer.setInterval(refresh);
    connect(&m_refreshTimer, &QTimer::timeout, this, [this] {
        for (const std::unique_ptr<Link>& link : m_links) {
            link->reconnectIfAway();
        }
        sendAll();
    });
    m_refreshTimer.start();
}

TslSender::~TslSender() = default;

void TslSender::publish(const TallySnapshot& snapshot)
{
    // Only what the displays show counts: how long the switcher has been
    // lost changes nothing on them.
    const bool sameDisplays = snapshot.lights == m_snapshot.lights && snapshot.underTest == m_snapshot.underTest
        && snapshot.switcherUnknown() == m_snapshot.switcherUnknown();
    if (m_havePublished && sameDisplays) {
        return;
    }
    m_havePublished = true;
    m_snapshot = snapshot;
    sendAll();
}

void TslSender::sendAll()
{
    if (!m_havePublished) {
        return; // nothing known yet: better no tally than a wrong one
    }
    const QList<QByteArray> packets31
        = TslTallyEncoding::packets(TslTallyEncoding::Version::v31, m_snapshot, m_indexOffset);
    const QList<QByteArray> packets50
        = TslTallyEncoding::packets(TslTallyEncoding::Version::v50, m_snapshot, m_indexOffset);
    for (const std::unique_ptr<Link>& link : m_links) {
        link->send(link->destination().version == TslTallyEncoding::Version::v31 ? packets31 : packets50);
    }
}
