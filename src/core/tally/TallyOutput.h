#pragma once

#include "model/TallySnapshot.h"

// Somewhere the lights are shown besides the window and the tally box: a web
// page, a TSL display. Called on the main thread after every tick; an output
// never blocks it (network outputs queue their sending) and decides for
// itself whether a snapshot is a change worth sending.
class TallyOutput {
public:
    virtual ~TallyOutput() = default;

    virtual void publish(const TallySnapshot& snapshot) = 0;
};
