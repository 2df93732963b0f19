// The entry of every Google Benchmark program here. Some of them start child
// processes or run Qt's event loop, which want an application object before
// the first benchmark runs; for the others it costs nothing.

#include <QCoreApplication>

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
