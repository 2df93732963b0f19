#!/usr/bin/env bash
# Times cuts in the vMix stand-in to the tally box: tallyctl watch following
# the stand-in with the capture device as box, each cut timed from the line
# written to the stand-in until the box has the sixteen reports of the tick
# that shows it. Prints median, p99 and max.
# Usage: scripts/measure-vmix-latency.sh [PRESET] [CUTS]
#   (default: release, 200 cuts)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
cuts=${2:-200}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j 2 --target vmix_cut_latency tallyctl vmix-standin
"build/$preset/bench/vmix_cut_latency" "$cuts"
