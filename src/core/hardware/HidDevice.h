#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <memory>

// One output report as the tally box takes it: the command byte in byte 0,
// zeros after it.
constexpr std::size_t hidReportLength = 64;
using HidReport = std::array<quint8, hidReportLength>;

// What the operating system tells about a tally box, for listings.
struct HidDeviceDescription {
    QString path;
    QString manufacturer;
    QString product;
    QString serialNumber;
};

// A tally box as a back end found it. Devices are shared: the back end that
// found one and the delegate that drives it hold the same object, and a
// removal is recognised by that identity, never by comparing descriptions.
class HidDevice {
public:
    virtual ~HidDevice() = default;

    // Makes the device ready for reports. A device that cannot be opened is
    // still kept; its writes fail later with a status, which is where the
    // failure shows.
    virtual void open() = 0;

    // Whether reports can go out: false for a box whose opening failed (no
    // permission yet, say). A device with nothing of its own to open is
    // always open.
    virtual bool isOpen() const { return true; }

    // Writes one output report. Returns 0 when it went out, otherwise the
    // failure status (negative for the hidapi back end).
    virtual qint32 setReport(quint8 reportId, const HidReport& report) = 0;

    virtual HidDeviceDescription description() const = 0;
};

using HidDevicePtr = std::shared_ptr<HidDevice>;
