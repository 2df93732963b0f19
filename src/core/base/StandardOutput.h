#pragma once

#include <QString>

// Diagnostic lines on standard output ("error: ...", "Read of document
// failed: ..."): one line each, written and flushed at once so that a reader
// of the pipe sees them in order with everything else the process prints.
void printLine(const QString& line);

// The same for standard error, used by tallyctl for its own messages.
void printErrorLine(const QString& line);
