#pragma once

#include "model/TallyMode.h"

#include <QList>
#include <QStringList>

// What one light shows after a tick, as outputs other than the tally box see
// it: its mode and the names of the shots assigned to it.
struct LightState {
    TallyMode mode = TallyMode::off;
    QStringList shotNames;

    friend bool operator==(const LightState&, const LightState&) = default;
};

// The whole picture after a tick. While the source is lost the lights keep
// their last modes, and sourceRunning tells the outputs that what they show
// may be stale (a phone shows "NO SIGNAL" rather than an old colour).
struct TallySnapshot {
    bool sourceRunning = false;
    QList<LightState> lights;
    // The program turned every light off as it quits: the modes (all off)
    // are certain even with the source lost, and hold after the program has
    // gone.
    bool turnedOffAtQuit = false;

    friend bool operator==(const TallySnapshot&, const TallySnapshot&) = default;
};
