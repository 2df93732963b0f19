#pragma once

#include "model/LightCount.h"
#include "model/TallyMode.h"

#include <QtGlobal>

#include <array>

// What the tally box has been told, worked out from the light command bytes
// alone: the program and the preview lamp of each of the eight lights, as
// the box would set them if it received every byte that was sent. It reads
// nothing back from the box; bytes dropped for want of a device still count,
// since the sender cannot know about them either.
//
// A byte is a command in the high nibble and a light number in the low one.
// Program on and preview on addressed to light 0 switch that channel off on
// every light. Everything the box has no meaning for (program off or preview
// off for light 0, lights above eight, other commands) changes nothing.
class LightCommandMirror {
public:
    static constexpr int numberOfLights = static_cast<int>(tallyLightCount);

    struct Lamps {
        bool program = false;
        bool preview = false;

        bool operator==(const Lamps&) const = default;
    };

    // Applies one byte; true when it changed a lamp.
    bool apply(quint8 byte);

    // The lamps of light index (0 to 7, light number index + 1).
    Lamps lamps(int lightIndex) const;

    // The light as one mode, for a single indicator: program wins over
    // preview, as on the main window, where a light is live if any of its
    // shots is live.
    TallyMode mode(int lightIndex) const;

    // Every lamp dark, as before anything was sent.
    void reset();

private:
    bool setChannel(int lightNumber, bool Lamps::*channel, bool on);
    bool clearChannel(bool Lamps::*channel);

    std::array<Lamps, numberOfLights> m_lights {};
};
