#pragma once

#include <chrono>

// The hardware commands of tallyctl need the tally box before they send: the
// box may be plugged in just as the command starts, so they give it a moment.
namespace DeviceWait {

constexpr std::chrono::milliseconds attachTimeout { 2000 };

// Starts device discovery (the shared delegate) and runs the event loop until
// a device is attached or the timeout has passed. On failure prints why on
// standard error and returns false.
bool waitForDevice(std::chrono::milliseconds timeout = attachTimeout);

} // namespace DeviceWait
