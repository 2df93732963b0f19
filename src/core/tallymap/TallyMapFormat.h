#pragma once

#include "model/Shot.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// The text of a tally map file: one line per light, "<index>|<name>|<name>",
// UTF-8, lines ended by CR LF when written and by any line break when read.
// Names are kept as they are, with no escaping, so a name holding "|" or a
// line break cannot survive a round trip.
namespace TallyMapFormat {

inline const QString decodeFailure = QStringLiteral("Unable to decode utf8 data");
inline const QString indexMissing = QStringLiteral("Shot index missing from line");
inline const QString indexUnreadable = QStringLiteral("Unable to parse tally index");

// The whole file for the given lights, in light order: the names of each
// light's records.
QByteArray write(const QList<ShotList>& lights);

// Called for each well-formed line in file order with its light index (any
// value that fits 64 bits, unchecked) and its names. Returning false stops
// the walk there without a failure.
using LineVisitor = std::function<bool(qint64 lightIndex, const QStringList& names)>;

// Walks the lines of a file. True when every line was visited (or the
// visitor stopped the walk); false, with the message of the first failure in
// problem, when a line cannot be read. Invalid UTF-8 fails before any line
// is visited. When lineNumber is given it gets the number (from 1) of the
// line that failed or that the visitor stopped on, and 0 when the walk was
// not cut short at a line.
bool readLines(const QByteArray& data, const LineVisitor& visitor, QString* problem, qsizetype* lineNumber = nullptr);

// readLines with each line's names as new shot records of their own, one
// per name, handed over to the visitor: what reading a map into lights
// needs. A line's records are made in one allocation, each keeping it alive,
// so a large map costs a few allocations a line besides its names. The same
// lines, failures and line numbers as readLines.
using RecordVisitor = std::function<bool(qint64 lightIndex, ShotList records)>;
bool readRecords(
    const QByteArray& data, const RecordVisitor& visitor, QString* problem, qsizetype* lineNumber = nullptr);

// The light index of a line, if the piece is an optional sign followed by
// ASCII digits whose value fits a signed 64-bit integer. Nothing else (no
// blanks, no other digits) is accepted.
std::optional<qint64> parseIndex(QStringView piece);

// The first light index outside 0 to lightCount - 1 that reading would reach,
// for callers that take files from users and must not hand the reader a line
// it would stop the process for. Lines after a failing line are not looked
// at, exactly as the reader does not look at them.
// lineNumber, when given, gets the line that index is on.
std::optional<qint64> firstIndexOutside(const QByteArray& data, qint64 lightCount, qsizetype* lineNumber = nullptr);

} // namespace TallyMapFormat
