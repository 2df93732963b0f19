#pragma once

#include <QTcpServer>

class QTcpSocket;

// The listening socket of the web tally page, with limits that keep a
// misbehaving client (or many phones left open) from wearing down the
// program that drives the lights: at most maxConnections connections at
// once (more are closed as they arrive), and a client that sends more than
// maxPendingBytes, or takes longer than answerDeadline to finish what it is
// sending, without getting an answer in between is cut off. Sending is not
// limited here: the page's WebSockets only ever receive.
class BoundedTcpServer : public QTcpServer {
    Q_OBJECT
public:
    struct Limits {
        int maxConnections = 128;
        qint64 maxPendingBytes = 16 * 1024;
        int answerDeadlineMilliseconds = 10000;
    };

    explicit BoundedTcpServer(Limits limits, QObject* parent = nullptr);

    int openConnections() const { return m_openConnections; }

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private:
    void guard(QTcpSocket* socket);

    Limits m_limits;
    int m_openConnections = 0;
};
