#include "hardware/BoxWriter.h"

#include <utility>

BoxWriter::BoxWriter(WriteByte write, Threading threading)
    : m_write(std::move(write))
    , m_threading(threading)
{
    if (m_threading == Threading::ownThread) {
        m_thread = std::thread([this] { run(); });
    }
}

BoxWriter::~BoxWriter()
{
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_work.notify_one();
    m_thread.join();
}

void BoxWriter::handInLight(qsizetype lightIndex, LightCommand::BytePair bytes)
{
    const Pending pending { lightIndex, bytes.first, bytes.second };
    if (m_threading == Threading::callersThread) {
        write(pending);
        return;
    }
    queueLight(pending);
}

void BoxWriter::queueLight(const Pending& pending)
{
    const std::lock_guard lock(m_mutex);
    // Back to front, up to the first single byte: a pair never moves past a
    // byte handed in after it.
    Pending* latest = nullptr;
    int waiting = 0;
    for (auto it = m_pending.rbegin(); it != m_pending.rend() && it->lightIndex >= 0; ++it) {
        if (it->lightIndex == pending.lightIndex) {
            latest = latest != nullptr ? latest : &*it;
            ++waiting;
        }
    }
    // The device is behind when it is still in a write, or when two of this
    // light's pairs already wait. A writer merely not yet woken (a busy
    // machine, or a round still being handed in) is not behind: the pair
    // goes after the others, so that a box that keeps up gets every tick
    // whole.
    if (latest != nullptr && (m_writing || waiting >= 2)) {
        *latest = pending;
    } else {
        m_pending.push_back(pending);
    }
}

void BoxWriter::startWriting()
{
    if (m_threading == Threading::callersThread) {
        return;
    }
    bool wake = false;
    {
        const std::lock_guard lock(m_mutex);
        wake = !m_pending.empty() && std::exchange(m_writerAsleep, false);
    }
    if (wake) {
        m_work.notify_one();
    }
}

void BoxWriter::sendByte(quint8 byte)
{
    const Pending pending { -1, byte, 0 };
    if (m_threading == Threading::callersThread) {
        write(pending);
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_pending.push_back(pending);
    }
    startWriting();
}

void BoxWriter::waitUntilWritten()
{
    startWriting();
    std::unique_lock lock(m_mutex);
    m_idle.wait(lock, [this] { return m_pending.empty() && !m_writing; });
}

void BoxWriter::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        while (!m_stopping && m_pending.empty()) {
            m_writerAsleep = true;
            m_work.wait(lock);
        }
        // Awake, whether woken or not: nothing handed in from here on needs
        // to wake it until it waits again.
        m_writerAsleep = false;
        if (m_pending.empty()) {
            return; // stopping, and everything handed in is written
        }
        const Pending next = m_pending.front();
        m_pending.pop_front();
        m_writing = true;
        lock.unlock();
        write(next);
        lock.lock();
        m_writing = false;
        if (m_pending.empty()) {
            m_idle.notify_all();
        }
    }
}

void BoxWriter::write(const Pending& pending)
{
    m_write(pending.first);
    if (pending.lightIndex >= 0) {
        m_write(pending.second);
    }
}
