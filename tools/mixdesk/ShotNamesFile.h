#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// A shot list given with --shots: a UTF-8 text file with one shot name per
// line, in the order of the show. Blanks around a name are dropped and empty
// lines are skipped, so a hand-written file may be spaced out freely.
namespace ShotNamesFile {

// The names of the file, or nothing with the reason in problem when it cannot
// be read or holds no name at all.
std::optional<QStringList> read(const QString& path, QString* problem);

// The same rules applied to text already in memory.
QStringList parse(const QByteArray& contents);

} // namespace ShotNamesFile
