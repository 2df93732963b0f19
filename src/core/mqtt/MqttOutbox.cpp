#include "mqtt/MqttOutbox.h"

void MqttOutbox::put(const MqttMessage& message)
{
    if (!m_latest.contains(message.topic)) {
        m_order.append(message.topic);
    }
    m_latest.insert(message.topic, message);
    if (!m_pending.contains(message.topic)) {
        m_pending.append(message.topic);
    }
}

QList<MqttMessage> MqttOutbox::takePending()
{
    // In the order of the topics, not of the puts: a light's state word goes
    // before its JSON and the whole picture last, whatever changed first.
    QList<MqttMessage> messages;
    for (const QString& topic : std::as_const(m_order)) {
        if (m_pending.contains(topic) && !m_inFlight.contains(topic)) {
            messages.append(m_latest.value(topic));
            m_pending.removeOne(topic);
            m_inFlight.insert(topic);
        }
    }
    return messages;
}

void MqttOutbox::settle(const QString& topic)
{
    m_inFlight.remove(topic);
}

void MqttOutbox::settleAll()
{
    m_inFlight.clear();
}

void MqttOutbox::markAllPending()
{
    m_pending.clear();
    for (const QString& topic : std::as_const(m_order)) {
        if (m_latest.value(topic).retain) {
            m_pending.append(topic);
        }
    }
}

void MqttOutbox::markExpiringPending()
{
    for (const QString& topic : std::as_const(m_order)) {
        if (m_latest.value(topic).expires() && !m_pending.contains(topic)) {
            m_pending.append(topic);
        }
    }
}
