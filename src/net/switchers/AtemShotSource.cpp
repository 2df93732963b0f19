#include "switchers/AtemShotSource.h"

#include <QHostInfo>
#include <QNetworkDatagram>
#include <QRandomGenerator>

namespace {

constexpr int lookupRetryMs = 2000;

} // namespace

AtemShotSource::AtemShotSource(Settings settings, QObject* parent)
    : ShotSource(parent)
    , m_settings(std::move(settings))
    , m_session(
          AtemSession::Handlers {
              [this](const QByteArray& datagram) { m_socket.writeDatagram(datagram, m_peer, m_settings.address.port); },
              [this] { m_state.clear(); }, [this](const QList<AtemCommand>& commands) { takeCommands(commands); },
              [this] {
                  const QString missing = m_state.missingMixEffect(m_settings.mixEffect);
                  setStatus(missing.isEmpty()
                          ? QStringLiteral("Connected to the ATEM switcher at %1").arg(m_settings.address.display())
                          : QStringLiteral("The ATEM switcher at %1 %2").arg(m_settings.address.display(), missing));
                  Q_EMIT shotsChanged();
              },
              [this](const QString& why) {
                  setStatus(
                      QStringLiteral("ATEM switcher at %1: %2; trying again").arg(m_settings.address.display(), why));
                  Q_EMIT shotsChanged();
              } },
          m_settings.timing, QRandomGenerator::global()->generate())
{
    m_clock.start();
    m_ticker.setInterval(m_settings.tickMs);
    connect(&m_ticker, &QTimer::timeout, this, &AtemShotSource::tick);
    m_lookupRetry.setSingleShot(true);
    connect(&m_lookupRetry, &QTimer::timeout, this, &AtemShotSource::lookUpHost);
    connect(&m_socket, &QUdpSocket::readyRead, this, &AtemShotSource::readDatagrams);
    lookUpHost();
}

AtemShotSource::~AtemShotSource()
{
    m_socket.disconnect(this);
}

void AtemShotSource::lookUpHost()
{
    const QHostAddress literal(m_settings.address.host);
    if (!literal.isNull()) {
        begin(literal);
        return;
    }
    // A name is looked up off the GUI thread; the answer comes back as an
    // event.
    QHostInfo::lookupHost(m_settings.address.host, this, [this](const QHostInfo& info) {
        if (info.error() != QHostInfo::NoError || info.addresses().isEmpty()) {
            setStatus(QStringLiteral("Cannot find the ATEM switcher %1: %2; trying again")
                          .arg(m_settings.address.host, info.errorString()));
            m_lookupRetry.start(lookupRetryMs);
            return;
        }
        begin(info.addresses().constFirst());
    });
}

void AtemShotSource::begin(const QHostAddress& peer)
{
    m_peer = peer;
    const QHostAddress any = peer.protocol() == QAbstractSocket::IPv6Protocol ? QHostAddress(QHostAddress::AnyIPv6)
                                                                              : QHostAddress(QHostAddress::AnyIPv4);
    if (!m_socket.bind(any, 0)) {
        setStatus(QStringLiteral("Cannot open a UDP port for the ATEM switcher: %1").arg(m_socket.errorString()));
        return;
    }
    setStatus(QStringLiteral("Connecting to the ATEM switcher at %1").arg(m_settings.address.display()));
    m_session.start(now());
    m_ticker.start();
}

void AtemShotSource::readDatagrams()
{
    while (m_socket.hasPendingDatagrams()) {
        // One byte more than a packet may have: anything that fills it is
        // not a packet, and the rest of a larger datagram is discarded.
        const QNetworkDatagram datagram = m_socket.receiveDatagram(AtemPacket::maxSize + 1);
        if (!datagram.isValid()) {
            continue;
        }
        // isEqual with the lenient rule: a reply to an IPv4 address may come
        // back as the same address mapped into IPv6.
        if (!datagram.senderAddress().isEqual(m_peer, QHostAddress::TolerantConversion)
            || datagram.senderPort() != m_settings.address.port) {
            ++m_foreign;
            continue;
        }
        m_session.receive(datagram.data(), now());
    }
}

void AtemShotSource::tick()
{
    m_session.tick(now());
}

void AtemShotSource::takeCommands(const QList<AtemCommand>& commands)
{
    bool changed = false;
    for (const AtemCommand& command : commands) {
        changed = m_state.apply(command) || changed;
    }
    if (changed && m_session.isUp()) {
        Q_EMIT shotsChanged();
    }
}

bool AtemShotSource::isRunning()
{
    return m_session.isUp() && m_state.hasMixEffect(m_settings.mixEffect);
}

ShotList AtemShotSource::queryShots()
{
    return isRunning() ? m_state.shots(m_settings.mixEffect) : ShotList();
}

QString AtemShotSource::notRunningWarning() const
{
    if (m_session.isUp() && !m_state.hasMixEffect(m_settings.mixEffect)) {
        return QStringLiteral("The ATEM switcher %1").arg(m_state.missingMixEffect(m_settings.mixEffect));
    }
    return QStringLiteral("ATEM switcher is not connected");
}

ShotSource::Details AtemShotSource::details() const
{
    Details details;
    details.followed = QStringLiteral("ATEM switcher at %1").arg(m_settings.address.display());
    if (!m_session.isUp()) {
        details.link = tr("connecting");
    } else if (m_state.hasMixEffect(m_settings.mixEffect)) {
        details.link = tr("connected");
    } else {
        details.link = tr("connected, but it %1").arg(m_state.missingMixEffect(m_settings.mixEffect));
    }
    return details;
}

QString AtemShotSource::displayName() const
{
    return QStringLiteral("Blackmagic ATEM");
}

int AtemShotSource::rejectedCount() const
{
    return m_foreign + m_session.rejectedCount();
}
