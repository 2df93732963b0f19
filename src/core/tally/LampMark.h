#pragma once

#include "model/TallySnapshot.h"

#include <QString>

// What a lamp on screen says, besides its colour, when the light report
// shows a state that is not the switcher's now. Worked out here, away from
// any widget, so that the main window, Big Tally and the tests agree.
enum class LampMark {
    none,
    // The source is lost: the colour is at best the last one it gave.
    lost,
    // The test panel drives the lights: the colour is the panel's.
    test,
    // Some of the light's shots are not among the switcher's: the colour is
    // the switcher's word for the others, but the light can never light for
    // those. Only where nothing else on screen says so (Big Tally).
    missing,
};

namespace LampMarks {

// The mark of every lamp for this report. A test wins over a lost source:
// the lamps then show what the panel told the box, which is true of the box.
// markLost false leaves a lost source unmarked (the main window's default,
// where the warning under the lamps says it).
LampMark markFor(const TallySnapshot& snapshot, bool markLost = true);

// The mark of one lamp: the report's own, else lost while the light rests
// on a switcher that is lost as others run (LightState::sourceLost). That
// is marked even with markLost false: the warning under the lamps is not
// shown while any switcher runs, and no other word says which lights it
// concerns.
LampMark markForLight(const TallySnapshot& snapshot, qsizetype lightIndex, bool markLost = true);

// As markForLight, and missing where that gives none and the switcher lacks
// some of the light's shots: for a view with nowhere else to say so (Big
// Tally). The main window flags them on the light's assignment button and
// keeps its lamps as they are.
LampMark markForLightOrMissing(const TallySnapshot& snapshot, qsizetype lightIndex);

// How long the source has been lost at nowMilliseconds (same clock as the
// report's), as a clock reads: "0:07", "12:34", "1:02:03". Empty while it
// is not lost.
QString lostFor(const TallySnapshot& snapshot, qint64 nowMilliseconds);

// One line over the lamps for a screen that hides the status line:
// "Testing lights", "Source lost for 0:42", or empty when the lights are the
// switcher's.
QString banner(const TallySnapshot& snapshot, qint64 nowMilliseconds);

} // namespace LampMarks
