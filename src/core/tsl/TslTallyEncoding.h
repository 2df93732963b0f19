#pragma once

#include "model/TallySnapshot.h"

#include <QByteArray>
#include <QList>
#include <QString>

// How the lights look to a TSL UMD display. Light N is display index
// N + offset, so by default lights 1 to 8 are displays 1 to 8. A light in
// program shows tally 1 (3.1) or red on the left, right and text tallies
// (5.0); in preview tally 2 or green; off, none. The text is the light's
// shot names. While the source is lost the displays show what the tally box
// shows under the lost-source choice, with "LOST" before the text, since
// the colour is then no longer the switcher's word; while the test panel
// drives the box, its lamps, with "TEST" before the text. A light with shots
// the switcher does not have says "MISSING" and their names instead.
class TslTallyEncoding {
public:
    enum class Version {
        v31,
        v50,
    };

    // What a display says, with or instead of the shot names, when its
    // colour is not the switcher's word now or cannot be for some shots.
    enum class Mark {
        none,
        // The test panel drives the lights.
        test,
        // The switcher this light rests on is lost (the whole source, or,
        // with several switchers, the one its state comes from).
        lost,
        // Some of the light's shots are not among the switcher's: the light
        // can never light for them, whatever the switcher does with a shot
        // of another name. The display names them.
        missing,
    };

    // The mark of a light of this report. A test wins over a lost
    // switcher: the colours are then the panel's, which is true of the box.
    // A lost switcher wins over missing shots: nothing of its is known.
    // The lights turned off at quit need no mark: off is certain.
    static Mark markFor(const TallySnapshot& snapshot, const LightState& light);

    // The highest offset that still gives every light a display index of
    // the version's range (3.1: 0-126; 5.0: 0-65534).
    static int maxOffset(Version version, qsizetype lightCount);

    // The text a display shows for a light: its shot names, joined by " + ",
    // after "TEST " or "LOST " when marked ("TEST" or "LOST" alone for a
    // light without shots); "MISSING " and the missing shots' names when
    // some are missing, so that the few characters a display has name what
    // is wrong.
    static QString lightText(const LightState& light, Mark mark = Mark::none);

    // One packet per light of the report, light 1 first, unframed:
    // receivers that read only the first display of a packet still see
    // every light.
    static QList<QByteArray> packets(Version version, const TallySnapshot& snapshot, int offset);
};
