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
// shows under the lost-source choice; while the test panel drives the box,
// its lamps, with "TEST" before the text.
class TslTallyEncoding {
public:
    enum class Version {
        v31,
        v50,
    };

    // The highest offset that still gives every light a display index of
    // the version's range (3.1: 0-126; 5.0: 0-65534).
    static int maxOffset(Version version, qsizetype lightCount);

    // The text a display shows for a light: its shot names, joined by " + ",
    // after "TEST " under test.
    static QString lightText(const LightState& light, bool underTest = false);

    // One packet per light, light 1 first, unframed: receivers that read
    // only the first display of a packet still see every light.
    static QList<QByteArray> packets(
        Version version, const QList<LightState>& lights, int offset, bool underTest = false);
};
