#pragma once

// Builds the production application's answer to the shot query, in the
// notation the query script prints, from a short description of each shot.

#include <QList>
#include <QString>
#include <QStringList>

struct ShotSpec {
    QString shotId;
    QString name;
    bool isLive = false;
    bool isPreview = false;
};

inline QString shotsNotation(const QList<ShotSpec>& shots)
{
    const auto quoted = [](QString text) {
        text.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
        return QLatin1Char('"') + text + QLatin1Char('"');
    };
    const auto boolean = [](bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); };
    QStringList records;
    for (const ShotSpec& shot : shots) {
        records.append(QStringLiteral("{shotId:%1, shotName:%2, isLive:%3, isPreview:%4}")
                           .arg(quoted(shot.shotId), quoted(shot.name), boolean(shot.isLive), boolean(shot.isPreview)));
    }
    return QLatin1Char('{') + records.join(QStringLiteral(", ")) + QLatin1Char('}');
}
