#pragma once

#include <QString>

// The topics under a prefix:
//   PREFIX/status           "online", or "offline" (the broker's last will)
//   PREFIX/lights           the whole picture as JSON
//   PREFIX/light/N          light N as JSON
//   PREFIX/light/N/state    light N as one word, for the simplest lamp
namespace MqttTallyTopics {

QString status(const QString& prefix);
QString lights(const QString& prefix);
QString light(const QString& prefix, int lightNumber);
QString lightState(const QString& prefix, int lightNumber);

inline const QByteArray online = QByteArrayLiteral("online");
inline const QByteArray offline = QByteArrayLiteral("offline");

} // namespace MqttTallyTopics
