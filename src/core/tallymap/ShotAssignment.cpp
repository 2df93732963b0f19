#include "tallymap/ShotAssignment.h"

#include "base/Text.h"

#include <algorithm>

namespace ShotAssignment {

namespace {

auto sameShotIdAs(const Mixdesk::Shot& shot)
{
    return [&shot](const Mixdesk::ShotPtr& record) { return Text::equal(record->shotId, shot.shotId); };
}

} // namespace

bool isEmptyLayer(const Mixdesk::Shot& shot)
{
    return Text::canonical(shot.name).endsWith(emptyLayerSuffix, Qt::CaseSensitive);
}

Mixdesk::ShotList usableShots(const Mixdesk::ShotList& allShots, bool showEmptyLayers)
{
    if (showEmptyLayers) {
        return allShots;
    }
    Mixdesk::ShotList usable;
    std::copy_if(allShots.cbegin(), allShots.cend(), std::back_inserter(usable),
        [](const Mixdesk::ShotPtr& shot) { return !isEmptyLayer(*shot); });
    return usable;
}

bool isAssigned(const Mixdesk::ShotList& assigned, const Mixdesk::Shot& shot)
{
    return std::any_of(assigned.cbegin(), assigned.cend(), sameShotIdAs(shot));
}

void assign(Mixdesk::ShotList& assigned, const Mixdesk::ShotPtr& shot)
{
    assigned.append(shot);
}

bool unassign(Mixdesk::ShotList& assigned, const Mixdesk::Shot& shot)
{
    const auto first = std::find_if(assigned.begin(), assigned.end(), sameShotIdAs(shot));
    if (first == assigned.end()) {
        return false;
    }
    assigned.erase(first);
    return true;
}

} // namespace ShotAssignment
