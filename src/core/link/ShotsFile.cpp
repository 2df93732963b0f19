#include "link/ShotsFile.h"

#include "base/Problem.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace ShotsFile {

namespace {

const QString fileName = QStringLiteral("shots");

QString systemError(int number)
{
    return QString::fromLocal8Bit(std::strerror(number));
}

} // namespace

QString directory()
{
    const QString runtimeDirectory = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtimeDirectory.isEmpty()) {
        return runtimeDirectory + QStringLiteral("/mixdesk");
    }
    return QStringLiteral("/tmp/mixdesk-%1").arg(::getuid());
}

QString path()
{
    return directory() + QLatin1Char('/') + fileName;
}

bool prepareDirectory(QString* problem)
{
    return preparePrivateDirectory(directory(), problem);
}

bool preparePrivateDirectory(const QString& directory, QString* problem)
{
    const QByteArray native = QFile::encodeName(directory);
    if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
        return reportProblem(problem, QStringLiteral("cannot create %1: %2").arg(directory, systemError(errno)));
    }
    struct stat status { };
    if (::lstat(native.constData(), &status) != 0) {
        return reportProblem(problem, QStringLiteral("cannot inspect %1: %2").arg(directory, systemError(errno)));
    }
    if (S_ISLNK(status.st_mode) || !S_ISDIR(status.st_mode)) {
        return reportProblem(problem, QStringLiteral("%1 is not a directory").arg(directory));
    }
    if (status.st_uid != ::getuid()) {
        return reportProblem(problem, QStringLiteral("%1 belongs to another user").arg(directory));
    }
    // A directory left by an earlier run with looser permissions is ours, so
    // tighten it instead of refusing.
    if ((status.st_mode & 0777) != 0700 && ::chmod(native.constData(), 0700) != 0) {
        return reportProblem(problem, QStringLiteral("cannot make %1 private: %2").arg(directory, systemError(errno)));
    }
    return true;
}

} // namespace ShotsFile
