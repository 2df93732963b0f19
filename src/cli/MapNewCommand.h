#pragma once

#include "CommandLine.h"

#include <QStringList>

// "tallyctl map new [--source SOURCE] [--force] FILE": a tally map to start
// from. With a source, its first eight cameras or scenes in the switcher's
// order go on lights 1 to 8, one each, as the switcher names them (its
// on-air states are left for the user to place); without one, every
// light is left empty. An existing FILE is kept unless --force is given, and
// nothing is written when the source gives no shots in time.
namespace MapNewCommand {

// arguments: everything after "map new". command: the map command, for its
// usage line.
int run(const CommandLine::Command& command, QStringList arguments);

} // namespace MapNewCommand
