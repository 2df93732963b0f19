#pragma once

#include "model/TallySnapshot.h"
#include "mqtt/MqttMessage.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>

#include <chrono>
#include <functional>
#include <optional>

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
//
// The state messages expire at the broker after stateExpiry unless they are
// said again (every refreshInterval while connected): a program that dies
// without a goodbye leaves no lamp that connects later red. A program that
// quits says goodbye instead, and that stays: every light unknown, or off
// when the program turned the lights off as it quit.
class MqttTallyState {
public:
    static constexpr std::chrono::seconds defaultStateExpiry { 15 };

    explicit MqttTallyState(QString prefix, std::chrono::seconds stateExpiry = defaultStateExpiry);

    // The messages for snapshot, taken at the given time; none when it
    // shows what the last one showed.
    QList<MqttMessage> messagesFor(const TallySnapshot& snapshot, const QDateTime& at);
    // The messages that replace every light's state when the program goes,
    // kept by the broker for good; none before the first snapshot.
    QList<MqttMessage> goodbyeMessages(const QDateTime& at);

    const QString& prefix() const { return m_prefix; }
    qint64 sequence() const { return m_sequence; }
    std::chrono::seconds stateExpiry() const { return m_stateExpiry; }
    // How often the state is said again while connected: a third of the
    // expiry, so that one late or lost refresh does not let a lamp's state
    // lapse.
    std::chrono::milliseconds refreshInterval() const;

    static QByteArray stateWord(const TallySnapshot& snapshot, const LightState& light);

private:
    // The next picture: the word and JSON of each light that send picks,
    // then the whole picture, all expiring after expiry. Every light's word
    // is word when given, else its own.
    QList<MqttMessage> picture(const TallySnapshot& snapshot, const QDateTime& at, std::chrono::seconds expiry,
        const std::function<bool(qsizetype)>& send, const std::optional<QByteArray>& word = std::nullopt);

    QString m_prefix;
    std::chrono::seconds m_stateExpiry;
    qint64 m_sequence = 0;
    bool m_havePublished = false;
    TallySnapshot m_last;
};
