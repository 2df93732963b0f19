#pragma once

#include "base/Error.h"
#include "tallymap/TallyMap.h"

#include <QString>

#include <optional>

// Tally maps on disk: what the document commands use to open and save a map.
namespace TallyMapFile {

// The document type name and the file name extension of a tally map.
inline const QString documentType = QStringLiteral("tlx");

// Errors of the file itself (missing, unreadable, unwritable), as opposed to
// errors of its contents, which come from TallyMap::readFromData.
inline const QString NSCocoaErrorDomain = QStringLiteral("NSCocoaErrorDomain");
constexpr qint64 fileReadUnknownError = 256;
constexpr qint64 fileWriteUnknownError = 512;

// The bytes of the file at path. On failure returns nothing and fills *error
// (if given) with the OS reason.
std::optional<QByteArray> readData(const QString& path, Error* error);

// A new map read from the file at path. On failure returns nothing and fills
// *error (if given) with a description that can be shown as it is: the OS
// reason when the file cannot be read, the format's message when its
// contents cannot be.
std::optional<TallyMap> open(const QString& path, const QString& type, Error* error);

// Writes the map to path atomically: the file is either the complete new map
// or left as it was. On failure returns false and fills *error (if given).
bool write(const TallyMap& map, const QString& path, const QString& type, Error* error);

} // namespace TallyMapFile
