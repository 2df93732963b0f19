#!/usr/bin/env bash
# Builds Mixdesk Tally (installing what it needs) and starts it.
#
# With a display: the stand-in Mixdesk window and the Mixdesk Tally window,
# side by side; closing Mixdesk Tally ends both. Arguments are handed to
# mixdesk-tally (a tally map file to open).
#
# Without a display: a short demonstration. The stand-in runs headless and
# cuts every second, `tallyctl watch` runs the update cycle on a demo map
# with a capture file standing in for the tally box and prints the lights as
# they change, and a screenshot of the main window is written.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
bin=build/default/bin

if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  cmake --build --preset default -j 2 --target mixdesk-tally mixdesk tally_resources
  "$bin/mixdesk" &
  standin=$!
  trap 'kill "$standin" 2>/dev/null || true' EXIT
  "$bin/mixdesk-tally" "$@"
  exit 0
fi

cmake --build --preset default -j 2 --target tallyctl mixdesk tally_resources main_window_tests
work=$(mktemp -d "${TMPDIR:-/tmp}/mixdesk-tally-demo.XXXXXX")
trap 'rm -rf "$work"' EXIT
# A runtime folder of the demo's own, so that its answer file is its alone.
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
printf '0|Camera 1\r\n1|Camera 2\r\n2|Camera 1|Camera 2\r\n3|Wide Shot\r\n' >"$work/demo.tlx"

echo "== No display: stand-in Mixdesk headless (cut every second), tallyctl watch for 5 seconds"
echo "   Light 1 = Camera 1, light 2 = Camera 2, light 3 = both, light 4 = Wide Shot"
(sleep 7; echo quit) | "$bin/mixdesk" --headless --program 1 --preview 2 --auto-cut 1 >/dev/null &
standin=$!
sleep 0.5
MIXDESK_TALLY_HID_CAPTURE="$work/capture.hex" "$bin/tallyctl" watch --ticks 20 "$work/demo.tlx"
wait "$standin" || true
reports=$(wc -l <"$work/capture.hex")
echo "== The capture tally box received $reports reports ($((reports / 16)) ticks of 16); the last tick:"
tail -n 16 "$work/capture.hex" | cut -c1-2 | paste -sd' '

screenshot=build/default/screenshots/main-window.png
QT_QPA_PLATFORM=offscreen build/default/tests/widgets/main_window_tests --gtest_filter='MainWindowScreenshotTest.MainWindowWithLiveAndPreviewLights' \
  >/dev/null 2>&1
echo "== Screenshot of the main window: $screenshot"
