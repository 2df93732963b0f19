#include "outputs/WebTallyServer.h"

#include "model/LightCount.h"
#include "outputs/WebRequestPolicy.h"
#include "outputs/WebTallyDocument.h"

#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QNetworkInterface>
#include <QWebSocket>

namespace {

// Before the first tick the page knows of eight dark lights and no source.
TallySnapshot noSignalYet()
{
    TallySnapshot snapshot;
    snapshot.lights.resize(tallyLightCount);
    return snapshot;
}

QByteArray assetBytes(const QString& name)
{
    QFile file(QStringLiteral(":/webtally/") + name);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll();
}

QString asset(const QString& name)
{
    return QString::fromUtf8(assetBytes(name));
}

using Method = QHttpServerRequest::Method;
using Status = QHttpServerResponse::StatusCode;

bool isHead(const QHttpServerRequest& request)
{
    return request.method() == Method::Head;
}

// An answer with the page's security headers; a HEAD request gets the
// headers alone.
QHttpServerResponse answer(
    const QHttpServerRequest& request, const QByteArray& mimeType, const QByteArray& body, Status status = Status::Ok)
{
    QHttpServerResponse response(mimeType, isHead(request) ? QByteArray() : body, status);
    for (const auto& [name, value] : WebRequestPolicy::securityHeaders()) {
        response.setHeader(name, value);
    }
    return response;
}

QHttpServerResponse notFound(const QHttpServerRequest& request)
{
    return answer(request, "text/plain; charset=utf-8", "Not found\n", Status::NotFound);
}

// Sends the browser on to the one address of a page.
QHttpServerResponse movedTo(const QHttpServerRequest& request, const QByteArray& path)
{
    QHttpServerResponse response
        = answer(request, "text/plain; charset=utf-8", "Moved to " + path + "\n", Status::MovedPermanently);
    response.setHeader("Location", path);
    return response;
}

// The same through a responder, for the handlers that answer that way.
void writePlain(
    QHttpServerResponder& responder, const QHttpServerRequest& request, Status status, const QByteArray& body)
{
    responder.writeStatusLine(status);
    responder.writeHeader("Content-Type", "text/plain; charset=utf-8");
    responder.writeHeader("Content-Length", QByteArray::number(isHead(request) ? 0 : body.size()));
    for (const auto& [name, value] : WebRequestPolicy::securityHeaders()) {
        responder.writeHeader(name, value);
    }
    responder.writeBody(isHead(request) ? QByteArray() : body);
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
    m_where = where;
    m_http.bind(m_tcp);
    m_keepAlive.start();
    return true;
}

quint16 WebTallyServer::port() const
{
    return m_tcp != nullptr ? m_tcp->serverPort() : 0;
}

QStringList WebTallyServer::pageUrls() const
{
    if (m_tcp == nullptr) {
        return {};
    }
    return m_where.pageUrls(m_tcp->serverPort(), QNetworkInterface::allAddresses());
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

QHttpServerResponse WebTallyServer::forbidden(const QHttpServerRequest& request)
{
    return answer(request, "text/plain; charset=utf-8", "Forbidden\n", Status::Forbidden);
}

bool WebTallyServer::allows(const QHttpServerRequest& request) const
{
    return m_policy.allowsHost(request.value("host"));
}

void WebTallyServer::addRoutes()
{
    const auto readOnly = Method::Get | Method::Head;
    m_http.route(QStringLiteral("/"), readOnly, [this](const QHttpServerRequest& request) {
        if (!allows(request)) {
            return forbidden(request);
        }
        return answer(request, "text/html; charset=utf-8",
            WebTallyDocument::indexPage(asset(QStringLiteral("index.html")), m_snapshot));
    });
    m_http.route(
        QStringLiteral("/light/<arg>"), readOnly, [this](const QString& number, const QHttpServerRequest& request) {
            if (!allows(request)) {
                return forbidden(request);
            }
            const int light = WebTallyDocument::lightNumberFromPath(number, m_snapshot.lights.size());
            if (light == 0) {
                return notFound(request);
            }
            return answer(request, "text/html; charset=utf-8",
                WebTallyDocument::lightPage(asset(QStringLiteral("light.html")), light));
        });
    // A light's address typed or pasted with a slash at the end (as some
    // phones' keyboards and QR readers leave it) leads to the light, not to
    // an error.
    m_http.route(
        QStringLiteral("/light/<arg>/"), readOnly, [this](const QString& number, const QHttpServerRequest& request) {
            if (!allows(request)) {
                return forbidden(request);
            }
            const int light = WebTallyDocument::lightNumberFromPath(number, m_snapshot.lights.size());
            if (light == 0) {
                return notFound(request);
            }
            return movedTo(request, "/light/" + QByteArray::number(light));
        });
    // Browsers ask for it by themselves; without one every page load logs a
    // failed request, and a tab of lights is hard to find among others.
    m_http.route(QStringLiteral("/favicon.ico"), readOnly, [this](const QHttpServerRequest& request) {
        return allows(request) ? answer(request, "image/x-icon", assetBytes(QStringLiteral("favicon.ico")))
                               : forbidden(request);
    });
    m_http.route(QStringLiteral("/api/lights"), readOnly, [this](const QHttpServerRequest& request) {
        return allows(request) ? answer(request, "application/json", m_stateJson) : forbidden(request);
    });
    m_http.route(QStringLiteral("/assets/tally.css"), readOnly, [this](const QHttpServerRequest& request) {
        return allows(request) ? answer(request, "text/css; charset=utf-8", asset(QStringLiteral("tally.css")).toUtf8())
                               : forbidden(request);
    });
    m_http.route(QStringLiteral("/assets/tally.js"), readOnly, [this](const QHttpServerRequest& request) {
        return allows(request)
            ? answer(request, "text/javascript; charset=utf-8", asset(QStringLiteral("tally.js")).toUtf8())
            : forbidden(request);
    });
    // The HTTP server hands a WebSocket upgrade over only when a route takes
    // the request and answers nothing; a plain request here is not found,
    // and an upgrade from another site or under a foreign name is refused
    // before it happens.
    m_http.route(QStringLiteral("/ws"), Method::Get,
        [this](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
            if (request.value("upgrade").compare("websocket", Qt::CaseInsensitive) != 0) {
                writePlain(responder, request, Status::NotFound, "Not found\n");
            } else if (!allows(request)
                || !m_policy.allowsWebSocketOrigin(request.value("origin"), request.value("host"))) {
                writePlain(responder, request, Status::Forbidden, "Forbidden\n");
            }
        });
    m_http.setMissingHandler([](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
        writePlain(responder, request, Status::NotFound, "Not found\n");
    });
}

void WebTallyServer::acceptWebSockets()
{
    while (std::unique_ptr<QWebSocket> socket = m_http.nextPendingWebSocketConnection()) {
        // The connection is the WebSocket's now, whether it is admitted or
        // refused below: its place among the connections is free either way.
        // Kept, a refused upgrade's place would stay taken for good, and after
        // as many refusals as there are places no page could load at all.
        m_tcp->releaseUpgradedConnection(socket->peerAddress(), socket->peerPort());
        const QByteArray host = socket->request().rawHeader("Host");
        if (!m_policy.allowsHost(host) || !m_policy.allowsWebSocketOrigin(socket->origin().toUtf8(), host)) {
            socket->close(QWebSocketProtocol::CloseCodePolicyViolated, QStringLiteral("not this page's origin"));
            socket.release()->deleteLater();
            continue;
        }
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
    // for requests, released from it above, must not close it.
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
