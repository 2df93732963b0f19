#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Shared plumbing of tallyctl's commands: help, usage errors and exit codes.
namespace CommandLine {

constexpr int exitOk = 0;
constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

struct Command {
    QString name;
    QString usage; // "map show [--json] FILE"
    QString summary; // one line for the command list
    int (*run)(const QStringList& arguments);
    // What "tallyctl help COMMAND" adds to the usage line, one entry a line,
    // already indented and aligned: "  --json  one line of JSON". Empty
    // sections are left out.
    QStringList options = {};
    QStringList environment = {};
    // Empty means the usual three: 0 done, 1 failed, 2 wrong usage.
    QStringList exitCodes = {};
};

bool wantsHelp(const QStringList& arguments);

// The environment variables that replace the tally box with a file (and
// make that file as slow as a real box), as every command that drives the
// box explains them.
QStringList captureVariablesHelp();

// Prints "usage: tallyctl <usage>", the summary and the options, environment
// variables and exit codes of the command on standard output (for --help
// and "tallyctl help COMMAND") and returns exitOk.
int printHelp(const Command& command);

// Prints the problem and "usage: tallyctl <usage>" on standard error and
// returns exitUsage.
int usageError(const Command& command, const QString& problem);

// Splits arguments into flags ("--json") and positional arguments. Unknown
// flags are reported through usageError by the caller.
struct ParsedArguments {
    QStringList flags;
    QStringList positional;
};
ParsedArguments parse(const QStringList& arguments);

// The usage error for the first flag not in allowed, or nothing when every
// flag is allowed.
std::optional<int> rejectUnknownFlags(
    const Command& command, const ParsedArguments& parsed, const QStringList& allowed = {});

} // namespace CommandLine
