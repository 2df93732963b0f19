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
    const QString standardError = QString::fromUtf8(process.readAllStandardError()).trimmed();
    if (process.exitStatus() == QProcess::CrashExit) {
        return failure(
            standardError.isEmpty() ? QStringLiteral("terminated by a signal") : standardError, noExitStatus);
    }
    const int status = process.exitCode();
    if (status != 0) {
        if (status == 1) {
            if (std::optional<ScriptErrorInformation> information = osascriptFailure(standardError)) {
                return ScriptResult::failure(*information);
            }
        }
        return failure(
            standardError.isEmpty() ? QStringLiteral("exited with status %1").arg(status) : standardError, status);
    }
    if (output.trimmed().isEmpty()) {
        // A script that returns no value prints nothing; that is no result,
        // not an error.
        return ScriptResult::success(AppleEventDescriptor::opaque(QString()));
    }
    AppleScriptNotationParser::Result parsed = AppleScriptNotationParser::parse(QByteArrayView(output));
    if (!parsed.ok()) {
        return failure(QStringLiteral("unreadable output: ") + parsed.error, noExitStatus);
    }
    return ScriptResult::success(std::move(*parsed.value));
}

} // namespace

ScriptRunner::ScriptRunner(QString file)
    : m_file(std::move(file))
{
}

std::unique_ptr<ScriptRunner> ScriptRunner::load(const QString& file)
{
    const QFileInfo info(file);
    const QByteArray path = QFile::encodeName(file);
    if (!info.isFile() || ::access(path.constData(), R_OK | X_OK) != 0) {
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

    QByteArray output;
    while (process.state() != QProcess::NotRunning) {
        if (deadline.hasExpired()) {
            stopProcessGroup(process);
            return failure(QStringLiteral("timed out after %1 s").arg(timeLimitMilliseconds / 1000), noExitStatus);
        }
        if (!process.waitForReadyRead(static_cast<int>(deadline.remainingTime()))
            && process.state() != QProcess::NotRunning) {
            // Standard output closed early, or the time is up: only the exit
            // is left to wait for.
            process.waitForFinished(static_cast<int>(deadline.remainingTime()));
        }
        output.append(process.readAllStandardOutput());
        if (output.size() > outputLimitBytes) {
            stopProcessGroup(process);
            return failure(QStringLiteral("output larger than %1 bytes").arg(outputLimitBytes), noExitStatus);
        }
    }
    output.append(process.readAllStandardOutput());
    return resultOfFinishedChild(process, output);
}
