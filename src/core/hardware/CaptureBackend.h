#pragma once

#include "hardware/HidBackend.h"

#include <QString>

// Stands in for the tally box with a file: the device counts as attached from
// the start, and every report is appended to the file as one line of 128
// lower-case hex digits, flushed at once, so that a reader (a test, a person
// with tail -f) sees each byte as it goes out. A file that cannot be opened is
// said in the system log, and then no device is attached.
class CaptureBackend : public HidBackend {
public:
    explicit CaptureBackend(QString path);

    bool start(DeviceHandler matched, DeviceHandler removed) override;
    QList<HidDevicePtr> devices() const override;

private:
    QString m_path;
    HidDevicePtr m_device;
};
