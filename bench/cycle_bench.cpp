// One update tick without the query: splitting a shot answer, deciding the
// eight lights, updating the indicators (through an observer that does
// nothing) and the sixteen sendControl calls through the capture tally box.
// The tick runs every 0.25 s; the query itself is measured in link_bench.

#include "hardware/CaptureBackend.h"
#include "hardware/USBHIDAppDelegate.h"
#include "link/MixdeskPlatform.h"
#include "sources/MixdeskShotSource.h"
#include "tally/TallyCycle.h"
#include "tallymap/TallyMap.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

class QuietObserver : public TallyCycle::Observer {
public:
    void setMixdeskWarningHidden(bool) override { }
    void setEnableEditing(bool) override { }
    void refreshAssignmentTitles() override { }
    qsizetype indicatorCount() const override { return TallyMap::numberOfLights; }
    void showLightMode(qsizetype, TallyMode mode) override { benchmark::DoNotOptimize(mode); }
};

// A show of the given size, shot 1 live and shot 2 in preview.
ShotList answer(int shotCount)
{
    ShotList shots;
    for (int i = 1; i <= shotCount; ++i) {
        auto shot = std::make_shared<Shot>(QStringLiteral("Camera %1").arg(i));
        shot->shotId = QString::number(i);
        shot->isLive = i == 1;
        shot->isPreview = i == 2;
        shots.append(shot);
    }
    return shots;
}

// Two shots per light, the last ones in the list, so every match scans far.
TallyMap mapFor(int shotCount)
{
    TallyMap map;
    for (int light = 0; light < TallyMap::numberOfLights; ++light) {
        map.setShotSelection(light,
            { std::make_shared<Shot>(QStringLiteral("Camera %1").arg(shotCount - light)),
                std::make_shared<Shot>(QStringLiteral("Camera %1").arg(light == 0 ? 1 : 2 + light)) });
    }
    return map;
}

void BM_TickWithoutQuery(benchmark::State& state)
{
    const int shotCount = int(state.range(0));
    QTemporaryDir dir;
    USBHIDAppDelegate device { std::make_unique<CaptureBackend>(dir.filePath(QStringLiteral("reports.txt"))) };
    QuietObserver observer;
    Mixdesk mixdesk { makeHostMixdeskPlatform() };
    MixdeskShotSource source { mixdesk };
    TallyCycle cycle { source, observer, TallyCycle::byteByByte([&device](quint8 byte) { device.sendControl(byte); }) };
    const ShotList shots = answer(shotCount);
    const TallyMap map = mapFor(shotCount);
    for (auto _ : state) {
        cycle.driveLights(map.shotSelections(), shots);
    }
    state.SetItemsProcessed(state.iterations() * 16);
}
BENCHMARK(BM_TickWithoutQuery)->Arg(8)->Arg(20)->Arg(100)->Unit(benchmark::kMicrosecond);

// The same with a device that drops every byte: the logic alone.
void BM_TickLogicOnly(benchmark::State& state)
{
    const int shotCount = int(state.range(0));
    QuietObserver observer;
    Mixdesk mixdesk { makeHostMixdeskPlatform() };
    MixdeskShotSource source { mixdesk };
    TallyCycle cycle { source, observer, TallyCycle::byteByByte([](quint8 byte) { benchmark::DoNotOptimize(byte); }) };
    const ShotList shots = answer(shotCount);
    const TallyMap map = mapFor(shotCount);
    for (auto _ : state) {
        cycle.driveLights(map.shotSelections(), shots);
    }
}
BENCHMARK(BM_TickLogicOnly)->Arg(20)->Unit(benchmark::kMicrosecond);

} // namespace
