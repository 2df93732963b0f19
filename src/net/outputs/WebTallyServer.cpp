#include "outputs/WebTallyServer.h"

#include "outputs/WebTallyDocument.h"

#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QWebSocket>

namespace {

// Before the first tick the page knows of eight dark lights and no source.
TallySnapshot noSignalYet()
{
    TallySnapshot snapshot;
    snapshot.lights.resize(8);
    return snapshot;
}

QString asset(const QString& name)
{
    QFile file(QStringLiteral(":/webtally/") + name);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

QHttpServerResponse answer(const QByteArray& mimeType, const QByteArray& body)
{
    QHttpServerResponse response(mimeType, body);
    // Always the current state: a cached page or answer could show a colour
    // that is no longer true.
    response.setHeader("Cache-Control", "no-store");
    response.setHeader("X-Content-Type-Options", "nosniff");
    return response;
}

QHttpServerResponse notFound()
{
    return QHttpServerResponse("text/plain; charset=utf-8", "Not found\n", QHttpServerResponse::StatusCode::NotFound);
}

} // namespace

WebTallyServer::WebTallyServer(Limits limits, QObject* parent)
    : QObject(parent)
    , m_limits(limits)
    , m_snapshot(noSignalYet())
    , m_stateJson(WebTallyDocument::stateJson(m_snapshot))
{
    addRoutes();
    connect(&m_http, &QAbstractHttpServer::newWebSocketConnection, this, &WebTallyServer::acceptWebSockets);
    m_keepAlive.setInterval(m_limits.keepAliveMilliseconds);
    connect(&m_keepAlive, &QTimer::timeout, this, &WebTallyServer::sendStateToAll);
}

WebTallyServer::WebTallyServer(QObject* parent)
    : WebTallyServer(Limits {}, parent)
{
}

WebTallyServer::~WebTallyServer()
{
    for (QWebSocket* socket : std::as_const(m_webSockets)) {
        socket->disconnect(this);
        socket->abort();
        delete socket;
    }
}

bool WebTallyServer::listen(const WebListenAddress& where, QString* problem)
{
    auto tcp = std::make_unique<BoundedTcpServer>(m_limits.connections);
    if (!tcp->listen(where.address, where.port)) {
        *problem
            = QStringLiteral("cannot serve the web tally page on %1: %2").arg(where.toString(), tcp->errorString());
        return false;
    }
    m_tcp = tcp.release();
    m_http.bind(m_tcp);
    m_keepAlive.start();
    return true;
}

quint16 WebTallyServer::port() const
{
    return m_tcp != nullptr ? m_tcp->serverPort() : 0;
}

void WebTallyServer::publish(const TallySnapshot& snapshot)
{
    if (snapshot == m_snapshot) {
        return;
    }
    m_snapshot = snapshot;
    m_stateJson = WebTallyDocument::stateJson(m_snapshot);
    sendStateToAll();
}

void WebTallyServer::addRoutes()
{
    using Method = QHttpServerRequest::Method;
    m_http.route(QStringLiteral("/"), Method::Get, [this] {
        return answer(
            "text/html; charset=utf-8", WebTallyDocument::indexPage(asset(QStringLiteral("index.html")), m_snapshot));
    });
    m_http.route(QStringLiteral("/light/<arg>"), Method::Get, [this](const QString& number) {
        const int light = WebTallyDocument::lightNumberFromPath(number, m_snapshot.lights.size());
        if (light == 0) {
            return notFound();
        }
        return answer(
            "text/html; charset=utf-8", WebTallyDocument::lightPage(asset(QStringLiteral("light.html")), light));
    });
    m_http.route(
        QStringLiteral("/api/lights"), Method::Get, [this] { return answer("application/json", m_stateJson); });
    m_http.route(QStringLiteral("/assets/tally.css"), Method::Get,
        [] { return answer("text/css; charset=utf-8", asset(QStringLiteral("tally.css")).toUtf8()); });
    m_http.route(QStringLiteral("/assets/tally.js"), Method::Get,
        [] { return answer("text/javascript; charset=utf-8", asset(QStringLiteral("tally.js")).toUtf8()); });
    // The HTTP server hands a WebSocket upgrade over only when a route takes
    // the request and answers nothing; a plain request here is not found.
    m_http.route(
        QStringLiteral("/ws"), Method::Get, [](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
            if (request.value("upgrade").compare("websocket", Qt::CaseInsensitive) != 0) {
                responder.write("Not found\n", "text/plain; charset=utf-8", QHttpServerResponder::StatusCode::NotFound);
            }
        });
    m_http.setMissingHandler([](const QHttpServerRequest&, QHttpServerResponder&& responder) {
        responder.write("Not found\n", "text/plain; charset=utf-8", QHttpServerResponder::StatusCode::NotFound);
    });
}

void WebTallyServer::acceptWebSockets()
{
    while (std::unique_ptr<QWebSocket> socket = m_http.nextPendingWebSocketConnection()) {
        if (socket->requestUrl().path() != QLatin1String("/ws")) {
            socket->close(QWebSocketProtocol::CloseCodePolicyViolated, QStringLiteral("no such address"));
            socket.release()->deleteLater();
            continue;
        }
        if (m_webSockets.size() >= m_limits.maxWebSockets) {
            socket->close(QWebSocketProtocol::CloseCodePolicyViolated, QStringLiteral("too many tally pages open"));
            socket.release()->deleteLater();
            continue;
        }
        admit(socket.release());
    }
}

void WebTallyServer::admit(QWebSocket* socket)
{
    // A page holds its WebSocket for as long as it is shown: the deadline
    // for requests must not close it.
    m_tcp->releaseUpgradedConnection(socket->peerAddress(), socket->peerPort());
    socket->setParent(this);
    socket->setMaxAllowedIncomingMessageSize(m_limits.maxIncomingMessageBytes);
    socket->setMaxAllowedIncomingFrameSize(m_limits.maxIncomingMessageBytes);
    m_webSockets.append(socket);
    connect(socket, &QWebSocket::disconnected, this, [this, socket] {
        m_webSockets.removeAll(socket);
        socket->deleteLater();
    });
    sendState(socket);
}

void WebTallyServer::sendState(QWebSocket* socket)
{
    if (socket->bytesToWrite() > m_limits.maxUnsentBytes) {
        socket->abort();
        return;
    }
    socket->sendTextMessage(QString::fromUtf8(m_stateJson));
}

void WebTallyServer::sendStateToAll()
{
    // A copy: a socket cut off while sending leaves the list.
    const QList<QWebSocket*> sockets = m_webSockets;
    for (QWebSocket* socket : sockets) {
        sendState(socket);
    }
}
