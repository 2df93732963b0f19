#include "link/ShotsFile.h"

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
        *problem = QStringLiteral("cannot create %1: %2").arg(directory, systemError(errno));
        return false;
    }
    struct stat status { };
    if (::lstat(native.constData(), &status) != 0) {
        *problem = QStringLiteral("cannot inspect %1: %2").arg(directory, systemError(errno));
        return false;
    }
    if (S_ISLNK(status.st_mode) || !S_ISDIR(status.st_mode)) {
        *problem = QStringLiteral("%1 is not a directory").arg(directory);
        return false;
    }
    if (status.st_uid != ::getuid()) {
        *problem = QStringLiteral("%1 belongs to another user").arg(directory);
        return false;
    }
    // A directory left by an earlier run with looser permissions is ours, so
    // tighten it instead of refusing.
    if ((status.st_mode & 0777) != 0700 && ::chmod(native.constData(), 0700) != 0) {
        *problem = QStringLiteral("cannot make %1 private: %2").arg(directory, systemError(errno));
        return false;
    }
    return true;
}

} // namespace ShotsFile
