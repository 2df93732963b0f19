#pragma once

#include "CommandLine.h"

// tallyctl devices: the tally boxes attached now.
CommandLine::Command devicesCommand();
