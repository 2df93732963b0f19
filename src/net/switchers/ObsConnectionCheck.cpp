#include "switchers/ObsConnectionCheck.h"

#include <QWebSocket>

namespace {

// Close codes OBS uses to say why it ended a session.
constexpr int authenticationFailedCode = 4009;
constexpr int unsupportedRpcVersionCode = 4010;

} // namespace

ObsConnectionCheck::ObsConnectionCheck(const Settings& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_session(*this, settings.password)
    , m_socket(std::make_unique<QWebSocket>())
{
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        finish(Outcome::noAnswer,
            tr("No answer from OBS Studio at %1 within %2 s")
                .arg(m_settings.address.display())
                .arg(m_settings.timeoutMs / 1000.0));
    });
    connect(m_socket.get(), &QWebSocket::textMessageReceived, this,
        [this](const QString& message) { m_session.receive(message); });
    connect(m_socket.get(), &QWebSocket::disconnected, this, &ObsConnectionCheck::onClosed);
    connect(m_socket.get(), qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this,
        [this](QAbstractSocket::SocketError) {
            // A connection that never opened announces no disconnection.
            if (m_socket->state() == QAbstractSocket::UnconnectedState) {
                onClosed();
            }
        });
    m_deadline.start(m_settings.timeoutMs);
    m_socket->open(QUrl(m_settings.address.webSocketUrl()));
}

ObsConnectionCheck::~ObsConnectionCheck()
{
    m_socket->disconnect(this);
    m_socket->abort();
}

void ObsConnectionCheck::onClosed()
{
    const QString where = m_settings.address.display();
    const int code = static_cast<int>(m_socket->closeCode());
    if (code == authenticationFailedCode) {
        finish(Outcome::passwordRefused,
            m_settings.password.isEmpty() ? tr("OBS Studio at %1 asks for a password").arg(where)
                                          : tr("OBS Studio at %1 refused the password").arg(where));
    } else if (code == unsupportedRpcVersionCode) {
        finish(Outcome::refused,
            tr("OBS Studio at %1 does not speak version %2 of its websocket protocol")
                .arg(where)
                .arg(ObsSession::rpcVersion));
    } else if (m_socket->error() != QAbstractSocket::UnknownSocketError) {
        finish(Outcome::noAnswer, tr("No answer from OBS Studio at %1: %2").arg(where, m_socket->errorString()));
    } else {
        finish(Outcome::noAnswer, tr("OBS Studio at %1 closed the connection").arg(where));
    }
}

void ObsConnectionCheck::finish(Outcome outcome, const QString& words)
{
    if (m_finished) {
        return;
    }
    m_finished = true;
    m_deadline.stop();
    // The socket may be inside one of its own signals: it is closed, not
    // deleted, and goes with this object.
    m_socket->disconnect(this);
    m_socket->abort();
    Q_EMIT finished(outcome, words);
}

void ObsConnectionCheck::sendText(const QString& message)
{
    m_socket->sendTextMessage(message);
}

void ObsConnectionCheck::becameReady()
{
    finish(Outcome::connected, tr("Connected to OBS Studio at %1").arg(m_settings.address.display()));
}

void ObsConnectionCheck::refuse(const QString& why)
{
    // Called from inside the session's handling of a message; finishing
    // only closes the socket, which is safe there.
    finish(Outcome::refused, tr("OBS Studio at %1: %2").arg(m_settings.address.display(), why));
}
