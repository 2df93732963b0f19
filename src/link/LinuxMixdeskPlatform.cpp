#include "link/LinuxMixdeskPlatform.h"

#include "link/ScriptRunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool isProcessId(const char* name)
{
    if (*name == '\0') {
        return false;
    }
    for (; *name != '\0'; ++name) {
        if (*name < '0' || *name > '9') {
            return false;
        }
    }
    return true;
}

// comm holds at most 15 bytes and a line break.
QByteArray processCommand(const QByteArray& processRoot, const char* pid)
{
    const QByteArray path = processRoot + '/' + pid + "/comm";
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return {}; // the process ended meanwhile
    }
    char buffer[64];
    const ssize_t length = ::read(fd, buffer, sizeof buffer);
    ::close(fd);
    if (length <= 0) {
        return {};
    }
    return QByteArray(buffer, length).trimmed();
}

QString executableDirectory()
{
    return QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath()).absolutePath();
}

} // namespace

LinuxMixdeskPlatform::LinuxMixdeskPlatform(QString processRoot)
    : m_processRoot(std::move(processRoot))
{
}

int LinuxMixdeskPlatform::runningApplicationCount(const QString&) const
{
    // Asked twice per tick, so read the directory directly rather than
    // through a listing of every process's details.
    const QByteArray root = QFile::encodeName(m_processRoot);
    DIR* directory = ::opendir(root.constData());
    if (directory == nullptr) {
        return 0;
    }
    const QByteArray wanted = processName.toUtf8();
    int count = 0;
    while (const dirent* entry = ::readdir(directory)) {
        if (isProcessId(entry->d_name) && processCommand(root, entry->d_name) == wanted) {
            ++count;
        }
    }
    ::closedir(directory);
    return count;
}

SipCheckResult LinuxMixdeskPlatform::checkSip(const QString& bundleIdentifier)
{
    return ::checkSip(bundleIdentifier, AutomationPermissionServices {});
}

std::optional<QString> LinuxMixdeskPlatform::scriptResource(const QString& name) const
{
    const QString file = QDir(resourceDirectory()).filePath(name);
    if (!QFileInfo::exists(file)) {
        return std::nullopt;
    }
    return file;
}

QString LinuxMixdeskPlatform::resourceDirectory() const
{
    const QString configured = qEnvironmentVariable(resourceDirectoryVariable);
    if (!configured.isEmpty()) {
        return configured;
    }
    return QDir::cleanPath(executableDirectory() + QLatin1String("/../share/mixdesk-tally"));
}

std::unique_ptr<LoadedScript> LinuxMixdeskPlatform::loadScript(const QString& file)
{
    return ScriptRunner::load(file);
}
