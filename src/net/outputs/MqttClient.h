#pragma once

#include "mqtt/MqttMessage.h"

#include <QList>
#include <QObject>
#include <QString>

// The connection to one broker, as MqttPublisher needs it. Nothing here
// waits: connectToBroker starts one attempt in the background and its
// outcome comes back as a signal on the thread the client lives on. The
// real client is MosquittoClient; tests use a double that they drive.
class MqttClient : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~MqttClient() override = default;

    // Starts one attempt to connect; connected() or disconnected(reason)
    // follows. Not called again before one of them has come.
    virtual void connectToBroker() = 0;
    // Hands message over for sending while connected. False when it cannot
    // be (no connection): the caller keeps it for the next connection.
    // acknowledged(topic) follows when the broker has taken it; the caller
    // publishes at most one message per topic until then.
    virtual bool publish(const MqttMessage& message) = 0;
    // Ends the connection in order, the goodbye messages (if any) sent and
    // taken by the broker first: a broker sends the last will only for a
    // connection that was cut, not for one that was ended. Waits for the
    // broker half a second at most. Nothing is signalled after it.
    virtual void close(const QList<MqttMessage>& goodbye) = 0;

Q_SIGNALS:
    void connected();
    // The broker took the message last published on topic in this
    // connection.
    void acknowledged(const QString& topic);
    // An attempt failed, or a connection was lost; reason in words.
    void disconnected(const QString& reason);
};
