#pragma once

#include <QString>

#include <functional>

// Hardware failures ("IOHIDManagerOpen failed.", "set report failed status:
// %d") go to the system log and to standard error, never to the caller.
void systemLog(const QString& message);

// The system log alone, for a line its caller also shows in its own way
// (the status line, tallyctl's output), so that a terminal does not get it
// twice.
void systemLogOnly(const QString& message);

// Tests watch the log through a sink; an empty function restores the real
// log. Returns the previous sink.
using SystemLogSink = std::function<void(const QString&)>;
SystemLogSink setSystemLogSink(SystemLogSink sink);
