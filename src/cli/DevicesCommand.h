#pragma once

#include "cli/CommandLine.h"

// tallyctl devices: the tally boxes attached now.
CommandLine::Command devicesCommand();
