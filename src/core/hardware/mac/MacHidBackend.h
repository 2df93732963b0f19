#pragma once

#include "hardware/HidBackend.h"

#include <memory>

// The tally box through IOKit's HID manager (macOS only): boxes matched by
// vendor 0x04D8 and product 0xF5EA, matches and removals delivered by the
// manager on the main run loop, and each report written with
// IOHIDDeviceSetReport as an output report whose ID is its first byte.
std::unique_ptr<HidBackend> makeMacHidBackend();
