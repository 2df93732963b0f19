#include "app/TallyCycle.h"

#include "app/TallyEvaluation.h"
#include "core/FatalError.h"
#include "hardware/USBHIDAppDelegate.h"
#include "tallymap/TallyMap.h"

namespace {

// The program's tally map as the cycle sees it.
class TallyMapLights : public TallyCycle::Lights {
public:
    explicit TallyMapLights(TallyMap& map)
        : m_map(map)
    {
    }

    const QList<Mixdesk::ShotList>& shotSelections() const override { return m_map.shotSelections(); }
    void resolveShotIds(const Mixdesk::ShotList& shots) override { m_map.resolveShotIds(shots); }
    bool refreshShotNames(const Mixdesk::ShotList& shots) override { return m_map.refreshShotNames(shots); }

private:
    TallyMap& m_map;
};

} // namespace

void TallyCycle::sendToSharedDevice(quint8 command)
{
    USBHIDAppDelegate::shared().sendControl(command);
}

TallyCycle::TallyCycle(Mixdesk& mixdesk, Observer& observer, SendControl sendControl)
    : m_mixdesk(mixdesk)
    , m_observer(observer)
    , m_sendControl(std::move(sendControl))
{
}

void TallyCycle::updateTallyLights(Mixdesk::ShotList& shotList, TallyMap& tallyMap)
{
    TallyMapLights lights(tallyMap);
    updateTallyLights(shotList, lights);
}

void TallyCycle::updateTallyLights(Mixdesk::ShotList& shotList, Lights& lights)
{
    const int runningCount = m_mixdesk.runningApplicationCount();
    m_observer.setMixdeskWarningHidden(runningCount != 0);
    if (runningCount == 0) {
        // The lights freeze in their last state: switching them off here
        // would black out the studio whenever Mixdesk is restarted.
        return;
    }
    followShotList(shotList, lights);
    driveLights(lights.shotSelections(), shotList);
}

void TallyCycle::followShotList(Mixdesk::ShotList& shotList, Lights& lights)
{
    const qsizetype previousCount = shotList.size();
    shotList = m_mixdesk.queryShots();
    if (shotList.isEmpty()) {
        // A failed query says nothing about the assignments; editing stays
        // as it was.
        return;
    }
    m_observer.setEnableEditing(true);
    if (previousCount != 0) {
        // Same session of Mixdesk: follow renames by id.
        if (lights.refreshShotNames(shotList)) {
            m_observer.refreshAssignmentTitles();
        }
    } else {
        // First shots after none: the stored ids may be stale, the names are
        // what lasts.
        lights.resolveShotIds(shotList);
    }
}

void TallyCycle::driveLights(const QList<Mixdesk::ShotList>& lights, const Mixdesk::ShotList& shotList)
{
    const TallyEvaluation::SplitShots shots = TallyEvaluation::splitShots(shotList);
    const qsizetype lightCount = lights.size();
    for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
        const TallyMode mode = TallyEvaluation::decideLight(lights[lightIndex], shots.liveShots, shots.previewShots);
        if (lightIndex >= m_observer.indicatorCount()) {
            fatalError(QStringLiteral("no indicator for light %1: the window has %2")
                           .arg(lightIndex + 1)
                           .arg(m_observer.indicatorCount()));
        }
        m_observer.showLightMode(lightIndex, mode);
        const LightCommand::BytePair bytes = TallyEvaluation::bytesForLight(lightIndex, mode);
        m_sendControl(bytes.first);
        m_sendControl(bytes.second);
    }
}
