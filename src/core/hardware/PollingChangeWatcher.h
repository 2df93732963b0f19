#pragma once

#include "hardware/DeviceChangeWatcher.h"

#include <QTimer>

#include <chrono>

// Asks for a new enumeration on every tick of a repeating timer, so that a box
// plugged in is found within one interval even without a hot-plug service.
class PollingChangeWatcher : public DeviceChangeWatcher {
public:
    static constexpr std::chrono::milliseconds defaultInterval { 1000 };

    explicit PollingChangeWatcher(std::chrono::milliseconds interval = defaultInterval);

    void start(std::function<void()> changed) override;

private:
    QTimer m_timer;
};
