#!/usr/bin/env bash
# Builds Mixdesk Tally (installing what it needs) and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j 2 --target tallyctl
exec build/default/bin/tallyctl "${@:---help}"
