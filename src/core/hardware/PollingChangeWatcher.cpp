#include "hardware/PollingChangeWatcher.h"

PollingChangeWatcher::PollingChangeWatcher(std::chrono::milliseconds interval)
{
    m_timer.setInterval(interval);
}

void PollingChangeWatcher::start(std::function<void()> changed)
{
    QObject::connect(&m_timer, &QTimer::timeout, std::move(changed));
    m_timer.start();
}
