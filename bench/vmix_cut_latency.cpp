// How long a cut in the vMix stand-in takes to reach the tally box (see
// StandinCutLatency.h): tallyctl watch follows the stand-in's TCP API, and
// the cut comes as a tally event.
// Usage: vmix_cut_latency [CUTS]   (default 200). Prints median, p99 and max.

#include "StandinCutLatency.h"
#include "support/VmixStandinProcess.h"

#include <QCoreApplication>

#include <cstdlib>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int cuts = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;
    VmixStandinProcess vmix;
    // Camera 1 on program and Camera 2 on preview, so that every cut swaps
    // light 1 between live and preview.
    vmix.setOptions(
        { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("2") });
    if (!vmix.start()) {
        return StandinCutLatency::fail("vmix_cut_latency", "the stand-in did not start");
    }
    return StandinCutLatency::measureCutsToTheBox("vmix_cut_latency", vmix, cuts);
}
