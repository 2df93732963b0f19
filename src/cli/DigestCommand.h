#pragma once

#include "CommandLine.h"

// tallyctl digest TEXT: the digest the editing lock keeps for TEXT as its
// unlock password.
CommandLine::Command digestCommand();
