#!/usr/bin/env bash
# Times cuts in a real OBS Studio to the tally box: OBS on a display of its
# own, tallyctl watch following it with the capture device as box, each cut
# timed from its request to OBS until the box has the sixteen reports of the
# tick that shows it. Prints median, p99 and max.
# Usage: scripts/measure-obs-latency.sh [PRESET] [CUTS] [FPS]
#   (default: release, 200 cuts, OBS's own frame rate of 30)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
cuts=${2:-200}
fps=${3:-0}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j 2 --target obs_cut_latency tallyctl
"build/$preset/bench/obs_cut_latency" "$cuts" "$fps"
