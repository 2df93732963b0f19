#pragma once

// An MqttClient that a test drives: it records the attempts and what is
// published, and connects, fails or drops when the test says.

#include "outputs/MqttClient.h"

#include <QList>

class FakeMqttClient : public MqttClient {
public:
    struct Record {
        int attempts = 0;
        bool connected = false;
        bool closed = false;
        QList<MqttMessage> published;
        QList<MqttMessage> lastMessages;
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
    void fail(const QString& reason)
    {
        m_record.connected = false;
        Q_EMIT disconnected(reason);
    }

private:
    Record& m_record;
};
