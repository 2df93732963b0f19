#pragma once

#include "mqtt/MqttBackoff.h"
#include "mqtt/MqttBrokerAddress.h"
#include "mqtt/MqttOutbox.h"
#include "mqtt/MqttTallyState.h"
#include "outputs/MqttClient.h"
#include "tally/TallyOutput.h"

#include <QDateTime>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

// Publishes the lights to one MQTT broker, for wireless tally lamps, on-air
// signs and home automation. Every state topic is retained and published on
// every change; PREFIX/status is online while connected and the broker's
// last will makes it offline when the program dies or its network goes.
//
// A lamp must never show a state the program no longer vouches for: the
// lights' state expires at the broker unless said again, which the
// publisher does while connected, so that a program that is killed leaves
// nothing red behind; one that quits replaces every light's state (unknown,
// or off when it turned the lights off) before it says offline.
//
// The tick never waits on the broker: publish() hands the changed messages
// to an outbox and, while connected, to the client, which only queues them.
// A topic's next message goes only once the broker has acknowledged the one
// before: a broker that stalls with the connection still open is not sent
// every cut meanwhile, to replay them all to the lamps when it wakes, and
// the client's queue stays as short as the list of topics. While a message
// is unacknowledged, or the broker is away, the outbox keeps the latest
// message per topic, and a new connection gets the whole retained state
// again (a restarted broker may have lost it). A lost connection is tried
// again after a short back-off, and every change of condition is said on
// standard error and through conditionChanged (the window's status line),
// an attempt the broker does not answer within a few seconds too.
class MqttPublisher : public QObject, public TallyOutput {
    Q_OBJECT

public:
    struct Settings {
        MqttBrokerAddress address;
        // This machine's name in the default prefix and in discovery.
        QString instance;
        // Home Assistant discovery documents besides the state.
        bool discovery = false;
        // How long the broker keeps the lights' state unless said again.
        std::chrono::seconds stateExpiry = MqttTallyState::defaultStateExpiry;
        // How long an attempt may go unanswered before it is said; the
        // attempt goes on.
        std::chrono::milliseconds answerWait = std::chrono::seconds(3);
    };
    using Clock = std::function<QDateTime()>;

    // Starts connecting at once. The clock stamps the JSON payloads (the
    // system's by default); tests pass a quicker back-off.
    MqttPublisher(const Settings& settings, std::unique_ptr<MqttClient> client, MqttBackoff backoff = MqttBackoff(),
        Clock clock = {}, QObject* parent = nullptr);
    // Replaces the lights' state and says offline (when it said online),
    // and closes the connection in order.
    ~MqttPublisher() override;

    void publish(const TallySnapshot& snapshot) override;

    const MqttBrokerAddress& address() const { return m_settings.address; }
    QString topicPrefix() const { return m_state.prefix(); }
    bool isConnected() const { return m_connected; }
    // What keeps the lights from the broker now; empty while connected.
    QString condition() const { return m_condition; }
    // Settings and client: the publisher for the same broker goes on when
    // the operator's choices change elsewhere.
    const Settings& settings() const { return m_settings; }

Q_SIGNALS:
    void conditionChanged(const QString& condition);

private:
    void onConnected();
    void onDisconnected(const QString& reason);
    void onAcknowledged(const QString& topic);
    void onNoAnswer();
    void attempt();
    void flush();
    // Says the lights' state again before it expires at the broker.
    void refresh();
    void setCondition(const QString& condition);
    MqttMessage statusMessage(const QByteArray& payload) const;

    Settings m_settings;
    std::unique_ptr<MqttClient> m_client;
    MqttBackoff m_backoff;
    Clock m_clock;
    MqttTallyState m_state;
    MqttOutbox m_outbox;
    QTimer m_retryTimer;
    QTimer m_refreshTimer;
    QTimer m_answerTimer;
    bool m_connected = false;
    bool m_flushing = false;
    QString m_condition;
};
