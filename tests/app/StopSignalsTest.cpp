// SIGINT and SIGTERM reach the program through its event loop, at once, and
// leave no handler behind when the watch ends.

#include "StopSignals.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>

namespace {

// The action SIGTERM has now.
void (*currentTermAction())(int)
{
    struct sigaction action { };
    sigaction(SIGTERM, nullptr, &action);
    return action.sa_handler;
}

} // namespace

TEST(StopSignalsTest, SigtermEndsTheEventLoopThroughTheLoopItself)
{
    StopSignals watch;
    ASSERT_TRUE(watch.isWatching());
    QSignalSpy stops(&watch, &StopSignals::stopRequested);
    // The handler only writes to the pipe: nothing is emitted before the
    // event loop runs.
    ASSERT_EQ(std::raise(SIGTERM), 0);
    EXPECT_EQ(stops.count(), 0);
    EXPECT_TRUE(stops.wait(5000));
    EXPECT_EQ(stops.count(), 1);
}

TEST(StopSignalsTest, SigintIsHeardLikeSigterm)
{
    StopSignals watch;
    QSignalSpy stops(&watch, &StopSignals::stopRequested);
    ASSERT_EQ(std::raise(SIGINT), 0);
    EXPECT_TRUE(stops.wait(5000));
}

TEST(StopSignalsTest, ABurstOfSignalsIsOneRequestAndALaterSignalAnother)
{
    StopSignals watch;
    QSignalSpy stops(&watch, &StopSignals::stopRequested);
    for (int n = 0; n < 100; ++n) {
        ASSERT_EQ(std::raise(SIGTERM), 0);
    }
    EXPECT_TRUE(stops.wait(5000));
    QCoreApplication::processEvents();
    EXPECT_EQ(stops.count(), 1);
    ASSERT_EQ(std::raise(SIGTERM), 0);
    EXPECT_TRUE(stops.wait(5000));
    EXPECT_EQ(stops.count(), 2);
}

TEST(StopSignalsTest, TheQuitComesWithoutWaitingForATimer)
{
    StopSignals watch;
    QObject::connect(&watch, &StopSignals::stopRequested, qApp, &QCoreApplication::quit);
    QTimer::singleShot(0, [] { std::raise(SIGTERM); });
    // Should the quit never come, this ends the loop instead.
    bool gaveUp = false;
    QTimer patience;
    patience.setSingleShot(true);
    QObject::connect(&patience, &QTimer::timeout, [&gaveUp] {
        gaveUp = true;
        QCoreApplication::quit();
    });
    patience.start(5000);
    QCoreApplication::exec();
    EXPECT_FALSE(gaveUp);
}

TEST(StopSignalsTest, WhenTheWatchEndsTheSignalsGetTheirDefaultActionBack)
{
    {
        StopSignals watch;
        EXPECT_NE(currentTermAction(), SIG_DFL);
    }
    EXPECT_EQ(currentTermAction(), SIG_DFL);
}
