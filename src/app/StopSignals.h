#pragma once

#include <QObject>

class QSocketNotifier;

// SIGINT and SIGTERM (Ctrl-C, a logout, a session being stopped) end the
// program as Quit from its menu does, from the event loop, so that the
// lights at quit are done and the network outputs say goodbye instead of
// the process dying where it stands.
//
// A signal handler may do almost nothing: it writes one byte to a pipe whose
// reading end the event loop watches. The program hears of the signal at
// once and wakes for nothing else; looking at a flag on a timer instead
// would wake an idle program ten times a second, more often than its own
// tick.
//
// One at a time in a process. Made on the main thread; stopRequested is
// emitted there, once for each burst of signals. Going away gives both
// signals back their default action.
class StopSignals : public QObject {
    Q_OBJECT

public:
    explicit StopSignals(QObject* parent = nullptr);
    ~StopSignals() override;

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // False when the pipe could not be made: the signals then keep their
    // default action and end the program at once.
    bool isWatching() const;

Q_SIGNALS:
    void stopRequested();

private:
    void drain();

    int m_readEnd = -1;
    QSocketNotifier* m_notifier = nullptr;
};
