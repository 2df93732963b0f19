#pragma once

#include "mqtt/MqttMessage.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

// What still has to reach the broker, one message per topic. A message put
// while an older one for the same topic waits takes its place: a broker
// that is away for an hour gets the state of now when it comes back, not an
// hour of cuts. Every retained message is kept after it went out, so that a
// new connection can be given the whole state again.
//
// A topic whose message went out is in flight until the broker has taken it
// (settle): its next message waits here meanwhile, replaced by each later
// one. A broker that stalls while the connection still looks open thus
// holds at most one message per topic, not every cut since it stalled, and
// a lamp is never handed a backlog of old states when it comes back.
class MqttOutbox {
public:
    // Stores message as its topic's latest and marks it to be sent.
    void put(const MqttMessage& message);
    // The messages to send now, in the order their topics were first put:
    // the marked ones whose topic has nothing in flight. They are no longer
    // marked, and their topics are in flight from now on.
    QList<MqttMessage> takePending();
    // The broker took topic's message (or it never went): the topic's next
    // message may go.
    void settle(const QString& topic);
    // Nothing counts as in flight any more: a new connection.
    void settleAll();
    bool isInFlight(const QString& topic) const { return m_inFlight.contains(topic); }
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
    QSet<QString> m_inFlight;
};
