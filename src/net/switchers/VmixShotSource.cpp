#include "switchers/VmixShotSource.h"

#include <algorithm>

VmixShotSource::VmixShotSource(Settings settings, QObject* parent)
    : ShotSource(parent)
    , m_settings(std::move(settings))
    , m_session(VmixSession::Handlers { [this](const QByteArray& bytes) { m_socket.write(bytes); },
                    [this] {
                        if (m_session.isReady()) {
                            m_retryDelayMs = m_settings.firstRetryDelayMs;
                            setStatus(QStringLiteral("vMix at %1: connected").arg(m_settings.address.display()));
                        }
                        Q_EMIT shotsChanged();
                    },
                    [this](const QString& why) {
                        setStatus(QStringLiteral("vMix at %1: %2").arg(m_settings.address.display(), why));
                    },
                    // Called from inside the session's reading: the socket is let go
                    // of once that has returned, but the status says why at once,
                    // as the source stops running at once.
                    [this](const QString& why) {
                        setStatus(notConnectedStatus(why));
                        QTimer::singleShot(0, this, [this, why] { dropConnection(why); });
                    } },
          m_settings.timing)
    , m_retryDelayMs(m_settings.firstRetryDelayMs)
{
    m_clock.start();
    m_ticker.setInterval(m_settings.tickMs);
    connect(&m_ticker, &QTimer::timeout, this, [this] { m_session.tick(now()); });
    m_connectTimer.setSingleShot(true);
    connect(&m_connectTimer, &QTimer::timeout, this,
        [this] { dropConnection(QStringLiteral("no connection within %1 ms").arg(m_settings.connectTimeoutMs)); });
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &VmixShotSource::connectToServer);
    connect(&m_socket, &QTcpSocket::connected, this, &VmixShotSource::onConnected);
    connect(&m_socket, &QTcpSocket::readyRead, this, [this] { m_session.receive(m_socket.readAll(), now()); });
    connect(&m_socket, &QTcpSocket::disconnected, this, [this] { onClosed(QStringLiteral("connection closed")); });
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError) {
        // A refused connection was never open, so no disconnected() follows.
        if (m_socket.state() == QAbstractSocket::UnconnectedState) {
            onClosed(m_socket.errorString());
        }
    });
    // Low latency over throughput: the requests are a few bytes each.
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connectToServer();
}

VmixShotSource::~VmixShotSource()
{
    m_socket.disconnect(this);
    m_socket.abort();
}

void VmixShotSource::connectToServer()
{
    m_closeWhy.clear();
    if (status().isEmpty()) {
        setStatus(QStringLiteral("Connecting to vMix at %1").arg(m_settings.address.display()));
    }
    m_connectTimer.start(m_settings.connectTimeoutMs);
    m_socket.connectToHost(m_settings.address.host, m_settings.address.port);
}

void VmixShotSource::onConnected()
{
    m_connectTimer.stop();
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_session.start(now());
    m_ticker.start();
}

void VmixShotSource::dropConnection(const QString& why)
{
    m_closeWhy = why;
    // abort() may announce the close itself; m_closeWhy gives it the reason.
    m_socket.abort();
    onClosed(why);
}

void VmixShotSource::onClosed(const QString& why)
{
    if (m_retryTimer.isActive()) {
        return; // this connection's end is already handled
    }
    const QString reason = m_closeWhy.isEmpty() ? why : m_closeWhy;
    m_connectTimer.stop();
    m_ticker.stop();
    const bool wasReady = m_session.isReady();
    m_session.stop();
    m_notConnectedWhy = reason;
    const int delay = m_retryDelayMs;
    m_retryDelayMs = std::min(m_retryDelayMs * 2, m_settings.longestRetryDelayMs);
    setStatus(notConnectedStatus(reason));
    m_retryTimer.start(delay);
    if (wasReady) {
        // The lights freeze and the warning shows at once, not at the next
        // tick.
        Q_EMIT shotsChanged();
    }
}

QString VmixShotSource::notConnectedStatus(const QString& why) const
{
    return QStringLiteral("vMix at %1: not connected (%2); reconnecting").arg(m_settings.address.display(), why);
}

bool VmixShotSource::isRunning()
{
    return m_session.isReady();
}

ShotList VmixShotSource::queryShots()
{
    return m_session.shots();
}

QString VmixShotSource::notRunningWarning() const
{
    return QStringLiteral("vMix is not connected");
}

QString VmixShotSource::displayName() const
{
    return QStringLiteral("vMix");
}

ShotSource::Details VmixShotSource::details() const
{
    Details details;
    details.followed = QStringLiteral("vMix at %1").arg(m_settings.address.display());
    details.link = connectionInWords(m_session.isReady(), m_retryTimer.isActive(), m_notConnectedWhy);
    return details;
}
