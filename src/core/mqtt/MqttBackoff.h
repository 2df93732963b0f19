#pragma once

#include <chrono>

// How long to wait before the next attempt to reach a broker: the first
// retry soon, for a broker that restarts, then twice as long each time up to
// a ceiling, so that a broker that is gone for good costs a connection
// attempt every half minute, not a flood. A connection that worked starts
// the count again.
class MqttBackoff {
public:
    explicit MqttBackoff(std::chrono::milliseconds first = std::chrono::seconds(1),
        std::chrono::milliseconds ceiling = std::chrono::seconds(30));

    // The wait before the next attempt; each call doubles the one after.
    std::chrono::milliseconds next();
    void reset();

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_ceiling;
    std::chrono::milliseconds m_next;
};
