#pragma once

#include "model/TallySnapshot.h"
#include "mqtt/MqttMessage.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>

// Turns the snapshots a tick hands over into the messages that say what
// changed, under one topic prefix. Each changed picture gets the next
// sequence number, so a subscriber can tell a newer state from a late
// duplicate; a light whose own state did not change is not sent again (its
// retained message still holds), the whole picture is.
//
// The word of light/N/state is live, preview or off, and unknown while the
// source is lost: a lamp then shows that it cannot be trusted rather than a
// colour that may be stale. While the test panel drives the box the word is
// what the box shows, and the JSON topics carry "test": true.
class MqttTallyState {
public:
    explicit MqttTallyState(QString prefix);

    // The messages for snapshot, taken at the given time; none when it
    // shows what the last one showed.
    QList<MqttMessage> messagesFor(const TallySnapshot& snapshot, const QDateTime& at);

    const QString& prefix() const { return m_prefix; }
    qint64 sequence() const { return m_sequence; }

    static QByteArray stateWord(const TallySnapshot& snapshot, const LightState& light);
    static QJsonObject lightObject(const TallySnapshot& snapshot, int lightNumber);

private:
    QString m_prefix;
    qint64 m_sequence = 0;
    bool m_havePublished = false;
    TallySnapshot m_last;
};
