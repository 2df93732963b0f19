#include "mqtt/MqttDiscovery.h"

#include "mqtt/MqttTallyTopics.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace MqttDiscovery {

namespace {

QJsonObject device(const QString& node, const QString& instance)
{
    QJsonObject device;
    device.insert(QStringLiteral("identifiers"), QJsonArray { QStringLiteral("mixdesk-tally_") + node });
    device.insert(QStringLiteral("name"), QStringLiteral("Mixdesk Tally (%1)").arg(instance));
    device.insert(QStringLiteral("model"), QStringLiteral("Mixdesk Tally"));
    device.insert(QStringLiteral("sw_version"), QStringLiteral(TALLY_VERSION));
    return device;
}

QJsonObject lightConfig(const QString& prefix, const QString& node, const QString& instance, int number)
{
    QJsonObject config;
    config.insert(QStringLiteral("name"), QStringLiteral("Tally light %1").arg(number));
    config.insert(QStringLiteral("unique_id"), QStringLiteral("mixdesk-tally_%1_light%2").arg(node).arg(number));
    config.insert(QStringLiteral("state_topic"), MqttTallyTopics::lightState(prefix, number));
    config.insert(QStringLiteral("json_attributes_topic"), MqttTallyTopics::light(prefix, number));
    config.insert(QStringLiteral("availability_topic"), MqttTallyTopics::status(prefix));
    config.insert(QStringLiteral("payload_available"), QString::fromUtf8(MqttTallyTopics::online));
    config.insert(QStringLiteral("payload_not_available"), QString::fromUtf8(MqttTallyTopics::offline));
    config.insert(QStringLiteral("device_class"), QStringLiteral("enum"));
    config.insert(QStringLiteral("options"),
        QJsonArray {
            QStringLiteral("live"), QStringLiteral("preview"), QStringLiteral("off"), QStringLiteral("unknown") });
    config.insert(QStringLiteral("icon"), QStringLiteral("mdi:cctv"));
    config.insert(QStringLiteral("device"), device(node, instance));
    return config;
}

} // namespace

QString nodeId(const QString& instance)
{
    QString node = instance;
    for (QChar& c : node) {
        const bool allowed = (c >= QLatin1Char('a') && c <= QLatin1Char('z'))
            || (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) || (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
            || c == QLatin1Char('_') || c == QLatin1Char('-');
        if (!allowed) {
            c = QLatin1Char('_');
        }
    }
    return node;
}

QList<MqttMessage> messages(const QString& prefix, const QString& instance, int lightCount)
{
    const QString node = nodeId(instance);
    QList<MqttMessage> configs;
    for (int number = 1; number <= lightCount; ++number) {
        configs.append({ QStringLiteral("%1/sensor/%2/light%3/config").arg(discoveryPrefix, node).arg(number),
            QJsonDocument(lightConfig(prefix, node, instance, number)).toJson(QJsonDocument::Compact) });
    }
    return configs;
}

} // namespace MqttDiscovery
