#pragma once

#include "CommandLine.h"

// tallyctl watch [--ticks N] [--json] MAP: the update cycle of the main window without
// a window. Every 0.25 s it asks Mixdesk for its shots and drives the tally
// box from the map, printing a line whenever Mixdesk starts or stops running
// or a light changes, until interrupted or after N ticks.
CommandLine::Command watchCommand();
