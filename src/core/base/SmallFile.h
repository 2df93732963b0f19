#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The files this program reads and writes whole (tally maps, shot answers,
// lists of names) are a few kilobytes of text. Reading one never blocks and
// never takes more than sizeLimit bytes of memory; writing one replaces it
// completely or not at all.
namespace SmallFile {

// Far above any real map or answer, far below what would hurt.
constexpr qint64 sizeLimit = 16 * 1024 * 1024;

// The bytes of the regular file at path (symbolic links followed). A FIFO,
// a device, a folder or a file over sizeLimit is refused at once: nothing is
// returned and *problem (if given) says why, in words that can follow "Unable
// to read <file>: ".
std::optional<QByteArray> read(const QString& path, QString* problem);

// At most sizeLimit bytes of an open stream (standard input): a stream that
// goes on is refused like a file that is too large.
std::optional<QByteArray> readStream(int fd, QString* problem);

// Replaces the file at path with data: a temporary file beside it is written
// and synced, then renamed over it. A short write, a full disk (even one the
// file system reports only when the data goes to the disk) or any other
// failure leaves the old file as it was; returns false and fills *problem.
bool write(const QString& path, const QByteArray& data, QString* problem);

} // namespace SmallFile
