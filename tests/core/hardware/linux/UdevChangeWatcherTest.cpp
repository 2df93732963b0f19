// The udev watcher over a stand-in monitor: one end of a socket pair plays
// the monitor's netlink socket, each byte written to the other end an event.

#include "hardware/linux/UdevChangeWatcher.h"

#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

class SocketPairMonitor : public UdevMonitor {
public:
    SocketPairMonitor() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, m_ends), 0); }
    ~SocketPairMonitor() override
    {
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }

    int socket() const override { return m_ends[0]; }

    bool drainEvents() override
    {
        bool any = false;
        char event = 0;
        while (::recv(m_ends[0], &event, 1, 0) == 1) {
            any = true;
            ++drained;
        }
        return any;
    }

    // What udev does when a hidraw node comes or goes.
    void sendEvent() const { EXPECT_EQ(::send(m_ends[1], "e", 1, 0), 1); }

    int drained = 0;

private:
    int m_ends[2] { -1, -1 };
};

// Runs the event loop for a while, or until the condition holds.
void runEventLoop(
    int milliseconds, const std::function<bool()>& done = [] { return false; })
{
    QEventLoop loop;
    const QDeadlineTimer deadline(milliseconds);
    while (!done() && !deadline.hasExpired()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
}

} // namespace

TEST(UdevChangeWatcherTest, AnEventOnTheMonitorSocketGivesOneChangeNotice)
{
    auto owned = std::make_unique<SocketPairMonitor>();
    SocketPairMonitor* monitor = owned.get();
    UdevChangeWatcher watcher(std::move(owned));
    int notices = 0;
    watcher.start([&] { ++notices; });

    runEventLoop(100);
    EXPECT_EQ(notices, 0); // nothing happened, nothing is said

    monitor->sendEvent();
    runEventLoop(2000, [&] { return notices > 0; });
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(monitor->drained, 1);
}

TEST(UdevChangeWatcherTest, ABurstOfEventsIsReadWholeAndGivesOneNotice)
{
    auto owned = std::make_unique<SocketPairMonitor>();
    SocketPairMonitor* monitor = owned.get();
    UdevChangeWatcher watcher(std::move(owned));
    int notices = 0;
    watcher.start([&] { ++notices; });

    // Plugging a box makes several events (the USB device, its interface,
    // the hidraw node) before the watcher gets to run.
    monitor->sendEvent();
    monitor->sendEvent();
    monitor->sendEvent();
    runEventLoop(2000, [&] { return notices > 0; });
    runEventLoop(100);
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(monitor->drained, 3);

    monitor->sendEvent();
    runEventLoop(2000, [&] { return notices > 1; });
    EXPECT_EQ(notices, 2);
}
