#pragma once

#include "outputs/BoundedTcpServer.h"
#include "outputs/WebListenAddress.h"
#include "outputs/WebRequestPolicy.h"
#include "tally/TallyOutput.h"

#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QList>
#include <QObject>
#include <QTimer>

class QWebSocket;

// The web tally page: phones and tablets on the studio network open
// /light/N and become light N's tally, or / for the list of lights.
// /api/lights answers the state as JSON and a WebSocket on /ws pushes it on
// every change. Read-only: nothing a browser sends changes the program.
//
// As an output it keeps the last snapshot; publishing the same picture again
// sends nothing, a change goes to every open page at once, and every page
// hears the state once a second besides, so it can tell a quiet studio from
// a lost connection.
class WebTallyServer : public QObject, public TallyOutput {
    Q_OBJECT
public:
    struct Limits {
        BoundedTcpServer::Limits connections;
        int maxWebSockets = 64;
        // A page never sends anything; a WebSocket message longer than this
        // closes its connection.
        qint64 maxIncomingMessageBytes = 1024;
        // A page that falls this far behind in reading is cut off rather than
        // held in memory.
        qint64 maxUnsentBytes = 256 * 1024;
        int keepAliveMilliseconds = 1000;
    };

    explicit WebTallyServer(Limits limits, QObject* parent = nullptr);
    explicit WebTallyServer(QObject* parent = nullptr);
    ~WebTallyServer() override;

    // Starts listening. False, with the reason in words, when the address
    // cannot be bound (a port in use, an address not on this machine).
    bool listen(const WebListenAddress& where, QString* problem);
    // The port listened on (useful after listening on port 0).
    quint16 port() const;
    // Every address a phone on the network can open the page at, with
    // /light/N added for a light's own page; empty while not listening.
    QStringList pageUrls() const;

    void publish(const TallySnapshot& snapshot) override;

    qsizetype webSocketCount() const { return m_webSockets.size(); }

private:
    void addRoutes();
    // Whether the request names this machine (see WebRequestPolicy).
    bool allows(const QHttpServerRequest& request) const;
    static QHttpServerResponse forbidden(const QHttpServerRequest& request);
    void acceptWebSockets();
    void admit(QWebSocket* socket);
    void sendState(QWebSocket* socket);
    void sendStateToAll();

    Limits m_limits;
    WebRequestPolicy m_policy;
    QHttpServer m_http;
    BoundedTcpServer* m_tcp = nullptr; // owned by m_http once bound
    WebListenAddress m_where;
    TallySnapshot m_snapshot;
    QByteArray m_stateJson;
    QList<QWebSocket*> m_webSockets;
    QTimer m_keepAlive;
};
