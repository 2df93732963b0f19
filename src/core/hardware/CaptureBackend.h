#pragma once

#include "hardware/HidBackend.h"

#include <QString>

#include <chrono>

// Stands in for the tally box with a file: the device counts as attached from
// the start, and every report is appended to the file as one line of 128
// lower-case hex digits, flushed at once, so that a reader (a test, a person
// with tail -f) sees each byte as it goes out. A file that cannot be opened is
// said in the system log, and then no device is attached.
//
// A delay makes every report take that long before it is appended, as a slow
// box would; the line is written at the end of the wait, when the report
// would have reached the box. Reports are written from one thread at a time.
class CaptureBackend : public HidBackend {
public:
    explicit CaptureBackend(QString path, std::chrono::milliseconds delay = std::chrono::milliseconds(0));

    bool start(DeviceHandler matched, DeviceHandler removed) override;
    QList<HidDevicePtr> devices() const override;

private:
    QString m_path;
    std::chrono::milliseconds m_delay;
    HidDevicePtr m_device;
};
