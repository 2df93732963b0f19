// tallyctl evaluate: one tick's decision without the production application
// or the device, to check a tally map against an answer by hand.

#include "EvaluateCommand.h"

#include "CommandInputs.h"
#include "base/StandardOutput.h"
#include "model/LightJson.h"
#include "tally/TallyEvaluation.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using CommandLine::Command;

int runEvaluate(const QStringList& arguments);

const Command& command()
{
    static const Command definition {
        QStringLiteral("evaluate"),
        QStringLiteral("evaluate [--json] MAP ANSWER"),
        QStringLiteral("Show each light's mode and its two bytes for a tally map and a query answer"),
        runEvaluate,
        { QStringLiteral("  --json  one line of JSON: {\"lights\":[{\"light\":1,\"mode\":\"live\",\"shots\":[...],"
                         "\"bytes\":[...],...},...],"),
            QStringLiteral("          \"modes\":[...],\"bytes\":[...]}") },
        {},
        { QStringLiteral("  0  evaluated"), QStringLiteral("  1  the map or the answer cannot be read"),
            QStringLiteral("  2  wrong usage") },
    };
    return definition;
}

QString hexByte(quint8 byte)
{
    return QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0'));
}

void printText(const TallyEvaluation::Evaluation& evaluation)
{
    for (qsizetype light = 0; light < evaluation.modes.size(); ++light) {
        printLine(QStringLiteral("Light %1: %2 %3 %4")
                      .arg(light + 1)
                      .arg(tallyModeName(evaluation.modes[light]), hexByte(evaluation.bytes[2 * light]),
                          hexByte(evaluation.bytes[2 * light + 1])));
    }
}

QStringList namesOf(const ShotList& records)
{
    QStringList names;
    for (const ShotPtr& record : records) {
        names.append(record->name);
    }
    return names;
}

// Each light as every JSON output gives it, with its two bytes. The flat
// "modes" and "bytes" arrays stay beside the lights for the scripts written
// before the lights were there.
void printJson(const QList<ShotList>& lights, const ShotList& shots, const TallyEvaluation::Evaluation& evaluation)
{
    const QList<QStringList> missing = TallyEvaluation::missingShots(lights, shots);
    QJsonArray lightObjects;
    for (qsizetype light = 0; light < evaluation.modes.size(); ++light) {
        const LightState state(
            evaluation.modes[light], namesOf(lights[light]), missing[light], evaluation.litBy[light]);
        QJsonObject object = LightJson::fromState(static_cast<int>(light + 1), state);
        object.insert(QStringLiteral("bytes"),
            QJsonArray { hexByte(evaluation.bytes[2 * light]), hexByte(evaluation.bytes[2 * light + 1]) });
        lightObjects.append(object);
    }
    QJsonArray modes;
    for (const TallyMode mode : evaluation.modes) {
        modes.append(tallyModeName(mode));
    }
    QJsonArray bytes;
    for (const quint8 byte : evaluation.bytes) {
        bytes.append(hexByte(byte));
    }
    const QJsonObject result { { QStringLiteral("lights"), lightObjects }, { QStringLiteral("modes"), modes },
        { QStringLiteral("bytes"), bytes } };
    printLine(QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact)));
}

int fail(const QString& message)
{
    printErrorLine(QStringLiteral("tallyctl evaluate: %1").arg(message));
    return CommandLine::exitFailure;
}

int runEvaluate(const QStringList& arguments)
{
    const CommandLine::ParsedArguments parsed = CommandLine::parse(arguments);
    if (const std::optional<int> unknown
        = CommandLine::rejectUnknownFlags(command(), parsed, { QStringLiteral("--json") })) {
        return *unknown;
    }
    const bool json = parsed.flags.contains(QStringLiteral("--json"));
    if (parsed.positional.size() != 2) {
        return CommandLine::usageError(command(), QStringLiteral("expected MAP and ANSWER"));
    }
    QString failure;
    const std::optional<TallyMap> map = CommandInputs::readTallyMap(parsed.positional[0], &failure);
    if (!map) {
        printErrorLine(QStringLiteral("Read of document failed: %1").arg(failure));
        return CommandLine::exitFailure;
    }
    const std::optional<QByteArray> answer = CommandInputs::readFileOrStandardInput(parsed.positional[1], &failure);
    if (!answer) {
        return fail(failure);
    }
    const std::optional<ShotList> shots = CommandInputs::decodeAnswer(
        *answer, [](const QString& label) { printErrorLine(QStringLiteral("unexpected record attribute ") + label); },
        &failure);
    if (!shots) {
        return fail(failure);
    }
    const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate(map->shotSelections(), *shots);
    if (json) {
        printJson(map->shotSelections(), *shots, evaluation);
    } else {
        printText(evaluation);
    }
    return CommandLine::exitOk;
}

} // namespace

Command evaluateCommand()
{
    return command();
}
