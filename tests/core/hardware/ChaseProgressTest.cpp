#include "hardware/ChaseProgress.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(ChaseProgressTest, IdleBeforeAnyChase)
{
    const ChaseProgress progress(21);
    EXPECT_EQ(progress.state(), ChaseProgress::State::idle);
    EXPECT_EQ(progress.stepsDone(), 0);
    EXPECT_EQ(progress.text(), QStringLiteral("Chase not running"));
}

TEST(ChaseProgressTest, EachStepSentCountsOneUpFromStepOne)
{
    ChaseProgress progress(21);
    progress.stepPerformed(0);
    EXPECT_EQ(progress.state(), ChaseProgress::State::running);
    EXPECT_EQ(progress.text(), QStringLiteral("Step 1 of 21"));
    progress.stepPerformed(6);
    EXPECT_EQ(progress.stepsDone(), 7);
    EXPECT_EQ(progress.text(), QStringLiteral("Step 7 of 21"));
}

TEST(ChaseProgressTest, FinishedOnceTheLastTimerHasStoppedItself)
{
    ChaseProgress progress(21);
    progress.stepPerformed(20);
    EXPECT_EQ(progress.text(), QStringLiteral("Step 21 of 21"));
    progress.timerInvalidated(true);
    EXPECT_EQ(progress.state(), ChaseProgress::State::running);
    progress.timerInvalidated(false);
    EXPECT_EQ(progress.state(), ChaseProgress::State::finished);
    EXPECT_EQ(progress.stepsDone(), 21);
    EXPECT_EQ(progress.text(), QStringLiteral("Chase finished: 21 steps"));
}

TEST(ChaseProgressTest, StoppedKeepsTheLastStepSent)
{
    ChaseProgress progress(21);
    progress.stepPerformed(8);
    progress.stopped();
    EXPECT_EQ(progress.state(), ChaseProgress::State::stopped);
    EXPECT_EQ(progress.stepsDone(), 9);
    EXPECT_EQ(progress.text(), QStringLiteral("Stopped after step 9 of 21"));
}

TEST(ChaseProgressTest, ARestartedChaseCountsFromStepOneAgain)
{
    ChaseProgress progress(21);
    progress.stepPerformed(12);
    progress.stopped();
    progress.stepPerformed(0);
    EXPECT_EQ(progress.state(), ChaseProgress::State::running);
    EXPECT_EQ(progress.text(), QStringLiteral("Step 1 of 21"));
}
