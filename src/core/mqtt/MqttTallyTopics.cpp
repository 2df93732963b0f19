#include "mqtt/MqttTallyTopics.h"

namespace MqttTallyTopics {

QString status(const QString& prefix)
{
    return prefix + QStringLiteral("/status");
}

QString lights(const QString& prefix)
{
    return prefix + QStringLiteral("/lights");
}

QString light(const QString& prefix, int lightNumber)
{
    return prefix + QStringLiteral("/light/") + QString::number(lightNumber);
}

QString lightState(const QString& prefix, int lightNumber)
{
    return light(prefix, lightNumber) + QStringLiteral("/state");
}

} // namespace MqttTallyTopics
