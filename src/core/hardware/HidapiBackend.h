#pragma once

#include "hardware/DeviceChangeWatcher.h"
#include "hardware/HidApi.h"
#include "hardware/HidBackend.h"

#include <QList>

#include <memory>

class QTimer;

// Finds tally boxes through hidapi: enumerates the devices with the box's
// vendor and product IDs at start and again whenever the change watcher says
// something may have changed, and reports the difference as matches and
// removals. A write is hid_write of the 64-byte report itself: byte 0, the
// command byte, doubles as the report ID, so no extra leading byte is sent.
class HidapiBackend : public HidBackend {
public:
    static constexpr quint16 vendorId = 0x04D8;
    static constexpr quint16 productId = 0xF5EA;

    HidapiBackend(std::unique_ptr<HidApi> api, std::unique_ptr<DeviceChangeWatcher> watcher);
    ~HidapiBackend() override;

    bool start(DeviceHandler matched, DeviceHandler removed) override;
    QList<HidDevicePtr> devices() const override;

    // How often a box that could not be opened is tried again.
    static constexpr int reopenIntervalMilliseconds = 1000;

    // Enumerates now and reports what came and went: removals first, then
    // matches, each in enumeration order. Boxes still there that could not
    // be opened are tried again.
    void rescan();

    // Tries again to open every box that was taken but could not be opened;
    // runs once a second while the back end is started.
    void retryUnopened();

private:
    struct Known {
        QString path;
        HidDevicePtr device;
    };

    std::shared_ptr<HidApi> m_api;
    std::unique_ptr<DeviceChangeWatcher> m_watcher;
    QList<Known> m_known;
    DeviceHandler m_matched;
    DeviceHandler m_removed;
    std::unique_ptr<QTimer> m_reopenTimer;
};
