#pragma once

#include "hardware/LightCommand.h"
#include "model/Shot.h"
#include "model/TallyMode.h"

#include <QList>
#include <QStringList>

// What each tally light shows for a given shot list, and the bytes that tell
// the device. Shots are matched by name alone (Text::equal); the shotId plays
// no part. The update tick walks the lights itself, one by one, so that it can
// set a light's indicator before it sends that light's bytes:
//
//   const auto shots = TallyEvaluation::splitShots(shotList);
//   for (qsizetype i = 0; i < lights.size(); ++i) {
//       const TallyMode mode = TallyEvaluation::decideLight(lights[i], shots.liveShots, shots.previewShots);
//       ... set indicator i ...
//       const auto bytes = TallyEvaluation::bytesForLight(i, mode);  // send first, then second
//   }
namespace TallyEvaluation {

// The live shots and the preview shots of a shot list, each in list order.
// A shot may be in both.
struct SplitShots {
    ShotList liveShots;
    ShotList previewShots;
};
SplitShots splitShots(const ShotList& shotList);

// Whether any assigned shot has the name of any candidate: assigned shots in
// order, for each the candidates in order, stopping at the first match.
bool anyNameMatches(const ShotList& assigned, const ShotList& candidates);

// One light: live if an assigned shot is live, otherwise preview if one is in
// preview, otherwise off. An empty assignment is off.
TallyMode decideLight(const ShotList& assigned, const ShotList& liveShots, const ShotList& previewShots);

// The names of the assigned shots that give a light mode: those that are
// live for live, in preview for preview, in assignment order; none for off.
// The shots are named as the light's assignment names them.
QStringList shotsLighting(const ShotList& assigned, const SplitShots& shots, TallyMode mode);

// Per light, the names of the assigned shots that no shot of shotList
// carries, in assignment order: a light can never light for them. Each list
// is empty when every assigned shot is there.
QList<QStringList> missingShots(const QList<ShotList>& lights, const ShotList& shotList);

// Per light, whether its mode rests on a lost switcher's last state: one of
// its shots comes from a switcher that is lost (Shot::fromLostSource), and
// no shot of a running switcher makes it live (live wins whatever the lost
// one would say now). All false when no shot is from a lost switcher.
QList<bool> lightsOnLostSources(const QList<ShotList>& lights, const ShotList& shotList);

// The two bytes for light index i (light number i + 1), program byte first.
LightCommand::BytePair bytesForLight(qsizetype lightIndex, TallyMode mode);

// The whole map at once: one mode per light, the shots that lit each one,
// and every light's two bytes in the order they are sent (light 1 first,
// program byte before preview byte).
struct Evaluation {
    QList<TallyMode> modes;
    QList<QStringList> litBy;
    QList<quint8> bytes;
};
Evaluation evaluate(const QList<ShotList>& lights, const ShotList& shotList);

} // namespace TallyEvaluation
