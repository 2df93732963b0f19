#include "link/ScriptRunner.h"

#include "link/AppleScriptNotationParser.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include <csignal>
#include <sys/types.h>
#include <unistd.h>

namespace {

constexpr int noExitStatus = -1;

// A script that times out may have started children of its own (a shell
// script running cat, sleep or a bridge): the child leads a process group of
// its own so that all of them go together.
void stopProcessGroup(QProcess& process)
{
    const qint64 pid = process.processId();
    if (pid > 0) {
        ::kill(static_cast<pid_t>(-pid), SIGKILL);
    }
    process.kill();
    process.waitForFinished(); // reaps the child: no zombie is left behind
}

// What a script leaves running in the background (a "sleep 30 &", a bridge
// started and forgotten) is stopped with it: run four times a second, such
// leftovers would otherwise pile up. The group outlives the child it is
// named after only while one of its members does.
void stopLeftovers(qint64 groupId)
{
    if (groupId > 0) {
        ::kill(static_cast<pid_t>(-groupId), SIGKILL);
    }
}

// The kernel starts a file that begins with "#!" and an interpreter that is
// there, or a binary; anything else fails at every start (exec format
// error, missing interpreter), which makes it a script that cannot be loaded
// rather than one that fails each time it runs.
bool canBeStarted(const QString& file)
{
    QFile script(file);
    if (!script.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray head = script.read(256);
    if (head.startsWith("\x7f"
                        "ELF")) {
        return true;
    }
    if (!head.startsWith("#!")) {
        return false;
    }
    const QByteArray line = head.mid(2, head.indexOf('\n') < 0 ? -1 : head.indexOf('\n') - 2).trimmed();
    const QByteArray interpreter = line.left(line.indexOf(' ') < 0 ? line.size() : line.indexOf(' ')).trimmed();
    const QFileInfo info(QFile::decodeName(interpreter));
    return !interpreter.isEmpty() && info.isFile() && ::access(interpreter.constData(), X_OK) == 0;
}

std::optional<ScriptErrorInformation> osascriptFailure(const QString& standardError)
{
    static const QRegularExpression line(
        QStringLiteral("^.*?: execution error: (.*) \\((-?\\d+)\\)$"), QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(standardError);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    bool ok = false;
    const int number = match.captured(2).toInt(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return scriptErrorInformation(match.captured(1), number);
}

ScriptResult failure(const QString& message, int number)
{
    return ScriptResult::failure(scriptErrorInformation(message, number));
}

ScriptResult resultOfFinishedChild(QProcess& process, const QByteArray& output)
{
    const QByteArray standardError = process.readAllStandardError();
    if (process.exitStatus() == QProcess::CrashExit) {
        const QString message = QString::fromUtf8(standardError).trimmed();
        return failure(message.isEmpty() ? QStringLiteral("terminated by a signal") : message, noExitStatus);
    }
    return ScriptRunner::resultOfExit(process.exitCode(), output, standardError);
}

// Reads the started child's output until it exits or the time is up.
ScriptResult collect(QProcess& process, const QDeadlineTimer& deadline)
{
    QByteArray output;
    while (process.state() != QProcess::NotRunning) {
        if (deadline.hasExpired()) {
            stopProcessGroup(process);
            return failure(
                QStringLiteral("timed out after %1 s").arg(ScriptRunner::timeLimitMilliseconds / 1000), noExitStatus);
        }
        if (!process.waitForReadyRead(static_cast<int>(deadline.remainingTime()))
            && process.state() != QProcess::NotRunning) {
            // Standard output closed early, or the time is up: only the exit
            // is left to wait for.
            process.waitForFinished(static_cast<int>(deadline.remainingTime()));
        }
        output.append(process.readAllStandardOutput());
        if (output.size() > ScriptRunner::outputLimitBytes) {
            stopProcessGroup(process);
            return failure(
                QStringLiteral("output larger than %1 bytes").arg(ScriptRunner::outputLimitBytes), noExitStatus);
        }
    }
    output.append(process.readAllStandardOutput());
    return resultOfFinishedChild(process, output);
}

} // namespace

ScriptResult ScriptRunner::resultOfExit(int status, const QByteArray& output, const QByteArray& standardError)
{
    const QString message = QString::fromUtf8(standardError).trimmed();
    if (status != 0) {
        if (status == 1) {
            if (std::optional<ScriptErrorInformation> information = osascriptFailure(message)) {
                return ScriptResult::failure(*information);
            }
        }
        return failure(message.isEmpty() ? QStringLiteral("exited with status %1").arg(status) : message, status);
    }
    if (output.trimmed().isEmpty()) {
        // A script that returns no value prints nothing; that is no result,
        // not an error.
        return ScriptResult::success(AppleEventDescriptor::opaque(QString()));
    }
    QString problem;
    std::optional<AppleEventDescriptor> parsed = AppleScriptNotationParser::parse(QByteArrayView(output), &problem);
    if (!parsed) {
        return failure(QStringLiteral("unreadable output: ") + problem, noExitStatus);
    }
    return ScriptResult::success(std::move(*parsed));
}

ScriptRunner::ScriptRunner(QString file)
    : m_file(std::move(file))
{
}

std::unique_ptr<ScriptRunner> ScriptRunner::load(const QString& file)
{
    const QFileInfo info(file);
    const QByteArray path = QFile::encodeName(file);
    if (!info.isFile() || ::access(path.constData(), R_OK | X_OK) != 0 || !canBeStarted(file)) {
        return nullptr;
    }
    return std::unique_ptr<ScriptRunner>(new ScriptRunner(file));
}

ScriptResult ScriptRunner::execute()
{
    QProcess process;
    process.setProgram(m_file);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier([] { ::setpgid(0, 0); });

    const QDeadlineTimer deadline(timeLimitMilliseconds);
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(static_cast<int>(deadline.remainingTime()))) {
        const QString reason = process.errorString();
        stopProcessGroup(process);
        return failure(QStringLiteral("cannot start %1: %2").arg(m_file, reason), noExitStatus);
    }
    const qint64 groupId = process.processId();
    const ScriptResult result = collect(process, deadline);
    stopLeftovers(groupId);
    return result;
}
