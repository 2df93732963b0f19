#include "base/SmallFile.h"

#include "base/Problem.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace SmallFile {

namespace {

QString systemError(int number)
{
    return QString::fromLocal8Bit(std::strerror(number));
}

QString tooLarge()
{
    return QStringLiteral("larger than %1 MiB, too large for this kind of file").arg(sizeLimit / (1024 * 1024));
}

// Reads up to limit + 1 bytes, so that a stream longer than the limit shows.
std::optional<QByteArray> readUpTo(int fd, qint64 limit, QString* problem)
{
    QByteArray data;
    char buffer[65536];
    while (data.size() <= limit) {
        const ssize_t length = ::read(fd, buffer, sizeof buffer);
        if (length < 0) {
            if (errno == EINTR) {
                continue;
            }
            reportProblem(problem, systemError(errno));
            return std::nullopt;
        }
        if (length == 0) {
            return data;
        }
        data.append(buffer, length);
    }
    reportProblem(problem, tooLarge());
    return std::nullopt;
}

bool writeAll(int fd, const QByteArray& data, QString* problem)
{
    qsizetype written = 0;
    while (written < data.size()) {
        const ssize_t length = ::write(fd, data.constData() + written, static_cast<size_t>(data.size() - written));
        if (length < 0) {
            if (errno == EINTR) {
                continue;
            }
            return reportProblem(problem, systemError(errno));
        }
        if (length == 0) {
            return reportProblem(problem, systemError(ENOSPC));
        }
        written += length;
    }
    return true;
}

} // namespace

std::optional<QByteArray> read(const QString& path, QString* problem)
{
    // Opened without waiting: opening a FIFO for reading would otherwise
    // wait for a writer that may never come.
    const QByteArray native = QFile::encodeName(path);
    const int fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) {
        reportProblem(problem, systemError(errno));
        return std::nullopt;
    }
    std::optional<QByteArray> data;
    struct stat status { };
    if (::fstat(fd, &status) != 0) {
        reportProblem(problem, systemError(errno));
    } else if (S_ISDIR(status.st_mode)) {
        reportProblem(problem, systemError(EISDIR));
    } else if (!S_ISREG(status.st_mode)) {
        reportProblem(problem, QStringLiteral("not a regular file"));
    } else if (status.st_size > sizeLimit) {
        reportProblem(problem, tooLarge());
    } else {
        // A file that grows while it is read still stops at the limit.
        data = readUpTo(fd, sizeLimit, problem);
    }
    ::close(fd);
    return data;
}

std::optional<QByteArray> readStream(int fd, QString* problem)
{
    return readUpTo(fd, sizeLimit, problem);
}

bool write(const QString& path, const QByteArray& data, QString* problem)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return reportProblem(problem, file.errorString());
    }
    // The bytes go to the temporary file's descriptor directly rather than
    // through the file's own buffer: a buffered failure would only surface
    // in the flush inside commit(), where it goes unseen and an empty or
    // partial file replaces the old one. Returning without commit() throws
    // the temporary file away.
    const int fd = file.handle();
    if (!writeAll(fd, data, problem)) {
        return false;
    }
    // File systems that allocate late report a full disk only here.
    if (::fsync(fd) != 0) {
        return reportProblem(problem, systemError(errno));
    }
    if (!file.commit()) {
        return reportProblem(problem, file.errorString());
    }
    return true;
}

} // namespace SmallFile
