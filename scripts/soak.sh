#!/usr/bin/env bash
# Soak: tallyctl watch following a TSL UMD switcher, with the web tally page,
# for a while under a bounded mix of hostile load, and a real headless
# Chromium showing /light/1 throughout. Not part of the test run: it takes
# minutes. Build tallyctl first.
#
# Usage: scripts/soak.sh [SECONDS] [PRESET]    (default: 600, default)
#
# The load, all on this computer (each part of scripts/soak_load.py is a
# process of its own):
# - the switcher on 127.0.0.1: Camera 1 and Camera 2, state every 0.5 s, a
#   cut every 7 s;
# - a TSL flood of SOAK_TSL_RATE datagrams/s (default 2000) from the
#   switcher's address and three strangers (127.0.0.66-68): 40 spare indexes
#   at a time, spoofed "Camera 1 live" on a spare index, 2 KB packets,
#   garbage, toggles;
# - SOAK_IDLE_TCP (default 60) idle or dripping connections to the page;
# - SOAK_WEBSOCKETS (default 20) WebSocket clients, some sending oversized
#   frames or bursts, one now and then closed and opened again;
# - requests with 100 KB of headers or 200 KB of body, SOAK_HTTP_RATE a
#   second (default 5).
# watch hears TSL only from SOAK_TSL_ALLOW (default 127.0.0.1; set it empty
# to hear every sender, the default of the program itself).
#
# Reported: the longest gap between two writes to the tally box (its capture
# file, polled every 2 ms) and how many passed 0.5 s, how often the page
# showed NO SIGNAL, watch's resident memory at the start and the end, and
# its CPU time over the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}
preset=${2:-default}
bin=build/$preset/bin
load="python3 scripts/soak_load.py"
tsl_rate=${SOAK_TSL_RATE:-2000}
idle_tcp=${SOAK_IDLE_TCP:-60}
websockets=${SOAK_WEBSOCKETS:-20}
http_rate=${SOAK_HTTP_RATE:-5}
allow=${SOAK_TSL_ALLOW-127.0.0.1}
browser=${SOAK_BROWSER:-chromium}

[[ -x "$bin/tallyctl" ]] || { echo "soak: build $bin/tallyctl first" >&2; exit 1; }
command -v "$browser" >/dev/null || { echo "soak: no $browser to show the page" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/mixdesk-tally-soak.XXXXXX")
pids=()
watch=""
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  [[ -n "$watch" ]] && kill "$watch" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}
tsl_port=$(free_port)
web_port=$(free_port)
printf '0|Camera 1\r\n1|Camera 2\r\n2|Camera 1|Camera 2\r\n' >"$work/map.tlx"
capture="$work/capture.hex"

allow_option=()
[[ -n "$allow" ]] && allow_option=(--tsl-allow "$allow")
MIXDESK_TALLY_HID_CAPTURE="$capture" "$bin/tallyctl" watch --no-timestamps \
  --source "tsl5://127.0.0.1:$tsl_port" "${allow_option[@]}" --web "127.0.0.1:$web_port" \
  "$work/map.tlx" >"$work/watch.out" 2>"$work/watch.err" &
watch=$!

listening() { grep -q "TSL UMD not running" "$work/watch.out"; }
for _ in $(seq 1 200); do listening && break; sleep 0.05; done
listening || { echo "soak: tallyctl watch did not start" >&2; cat "$work/watch.err" >&2; exit 1; }

run_part() { # name, then its arguments
  local name=$1
  shift
  $load "$@" >"$work/$name.json" 2>"$work/$name.err" &
  pids+=($!)
}
run_part box box-gaps --file "$capture"
run_part switcher switcher --port "$tsl_port"
# The box is written once the switcher is heard.
for _ in $(seq 1 200); do [[ -s "$capture" ]] && break; sleep 0.05; done
[[ -s "$capture" ]] || { echo "soak: the switcher's lights never reached the box" >&2; cat "$work/watch.out" "$work/watch.err" >&2; exit 1; }
run_part chromium chromium --port "$web_port" --browser "$browser"
for _ in $(seq 1 300); do grep -q ready "$work/chromium.json" 2>/dev/null && break; sleep 0.1; done
grep -q ready "$work/chromium.json" || { echo "soak: the page did not open in $browser" >&2; cat "$work/chromium.json" "$work/chromium.err" >&2; exit 1; }

ticks_per_second=$(getconf CLK_TCK)
cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$watch/stat"; }
rss_kib() { awk '/^VmRSS:/ { print $2 }' "/proc/$watch/status"; }
rss_start=$(rss_kib)
cpu_start=$(cpu_ticks)
time_start=$(date +%s.%N)

run_part tsl-flood tsl-flood --port "$tsl_port" --rate "$tsl_rate"
run_part idle-tcp idle-tcp --port "$web_port" --count "$idle_tcp" --drip
run_part websockets websockets --port "$web_port" --count "$websockets"
run_part http oversized-http --port "$web_port" --rate "$http_rate"

echo "soak: ${seconds} s; TSL on UDP $tsl_port (allow: ${allow:-every sender}), page on $web_port; watch is pid $watch"
rss_peak=$rss_start
started_at=$SECONDS
next_report=60
while ((SECONDS - started_at < seconds)); do
  sleep 1
  elapsed=$((SECONDS - started_at))
  kill -0 "$watch" 2>/dev/null || { echo "soak: tallyctl watch ended early" >&2; cat "$work/watch.err" >&2; exit 1; }
  rss=$(rss_kib)
  ((rss > rss_peak)) && rss_peak=$rss
  if ((elapsed >= next_report)); then
    echo "soak: ${elapsed} s, RSS ${rss} KiB"
    next_report=$((next_report + 60))
  fi
done

rss_end=$(rss_kib)
cpu_end=$(cpu_ticks)
time_end=$(date +%s.%N)
for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
pids=()

result() { grep -h "\"part\": \"$1\"" "$work/$2.json" | grep -v '"ready"' | tail -1; }
field() { python3 -c 'import json, sys; print(json.loads(sys.argv[1]).get(sys.argv[2]))' "$1" "$2"; }
box=$(result box box)
page=$(result chromium chromium)
cpu_seconds=$(awk -v a="$cpu_start" -v b="$cpu_end" -v t="$ticks_per_second" 'BEGIN { printf "%.1f", (b - a) / t }')
wall=$(awk -v a="$time_start" -v b="$time_end" 'BEGIN { printf "%.1f", b - a }')
cpu_share=$(awk -v c="$cpu_seconds" -v w="$wall" 'BEGIN { printf "%.1f", 100 * c / w }')

echo
echo "soak results after $wall s"
echo "  box: longest gap between writes $(field "$box" longest_gap_ms) ms" \
  "(at $(field "$box" longest_gap_at_s) s), gaps over 0.5 s: $(field "$box" gaps_over_500_ms)"
echo "  page /light/1: NO SIGNAL seen $(field "$page" no_signal_seen) times; shows at the end: $(field "$page" shows)"
[[ -n "$(field "$page" error)" && "$(field "$page" error)" != None ]] && echo "  page error: $(field "$page" error)"
echo "  watch RSS: start ${rss_start} KiB, end ${rss_end} KiB, peak ${rss_peak} KiB"
echo "  watch CPU: ${cpu_seconds} s over ${wall} s (${cpu_share} % of one core)"
echo "  load sent:"
for name in switcher tsl-flood idle-tcp websockets http; do
  echo "    $(tail -1 "$work/$name.json" 2>/dev/null)"
done
echo "  watch's refusals and sender lines: $(grep -c 'TSL messages' "$work/watch.out" || true)" \
  "($(grep -m 3 'TSL messages' "$work/watch.out" | paste -sd ';' -))"
