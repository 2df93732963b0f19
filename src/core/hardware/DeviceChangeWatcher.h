#pragma once

#include <functional>
#include <memory>

// Tells the hidapi back end when tally boxes may have come or gone, so that it
// enumerates again. hidapi has no hot-plug notice of its own; each system
// offers its own (udev on Linux), and a timer does where none is at hand.
class DeviceChangeWatcher {
public:
    virtual ~DeviceChangeWatcher() = default;

    // From now on calls changed, on the main thread, after every possible
    // change. It may also call it when nothing changed.
    virtual void start(std::function<void()> changed) = 0;
};

// udev when it runs on this system, else a one-second timer.
std::unique_ptr<DeviceChangeWatcher> makeDeviceChangeWatcher();
