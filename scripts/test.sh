#!/usr/bin/env bash
# Builds Mixdesk Tally and runs the whole test suite, installing the Debian
# packages it needs first. Usage: scripts/test.sh [PRESET]   (default, asan)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-default}

scripts/install-deps.sh

cmake --preset "$preset"
cmake --build --preset "$preset" -j 2
status=0
QT_QPA_PLATFORM=offscreen ctest --preset "$preset" || status=$?
# ctest says only "Skipped"; each test says why in its own output.
scripts/skip-reasons.sh "build/$preset"
exit "$status"
