#!/usr/bin/env bash
# Measures mixdesk-tally beside the headless stand-in, offscreen, with a
# capture file as tally box: the time from process start to the first tick's
# sixteen reports, then the CPU time and resident memory of a minute of idle
# ticking on a 20-shot show. Usage: scripts/measure.sh [PRESET] [SECONDS]
# (default: release, 60). Build the preset first.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
seconds=${2:-60}
bin=build/$preset/bin
work=$(mktemp -d "${TMPDIR:-/tmp}/mixdesk-tally-measure.XXXXXX")
standin=""
tally=""
cleanup() {
  [[ -n "$tally" ]] && kill "$tally" 2>/dev/null || true
  [[ -n "$standin" ]] && kill "$standin" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
export XDG_RUNTIME_DIR="$work/runtime" HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config"
mkdir -m 700 "$XDG_RUNTIME_DIR"
mkdir -p "$HOME"
for i in $(seq 1 20); do echo "Camera $i"; done >"$work/shots.txt"
printf '0|Camera 1\r\n1|Camera 2\r\n2|Camera 3|Camera 4\r\n3|Camera 20\r\n4|Camera 19\r\n5|\r\n6|\r\n7|\r\n' >"$work/map.tlx"

(sleep $((seconds + 30)); echo quit) | "$bin/mixdesk" --headless --shots "$work/shots.txt" --program 1 --preview 2 --auto-cut 2 >/dev/null &
standin=$!
until [[ -s "$XDG_RUNTIME_DIR/mixdesk/shots" ]]; do sleep 0.05; done

capture="$work/capture.hex"
start=$(date +%s%N)
QT_QPA_PLATFORM=offscreen MIXDESK_TALLY_HID_CAPTURE="$capture" "$bin/mixdesk-tally" "$work/map.tlx" >/dev/null 2>&1 &
tally=$!
# Looked at every 50 ms: each look starts processes, and looking more often
# would take CPU from the program being timed on a small machine.
until [[ -f "$capture" ]] && (($(wc -l <"$capture") >= 16)); do sleep 0.05; done
first=$(date +%s%N)
# The capture file was last written by the first tick's last report, unless
# the second tick has begun meanwhile: its time is then exact, where the
# loop above notices the bytes only up to 50 ms later.
written=$(stat -c %.9Y "$capture")
if (($(wc -l <"$capture") == 16)); then
  first=${written/./}
fi
echo "start to first tick's bytes: $(((first - start) / 1000000)) ms"

sleep 2 # past start-up
ticks=$(getconf CLK_TCK)
# Its own time, and that of the query script it runs on every tick.
cpu() { awk '{ print $14 + $15 }' "/proc/$tally/stat"; }
children() { awk '{ print $16 + $17 }' "/proc/$tally/stat"; }
# How often its threads went to sleep and were woken: a program that is
# idle should wake for its tick and little else.
wakeups() { cat /proc/"$tally"/task/*/status | awk '/^voluntary_ctxt_switches/ { n += $2 } END { print n }'; }
before=$(cpu)
wakeups_before=$(wakeups)
children_before=$(children)
lines_before=$(wc -l <"$capture")
sleep "$seconds"
after=$(cpu)
wakeups_after=$(wakeups)
children_after=$(children)
lines_after=$(wc -l <"$capture")
cpu_ms=$(((after - before) * 1000 / ticks))
echo "idle over ${seconds} s: ${cpu_ms} ms CPU ($(awk -v c="$cpu_ms" -v s="$seconds" 'BEGIN { printf "%.2f", c / (s * 10) }')% of one core)," \
  "$(((lines_after - lines_before) / 16)) ticks"
echo "wake-ups over ${seconds} s: $((wakeups_after - wakeups_before)) ($(((wakeups_after - wakeups_before) / seconds)) a second, every thread)"
query_ms=$(((children_after - children_before) * 1000 / ticks))
echo "query script processes over ${seconds} s: ${query_ms} ms CPU"
echo "resident memory: $(awk '/VmRSS/ { print $2, $3 }' "/proc/$tally/status")"
