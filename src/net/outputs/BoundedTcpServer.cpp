#include "outputs/BoundedTcpServer.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

BoundedTcpServer::BoundedTcpServer(Limits limits, QObject* parent)
    : QTcpServer(parent)
    , m_limits(limits)
{
}

void BoundedTcpServer::incomingConnection(qintptr socketDescriptor)
{
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(socketDescriptor)) {
        delete socket;
        return;
    }
    if (m_openConnections >= m_limits.maxConnections) {
        socket->abort();
        delete socket;
        return;
    }
    ++m_openConnections;
    connect(socket, &QObject::destroyed, this, [this] { --m_openConnections; });
    guard(socket);
    addPendingConnection(socket);
}

// Connected before the HTTP server sees the socket, so this runs first on
// every arrival of data. The count restarts whenever the server answers, so a
// phone that keeps one connection open for hours is never cut off, while a
// single request (or WebSocket message) that grows without end is.
void BoundedTcpServer::guard(QTcpSocket* socket)
{
    // The socket never holds more than the limit: a request that does not fit
    // can never complete, and is cut off below.
    socket->setReadBufferSize(m_limits.maxPendingBytes);
    auto* deadline = new QTimer(socket);
    deadline->setSingleShot(true);
    deadline->setInterval(m_limits.answerDeadlineMilliseconds);
    auto pending = std::make_shared<qint64>(0);
    const QPointer<QTcpSocket> guarded(socket);
    const auto cutOff = [guarded] {
        // Later, not inside the read notification the HTTP server is about
        // to handle as well.
        QTimer::singleShot(0, guarded, [guarded] {
            if (guarded) {
                guarded->abort();
            }
        });
    };
    connect(deadline, &QTimer::timeout, socket, cutOff);
    connect(
        socket, &QTcpSocket::readyRead, socket, [socket, deadline, pending, limit = m_limits.maxPendingBytes, cutOff] {
            *pending += socket->bytesAvailable();
            if (!deadline->isActive()) {
                deadline->start();
            }
            if (*pending >= limit) {
                cutOff();
            }
        });
    connect(socket, &QTcpSocket::bytesWritten, socket, [deadline, pending] {
        *pending = 0;
        deadline->stop();
    });
}
