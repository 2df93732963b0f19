#pragma once

// A websocket client that plays an operator at OBS Studio: it logs in,
// creates scenes and inputs and switches program and preview, each call
// waiting for OBS's answer while the caller's event loop keeps running.

#include "obs/ObsAuthentication.h"
#include "support/Eventually.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QWebSocket>

#include <optional>

class ObsTestClient {
public:
    ObsTestClient()
    {
        QObject::connect(&m_socket, &QWebSocket::textMessageReceived, [this](const QString& text) {
            const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
            m_messages.append(message);
        });
    }

    // Connects, answers the password challenge and waits to be accepted.
    bool logIn(const QString& url, const QString& password, int eventSubscriptions = 0, int patienceMs = 10000)
    {
        m_socket.open(QUrl(url));
        const std::optional<QJsonObject> hello = waitForOp(0, patienceMs);
        if (!hello) {
            return false;
        }
        QJsonObject identify { { QStringLiteral("rpcVersion"), 1 },
            { QStringLiteral("eventSubscriptions"), eventSubscriptions } };
        const QJsonObject challenge
            = hello->value(QLatin1String("d")).toObject().value(QLatin1String("authentication")).toObject();
        if (!challenge.isEmpty()) {
            identify.insert(QStringLiteral("authentication"),
                obsAuthenticationResponse(password, challenge.value(QLatin1String("salt")).toString(),
                    challenge.value(QLatin1String("challenge")).toString()));
        }
        send(1, identify);
        return waitForOp(2, patienceMs).has_value();
    }

    // Sends a request and waits for its answer: whether OBS carried it out,
    // and what it answered.
    struct Answer {
        bool ok = false;
        QString comment;
        QJsonObject data;
    };
    Answer call(const QString& type, const QJsonObject& data = {}, int patienceMs = 10000)
    {
        const QString id = QString::number(++m_lastId);
        send(6,
            { { QStringLiteral("requestType"), type }, { QStringLiteral("requestId"), id },
                { QStringLiteral("requestData"), data } });
        Answer answer;
        const bool answered = eventually(
            [&] {
                for (qsizetype i = 0; i < m_messages.size(); ++i) {
                    const QJsonObject d = m_messages[i].value(QLatin1String("d")).toObject();
                    if (m_messages[i].value(QLatin1String("op")).toInt() == 7
                        && d.value(QLatin1String("requestId")).toString() == id) {
                        const QJsonObject status = d.value(QLatin1String("requestStatus")).toObject();
                        answer.ok = status.value(QLatin1String("result")).toBool();
                        answer.comment = status.value(QLatin1String("comment")).toString();
                        answer.data = d.value(QLatin1String("responseData")).toObject();
                        m_messages.removeAt(i);
                        return true;
                    }
                }
                return false;
            },
            patienceMs);
        if (!answered) {
            answer.comment = QStringLiteral("no answer to ") + type;
        }
        return answer;
    }

    // Takes the first event of this type that has come in, if any.
    bool takeEvent(const QString& type)
    {
        for (qsizetype i = 0; i < m_messages.size(); ++i) {
            const QJsonObject d = m_messages[i].value(QLatin1String("d")).toObject();
            if (m_messages[i].value(QLatin1String("op")).toInt() == 5
                && d.value(QLatin1String("eventType")).toString() == type) {
                m_messages.removeAt(i);
                return true;
            }
        }
        return false;
    }

    void send(int op, const QJsonObject& data)
    {
        const QJsonObject envelope { { QStringLiteral("op"), op }, { QStringLiteral("d"), data } };
        m_socket.sendTextMessage(QString::fromUtf8(QJsonDocument(envelope).toJson(QJsonDocument::Compact)));
    }

private:
    std::optional<QJsonObject> waitForOp(int op, int patienceMs)
    {
        std::optional<QJsonObject> found;
        eventually(
            [&] {
                for (qsizetype i = 0; i < m_messages.size(); ++i) {
                    if (m_messages[i].value(QLatin1String("op")).toInt() == op) {
                        found = m_messages.takeAt(i);
                        return true;
                    }
                }
                return false;
            },
            patienceMs);
        return found;
    }

    QWebSocket m_socket;
    QList<QJsonObject> m_messages;
    int m_lastId = 0;
};
