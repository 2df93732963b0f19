#pragma once

#include "hardware/HidDevice.h"

#include <QList>

#include <functional>

// Finds tally boxes and tells when one comes or goes. The delegate drives one
// of them; the back end only reports. Every report arrives on the main thread.
class HidBackend {
public:
    using DeviceHandler = std::function<void(const HidDevicePtr&)>;

    virtual ~HidBackend() = default;

    // Starts watching. Devices present now are reported as matches, possibly
    // before this returns; later arrivals and departures are reported as they
    // happen, without anyone asking. False when the HID layer cannot start:
    // the back end then never reports a device.
    virtual bool start(DeviceHandler matched, DeviceHandler removed) = 0;

    // The matching devices present now, oldest match first.
    virtual QList<HidDevicePtr> devices() const = 0;
};
