#pragma once

#include "CommandLine.h"

// tallyctl chase: the test panel's 21-step chase, one step every 0.5 s.
CommandLine::Command chaseCommand();
