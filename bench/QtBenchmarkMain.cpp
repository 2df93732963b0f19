// The entry of every Google Benchmark program here. Some of them start child
// processes or run Qt's event loop, which want an application object before
// the first benchmark runs; for the others it costs nothing. Freed memory is
// kept as the programs keep it, so that what is measured is what they do.

#include "base/MemoryPolicy.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    MemoryPolicy::keepFreedMemory();
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
