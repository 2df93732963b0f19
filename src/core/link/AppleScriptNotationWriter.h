#pragma once

#include "link/AppleEventDescriptor.h"

#include <QString>

// Writes a value in AppleScript source notation, the way `osascript -s s`
// prints a result, so that AppleScriptNotationParser reads it back as the
// same value. Anything that stands in for the production application (a
// test, a benchmark, a bridge) can write its answer with it.
namespace AppleScriptNotationWriter {

QString write(const AppleEventDescriptor& value);

} // namespace AppleScriptNotationWriter
