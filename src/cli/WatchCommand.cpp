#include "cli/WatchCommand.h"

#include "app/RunOptions.h"
#include "app/TallyCycle.h"
#include "cli/CommandInputs.h"
#include "cli/WatchPrinter.h"
#include "core/StandardOutput.h"
#include "hardware/USBHIDAppDelegate.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <csignal>

namespace {

using CommandLine::Command;

int runWatch(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("watch"),
        QStringLiteral("watch [--ticks N] [--source SOURCE] [--password-file FILE] [--when-lost keep|off|blink] "
                       "[--blink-after SECONDS] [--lights-off-at-quit] MAP"),
        QStringLiteral("Run the update cycle on a tally map without a window, printing each change, until "
                       "interrupted (or for N ticks of 0.25 s)"),
        runWatch,
    };
    return definition;
}

constexpr std::chrono::milliseconds tickInterval { 250 };

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
};

// Fills options, or returns the usage problem.
std::optional<QString> parseOptions(QStringList arguments, WatchOptions* options)
{
    if (std::optional<QString> problem = RunOptions::takeFrom(arguments, &options->run)) {
        return problem;
    }
    QStringList positional;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        QString ticks;
        if (argument == QLatin1String("--ticks")) {
            if (i + 1 >= arguments.size()) {
                return QStringLiteral("--ticks needs a number");
            }
            ticks = arguments[++i];
        } else if (argument.startsWith(QLatin1String("--ticks="))) {
            ticks = argument.mid(8);
        } else if (argument.startsWith(QLatin1String("--")) && argument.size() > 2) {
            return QStringLiteral("unknown option '%1'").arg(argument);
        } else {
            positional.append(argument);
            continue;
        }
        bool isNumber = false;
        options->ticks = ticks.toLongLong(&isNumber);
        if (!isNumber || options->ticks < 1) {
            return QStringLiteral("--ticks needs a whole number of at least 1, not '%1'").arg(ticks);
        }
    }
    if (positional.size() != 1) {
        return QStringLiteral("expected one MAP file");
    }
    options->mapPath = positional.first();
    return std::nullopt;
}

int runWatch(const QStringList& arguments)
{
    WatchOptions options;
    if (const std::optional<QString> problem = parseOptions(arguments, &options)) {
        return CommandLine::usageError(command(), *problem);
    }
    QString failure;
    std::optional<TallyMap> tallyMap = CommandInputs::readTallyMap(options.mapPath, &failure);
    if (!tallyMap) {
        printErrorLine(QStringLiteral("Read of document failed: %1").arg(failure));
        return CommandLine::exitFailure;
    }
    installStopHandlers();

    // As the window does: the device first, one query before the first tick,
    // then a tick every 0.25 s.
    USBHIDAppDelegate::shared();
    WatchPrinter printer(tallyMap->shotSelections().size());
    QString sourceProblem;
    const std::unique_ptr<ShotSource> source = makeShotSource(options.run, &sourceProblem);
    if (!source) {
        return CommandLine::usageError(command(), sourceProblem);
    }
    TallyCycle cycle(*source, printer);
    cycle.setLostSourcePolicy(options.run.lostSourcePolicy());
    Mixdesk::ShotList shotList = source->queryShots();
    qint64 ticksDone = 0;

    QTimer timer;
    timer.setInterval(tickInterval);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (stopRequested != 0) {
            QCoreApplication::exit(CommandLine::exitOk);
            return;
        }
        cycle.updateTallyLights(shotList, *tallyMap);
        ++ticksDone;
        if (options.ticks != 0 && ticksDone >= options.ticks) {
            QCoreApplication::exit(CommandLine::exitOk);
        }
    });
    timer.start();
    const int exitCode = QCoreApplication::exec();
    if (cycle.lostSourcePolicy().turnOffAtQuit) {
        cycle.turnLightsOff(tallyMap->shotSelections().size());
    }
    return exitCode;
}

} // namespace

Command watchCommand()
{
    return command();
}
