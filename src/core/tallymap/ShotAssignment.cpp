#include "tallymap/ShotAssignment.h"

#include "base/Text.h"

#include <algorithm>

namespace ShotAssignment {

namespace {

auto sameShotIdAs(const Shot& shot)
{
    return [&shot](const ShotPtr& record) { return Text::equal(record->shotId, shot.shotId); };
}

} // namespace

bool isEmptyLayer(const Shot& shot)
{
    return Text::canonical(shot.name).endsWith(emptyLayerSuffix, Qt::CaseSensitive);
}

ShotList usableShots(const ShotList& allShots, bool showEmptyLayers)
{
    if (showEmptyLayers) {
        return allShots;
    }
    ShotList usable;
    std::copy_if(allShots.cbegin(), allShots.cend(), std::back_inserter(usable),
        [](const ShotPtr& shot) { return !isEmptyLayer(*shot); });
    return usable;
}

bool needsOutputMark(const ShotList& listed, const Shot& shot)
{
    if (!shot.isOnAirState) {
        return false;
    }
    return std::any_of(listed.cbegin(), listed.cend(),
        [&shot](const ShotPtr& other) { return !other->isOnAirState && Text::equal(other->name, shot.name); });
}

bool isAssigned(const ShotList& assigned, const Shot& shot)
{
    return std::any_of(assigned.cbegin(), assigned.cend(), sameShotIdAs(shot));
}

void assign(ShotList& assigned, const ShotPtr& shot)
{
    assigned.append(shot);
}

bool unassign(ShotList& assigned, const Shot& shot)
{
    const auto first = std::find_if(assigned.begin(), assigned.end(), sameShotIdAs(shot));
    if (first == assigned.end()) {
        return false;
    }
    assigned.erase(first);
    return true;
}

} // namespace ShotAssignment
