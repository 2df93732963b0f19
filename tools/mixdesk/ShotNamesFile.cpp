#include "ShotNamesFile.h"

#include "base/Problem.h"
#include "base/SmallFile.h"

namespace ShotNamesFile {

std::optional<QStringList> read(const QString& path, QString* problem)
{
    QString reason;
    const std::optional<QByteArray> contents = SmallFile::read(path, &reason);
    if (!contents) {
        reportProblem(problem, QStringLiteral("cannot read the shot list %1: %2").arg(path, reason));
        return std::nullopt;
    }
    const QStringList names = parse(*contents);
    if (names.isEmpty()) {
        reportProblem(problem, QStringLiteral("the shot list %1 holds no shot name").arg(path));
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
