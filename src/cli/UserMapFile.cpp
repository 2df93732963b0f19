#include "cli/UserMapFile.h"

#include "tallymap/TallyMapFile.h"
#include "tallymap/TallyMapFormat.h"

namespace UserMapFile {

std::optional<TallyMap> read(const QString& path, QString* failure)
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

} // namespace UserMapFile
