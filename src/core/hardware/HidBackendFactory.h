#pragma once

#include "hardware/HidBackend.h"

#include <memory>

// Names a file that stands in for the tally box: every report is appended to
// it as one line of hex digits. Used to watch the bytes without hardware.
inline constexpr char hidCaptureEnvironmentVariable[] = "MIXDESK_TALLY_HID_CAPTURE";
// Milliseconds each report to the capture file takes, to stand in for a slow
// box (a hub, a device that NAKs). Unset, empty or not a whole number of at
// least zero: no delay.
inline constexpr char hidCaptureDelayEnvironmentVariable[] = "MIXDESK_TALLY_HID_CAPTURE_DELAY_MS";

// The capture back end when MIXDESK_TALLY_HID_CAPTURE names a file, else the
// hidapi back end on the real library with the best change watcher the
// system offers.
std::unique_ptr<HidBackend> makeHidBackendFromEnvironment();
