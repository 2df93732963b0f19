#include "tally/TallyTicker.h"

#include "support/FakeShotSource.h"
#include "support/RecordingCycleObserver.h"
#include "tallymap/TallyMap.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

ShotPtr liveShot(const QString& name)
{
    auto shot = std::make_shared<Shot>(name);
    shot->shotId = name;
    shot->isLive = true;
    return shot;
}

// A ticker on a fake source whose Cam 1 is live, light 1 holding Cam 1,
// with the bytes recorded instead of sent.
class TallyTickerTest : public testing::Test {
protected:
    TallyTickerTest()
    {
        auto owned = std::make_unique<FakeShotSource>();
        source = owned.get();
        source->shots = { liveShot(QStringLiteral("Cam 1")) };
        map.setShotSelection(0, { std::make_shared<Shot>(QStringLiteral("Cam 1")) });
        ticker = std::make_unique<TallyTicker>(
            std::move(owned), map, observer, TallyCycle::byteByByte([this](quint8 byte) { observer.send(byte); }));
    }

    TallyMap map;
    RecordingObserver observer;
    FakeShotSource* source = nullptr;
    std::unique_ptr<TallyTicker> ticker;
};

TEST_F(TallyTickerTest, StartingAsksTheSourceOnceBeforeTheRepeatingQuarterSecondTimerRuns)
{
    EXPECT_FALSE(ticker->timer()->isActive());
    ticker->start();
    EXPECT_EQ(source->queries, 1);
    EXPECT_EQ(ticker->shotList().size(), 1);
    EXPECT_TRUE(ticker->timer()->isActive());
    EXPECT_FALSE(ticker->timer()->isSingleShot());
    EXPECT_EQ(ticker->timer()->interval(), 250);
    EXPECT_TRUE(observer.bytes.isEmpty()) << "the first answer is not a tick";
}

// Qt's default timers may fire up to 5 % early or late to share wake-ups
// with other timers: the first tick would come anywhere from 238 to 262 ms
// after the start. The lights keep the quarter second they were given.
TEST_F(TallyTickerTest, NoTickComesBeforeItsQuarterSecond)
{
    EXPECT_EQ(ticker->timer()->timerType(), Qt::PreciseTimer);
    QElapsedTimer since;
    since.start();
    ticker->start();
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    for (int tick = 1; tick <= 3; ++tick) {
        ASSERT_TRUE(ticked.size() >= tick || ticked.wait(2000));
        EXPECT_GE(since.elapsed(), tick * 250) << "tick " << tick;
    }
}

TEST_F(TallyTickerTest, TheTimerTicksTheLightsAndSaysWhy)
{
    ticker->start();
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    ASSERT_TRUE(ticked.wait(2000));
    EXPECT_EQ(ticked.first().first().value<TallyTicker::Reason>(), TallyTicker::Reason::timer);
    EXPECT_EQ(observer.modes[0], TallyMode::live);
    ASSERT_GE(observer.bytes.size(), 16);
    EXPECT_EQ(observer.bytes[0], 0xB1);
    EXPECT_EQ(observer.bytes[1], 0x21);
}

TEST_F(TallyTickerTest, AChangeFromTheSourceTicksAtOnceWithoutTheTimer)
{
    ticker->start();
    ticker->timer()->stop();
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    source->announceChange();
    ASSERT_EQ(ticked.size(), 1);
    EXPECT_EQ(ticked.first().first().value<TallyTicker::Reason>(), TallyTicker::Reason::sourceChanged);
    EXPECT_EQ(observer.bytes.size(), 16);
    EXPECT_EQ(observer.modes[0], TallyMode::live);
}

TEST_F(TallyTickerTest, ABurstOfChangesTicksOnceAtOnceAndOnceMoreForAllTheRest)
{
    ticker->start();
    ticker->timer()->stop();
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    for (int change = 0; change < 1000; ++change) {
        source->announceChange();
    }
    EXPECT_EQ(ticked.size(), 1) << "the first change reaches the box at once";
    EXPECT_EQ(observer.bytes.size(), 16);
    ASSERT_TRUE(ticked.wait(2000));
    EXPECT_EQ(ticked.size(), 2) << "the other 999 are one more tick";
    EXPECT_FALSE(ticked.wait(3 * TallyTicker::mergeWindow.count())) << "and nothing after that";
    EXPECT_EQ(observer.bytes.size(), 32);
}

TEST_F(TallyTickerTest, AChangeAfterAQuietSpellTicksAtOnce)
{
    ticker->start();
    ticker->timer()->stop();
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    source->announceChange();
    QTest::qWait(2 * TallyTicker::mergeWindow.count());
    source->announceChange();
    EXPECT_EQ(ticked.size(), 2);
}

TEST_F(TallyTickerTest, AFloodOfChangesCostsAtMostAboutOneExtraTickPerWindowAndTheTimerGoesOn)
{
    ticker->start();
    int timerTicks = 0;
    int changeTicks = 0;
    QObject::connect(ticker.get(), &TallyTicker::ticked,
        [&](TallyTicker::Reason reason) { ++(reason == TallyTicker::Reason::timer ? timerTicks : changeTicks); });
    QElapsedTimer flood;
    flood.start();
    int announced = 0;
    QTimer flooder;
    QObject::connect(&flooder, &QTimer::timeout, [&] {
        for (int i = 0; i < 100; ++i, ++announced) {
            source->announceChange();
        }
    });
    flooder.start(0);
    QTest::qWait(1000);
    flooder.stop();
    const qint64 lasted = flood.elapsed();
    ASSERT_GT(announced, 1000) << "the flood was a flood";
    EXPECT_LE(changeTicks, lasted / TallyTicker::mergeWindow.count() + 2) << announced << " changes";
    EXPECT_GE(timerTicks, 2) << "the quarter-second ticks went on";
}

TEST_F(TallyTickerTest, NoTickRunsWhileTheOwnerHoldsTheCycleBack)
{
    bool holding = true;
    ticker->setHoldBack([&holding] { return holding; });
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    ticker->tick(TallyTicker::Reason::timer);
    source->announceChange();
    EXPECT_TRUE(observer.bytes.isEmpty());
    EXPECT_TRUE(ticked.isEmpty());
    holding = false;
    ticker->tick(TallyTicker::Reason::timer);
    EXPECT_EQ(observer.bytes.size(), 16);
    EXPECT_EQ(ticked.size(), 1);
}

TEST_F(TallyTickerTest, ATickAskedForInsideATickIsSkipped)
{
    // A source that announces a change while it is being asked, as one that
    // ran the event loop inside its query could.
    int nestedTicks = 0;
    QObject::connect(ticker.get(), &TallyTicker::ticked, [&nestedTicks] { ++nestedTicks; });
    source->onQuery = [this, announced = false]() mutable {
        if (!announced) {
            announced = true;
            source->announceChange();
        }
    };
    ticker->tick(TallyTicker::Reason::timer);
    EXPECT_EQ(nestedTicks, 1);
    EXPECT_EQ(observer.bytes.size(), 16);
}

TEST_F(TallyTickerTest, AnotherSourceForgetsTheOldShotsAndTheOldSourceNoLongerTicks)
{
    ticker->start();
    ticker->timer()->stop();
    QPointer<FakeShotSource> old = source;
    auto replacement = std::make_unique<FakeShotSource>();
    FakeShotSource* next = replacement.get();
    ticker->setSource(std::move(replacement));
    EXPECT_TRUE(ticker->shotList().isEmpty());
    EXPECT_EQ(&ticker->source(), next);
    QSignalSpy ticked(ticker.get(), &TallyTicker::ticked);
    old->announceChange();
    EXPECT_TRUE(ticked.isEmpty());
    next->announceChange();
    EXPECT_EQ(ticked.size(), 1);
    // The old source goes once control is back in the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(old.isNull());
}

TEST_F(TallyTickerTest, ANullSourceChangesNothing)
{
    ticker->setSource(nullptr);
    EXPECT_EQ(&ticker->source(), source);
}

TEST_F(TallyTickerTest, FinishingSendsNothingByDefault)
{
    ticker->finish();
    EXPECT_TRUE(observer.bytes.isEmpty());
}

TEST_F(TallyTickerTest, FinishingTurnsEveryLightOffWhenTheUserAskedForThat)
{
    LostSourcePolicy policy;
    policy.turnOffAtQuit = true;
    ticker->setLostSourcePolicy(policy);
    ticker->finish();
    ASSERT_EQ(observer.bytes.size(), 16);
    EXPECT_EQ(observer.bytes[0], 0x01);
    EXPECT_EQ(observer.bytes[1], 0x21);
    EXPECT_EQ(observer.bytes[15], 0x28);
    EXPECT_EQ(observer.modes[0], TallyMode::off);
}

TEST_F(TallyTickerTest, TheLostSourcePolicyReachesTheCycle)
{
    LostSourcePolicy policy;
    policy.action = LostSourcePolicy::Action::turnOff;
    ticker->setLostSourcePolicy(policy);
    EXPECT_EQ(ticker->cycle().lostSourcePolicy(), policy);
    source->running = false;
    ticker->tick(TallyTicker::Reason::timer);
    EXPECT_EQ(observer.bytes.size(), 16);
    EXPECT_EQ(observer.warningHidden, false);
}

} // namespace

TEST(TallyTickerDefaultSourceTest, WithoutASourceGivenTheTickerFollowsMixdesk)
{
    TallyMap map;
    RecordingObserver observer;
    const TallyTicker ticker(nullptr, map, observer, TallyCycle::byteByByte([](quint8) {}));
    EXPECT_EQ(ticker.source().kind(), ShotSource::Kind::mixdesk);
}

namespace {

// Keeps every report it is given.
class ReportRecorder : public TallyOutput {
public:
    void publish(const TallySnapshot& snapshot) override { reports.append(snapshot); }

    QList<TallySnapshot> reports;
};

} // namespace

TEST_F(TallyTickerTest, ATestStartsFromWhatTheBoxShowsAndFollowsThePanelsBytesMarkedAsATest)
{
    ReportRecorder outputs;
    ticker->cycle().addOutput(&outputs);
    ticker->tick(TallyTicker::Reason::timer);
    ticker->beginTest();
    ASSERT_EQ(outputs.reports.size(), 2);
    EXPECT_TRUE(outputs.reports[1].underTest);
    EXPECT_EQ(outputs.reports[1].lights[0].mode, TallyMode::live) << "the box still shows the last tick";
    ticker->noteTestByte(0x01); // program off, light 1
    ticker->noteTestByte(0xD3); // preview on, light 3
    ASSERT_EQ(outputs.reports.size(), 4);
    EXPECT_EQ(outputs.reports[3].lights[0].mode, TallyMode::off);
    EXPECT_EQ(outputs.reports[3].lights[2].mode, TallyMode::preview);
    EXPECT_TRUE(outputs.reports[3].underTest);
    EXPECT_EQ(observer.modes[2], TallyMode::preview) << "the window's lamps show the test too";
}

TEST_F(TallyTickerTest, TheEndOfATestBringsBackTheSwitchersLightsAtOnce)
{
    ReportRecorder outputs;
    ticker->cycle().addOutput(&outputs);
    ticker->tick(TallyTicker::Reason::timer);
    ticker->beginTest();
    ticker->noteTestByte(0x01);
    source->shots.first()->isLive = false;
    ticker->endTest();
    EXPECT_FALSE(ticker->isTesting());
    ASSERT_FALSE(outputs.reports.isEmpty());
    EXPECT_FALSE(outputs.reports.last().underTest);
    EXPECT_EQ(outputs.reports.last().lights[0].mode, TallyMode::off);
    ticker->noteTestByte(0xB2);
    EXPECT_FALSE(outputs.reports.last().underTest) << "a byte after the test is not a test";
}
