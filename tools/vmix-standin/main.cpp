// vmix-standin: a small vMix TCP API, for trying and testing the tally
// controller without vMix. It serves titled inputs with program and preview,
// recording and streaming, and reads one command per line on standard input
// (see VmixStandinCommands.h).

#include "StandinInput.h"
#include "VmixModel.h"
#include "VmixStandinCommands.h"
#include "VmixStandinServer.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>
#include <unistd.h>

namespace {

const char usage[] = "usage: vmix-standin [--port N] [--inputs \"Camera 1,Camera 2,Wide\"] [--program N]\n"
                     "                    [--preview N]\n"
                     "Serves vMix's TCP API on port N (8099 by default; 0: any free port), with the\n"
                     "inputs titled as given, nothing on program or preview unless told, and reads\n"
                     "commands on standard input, one a line:\n"
                     "  program N | preview N | cut | rename N NAME | record on|off | stream on|off\n"
                     "  drop | quit\n";

void printLine(FILE* stream, const QString& text)
{
    std::fputs(qPrintable(text + QLatin1Char('\n')), stream);
    std::fflush(stream);
}

// The number of an option's value, or nothing (said on standard error).
std::optional<uint> numberOption(const QString& option, const QString& value, uint highest)
{
    bool isNumber = false;
    const uint number = value.toUInt(&isNumber);
    if (!isNumber || number > highest) {
        printLine(stderr, QStringLiteral("vmix-standin: %1 takes a number from 0 to %2").arg(option).arg(highest));
        return std::nullopt;
    }
    return number;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    quint16 port = 8099;
    QStringList titles { QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Camera 3"),
        QStringLiteral("Camera 4") };
    uint program = 0;
    uint preview = 0;
    while (!arguments.isEmpty()) {
        const QString option = arguments.takeFirst();
        if (option == QLatin1String("--help") || option == QLatin1String("-h")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (arguments.isEmpty()) {
            std::fputs(usage, stderr);
            return 2;
        }
        const QString value = arguments.takeFirst();
        if (option == QLatin1String("--port")) {
            const std::optional<uint> number = numberOption(option, value, 65535);
            if (!number) {
                return 2;
            }
            port = static_cast<quint16>(*number);
        } else if (option == QLatin1String("--inputs")) {
            titles = value.split(QLatin1Char(','));
            if (titles.size() > 1000) {
                printLine(stderr, QStringLiteral("vmix-standin: at most 1000 inputs"));
                return 2;
            }
        } else if (option == QLatin1String("--program") || option == QLatin1String("--preview")) {
            const std::optional<uint> number = numberOption(option, value, 1000);
            if (!number) {
                return 2;
            }
            (option == QLatin1String("--program") ? program : preview) = *number;
        } else {
            std::fputs(usage, stderr);
            return 2;
        }
    }

    VmixModel model(titles);
    for (const auto& [number, name] : { std::pair { program, "--program" }, std::pair { preview, "--preview" } }) {
        if (number != 0 && !model.hasInput(int(number))) {
            printLine(stderr, QStringLiteral("vmix-standin: %1 names no input").arg(QLatin1String(name)));
            return 2;
        }
    }
    model.setProgram(int(program));
    model.setPreview(int(preview));
    VmixStandinServer server(model);
    QString problem;
    if (!server.listen(port, &problem)) {
        printLine(stderr, QStringLiteral("vmix-standin: cannot listen on TCP port %1: %2").arg(port).arg(problem));
        return 1;
    }
    VmixStandinCommands commands(model, server);
    printLine(stdout, QStringLiteral("vmix-standin: listening on TCP port %1").arg(server.port()));

    StandinInput::follow(app, commands, QStringLiteral("vmix-standin"));
    return app.exec();
}
