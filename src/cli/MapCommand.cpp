#include "MapCommand.h"

#include "CommandInputs.h"
#include "MapNewCommand.h"
#include "base/StandardOutput.h"
#include "model/LightJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using CommandLine::Command;

int runMap(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("map"),
        QStringLiteral("map show [--json] FILE | map new [--source SOURCE] [--force] FILE"),
        QStringLiteral("List the shot names assigned to each light of a tally map file, or start a new one"),
        runMap,
        { QStringLiteral("  --json           (show) one line of JSON: "
                         "{\"lights\":[{\"light\":1,\"index\":0,\"shots\":[...]},...]}"),
            QStringLiteral("  --source SOURCE  (new) put the source's first eight cameras or scenes on lights 1 to 8,"),
            QStringLiteral("                   one each, in the switcher's order (mixdesk, obs://HOST[:PORT],"),
            QStringLiteral("                   atem://HOST, vmix://HOST, tsl5://[ADDRESS:]PORT...; the source's own"),
            QStringLiteral("                   options, such as --password-file, apply); its on-air states are left"),
            QStringLiteral("                   out; without a source every light is empty"),
            QStringLiteral("  --force          (new) replace FILE if it exists") },
        {},
        { QStringLiteral("  0  shown, or written"),
            QStringLiteral("  1  the file cannot be read (the message names the file and, for its contents, the"),
            QStringLiteral("     line) or written, or the source gave no shots within 5 s"),
            QStringLiteral("  2  wrong usage") },
    };
    return definition;
}

int readFailed(const QString& message)
{
    printErrorLine(QStringLiteral("Read of document failed: %1").arg(message));
    return CommandLine::exitFailure;
}

QStringList namesOf(const ShotList& records)
{
    QStringList names;
    for (const ShotPtr& record : records) {
        names.append(record->name);
    }
    return names;
}

void printText(const TallyMap& map)
{
    const QList<ShotList>& lights = map.shotSelections();
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        const QStringList names = namesOf(lights[lightIndex]);
        const QString shown = names.isEmpty() ? QStringLiteral("(none)") : names.join(QStringLiteral(", "));
        printLine(QStringLiteral("Light %1: %2").arg(lightIndex + 1).arg(shown));
    }
}

// Each light in the form every JSON output gives it, without a mode (no
// switcher is asked), and with its index as the file writes it (0 to 7), so
// that a script can match the number or the index without counting array
// positions.
void printJson(const TallyMap& map)
{
    QJsonArray lights;
    const QList<ShotList>& selections = map.shotSelections();
    for (qsizetype lightIndex = 0; lightIndex < selections.size(); ++lightIndex) {
        QJsonObject light = LightJson::assigned(static_cast<int>(lightIndex + 1), namesOf(selections[lightIndex]));
        light.insert(QStringLiteral("index"), lightIndex);
        lights.append(light);
    }
    const QJsonDocument document(QJsonObject { { QStringLiteral("lights"), lights } });
    printLine(QString::fromUtf8(document.toJson(QJsonDocument::Compact)));
}

int runShow(const CommandLine::ParsedArguments& parsed)
{
    if (const std::optional<int> unknown
        = CommandLine::rejectUnknownFlags(command(), parsed, { QStringLiteral("--json") })) {
        return *unknown;
    }
    const bool json = parsed.flags.contains(QStringLiteral("--json"));
    if (parsed.positional.size() != 2) {
        return CommandLine::usageError(command(), QStringLiteral("expected one FILE"));
    }
    QString failure;
    const std::optional<TallyMap> map = CommandInputs::readTallyMap(parsed.positional[1], &failure);
    if (!map) {
        return readFailed(failure);
    }
    if (json) {
        printJson(*map);
    } else {
        printText(*map);
    }
    return CommandLine::exitOk;
}

int runMap(const QStringList& arguments)
{
    if (arguments.value(0) == QLatin1String("new")) {
        return MapNewCommand::run(command(), arguments.mid(1));
    }
    const CommandLine::ParsedArguments parsed = CommandLine::parse(arguments);
    if (parsed.positional.isEmpty()) {
        return CommandLine::usageError(command(), QStringLiteral("missing subcommand"));
    }
    if (parsed.positional.first() == QLatin1String("show")) {
        return runShow(parsed);
    }
    return CommandLine::usageError(command(), QStringLiteral("unknown subcommand '%1'").arg(parsed.positional.first()));
}

} // namespace

Command mapCommand()
{
    return command();
}
