#include "hardware/TestSequenceRunner.h"

#include "base/ModalSession.h"
#include "hardware/LightCommand.h"

#include <algorithm>

TestSequenceRunner::TestSequenceRunner(SendFunction send, StepPolicy policy, QObject* parent)
    : QObject(parent)
    , m_send(std::move(send))
    , m_policy(policy)
    , m_testSequence(LightCommand::testSequence())
    , m_timer(new QTimer(this))
{
}

void TestSequenceRunner::testAll()
{
    m_testStep = 0;
    // Chase timers belong to the runner and are never deleted early: a
    // restarted chase leaves the earlier one ticking until it stops itself.
    auto* timer = new QTimer(this);
    // A coarse timer may step up to a twentieth early, which over a chase
    // of twenty steps ends it a quarter of a second short.
    timer->setTimerType(Qt::PreciseTimer);
    timer->setInterval(stepInterval);
    connect(timer, &QTimer::timeout, this, [this, timer] { timerTicked(timer); });
    timer->start();
    m_timer = timer;
    runTestWithTimer(timer);
}

void TestSequenceRunner::runTestWithTimer(QTimer* timer)
{
    if (m_testStep >= m_testSequence.size()) {
        timer->stop();
        Q_EMIT timerInvalidated(timer);
        return;
    }
    const qint64 step = m_testStep;
    const QList<quint8>& bytes = m_testSequence.at(step);
    send(bytes);
    m_testStep = step + 1;
    Q_EMIT stepPerformed(step, bytes);
}

void TestSequenceRunner::timerTicked(QTimer* timer)
{
    if (m_policy == StepPolicy::whileModalSessionActive && !ModalSession::isActive()) {
        return;
    }
    runTestWithTimer(timer);
}

void TestSequenceRunner::turnOffAll()
{
    send({ LightCommand::programOn, LightCommand::previewOn });
}

quint8 TestSequenceRunner::programBoxByte(const QString& title, bool on)
{
    return LightCommand::panelByte(
        on ? LightCommand::programOn : LightCommand::programOff, LightCommand::lightNumberFromTitle(title));
}

quint8 TestSequenceRunner::previewBoxByte(const QString& title, bool on)
{
    return LightCommand::panelByte(
        on ? LightCommand::previewOn : LightCommand::previewOff, LightCommand::lightNumberFromTitle(title));
}

void TestSequenceRunner::programBoxToggled(const QString& title, bool on)
{
    send(programBoxByte(title, on));
}

void TestSequenceRunner::previewBoxToggled(const QString& title, bool on)
{
    send(previewBoxByte(title, on));
}

void TestSequenceRunner::stop()
{
    bool stopped = false;
    for (QTimer* timer : chaseTimers()) {
        stopped = stopped || timer->isActive();
        timer->stop();
    }
    if (stopped) {
        Q_EMIT chaseStopped(m_testStep);
    }
}

bool TestSequenceRunner::isRunning() const
{
    const QList<QTimer*> timers = chaseTimers();
    return std::any_of(timers.cbegin(), timers.cend(), [](const QTimer* timer) { return timer->isActive(); });
}

QList<QTimer*> TestSequenceRunner::chaseTimers() const
{
    // Every timer a start made is the runner's own child, and only those.
    return findChildren<QTimer*>(Qt::FindDirectChildrenOnly);
}

qint64 TestSequenceRunner::testStep() const
{
    return m_testStep;
}

QTimer* TestSequenceRunner::timer() const
{
    return m_timer;
}

void TestSequenceRunner::send(quint8 byte)
{
    m_send(byte);
    Q_EMIT byteSent(byte);
}

void TestSequenceRunner::send(const QList<quint8>& bytes)
{
    for (const quint8 byte : bytes) {
        send(byte);
    }
}
