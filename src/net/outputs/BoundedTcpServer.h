#pragma once

#include "switchers/SenderAllowList.h"

#include <QHostAddress>
#include <QList>
#include <QPointer>
#include <QTcpServer>

class QTcpSocket;

// The listening socket of the web tally page, with limits that keep a
// misbehaving client (or many phones left open) from wearing down the
// program that drives the lights:
// - a connection that sends more than maxPendingBytes without getting an
//   answer in between is cut off;
// - a connection that has not finished a request answerDeadline after it
//   opened or after its last answer is cut off, so idle and slowly dripping
//   connections cannot pile up;
// - at maxConnections, a new connection takes the place of the one that has
//   been quiet longest, so a phone can always connect.
// A connection that has become a WebSocket is released from these rules
// (the page's WebSockets have limits of their own): it stays open for as
// long as the page is shown. Sending is not limited here: the page's
// WebSockets only ever receive. With an allow list, a connection from
// elsewhere is closed before it counts, so that a stranger can neither fill
// the connections nor push out a quiet one that belongs.
class BoundedTcpServer : public QTcpServer {
    Q_OBJECT
public:
    struct Limits {
        int maxConnections = 128;
        qint64 maxPendingBytes = 16 * 1024;
        int answerDeadlineMilliseconds = 10000;
    };

    explicit BoundedTcpServer(Limits limits, QObject* parent = nullptr);
    ~BoundedTcpServer() override;

    int openConnections() const { return m_openConnections; }

    // Whom connections are taken from from now on; empty: everyone.
    void setAllowedPeers(const SenderAllowList& allowed) { m_allowed = allowed; }

    // The connection from peer has become a WebSocket: no deadline, never
    // replaced by a newer connection, and no longer counted here (the
    // page's WebSockets have a limit of their own).
    void releaseUpgradedConnection(const QHostAddress& peerAddress, quint16 peerPort);

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private:
    class ConnectionGuard;

    void guard(QTcpSocket* socket);
    // Makes room at the cap by cutting the longest-quiet guarded connection;
    // false when every connection is a WebSocket.
    bool replaceQuietestConnection();

    Limits m_limits;
    SenderAllowList m_allowed;
    int m_openConnections = 0;
    QList<QPointer<ConnectionGuard>> m_guards;
};
