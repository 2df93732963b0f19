#pragma once

#include "hardware/HidDevice.h"

#include <QList>

#include <cstddef>

// The few calls of the HID library that the hidapi back end makes, behind an
// interface so that tests can plug, unplug and fail devices without hardware.
class HidApi {
public:
    // An open device as the library knows it; null for none.
    using Handle = void*;

    virtual ~HidApi() = default;

    // False when the library cannot start.
    virtual bool init() = 0;

    // One entry per device interface matching the IDs; entries of one device
    // may repeat a path.
    virtual QList<HidDeviceDescription> enumerate(quint16 vendorId, quint16 productId) = 0;

    // Null when the device cannot be opened.
    virtual Handle openPath(const QString& path) = 0;

    // The number of bytes written, or -1 on failure.
    virtual int write(Handle device, const quint8* data, std::size_t length) = 0;

    virtual void close(Handle device) = 0;
};
