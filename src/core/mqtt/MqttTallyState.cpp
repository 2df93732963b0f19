#include "mqtt/MqttTallyState.h"

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

// Whether light index must be sent again: its own state or the source's
// condition (which changes its word) changed.
bool lightChanged(const TallySnapshot& before, const TallySnapshot& after, qsizetype index)
{
    return before.sourceRunning != after.sourceRunning || before.underTest != after.underTest
        || index >= before.lights.size() || before.lights[index] != after.lights[index];
}

} // namespace

MqttTallyState::MqttTallyState(QString prefix)
    : m_prefix(std::move(prefix))
{
}

QByteArray MqttTallyState::stateWord(const TallySnapshot& snapshot, const LightState& light)
{
    // Under test the lamps follow the box, whatever the switcher; the JSON
    // topics say it is a test.
    if (!snapshot.sourceRunning && !snapshot.underTest) {
        return QByteArrayLiteral("unknown");
    }
    return tallyModeName(light.mode).toUtf8();
}

QJsonObject MqttTallyState::lightObject(const TallySnapshot& snapshot, int lightNumber)
{
    const LightState& light = snapshot.lights[lightNumber - 1];
    QJsonObject object;
    object.insert(QStringLiteral("light"), lightNumber);
    object.insert(QStringLiteral("state"), QString::fromUtf8(stateWord(snapshot, light)));
    object.insert(QStringLiteral("mode"), tallyModeName(light.mode));
    object.insert(QStringLiteral("shots"), QJsonArray::fromStringList(light.shotNames));
    object.insert(QStringLiteral("missing"), QJsonArray::fromStringList(light.missingShots));
    object.insert(QStringLiteral("sourceRunning"), snapshot.sourceRunning);
    object.insert(QStringLiteral("test"), snapshot.underTest);
    return object;
}

QList<MqttMessage> MqttTallyState::messagesFor(const TallySnapshot& snapshot, const QDateTime& at)
{
    if (m_havePublished && snapshot == m_last) {
        return {};
    }
    ++m_sequence;
    QList<MqttMessage> messages;
    QJsonArray lights;
    for (qsizetype index = 0; index < snapshot.lights.size(); ++index) {
        const int number = static_cast<int>(index) + 1;
        QJsonObject light = lightObject(snapshot, number);
        lights.append(light);
        if (m_havePublished && !lightChanged(m_last, snapshot, index)) {
            continue;
        }
        messages.append({ MqttTallyTopics::lightState(m_prefix, number), stateWord(snapshot, snapshot.lights[index]) });
        stamp(light, m_sequence, at);
        messages.append({ MqttTallyTopics::light(m_prefix, number), compact(light) });
    }
    QJsonObject whole;
    whole.insert(QStringLiteral("sourceRunning"), snapshot.sourceRunning);
    whole.insert(QStringLiteral("test"), snapshot.underTest);
    whole.insert(QStringLiteral("lights"), lights);
    stamp(whole, m_sequence, at);
    messages.append({ MqttTallyTopics::lights(m_prefix), compact(whole) });
    m_last = snapshot;
    m_havePublished = true;
    return messages;
}
