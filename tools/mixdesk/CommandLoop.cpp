#include "CommandLoop.h"

#include <QString>

#include <cerrno>
#include <unistd.h>

CommandLoop::CommandLoop(CommandInterpreter& interpreter, int fileDescriptor, QObject* parent)
    : QObject(parent)
    , m_interpreter(interpreter)
    , m_fileDescriptor(fileDescriptor)
    , m_notifier(fileDescriptor, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &CommandLoop::readAvailable);
}

void CommandLoop::readAvailable()
{
    char buffer[4096];
    const ssize_t count = ::read(m_fileDescriptor, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return;
    }
    if (count <= 0) {
        // The last line may come without its newline.
        if (!m_pending.isEmpty()) {
            m_pending.append('\n');
            runCompleteLines();
        }
        finish();
        return;
    }
    m_pending.append(buffer, count);
    runCompleteLines();
}

void CommandLoop::runCompleteLines()
{
    qsizetype end = 0;
    while (!m_finished && (end = m_pending.indexOf('\n')) >= 0) {
        const QString line = QString::fromUtf8(m_pending.left(end));
        m_pending.remove(0, end + 1);
        if (m_interpreter.execute(line) == CommandInterpreter::Outcome::Quit) {
            finish();
        }
    }
}

void CommandLoop::finish()
{
    if (m_finished) {
        return;
    }
    m_finished = true;
    m_notifier.setEnabled(false);
    Q_EMIT finished();
}
