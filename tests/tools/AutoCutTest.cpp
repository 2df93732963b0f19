#include "AutoCut.h"

#include "ShowModel.h"

#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

TEST(AutoCutTest, IsOffAtFirst)
{
    ShowModel model;
    const AutoCut autoCut(model);
    EXPECT_FALSE(autoCut.isRunning());
    EXPECT_EQ(autoCut.intervalSeconds(), 0);
}

TEST(AutoCutTest, CutsTheShowWhenItsIntervalIsUp)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    AutoCut autoCut(model);
    autoCut.setIntervalSeconds(1);
    EXPECT_TRUE(autoCut.isRunning());

    QEventLoop loop;
    QObject::connect(&model, &ShowModel::changed, &loop, &QEventLoop::quit);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit); // a hang is a failure, not a wait
    loop.exec();

    EXPECT_EQ(model.programPosition(), 1);
    EXPECT_EQ(model.previewPosition(), 0);
}

TEST(AutoCutTest, ZeroSecondsStopsIt)
{
    ShowModel model;
    AutoCut autoCut(model);
    autoCut.setIntervalSeconds(2);
    autoCut.setIntervalSeconds(0);
    EXPECT_FALSE(autoCut.isRunning());
    EXPECT_EQ(autoCut.intervalSeconds(), 0);
}

TEST(AutoCutTest, AChangeOfIntervalIsSignalled)
{
    ShowModel model;
    AutoCut autoCut(model);
    QList<int> seen;
    QObject::connect(&autoCut, &AutoCut::intervalChanged, [&seen](int seconds) { seen.append(seconds); });
    autoCut.setIntervalSeconds(3);
    autoCut.setIntervalSeconds(0);
    EXPECT_EQ(seen, QList<int>({ 3, 0 }));
}

TEST(AutoCutDeathTest, AnIntervalOutsideTheRangeIsAFatalError)
{
    ShowModel model;
    AutoCut autoCut(model);
    EXPECT_DEATH(autoCut.setIntervalSeconds(-1), "fatal error: AutoCut: interval of -1 seconds");
    EXPECT_DEATH(autoCut.setIntervalSeconds(AutoCut::maximumSeconds + 1), "fatal error: AutoCut: interval of 3601");
}
