#pragma once

#include "CommandLine.h"

// tallyctl decode [--json] [FILE]: decodes a query answer in AppleScript
// source notation and prints the shots.
CommandLine::Command decodeCommand();
