#include "StopSignals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// The pipe's writing end, for the handler; -1 while nothing watches.
volatile std::sig_atomic_t writeEnd = -1;

extern "C" void wakeEventLoop(int /*signalNumber*/)
{
    const int savedErrno = errno;
    const int fd = writeEnd;
    if (fd >= 0) {
        const char byte = 1;
        // A full pipe already holds a wake-up that has not been read.
        [[maybe_unused]] const ssize_t written = ::write(fd, &byte, 1);
    }
    errno = savedErrno;
}

void setStopAction(void (*handler)(int))
{
    struct sigaction action { };
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    // A read or write the signal interrupts is restarted rather than failing
    // with EINTR in code that does not expect it.
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace

StopSignals::StopSignals(QObject* parent)
    : QObject(parent)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    m_readEnd = ends[0];
    writeEnd = ends[1];
    m_notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &StopSignals::drain);
    setStopAction(wakeEventLoop);
}

StopSignals::~StopSignals()
{
    if (m_readEnd < 0) {
        return;
    }
    setStopAction(SIG_DFL);
    const int fd = writeEnd;
    writeEnd = -1;
    ::close(fd);
    ::close(m_readEnd);
}

bool StopSignals::isWatching() const
{
    return m_readEnd >= 0;
}

void StopSignals::drain()
{
    char bytes[64];
    while (::read(m_readEnd, bytes, sizeof bytes) > 0) { }
    Q_EMIT stopRequested();
}
