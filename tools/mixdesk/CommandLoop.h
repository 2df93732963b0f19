#pragma once

#include "CommandInterpreter.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

// Feeds the lines arriving on a file descriptor (standard input, for the
// headless stand-in) to the command interpreter as the event loop sees them
// arrive, so that auto-cut and signals keep working while nobody types.
// Emits finished() once, after a quit command or at the end of input.
class CommandLoop : public QObject {
    Q_OBJECT

public:
    CommandLoop(CommandInterpreter& interpreter, int fileDescriptor, QObject* parent = nullptr);

Q_SIGNALS:
    void finished();

private:
    void readAvailable();
    void runCompleteLines();
    void finish();

    CommandInterpreter& m_interpreter;
    int m_fileDescriptor;
    QSocketNotifier m_notifier;
    QByteArray m_pending;
    bool m_finished = false;
};
