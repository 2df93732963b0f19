#pragma once

#include "hardware/HidBackend.h"

#include <memory>

// Names a file that stands in for the tally box: every report is appended to
// it as one line of hex digits. Used to watch the bytes without hardware.
inline constexpr char hidCaptureEnvironmentVariable[] = "MIXDESK_TALLY_HID_CAPTURE";

// The capture back end when MIXDESK_TALLY_HID_CAPTURE names a file, else the
// hidapi back end on the real library with the best change watcher the
// system offers.
std::unique_ptr<HidBackend> makeHidBackendFromEnvironment();
