#pragma once

#include <chrono>

// How long to wait before the next attempt to reach a broker: the first
// retry soon, for a broker that restarts, then twice as long each time up to
// a ceiling. The ceiling is short: the lamps are dark or stale for as long as
// the broker goes unnoticed after it came back, however long it was away,
// and one small connection attempt a second and a half is no flood. A
// connection that worked starts the count again.
class MqttBackoff {
public:
    explicit MqttBackoff(std::chrono::milliseconds first = std::chrono::seconds(1),
        std::chrono::milliseconds ceiling = std::chrono::milliseconds(1500));

    // The wait before the next attempt; each call doubles the one after.
    std::chrono::milliseconds next();
    void reset();

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_ceiling;
    std::chrono::milliseconds m_next;
};
