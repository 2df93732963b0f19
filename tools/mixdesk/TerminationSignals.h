#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT, SIGTERM and SIGHUP into a normal quit of the event loop, so
// that the stand-in removes its answer file on Ctrl-C, on `kill` and when
// its terminal goes away, just as on a quit command. The signal handler only
// writes one byte to a socket pair; the event loop reads it and emits
// received() on the main thread, where quitting is safe.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    // At most one per process: the handlers are process-wide.
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received(int signalNumber);

private:
    static void handle(int signalNumber);
    void readSignal();

    QSocketNotifier* m_notifier = nullptr;
};
