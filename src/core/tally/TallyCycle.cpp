#include "tally/TallyCycle.h"

#include "base/FatalError.h"
#include "sources/ShotSource.h"
#include "tally/TallyEvaluation.h"
#include "tallymap/TallyMap.h"

#include <QElapsedTimer>

namespace {

// The program's tally map as the cycle sees it.
class TallyMapLights : public TallyCycle::Lights {
public:
    explicit TallyMapLights(TallyMap& map)
        : m_map(map)
    {
    }

    const QList<ShotList>& shotSelections() const override { return m_map.shotSelections(); }
    void resolveShotIds(const ShotList& shots) override { m_map.resolveShotIds(shots); }
    bool refreshShotNames(const ShotList& shots) override { return m_map.refreshShotNames(shots); }

private:
    TallyMap& m_map;
};

} // namespace

TallyCycle::SendLight TallyCycle::byteByByte(SendByte send)
{
    return [send = std::move(send)](qsizetype, LightCommand::BytePair bytes) {
        send(bytes.first);
        send(bytes.second);
    };
}

qint64 TallyCycle::monotonicMilliseconds()
{
    static QElapsedTimer clock;
    if (!clock.isValid()) {
        clock.start();
    }
    return clock.elapsed();
}

TallyCycle::TallyCycle(ShotSource& source, Observer& observer, SendLight sendLight)
    : m_source(&source)
    , m_observer(observer)
    , m_sendLight(std::move(sendLight))
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

void TallyCycle::updateTallyLights(ShotList& shotList, TallyMap& tallyMap)
{
    TallyMapLights lights(tallyMap);
    updateTallyLights(shotList, lights);
}

void TallyCycle::updateTallyLights(ShotList& shotList, Lights& lights)
{
    const bool running = m_source->isRunning();
    m_sourceRunning = running;
    m_observer.setMixdeskWarningHidden(running);
    if (!running) {
        // By default the lights freeze in their last state: switching them
        // off here would black out the studio whenever Mixdesk is
        // restarted. The user may choose otherwise.
        followPolicyWhileLost(lights.shotSelections().size());
        publish(false, false, lights.shotSelections());
        return;
    }
    m_lostSince.reset();
    followShotList(shotList, lights);
    noteMissingShots(lights.shotSelections(), shotList);
    m_onLostSources = TallyEvaluation::lightsOnLostSources(lights.shotSelections(), shotList);
    driveLights(lights.shotSelections(), shotList);
    publish(true, false, lights.shotSelections());
}

void TallyCycle::showLightsUnderTest(const QList<TallyMode>& modes, const QList<ShotList>& lights)
{
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        const TallyMode mode = lightIndex < modes.size() ? modes[lightIndex] : TallyMode::off;
        if (lightIndex < m_observer.indicatorCount()) {
            m_observer.showLightMode(lightIndex, mode);
        }
        noteShown(lightIndex, mode);
    }
    publish(m_sourceRunning, true, lights);
}

void TallyCycle::noteMissingShots(const QList<ShotList>& lights, const ShotList& shotList)
{
    // An empty answer says nothing about which shots exist (a failed query
    // gives one too); what was flagged stays flagged until shots come. Nor
    // does one from several switchers before all of them have answered.
    if (shotList.isEmpty() || !m_source->knowsEveryShot()) {
        m_missingShots.resize(lights.size());
        return;
    }
    m_missingShots = TallyEvaluation::missingShots(lights, shotList);
}

void TallyCycle::publish(bool sourceRunning, bool underTest, const QList<ShotList>& lights, bool turnedOffAtQuit)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = sourceRunning;
    snapshot.lostSinceMilliseconds = m_lostSince;
    snapshot.underTest = underTest;
    snapshot.turnedOffAtQuit = turnedOffAtQuit;
    snapshot.lights.reserve(lights.size());
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        LightState light;
        light.mode = m_shownModes.value(lightIndex, TallyMode::off);
        light.shotNames.reserve(lights[lightIndex].size());
        for (const ShotPtr& shot : lights[lightIndex]) {
            light.shotNames.append(shot->name);
        }
        light.missingShots = m_missingShots.value(lightIndex);
        light.litBy = m_shownLitBy.value(lightIndex);
        // The whole source lost says it of every light already.
        light.sourceLost = sourceRunning && !turnedOffAtQuit && m_onLostSources.value(lightIndex, false);
        snapshot.lights.append(std::move(light));
    }
    m_lastSnapshot = snapshot;
    for (TallyOutput* output : std::as_const(m_outputs)) {
        output->publish(m_lastSnapshot);
    }
}

void TallyCycle::followPolicyWhileLost(qsizetype lightCount)
{
    const qint64 now = m_clock();
    if (!m_lostSince) {
        m_lostSince = now;
    }
    switch (m_policy.action) {
    case LostSourcePolicy::Action::keepLights:
        return;
    case LostSourcePolicy::Action::turnOff:
        for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
            showAndSend(lightIndex, TallyMode::off);
        }
        endRound();
        return;
    case LostSourcePolicy::Action::blink: {
        const qint64 blinking = now - *m_lostSince - qint64(m_policy.blinkAfterSeconds) * 1000;
        if (blinking < 0) {
            return; // still the grace period: a quick restart goes unseen
        }
        // The dark half first, so the change is seen as soon as the grace
        // period ends.
        const bool dark = (blinking / LostSourcePolicy::blinkHalfPeriodMilliseconds) % 2 == 0;
        for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
            const TallyMode held = lightIndex < m_lastModes.size() ? m_lastModes[lightIndex] : TallyMode::off;
            if (dark) {
                showAndSend(lightIndex, TallyMode::off);
            } else {
                showAndSend(lightIndex, held, m_lastLitBy.value(lightIndex));
            }
        }
        endRound();
        return;
    }
    }
}

void TallyCycle::turnLightsOff(const QList<ShotList>& lights)
{
    m_lastModes.fill(TallyMode::off, lights.size());
    m_lastLitBy.fill({}, lights.size());
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        showAndSend(lightIndex, TallyMode::off);
    }
    endRound();
    // Else the outputs would keep the last tick's picture, and a network
    // lamp stay red after the box went dark.
    publish(!m_lostSince.has_value(), false, lights, true);
}

void TallyCycle::showAndSend(qsizetype lightIndex, TallyMode mode, const QStringList& litBy)
{
    noteShown(lightIndex, mode, litBy);
    if (lightIndex < m_observer.indicatorCount()) {
        m_observer.showLightMode(lightIndex, mode);
    }
    m_sendLight(lightIndex, TallyEvaluation::bytesForLight(lightIndex, mode));
}

void TallyCycle::noteShown(qsizetype lightIndex, TallyMode mode, const QStringList& litBy)
{
    if (lightIndex >= m_shownModes.size()) {
        m_shownModes.resize(lightIndex + 1, TallyMode::off);
    }
    if (lightIndex >= m_shownLitBy.size()) {
        m_shownLitBy.resize(lightIndex + 1);
    }
    m_shownModes[lightIndex] = mode;
    m_shownLitBy[lightIndex] = litBy;
}

void TallyCycle::followShotList(ShotList& shotList, Lights& lights)
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

void TallyCycle::driveLights(const QList<ShotList>& lights, const ShotList& shotList)
{
    const TallyEvaluation::SplitShots shots = TallyEvaluation::splitShots(shotList);
    const qsizetype lightCount = lights.size();
    m_lastModes.resize(lightCount, TallyMode::off);
    m_lastLitBy.resize(lightCount);
    m_shownModes.resize(lightCount, TallyMode::off);
    m_shownLitBy.resize(lightCount);
    for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
        const TallyMode mode = TallyEvaluation::decideLight(lights[lightIndex], shots.liveShots, shots.previewShots);
        if (lightIndex >= m_observer.indicatorCount()) {
            fatalError(QStringLiteral("no indicator for light %1: the window has %2")
                           .arg(lightIndex + 1)
                           .arg(m_observer.indicatorCount()));
        }
        m_lastModes[lightIndex] = mode;
        m_shownModes[lightIndex] = mode;
        m_lastLitBy[lightIndex] = TallyEvaluation::shotsLighting(lights[lightIndex], shots, mode);
        m_shownLitBy[lightIndex] = m_lastLitBy[lightIndex];
        m_observer.showLightMode(lightIndex, mode);
        m_sendLight(lightIndex, TallyEvaluation::bytesForLight(lightIndex, mode));
    }
    endRound();
}

void TallyCycle::endRound()
{
    if (m_roundHandedIn) {
        m_roundHandedIn();
    }
}
