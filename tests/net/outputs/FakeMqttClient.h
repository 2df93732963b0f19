#pragma once

// An MqttClient that a test drives: it records the attempts and what is
// published, and connects, fails or drops when the test says.

#include "outputs/MqttClient.h"

#include <QList>

#include <utility>

class FakeMqttClient : public MqttClient {
public:
    struct Record {
        int attempts = 0;
        bool connected = false;
        bool closed = false;
        QList<MqttMessage> published;
        QList<MqttMessage> lastMessages;
        // Like a broker that answers at once; a test that stalls the broker
        // clears it and acknowledges with acknowledgeAll.
        bool acknowledgesAtOnce = true;
        // The topics published and not acknowledged yet, oldest first.
        QList<QString> unacknowledged;
    };

    // The record outlives the client, which its publisher owns and deletes.
    explicit FakeMqttClient(Record& record)
        : m_record(record)
    {
    }

    void connectToBroker() override { ++m_record.attempts; }
    bool publish(const MqttMessage& message) override
    {
        if (!m_record.connected) {
            return false;
        }
        m_record.published.append(message);
        if (m_record.acknowledgesAtOnce) {
            Q_EMIT acknowledged(message.topic);
        } else {
            m_record.unacknowledged.append(message.topic);
        }
        return true;
    }
    void close(const QList<MqttMessage>& goodbye) override
    {
        m_record.closed = true;
        m_record.lastMessages.append(goodbye);
    }

    void accept()
    {
        m_record.connected = true;
        Q_EMIT connected();
    }
    // The stalled broker takes everything it was sent.
    void acknowledgeAll()
    {
        const QList<QString> topics = std::exchange(m_record.unacknowledged, {});
        for (const QString& topic : topics) {
            Q_EMIT acknowledged(topic);
        }
    }
    void fail(const QString& reason)
    {
        m_record.connected = false;
        m_record.unacknowledged.clear();
        Q_EMIT disconnected(reason);
    }

private:
    Record& m_record;
};
