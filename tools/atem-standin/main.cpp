// atem-standin: a small ATEM switcher on UDP, for trying and testing the
// tally controller without a switcher. It serves named inputs on one mix
// effect (or a few, with --mes) and reads one command per line on standard input (see
// StandinCommands.h).

#include "StandinCommands.h"
#include "StandinInput.h"
#include "StandinServer.h"
#include "SwitcherModel.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace {

const char usage[] = "usage: atem-standin [--port N] [--inputs \"Camera 1,Camera 2,Wide\"] [--mes N]\n"
                     "                    [--program N] [--preview N] [--no-tally-by-source]\n"
                     "Serves an ATEM switcher on UDP port N (9910 by default; 0: any free port), with\n"
                     "nothing on program or preview unless told (--program, --preview: the input that\n"
                     "starts there), and reads commands on standard input, one a line (--mes: how\n"
                     "many mix effects it has, 1 to 4, 1 by default; the others show the first's\n"
                     "preview on program and its program on preview; --no-tally-by-source: like\n"
                     "older switchers, it states no tally by source, only the buses):\n"
                     "  program N | preview N | cut | auto [MILLISECONDS] | rename N NAME\n"
                     "  keyer on N | keyer off | record on|off | stream on|off\n"
                     "  drop PERCENT | reorder PERCENT | quit\n";

void printLine(FILE* stream, const QString& text)
{
    std::fputs(qPrintable(text + QLatin1Char('\n')), stream);
    std::fflush(stream);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    quint16 port = 9910;
    QStringList names { QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Camera 3"),
        QStringLiteral("Camera 4") };
    bool tallyBySource = true;
    int mixEffects = 1;
    uint program = 0;
    uint preview = 0;
    while (!arguments.isEmpty()) {
        const QString option = arguments.takeFirst();
        if (option == QLatin1String("--help") || option == QLatin1String("-h")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (option == QLatin1String("--no-tally-by-source")) {
            tallyBySource = false;
            continue;
        }
        if (arguments.isEmpty()) {
            std::fputs(usage, stderr);
            return 2;
        }
        const QString value = arguments.takeFirst();
        if (option == QLatin1String("--port")) {
            bool isNumber = false;
            const uint number = value.toUInt(&isNumber);
            if (!isNumber || number > 65535) {
                printLine(stderr, QStringLiteral("atem-standin: --port takes a number from 0 to 65535"));
                return 2;
            }
            port = static_cast<quint16>(number);
        } else if (option == QLatin1String("--inputs")) {
            names = value.split(QLatin1Char(','));
            if (names.size() > 99) {
                printLine(stderr, QStringLiteral("atem-standin: at most 99 inputs"));
                return 2;
            }
        } else if (option == QLatin1String("--mes")) {
            bool isNumber = false;
            mixEffects = value.toInt(&isNumber);
            if (!isNumber || mixEffects < 1 || mixEffects > SwitcherModel::maxMixEffects) {
                printLine(stderr,
                    QStringLiteral("atem-standin: --mes takes a number from 1 to %1")
                        .arg(SwitcherModel::maxMixEffects));
                return 2;
            }
        } else if (option == QLatin1String("--program") || option == QLatin1String("--preview")) {
            bool isNumber = false;
            const uint number = value.toUInt(&isNumber);
            if (!isNumber || number < 1 || number > 99) {
                printLine(stderr, QStringLiteral("atem-standin: %1 takes an input number from 1 to 99").arg(option));
                return 2;
            }
            (option == QLatin1String("--program") ? program : preview) = number;
        } else {
            std::fputs(usage, stderr);
            return 2;
        }
    }

    SwitcherModel model(names, tallyBySource);
    model.setMixEffects(mixEffects);
    for (const auto& [number, name] : { std::pair { program, "--program" }, std::pair { preview, "--preview" } }) {
        if (number != 0 && !model.hasInput(quint16(number))) {
            printLine(stderr,
                QStringLiteral("atem-standin: %1 %2 names no input: there are %3")
                    .arg(QLatin1String(name))
                    .arg(number)
                    .arg(names.size()));
            return 2;
        }
    }
    if (program != 0) {
        model.setProgram(quint16(program));
    }
    if (preview != 0) {
        model.setPreview(quint16(preview));
    }
    StandinServer server([&model] { return model.connectionCommands(); }, StandinServer::Timing {});
    QString problem;
    if (!server.listen(port, &problem)) {
        printLine(stderr, QStringLiteral("atem-standin: cannot listen on UDP port %1: %2").arg(port).arg(problem));
        return 1;
    }
    StandinCommands commands(model, server);
    printLine(stdout, QStringLiteral("atem-standin: listening on UDP port %1").arg(server.port()));

    StandinInput::follow(app, commands, QStringLiteral("atem-standin"));
    return app.exec();
}
