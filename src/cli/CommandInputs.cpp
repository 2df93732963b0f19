#include "CommandInputs.h"

#include "base/Error.h"
#include "base/Problem.h"
#include "base/SmallFile.h"
#include "link/AppleScriptNotationParser.h"
#include "link/ShotDecoder.h"
#include "tallymap/TallyMapFile.h"
#include "tallymap/TallyMapFormat.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <unistd.h>

namespace CommandInputs {

namespace {

QString kindName(AppleEventDescriptor::Kind kind)
{
    switch (kind) {
    case AppleEventDescriptor::Kind::List:
        return QStringLiteral("a list");
    case AppleEventDescriptor::Kind::Record:
        return QStringLiteral("a record");
    case AppleEventDescriptor::Kind::Text:
        return QStringLiteral("a text");
    case AppleEventDescriptor::Kind::Boolean:
        return QStringLiteral("a boolean");
    case AppleEventDescriptor::Kind::Integer:
        return QStringLiteral("an integer");
    case AppleEventDescriptor::Kind::Real:
        return QStringLiteral("a real");
    case AppleEventDescriptor::Kind::MissingValue:
        return QStringLiteral("missing value");
    case AppleEventDescriptor::Kind::Opaque:
        break;
    }
    return QStringLiteral("a value of another kind");
}

// The program reads any answer that is not a list, and a list of one item,
// as "no shots", which is right for a switcher still setting up. A person
// checking an answer by hand wants to hear that it is not a list of shot
// records at all, so the shape is checked here before decoding.
bool isShotListShaped(const AppleEventDescriptor& answer, QString* problem)
{
    if (answer.kind() != AppleEventDescriptor::Kind::List) {
        return reportProblem(
            problem, QStringLiteral("the answer is %1, not a list of records").arg(kindName(answer.kind())));
    }
    const QList<AppleEventDescriptor>& items = answer.items();
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (items[i].kind() != AppleEventDescriptor::Kind::Record) {
            return reportProblem(problem,
                QStringLiteral("item %1 of the answer is %2, not a record").arg(i + 1).arg(kindName(items[i].kind())));
        }
    }
    return true;
}

} // namespace

QString located(const QString& path, qsizetype line, const QString& message)
{
    const QString name = QDir::toNativeSeparators(path);
    return line > 0 ? QStringLiteral("%1:%2: %3").arg(name).arg(line).arg(message)
                    : QStringLiteral("%1: %2").arg(name, message);
}

std::optional<TallyMap> readTallyMap(const QString& path, QString* problem)
{
    Error error;
    const std::optional<QByteArray> data = TallyMapFile::readData(path, &error);
    if (!data) {
        // The file's own errors already name it.
        reportProblem(problem, error.localizedDescription);
        return std::nullopt;
    }
    qsizetype line = 0;
    if (const std::optional<qint64> outside
        = TallyMapFormat::firstIndexOutside(*data, TallyMap::numberOfLights, &line)) {
        reportProblem(problem,
            located(path, line,
                QStringLiteral("Tally index %1 is outside the lights 0 to %2")
                    .arg(*outside)
                    .arg(TallyMap::numberOfLights - 1)));
        return std::nullopt;
    }
    TallyMap map;
    if (!map.readFromData(*data, TallyMapFile::documentType, &error)) {
        reportProblem(problem, located(path, error.line, error.localizedDescription));
        return std::nullopt;
    }
    return map;
}

std::optional<QByteArray> readFileOrStandardInput(const QString& path, QString* problem)
{
    // Answers are small text files: a FIFO, a device or a file too large is
    // refused rather than waited on or read without end.
    QString reason;
    std::optional<QByteArray> data
        = path.isEmpty() ? SmallFile::readStream(STDIN_FILENO, &reason) : SmallFile::read(path, &reason);
    if (!data) {
        reportProblem(problem,
            QStringLiteral("cannot read %1: %2").arg(path.isEmpty() ? QStringLiteral("standard input") : path, reason));
    }
    return data;
}

std::optional<ShotList> decodeAnswer(
    const QByteArray& answer, const std::function<void(const QString& label)>& unexpectedLabel, QString* problem)
{
    QString why;
    const std::optional<AppleEventDescriptor> parsed = AppleScriptNotationParser::parse(QByteArrayView(answer), &why);
    if (!parsed) {
        reportProblem(problem, QStringLiteral("unreadable answer: %1").arg(why));
        return std::nullopt;
    }
    std::optional<ShotList> shots;
    if (isShotListShaped(*parsed, &why)) {
        shots = decodeShotsChecked(*parsed, unexpectedLabel, &why);
    }
    if (!shots) {
        reportProblem(problem, QStringLiteral("not a shot list: %1").arg(why));
    }
    return shots;
}

} // namespace CommandInputs
