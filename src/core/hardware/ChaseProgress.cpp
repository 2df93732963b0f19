#include "hardware/ChaseProgress.h"

#include <QCoreApplication>

ChaseProgress::ChaseProgress(qint64 stepCount)
    : m_stepCount(stepCount)
{
}

void ChaseProgress::stepPerformed(qint64 step)
{
    m_stepsDone = step + 1;
    m_state = State::running;
}

void ChaseProgress::timerInvalidated(bool stillRunning)
{
    // A restart leaves an earlier timer that ends the chase first; the
    // chase is over only when the last one has stopped.
    if (!stillRunning) {
        m_state = State::finished;
    }
}

void ChaseProgress::stopped()
{
    m_state = State::stopped;
}

QString ChaseProgress::text() const
{
    switch (m_state) {
    case State::running:
        return QCoreApplication::translate("ChaseProgress", "Step %1 of %2").arg(m_stepsDone).arg(m_stepCount);
    case State::finished:
        return QCoreApplication::translate("ChaseProgress", "Chase finished: %1 steps").arg(m_stepCount);
    case State::stopped:
        return QCoreApplication::translate("ChaseProgress", "Stopped after step %1 of %2")
            .arg(m_stepsDone)
            .arg(m_stepCount);
    case State::idle:
        break;
    }
    return QCoreApplication::translate("ChaseProgress", "Chase not running");
}
