#pragma once

#include <QString>
#include <QtGlobal>

// How far the test chase has gone, in words for the test panel: idle before
// any chase, "Step N of 21" while one runs, then finished, or stopped where
// the user stopped it. It follows the runner's signals and decides nothing
// about the chase itself.
class ChaseProgress {
public:
    enum class State {
        idle,
        running,
        finished,
        stopped,
    };

    explicit ChaseProgress(qint64 stepCount);

    // A step (index from 0) has been sent.
    void stepPerformed(qint64 step);
    // A chase timer has stopped itself after the last step; stillRunning
    // tells whether another one (left by a restart) is still going.
    void timerInvalidated(bool stillRunning);
    // The user stopped the chase.
    void stopped();

    State state() const { return m_state; }
    // Steps sent by the current or the last chase, 0 to stepCount.
    qint64 stepsDone() const { return m_stepsDone; }
    qint64 stepCount() const { return m_stepCount; }
    QString text() const;

private:
    qint64 m_stepCount;
    qint64 m_stepsDone = 0;
    State m_state = State::idle;
};
