#pragma once

#include "hardware/DeviceChangeWatcher.h"

#include <QSocketNotifier>

#include <memory>

struct udev;
struct udev_monitor;

// Listens to udev for hidraw nodes being added or removed. Events come after
// udev has applied its rules, so a new node already has its permissions when
// the back end opens it.
class UdevChangeWatcher : public DeviceChangeWatcher {
public:
    // Null when udev does not run here (containers, minimal systems) or its
    // monitor cannot be set up.
    static std::unique_ptr<UdevChangeWatcher> create();

    ~UdevChangeWatcher() override;

    void start(std::function<void()> changed) override;

private:
    UdevChangeWatcher(udev* context, udev_monitor* monitor);

    // Reads every pending event; true when there was at least one.
    bool drainEvents();

    udev* m_context;
    udev_monitor* m_monitor;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
