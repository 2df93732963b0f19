#include "outputs/DmxSender.h"

#include "base/StandardOutput.h"
#include "dmx/ArtDmxPacket.h"
#include "outputs/HostLookup.h"

#include <QUdpSocket>

// One destination, its socket and its stream's sequence.
class DmxSender::Link : public QObject {
public:
    Link(DmxAddress destination, const E131Packet::Source& source)
        : m_destination(std::move(destination))
        , m_source(source)
        , m_host(m_destination.destinationHost(), [this](const QString& failure) { report(failure); })
    {
    }

    const DmxAddress& destination() const { return m_destination; }

    void send(const QByteArray& levels, bool streamTerminated = false)
    {
        if (m_host.address().isNull()) {
            m_host.retryIfUnknown();
            return; // the name is still being looked up
        }
        QByteArray packet;
        if (m_destination.protocol == DmxAddress::Protocol::artNet) {
            m_sequence = ArtDmxPacket::nextSequence(m_sequence);
            packet = ArtDmxPacket::build(m_destination.universe, m_sequence, levels);
        } else {
            // sACN counts from 0 and wraps; receivers compare in a window.
            packet = E131Packet::build(m_source, m_destination.universe, m_sequence++, streamTerminated, levels);
        }
        if (m_socket.writeDatagram(packet, m_host.address(), m_destination.port) < 0) {
            report(m_socket.errorString());
        } else {
            report(QString());
        }
    }

private:
    // One line per change of condition, not one per datagram; nothing when
    // the datagrams go again after a failure.
    void report(const QString& condition)
    {
        if (condition == m_lastReport) {
            return;
        }
        const bool recovered = condition.isEmpty();
        m_lastReport = condition;
        if (!recovered) {
            printErrorLine(QStringLiteral("DMX %1: %2").arg(m_destination.toString(), condition));
        }
    }

    DmxAddress m_destination;
    const E131Packet::Source& m_source;
    QUdpSocket m_socket;
    HostLookup m_host;
    quint8 m_sequence = 0;
    QString m_lastReport;
};

DmxSender::DmxSender(const QList<DmxAddress>& destinations, const DmxLayout& layout, const E131Packet::Source& source,
    std::chrono::milliseconds refresh, QObject* parent)
    : QObject(parent)
    , m_layout(layout)
    , m_source(source)
{
    for (const DmxAddress& destination : destinations) {
        m_links.push_back(std::make_unique<Link>(destination, m_source));
    }
    m_refreshTimer.setInterval(refresh);
    connect(&m_refreshTimer, &QTimer::timeout, this, &DmxSender::sendAll);
}

DmxSender::~DmxSender()
{
    if (m_levels.isEmpty()) {
        return;
    }
    for (int count = 0; count < terminationPackets; ++count) {
        for (const std::unique_ptr<Link>& link : m_links) {
            if (link->destination().protocol == DmxAddress::Protocol::sacn) {
                link->send(m_levels, true);
            }
        }
    }
}

QList<DmxAddress> DmxSender::destinations() const
{
    QList<DmxAddress> addresses;
    for (const std::unique_ptr<Link>& link : m_links) {
        addresses.append(link->destination());
    }
    return addresses;
}

void DmxSender::publish(const TallySnapshot& snapshot)
{
    const QByteArray levels = m_layout.universe(snapshot);
    if (levels == m_levels) {
        return; // the repeat keeps them fresh
    }
    m_levels = levels;
    sendAll();
}

void DmxSender::sendAll()
{
    if (m_levels.isEmpty()) {
        return; // nothing known yet: better no levels than wrong ones
    }
    for (const std::unique_ptr<Link>& link : m_links) {
        link->send(m_levels);
    }
    // The next repeat a whole interval after this, so that a change does
    // not bring on a second datagram straight after it.
    m_refreshTimer.start();
}
