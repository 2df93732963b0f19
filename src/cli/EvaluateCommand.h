#pragma once

#include "CommandLine.h"

// tallyctl evaluate [--json] MAP ANSWER: what every light of a tally map
// shows for one query answer, and the bytes the tally box gets.
CommandLine::Command evaluateCommand();
