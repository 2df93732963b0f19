#include "hardware/TestSequenceRunner.h"

#include "base/ModalSession.h"
#include "core/hardware/HardwareFakes.h"
#include "hardware/BoxWriter.h"
#include "hardware/LightCommand.h"
#include "hardware/USBHIDAppDelegate.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

class TestSequenceRunnerTest : public testing::Test {
protected:
    TestSequenceRunnerTest()
    {
        ModalSession::setProbe([this] { return m_modal; });
    }
    ~TestSequenceRunnerTest() override { ModalSession::setProbe({}); }

    TestSequenceRunner::SendFunction recorder()
    {
        return [this](quint8 byte) { sent.append(byte); };
    }

    void setModalPanelUp(bool up) { m_modal = up; }

    // A tick of the timer as the event loop would deliver it, through the
    // timer's own signal and whatever the runner connected to it.
    static void tick(QTimer* timer) { QMetaObject::invokeMethod(timer, "timeout"); }

    static const QList<quint8>& step(qsizetype index) { return LightCommand::testSequence().at(index); }

    QList<quint8> sent;

private:
    bool m_modal = true;
};

} // namespace

TEST_F(TestSequenceRunnerTest, TestAllSendsTheFirstStepAtOnce)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    EXPECT_EQ(sent, QList<quint8>({ 0xB0, 0xD0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8 }));
    EXPECT_EQ(runner.testStep(), 1);
}

TEST_F(TestSequenceRunnerTest, TestAllStartsARepeatingHalfSecondTimer)
{
    TestSequenceRunner runner(recorder());
    QTimer* before = runner.timer();
    ASSERT_NE(before, nullptr);
    EXPECT_FALSE(before->isActive());

    runner.testAll();

    ASSERT_NE(runner.timer(), before);
    EXPECT_TRUE(runner.timer()->isActive());
    EXPECT_FALSE(runner.timer()->isSingleShot());
    EXPECT_EQ(runner.timer()->interval(), 500);
}

TEST_F(TestSequenceRunnerTest, EachTimerTickSendsTheNextStepInOrder)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    sent.clear();

    tick(runner.timer());
    EXPECT_EQ(sent, step(1));
    sent.clear();
    tick(runner.timer());
    EXPECT_EQ(sent, step(2));
    EXPECT_EQ(runner.testStep(), 3);
}

TEST_F(TestSequenceRunnerTest, TimerStopsItselfOnItsFirstTickAfterTheLastStepAndSendsNothing)
{
    TestSequenceRunner runner(recorder());
    QList<qint64> performed;
    QObject::connect(&runner, &TestSequenceRunner::stepPerformed,
        [&performed](qint64 index, const QList<quint8>&) { performed.append(index); });
    QList<QTimer*> invalidated;
    QObject::connect(
        &runner, &TestSequenceRunner::timerInvalidated, [&invalidated](QTimer* timer) { invalidated.append(timer); });

    runner.testAll();
    QTimer* timer = runner.timer();
    for (int i = 1; i < 21; ++i) {
        runner.runTestWithTimer(timer);
    }
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(performed.size(), 21);
    EXPECT_EQ(sent.size(), 52);
    EXPECT_EQ(sent.last(), 0x28);

    runner.runTestWithTimer(timer);

    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(invalidated, QList<QTimer*> { timer });
    EXPECT_EQ(sent.size(), 52);
    EXPECT_EQ(runner.testStep(), 21);
}

TEST_F(TestSequenceRunnerTest, RestartDuringATestBeginsAgainAndBothTimersShareTheStepsThenStopThemselves)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    QTimer* first = runner.timer();
    for (int i = 0; i < 5; ++i) {
        tick(first);
    }
    ASSERT_EQ(runner.testStep(), 6);
    sent.clear();

    runner.testAll();
    QTimer* second = runner.timer();

    ASSERT_NE(first, second);
    EXPECT_EQ(sent, step(0));
    EXPECT_EQ(runner.testStep(), 1);
    EXPECT_TRUE(first->isActive());
    EXPECT_TRUE(second->isActive());

    // Both timers tick every half second and step the same counter: two steps
    // per half second, the remaining 20 steps in 10 rounds instead of 20.
    int rounds = 0;
    while (runner.testStep() < 21) {
        tick(first);
        tick(second);
        ++rounds;
    }
    EXPECT_EQ(rounds, 10);
    QList<quint8> everyStep;
    for (const QList<quint8>& bytes : LightCommand::testSequence()) {
        everyStep.append(bytes);
    }
    EXPECT_EQ(sent, everyStep);

    tick(first);
    EXPECT_FALSE(first->isActive());
    EXPECT_TRUE(second->isActive());
    tick(second);
    EXPECT_FALSE(second->isActive());
    EXPECT_EQ(sent, everyStep);
}

TEST_F(TestSequenceRunnerTest, TickWhileNoModalPanelIsUpDoesNothing)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    sent.clear();
    setModalPanelUp(false);

    tick(runner.timer());

    EXPECT_TRUE(sent.isEmpty());
    EXPECT_EQ(runner.testStep(), 1);
    EXPECT_TRUE(runner.timer()->isActive());
}

TEST_F(TestSequenceRunnerTest, ChaseGoesOnWhenAModalPanelIsUpAgain)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    setModalPanelUp(false);
    tick(runner.timer());
    sent.clear();

    setModalPanelUp(true);
    tick(runner.timer());

    EXPECT_EQ(sent, step(1));
    EXPECT_EQ(runner.testStep(), 2);
}

TEST_F(TestSequenceRunnerTest, TestAllSendsItsFirstStepEvenWithoutAModalPanel)
{
    setModalPanelUp(false);
    TestSequenceRunner runner(recorder());
    runner.testAll();
    EXPECT_EQ(sent, step(0));
}

TEST_F(TestSequenceRunnerTest, AlwaysPolicyStepsWithoutAModalPanel)
{
    setModalPanelUp(false);
    TestSequenceRunner runner(recorder(), TestSequenceRunner::StepPolicy::always);
    runner.testAll();
    sent.clear();

    tick(runner.timer());

    EXPECT_EQ(sent, step(1));
}

TEST_F(TestSequenceRunnerTest, TurnOffAllSendsExactlyTwoBytesProgramThenPreview)
{
    TestSequenceRunner runner(recorder());
    runner.turnOffAll();
    EXPECT_EQ(sent, QList<quint8>({ 0xB0, 0xD0 }));
}

TEST_F(TestSequenceRunnerTest, CheckBoxTitledZeroSendsB0AndD0WhenOnAnd00And20WhenOff)
{
    TestSequenceRunner runner(recorder());
    runner.programBoxToggled(QStringLiteral("0"), true);
    runner.previewBoxToggled(QStringLiteral("0"), true);
    runner.programBoxToggled(QStringLiteral("0"), false);
    runner.previewBoxToggled(QStringLiteral("0"), false);
    EXPECT_EQ(sent, QList<quint8>({ 0xB0, 0xD0, 0x00, 0x20 }));
}

TEST_F(TestSequenceRunnerTest, CheckBoxOfLightThreeSendsItsProgramAndPreviewBytes)
{
    EXPECT_EQ(TestSequenceRunner::programBoxByte(QStringLiteral("3"), true), 0xB3);
    EXPECT_EQ(TestSequenceRunner::programBoxByte(QStringLiteral("3"), false), 0x03);
    EXPECT_EQ(TestSequenceRunner::previewBoxByte(QStringLiteral("3"), true), 0xD3);
    EXPECT_EQ(TestSequenceRunner::previewBoxByte(QStringLiteral("3"), false), 0x23);
}

TEST_F(TestSequenceRunnerTest, CheckBoxTitleWithASignIsStillItsNumber)
{
    EXPECT_EQ(TestSequenceRunner::programBoxByte(QStringLiteral("+7"), true), 0xB7);
    EXPECT_EQ(TestSequenceRunner::previewBoxByte(QStringLiteral("255"), false), 0xFF);
}

TEST_F(TestSequenceRunnerTest, BytesGivenToABoxWriterReachTheDeviceInOrder)
{
    auto* backend = new FakeBackend;
    USBHIDAppDelegate box { std::unique_ptr<HidBackend>(backend) };
    auto device = std::make_shared<FakeDevice>();
    backend->plug(device);
    BoxWriter writer([&box](quint8 byte) { box.sendControl(byte); });

    TestSequenceRunner runner([&writer](quint8 byte) { writer.sendByte(byte); });
    runner.turnOffAll();
    runner.programBoxToggled(QStringLiteral("3"), true);
    writer.waitUntilWritten();

    EXPECT_EQ(device->commandBytes(), QList<quint8>({ 0xB0, 0xD0, 0xB3 }));
}

using TestSequenceRunnerDeathTest = TestSequenceRunnerTest;

TEST_F(TestSequenceRunnerDeathTest, CheckBoxTitleThatIsNotALightNumberStops)
{
    TestSequenceRunner runner(recorder());
    EXPECT_DEATH(runner.programBoxToggled(QStringLiteral("one"), true), "fatal error: .*\"one\"");
    EXPECT_DEATH(runner.previewBoxToggled(QStringLiteral("256"), true), "fatal error: .*\"256\"");
    EXPECT_DEATH(runner.previewBoxToggled(QStringLiteral(" 4"), false), "fatal error: ");
}

// Step times, through the real event loop: a step may come late on a busy
// machine, never early.
TEST_F(TestSequenceRunnerTest, ChaseStepsComeNoEarlierThanTheStepIntervalApart)
{
    TestSequenceRunner runner(recorder(), TestSequenceRunner::StepPolicy::always);
    QList<qint64> stepTimes;
    QElapsedTimer clock;
    QEventLoop loop;
    QObject::connect(&runner, &TestSequenceRunner::stepPerformed, &loop, [&] {
        stepTimes.append(clock.elapsed());
        if (stepTimes.size() == 6) {
            loop.quit();
        }
    });
    clock.start();
    runner.testAll();
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    loop.exec();
    ASSERT_EQ(stepTimes.size(), 6);
    EXPECT_EQ(runner.timer()->timerType(), Qt::PreciseTimer);
    // Each step is due a whole number of intervals after the first; a late
    // step does not push the later ones back.
    for (qsizetype i = 1; i < stepTimes.size(); ++i) {
        EXPECT_GE(stepTimes[i] - stepTimes[0], i * TestSequenceRunner::stepInterval.count() - 1)
            << "step " << i + 1 << " at " << stepTimes[i] << " ms";
    }
}

TEST_F(TestSequenceRunnerTest, EveryByteIsAnnouncedAsItIsSentWhoeverAskedForIt)
{
    TestSequenceRunner runner(recorder());
    QList<quint8> announced;
    QObject::connect(&runner, &TestSequenceRunner::byteSent, &runner, [&](quint8 byte) {
        // Announced after it has gone out, never before.
        EXPECT_EQ(sent.last(), byte);
        announced.append(byte);
    });
    runner.programBoxToggled(QStringLiteral("2"), true);
    runner.previewBoxToggled(QStringLiteral("7"), false);
    runner.turnOffAll();
    runner.testAll();
    tick(runner.timer());

    QList<quint8> expected { 0xB2, 0x27, 0xB0, 0xD0 };
    expected += step(0);
    expected += step(1);
    EXPECT_EQ(announced, expected);
    EXPECT_EQ(sent, expected);
}

TEST_F(TestSequenceRunnerTest, IsRunningFromTheStartOfAChaseUntilItsTimerStopsItself)
{
    TestSequenceRunner runner(recorder());
    EXPECT_FALSE(runner.isRunning());
    runner.testAll();
    EXPECT_TRUE(runner.isRunning());
    for (int ticks = 0; ticks < 20; ++ticks) {
        tick(runner.timer());
    }
    EXPECT_EQ(runner.testStep(), 21);
    EXPECT_TRUE(runner.isRunning());
    tick(runner.timer());
    EXPECT_FALSE(runner.isRunning());
}

TEST_F(TestSequenceRunnerTest, StopHaltsEveryChaseTimerTheOneLeftByARestartIncludedAndSendsNothing)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    QTimer* first = runner.timer();
    tick(first);
    runner.testAll();
    QTimer* second = runner.timer();
    tick(second);
    ASSERT_NE(first, second);
    ASSERT_TRUE(first->isActive());
    sent.clear();
    QList<qint64> stoppedAt;
    QObject::connect(&runner, &TestSequenceRunner::chaseStopped, &runner, [&](qint64 at) { stoppedAt.append(at); });

    runner.stop();

    EXPECT_FALSE(first->isActive());
    EXPECT_FALSE(second->isActive());
    EXPECT_FALSE(runner.isRunning());
    EXPECT_TRUE(sent.isEmpty());
    EXPECT_EQ(stoppedAt, QList<qint64>({ 2 }));
    EXPECT_EQ(runner.testStep(), 2);
}

TEST_F(TestSequenceRunnerTest, NoStepFollowsAStopOnTheEventLoopsOwnTicks)
{
    TestSequenceRunner runner(recorder(), TestSequenceRunner::StepPolicy::always);
    runner.testAll();
    runner.stop();
    sent.clear();
    QEventLoop loop;
    QTimer::singleShot(3 * TestSequenceRunner::stepInterval, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_TRUE(sent.isEmpty());
    EXPECT_EQ(runner.testStep(), 1);
}

TEST_F(TestSequenceRunnerTest, StopWithoutARunningChaseDoesNothing)
{
    TestSequenceRunner runner(recorder());
    bool stopped = false;
    QObject::connect(&runner, &TestSequenceRunner::chaseStopped, &runner, [&] { stopped = true; });
    runner.stop();
    runner.testAll();
    for (int ticks = 0; ticks < 21; ++ticks) {
        tick(runner.timer());
    }
    ASSERT_FALSE(runner.isRunning());
    runner.stop();
    EXPECT_FALSE(stopped);
}

TEST_F(TestSequenceRunnerTest, AChaseStartedAfterAStopBeginsAgainAtItsFirstStep)
{
    TestSequenceRunner runner(recorder());
    runner.testAll();
    tick(runner.timer());
    runner.stop();
    sent.clear();
    runner.testAll();
    EXPECT_EQ(sent, step(0));
    EXPECT_TRUE(runner.isRunning());
    EXPECT_EQ(runner.testStep(), 1);
}
