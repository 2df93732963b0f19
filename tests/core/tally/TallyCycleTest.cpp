#include "tally/TallyCycle.h"

#include "sources/MixdeskShotSource.h"
#include "support/FakeMixdeskPlatform.h"
#include "support/FakeShotSource.h"
#include "support/QtPrinters.h"
#include "support/RecordingCycleObserver.h"
#include "support/ShotNotation.h"
#include "tallymap/TallyMap.h"

#include <gtest/gtest.h>

namespace {

using Shots = ShotList;

// A map of any number of lights, counting the calls the cycle makes on it.
class FakeLights : public TallyCycle::Lights {
public:
    QList<Shots> lights;
    int resolveCalls = 0;
    int refreshCalls = 0;
    bool refreshAnswer = false;

    const QList<Shots>& shotSelections() const override { return lights; }
    void resolveShotIds(const Shots&) override { ++resolveCalls; }
    bool refreshShotNames(const Shots&) override
    {
        ++refreshCalls;
        return refreshAnswer;
    }
};

ShotPtr record(const QString& name, const QString& shotId = QString())
{
    auto shot = std::make_shared<Shot>(name);
    shot->shotId = shotId;
    return shot;
}

QList<quint8> offBytes()
{
    QList<quint8> bytes;
    for (quint8 n = 1; n <= 8; ++n) {
        bytes << n << quint8(0x20 | n);
    }
    return bytes;
}

class TallyCycleTest : public testing::Test {
protected:
    std::shared_ptr<FakeMixdeskPlatform> platform = std::make_shared<FakeMixdeskPlatform>();
    Mixdesk mixdesk { platform };
    MixdeskShotSource source { mixdesk };
    RecordingObserver observer;
    TallyCycle cycle { source, observer, TallyCycle::byteByByte([this](quint8 byte) { observer.send(byte); }) };
    TallyMap map;
    Shots shotList;

    // An answer of fewer than two records counts as no answer at all, so a
    // shot that no light uses is always added.
    void answer(QList<ShotSpec> shots)
    {
        shots.append({ "99", "Unused", false, false });
        platform->answerWithNotation(shotsNotation(shots));
    }

    void tick() { cycle.updateTallyLights(shotList, map); }

    // The bytes of one light from the last tick.
    QList<quint8> lightBytes(int lightNumber) const
    {
        const qsizetype first = observer.bytes.size() - 16 + (lightNumber - 1) * 2;
        return observer.bytes.mid(first, 2);
    }
};

} // namespace

TEST_F(TallyCycleTest, ALightWithNoAssignedShotIsOff)
{
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    EXPECT_EQ(lightBytes(5), (QList<quint8> { 0x05, 0x25 }));
    EXPECT_EQ(observer.modes[4], TallyMode::off);
}

TEST_F(TallyCycleTest, AShotBothLiveAndInPreviewMakesTheLightLive)
{
    answer({ { "1", "Cam 1", true, true } });
    map.setShotSelection(2, { record("Cam 1") });
    tick();
    EXPECT_EQ(lightBytes(3), (QList<quint8> { 0xB3, 0x23 }));
    EXPECT_EQ(observer.modes[2], TallyMode::live);
}

TEST_F(TallyCycleTest, TwoAssignedShotsOneLiveOneInPreviewMakeTheLightLive)
{
    answer({ { "1", "Cam 1", false, true }, { "2", "Cam 2", true, false } });
    map.setShotSelection(1, { record("Cam 1"), record("Cam 2") });
    tick();
    EXPECT_EQ(lightBytes(2), (QList<quint8> { 0xB2, 0x22 }));
    EXPECT_EQ(observer.modes[1], TallyMode::live);
}

TEST_F(TallyCycleTest, TwoAssignedShotsOneInPreviewOneNeitherMakeTheLightPreview)
{
    answer({ { "1", "Cam 1", false, true }, { "2", "Cam 2", false, false } });
    map.setShotSelection(3, { record("Cam 2"), record("Cam 1") });
    tick();
    EXPECT_EQ(lightBytes(4), (QList<quint8> { 0x04, 0xD4 }));
    EXPECT_EQ(observer.modes[3], TallyMode::preview);
}

TEST_F(TallyCycleTest, AnAssignedShotWhoseNameIsGoneMatchesNothingEvenWithItsIdPresent)
{
    // The first tick binds the record to id 7; the answer then renames shot
    // 7, but before refreshShotNames runs the evaluation would see the old
    // name. Evaluate directly to show the id plays no part.
    answer({ { "7", "Cam New", true, false } });
    const ShotPtr stored = record("Cam Old", "7");
    cycle.driveLights({ { stored } }, mixdesk.queryShots());
    EXPECT_EQ(observer.modes[0], TallyMode::off);
    EXPECT_EQ(observer.bytes, (QList<quint8> { 0x01, 0x21 }));
}

TEST_F(TallyCycleTest, ARenameFollowedByIdIsAdoptedAndTheLightFollowsIt)
{
    answer({ { "7", "Cam Old", true, false } });
    const ShotPtr stored = record("Cam Old");
    map.setShotSelection(0, { stored });
    tick();
    ASSERT_EQ(stored->shotId, QStringLiteral("7"));
    answer({ { "7", "Cam New", true, false } });
    tick();
    EXPECT_EQ(stored->name, QStringLiteral("Cam New"));
    EXPECT_EQ(observer.modes[0], TallyMode::live);
    EXPECT_EQ(observer.titleRefreshes, 1);
}

TEST_F(TallyCycleTest, TwoShotsWithTheSameNameBothCount)
{
    answer({ { "1", "Cam", false, false }, { "2", "Cam", true, false } });
    map.setShotSelection(0, { record("Cam") });
    map.setShotSelection(6, { record("Cam") });
    tick();
    EXPECT_EQ(observer.modes[0], TallyMode::live);
    EXPECT_EQ(observer.modes[6], TallyMode::live);
    EXPECT_EQ(lightBytes(7), (QList<quint8> { 0xB7, 0x27 }));
}

TEST_F(TallyCycleTest, WhenMixdeskQuitsTheWarningShowsAndTheLightsFreezeWithNoBytes)
{
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    ASSERT_EQ(observer.warningHidden, true);
    const qsizetype sent = observer.bytes.size();
    const int runsBefore = platform->runs;
    const Shots listBefore = shotList;

    platform->runningCount = 0;
    tick();
    EXPECT_EQ(observer.warningHidden, false);
    EXPECT_EQ(observer.bytes.size(), sent);
    EXPECT_EQ(observer.modes[0], TallyMode::live);
    EXPECT_EQ(platform->runs, runsBefore);
    EXPECT_EQ(shotList, listBefore);
}

TEST_F(TallyCycleTest, AnEmptyAnswerWhileRunningSwitchesEveryLightOffAndKeepsEnableEditing)
{
    answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
    map.setShotSelection(0, { record("Cam 1") });
    map.setShotSelection(1, { record("Cam 2") });
    tick();
    ASSERT_TRUE(observer.enableEditing);
    ASSERT_EQ(observer.modes[0], TallyMode::live);

    platform->answerWithError(QStringLiteral("boom"), 1);
    testing::internal::CaptureStdout();
    tick();
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(shotList.isEmpty());
    EXPECT_EQ(observer.bytes.mid(observer.bytes.size() - 16), offBytes());
    EXPECT_EQ(observer.modes, QList<TallyMode>(8, TallyMode::off));
    EXPECT_TRUE(observer.enableEditing);
    EXPECT_EQ(observer.warningHidden, true);
}

TEST_F(TallyCycleTest, EmptyToNonEmptyResolvesIdsAndDoesNotRetitle)
{
    FakeLights lights;
    lights.lights = QList<Shots>(8);
    lights.refreshAnswer = true;
    answer({ { "1", "Cam 1", true, false } });
    cycle.updateTallyLights(shotList, lights);
    EXPECT_EQ(lights.resolveCalls, 1);
    EXPECT_EQ(lights.refreshCalls, 0);
    EXPECT_EQ(observer.titleRefreshes, 0);
}

TEST_F(TallyCycleTest, NonEmptyToNonEmptyRefreshesNamesAndRetitlesOnlyOnAChange)
{
    FakeLights lights;
    lights.lights = QList<Shots>(8);
    answer({ { "1", "Cam 1", true, false } });
    cycle.updateTallyLights(shotList, lights);

    lights.refreshAnswer = false;
    cycle.updateTallyLights(shotList, lights);
    EXPECT_EQ(lights.refreshCalls, 1);
    EXPECT_EQ(observer.titleRefreshes, 0);

    lights.refreshAnswer = true;
    cycle.updateTallyLights(shotList, lights);
    EXPECT_EQ(lights.refreshCalls, 2);
    EXPECT_EQ(observer.titleRefreshes, 1);
    EXPECT_EQ(lights.resolveCalls, 1);
}

TEST_F(TallyCycleTest, AFailedQueryBetweenAnswersMakesTheNextAnswerResolveByName)
{
    FakeLights lights;
    lights.lights = QList<Shots>(8);
    answer({ { "1", "Cam 1", true, false } });
    cycle.updateTallyLights(shotList, lights);
    platform->answerWithNotation(QStringLiteral("{}"));
    cycle.updateTallyLights(shotList, lights);
    answer({ { "1", "Cam 1", true, false } });
    cycle.updateTallyLights(shotList, lights);
    EXPECT_EQ(lights.resolveCalls, 2);
    EXPECT_EQ(lights.refreshCalls, 0);
}

TEST_F(TallyCycleTest, AfterMixdeskWasAwayTheNextAnswerTakesTheRenamePath)
{
    FakeLights lights;
    lights.lights = QList<Shots>(8);
    answer({ { "1", "Cam 1", true, false } });
    cycle.updateTallyLights(shotList, lights);
    platform->runningCount = 0;
    cycle.updateTallyLights(shotList, lights);
    platform->runningCount = 1;
    cycle.updateTallyLights(shotList, lights);
    EXPECT_EQ(lights.resolveCalls, 1);
    EXPECT_EQ(lights.refreshCalls, 1);
}

TEST_F(TallyCycleTest, AMapWithNoLightsEndsTheTickAfterUpdatingShotsWarningAndEditing)
{
    RecordingObserver noIndicators(0);
    TallyCycle bare(
        source, noIndicators, TallyCycle::byteByByte([&noIndicators](quint8 byte) { noIndicators.send(byte); }));
    FakeLights lights;
    answer({ { "1", "Cam 1", true, false } });
    bare.updateTallyLights(shotList, lights);
    EXPECT_EQ(shotList.size(), 2);
    EXPECT_EQ(noIndicators.warningHidden, true);
    EXPECT_TRUE(noIndicators.enableEditing);
    EXPECT_TRUE(noIndicators.bytes.isEmpty());
    EXPECT_EQ(noIndicators.log, (QStringList { "warning hidden", "enableEditing 1" }));
}

TEST_F(TallyCycleTest, EachIndicatorIsUpdatedBeforeItsLightsBytesInAscendingOrder)
{
    answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
    map.setShotSelection(0, { record("Cam 2") });
    map.setShotSelection(1, { record("Cam 1") });
    tick();
    QStringList expected { "warning hidden", "enableEditing 1" };
    const QList<TallyMode> modes { TallyMode::preview, TallyMode::live };
    for (int i = 0; i < 8; ++i) {
        const TallyMode mode = i < 2 ? modes[i] : TallyMode::off;
        const int n = i + 1;
        const int first = mode == TallyMode::live ? 0xB0 | n : n;
        const int second = mode == TallyMode::preview ? 0xD0 | n : 0x20 | n;
        expected << QStringLiteral("show %1 %2").arg(i).arg(int(mode))
                 << QStringLiteral("send %1").arg(first, 2, 16, QLatin1Char('0'))
                 << QStringLiteral("send %1").arg(second, 2, 16, QLatin1Char('0'));
    }
    EXPECT_EQ(observer.log, expected);
}

TEST_F(TallyCycleTest, EveryTickResendsEveryLightWithoutChangeDetection)
{
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    tick();
    tick();
    ASSERT_EQ(observer.bytes.size(), 48);
    EXPECT_EQ(observer.bytes.mid(0, 16), observer.bytes.mid(16, 16));
    EXPECT_EQ(observer.bytes.mid(16, 16), observer.bytes.mid(32, 16));
}

TEST_F(TallyCycleTest, LightSixteenRunsIntoTheCommandBitsUnguarded)
{
    FakeLights lights;
    lights.lights = QList<Shots>(16);
    lights.lights[15] = { record("Cam 1") };
    RecordingObserver sixteen(16);
    TallyCycle wide(source, sixteen, TallyCycle::byteByByte([&sixteen](quint8 byte) { sixteen.send(byte); }));
    answer({ { "1", "Cam 1", true, false } });
    wide.updateTallyLights(shotList, lights);
    // 0xB0 | 16 = 0xB0 and 0x20 | 16 = 0x30: the number spills into the
    // command bits.
    EXPECT_EQ(sixteen.bytes.mid(30, 2), (QList<quint8> { 0xB0, 0x30 }));
    EXPECT_EQ(sixteen.modes[15], TallyMode::live);
}

using TallyCycleDeathTest = TallyCycleTest;

TEST_F(TallyCycleDeathTest, FewerIndicatorsThanLightsStopsTheProcess)
{
    RecordingObserver seven(7);
    TallyCycle shortWindow(source, seven, TallyCycle::byteByByte([&seven](quint8 byte) { seven.send(byte); }));
    answer({ { "1", "Cam 1", true, false } });
    EXPECT_DEATH(shortWindow.updateTallyLights(shotList, map), "fatal error: no indicator for light 8");
}

TEST_F(TallyCycleDeathTest, ALightNumberAbove255StopsTheProcess)
{
    FakeLights lights;
    lights.lights = QList<Shots>(256);
    RecordingObserver many(256);
    TallyCycle huge(source, many, TallyCycle::byteByByte([&many](quint8 byte) { many.send(byte); }));
    answer({ { "1", "Cam 1", true, false } });
    EXPECT_DEATH(huge.updateTallyLights(shotList, lights), "fatal error: ");
}

namespace {

// Keeps every snapshot it is given.
class RecordingOutput : public TallyOutput {
public:
    void publish(const TallySnapshot& snapshot) override { snapshots.append(snapshot); }

    QList<TallySnapshot> snapshots;
};

} // namespace

TEST_F(TallyCycleTest, OutputsGetEveryLightsModeAndShotNamesAfterATick)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
    map.setShotSelection(0, { record("Cam 1") });
    map.setShotSelection(1, { record("Cam 2"), record("Wide") });
    tick();
    ASSERT_EQ(output.snapshots.size(), 1);
    const TallySnapshot& snapshot = output.snapshots.first();
    EXPECT_TRUE(snapshot.sourceRunning);
    ASSERT_EQ(snapshot.lights.size(), TallyMap::numberOfLights);
    EXPECT_EQ(snapshot.lights[0],
        (LightState { TallyMode::live, { QStringLiteral("Cam 1") }, {}, { QStringLiteral("Cam 1") } }));
    // Wide is not among the switcher's shots: the report says so.
    EXPECT_EQ(snapshot.lights[1],
        (LightState { TallyMode::preview, { QStringLiteral("Cam 2"), QStringLiteral("Wide") },
            { QStringLiteral("Wide") }, { QStringLiteral("Cam 2") } }));
    EXPECT_EQ(snapshot.lights[2], (LightState { TallyMode::off, {} }));
}

TEST_F(TallyCycleTest, OutputsAreToldTheSourceIsLostWhileTheLightsKeepTheirLastModes)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    platform->runningCount = 0;
    const qsizetype bytesBefore = observer.bytes.size();
    tick();
    ASSERT_EQ(output.snapshots.size(), 2);
    EXPECT_FALSE(output.snapshots[1].sourceRunning);
    EXPECT_EQ(output.snapshots[1].lights[0].mode, TallyMode::live);
    EXPECT_EQ(observer.bytes.size(), bytesBefore);
}

TEST_F(TallyCycleTest, TurningTheLightsOffAtQuitTellsTheOutputsEveryLightIsOffForGood)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    cycle.turnLightsOff(map.shotSelections());
    ASSERT_EQ(output.snapshots.size(), 2);
    const TallySnapshot& last = output.snapshots.last();
    EXPECT_TRUE(last.turnedOffAtQuit);
    EXPECT_TRUE(last.sourceRunning);
    ASSERT_EQ(last.lights.size(), TallyMap::numberOfLights);
    EXPECT_EQ(last.lights[0], (LightState { TallyMode::off, { QStringLiteral("Cam 1") } }));
    for (const LightState& light : last.lights) {
        EXPECT_EQ(light.mode, TallyMode::off);
    }
    EXPECT_FALSE(output.snapshots.first().turnedOffAtQuit);
}

TEST_F(TallyCycleTest, ARemovedOutputGetsNothingMore)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    tick();
    cycle.removeOutput(&output);
    tick();
    EXPECT_EQ(output.snapshots.size(), 1);
}

TEST_F(TallyCycleTest, AfterTheSourceIsReplacedTheTickAsksTheNewOne)
{
    FakeShotSource other;
    other.running = false;
    cycle.setSource(other);
    tick();
    EXPECT_EQ(observer.warningHidden, false);
    EXPECT_EQ(platform->runningCountQueries, 0);
    EXPECT_EQ(&cycle.source(), &other);
}

TEST_F(TallyCycleTest, OutputsAreToldWhichAssignedShotsTheSourceDoesNotHave)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1"), record("Cam One") });
    map.setShotSelection(1, { record("Wide") });
    tick();
    ASSERT_EQ(output.snapshots.size(), 1);
    EXPECT_EQ(output.snapshots[0].lights[0].missingShots, QStringList { QStringLiteral("Cam One") });
    EXPECT_EQ(output.snapshots[0].lights[1].missingShots, QStringList { QStringLiteral("Wide") });
    EXPECT_TRUE(output.snapshots[0].lights[2].missingShots.isEmpty());
}

TEST_F(TallyCycleTest, AShotThatComesBackIsNoLongerMissing)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(1, { record("Wide") });
    tick();
    answer({ { "1", "Cam 1", true, false }, { "2", "Wide", false, true } });
    tick();
    ASSERT_EQ(output.snapshots.size(), 2);
    EXPECT_EQ(output.snapshots[0].lights[1].missingShots, QStringList { QStringLiteral("Wide") });
    EXPECT_TRUE(output.snapshots[1].lights[1].missingShots.isEmpty());
    EXPECT_EQ(output.snapshots[1].lights[1].mode, TallyMode::preview);
}

TEST_F(TallyCycleTest, AnEmptyAnswerFlagsNoShotAsMissing)
{
    // A failed query answers nothing at all; that says nothing about which
    // shots the switcher has.
    RecordingOutput output;
    cycle.addOutput(&output);
    map.setShotSelection(0, { record("Cam 1") });
    platform->answerWithNotation(QStringLiteral("{}"));
    tick();
    ASSERT_EQ(output.snapshots.size(), 1);
    EXPECT_TRUE(output.snapshots[0].lights[0].missingShots.isEmpty());
}

TEST_F(TallyCycleTest, OutputsAreToldSinceWhenTheSourceIsLostAndThatItIsBack)
{
    qint64 now = 1000;
    cycle.setClock([&now] { return now; });
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    tick();
    platform->runningCount = 0;
    tick();
    now = 5000;
    tick();
    platform->runningCount = 1;
    tick();
    ASSERT_EQ(output.snapshots.size(), 4);
    EXPECT_EQ(output.snapshots[0].lostSinceMilliseconds, std::nullopt);
    EXPECT_EQ(output.snapshots[1].lostSinceMilliseconds, std::optional<qint64>(1000));
    EXPECT_EQ(output.snapshots[2].lostSinceMilliseconds, std::optional<qint64>(1000));
    EXPECT_TRUE(output.snapshots[3].sourceRunning);
    EXPECT_EQ(output.snapshots[3].lostSinceMilliseconds, std::nullopt);
}

TEST_F(TallyCycleTest, OutputsShowTheLightsOffWhenTheLostChoiceTurnsTheBoxOff)
{
    // The box is dark under this choice; an output still showing the last
    // modes would claim a camera is live that no lamp shows.
    RecordingOutput output;
    cycle.addOutput(&output);
    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::turnOff });
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    platform->runningCount = 0;
    tick();
    ASSERT_EQ(output.snapshots.size(), 2);
    EXPECT_EQ(output.snapshots[0].lights[0].mode, TallyMode::live);
    EXPECT_EQ(output.snapshots[1].lights[0].mode, TallyMode::off);
    // A dark light is lit by nothing.
    EXPECT_EQ(output.snapshots[1].lights[0].litBy, QStringList());
}

TEST_F(TallyCycleTest, OutputsAreToldWhichAssignedShotsLightEachLight)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", true, true }, { "3", "Wide", false, true } });
    map.setShotSelection(0, { record("Wide"), record("Cam 2"), record("Cam 1") });
    map.setShotSelection(1, { record("Wide") });
    map.setShotSelection(2, { record("Titles") });
    tick();
    ASSERT_EQ(output.snapshots.size(), 1);
    const QList<LightState>& lights = output.snapshots[0].lights;
    // Live wins, so Wide in preview is not why light 1 is on; the live ones
    // come in the light's own order.
    EXPECT_EQ(lights[0].litBy, (QStringList { QStringLiteral("Cam 2"), QStringLiteral("Cam 1") }));
    EXPECT_EQ(lights[1].litBy, QStringList { QStringLiteral("Wide") });
    EXPECT_EQ(lights[2].litBy, QStringList());
}

TEST_F(TallyCycleTest, WhileTheSourceIsLostTheKeptLightsKeepTheShotsThatLitThem)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    platform->runningCount = 0;
    tick();
    ASSERT_EQ(output.snapshots.size(), 2);
    EXPECT_FALSE(output.snapshots[1].sourceRunning);
    EXPECT_EQ(output.snapshots[1].lights[0].litBy, QStringList { QStringLiteral("Cam 1") });
}

TEST_F(TallyCycleTest, TheLightsOffAtQuitAndUnderTestAreLitByNoShot)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    QList<TallyMode> testModes(TallyMap::numberOfLights, TallyMode::off);
    testModes[0] = TallyMode::live;
    cycle.showLightsUnderTest(testModes, map.shotSelections());
    cycle.turnLightsOff(map.shotSelections());
    ASSERT_EQ(output.snapshots.size(), 3);
    EXPECT_EQ(output.snapshots[1].lights[0].mode, TallyMode::live);
    EXPECT_EQ(output.snapshots[1].lights[0].litBy, QStringList());
    EXPECT_EQ(output.snapshots[2].lights[0].litBy, QStringList());
}

TEST_F(TallyCycleTest, LightsUnderTestReachTheIndicatorsAndOutputsMarkedAsATestWithoutAByte)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    const qsizetype bytesBefore = observer.bytes.size();
    QList<TallyMode> testModes(TallyMap::numberOfLights, TallyMode::off);
    testModes[2] = TallyMode::preview;
    cycle.showLightsUnderTest(testModes, map.shotSelections());
    ASSERT_EQ(output.snapshots.size(), 2);
    const TallySnapshot& underTest = output.snapshots[1];
    EXPECT_TRUE(underTest.underTest);
    EXPECT_EQ(underTest.lights[0].mode, TallyMode::off);
    EXPECT_EQ(underTest.lights[2].mode, TallyMode::preview);
    EXPECT_EQ(underTest.lights[0].shotNames, QStringList { QStringLiteral("Cam 1") });
    EXPECT_EQ(observer.modes[0], TallyMode::off);
    EXPECT_EQ(observer.modes[2], TallyMode::preview);
    EXPECT_EQ(observer.bytes.size(), bytesBefore);
}

TEST_F(TallyCycleTest, TheTickAfterATestBringsBackTheSwitchersLights)
{
    RecordingOutput output;
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    tick();
    cycle.showLightsUnderTest(QList<TallyMode>(TallyMap::numberOfLights, TallyMode::off), map.shotSelections());
    tick();
    ASSERT_EQ(output.snapshots.size(), 3);
    EXPECT_FALSE(output.snapshots[2].underTest);
    EXPECT_EQ(output.snapshots[2].lights[0].mode, TallyMode::live);
    EXPECT_EQ(cycle.lastSnapshot(), output.snapshots[2]);
}

namespace {

// What reached the box, in order, and when the round was said handed in:
// the log without the indicators and the warning.
QStringList boxLog(const QStringList& log)
{
    QStringList entries;
    for (const QString& entry : log) {
        if (entry.startsWith(QStringLiteral("send")) || entry == QStringLiteral("round")) {
            entries.append(entry);
        }
    }
    return entries;
}

// Sixteen bytes and then the round, once.
void expectOneWholeRound(const QStringList& log)
{
    const QStringList round = boxLog(log);
    ASSERT_EQ(round.size(), 17) << round.join(QStringLiteral(", ")).toStdString();
    EXPECT_EQ(round.indexOf(QStringLiteral("round")), 16);
}

// Notes in the observer's log when the outputs hear of the lights.
class LoggingOutput : public TallyOutput {
public:
    explicit LoggingOutput(QStringList& log)
        : m_log(log)
    {
    }

    void publish(const TallySnapshot&) override { m_log.append(QStringLiteral("publish")); }

private:
    QStringList& m_log;
};

} // namespace

TEST_F(TallyCycleTest, ATicksLightsAreHandedInAsOneRoundAfterTheLastLightsBytesAndBeforeTheOutputsHearOfThem)
{
    cycle.setRoundHandedIn([this] { observer.log.append(QStringLiteral("round")); });
    LoggingOutput output(observer.log);
    cycle.addOutput(&output);
    answer({ { "1", "Cam 1", true, false } });
    map.setShotSelection(0, { record("Cam 1") });
    for (int tickNumber = 0; tickNumber < 2; ++tickNumber) {
        observer.log.clear();
        tick();
        expectOneWholeRound(observer.log);
        // The box starts on the lights before the network outputs are told.
        EXPECT_EQ(observer.log.indexOf(QStringLiteral("round")) + 1, observer.log.indexOf(QStringLiteral("publish")));
    }
}

TEST_F(TallyCycleTest, ALostSourceWhoseLightsAreKeptHandsInNoRound)
{
    int rounds = 0;
    cycle.setRoundHandedIn([&rounds] { ++rounds; });
    answer({ { "1", "Cam 1", true, false } });
    tick();
    platform->runningCount = 0;
    observer.log.clear();
    tick();
    EXPECT_TRUE(boxLog(observer.log).isEmpty());
    EXPECT_EQ(rounds, 1);
}

TEST_F(TallyCycleTest, LightsTurnedOffOrBlinkedWhileLostAndTheLightsAtQuitAreEachHandedInAsARound)
{
    cycle.setRoundHandedIn([this] { observer.log.append(QStringLiteral("round")); });
    cycle.setClock([] { return qint64(0); });
    answer({ { "1", "Cam 1", true, false } });
    tick();
    platform->runningCount = 0;

    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::turnOff });
    observer.log.clear();
    tick();
    expectOneWholeRound(observer.log);

    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::blink, 0 });
    observer.log.clear();
    tick();
    expectOneWholeRound(observer.log);

    observer.log.clear();
    cycle.turnLightsOff(QList<ShotList>(TallyMap::numberOfLights));
    expectOneWholeRound(observer.log);
}
