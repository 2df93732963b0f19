#pragma once

#include "hardware/DeviceChangeWatcher.h"

#include <QSocketNotifier>

#include <memory>

// The udev monitor as the watcher uses it: a socket that becomes readable
// when events are pending, and a way to take all of them.
class UdevMonitor {
public:
    virtual ~UdevMonitor() = default;
    virtual int socket() const = 0;
    // Reads every pending event; true when there was at least one.
    virtual bool drainEvents() = 0;
};

// Listens to udev for hidraw nodes being added or removed. Events come after
// udev has applied its rules, so a new node already has its permissions when
// the back end opens it. A burst of events makes one change notice.
class UdevChangeWatcher : public DeviceChangeWatcher {
public:
    // Null when udev does not run here (containers, minimal systems) or its
    // monitor cannot be set up.
    static std::unique_ptr<UdevChangeWatcher> create();

    // Over any monitor; tests give one of their own.
    explicit UdevChangeWatcher(std::unique_ptr<UdevMonitor> monitor);
    ~UdevChangeWatcher() override;

    void start(std::function<void()> changed) override;

private:
    std::unique_ptr<UdevMonitor> m_monitor;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
