#pragma once

#include "CommandLine.h"

// tallyctl map show [--json] FILE: the lights of a tally map file and the
// shot names assigned to each.
CommandLine::Command mapCommand();
