#include "MapNewCommand.h"

#include "base/StandardOutput.h"
#include "launch/RunBuilder.h"
#include "launch/RunOptions.h"
#include "tally/CombinedShotSource.h"
#include "tallymap/TallyMapFile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QThread>

#include <algorithm>

namespace {

// Long enough for a network switcher to answer its first connection (OBS
// identifies and lists its scenes in well under a second on a LAN), short
// enough that a wrong address is soon said.
constexpr int shotsWaitMs = 5000;

int failed(const QString& message)
{
    printErrorLine(QStringLiteral("tallyctl map new: ") + message);
    return CommandLine::exitFailure;
}

// Whether the run options name anything besides where the shots come from:
// outputs and lost-source choices mean nothing to a map.
bool onlyChoosesASource(const RunOptions& options)
{
    return options.tsl31Destinations.isEmpty() && options.tsl50Destinations.isEmpty() && !options.tslGiven
        && options.mqttBrokers.isEmpty() && !options.mqttGiven && !options.web && !options.whenSourceLost
        && !options.blinkAfterSeconds && !options.lightsOffAtQuit;
}

// Whether every switcher the source follows runs (one, or each of several).
bool everySwitcherRuns(ShotSource& source)
{
    const auto* combined = qobject_cast<const CombinedShotSource*>(&source);
    if (!combined) {
        return true;
    }
    for (qsizetype index = 0; index < combined->memberCount(); ++index) {
        if (!combined->memberRunning(index)) {
            return false;
        }
    }
    return true;
}

// The source's shots once it runs and has any, waiting while its
// connection is made; nothing when it has none in time, with the source's
// last word on why.
std::optional<ShotList> firstShots(ShotSource& source, QString* why)
{
    QString lastStatus;
    QObject::connect(
        &source, &ShotSource::statusChanged, [&lastStatus](const QString& status) { lastStatus = status; });
    const QDeadlineTimer deadline(shotsWaitMs);
    ShotList some;
    while (!deadline.hasExpired()) {
        if (source.isRunning()) {
            ShotList shots = source.queryShots();
            // With several switchers, the map holds all their shots once
            // all are there; what there is when time is up, else.
            if (!shots.isEmpty() && everySwitcherRuns(source)) {
                return shots;
            }
            some = shots.isEmpty() ? some : shots;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(20);
    }
    if (!some.isEmpty()) {
        return some;
    }
    *why = source.isRunning() ? QStringLiteral("%1 has no shots").arg(source.displayName())
                              : (lastStatus.isEmpty() ? source.notRunningWarning() : lastStatus);
    return std::nullopt;
}

// The cameras and scenes, one a light; the switcher's on-air states
// (Recording, Streaming) are left for the user to give a light of their own.
TallyMap mapOf(const ShotList& shots)
{
    TallyMap map;
    qsizetype light = 0;
    for (const ShotPtr& shot : shots) {
        if (light == TallyMap::numberOfLights) {
            break;
        }
        if (shot->isOnAirState) {
            continue;
        }
        // A record of its own: the map keeps names, not the source's state.
        auto record = std::make_shared<Shot>(shot->name);
        record->shotId = shot->shotId;
        map.setShotSelection(light++, { record });
    }
    return map;
}

} // namespace

namespace MapNewCommand {

int run(const CommandLine::Command& command, QStringList arguments)
{
    RunOptions options;
    QString problem;
    if (!RunOptions::takeFrom(arguments, &options, &problem)) {
        return CommandLine::usageError(command, problem);
    }
    if (!onlyChoosesASource(options)) {
        return CommandLine::usageError(
            command, QStringLiteral("map new takes --source and the source's own options, no outputs"));
    }
    const CommandLine::ParsedArguments parsed = CommandLine::parse(arguments);
    if (const std::optional<int> unknown
        = CommandLine::rejectUnknownFlags(command, parsed, { QStringLiteral("--force") })) {
        return *unknown;
    }
    if (parsed.positional.size() != 1) {
        return CommandLine::usageError(command, QStringLiteral("expected one FILE"));
    }
    const QString path = parsed.positional.first();
    if (QFileInfo::exists(path) && !parsed.flags.contains(QStringLiteral("--force"))) {
        return failed(QStringLiteral("%1 exists; give --force to replace it").arg(path));
    }

    TallyMap map;
    if (options.sourceGiven) {
        std::unique_ptr<ShotSource> source = makeShotSource(options, &problem);
        if (!source) {
            return CommandLine::usageError(command, problem);
        }
        const std::optional<ShotList> shots = firstShots(*source, &problem);
        if (!shots) {
            return failed(QStringLiteral("no shots from %1 within %2 s: %3")
                              .arg(options.sources().join(QStringLiteral(", ")))
                              .arg(shotsWaitMs / 1000)
                              .arg(problem));
        }
        map = mapOf(*shots);
    }
    Error error;
    if (!TallyMapFile::write(map, path, TallyMapFile::documentType, &error)) {
        return failed(QStringLiteral("cannot write %1: %2").arg(path, error.localizedDescription));
    }
    return CommandLine::exitOk;
}

} // namespace MapNewCommand
