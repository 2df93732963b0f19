#!/usr/bin/env bash
# Soak: two tallyctl watch processes, one following a TSL UMD switcher (with
# the web tally page and MQTT), one following the ATEM stand-in, for a while
# under a bounded mix of hostile load, with a real headless Chromium showing
# /light/1 and a real mosquitto_sub as an MQTT lamp throughout. Not part of
# the test run: it takes minutes. Build tallyctl and atem-standin first, as
# users run them: cmake --preset package && cmake --build --preset package
# (a debug build spends three times the CPU on a busy TSL network and cannot
# keep up on a loaded two-core machine).
#
# Usage: scripts/soak.sh [SECONDS] [PRESET]    (default: 600, package)
#
# The load, all on this computer (each part of scripts/soak_load.py is a
# process of its own):
# - the TSL switcher on 127.0.0.1: Camera 1 and Camera 2, state every
#   0.5 s, a cut every 7 s;
# - a busy, allowed TSL device on 127.0.0.2 naming 40 new displays a
#   datagram (indexes 100-9999), SOAK_BUSY_RATE datagrams/s (default 2000);
# - a TSL flood of SOAK_TSL_RATE datagrams/s (default 2000) from three
#   strangers (127.0.0.66-68): 40 spare indexes at a time, "Camera 1 live"
#   on a spare index, 2 KB packets; and garbage and toggles from those and
#   the switcher's own address;
# - SOAK_IDLE_TCP (default 60) idle or dripping connections to the page;
# - SOAK_WEBSOCKETS (default 80, more than the 64 the page takes) WebSocket
#   clients, some sending oversized frames or bursts, one now and then
#   closed and opened again, the ones beyond the cap retrying ten times a
#   second;
# - requests with 100 KB of headers or 200 KB of body, SOAK_HTTP_RATE a
#   second (default 5);
# - the MQTT broker stopped (SIGSTOP) for SOAK_STALL seconds (default 20)
#   every SOAK_STALL_EVERY seconds (default 90);
# - the ATEM stand-in cutting every 7 s while someone forges its packets
#   from its own address and port every SOAK_FORGE_EVERY seconds (default
#   5): a cut it never made, 100 ids ahead of it, 2,000 resend requests
#   (needs root or CAP_NET_RAW; without, that part says so and sends
#   nothing).
# The TSL watch hears only SOAK_TSL_ALLOW (default 127.0.0.1,127.0.0.2: the
# switcher and the busy device; set it empty to hear every sender, the
# default of the program itself).
#
# Reported: for the box of each watch, the page and the MQTT lamp, how long
# light 1 showed something other than the switcher's state (spans longer
# than a tick of 250 ms are failures; the MQTT lamp is not judged while the
# broker is stopped and for 2 s after); the longest gap between two writes
# to each box (polled every 2 ms) and how many passed 0.5 s; how many
# messages the lamp got in the second after each stall; how often the page
# showed NO SIGNAL; watch's resident memory and CPU time.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}
preset=${2:-package}
bin=build/$preset/bin
load="python3 scripts/soak_load.py"
tsl_rate=${SOAK_TSL_RATE:-2000}
idle_tcp=${SOAK_IDLE_TCP:-60}
websockets=${SOAK_WEBSOCKETS:-80}
busy_rate=${SOAK_BUSY_RATE:-2000}
stall=${SOAK_STALL:-20}
stall_every=${SOAK_STALL_EVERY:-90}
forge_every=${SOAK_FORGE_EVERY:-5}
http_rate=${SOAK_HTTP_RATE:-5}
allow=${SOAK_TSL_ALLOW-127.0.0.1,127.0.0.2}
browser=${SOAK_BROWSER:-chromium}

[[ -x "$bin/tallyctl" && -x "$bin/atem-standin" ]] || { echo "soak: build $bin/tallyctl and $bin/atem-standin first" >&2; exit 1; }
command -v mosquitto >/dev/null || [[ -x /usr/sbin/mosquitto ]] || { echo "soak: no mosquitto to stall" >&2; exit 1; }
command -v "$browser" >/dev/null || { echo "soak: no $browser to show the page" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/mixdesk-tally-soak.XXXXXX")
pids=()
watch=""
atem_watch=""
broker=""
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  [[ -n "$broker" ]] && kill -CONT "$broker" 2>/dev/null && kill "$broker" 2>/dev/null || true
  [[ -n "$atem_watch" ]] && kill "$atem_watch" 2>/dev/null || true
  [[ -n "$watch" ]] && kill "$watch" 2>/dev/null || true
  wait 2>/dev/null || true
  if [[ -n "${SOAK_KEEP:-}" ]]; then echo "soak: records kept in $work"; else rm -rf "$work"; fi
}
trap cleanup EXIT

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}
tsl_port=$(free_port)
web_port=$(free_port)
mqtt_port=$(free_port)
atem_port=$(free_port)
printf '0|Camera 1\r\n1|Camera 2\r\n2|Camera 1|Camera 2\r\n' >"$work/map.tlx"
capture="$work/capture.hex"
atem_capture="$work/atem-capture.hex"

mosquitto_bin=$(command -v mosquitto || echo /usr/sbin/mosquitto)
"$mosquitto_bin" -p "$mqtt_port" >"$work/mosquitto.log" 2>&1 &
broker=$!

allow_option=()
[[ -n "$allow" ]] && allow_option=(--tsl-allow "$allow")
MIXDESK_TALLY_HID_CAPTURE="$capture" "$bin/tallyctl" watch --no-timestamps \
  --source "tsl5://127.0.0.1:$tsl_port" "${allow_option[@]}" --web "127.0.0.1:$web_port" \
  --mqtt "mqtt://127.0.0.1:$mqtt_port/soak" "$work/map.tlx" >"$work/watch.out" 2>"$work/watch.err" &
watch=$!
MIXDESK_TALLY_HID_CAPTURE="$atem_capture" "$bin/tallyctl" watch --no-timestamps \
  --source "atem://127.0.0.1:$atem_port" "$work/map.tlx" >"$work/atem-watch.out" 2>"$work/atem-watch.err" &
atem_watch=$!

listening() { grep -q "TSL UMD not running" "$work/watch.out"; }
for _ in $(seq 1 200); do listening && break; sleep 0.05; done
listening || { echo "soak: tallyctl watch did not start" >&2; cat "$work/watch.err" >&2; exit 1; }

run_part() { # name, then its arguments
  local name=$1
  shift
  $load "$@" >"$work/$name.json" 2>"$work/$name.err" &
  pids+=($!)
}
run_part box box-gaps --file "$capture" --series "$work/box.series"
run_part switcher switcher --port "$tsl_port" --timeline "$work/tsl.truth"
run_part atem-box box-gaps --file "$atem_capture" --series "$work/atem-box.series"
run_part atem-switcher atem-switcher --port "$atem_port" --standin "$bin/atem-standin" --timeline "$work/atem.truth"
run_part mqtt-watch mqtt-watch --port "$mqtt_port" --prefix soak --series "$work/mqtt.series" \
  --arrivals "$work/mqtt.arrivals"
# The box is written once the switcher is heard.
for _ in $(seq 1 200); do [[ -s "$capture" ]] && break; sleep 0.05; done
[[ -s "$capture" ]] || { echo "soak: the switcher's lights never reached the box" >&2; cat "$work/watch.out" "$work/watch.err" >&2; exit 1; }
run_part chromium chromium --port "$web_port" --browser "$browser" --series "$work/page.series"
for _ in $(seq 1 300); do grep -q ready "$work/chromium.json" 2>/dev/null && break; sleep 0.1; done
grep -q ready "$work/chromium.json" || { echo "soak: the page did not open in $browser" >&2; cat "$work/chromium.json" "$work/chromium.err" >&2; exit 1; }

ticks_per_second=$(getconf CLK_TCK)
cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$watch/stat"; }
rss_kib() { awk '/^VmRSS:/ { print $2 }' "/proc/$watch/status"; }
rss_start=$(rss_kib)
cpu_start=$(cpu_ticks)
time_start=$(date +%s.%N)

run_part tsl-flood tsl-flood --port "$tsl_port" --rate "$tsl_rate"
run_part busy-sender busy-sender --port "$tsl_port" --rate "$busy_rate"
run_part broker-staller broker-staller --pid "$broker" --every "$stall_every" --stall "$stall" \
  --series "$work/stalls.series"
for _ in $(seq 1 200); do [[ -s "$atem_capture" ]] && break; sleep 0.05; done
[[ -s "$atem_capture" ]] || { echo "soak: the ATEM stand-in's lights never reached the box" >&2; cat "$work/atem-watch.out" "$work/atem-watch.err" >&2; exit 1; }
run_part atem-forger atem-forger --port "$atem_port" --every "$forge_every"
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
  kill -0 "$atem_watch" 2>/dev/null || { echo "soak: the ATEM watch ended early" >&2; cat "$work/atem-watch.err" >&2; exit 1; }
  rss=$(rss_kib)
  ((rss > rss_peak)) && rss_peak=$rss
  if ((elapsed >= next_report)); then
    echo "soak: ${elapsed} s, RSS ${rss} KiB"
    next_report=$((next_report + 60))
  fi
done

# What the kernel dropped before it was read: the last column of the UDP
# sockets' lines, the TSL listener's (found by its port) and all others.
udp_drops() { # pid, port: the listener's drops, then the others'
  awk -v port="$(printf '%04X' "$2")" 'NR > 1 { split($2, local, ":");
    if (local[2] == port) mine += $NF; else others += $NF } END { print mine + 0, others + 0 }' "/proc/$1/net/udp"
}
read -r tsl_drops other_drops < <(udp_drops "$watch" "$tsl_port")
rss_end=$(rss_kib)
cpu_end=$(cpu_ticks)
time_end=$(date +%s.%N)
judged_until=$(python3 -c 'import time; print(time.monotonic())')
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

judge() { # name, truth, series, then any other arguments
  local name=$1 truth=$2 series=$3
  shift 3
  $load judge --name "$name" --timeline "$work/$truth" --series "$work/$series" --end "$judged_until" "$@"
}
show_judgement() {
  local verdict=$1
  echo "  $(field "$verdict" output): wrong $(field "$verdict" wrong_spans) times, longest" \
    "$(field "$verdict" longest_wrong_ms) ms, longer than a tick: $(field "$verdict" wrong_longer_than_a_tick)" \
    "$(field "$verdict" examples) over $(field "$verdict" seconds_judged) s"
}
atem_box=$(result box atem-box)
catch_up=$($load mqtt-catch-up --timeline "$work/tsl.truth" --series "$work/mqtt.series" \
  --excused "$work/stalls.series" --arrivals "$work/mqtt.arrivals")

echo
echo "soak results after $wall s"
echo " light 1 against the switcher:"
show_judgement "$(judge "TSL box" tsl.truth box.series)"
show_judgement "$(judge "page /light/1" tsl.truth page.series)"
show_judgement "$(judge "MQTT lamp" tsl.truth mqtt.series --excused "$work/stalls.series")"
show_judgement "$(judge "ATEM box" atem.truth atem-box.series)"
echo "  MQTT after $(field "$catch_up" stalls) stalls: at most $(field "$catch_up" most_messages_in_the_second_after_a_stall)" \
  "messages in the second after, back to the switcher's state within $(field "$catch_up" longest_catch_up_ms) ms"
echo "  TSL box: longest gap between writes $(field "$box" longest_gap_ms) ms" \
  "(at $(field "$box" longest_gap_at_s) s), gaps over 0.5 s: $(field "$box" gaps_over_500_ms)"
echo "  ATEM box: longest gap between writes $(field "$atem_box" longest_gap_ms) ms" \
  "(at $(field "$atem_box" longest_gap_at_s) s), gaps over 0.5 s: $(field "$atem_box" gaps_over_500_ms)"
echo "  page /light/1: NO SIGNAL seen $(field "$page" no_signal_seen) times; shows at the end: $(field "$page" shows)"
[[ -n "$(field "$page" error)" && "$(field "$page" error)" != None ]] && echo "  page error: $(field "$page" error)"
echo "  datagrams the kernel dropped unread: TSL listener ${tsl_drops}, every other UDP socket ${other_drops}"
echo "  watch RSS: start ${rss_start} KiB, end ${rss_end} KiB, peak ${rss_peak} KiB"
echo "  watch CPU: ${cpu_seconds} s over ${wall} s (${cpu_share} % of one core)"
echo "  load sent:"
for name in switcher busy-sender tsl-flood idle-tcp websockets http atem-switcher atem-forger broker-staller; do
  echo "    $(tail -1 "$work/$name.json" 2>/dev/null)"
done
echo "  watch's TSL sender lines: $(grep -c 'TSL messages' "$work/watch.out" || true)" \
  "($(grep -m 3 'TSL messages' "$work/watch.out" | paste -sd ';' -))"
echo "  ATEM watch's resyncs: $(grep -c 'disagree\|trying again' "$work/atem-watch.out" || true);" \
  "MQTT status lines: $(grep -c -i 'mqtt' "$work/watch.out" || true)"
