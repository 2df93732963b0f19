#!/bin/sh
# Runs a test program on a D-Bus session bus of its own, which ends with it,
# so that a test of the desktop's secret store never reaches the user's own
# keyring and no bus outlives the test. Without dbus-run-session the program
# runs as it is, and its tests skip, saying why.
if command -v dbus-run-session >/dev/null 2>&1; then
  exec dbus-run-session -- env TALLY_PRIVATE_SESSION_BUS=1 "$@"
fi
exec "$@"
