#include "tally/TallyEvaluation.h"

#include "base/Text.h"

#include <QSet>

namespace TallyEvaluation {

SplitShots splitShots(const ShotList& shotList)
{
    SplitShots split;
    for (const ShotPtr& shot : shotList) {
        if (shot->isLive) {
            split.liveShots.append(shot);
        }
        if (shot->isPreview) {
            split.previewShots.append(shot);
        }
    }
    return split;
}

bool anyNameMatches(const ShotList& assigned, const ShotList& candidates)
{
    // Plain nested scans: both lists hold a handful of shots, and nothing is
    // kept from one tick to the next.
    for (const ShotPtr& record : assigned) {
        for (const ShotPtr& candidate : candidates) {
            if (Text::equal(record->name, candidate->name)) {
                return true;
            }
        }
    }
    return false;
}

TallyMode decideLight(const ShotList& assigned, const ShotList& liveShots, const ShotList& previewShots)
{
    // Live wins over preview, so the preview scan only matters when no
    // assigned shot is live.
    if (anyNameMatches(assigned, liveShots)) {
        return TallyMode::live;
    }
    if (anyNameMatches(assigned, previewShots)) {
        return TallyMode::preview;
    }
    return TallyMode::off;
}

QStringList shotsLighting(const ShotList& assigned, const SplitShots& shots, TallyMode mode)
{
    if (mode == TallyMode::off) {
        return {};
    }
    const ShotList& candidates = mode == TallyMode::live ? shots.liveShots : shots.previewShots;
    QStringList names;
    for (const ShotPtr& record : assigned) {
        if (anyNameMatches({ record }, candidates) && !names.contains(record->name)) {
            names.append(record->name);
        }
    }
    return names;
}

QList<QStringList> missingShots(const QList<ShotList>& lights, const ShotList& shotList)
{
    // One canonical form per known name, so that a thousand shots cost a
    // thousand normalisations a tick rather than one per light and shot.
    QSet<QString> known;
    known.reserve(shotList.size());
    for (const ShotPtr& shot : shotList) {
        known.insert(Text::canonical(shot->name));
    }
    QList<QStringList> missing(lights.size());
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        for (const ShotPtr& assigned : lights[lightIndex]) {
            if (!known.contains(Text::canonical(assigned->name))) {
                missing[lightIndex].append(assigned->name);
            }
        }
    }
    return missing;
}

QList<bool> lightsOnLostSources(const QList<ShotList>& lights, const ShotList& shotList)
{
    ShotList lost;
    ShotList liveAndRunning;
    for (const ShotPtr& shot : shotList) {
        if (shot->fromLostSource) {
            lost.append(shot);
        } else if (shot->isLive) {
            liveAndRunning.append(shot);
        }
    }
    QList<bool> onLost(lights.size(), false);
    if (lost.isEmpty()) {
        return onLost;
    }
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        onLost[lightIndex]
            = anyNameMatches(lights[lightIndex], lost) && !anyNameMatches(lights[lightIndex], liveAndRunning);
    }
    return onLost;
}

LightCommand::BytePair bytesForLight(qsizetype lightIndex, TallyMode mode)
{
    return LightCommand::bytesForMode(mode, static_cast<qint64>(lightIndex) + 1);
}

Evaluation evaluate(const QList<ShotList>& lights, const ShotList& shotList)
{
    const SplitShots shots = splitShots(shotList);
    Evaluation evaluation;
    evaluation.modes.reserve(lights.size());
    evaluation.litBy.reserve(lights.size());
    evaluation.bytes.reserve(lights.size() * 2);
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        const TallyMode mode = decideLight(lights[lightIndex], shots.liveShots, shots.previewShots);
        const LightCommand::BytePair bytes = bytesForLight(lightIndex, mode);
        evaluation.modes.append(mode);
        evaluation.litBy.append(shotsLighting(lights[lightIndex], shots, mode));
        evaluation.bytes.append(bytes.first);
        evaluation.bytes.append(bytes.second);
    }
    return evaluation;
}

} // namespace TallyEvaluation
