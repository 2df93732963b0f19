#pragma once

#include "mqtt/MqttMessage.h"

#include <QHash>
#include <QList>
#include <QString>

// What still has to reach the broker, one message per topic. A message put
// while an older one for the same topic waits takes its place: a broker
// that is away for an hour gets the state of now when it comes back, not an
// hour of cuts. Every retained message is kept after it went out, so that a
// new connection can be given the whole state again.
class MqttOutbox {
public:
    // Stores message as its topic's latest and marks it to be sent.
    void put(const MqttMessage& message);
    // The messages to send, in the order their topics were first put, and
    // none marked any more.
    QList<MqttMessage> takePending();
    // Marks every retained message to be sent again (a new connection: the
    // broker may have restarted without them).
    void markAllPending();
    // Marks every message that expires at the broker to be sent again, so
    // that it is said anew before it lapses.
    void markExpiringPending();

    qsizetype pendingCount() const { return m_pending.size(); }
    bool isEmpty() const { return m_order.isEmpty(); }

private:
    QList<QString> m_order;
    QHash<QString, MqttMessage> m_latest;
    QList<QString> m_pending;
};
