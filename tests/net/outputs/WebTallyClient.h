#pragma once

// Clients of the web tally page inside the test process: plain HTTP GETs and
// WebSockets, each waiting with the test's event loop running.

#include "support/Eventually.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTcpSocket>
#include <QWebSocket>

#include <memory>

struct HttpAnswer {
    int status = 0;
    QByteArray contentType;
    QByteArray body;
    // Where a redirect points; it is not followed.
    QByteArray location;
};

inline HttpAnswer httpGet(quint16 port, const QString& path)
{
    QNetworkAccessManager manager;
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path)));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    std::unique_ptr<QNetworkReply> reply(manager.get(request));
    eventually([&] { return reply->isFinished(); }, 5000);
    HttpAnswer answer;
    answer.location = reply->rawHeader("Location");
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.contentType = reply->header(QNetworkRequest::ContentTypeHeader).toByteArray();
    answer.body = reply->readAll();
    return answer;
}

// A page's WebSocket: every message it hears, in order.
class PageSocket {
public:
    explicit PageSocket(quint16 port, const QString& path = QStringLiteral("/ws"))
    {
        QObject::connect(&socket, &QWebSocket::textMessageReceived,
            [this](const QString& message) { messages.append(message.toUtf8()); });
        socket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1%2").arg(port).arg(path)));
    }

    bool connected()
    {
        return eventually([this] { return socket.state() == QAbstractSocket::ConnectedState; }, 5000);
    }

    bool closed()
    {
        return eventually([this] { return socket.state() == QAbstractSocket::UnconnectedState; }, 5000);
    }

    bool heard(qsizetype count)
    {
        return eventually([this, count] { return messages.size() >= count; }, 5000);
    }

    QWebSocket socket;
    QList<QByteArray> messages;
};
