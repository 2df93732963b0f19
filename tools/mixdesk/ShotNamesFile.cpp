#include "ShotNamesFile.h"

#include <QFile>

namespace ShotNamesFile {

std::optional<QStringList> read(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read the shot list %1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    const QStringList names = parse(file.readAll());
    if (names.isEmpty()) {
        *error = QStringLiteral("the shot list %1 holds no shot name").arg(path);
        return std::nullopt;
    }
    return names;
}

QStringList parse(const QByteArray& contents)
{
    QStringList names;
    for (const QString& line : QString::fromUtf8(contents).split(QLatin1Char('\n'))) {
        const QString name = line.trimmed();
        if (!name.isEmpty()) {
            names.append(name);
        }
    }
    return names;
}

} // namespace ShotNamesFile
