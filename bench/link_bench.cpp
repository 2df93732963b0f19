// The shot query's costs: reading and decoding a large answer, and one whole
// query through a real child process.

#include "link/AppleScriptNotationParser.h"
#include "link/AppleScriptNotationWriter.h"
#include "link/Mixdesk.h"
#include "link/ShotDecoder.h"
#include "link/linux/LinuxMixdeskPlatform.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <unistd.h>

namespace {

QByteArray answerOf(int shots)
{
    QList<AppleEventDescriptor> records;
    for (int i = 1; i <= shots; ++i) {
        records.append(AppleEventDescriptor::userRecord({ { "shotId", AppleEventDescriptor::text(QString::number(i)) },
            { "shotName", AppleEventDescriptor::text(QStringLiteral("Camera %1 — wide").arg(i)) },
            { "isLive", AppleEventDescriptor::boolean(i == 3) },
            { "isPreview", AppleEventDescriptor::boolean(i == 4) } }));
    }
    return AppleScriptNotationWriter::write(AppleEventDescriptor::list(records)).toUtf8() + '\n';
}

void parseAndDecode1000Shots(benchmark::State& state)
{
    const QByteArray answer = answerOf(1000);
    for (auto _ : state) {
        const std::optional<AppleEventDescriptor> parsed
            = AppleScriptNotationParser::parse(QByteArrayView(answer), nullptr);
        ShotList shots = decodeShots(*parsed);
        benchmark::DoNotOptimize(shots);
    }
    state.SetBytesProcessed(state.iterations() * answer.size());
}
BENCHMARK(parseAndDecode1000Shots)->Unit(benchmark::kMicrosecond);

void parse1000Shots(benchmark::State& state)
{
    const QByteArray answer = answerOf(1000);
    for (auto _ : state) {
        std::optional<AppleEventDescriptor> parsed = AppleScriptNotationParser::parse(QByteArrayView(answer), nullptr);
        benchmark::DoNotOptimize(parsed);
    }
}
BENCHMARK(parse1000Shots)->Unit(benchmark::kMicrosecond);

void decode1000Shots(benchmark::State& state)
{
    const AppleEventDescriptor answer = *AppleScriptNotationParser::parse(QByteArrayView(answerOf(1000)), nullptr);
    for (auto _ : state) {
        ShotList shots = decodeShots(answer);
        benchmark::DoNotOptimize(shots);
    }
}
BENCHMARK(decode1000Shots)->Unit(benchmark::kMicrosecond);

// One query as the update tick makes it: running count, resource lookup, a
// child process printing a 20-shot answer, parse and decode.
void queryShotsThroughAChildProcess(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString processes = dir.filePath("proc");
    const QString resources = dir.filePath("share");
    QDir().mkpath(processes + "/4242");
    QDir().mkpath(resources);
    QFile comm(processes + "/4242/comm");
    comm.open(QIODevice::WriteOnly);
    comm.write("mixdesk\n");
    comm.close();
    // A running process of this user: the platform counts no other.
    QFile status(processes + "/4242/status");
    status.open(QIODevice::WriteOnly);
    const QByteArray uid = QByteArray::number(::getuid());
    status.write("Name:\tmixdesk\nState:\tS (sleeping)\nUid:\t" + uid + "\t" + uid + "\t" + uid + "\t" + uid + "\n");
    status.close();
    QFile answer(resources + "/answer");
    answer.open(QIODevice::WriteOnly);
    answer.write(answerOf(20));
    answer.close();
    QFile script(resources + "/query_shots");
    script.open(QIODevice::WriteOnly);
    script.write("#!/bin/sh\nexec cat \"$(dirname \"$0\")/answer\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv(LinuxMixdeskPlatform::resourceDirectoryVariable, resources.toUtf8());

    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(processes));
    for (auto _ : state) {
        ShotList shots = mixdesk.queryShots();
        if (shots.size() != 20) {
            state.SkipWithError("the query did not give 20 shots");
            break;
        }
        benchmark::DoNotOptimize(shots);
    }
    qunsetenv(LinuxMixdeskPlatform::resourceDirectoryVariable);
}
BENCHMARK(queryShotsThroughAChildProcess)->Unit(benchmark::kMillisecond);

void runningApplicationCount(benchmark::State& state)
{
    LinuxMixdeskPlatform platform;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform.runningApplicationCount(mixdeskBundleIdentifier));
    }
}
BENCHMARK(runningApplicationCount)->Unit(benchmark::kMicrosecond);

} // namespace
