#include "link/linux/LinuxMixdeskPlatform.h"

#include "link/ScriptRunner.h"
#include "link/linux/ShippedQuery.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <dirent.h>
#include <fcntl.h>
#include <optional>
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

// A process counts while it lives and belongs to this user. A process that
// has ended but is not yet reaped (state Z, or X while it goes) keeps its
// name for a moment after its answer is gone; a mixdesk of another login on
// the same machine answers into that login's folders, never into ours.
// Either would make a tick ask for an answer that is not there.
bool isLiveProcessOfThisUser(const QByteArray& processRoot, const char* pid)
{
    const QByteArray path = processRoot + '/' + pid + "/status";
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    char buffer[4096];
    const ssize_t length = ::read(fd, buffer, sizeof buffer);
    ::close(fd);
    if (length <= 0) {
        return false;
    }
    std::optional<char> state;
    std::optional<uid_t> owner;
    for (const QByteArray& line : QByteArray(buffer, length).split('\n')) {
        if (line.startsWith("State:")) {
            const QByteArray value = line.mid(6).trimmed();
            if (!value.isEmpty()) {
                state = value.at(0);
            }
        } else if (line.startsWith("Uid:")) {
            // Real, effective, saved and file system user: the real one says
            // whose process it is.
            bool ok = false;
            const uint real = line.mid(4).simplified().split(' ').value(0).toUInt(&ok);
            if (ok) {
                owner = static_cast<uid_t>(real);
            }
        }
    }
    return state && *state != 'Z' && *state != 'X' && owner && *owner == ::getuid();
}

bool isRunningMixdesk(const QByteArray& processRoot, const char* pid)
{
    static const QByteArray wanted = LinuxMixdeskPlatform::processName.toUtf8();
    return processCommand(processRoot, pid) == wanted && isLiveProcessOfThisUser(processRoot, pid);
}

// The program's file stays the same for as long as it runs; resolving it
// anew on every tick costs a walk over each part of its path.
const QString& executableDirectory()
{
    static const QString directory
        = QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath()).absolutePath();
    return directory;
}

} // namespace

LinuxMixdeskPlatform::LinuxMixdeskPlatform(QString processRoot)
    : m_processRoot(std::move(processRoot))
{
}

int LinuxMixdeskPlatform::runningApplicationCount(const QString&) const
{
    // Read the directory directly rather than through a listing of every
    // process's details.
    const QByteArray root = QFile::encodeName(m_processRoot);
    DIR* directory = ::opendir(root.constData());
    if (directory == nullptr) {
        return 0;
    }
    int count = 0;
    while (const dirent* entry = ::readdir(directory)) {
        if (isProcessId(entry->d_name) && isRunningMixdesk(root, entry->d_name)) {
            ++count;
        }
    }
    ::closedir(directory);
    return count;
}

bool LinuxMixdeskPlatform::isApplicationRunning(const QString&)
{
    // Asked twice a tick. The copy found last time is nearly always still
    // there: two small reads instead of a look at every process.
    const QByteArray root = QFile::encodeName(m_processRoot);
    if (!m_lastFound.isEmpty() && isRunningMixdesk(root, m_lastFound.constData())) {
        return true;
    }
    m_lastFound.clear();
    DIR* directory = ::opendir(root.constData());
    if (directory == nullptr) {
        return false;
    }
    while (const dirent* entry = ::readdir(directory)) {
        if (isProcessId(entry->d_name) && isRunningMixdesk(root, entry->d_name)) {
            m_lastFound = entry->d_name;
            break;
        }
    }
    ::closedir(directory);
    return !m_lastFound.isEmpty();
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
    std::unique_ptr<ScriptRunner> script = ScriptRunner::load(file);
    if (script && ShippedQuery::isShippedScript(file)) {
        return std::make_unique<ShippedQueryScript>(std::move(script));
    }
    return script;
}
