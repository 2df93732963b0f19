#pragma once

#include "tallymap/TallyMap.h"

#include <QString>

#include <optional>

// Tally map files named on tallyctl's command line. The program's reader
// stops the process on a line naming a light the map does not have; a
// user's file deserves a message instead, so the indices are checked before
// the reader sees the data.
namespace UserMapFile {

// The map in the file, or nothing with the reason in *failure.
std::optional<TallyMap> read(const QString& path, QString* failure);

} // namespace UserMapFile
