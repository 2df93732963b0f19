#include "outputs/MqttPublisher.h"

#include "base/StandardOutput.h"
#include "model/LightCount.h"
#include "mqtt/MqttDiscovery.h"
#include "mqtt/MqttTallyTopics.h"

#include <chrono>

MqttPublisher::MqttPublisher(
    const Settings& settings, std::unique_ptr<MqttClient> client, MqttBackoff backoff, Clock clock, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_client(std::move(client))
    , m_backoff(backoff)
    , m_clock(clock ? std::move(clock) : Clock([] { return QDateTime::currentDateTimeUtc(); }))
    , m_state(settings.address.topicPrefix(settings.instance), settings.stateExpiry)
{
    if (m_settings.discovery) {
        for (const MqttMessage& config :
            MqttDiscovery::messages(m_state.prefix(), m_settings.instance, tallyLightCount)) {
            m_outbox.put(config);
        }
    }
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &MqttPublisher::attempt);
    m_refreshTimer.setInterval(m_state.refreshInterval());
    connect(&m_refreshTimer, &QTimer::timeout, this, &MqttPublisher::refresh);
    connect(m_client.get(), &MqttClient::connected, this, &MqttPublisher::onConnected);
    connect(m_client.get(), &MqttClient::disconnected, this, &MqttPublisher::onDisconnected);
    connect(m_client.get(), &MqttClient::acknowledged, this, &MqttPublisher::onAcknowledged);
    m_answerTimer.setSingleShot(true);
    m_answerTimer.setInterval(m_settings.answerWait);
    connect(&m_answerTimer, &QTimer::timeout, this, &MqttPublisher::onNoAnswer);
    m_condition = tr("MQTT %1: connecting").arg(m_settings.address.toString());
    attempt();
}

MqttPublisher::~MqttPublisher()
{
    m_client->disconnect(this);
    // Only a publisher that said online says goodbye: one that never got
    // that far (replaced at once, say) must not overwrite the state that
    // another publisher under the same prefix keeps.
    if (!m_connected) {
        m_client->close({});
        return;
    }
    QList<MqttMessage> goodbye = m_state.goodbyeMessages(m_clock());
    goodbye.append(statusMessage(MqttTallyTopics::offline));
    m_client->close(goodbye);
}

void MqttPublisher::publish(const TallySnapshot& snapshot)
{
    const QList<MqttMessage> changes = m_state.messagesFor(snapshot, m_clock());
    if (changes.isEmpty()) {
        return;
    }
    for (const MqttMessage& message : changes) {
        m_outbox.put(message);
    }
    if (m_connected) {
        flush();
    }
}

void MqttPublisher::attempt()
{
    m_answerTimer.start();
    m_client->connectToBroker();
}

void MqttPublisher::onConnected()
{
    m_answerTimer.stop();
    m_connected = true;
    m_backoff.reset();
    // Everything again: a broker that restarted may have lost what it kept,
    // and nothing of the last connection is waited for any more. Marked
    // before online goes, whose acknowledgement may send them.
    m_outbox.settleAll();
    m_outbox.markAllPending();
    m_client->publish(statusMessage(MqttTallyTopics::online));
    flush();
    m_refreshTimer.start();
    setCondition(QString());
}

void MqttPublisher::onDisconnected(const QString& reason)
{
    m_answerTimer.stop();
    m_connected = false;
    m_refreshTimer.stop();
    const auto wait = m_backoff.next();
    m_retryTimer.start(wait);
    const auto seconds = std::chrono::duration<double>(wait).count();
    setCondition(tr("MQTT %1: %2; trying again in %3 s")
                     .arg(m_settings.address.toString(), reason, QString::number(seconds, 'g', 3)));
}

void MqttPublisher::onAcknowledged(const QString& topic)
{
    m_outbox.settle(topic);
    if (m_connected) {
        flush();
    }
}

void MqttPublisher::onNoAnswer()
{
    setCondition(tr("MQTT %1: no answer from the broker within %2 s; still trying")
                     .arg(m_settings.address.toString(),
                         QString::number(std::chrono::duration<double>(m_settings.answerWait).count(), 'g', 3)));
}

void MqttPublisher::flush()
{
    // An acknowledgement that comes while sending frees its topic for the
    // round that follows, not for a flush inside this one.
    if (m_flushing) {
        return;
    }
    m_flushing = true;
    for (QList<MqttMessage> pending = m_outbox.takePending(); !pending.isEmpty(); pending = m_outbox.takePending()) {
        for (qsizetype index = 0; index < pending.size(); ++index) {
            if (!m_client->publish(pending[index])) {
                // The connection went while sending: what did not go waits
                // for the next one, which sends everything again anyway.
                for (qsizetype rest = index; rest < pending.size(); ++rest) {
                    m_outbox.settle(pending[rest].topic);
                    m_outbox.put(pending[rest]);
                }
                m_flushing = false;
                return;
            }
        }
    }
    m_flushing = false;
}

void MqttPublisher::refresh()
{
    m_outbox.markExpiringPending();
    flush();
}

void MqttPublisher::setCondition(const QString& condition)
{
    if (condition == m_condition) {
        return;
    }
    m_condition = condition;
    printErrorLine(condition.isEmpty()
            ? tr("MQTT %1: connected, topics under %2/").arg(m_settings.address.toString(), m_state.prefix())
            : condition);
    Q_EMIT conditionChanged(condition);
}

MqttMessage MqttPublisher::statusMessage(const QByteArray& payload) const
{
    return { MqttTallyTopics::status(m_state.prefix()), payload, true };
}
