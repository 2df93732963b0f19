#pragma once

#include "mqtt/MqttMessage.h"

#include <QList>
#include <QString>

// Home Assistant's MQTT discovery: one retained config message per light
// under homeassistant/sensor/<node>/lightN/config, so that every light
// appears in Home Assistant as a sensor (live, preview, off, unknown) with
// its JSON as attributes, without any configuration there. The entities are
// available exactly while PREFIX/status says online, which the broker turns
// to offline when the program goes away.
namespace MqttDiscovery {

inline const QString discoveryPrefix = QStringLiteral("homeassistant");

// The node id: the instance with everything but letters, digits, '_' and
// '-' made '_', as Home Assistant requires of it.
QString nodeId(const QString& instance);

QList<MqttMessage> messages(const QString& prefix, const QString& instance, int lightCount);

} // namespace MqttDiscovery
