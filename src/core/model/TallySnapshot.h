#pragma once

#include "model/TallyMode.h"

#include <QList>
#include <QStringList>

#include <optional>

// What one light shows after a tick, as every output besides the tally box
// sees it: the mode the box was told, the names of the shots assigned to it,
// those of them that the source does not have (renamed, misspelt, or
// belonging to another switcher), which can never light it, and those that
// light it now (live or in preview, as the mode says), so that whoever
// reads the light can tell which camera put it on. litBy is empty when the
// light is off, and when no shot decided its mode (the test panel's).
struct LightState {
    LightState() = default;
    LightState(TallyMode mode, QStringList shotNames, QStringList missingShots = {}, QStringList litBy = {})
        : mode(mode)
        , shotNames(std::move(shotNames))
        , missingShots(std::move(missingShots))
        , litBy(std::move(litBy))
    {
    }

    TallyMode mode = TallyMode::off;
    QStringList shotNames;
    QStringList missingShots;
    QStringList litBy;
    // With several switchers followed: one of them is lost while others
    // run, and this light's mode rests on its last state. A light a running
    // switcher makes live is not marked, as live wins whatever the lost one
    // would say. Never set while the whole source is lost: sourceRunning
    // says that for every light.
    bool sourceLost = false;

    friend bool operator==(const LightState&, const LightState&) = default;
};

// The one account of the lights that every output reads, so that no two
// outputs can disagree: each light's mode and why it may not be the
// switcher's truth.
//
// - sourceRunning false: the source is lost. The modes are what the box
//   shows under the lost-source choice (by default the last ones, frozen);
//   lostSinceMilliseconds says since when, on TallyCycle's monotonic clock.
//   An output that cannot show staleness shows that it cannot be trusted
//   (a phone says NO SIGNAL) rather than an old colour.
// - underTest true: the test panel drives the box, and the modes are what it
//   told the box, not the switcher's. Outputs show them marked as a test.
struct TallySnapshot {
    bool sourceRunning = false;
    std::optional<qint64> lostSinceMilliseconds;
    bool underTest = false;
    QList<LightState> lights;
    // The program turned every light off as it quits: the modes (all off)
    // are certain even with the source lost, and hold after the program has
    // gone.
    bool turnedOffAtQuit = false;

    // Whether the modes are not the switcher's word now: the source is lost,
    // and neither the test panel nor the lights' turning off at quit vouches
    // for what the box shows. An output that can say so says so.
    bool switcherUnknown() const { return !sourceRunning && !underTest && !turnedOffAtQuit; }

    // The same for one light of this report: the whole source is unknown,
    // or, with several switchers, the one this light rests on is lost and
    // no test vouches for the box. Every output that marks single lights
    // (MQTT's "unknown", a TSL display's "LOST") asks this.
    bool switcherUnknownFor(const LightState& light) const
    {
        return switcherUnknown() || (light.sourceLost && !underTest);
    }

    friend bool operator==(const TallySnapshot&, const TallySnapshot&) = default;
};
