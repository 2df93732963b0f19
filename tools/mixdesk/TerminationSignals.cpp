#include "TerminationSignals.h"

#include "base/FatalError.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::array handledSignals { SIGINT, SIGTERM, SIGHUP };

// [0] is written by the handler, [1] read by the event loop.
int signalSockets[2] = { -1, -1 };

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent)
{
    if (signalSockets[0] != -1) {
        fatalError(QStringLiteral("TerminationSignals: a second instance"));
    }
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0) {
        fatalError(QStringLiteral("TerminationSignals: socketpair failed"));
    }
    for (const int socket : signalSockets) {
        // Non-blocking, so that a handler never waits on a full pair.
        ::fcntl(socket, F_SETFL, ::fcntl(socket, F_GETFL) | O_NONBLOCK);
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    }
    m_notifier = new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::readSignal);

    struct sigaction action { };
    action.sa_handler = &TerminationSignals::handle;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : handledSignals) {
        ::sigaction(signalNumber, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    struct sigaction action { };
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    for (const int signalNumber : handledSignals) {
        ::sigaction(signalNumber, &action, nullptr);
    }
    delete m_notifier;
    ::close(signalSockets[0]);
    ::close(signalSockets[1]);
    signalSockets[0] = signalSockets[1] = -1;
}

void TerminationSignals::handle(int signalNumber)
{
    const int savedErrno = errno;
    const char byte = static_cast<char>(signalNumber);
    // Nothing to do if the pair is full: a quit is already on its way.
    [[maybe_unused]] const ssize_t written = ::write(signalSockets[0], &byte, 1);
    errno = savedErrno;
}

void TerminationSignals::readSignal()
{
    char byte = 0;
    if (::read(signalSockets[1], &byte, 1) == 1) {
        Q_EMIT received(static_cast<unsigned char>(byte));
    }
}
