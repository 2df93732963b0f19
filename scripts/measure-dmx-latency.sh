#!/usr/bin/env bash
# Times cuts in the ATEM stand-in to DMX receivers: tallyctl watch following
# the stand-in and sending Art-Net and sACN to two UDP receivers, each cut
# timed from the line written to the stand-in until each receiver has the
# datagram showing it. Prints median, p99 and max for each protocol.
# Usage: scripts/measure-dmx-latency.sh [PRESET] [CUTS]
#   (default: release, 200 cuts)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
cuts=${2:-200}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j 2 --target dmx_cut_latency tallyctl atem-standin
"build/$preset/bench/dmx_cut_latency" "$cuts"
