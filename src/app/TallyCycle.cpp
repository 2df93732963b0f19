#include "app/TallyCycle.h"

#include "app/TallyEvaluation.h"
#include "core/FatalError.h"
#include "hardware/USBHIDAppDelegate.h"
#include "sources/ShotSource.h"
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

TallyCycle::TallyCycle(ShotSource& source, Observer& observer, SendControl sendControl)
    : m_source(&source)
    , m_observer(observer)
    , m_sendControl(std::move(sendControl))
{
}

void TallyCycle::addOutput(TallyOutput* output)
{
    if (output != nullptr && !m_outputs.contains(output)) {
        m_outputs.append(output);
    }
}

void TallyCycle::removeOutput(TallyOutput* output)
{
    m_outputs.removeAll(output);
}

void TallyCycle::updateTallyLights(Mixdesk::ShotList& shotList, TallyMap& tallyMap)
{
    TallyMapLights lights(tallyMap);
    updateTallyLights(shotList, lights);
}

void TallyCycle::updateTallyLights(Mixdesk::ShotList& shotList, Lights& lights)
{
    const bool running = m_source->isRunning();
    m_observer.setMixdeskWarningHidden(running);
    if (!running) {
        // The lights freeze in their last state: switching them off here
        // would black out the studio whenever Mixdesk is restarted.
        publish(false, lights.shotSelections());
        return;
    }
    followShotList(shotList, lights);
    driveLights(lights.shotSelections(), shotList);
    publish(true, lights.shotSelections());
}

void TallyCycle::publish(bool sourceRunning, const QList<Mixdesk::ShotList>& lights)
{
    if (m_outputs.isEmpty()) {
        return;
    }
    TallySnapshot snapshot;
    snapshot.sourceRunning = sourceRunning;
    snapshot.lights.reserve(lights.size());
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        LightState light;
        light.mode = lightIndex < m_lastModes.size() ? m_lastModes[lightIndex] : TallyMode::off;
        for (const Mixdesk::ShotPtr& shot : lights[lightIndex]) {
            light.shotNames.append(shot->name);
        }
        snapshot.lights.append(light);
    }
    for (TallyOutput* output : std::as_const(m_outputs)) {
        output->publish(snapshot);
    }
}

void TallyCycle::followShotList(Mixdesk::ShotList& shotList, Lights& lights)
{
    const qsizetype previousCount = shotList.size();
    shotList = m_source->queryShots();
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
    m_lastModes.resize(lightCount, TallyMode::off);
    for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
        const TallyMode mode = TallyEvaluation::decideLight(lights[lightIndex], shots.liveShots, shots.previewShots);
        if (lightIndex >= m_observer.indicatorCount()) {
            fatalError(QStringLiteral("no indicator for light %1: the window has %2")
                           .arg(lightIndex + 1)
                           .arg(m_observer.indicatorCount()));
        }
        m_observer.showLightMode(lightIndex, mode);
        m_lastModes[lightIndex] = mode;
        const LightCommand::BytePair bytes = TallyEvaluation::bytesForLight(lightIndex, mode);
        m_sendControl(bytes.first);
        m_sendControl(bytes.second);
    }
}
