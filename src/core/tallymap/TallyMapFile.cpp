#include "tallymap/TallyMapFile.h"

#include "base/SmallFile.h"

#include <QDir>

namespace TallyMapFile {

namespace {

void fail(Error* error, qint64 code, const QString& what, const QString& path, const QString& reason)
{
    if (error) {
        *error = Error { NSCocoaErrorDomain, code,
            QStringLiteral("Unable to %1 \"%2\": %3").arg(what, QDir::toNativeSeparators(path), reason) };
    }
}

} // namespace

std::optional<QByteArray> readData(const QString& path, Error* error)
{
    QString reason;
    std::optional<QByteArray> data = SmallFile::read(path, &reason);
    if (!data) {
        fail(error, fileReadUnknownError, QStringLiteral("read"), path, reason);
    }
    return data;
}

std::optional<TallyMap> open(const QString& path, const QString& type, Error* error)
{
    const std::optional<QByteArray> data = readData(path, error);
    if (!data) {
        return std::nullopt;
    }
    TallyMap map;
    if (!map.readFromData(*data, type, error)) {
        return std::nullopt;
    }
    return map;
}

bool write(const TallyMap& map, const QString& path, const QString& type, Error* error)
{
    QString reason;
    if (!SmallFile::write(path, map.dataOfType(type), &reason)) {
        fail(error, fileWriteUnknownError, QStringLiteral("write"), path, reason);
        return false;
    }
    return true;
}

} // namespace TallyMapFile
