#include "mqtt/MqttBackoff.h"

#include <algorithm>

MqttBackoff::MqttBackoff(std::chrono::milliseconds first, std::chrono::milliseconds ceiling)
    : m_first(first)
    , m_ceiling(std::max(first, ceiling))
    , m_next(first)
{
}

std::chrono::milliseconds MqttBackoff::next()
{
    const std::chrono::milliseconds wait = m_next;
    m_next = std::min(m_next * 2, m_ceiling);
    return wait;
}

void MqttBackoff::reset()
{
    m_next = m_first;
}
