#include "mqtt/MqttTallyState.h"

#include "model/LightJson.h"
#include "mqtt/MqttTallyTopics.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void stamp(QJsonObject& object, qint64 sequence, const QDateTime& at)
{
    object.insert(QStringLiteral("sequence"), sequence);
    object.insert(QStringLiteral("timestamp"), at.toUTC().toString(Qt::ISODateWithMs));
}

QJsonObject lightObject(const TallySnapshot& snapshot, int lightNumber, const QByteArray& word)
{
    // The light as every JSON output gives it, with the word its lamp
    // shows and what the snapshot says of all lights.
    QJsonObject object = LightJson::fromState(lightNumber, snapshot.lights[lightNumber - 1]);
    object.insert(QStringLiteral("state"), QString::fromUtf8(word));
    object.insert(QStringLiteral("sourceRunning"), snapshot.sourceRunning);
    object.insert(QStringLiteral("test"), snapshot.underTest);
    return object;
}

// Whether light index must be sent again: its own state or what the
// snapshot says of all lights (which changes its word) changed.
bool lightChanged(const TallySnapshot& before, const TallySnapshot& after, qsizetype index)
{
    return before.sourceRunning != after.sourceRunning || before.turnedOffAtQuit != after.turnedOffAtQuit
        || before.underTest != after.underTest || index >= before.lights.size()
        || before.lights[index] != after.lights[index];
}

} // namespace

MqttTallyState::MqttTallyState(QString prefix, std::chrono::seconds stateExpiry)
    : m_prefix(std::move(prefix))
    , m_stateExpiry(stateExpiry)
{
}

std::chrono::milliseconds MqttTallyState::refreshInterval() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(m_stateExpiry) / 3;
}

QByteArray MqttTallyState::stateWord(const TallySnapshot& snapshot, const LightState& light)
{
    // Lights turned off at quit are off for certain, source or not; under
    // test the lamps follow the box, whatever the switcher (the JSON topics
    // say it is a test).
    if (snapshot.switcherUnknownFor(light)) {
        return QByteArrayLiteral("unknown");
    }
    return tallyModeName(light.mode).toUtf8();
}

QList<MqttMessage> MqttTallyState::messagesFor(const TallySnapshot& snapshot, const QDateTime& at)
{
    if (m_havePublished && snapshot == m_last) {
        return {};
    }
    const bool first = !m_havePublished;
    const QList<MqttMessage> messages = picture(
        snapshot, at, m_stateExpiry, [&](qsizetype index) { return first || lightChanged(m_last, snapshot, index); });
    m_last = snapshot;
    m_havePublished = true;
    return messages;
}

QList<MqttMessage> MqttTallyState::goodbyeMessages(const QDateTime& at)
{
    if (!m_havePublished) {
        return {};
    }
    // Lights the program turned off stay off on the box after it has gone;
    // any other light the program no longer vouches for, whatever it shows.
    const QByteArray word = m_last.turnedOffAtQuit ? QByteArrayLiteral("off") : QByteArrayLiteral("unknown");
    return picture(
        m_last, at, std::chrono::seconds(0), [](qsizetype) { return true; }, word);
}

QList<MqttMessage> MqttTallyState::picture(const TallySnapshot& snapshot, const QDateTime& at,
    std::chrono::seconds expiry, const std::function<bool(qsizetype)>& send, const std::optional<QByteArray>& word)
{
    ++m_sequence;
    QList<MqttMessage> messages;
    QJsonArray lights;
    for (qsizetype index = 0; index < snapshot.lights.size(); ++index) {
        const int number = static_cast<int>(index) + 1;
        const QByteArray lightWord = word ? *word : stateWord(snapshot, snapshot.lights[index]);
        QJsonObject light = lightObject(snapshot, number, lightWord);
        lights.append(light);
        if (!send(index)) {
            continue;
        }
        messages.append({ MqttTallyTopics::lightState(m_prefix, number), lightWord, true, expiry });
        stamp(light, m_sequence, at);
        messages.append({ MqttTallyTopics::light(m_prefix, number), compact(light), true, expiry });
    }
    QJsonObject whole;
    whole.insert(QStringLiteral("sourceRunning"), snapshot.sourceRunning);
    whole.insert(QStringLiteral("test"), snapshot.underTest);
    whole.insert(QStringLiteral("lights"), lights);
    stamp(whole, m_sequence, at);
    messages.append({ MqttTallyTopics::lights(m_prefix), compact(whole), true, expiry });
    return messages;
}
