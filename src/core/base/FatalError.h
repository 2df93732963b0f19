#pragma once

#include <QString>

// Stops the process at once for a broken invariant or a programming error
// (a missing resource, a layout that does not match its controller, an index
// outside a list). Prints "fatal error: <what>" on standard error and aborts,
// so that a core dump or a death test sees the stop.
[[noreturn]] void fatalError(const QString& what);
