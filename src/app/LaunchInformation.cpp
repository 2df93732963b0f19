#include "LaunchInformation.h"

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
        QStringLiteral("opens MAP.tlx (the first file given) as the tally map."),
        QString(),
        QStringLiteral("A second launch hands its map and its options to the window already running,"),
        QStringLiteral("which takes them as if chosen in its menus, for the next start too: the source"),
        QStringLiteral("(with --password-file or --tsl-allow), --web, --vmix-feed, --tsl, --tsl5 and"),
        QStringLiteral("--tsl-offset, --mqtt and --dmx and the options that go with them, and what the"),
        QStringLiteral("lights do when the switcher is lost. --atem-me is taken only at start. A bad"),
        QStringLiteral("option, or one the window cannot take, is refused (status 2) and nothing is"),
        QStringLiteral("handed over; what the window refuses (a port in use) ends the launch with"),
        QStringLiteral("status 1."),
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
