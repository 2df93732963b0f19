#include "tallymap/TallyMap.h"

#include "base/FatalError.h"
#include "base/Text.h"
#include "tallymap/TallyMapFormat.h"

#include <QHash>

namespace {

// Later shots overwrite earlier ones, so when a key repeats the last shot
// in the list is the one found.
template<typename KeyOf> QHash<QString, ShotPtr> indexShots(const ShotList& shots, KeyOf keyOf)
{
    QHash<QString, ShotPtr> index;
    index.reserve(shots.size());
    for (const ShotPtr& shot : shots) {
        index.insert(Text::canonical(keyOf(*shot)), shot);
    }
    return index;
}

Error readError(const QString& message)
{
    return Error { NSOSStatusErrorDomain, 0, message };
}

} // namespace

TallyMap::TallyMap()
    : m_shotSelections(numberOfLights)
{
}

void TallyMap::requireLightIndex(qint64 lightIndex)
{
    if (lightIndex < 0 || lightIndex >= numberOfLights) {
        fatalError(
            QStringLiteral("tally map light index %1 is outside 0 to %2").arg(lightIndex).arg(numberOfLights - 1));
    }
}

const ShotList& TallyMap::shotSelection(qint64 lightIndex) const
{
    requireLightIndex(lightIndex);
    return m_shotSelections[lightIndex];
}

void TallyMap::setShotSelection(qint64 lightIndex, ShotList shots)
{
    requireLightIndex(lightIndex);
    for (const ShotPtr& shot : shots) {
        if (!shot) {
            fatalError(
                QStringLiteral("tally map light %1 was given a list with a missing shot record").arg(lightIndex));
        }
    }
    m_shotSelections[lightIndex] = std::move(shots);
}

void TallyMap::resolveShotIds(const ShotList& shots)
{
    const QHash<QString, ShotPtr> byName = indexShots(shots, [](const Shot& shot) { return shot.name; });
    for (const ShotList& light : std::as_const(m_shotSelections)) {
        for (const ShotPtr& record : light) {
            const auto found = byName.constFind(Text::canonical(record->name));
            if (found != byName.cend()) {
                record->shotId = found.value()->shotId;
            }
        }
    }
}

bool TallyMap::refreshShotNames(const ShotList& shots)
{
    const QHash<QString, ShotPtr> byId = indexShots(shots, [](const Shot& shot) { return shot.shotId; });
    bool changed = false;
    for (const ShotList& light : std::as_const(m_shotSelections)) {
        for (const ShotPtr& record : light) {
            const auto found = byId.constFind(Text::canonical(record->shotId));
            if (found != byId.cend() && !Text::equal(found.value()->name, record->name)) {
                record->name = found.value()->name;
                changed = true;
            }
        }
    }
    return changed;
}

QByteArray TallyMap::dataOfType(const QString& /*type*/) const
{
    return TallyMapFormat::write(m_shotSelections);
}

bool TallyMap::readFromData(const QByteArray& data, const QString& /*type*/, Error* error)
{
    // No range check here: a line naming a light outside the map stops the
    // process in setShotSelection. Callers that read files from users check
    // the indices first (TallyMapFormat::firstIndexOutside).
    qsizetype failedLine = 0;
    QString failure;
    const bool read = TallyMapFormat::readRecords(
        data,
        [this](qint64 lightIndex, ShotList records) {
            setShotSelection(lightIndex, std::move(records));
            return true;
        },
        &failure, &failedLine);
    if (!read && error) {
        *error = readError(failure);
        error->line = failedLine;
    }
    return read;
}
