#include "cli/CommandInputs.h"

#include "core/Error.h"
#include "core/SmallFile.h"
#include "link/AppleScriptNotationParser.h"
#include "link/ShotDecoder.h"
#include "tallymap/TallyMapFile.h"
#include "tallymap/TallyMapFormat.h"

#include <unistd.h>

namespace CommandInputs {

std::optional<TallyMap> readTallyMap(const QString& path, QString* failure)
{
    Error error;
    const std::optional<QByteArray> data = TallyMapFile::readData(path, &error);
    if (!data) {
        *failure = error.localizedDescription;
        return std::nullopt;
    }
    if (const std::optional<qint64> outside = TallyMapFormat::firstIndexOutside(*data, TallyMap::numberOfLights)) {
        *failure = QStringLiteral("Tally index %1 is outside the lights 0 to %2")
                       .arg(*outside)
                       .arg(TallyMap::numberOfLights - 1);
        return std::nullopt;
    }
    TallyMap map;
    if (!map.readFromData(*data, TallyMapFile::documentType, &error)) {
        *failure = error.localizedDescription;
        return std::nullopt;
    }
    return map;
}

std::optional<QByteArray> readFileOrStandardInput(const QString& path, QString* failure)
{
    // Answers are small text files: a FIFO, a device or a file too large is
    // refused rather than waited on or read without end.
    QString reason;
    std::optional<QByteArray> data
        = path.isEmpty() ? SmallFile::readStream(STDIN_FILENO, &reason) : SmallFile::read(path, &reason);
    if (!data) {
        *failure = QStringLiteral("cannot read %1: %2")
                       .arg(path.isEmpty() ? QStringLiteral("standard input") : path, reason);
    }
    return data;
}

std::optional<Mixdesk::ShotList> decodeAnswer(
    const QByteArray& answer, const std::function<void(const QString& label)>& unexpectedLabel, QString* failure)
{
    const AppleScriptNotationParser::Result parsed = AppleScriptNotationParser::parse(QByteArrayView(answer));
    if (!parsed.ok()) {
        *failure = QStringLiteral("unreadable answer: %1").arg(parsed.error);
        return std::nullopt;
    }
    const ShotDecoding decoding = decodeShotsChecked(*parsed.value, unexpectedLabel);
    if (decoding.problem) {
        *failure = QStringLiteral("not a shot list: %1").arg(*decoding.problem);
        return std::nullopt;
    }
    return decoding.shots;
}

} // namespace CommandInputs
