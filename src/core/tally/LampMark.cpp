#include "tally/LampMark.h"

#include <QCoreApplication>

namespace LampMarks {

LampMark markFor(const TallySnapshot& snapshot, bool markLost)
{
    if (snapshot.underTest) {
        return LampMark::test;
    }
    if (!snapshot.sourceRunning && markLost) {
        return LampMark::lost;
    }
    return LampMark::none;
}

LampMark markForLight(const TallySnapshot& snapshot, qsizetype lightIndex, bool markLost)
{
    const LampMark whole = markFor(snapshot, markLost);
    if (whole != LampMark::none) {
        return whole;
    }
    const bool onLostSwitcher
        = lightIndex >= 0 && lightIndex < snapshot.lights.size() && snapshot.lights[lightIndex].sourceLost;
    return onLostSwitcher ? LampMark::lost : LampMark::none;
}

LampMark markForLightOrMissing(const TallySnapshot& snapshot, qsizetype lightIndex)
{
    const LampMark mark = markForLight(snapshot, lightIndex);
    const bool missing
        = lightIndex >= 0 && lightIndex < snapshot.lights.size() && !snapshot.lights[lightIndex].missingShots.isEmpty();
    return mark == LampMark::none && missing ? LampMark::missing : mark;
}

QString lostFor(const TallySnapshot& snapshot, qint64 nowMilliseconds)
{
    if (snapshot.sourceRunning || !snapshot.lostSinceMilliseconds) {
        return {};
    }
    const qint64 seconds = qMax<qint64>(0, nowMilliseconds - *snapshot.lostSinceMilliseconds) / 1000;
    const QLatin1Char zero('0');
    if (seconds < 3600) {
        return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, zero);
    }
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg((seconds / 60) % 60, 2, 10, zero)
        .arg(seconds % 60, 2, 10, zero);
}

QString banner(const TallySnapshot& snapshot, qint64 nowMilliseconds)
{
    if (snapshot.underTest) {
        return QCoreApplication::translate("LampMarks", "Testing lights");
    }
    if (!snapshot.sourceRunning) {
        const QString since = lostFor(snapshot, nowMilliseconds);
        return since.isEmpty() ? QCoreApplication::translate("LampMarks", "Source lost")
                               : QCoreApplication::translate("LampMarks", "Source lost for %1").arg(since);
    }
    return {};
}

} // namespace LampMarks
