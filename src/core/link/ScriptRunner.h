#pragma once

#include "link/MixdeskPlatform.h"

#include <QString>

#include <memory>

// Runs a query script file as a child process, synchronously and within a
// time limit. The child's standard output is its result in AppleScript
// source notation (as `osascript -s s` prints one). A non-zero exit, a crash,
// a timeout or output that is not that notation is error information:
// - an osascript failure line on standard error with exit status 1
//   ("12:40: execution error: <message> (<number>)") gives both from the line;
// - otherwise the message is the child's standard error, trimmed (or what went
//   wrong: the timeout, the unreadable output and where), and the number the
//   exit status, or -1 when there is none.
class ScriptRunner : public LoadedScript {
public:
    static constexpr int timeLimitMilliseconds = 2000;
    // An answer of thousands of shots is well under a megabyte; a script that
    // floods its output is stopped rather than buffered without end.
    static constexpr qsizetype outputLimitBytes = 16 * 1024 * 1024;

    // Nothing when the file is not a readable and executable regular file
    // that the system can start (a binary, or "#!" and an interpreter that
    // is there).
    static std::unique_ptr<ScriptRunner> load(const QString& file);

    ScriptResult execute() override;

    // What a run that exited with this status, printing these bytes on
    // standard output and standard error, gives: the rules above, for a
    // script that ran to its end (a query answered without a child process
    // gives its outcome the same way).
    static ScriptResult resultOfExit(int status, const QByteArray& output, const QByteArray& standardError);

    const QString& file() const { return m_file; }

private:
    explicit ScriptRunner(QString file);

    QString m_file;
};
