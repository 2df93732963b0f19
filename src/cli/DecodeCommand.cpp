// tallyctl decode: what the shot query would make of an answer of the query
// script, without the production application. Useful to check a script, or a
// bridge that writes answers, by hand.

#include "DecodeCommand.h"

#include "CommandInputs.h"
#include "base/StandardOutput.h"

namespace {

CommandLine::Command decode();

// C-style quoting, as JSON wants it and readable enough for people.
QString quoted(const QString& text)
{
    QString out = QStringLiteral("\"");
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'"':
            out.append(QLatin1String("\\\""));
            break;
        case u'\\':
            out.append(QLatin1String("\\\\"));
            break;
        case u'\n':
            out.append(QLatin1String("\\n"));
            break;
        case u'\r':
            out.append(QLatin1String("\\r"));
            break;
        case u'\t':
            out.append(QLatin1String("\\t"));
            break;
        default:
            if (c.unicode() < 0x20) {
                out.append(QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0')));
            } else {
                out.append(c);
            }
        }
    }
    out.append(QLatin1Char('"'));
    return out;
}

QString jsonBool(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

void printJson(const ShotList& shots)
{
    QStringList objects;
    for (const ShotPtr& shot : shots) {
        objects.append(
            QStringLiteral("{\"shotId\":%1,\"name\":%2,\"isLive\":%3,\"isPreview\":%4}")
                .arg(quoted(shot->shotId), quoted(shot->name), jsonBool(shot->isLive), jsonBool(shot->isPreview)));
    }
    printLine(QLatin1Char('[') + objects.join(QLatin1Char(',')) + QLatin1Char(']'));
}

QString stateOf(const Shot& shot)
{
    if (shot.isLive && shot.isPreview) {
        return QStringLiteral("live, preview");
    }
    if (shot.isLive) {
        return QStringLiteral("live");
    }
    return shot.isPreview ? QStringLiteral("preview") : QStringLiteral("off");
}

void printReadable(const ShotList& shots)
{
    if (shots.isEmpty()) {
        printLine(QStringLiteral("no shots"));
    }
    for (qsizetype i = 0; i < shots.size(); ++i) {
        const Shot& shot = *shots.at(i);
        printLine(
            QStringLiteral("%1. %2 (id %3): %4").arg(i + 1).arg(quoted(shot.name), quoted(shot.shotId), stateOf(shot)));
    }
}

int run(const QStringList& arguments)
{
    const CommandLine::ParsedArguments parsed = CommandLine::parse(arguments);
    if (const std::optional<int> unknown
        = CommandLine::rejectUnknownFlags(decode(), parsed, { QStringLiteral("--json") })) {
        return *unknown;
    }
    const bool json = parsed.flags.contains(QStringLiteral("--json"));
    if (parsed.positional.size() > 1) {
        return CommandLine::usageError(decode(), QStringLiteral("one FILE at most"));
    }
    QString failure;
    const std::optional<QByteArray> input
        = CommandInputs::readFileOrStandardInput(parsed.positional.value(0), &failure);
    const std::optional<ShotList> shots = input
        ? CommandInputs::decodeAnswer(
            *input,
            [json](const QString& label) {
                const QString line = QStringLiteral("unexpected record attribute ") + label;
                json ? printErrorLine(line) : printLine(line);
            },
            &failure)
        : std::nullopt;
    if (!shots) {
        printErrorLine(QStringLiteral("tallyctl decode: %1").arg(failure));
        return CommandLine::exitFailure;
    }
    json ? printJson(*shots) : printReadable(*shots);
    return CommandLine::exitOk;
}

CommandLine::Command decode()
{
    return { QStringLiteral("decode"), QStringLiteral("decode [--json] [FILE]"),
        QStringLiteral("Decodes a query answer in AppleScript notation (standard input without FILE) and prints the "
                       "shots"),
        &run,
        { QStringLiteral("  --json  one line of JSON: [{\"shotId\":...,\"name\":...,\"isLive\":...,"
                         "\"isPreview\":...},...]") },
        {},
        { QStringLiteral("  0  the input is a list of shots (an answer of fewer than two shots is no shots)"),
            QStringLiteral("  1  the input cannot be read, or is not a list of shot records"),
            QStringLiteral("  2  wrong usage") } };
}

} // namespace

CommandLine::Command decodeCommand()
{
    return decode();
}
