#include "outputs/BoundedTcpServer.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

// The rules of one connection, a child of its socket: deleting it releases
// the connection from them.
class BoundedTcpServer::ConnectionGuard : public QObject {
public:
    ConnectionGuard(QTcpSocket& socket, const Limits& limits)
        : QObject(&socket)
        , m_socket(socket)
        , m_maxPendingBytes(limits.maxPendingBytes)
    {
        m_deadline.setSingleShot(true);
        m_deadline.setInterval(limits.answerDeadlineMilliseconds);
        connect(&m_deadline, &QTimer::timeout, this, &ConnectionGuard::cutOff);
        // Connected before the HTTP server sees the socket, so this runs
        // first on every arrival of data.
        connect(&socket, &QTcpSocket::readyRead, this, &ConnectionGuard::received);
        connect(&socket, &QTcpSocket::bytesWritten, this, &ConnectionGuard::answered);
        // Armed at once: a connection that never sends a byte is cut off too.
        m_deadline.start();
        m_quietSince.start();
    }

    QTcpSocket& socket() const { return m_socket; }
    qint64 quietMilliseconds() const { return m_quietSince.elapsed(); }

    void cutOff()
    {
        // Later, not inside the read notification the HTTP server is about
        // to handle as well.
        QTimer::singleShot(0, &m_socket, [socket = &m_socket] { socket->abort(); });
    }

private:
    void received()
    {
        m_quietSince.restart();
        m_pending += m_socket.bytesAvailable();
        if (m_pending >= m_maxPendingBytes) {
            cutOff();
        }
    }

    // The count and the deadline restart whenever the server answers, so a
    // browser that sends one request after another on one connection is
    // never cut off, while a single request that grows without end is.
    void answered()
    {
        m_quietSince.restart();
        m_pending = 0;
        m_deadline.start();
    }

    QTcpSocket& m_socket;
    qint64 m_maxPendingBytes;
    qint64 m_pending = 0;
    QTimer m_deadline;
    QElapsedTimer m_quietSince;
};

BoundedTcpServer::BoundedTcpServer(Limits limits, QObject* parent)
    : QTcpServer(parent)
    , m_limits(limits)
{
}

BoundedTcpServer::~BoundedTcpServer() = default;

void BoundedTcpServer::incomingConnection(qintptr socketDescriptor)
{
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(socketDescriptor)) {
        delete socket;
        return;
    }
    if (!m_allowed.isEmpty() && !m_allowed.allows(socket->peerAddress())) {
        socket->abort();
        delete socket;
        return;
    }
    if (m_openConnections >= m_limits.maxConnections && !replaceQuietestConnection()) {
        socket->abort();
        delete socket;
        return;
    }
    ++m_openConnections;
    connect(socket, &QObject::destroyed, this, [this] { --m_openConnections; });
    guard(socket);
    addPendingConnection(socket);
}

void BoundedTcpServer::guard(QTcpSocket* socket)
{
    // The socket never holds more than the limit: a request that does not fit
    // can never complete, and is cut off.
    socket->setReadBufferSize(m_limits.maxPendingBytes);
    m_guards.removeAll(nullptr);
    m_guards.append(new ConnectionGuard(*socket, m_limits));
}

bool BoundedTcpServer::replaceQuietestConnection()
{
    m_guards.removeAll(nullptr);
    const auto quietest = std::max_element(
        m_guards.begin(), m_guards.end(), [](const QPointer<ConnectionGuard>& a, const QPointer<ConnectionGuard>& b) {
            return a->quietMilliseconds() < b->quietMilliseconds();
        });
    if (quietest == m_guards.end()) {
        return false;
    }
    QTcpSocket& socket = (*quietest)->socket();
    m_guards.erase(quietest);
    // At once: its place is taken now. The socket itself goes later, as the
    // HTTP server may still hold it.
    socket.abort();
    --m_openConnections;
    socket.disconnect(this);
    socket.deleteLater();
    return true;
}

void BoundedTcpServer::releaseUpgradedConnection(const QHostAddress& peerAddress, quint16 peerPort)
{
    for (auto it = m_guards.begin(); it != m_guards.end(); ++it) {
        if (*it && (*it)->socket().peerAddress() == peerAddress && (*it)->socket().peerPort() == peerPort) {
            QTcpSocket& socket = (*it)->socket();
            delete it->data();
            m_guards.erase(it);
            // The WebSocket has taken the connection over and is counted
            // with the page's WebSockets from now on. Once handed over, the
            // socket's end no longer reaches this server, so counting it
            // here would keep its place taken for good: after as many page
            // visits as there are places, no phone could connect.
            socket.disconnect(this);
            --m_openConnections;
            return;
        }
    }
}
