#pragma once

#include "hardware/LightCommand.h"

#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

// Writes the tally box's command bytes off the caller's thread, so that a
// tick never waits for the device: a report takes about a millisecond on a
// healthy box and far longer on a slow hub or a device that NAKs, and the
// window, the web page, TSL and MQTT must not stop meanwhile.
//
// What waits to be written is kept per light: the latest pair of bytes
// (program, then preview) of each light, in the order the lights were
// handed in. While the box is behind (still in a write, or two pairs of the
// light already waiting), a light handed in again replaces its latest
// waiting pair where it stands, so the box is brought to the latest state
// and never replays a backlog of old ones: it gets the lights in turn, each
// with its latest pair, and none waits more than a round or two of the
// others. A box that keeps up sees exactly the bytes, in exactly the order,
// they were handed in, even when the writer's thread is slow to wake.
// Single bytes (the test panel's) are never merged; they go in order, and a
// light's pair never moves past a single byte handed in after it.
//
// Threading: handInLight, startWriting, sendByte, waitUntilWritten and the
// destructor are called from one owning thread (the main thread). The
// write function runs on the writer's own thread only, one call at a time,
// never while the writer's lock is held, so it may block for as long as the
// device takes.
// The pending pairs are guarded by one mutex; nothing else is shared.
// With Threading::callersThread there is no second thread: every byte is
// written at once inside handInLight or sendByte, as a plain blocking call.
class BoxWriter {
public:
    // Writes one command byte to the box, blocking until it went out or failed.
    using WriteByte = std::function<void(quint8)>;

    enum class Threading {
        ownThread,
        // For a caller that reads the device right after handing bytes in.
        callersThread,
    };

    explicit BoxWriter(WriteByte write, Threading threading = Threading::ownThread);
    // Writes everything still waiting (the lights off at quit, say), then
    // ends the writer's thread.
    ~BoxWriter();

    BoxWriter(const BoxWriter&) = delete;
    BoxWriter& operator=(const BoxWriter&) = delete;

    // The two bytes of the light at lightIndex; returns at once. A sleeping
    // writer is left asleep until startWriting: a caller hands in a whole
    // round of lights (a tick) and wakes it once. Woken for each light, the
    // writer would take the core from the caller, write that one pair and
    // sleep again, eight times a tick: most of an idle window's thread
    // switches went to that.
    void handInLight(qsizetype lightIndex, LightCommand::BytePair bytes);
    // Wakes the writer for everything handed in so far, if it sleeps.
    void startWriting();
    // One byte on its own, after everything handed in before it.
    void sendByte(quint8 byte);

    // Blocks until everything handed in so far has been written; starts the
    // writer first if lights wait for startWriting.
    void waitUntilWritten();

private:
    struct Pending {
        // The light whose pair this is; negative for a single byte.
        qsizetype lightIndex;
        quint8 first;
        quint8 second;
    };

    // Puts the pair among those waiting, merged as the class says.
    void queueLight(const Pending& pending);
    void run();
    void write(const Pending& pending);

    WriteByte m_write;
    const Threading m_threading;
    std::mutex m_mutex;
    // Signalled when something is handed in to a sleeping writer, or the
    // writer is to stop.
    std::condition_variable m_work;
    // Signalled when nothing waits and nothing is being written.
    std::condition_variable m_idle;
    std::deque<Pending> m_pending; // guarded by m_mutex
    bool m_writing = false; // guarded by m_mutex
    bool m_stopping = false; // guarded by m_mutex
    // The writer waits for work and no wake-up is on its way to it: only
    // then does waking it signal m_work; a tick hands in a pair for every
    // light at once, and a signal for each of them would cost a system call
    // apiece. Guarded by m_mutex.
    bool m_writerAsleep = false;
    std::thread m_thread; // last: it starts once the members above exist
};
