// The cost of the sixteen writes of one update tick (two bytes for each of
// eight lights), through the capture file and through the hidapi back end on
// a library whose write does nothing. The tick sends all sixteen every 0.25 s.
// Then what a tick costs the caller when the box is written through a
// BoxWriter: the eight pairs handed to a writer whose box (the capture file)
// takes 0 or 40 ms a report; the tick must not wait for the box.

#include "hardware/BoxWriter.h"
#include "hardware/CaptureBackend.h"
#include "hardware/HidapiBackend.h"
#include "hardware/LightCommand.h"
#include "hardware/USBHIDAppDelegate.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <array>

namespace {

std::array<quint8, 16> tickBytes()
{
    std::array<quint8, 16> bytes {};
    for (int light = 1; light <= 8; ++light) {
        const auto mode = static_cast<TallyMode>(light % 3);
        const LightCommand::BytePair pair = LightCommand::bytesForMode(mode, light);
        bytes[std::size_t(2 * (light - 1))] = pair.first;
        bytes[std::size_t(2 * (light - 1) + 1)] = pair.second;
    }
    return bytes;
}

class StubHidApi : public HidApi {
public:
    bool init() override { return true; }
    QList<HidDeviceDescription> enumerate(quint16, quint16) override
    {
        return { { QStringLiteral("/dev/hidraw0"), QStringLiteral("maker"), QStringLiteral("box"), QString() } };
    }
    Handle openPath(const QString&) override { return this; }
    int write(Handle, const quint8* data, std::size_t length) override
    {
        benchmark::DoNotOptimize(data);
        return int(length);
    }
    void close(Handle) override { }
};

class SilentWatcher : public DeviceChangeWatcher {
public:
    void start(std::function<void()>) override { }
};

void sendTick(USBHIDAppDelegate& delegate, benchmark::State& state)
{
    const std::array<quint8, 16> bytes = tickBytes();
    for (auto _ : state) {
        for (const quint8 byte : bytes) {
            delegate.sendControl(byte);
        }
    }
    state.SetItemsProcessed(state.iterations() * qint64(bytes.size()));
}

void BM_TickThroughCaptureFile(benchmark::State& state)
{
    QTemporaryDir dir;
    USBHIDAppDelegate delegate { std::make_unique<CaptureBackend>(dir.filePath(QStringLiteral("reports.txt"))) };
    sendTick(delegate, state);
}
BENCHMARK(BM_TickThroughCaptureFile);

void BM_TickThroughHidapiWithStubWrite(benchmark::State& state)
{
    USBHIDAppDelegate delegate { std::make_unique<HidapiBackend>(
        std::make_unique<StubHidApi>(), std::make_unique<SilentWatcher>()) };
    sendTick(delegate, state);
}
BENCHMARK(BM_TickThroughHidapiWithStubWrite);

// range(0): milliseconds a report takes.
void BM_TickHandedToABoxWriter(benchmark::State& state)
{
    QTemporaryDir dir;
    USBHIDAppDelegate delegate { std::make_unique<CaptureBackend>(
        dir.filePath(QStringLiteral("reports.txt")), std::chrono::milliseconds(state.range(0))) };
    const std::array<quint8, 16> bytes = tickBytes();
    {
        BoxWriter writer([&delegate](quint8 byte) { delegate.sendControl(byte); });
        for (auto _ : state) {
            for (qsizetype light = 0; light < 8; ++light) {
                writer.handInLight(light, { bytes[std::size_t(2 * light)], bytes[std::size_t(2 * light + 1)] });
            }
            writer.startWriting(); // as the tick does once its lights are in
        }
    } // the last round of the box is written here, after the timed loop
    state.SetItemsProcessed(state.iterations() * 8);
}
BENCHMARK(BM_TickHandedToABoxWriter)->Arg(0)->Arg(40)->Unit(benchmark::kMicrosecond);

} // namespace
