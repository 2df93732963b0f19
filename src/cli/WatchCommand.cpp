#include "WatchCommand.h"

#include "CommandInputs.h"
#include "PhoneLinksAnnouncement.h"
#include "WatchPrinter.h"
#include "base/Problem.h"
#include "base/StandardOutput.h"
#include "hardware/BoxWriter.h"
#include "hardware/USBHIDAppDelegate.h"
#include "launch/RunBuilder.h"
#include "outputs/VmixFeedServer.h"
#include "outputs/WebTallyServer.h"
#include "switchers/TslShotSource.h"
#include "tally/CombinedShotSource.h"
#include "tally/TallyTicker.h"

#include <QCoreApplication>

#include <csignal>
#include <unistd.h>

namespace {

using CommandLine::Command;

int runWatch(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("watch"),
        QStringLiteral(
            "watch [--ticks N] [--json] [--timestamps|--no-timestamps] [--source SOURCE] "
            "[--tsl-allow LIST]... [--tsl-silence SECONDS] [--password-file FILE] [--tsl URL]... "
            "[--tsl5 URL]... [--tsl-offset N] [--web [ADDRESS:]PORT] [--vmix-feed [ADDRESS:]PORT] [--vmix-feed-allow LIST]... [--mqtt URL]... "
            "[--mqtt-password-file FILE] [--mqtt-ca-file FILE] [--mqtt-discovery] [--dmx URL]... "
            "[--dmx-start N] [--dmx-layout rgb|single] [--when-lost "
            "keep|off|blink] [--blink-after SECONDS] "
            "[--lights-off-at-quit] MAP"),
        QStringLiteral("Run the update cycle on a tally map without a window, printing each change, until "
                       "interrupted (or for N ticks of 0.25 s)"),
        runWatch,
        QStringList {
            QStringLiteral("  --ticks N             stop after N ticks of 0.25 s"),
            QStringLiteral("  --json                one JSON object a line per change, with its time: "
                           "{\"event\":\"light\",\"light\":1,\"mode\":\"live\",\"shots\":[...],"
                           "\"litBy\":[...],\"time\":...}"),
            QStringLiteral("  --timestamps          put the local time in front of each line (the default when "
                           "standard output is a terminal)"),
            QStringLiteral("  --no-timestamps       plain lines, also on a terminal"),
        } + RunOptions::helpLines(),
        CommandLine::captureVariablesHelp()
            + QStringList {
                QStringLiteral("  MIXDESK_TALLY_OBS_PASSWORD=PASSWORD   the OBS Studio password when no --password-file "
                               "gives one"),
                QStringLiteral("  MIXDESK_TALLY_MQTT_PASSWORD=PASSWORD  the MQTT brokers' password when no "
                               "--mqtt-password-file gives one"),
            },
        { QStringLiteral("  0  interrupted (Ctrl-C, SIGTERM) or N ticks done"),
            QStringLiteral("  1  the map cannot be read; the message names the file and, for its contents, the line"),
            QStringLiteral("  2  wrong usage") },
    };
    return definition;
}

// Set by SIGINT and SIGTERM; the next tick sees it and ends the run, so the
// cycle is never cut off between a light's two bytes.
volatile std::sig_atomic_t stopRequested = 0;

extern "C" void requestStop(int /*signalNumber*/)
{
    stopRequested = 1;
}

void installStopHandlers()
{
    struct sigaction action { };
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

struct WatchOptions {
    RunOptions run;
    QString mapPath;
    // 0: until interrupted.
    qint64 ticks = 0;
    bool json = false;
    // Unset: timestamps when a person watches (standard output is a
    // terminal), plain lines into pipes and files that other programs read.
    std::optional<bool> timestamps;
};

WatchPrinter::Style printStyle(const WatchOptions& options)
{
    return options.json ? WatchPrinter::Style::Json : WatchPrinter::Style::Plain;
}

// Whether every line is stamped with its time. JSON objects carry their
// time inside.
bool stampsLines(const WatchOptions& options)
{
    return !options.json && options.timestamps.value_or(::isatty(STDOUT_FILENO) == 1);
}

// A time on every line the run prints, on either stream and from any part
// of it (the switcher's news, the phone links, a TSL destination's failure,
// Qt's own warnings), not only on the printer's.
void stampEveryLine()
{
    setLineTimestamps([] { return QDateTime::currentDateTime(); });
    printQtMessagesAsLines();
}

// The flags of watch itself; true when argument was one of them.
bool takeFlag(const QString& argument, WatchOptions* options)
{
    if (argument == QLatin1String("--json")) {
        options->json = true;
    } else if (argument == QLatin1String("--timestamps")) {
        options->timestamps = true;
    } else if (argument == QLatin1String("--no-timestamps")) {
        options->timestamps = false;
    } else {
        return false;
    }
    return true;
}

// Fills options; false, with the usage problem, when they are wrong.
bool parseOptions(QStringList arguments, WatchOptions* options, QString* problem)
{
    if (!RunOptions::takeFrom(arguments, &options->run, problem)) {
        return false;
    }
    QStringList positional;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        QString ticks;
        if (takeFlag(argument, options)) {
            continue;
        }
        if (argument == QLatin1String("--ticks")) {
            if (i + 1 >= arguments.size()) {
                return reportProblem(problem, QStringLiteral("--ticks needs a number"));
            }
            ticks = arguments[++i];
        } else if (argument.startsWith(QLatin1String("--ticks="))) {
            ticks = argument.mid(8);
        } else if (argument.startsWith(QLatin1String("--")) && argument.size() > 2) {
            return reportProblem(problem, QStringLiteral("unknown option '%1'").arg(argument));
        } else {
            positional.append(argument);
            continue;
        }
        bool isNumber = false;
        options->ticks = ticks.toLongLong(&isNumber);
        if (!isNumber || options->ticks < 1) {
            return reportProblem(
                problem, QStringLiteral("--ticks needs a whole number of at least 1, not '%1'").arg(ticks));
        }
    }
    if (positional.size() != 1) {
        return reportProblem(problem, QStringLiteral("expected one MAP file"));
    }
    options->mapPath = positional.first();
    return true;
}

// The addresses phones open, as soon as the page is served; with --json on
// standard error, so that standard output stays one object a line.
void announcePhoneLinks(const WebTallyServer& page, qsizetype lightCount, bool json)
{
    const QList<PhoneLink> links = PhoneLinks::forPages(page.pageUrls(), lightCount);
    const bool toTerminal = !json && ::isatty(STDOUT_FILENO) == 1;
    for (const QString& line : PhoneLinksAnnouncement::lines(links, toTerminal)) {
        json ? printErrorLine(line) : printLine(line);
    }
}

int runWatch(const QStringList& arguments)
{
    WatchOptions options;
    QString usageProblem;
    if (!parseOptions(arguments, &options, &usageProblem)) {
        return CommandLine::usageError(command(), usageProblem);
    }
    if (stampsLines(options)) {
        stampEveryLine();
    }
    QString failure;
    std::optional<TallyMap> tallyMap = CommandInputs::readTallyMap(options.mapPath, &failure);
    if (!tallyMap) {
        printErrorLine(QStringLiteral("Read of document failed: %1").arg(failure));
        return CommandLine::exitFailure;
    }
    installStopHandlers();
    USBHIDAppDelegate& tallyBox = USBHIDAppDelegate::shared();

    // As the window does: the device first (above), then the tick loop.
    QString sourceProblem;
    std::unique_ptr<ShotSource> source = makeShotSource(options.run, &sourceProblem);
    if (!source) {
        return CommandLine::usageError(command(), sourceProblem);
    }
    QString outputsProblem;
    if (!checkOutputs(options.run, &outputsProblem)) {
        return CommandLine::usageError(command(), outputsProblem);
    }
    const std::optional<StartedOutputs> outputs = startOutputs(options.run, &outputsProblem);
    if (!outputs) {
        printErrorLine(QStringLiteral("tallyctl watch: ") + outputsProblem);
        return CommandLine::exitFailure;
    }
    if (outputs->web) {
        announcePhoneLinks(*outputs->web, tallyMap->shotSelections().size(), options.json);
    }
    if (outputs->vmixFeed) {
        const QString listening = QStringLiteral("vMix tally feed on %1").arg(outputs->vmixFeed->address().toString());
        options.json ? printErrorLine(listening) : printLine(listening);
    }
    WatchPrinter printer(tallyMap->shotSelections().size(), printStyle(options));
    printer.setSource(source->displayName(), source->kind());
    // Several switchers: the JSON running events tell of each one. The
    // ticker owns the source from here on and keeps it to the end.
    if (auto* combined = qobject_cast<CombinedShotSource*>(source.get())) {
        printer.setSwitchers([combined] {
            QList<WatchPrinter::SwitcherState> states;
            for (qsizetype index = 0; index < combined->memberCount(); ++index) {
                states.append(
                    { combined->label(index), combined->member(index).kind(), combined->memberRunning(index) });
            }
            return states;
        });
    }
    // Status lines are for a person; with --json they go to standard error
    // so that standard output stays one object a line.
    QObject::connect(source.get(), &ShotSource::statusChanged,
        [json = options.json](const QString& status) { json ? printErrorLine(status) : printLine(status); });
    for (ShotSource* followed : CombinedShotSource::switchersOf(*source)) {
        if (auto* tsl = qobject_cast<TslShotSource*>(followed)) {
            tsl->setNamesSendersOnStandardError(false);
        }
    }
    // The box is written on a thread of its own: a slow one never holds up
    // the outputs. Made before the ticker, it outlives it and writes the
    // lights at quit before the command returns.
    BoxWriter boxWriter([&tallyBox](quint8 byte) { tallyBox.sendControl(byte); });
    TallyTicker ticker(std::move(source), *tallyMap, printer,
        [&boxWriter](qsizetype lightIndex, LightCommand::BytePair bytes) { boxWriter.handInLight(lightIndex, bytes); });
    ticker.cycle().setRoundHandedIn([&boxWriter] { boxWriter.startWriting(); });
    ticker.cycle().addOutput(&printer);
    outputs->addTo(ticker.cycle());
    ticker.setLostSourcePolicy(options.run.lostSourcePolicy());
    // A stop that was asked for ends the run before the next tick.
    ticker.setHoldBack([] {
        if (stopRequested == 0) {
            return false;
        }
        QCoreApplication::exit(CommandLine::exitOk);
        return true;
    });
    qint64 ticksDone = 0;
    // A switcher that announces a cut gets it onto the lights at once; those
    // extra ticks do not count towards --ticks, which measures time.
    QObject::connect(&ticker, &TallyTicker::ticked, [&](TallyTicker::Reason reason) {
        if (reason != TallyTicker::Reason::timer) {
            return;
        }
        // Asked after the tick, when the box found at start-up has had a
        // quarter of a second to be matched.
        printer.setTallyBoxAttached(tallyBox.controller() != nullptr);
        ++ticksDone;
        if (options.ticks != 0 && ticksDone >= options.ticks) {
            QCoreApplication::exit(CommandLine::exitOk);
        }
    });
    ticker.start();
    const int exitCode = QCoreApplication::exec();
    // The last tick whole on the box, then the lights at quit after it.
    boxWriter.waitUntilWritten();
    ticker.finish();
    boxWriter.waitUntilWritten();
    return exitCode;
}

} // namespace

Command watchCommand()
{
    return command();
}
