#include "CommandLine.h"

#include "base/StandardOutput.h"

#include <QRegularExpression>

#include <algorithm>

namespace CommandLine {

bool wantsHelp(const QStringList& arguments)
{
    return arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"));
}

namespace {

// An entry is "  NAME  what it does"; the names of one section are padded to
// one width so that the descriptions start in one column, whoever wrote the
// entries.
QStringList aligned(const QStringList& entries)
{
    static const QRegularExpression entry(QStringLiteral("^  (\\S(?:.*?\\S)?)  +(\\S.*)$"));
    qsizetype width = 0;
    for (const QString& line : entries) {
        const QRegularExpressionMatch match = entry.match(line);
        if (match.hasMatch()) {
            width = std::max(width, match.capturedLength(1));
        }
    }
    QStringList lines;
    for (const QString& line : entries) {
        const QRegularExpressionMatch match = entry.match(line);
        lines.append(match.hasMatch()
                ? QStringLiteral("  %1  %2").arg(match.captured(1).leftJustified(width), match.captured(2))
                : line);
    }
    return lines;
}

void printSection(const QString& title, const QStringList& entries)
{
    if (entries.isEmpty()) {
        return;
    }
    printLine(QString());
    printLine(title);
    for (const QString& line : aligned(entries)) {
        printLine(line);
    }
}

} // namespace

QStringList captureVariablesHelp()
{
    return {
        QStringLiteral("  MIXDESK_TALLY_HID_CAPTURE=FILE        use FILE as the tally box: one line of 128 hex digits "
                       "per report"),
        QStringLiteral("  MIXDESK_TALLY_HID_CAPTURE_DELAY_MS=N  with MIXDESK_TALLY_HID_CAPTURE, each report takes "
                       "N ms, as a slow box would"),
    };
}

int printHelp(const Command& command)
{
    printLine(QStringLiteral("usage: tallyctl %1").arg(command.usage));
    printLine(command.summary);
    printSection(QStringLiteral("options:"), command.options + QStringList { QStringLiteral("  --help  this help") });
    printSection(QStringLiteral("environment:"), command.environment);
    printSection(QStringLiteral("exit codes:"),
        command.exitCodes.isEmpty() ? QStringList { QStringLiteral("  0  done"), QStringLiteral("  1  failed"),
            QStringLiteral("  2  wrong usage") }
                                    : command.exitCodes);
    return exitOk;
}

int usageError(const Command& command, const QString& problem)
{
    printErrorLine(QStringLiteral("tallyctl %1: %2").arg(command.name, problem));
    printErrorLine(QStringLiteral("usage: tallyctl %1").arg(command.usage));
    return exitUsage;
}

ParsedArguments parse(const QStringList& arguments)
{
    ParsedArguments parsed;
    bool onlyPositional = false;
    for (const QString& argument : arguments) {
        if (!onlyPositional && argument == QLatin1String("--")) {
            onlyPositional = true;
        } else if (!onlyPositional && argument.startsWith(QLatin1String("--"))) {
            parsed.flags.append(argument);
        } else {
            parsed.positional.append(argument);
        }
    }
    return parsed;
}

std::optional<int> rejectUnknownFlags(const Command& command, const ParsedArguments& parsed, const QStringList& allowed)
{
    for (const QString& flag : parsed.flags) {
        if (!allowed.contains(flag)) {
            return usageError(command, QStringLiteral("unknown option '%1'").arg(flag));
        }
    }
    return std::nullopt;
}

} // namespace CommandLine
