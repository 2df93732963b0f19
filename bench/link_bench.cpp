// The shot query's costs: reading and decoding a large answer, one whole
// query through a real child process, the shipped query script answered in
// this process and run as a child, and the check whether Mixdesk runs.

#include "link/AppleScriptNotationParser.h"
#include "link/Mixdesk.h"
#include "link/ShotDecoder.h"
#include "link/linux/LinuxMixdeskPlatform.h"
#include "link/linux/ShippedQuery.h"
#include "support/QueryAnswers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <unistd.h>

namespace {

using QueryAnswers::answerOf;

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

// The update tick's query with the shipped script, as the program runs it
// beside the stand-in: Mixdesk found running, the script recognised and the
// stand-in's 20-shot answer read, parsed and decoded in this process.
class ShippedQueryFixture {
public:
    ShippedQueryFixture()
    {
        const QString process = m_dir.filePath("proc/4242");
        QDir().mkpath(process);
        writeFile(process + "/comm", "mixdesk\n");
        const QByteArray uid = QByteArray::number(::getuid());
        writeFile(process + "/status",
            "Name:\tmixdesk\nState:\tS (sleeping)\nUid:\t" + uid + "\t" + uid + "\t" + uid + "\t" + uid + "\n");
        QDir().mkpath(m_dir.filePath("runtime/mixdesk"));
        writeFile(m_dir.filePath("runtime/mixdesk/shots"), answerOf(20));
        QDir().mkpath(m_dir.filePath("share"));
        QFile::copy(QStringLiteral(TALLY_BUILD_RESOURCE_DIR "/query_shots"), m_dir.filePath("share/query_shots"));
        m_previousRuntime = qgetenv("XDG_RUNTIME_DIR");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_dir.filePath("runtime")));
        qputenv(LinuxMixdeskPlatform::resourceDirectoryVariable, QFile::encodeName(m_dir.filePath("share")));
    }
    ~ShippedQueryFixture()
    {
        qputenv("XDG_RUNTIME_DIR", m_previousRuntime);
        qunsetenv(LinuxMixdeskPlatform::resourceDirectoryVariable);
    }

    QString processes() const { return m_dir.filePath("proc"); }
    QString script() const { return m_dir.filePath("share/query_shots"); }

private:
    static void writeFile(const QString& path, const QByteArray& content)
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(content);
    }

    QTemporaryDir m_dir;
    QByteArray m_previousRuntime;
};

void queryShotsThroughTheShippedScript(benchmark::State& state)
{
    const ShippedQueryFixture fixture;
    if (!ShippedQuery::isShippedScript(fixture.script())) {
        state.SkipWithError("the shipped query script is not built");
        return;
    }
    Mixdesk mixdesk(std::make_shared<LinuxMixdeskPlatform>(fixture.processes()));
    for (auto _ : state) {
        ShotList shots = mixdesk.queryShots();
        if (shots.size() != 20) {
            state.SkipWithError("the query did not give 20 shots");
            break;
        }
        benchmark::DoNotOptimize(shots);
    }
}
BENCHMARK(queryShotsThroughTheShippedScript)->Unit(benchmark::kMicrosecond);

// The same script run as a child process, as any other script is.
void shippedScriptAsAChildProcess(benchmark::State& state)
{
    const ShippedQueryFixture fixture;
    const std::unique_ptr<ScriptRunner> script = ScriptRunner::load(fixture.script());
    if (!script) {
        state.SkipWithError("the shipped query script is not built");
        return;
    }
    for (auto _ : state) {
        const ScriptResult result = script->execute();
        if (result.isError()) {
            state.SkipWithError("the script failed");
            break;
        }
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(shippedScriptAsAChildProcess)->Unit(benchmark::kMillisecond);

// Whether Mixdesk runs, asked again of the copy found last time.
void isApplicationRunningFoundBefore(benchmark::State& state)
{
    const ShippedQueryFixture fixture;
    LinuxMixdeskPlatform platform(fixture.processes());
    for (auto _ : state) {
        if (!platform.isApplicationRunning(mixdeskBundleIdentifier)) {
            state.SkipWithError("the process was not found");
            break;
        }
    }
}
BENCHMARK(isApplicationRunningFoundBefore)->Unit(benchmark::kMicrosecond);

} // namespace
