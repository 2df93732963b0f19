#include "link/linux/ShippedQuery.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ShippedQuery {

namespace {

Outcome failed(const QByteArray& message)
{
    return Outcome { 1, {}, "query_shots: " + message + '\n' };
}

// The whole of an open regular file, or nothing once it holds more than a
// run of the script may print (the script is left to fail on that itself).
std::optional<QByteArray> readAll(int fd)
{
    QByteArray bytes;
    char buffer[16384];
    for (;;) {
        const ssize_t length = ::read(fd, buffer, sizeof buffer);
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length < 0) {
            return std::nullopt;
        }
        if (length == 0) {
            return bytes;
        }
        bytes.append(buffer, length);
        if (bytes.size() > ScriptRunner::outputLimitBytes) {
            return std::nullopt;
        }
    }
}

// The script copies the file line by line with the shell's read, which
// drops NUL bytes and keeps every other byte, a last line without a break
// included.
QByteArray withoutNulBytes(QByteArray bytes)
{
    bytes.removeIf([](char byte) { return byte == '\0'; });
    return bytes;
}

// The shared folder under /tmp is read only while it is a real folder of
// this user's own.
bool isForeignFolder(const QByteArray& folder, const User& user)
{
    struct stat status { };
    if (::lstat(folder.constData(), &status) == 0 && S_ISLNK(status.st_mode)) {
        return true;
    }
    return ::stat(folder.constData(), &status) == 0 && status.st_uid != user.effective;
}

} // namespace

User currentUser()
{
    return User { ::getuid(), ::geteuid() };
}

std::optional<Outcome> answer(const QByteArray& runtimeDirectory, const User& user)
{
    const bool shared = runtimeDirectory.isEmpty();
    const QByteArray folder = shared ? "/tmp/mixdesk-" + QByteArray::number(user.real) : runtimeDirectory + "/mixdesk";
    const QByteArray shots = folder + "/shots";
    if (shared && isForeignFolder(folder, user)) {
        return failed(folder + " is not a folder of this user's own; not reading it");
    }
    struct stat status { };
    if (::stat(shots.constData(), &status) != 0) {
        return failed("no shot list at " + shots + " (is mixdesk running?)");
    }
    // Anything but a regular file may block the reader or fail in the
    // shell's own words: the script answers for those.
    if (!S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    const int fd = ::open(shots.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    std::optional<QByteArray> bytes;
    std::optional<Outcome> outcome;
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        // Replaced by something else between the look and the opening.
    } else if (shared && status.st_uid != user.effective) {
        outcome = failed(shots + " was not written by this user; not reading it");
    } else if ((bytes = readAll(fd))) {
        outcome = Outcome { 0, withoutNulBytes(std::move(*bytes)), {} };
    }
    ::close(fd);
    return outcome;
}

const QByteArray& shippedText()
{
    static const QByteArray text = [] {
        QFile resource(QStringLiteral(":/mixdesk-tally/query_shots"));
        return resource.open(QIODevice::ReadOnly) ? resource.readAll() : QByteArray();
    }();
    return text;
}

bool isShippedScript(const QString& file)
{
    const QByteArray& shipped = shippedText();
    if (shipped.isEmpty()) {
        return false;
    }
    const int fd = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    // One byte more than the shipped script tells a longer file apart.
    QByteArray content(shipped.size() + 1, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < content.size()) {
        const ssize_t length = ::read(fd, content.data() + filled, static_cast<size_t>(content.size() - filled));
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            break;
        }
        filled += length;
    }
    ::close(fd);
    content.truncate(filled);
    return content == shipped;
}

} // namespace ShippedQuery

ShippedQueryScript::ShippedQueryScript(std::unique_ptr<ScriptRunner> script)
    : m_script(std::move(script))
{
}

ScriptResult ShippedQueryScript::execute()
{
    // The child would inherit this process's environment and users.
    const std::optional<ShippedQuery::Outcome> outcome
        = ShippedQuery::answer(qgetenv("XDG_RUNTIME_DIR"), ShippedQuery::currentUser());
    if (!outcome) {
        return m_script->execute();
    }
    return ScriptRunner::resultOfExit(outcome->exitStatus, outcome->standardOutput, outcome->standardError);
}
