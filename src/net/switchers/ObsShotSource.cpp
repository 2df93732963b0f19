#include "switchers/ObsShotSource.h"

#include "tally/CombinedShotSource.h"

#include <QWebSocket>

#include <algorithm>

namespace {

// Close codes OBS uses to say why it ended a session.
constexpr int authenticationFailedCode = 4009;
constexpr int unsupportedRpcVersionCode = 4010;

std::optional<QString> sessionPassword(const ObsShotSource::Settings& settings)
{
    if (settings.passwordComesLater) {
        return std::nullopt;
    }
    return settings.password;
}

} // namespace

ObsShotSource::ObsShotSource(Settings settings, QObject* parent)
    : ShotSource(parent)
    , m_settings(std::move(settings))
    , m_session(*this, sessionPassword(m_settings))
    , m_retryDelayMs(m_settings.firstRetryDelayMs)
{
    m_answerTimer.setSingleShot(true);
    connect(&m_answerTimer, &QTimer::timeout, this, [this] {
        // OBS asked and waited; what did not come is the password, from a
        // secret store that may be asking the user to unlock it.
        dropConnection(m_session.greetingWaitsForPassword()
                ? QStringLiteral("the password has not come from the secret store yet")
                : QStringLiteral("OBS Studio did not answer"));
    });
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &ObsShotSource::connectToServer);
    connectToServer();
}

ObsShotSource::~ObsShotSource()
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

bool ObsShotSource::isRunning()
{
    return m_session.isReady();
}

ShotList ObsShotSource::queryShots()
{
    return m_session.isReady() ? m_session.shots() : ShotList();
}

QString ObsShotSource::notRunningWarning() const
{
    return QStringLiteral("OBS Studio is not connected");
}

QString ObsShotSource::displayName() const
{
    return QStringLiteral("OBS Studio");
}

void ObsShotSource::setPassword(const QString& password)
{
    m_settings.password = password;
    m_settings.passwordComesLater = false;
    m_session.setPassword(password);
}

void ObsShotSource::connectToServer()
{
    if (m_socket) {
        // The old socket may still be inside one of its own signals.
        m_socket->disconnect(this);
        m_socket->abort();
        m_socket.release()->deleteLater();
    }
    m_closeWhy.clear();
    m_session.restart();
    m_socket = std::make_unique<QWebSocket>();
    m_socket->setMaxAllowedIncomingMessageSize(m_settings.maxMessageBytes);
    m_socket->setMaxAllowedIncomingFrameSize(m_settings.maxMessageBytes);
    connect(m_socket.get(), &QWebSocket::textMessageReceived, this,
        [this](const QString& message) { m_session.receive(message); });
    connect(m_socket.get(), &QWebSocket::disconnected, this, &ObsShotSource::onConnectionClosed);
    connect(m_socket.get(), qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this,
        [this](QAbstractSocket::SocketError) {
            // A refused or failed connection may never have been open, so no
            // disconnected() follows; the retry is scheduled either way, once.
            if (m_socket && m_socket->state() == QAbstractSocket::UnconnectedState) {
                onConnectionClosed();
            }
        });
    m_answerTimer.start(m_settings.answerTimeoutMs);
    m_socket->open(QUrl(m_settings.address.webSocketUrl()));
}

void ObsShotSource::dropConnection(const QString& why)
{
    m_closeWhy = why;
    if (m_socket && m_socket->state() != QAbstractSocket::UnconnectedState) {
        m_socket->abort();
    }
    // abort() may or may not have announced the close; make sure it counts.
    onConnectionClosed();
}

void ObsShotSource::onConnectionClosed()
{
    if (m_retryTimer.isActive()) {
        return; // this connection's end is already handled
    }
    m_answerTimer.stop();
    const bool wasReady = m_session.isReady();
    m_session.restart();

    QString why = m_closeWhy;
    bool longWait = false;
    const int code = m_socket ? static_cast<int>(m_socket->closeCode()) : 0;
    if (code == authenticationFailedCode) {
        why = m_session.hasPassword() ? QStringLiteral("OBS Studio refused the password")
                                      : QStringLiteral("OBS Studio asks for a password and none was given");
        longWait = true;
    } else if (code == unsupportedRpcVersionCode) {
        why = QStringLiteral("OBS Studio does not speak version %1 of its websocket protocol")
                  .arg(ObsSession::rpcVersion);
        longWait = true;
    } else if (why.isEmpty() && m_socket && m_socket->error() != QAbstractSocket::UnknownSocketError) {
        why = m_socket->errorString();
    } else if (why.isEmpty()) {
        why = QStringLiteral("connection closed");
    }
    scheduleReconnect(why, longWait);
    if (wasReady) {
        // The lights freeze and the warning shows at once, not at the next
        // tick.
        Q_EMIT shotsChanged();
    }
}

void ObsShotSource::scheduleReconnect(const QString& why, bool longWait)
{
    const int delay = longWait ? m_settings.longestRetryDelayMs : m_retryDelayMs;
    m_retryDelayMs = std::min(m_retryDelayMs * 2, m_settings.longestRetryDelayMs);
    m_notConnectedWhy = why;
    setStatus(
        QStringLiteral("OBS Studio at %1: not connected (%2); reconnecting").arg(m_settings.address.display(), why));
    m_retryTimer.start(delay);
}

void ObsShotSource::sendText(const QString& message)
{
    if (m_socket) {
        m_socket->sendTextMessage(message);
    }
}

void ObsShotSource::readingStarted()
{
    m_answerTimer.start(m_settings.answerTimeoutMs);
}

void ObsShotSource::readingFinished()
{
    m_answerTimer.stop();
}

void ObsShotSource::becameReady()
{
    m_retryDelayMs = m_settings.firstRetryDelayMs;
    setStatus(QStringLiteral("OBS Studio at %1: connected").arg(m_settings.address.display()));
}

void ObsShotSource::pictureChanged()
{
    Q_EMIT shotsChanged();
}

void ObsShotSource::refuse(const QString& why)
{
    // Called from inside the session's handling of a message: the socket is
    // let go of once that has returned.
    QTimer::singleShot(0, this, [this, why] { dropConnection(why); });
}

ShotSource::Details ObsShotSource::details() const
{
    Details details;
    details.followed = QStringLiteral("OBS Studio at %1").arg(m_settings.address.display());
    details.link = connectionInWords(m_session.isReady(), m_retryTimer.isActive(), m_notConnectedWhy);
    return details;
}

QList<ObsShotSource*> ObsShotSource::awaitingPassword(ShotSource& source)
{
    QList<ObsShotSource*> waiting;
    for (ShotSource* switcher : CombinedShotSource::switchersOf(source)) {
        if (auto* obs = qobject_cast<ObsShotSource*>(switcher); obs && obs->awaitsPassword()) {
            waiting.append(obs);
        }
    }
    return waiting;
}
