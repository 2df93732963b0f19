// Tally map file and per-light evaluation timings. Targets: writing and
// reading back a map of 8 lights x 1,000 names within 1 ms; one evaluation
// of 8 lights against 100 shots under 20 us (the update tick runs it four
// times a second).

#include "tally/TallyEvaluation.h"
#include "tallymap/TallyMap.h"

#include <benchmark/benchmark.h>

namespace {

const QString type = QStringLiteral("tlx");

TallyMap bigMap()
{
    TallyMap map;
    for (qint64 lightIndex = 0; lightIndex < TallyMap::numberOfLights; ++lightIndex) {
        ShotList records;
        for (int n = 0; n < 1000; ++n) {
            records.append(std::make_shared<Shot>(QStringLiteral("Camera %1 on light %2").arg(n).arg(lightIndex)));
        }
        map.setShotSelection(lightIndex, records);
    }
    return map;
}

void writeThenRead(benchmark::State& state)
{
    const TallyMap map = bigMap();
    for (auto _ : state) {
        const QByteArray data = map.dataOfType(type);
        TallyMap reread;
        const bool ok = reread.readFromData(data, type, nullptr);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(reread);
    }
}
BENCHMARK(writeThenRead)->Unit(benchmark::kMillisecond);

void writeOnly(benchmark::State& state)
{
    const TallyMap map = bigMap();
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.dataOfType(type));
    }
}
BENCHMARK(writeOnly)->Unit(benchmark::kMillisecond);

void readOnly(benchmark::State& state)
{
    const QByteArray data = bigMap().dataOfType(type);
    for (auto _ : state) {
        TallyMap reread;
        const bool ok = reread.readFromData(data, type, nullptr);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(reread);
    }
}
BENCHMARK(readOnly)->Unit(benchmark::kMillisecond);

// 100 shots, two live and three in preview, as a busy production reports
// them; each light has five shots assigned, by records of its own as read
// from a file (matching is by name, so these are not the shot objects).
void evaluateEightLights(benchmark::State& state)
{
    ShotList shots;
    for (int n = 0; n < 100; ++n) {
        auto shot = std::make_shared<Shot>(QStringLiteral("Shot %1").arg(n));
        shot->shotId = QString::number(1000 + n);
        shot->isLive = n == 42 || n == 77;
        shot->isPreview = n == 3 || n == 50 || n == 98;
        shots.append(shot);
    }
    QList<ShotList> lights(TallyMap::numberOfLights);
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        for (int k = 0; k < 5; ++k) {
            lights[lightIndex].append(std::make_shared<Shot>(QStringLiteral("Shot %1").arg(lightIndex * 10 + k)));
        }
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(TallyEvaluation::evaluate(lights, shots));
    }
}
BENCHMARK(evaluateEightLights)->Unit(benchmark::kMicrosecond);

} // namespace
