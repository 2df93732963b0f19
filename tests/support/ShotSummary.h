#pragma once

// A shot list in one line per shot, for comparing what a source reports.

#include "model/Shot.h"

#include <QStringList>

// "name:LP" per shot: L when live, P when in preview.
inline QStringList shotSummary(const ShotList& shots)
{
    QStringList lines;
    for (const ShotPtr& shot : shots) {
        lines.append(shot->name + QLatin1Char(':') + (shot->isLive ? QStringLiteral("L") : QString())
            + (shot->isPreview ? QStringLiteral("P") : QString()));
    }
    return lines;
}
