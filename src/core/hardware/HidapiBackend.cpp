#include "hardware/HidapiBackend.h"

#include <QSet>
#include <QTimer>

#include <atomic>

namespace {

// One tally box found by enumeration. It opens its path when the delegate
// takes it and closes it when the last holder lets go: by then the box was
// unplugged, or replaced and no longer in anyone's hands. Opening happens on
// the main thread and writing on the box writer's, so the handle is atomic;
// it is closed only once no one holds the device, a write included.
class HidapiDevice : public HidDevice {
public:
    HidapiDevice(std::shared_ptr<HidApi> api, HidDeviceDescription description)
        : m_api(std::move(api))
        , m_description(std::move(description))
    {
    }

    ~HidapiDevice() override
    {
        if (HidApi::Handle handle = m_handle.load(); handle != nullptr) {
            m_api->close(handle);
        }
    }

    HidapiDevice(const HidapiDevice&) = delete;
    HidapiDevice& operator=(const HidapiDevice&) = delete;

    void open() override
    {
        m_wanted = true;
        if (m_handle == nullptr) {
            m_handle = m_api->openPath(m_description.path);
        }
    }

    bool isOpen() const override { return m_handle != nullptr; }

    // Opens again a box that was taken but could not be opened: its
    // permission may have been granted since (a device rule that takes
    // effect a moment after plugging). A box that was open stays as it is,
    // even when its writes fail.
    void retryOpen()
    {
        if (m_wanted && m_handle == nullptr) {
            m_handle = m_api->openPath(m_description.path);
        }
    }

    qint32 setReport(quint8, const HidReport& report) override
    {
        const HidApi::Handle handle = m_handle.load();
        if (handle == nullptr) {
            return -1;
        }
        return m_api->write(handle, report.data(), report.size()) == -1 ? -1 : 0;
    }

    HidDeviceDescription description() const override { return m_description; }

private:
    std::shared_ptr<HidApi> m_api;
    HidDeviceDescription m_description;
    std::atomic<HidApi::Handle> m_handle = nullptr;
    bool m_wanted = false;
};

// A device with several interfaces or collections may be listed once per
// entry under the same path; it is still one box.
QList<HidDeviceDescription> uniqueByPath(const QList<HidDeviceDescription>& entries)
{
    QList<HidDeviceDescription> unique;
    QSet<QString> seen;
    for (const HidDeviceDescription& entry : entries) {
        if (!seen.contains(entry.path)) {
            seen.insert(entry.path);
            unique.append(entry);
        }
    }
    return unique;
}

} // namespace

HidapiBackend::HidapiBackend(std::unique_ptr<HidApi> api, std::unique_ptr<DeviceChangeWatcher> watcher)
    : m_api(std::move(api))
    , m_watcher(std::move(watcher))
{
}

HidapiBackend::~HidapiBackend() = default;

bool HidapiBackend::start(DeviceHandler matched, DeviceHandler removed)
{
    if (!m_api->init()) {
        return false;
    }
    m_matched = std::move(matched);
    m_removed = std::move(removed);
    m_watcher->start([this] { rescan(); });
    rescan();
    m_reopenTimer = std::make_unique<QTimer>();
    m_reopenTimer->setInterval(reopenIntervalMilliseconds);
    QObject::connect(m_reopenTimer.get(), &QTimer::timeout, [this] { retryUnopened(); });
    m_reopenTimer->start();
    return true;
}

void HidapiBackend::retryUnopened()
{
    for (const Known& known : m_known) {
        std::static_pointer_cast<HidapiDevice>(known.device)->retryOpen();
    }
}

QList<HidDevicePtr> HidapiBackend::devices() const
{
    QList<HidDevicePtr> devices;
    for (const Known& known : m_known) {
        devices.append(known.device);
    }
    return devices;
}

void HidapiBackend::rescan()
{
    const QList<HidDeviceDescription> present = uniqueByPath(m_api->enumerate(vendorId, productId));
    QSet<QString> presentPaths;
    for (const HidDeviceDescription& entry : present) {
        presentPaths.insert(entry.path);
    }

    QList<HidDevicePtr> gone;
    QSet<QString> knownPaths;
    for (auto it = m_known.begin(); it != m_known.end();) {
        if (presentPaths.contains(it->path)) {
            knownPaths.insert(it->path);
            ++it;
        } else {
            gone.append(it->device);
            it = m_known.erase(it);
        }
    }

    QList<HidDevicePtr> arrived;
    for (const HidDeviceDescription& entry : present) {
        if (!knownPaths.contains(entry.path)) {
            auto device = std::make_shared<HidapiDevice>(m_api, entry);
            m_known.append({ entry.path, device });
            arrived.append(device);
        }
    }

    // A change notice is also the moment a permission may have changed.
    retryUnopened();

    // Reported only once the list is settled, so that a handler asking for
    // devices() sees the new state.
    for (const HidDevicePtr& device : gone) {
        m_removed(device);
    }
    for (const HidDevicePtr& device : arrived) {
        m_matched(device);
    }
}
