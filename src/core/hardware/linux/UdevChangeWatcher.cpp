#include "hardware/linux/UdevChangeWatcher.h"

#include <libudev.h>

namespace {

// udev keeps its control socket here while the daemon runs; without the
// daemon the monitor would be set up fine and simply never hear anything.
bool udevIsRunning(udev* context)
{
    udev_queue* queue = udev_queue_new(context);
    if (queue == nullptr) {
        return false;
    }
    const bool active = udev_queue_get_udev_is_active(queue) != 0;
    udev_queue_unref(queue);
    return active;
}

class LibudevMonitor : public UdevMonitor {
public:
    LibudevMonitor(udev* context, udev_monitor* monitor)
        : m_context(context)
        , m_monitor(monitor)
    {
    }
    ~LibudevMonitor() override
    {
        udev_monitor_unref(m_monitor);
        udev_unref(m_context);
    }
    LibudevMonitor(const LibudevMonitor&) = delete;
    LibudevMonitor& operator=(const LibudevMonitor&) = delete;

    int socket() const override { return udev_monitor_get_fd(m_monitor); }

    bool drainEvents() override
    {
        // The monitor's socket does not block: receiving returns null once
        // the queue is empty.
        bool any = false;
        while (udev_device* device = udev_monitor_receive_device(m_monitor)) {
            any = true;
            udev_device_unref(device);
        }
        return any;
    }

private:
    udev* m_context;
    udev_monitor* m_monitor;
};

} // namespace

std::unique_ptr<UdevChangeWatcher> UdevChangeWatcher::create()
{
    udev* context = udev_new();
    if (context == nullptr) {
        return nullptr;
    }
    udev_monitor* monitor = udevIsRunning(context) ? udev_monitor_new_from_netlink(context, "udev") : nullptr;
    if (monitor == nullptr || udev_monitor_filter_add_match_subsystem_devtype(monitor, "hidraw", nullptr) < 0
        || udev_monitor_enable_receiving(monitor) < 0 || udev_monitor_get_fd(monitor) < 0) {
        if (monitor != nullptr) {
            udev_monitor_unref(monitor);
        }
        udev_unref(context);
        return nullptr;
    }
    return std::make_unique<UdevChangeWatcher>(std::make_unique<LibudevMonitor>(context, monitor));
}

UdevChangeWatcher::UdevChangeWatcher(std::unique_ptr<UdevMonitor> monitor)
    : m_monitor(std::move(monitor))
{
}

UdevChangeWatcher::~UdevChangeWatcher()
{
    m_notifier.reset();
}

void UdevChangeWatcher::start(std::function<void()> changed)
{
    m_notifier = std::make_unique<QSocketNotifier>(m_monitor->socket(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this, changed = std::move(changed)] {
        if (m_monitor->drainEvents()) {
            changed();
        }
    });
}
