#include "tally/MissingShotChanges.h"

QList<MissingShotChanges::Change> MissingShotChanges::changesFor(const TallySnapshot& snapshot)
{
    QList<Change> changes;
    const qsizetype lightCount = snapshot.lights.size();
    m_missing.resize(lightCount);
    for (qsizetype index = 0; index < lightCount; ++index) {
        const LightState& light = snapshot.lights[index];
        const int number = static_cast<int>(index) + 1;
        for (const QString& shot : light.missingShots) {
            if (!m_missing[index].contains(shot)) {
                changes.append({ number, shot, true });
            }
        }
        for (const QString& shot : std::as_const(m_missing[index])) {
            if (!light.missingShots.contains(shot) && light.shotNames.contains(shot)) {
                changes.append({ number, shot, false });
            }
        }
        m_missing[index] = light.missingShots;
    }
    return changes;
}
