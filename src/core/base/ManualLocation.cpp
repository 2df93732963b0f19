#include "base/ManualLocation.h"

#include "base/Problem.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace ManualLocation {

QStringList folders(const QString& executableDirectory)
{
    const QString docDir = QStringLiteral(TALLY_INSTALL_DOC_DIR);
    const QStringList candidates {
        QDir::cleanPath(executableDirectory + QLatin1String("/../") + docDir),
        QDir::cleanPath(QStringLiteral(TALLY_INSTALL_PREFIX) + QLatin1Char('/') + docDir),
        QStringLiteral("/usr/share/doc/mixdesk-tally"),
    };
    QStringList unique;
    for (const QString& folder : candidates) {
        if (!unique.contains(folder)) {
            unique.append(folder);
        }
    }
    return unique;
}

std::optional<QString> find(const QStringList& folders, QString* problem)
{
    for (const QString& folder : folders) {
        const QFileInfo page(QDir(folder).filePath(indexPage));
        if (page.isFile() && page.isReadable()) {
            return page.absoluteFilePath();
        }
    }
    reportProblem(problem,
        QCoreApplication::translate("ManualLocation",
            "The manual is not installed: no %1 in %2. Install the mixdesk-tally package, or read the docs "
            "folder of the source.")
            .arg(indexPage, folders.join(QStringLiteral(", "))));
    return std::nullopt;
}

} // namespace ManualLocation
