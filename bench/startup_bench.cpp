// From starting the window to the first tick's sixteen reports at the
// capture tally box, beside the Mixdesk stand-in: the start-up figure of
// scripts/measure.sh, repeated and summarised. The first
// tick waits one 250 ms interval by design; the counter "beyond_interval_ms"
// is the rest, the loader, Qt and the window up to its timer.

#include "e2e/CaptureFile.h"
#include "e2e/WindowEnvironment.h"
#include "tools/StandinProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <benchmark/benchmark.h>

namespace {

constexpr double tickIntervalMilliseconds = 250;

void startToFirstTick(benchmark::State& state)
{
    QTemporaryDir home;
    StandinProcess standin;
    if (!home.isValid() || !standin.start(StandinProcess::studioStart())) {
        state.SkipWithError("the stand-in did not start");
        return;
    }
    const QString mapPath = home.filePath(QStringLiteral("studio.tlx"));
    QFile map(mapPath);
    if (!map.open(QIODevice::WriteOnly) || map.write("0|Camera 1\r\n1|Camera 2\r\n2|Camera 1|Camera 2\r\n") < 0) {
        state.SkipWithError("the tally map could not be written");
        return;
    }
    map.close();
    const CaptureFile capture { home.filePath(QStringLiteral("capture.hex")) };
    const QProcessEnvironment environment
        = windowEnvironment(standin.environment(), home.path(), home.filePath(QStringLiteral("config")), capture.path);

    double totalMilliseconds = 0;
    for (auto _ : state) {
        QFile::remove(capture.path);
        QProcess window;
        window.setProcessEnvironment(environment);
        window.setStandardOutputFile(QProcess::nullDevice());
        window.setStandardErrorFile(QProcess::nullDevice());
        QElapsedTimer since;
        since.start();
        window.start(QStringLiteral(TALLY_BINARY_DIR "/bin/mixdesk-tally"), { mapPath });
        // Looked at every half millisecond, on the other core of a small
        // machine.
        while (capture.ticks().isEmpty() && since.elapsed() < 10000) {
            QThread::usleep(500);
        }
        const double milliseconds = static_cast<double>(since.nsecsElapsed()) / 1e6;
        window.terminate();
        window.waitForFinished(10000);
        if (milliseconds >= 10000) {
            state.SkipWithError("the window sent no tick within 10 s");
            return;
        }
        state.SetIterationTime(milliseconds / 1000);
        totalMilliseconds += milliseconds;
    }
    state.counters["beyond_interval_ms"]
        = totalMilliseconds / static_cast<double>(state.iterations()) - tickIntervalMilliseconds;
}

} // namespace

BENCHMARK(startToFirstTick)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);
