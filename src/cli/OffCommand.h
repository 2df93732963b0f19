#pragma once

#include "CommandLine.h"

// tallyctl off: every program and preview lamp off (0xB0, then 0xD0).
CommandLine::Command offCommand();
