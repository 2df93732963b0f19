#!/usr/bin/env bash
# Prints why each test of the last ctest run in a build folder skipped, a
# line each: ctest itself says only "Skipped", and the reason is in the
# test's own output. Usage: scripts/skip-reasons.sh [BUILD_FOLDER]
# (default: build/default).
set -euo pipefail
cd "$(dirname "$0")/.."
log=${1:-build/default}/Testing/Temporary/LastTest.log
[[ -f "$log" ]] || exit 0
reasons=$(awk '
  /^[0-9]+\/[0-9]+ Testing: / { test = $3; next }
  /: Skipped$/ { reading = 1; reason = ""; next }
  reading && /^\[  SKIPPED \]/ { print test ": " reason; reading = 0; next }
  reading && reason == "" { reason = $0 }
' "$log" | sort -u)
[[ -n "$reasons" ]] || exit 0
echo "Skipped tests, and why:"
sed 's/^/  /' <<<"$reasons"
