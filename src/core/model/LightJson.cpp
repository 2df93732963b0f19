#include "model/LightJson.h"

#include <QJsonArray>

QJsonObject LightJson::assigned(int lightNumber, const QStringList& shotNames)
{
    return QJsonObject {
        { QStringLiteral("light"), lightNumber },
        { QStringLiteral("shots"), QJsonArray::fromStringList(shotNames) },
    };
}

QJsonObject LightJson::fromState(int lightNumber, const LightState& light)
{
    QJsonObject object = assigned(lightNumber, light.shotNames);
    object.insert(QStringLiteral("mode"), tallyModeName(light.mode));
    object.insert(QStringLiteral("litBy"), QJsonArray::fromStringList(light.litBy));
    object.insert(QStringLiteral("missing"), QJsonArray::fromStringList(light.missingShots));
    // Said only when true: it concerns several switchers followed at once,
    // and a reader written for one switcher has nothing to miss.
    if (light.sourceLost) {
        object.insert(QStringLiteral("lost"), true);
    }
    return object;
}
