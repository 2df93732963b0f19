#pragma once

#include "hardware/DeviceChangeWatcher.h"
#include "hardware/HidApi.h"
#include "hardware/HidBackend.h"

#include <QList>

#include <memory>

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

    // Enumerates now and reports what came and went: removals first, then
    // matches, each in enumeration order.
    void rescan();

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
};
