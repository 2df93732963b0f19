// Feeds arbitrary bytes to the tally map reader. Inputs whose lines would
// name a light outside the map are skipped: the reader stops the process on
// them on purpose, and the same pre-check keeps user files away from that
// stop in tallyctl. Everything else must either fail with one of the three
// format messages or read into a map that survives a write and a re-read.

#include "tallymap/TallyMap.h"
#include "tallymap/TallyMapFormat.h"

#include <cstdint>
#include <cstdlib>

namespace {

const QString type = QStringLiteral("tlx");

QList<QStringList> namesOf(const TallyMap& map)
{
    QList<QStringList> lights;
    for (const ShotList& light : map.shotSelections()) {
        QStringList names;
        for (const ShotPtr& record : light) {
            names.append(record->name);
        }
        lights.append(names);
    }
    return lights;
}

bool isFormatFailure(const Error& error)
{
    return error.domain == NSOSStatusErrorDomain && error.code == 0
        && (error.localizedDescription == TallyMapFormat::decodeFailure
            || error.localizedDescription == TallyMapFormat::indexMissing
            || error.localizedDescription == TallyMapFormat::indexUnreadable);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (TallyMapFormat::firstIndexOutside(bytes, TallyMap::numberOfLights)) {
        return -1; // keep out of the corpus
    }
    TallyMap map;
    Error error;
    if (!map.readFromData(bytes, type, &error)) {
        if (!isFormatFailure(error)) {
            std::abort();
        }
        return 0;
    }
    TallyMap reread;
    if (!reread.readFromData(map.dataOfType(type), type, &error) || namesOf(reread) != namesOf(map)) {
        std::abort();
    }
    return 0;
}
