#pragma once

// The lights' modes as the web tally page's state answer gives them
// ("live", "preview", "off"), light 1 first; empty while the page does not
// answer.

#include "net/outputs/WebTallyClient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

inline QStringList webLightModes(quint16 port)
{
    const HttpAnswer answer = httpGet(port, QStringLiteral("/api/lights"));
    QStringList modes;
    const QJsonArray lights = QJsonDocument::fromJson(answer.body).object().value(QStringLiteral("lights")).toArray();
    for (const QJsonValue& light : lights) {
        modes.append(light.toObject().value(QStringLiteral("mode")).toString());
    }
    return modes;
}
