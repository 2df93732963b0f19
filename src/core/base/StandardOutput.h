#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

#include <functional>

// Diagnostic lines on standard output ("error: ...", "Read of document
// failed: ..."): one line each, written and flushed at once so that a reader
// of the pipe sees them in order with everything else the process prints.
void printLine(const QString& line);

// The same for standard error, used by tallyctl for its own messages.
void printErrorLine(const QString& line);

// A program that promises a time on every line (tallyctl watch
// --timestamps) says so once: from then on every line of printLine and
// printErrorLine starts with the time clock gives and a space, whatever part
// of the program prints it. An empty clock turns the times off again.
using LineClock = std::function<QDateTime()>;
void setLineTimestamps(LineClock clock);

// How a line is stamped: the local time with milliseconds and its offset
// ("2026-11-23T12:04:05.678+01:00"), so that a log read later, or
// elsewhere, still says when each line was written.
QString lineTimestamp(const QDateTime& time);

// Qt's own warnings (and those of the libraries built on it) go out as
// printErrorLine lines, stamped like the rest, instead of straight to
// standard error.
void printQtMessagesAsLines();

// Whether a Qt warning says only that a network peer hung up while Qt was
// still reading what it sent (a phone page closed mid-handshake). Peers on
// the studio network do that all day, and a flood of them would otherwise
// bury every line that matters in noise about sockets already gone.
bool isPeerHangUpWarning(QtMsgType type, const QString& message);

// For a program that keeps Qt's own way of printing its warnings (the
// window): from now on the warnings isPeerHangUpWarning names are dropped
// and every other message goes where it went before.
void dropPeerHangUpWarnings();
