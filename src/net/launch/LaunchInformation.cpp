#include "launch/LaunchInformation.h"

#include "launch/RunOptions.h"

namespace LaunchInformation {

QString versionLine()
{
    return QStringLiteral("mixdesk-tally " TALLY_VERSION);
}

QStringList helpLines()
{
    QStringList lines {
        QStringLiteral("usage: mixdesk-tally [OPTIONS] [--] [MAP.tlx]"),
        QString(),
        QStringLiteral("Drives the tally lights from the switcher's program and preview shots, and"),
        QStringLiteral("opens MAP.tlx (the first file given) as the tally map. A second launch hands"),
        QStringLiteral("its file to the window already running."),
        QString(),
        QStringLiteral("options:"),
    };
    lines.append(RunOptions::helpLines());
    lines.append(QStringLiteral("  --help                print this help and exit"));
    lines.append(QStringLiteral("  --version             print the version and exit"));
    return lines;
}

std::optional<QStringList> requestedLines(const QStringList& arguments)
{
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--")) {
            break; // a file may well be called --help
        }
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            return helpLines();
        }
        if (argument == QLatin1String("--version")) {
            return QStringList { versionLine() };
        }
    }
    return std::nullopt;
}

} // namespace LaunchInformation
