#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

// The logic of the light test panel: the check-box bytes, all lights off, and
// the 21-step chase, one step every half second. The panel's widgets drive
// it; tallyctl chase drives it without any window.
//
// Starting the chase again while it runs leaves the earlier timer running:
// both timers then advance the same step counter, so the rest of the chase
// goes twice as fast, and each timer stops itself on its first tick after the
// last step.
class TestSequenceRunner : public QObject {
    Q_OBJECT

public:
    using SendFunction = std::function<void(quint8)>;

    // When the chase timer may step. The panel's chase only moves while an
    // application-modal panel is up (the test panel is one); a caller with no
    // windows at all lets it step on every tick.
    enum class StepPolicy {
        whileModalSessionActive,
        always,
    };

    static constexpr std::chrono::milliseconds stepInterval { 500 };

    // Every byte goes to send: the tally box (through its BoxWriter in the
    // window), or whatever the owner gives it.
    explicit TestSequenceRunner(
        SendFunction send, StepPolicy policy = StepPolicy::whileModalSessionActive, QObject* parent = nullptr);

    // Restarts the chase at its first step: a new repeating timer takes the
    // place of the stored one (which is not stopped) and the first step goes
    // out at once.
    void testAll();

    // Performs the step at testStep() and moves on; once the chase has ended,
    // stops the given timer instead and sends nothing.
    void runTestWithTimer(QTimer* timer);

    // All program lamps off, then all preview lamps off: 0xB0, 0xD0.
    void turnOffAll();

    // The byte of a program or preview check box of the given title (a light
    // number in 0 to 255; anything else stops the process) in the given state.
    static quint8 programBoxByte(const QString& title, bool on);
    static quint8 previewBoxByte(const QString& title, bool on);

    void programBoxToggled(const QString& title, bool on);
    void previewBoxToggled(const QString& title, bool on);

    // Stops every chase timer that is still running, the one a second
    // start left behind included, and sends nothing: the lights stay as the
    // last step left them. Without it a chase runs to its end.
    void stop();

    // Whether a chase timer is still running.
    bool isRunning() const;

    // Index of the next step of the chase.
    qint64 testStep() const;

    // The most recently started chase timer; before any start, a timer that
    // never runs.
    QTimer* timer() const;

Q_SIGNALS:
    // Every byte as it is handed on, whoever asked for it: a check box, all
    // lights off or the chase.
    void byteSent(quint8 byte);

    // After the bytes of one step (index from 0) have been sent.
    void stepPerformed(qint64 step, const QList<quint8>& bytes);

    // A chase timer has stopped itself after the last step.
    void timerInvalidated(QTimer* timer);

    // stop() has stopped the chase before its end.
    void chaseStopped(qint64 testStep);

private:
    void timerTicked(QTimer* timer);
    void send(quint8 byte);
    void send(const QList<quint8>& bytes);
    QList<QTimer*> chaseTimers() const;

    SendFunction m_send;
    StepPolicy m_policy;
    const QList<QList<quint8>>& m_testSequence;
    QPointer<QTimer> m_timer;
    qint64 m_testStep = 0;
};
