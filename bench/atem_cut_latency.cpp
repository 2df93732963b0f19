// How long a cut in the ATEM stand-in takes to reach the tally box (see
// StandinCutLatency.h).
// Usage: atem_cut_latency [CUTS]   (default 200). Prints median, p99 and max.

#include "StandinCutLatency.h"
#include "support/AtemStandinProcess.h"

#include <QCoreApplication>

#include <cstdlib>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int cuts = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;
    // It starts with Camera 1 on program and Camera 2 on preview.
    AtemStandinProcess atem;
    if (!atem.start()) {
        return StandinCutLatency::fail("atem_cut_latency", "the stand-in did not start");
    }
    return StandinCutLatency::measureCutsToTheBox("atem_cut_latency", atem, cuts);
}
