#pragma once

// An OBS Studio websocket server in the test's own process: it greets,
// checks the password, answers the reading requests from a scene set-up the
// test controls, and sends the events a test asks for. It can also misbehave:
// stay silent, send garbage, drop its clients.

#include "obs/ObsAuthentication.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QStringList>
#include <QWebSocket>
#include <QWebSocketServer>

#include <memory>

class FakeObsServer {
public:
    struct Item {
        qint64 id = 0;
        QString source;
        bool enabled = true;
        bool isGroup = false;
    };

    // The scene set-up the requests are answered from.
    QStringList scenes; // top first, as the operator sees them
    QMap<QString, QString> sceneUuids; // only where the server reports one
    QStringList inputs;
    QMap<QString, QList<Item>> items; // scene or group name -> its items
    QString program;
    QString preview;
    bool studioMode = false;
    // Answered to GetRecordStatus; the other outputs are always off.
    bool recording = false;

    // What it expects and how it behaves.
    QString password; // empty: no authentication
    bool silent = false; // accepts connections and never says a word
    // The greeting's password check, when there is a password.
    QString salt = QStringLiteral("lM1GncleQOaCu9lT1yeUZhFYnqhsLLP1G5lAGo3ixaI=");
    QString challenge = QStringLiteral("+IxH4CnCiqpX1rM9scsNynZzbOe4KhDeYcTNS3PDaeY=");

    // What it saw.
    QList<QJsonObject> identifies;
    QStringList requestTypes;
    int connections = 0;

    FakeObsServer()
        : m_server(QStringLiteral("fake obs"), QWebSocketServer::NonSecureMode)
    {
        m_server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&m_server, &QWebSocketServer::newConnection, [this] { accept(); });
    }

    ~FakeObsServer()
    {
        // The server deletes its sockets as it goes, after this object's
        // members are gone: they must not call back into it.
        for (QWebSocket* client : std::as_const(m_clients)) {
            client->disconnect();
            client->abort();
        }
        m_clients.clear();
    }
    FakeObsServer(const FakeObsServer&) = delete;
    FakeObsServer& operator=(const FakeObsServer&) = delete;

    quint16 port() const { return m_server.serverPort(); }
    bool listening() const { return m_server.isListening(); }

    int clientCount() const { return static_cast<int>(m_clients.size()); }

    void sendEvent(const QString& type, const QJsonObject& data)
    {
        broadcast(5, { { QStringLiteral("eventType"), type }, { QStringLiteral("eventData"), data } });
    }

    void cut(const QString& scene)
    {
        program = scene;
        sendEvent(QStringLiteral("CurrentProgramSceneChanged"), { { QStringLiteral("sceneName"), scene } });
    }

    void putInPreview(const QString& scene)
    {
        preview = scene;
        sendEvent(QStringLiteral("CurrentPreviewSceneChanged"), { { QStringLiteral("sceneName"), scene } });
    }

    void sendRaw(const QString& text)
    {
        for (QWebSocket* client : std::as_const(m_clients)) {
            client->sendTextMessage(text);
        }
    }

    void sendBinary(const QByteArray& bytes)
    {
        for (QWebSocket* client : std::as_const(m_clients)) {
            client->sendBinaryMessage(bytes);
        }
    }

    void dropClients()
    {
        const QList<QWebSocket*> clients = m_clients;
        for (QWebSocket* client : clients) {
            client->abort();
        }
    }

    void stopListening() { m_server.close(); }

private:
    void accept()
    {
        while (QWebSocket* client = m_server.nextPendingConnection()) {
            ++connections;
            m_clients.append(client);
            QObject::connect(client, &QWebSocket::disconnected, [this, client] {
                m_clients.removeAll(client);
                client->deleteLater();
            });
            QObject::connect(client, &QWebSocket::textMessageReceived,
                [this, client](const QString& text) { onMessage(client, text); });
            if (!silent) {
                greet(client);
            }
        }
    }

    void greet(QWebSocket* client)
    {
        QJsonObject hello { { QStringLiteral("obsWebSocketVersion"), QStringLiteral("5.1.0") },
            { QStringLiteral("rpcVersion"), 1 } };
        if (!password.isEmpty()) {
            hello.insert(QStringLiteral("authentication"),
                QJsonObject { { QStringLiteral("challenge"), challenge }, { QStringLiteral("salt"), salt } });
        }
        send(client, 0, hello);
    }

    void onMessage(QWebSocket* client, const QString& text)
    {
        const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
        const QJsonObject d = message.value(QLatin1String("d")).toObject();
        switch (message.value(QLatin1String("op")).toInt()) {
        case 1:
            identifies.append(d);
            if (!password.isEmpty()
                && d.value(QLatin1String("authentication")).toString()
                    != obsAuthenticationResponse(password, salt, challenge)) {
                client->close(
                    static_cast<QWebSocketProtocol::CloseCode>(4009), QStringLiteral("Authentication failed."));
                return;
            }
            send(client, 2, { { QStringLiteral("negotiatedRpcVersion"), 1 } });
            break;
        case 6:
            answer(client, d);
            break;
        default:
            break;
        }
    }

    void answer(QWebSocket* client, const QJsonObject& request)
    {
        const QString type = request.value(QLatin1String("requestType")).toString();
        const QJsonObject data = request.value(QLatin1String("requestData")).toObject();
        requestTypes.append(type);
        QJsonObject response;
        bool ok = true;
        if (type == QLatin1String("GetSceneList")) {
            QJsonArray list;
            // Bottom first, counted from the bottom, as OBS does.
            for (qsizetype i = scenes.size() - 1; i >= 0; --i) {
                QJsonObject scene { { QStringLiteral("sceneName"), scenes[i] },
                    { QStringLiteral("sceneIndex"), static_cast<int>(scenes.size() - 1 - i) } };
                if (sceneUuids.contains(scenes[i])) {
                    scene.insert(QStringLiteral("sceneUuid"), sceneUuids.value(scenes[i]));
                }
                list.append(scene);
            }
            response.insert(QStringLiteral("scenes"), list);
            response.insert(QStringLiteral("currentProgramSceneName"), program);
            response.insert(QStringLiteral("currentPreviewSceneName"), studioMode ? QJsonValue(preview) : QJsonValue());
        } else if (type == QLatin1String("GetRecordStatus") || type == QLatin1String("GetStreamStatus")) {
            response.insert(QStringLiteral("outputActive"), type == QLatin1String("GetRecordStatus") && recording);
        } else if (type == QLatin1String("GetStudioModeEnabled")) {
            response.insert(QStringLiteral("studioModeEnabled"), studioMode);
        } else if (type == QLatin1String("GetInputList")) {
            QJsonArray list;
            for (const QString& input : std::as_const(inputs)) {
                list.append(QJsonObject { { QStringLiteral("inputName"), input },
                    { QStringLiteral("inputKind"), QStringLiteral("color_source_v3") } });
            }
            response.insert(QStringLiteral("inputs"), list);
        } else if (type == QLatin1String("GetSceneItemList") || type == QLatin1String("GetGroupSceneItemList")) {
            const QString container = data.value(QLatin1String("sceneName")).toString();
            ok = items.contains(container) || scenes.contains(container);
            QJsonArray list;
            for (const Item& item : items.value(container)) {
                list.append(QJsonObject { { QStringLiteral("sceneItemId"), item.id },
                    { QStringLiteral("sourceName"), item.source }, { QStringLiteral("sceneItemEnabled"), item.enabled },
                    { QStringLiteral("isGroup"), item.isGroup ? QJsonValue(true) : QJsonValue() } });
            }
            response.insert(QStringLiteral("sceneItems"), list);
        } else {
            ok = false;
        }
        QJsonObject reply { { QStringLiteral("requestType"), type },
            { QStringLiteral("requestId"), request.value(QLatin1String("requestId")) },
            { QStringLiteral("requestStatus"),
                QJsonObject { { QStringLiteral("result"), ok }, { QStringLiteral("code"), ok ? 100 : 600 } } } };
        if (ok) {
            reply.insert(QStringLiteral("responseData"), response);
        }
        send(client, 7, reply);
    }

    void broadcast(int op, const QJsonObject& data)
    {
        for (QWebSocket* client : std::as_const(m_clients)) {
            send(client, op, data);
        }
    }

    static void send(QWebSocket* client, int op, const QJsonObject& data)
    {
        const QJsonObject envelope { { QStringLiteral("op"), op }, { QStringLiteral("d"), data } };
        client->sendTextMessage(QString::fromUtf8(QJsonDocument(envelope).toJson(QJsonDocument::Compact)));
    }

    QWebSocketServer m_server;
    QList<QWebSocket*> m_clients;
};
