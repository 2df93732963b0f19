#include "tallymap/TallyMapFile.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

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
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(error, fileReadUnknownError, QStringLiteral("read"), path, file.errorString());
        return std::nullopt;
    }
    QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        fail(error, fileReadUnknownError, QStringLiteral("read"), path, file.errorString());
        return std::nullopt;
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
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        fail(error, fileWriteUnknownError, QStringLiteral("write"), path, file.errorString());
        return false;
    }
    const QByteArray data = map.dataOfType(type);
    if (file.write(data) != data.size() || !file.commit()) {
        fail(error, fileWriteUnknownError, QStringLiteral("write"), path, file.errorString());
        return false;
    }
    return true;
}

} // namespace TallyMapFile
