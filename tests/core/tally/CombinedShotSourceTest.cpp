#include "tally/CombinedShotSource.h"

#include "support/FakeShotSource.h"
#include "support/RecordingCycleObserver.h"
#include "tally/TallyTicker.h"
#include "tallymap/TallyMap.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

ShotPtr shot(const QString& id, const QString& name, bool live = false, bool preview = false)
{
    auto made = std::make_shared<Shot>(name);
    made->shotId = id;
    made->isLive = live;
    made->isPreview = preview;
    return made;
}

QStringList namesOf(const ShotList& shots)
{
    QStringList names;
    for (const ShotPtr& one : shots) {
        names.append(one->name);
    }
    return names;
}

QStringList idsOf(const ShotList& shots)
{
    QStringList ids;
    for (const ShotPtr& one : shots) {
        ids.append(one->shotId);
    }
    return ids;
}

ShotPtr named(const ShotList& shots, const QString& name)
{
    for (const ShotPtr& one : shots) {
        if (one->name == name) {
            return one;
        }
    }
    return nullptr;
}

// An ATEM and a vMix, faked, both with a "Camera 1"; the ATEM's is live,
// the vMix's on preview, and each has a name of its own.
class CombinedShotSourceTest : public testing::Test {
protected:
    CombinedShotSourceTest()
    {
        auto atemOwned = std::make_unique<FakeShotSource>();
        atem = atemOwned.get();
        atem->sourceKind = ShotSource::Kind::atem;
        atem->warning = QStringLiteral("ATEM is not connected");
        atem->shots = { shot(QStringLiteral("1"), QStringLiteral("Camera 1"), true),
            shot(QStringLiteral("2"), QStringLiteral("Wide")) };
        auto vmixOwned = std::make_unique<FakeShotSource>();
        vmix = vmixOwned.get();
        vmix->sourceKind = ShotSource::Kind::vmix;
        vmix->warning = QStringLiteral("vMix is not connected");
        vmix->shots = { shot(QStringLiteral("1"), QStringLiteral("Camera 1"), false, true),
            shot(QStringLiteral("2"), QStringLiteral("Clip")) };
        std::vector<CombinedShotSource::Member> members;
        members.push_back({ std::move(atemOwned), QStringLiteral("ATEM") });
        members.push_back({ std::move(vmixOwned), QStringLiteral("vMix") });
        combined = std::make_unique<CombinedShotSource>(std::move(members));
        combined->setClock([this] { return now; });
    }

    ShotList ask()
    {
        combined->isRunning();
        return combined->queryShots();
    }

    FakeShotSource* atem = nullptr;
    FakeShotSource* vmix = nullptr;
    std::unique_ptr<CombinedShotSource> combined;
    qint64 now = 1000;
};

} // namespace

TEST(CombinedShotSourceLabels, SwitchersAreLabelledByKindNumberedFromTheSecondOfAKind)
{
    using Kind = ShotSource::Kind;
    QStringList labels;
    ASSERT_TRUE(CombinedShotSource::chooseLabels(
        { Kind::atem, Kind::vmix, Kind::atem, Kind::obsStudio, Kind::tslUmd, Kind::mixdesk }, {}, &labels, nullptr));
    EXPECT_EQ(labels,
        QStringList({ QStringLiteral("ATEM"), QStringLiteral("vMix"), QStringLiteral("ATEM 2"), QStringLiteral("OBS"),
            QStringLiteral("TSL"), QStringLiteral("Mixdesk") }));
}

TEST(CombinedShotSourceLabels, AUsersLabelIsKeptAndTwoAlikeAreRefused)
{
    using Kind = ShotSource::Kind;
    QStringList labels;
    ASSERT_TRUE(CombinedShotSource::chooseLabels(
        { Kind::atem, Kind::atem }, { QStringLiteral("Studio A"), QString() }, &labels, nullptr));
    EXPECT_EQ(labels, QStringList({ QStringLiteral("Studio A"), QStringLiteral("ATEM") }));
    QString problem;
    EXPECT_FALSE(CombinedShotSource::chooseLabels(
        { Kind::atem, Kind::vmix }, { QString(), QStringLiteral("ATEM") }, &labels, &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("two sources are labelled 'ATEM'"))) << problem.toStdString();
}

TEST(CombinedShotSourceLabels, ALabelComesBeforeTheFirstEqualsSignOfTheAddress)
{
    using Labelled = CombinedShotSource::LabelledAddress;
    EXPECT_EQ(CombinedShotSource::splitLabel(QStringLiteral("Studio A=atem://10.0.0.5")),
        (Labelled { QStringLiteral("Studio A"), QStringLiteral("atem://10.0.0.5") }));
    EXPECT_EQ(CombinedShotSource::splitLabel(QStringLiteral("vmix://10.0.0.6:8099")),
        (Labelled { QString(), QStringLiteral("vmix://10.0.0.6:8099") }));
    EXPECT_EQ(CombinedShotSource::splitLabel(QStringLiteral("obs://host/?a=b")),
        (Labelled { QString(), QStringLiteral("obs://host/?a=b") }));
    EXPECT_EQ(CombinedShotSource::splitLabel(QStringLiteral("=mixdesk")),
        (Labelled { QString(), QStringLiteral("=mixdesk") }));
}

TEST_F(CombinedShotSourceTest, ANameTwoSwitchersShareIsQualifiedByTheLabelAndAUniqueNameStaysPlain)
{
    const ShotList shots = ask();
    EXPECT_EQ(namesOf(shots),
        QStringList({ QStringLiteral("ATEM: Camera 1"), QStringLiteral("Wide"), QStringLiteral("vMix: Camera 1"),
            QStringLiteral("Clip") }));
    EXPECT_TRUE(named(shots, QStringLiteral("ATEM: Camera 1"))->isLive);
    EXPECT_FALSE(named(shots, QStringLiteral("ATEM: Camera 1"))->isPreview);
    EXPECT_TRUE(named(shots, QStringLiteral("vMix: Camera 1"))->isPreview);
    EXPECT_FALSE(named(shots, QStringLiteral("vMix: Camera 1"))->isLive);
}

TEST_F(CombinedShotSourceTest, IdsAreUniqueAcrossSwitchersThatNumberTheirShotsAlike)
{
    const ShotList shots = ask();
    EXPECT_EQ(idsOf(shots),
        QStringList({ QStringLiteral("ATEM/1"), QStringLiteral("ATEM/2"), QStringLiteral("vMix/1"),
            QStringLiteral("vMix/2") }));
}

TEST_F(CombinedShotSourceTest, TheListsRecordsAreCopiesNeverTheSwitchersOwn)
{
    const ShotList shots = ask();
    shots.first()->name = QStringLiteral("changed by the map");
    EXPECT_EQ(atem->shots.first()->name, QStringLiteral("Camera 1"));
    EXPECT_EQ(atem->shots.first()->shotId, QStringLiteral("1"));
}

TEST_F(CombinedShotSourceTest, ItRunsWhileAnySwitcherRunsAndSaysWhichOneWasLost)
{
    QSignalSpy said(combined.get(), &ShotSource::statusChanged);
    EXPECT_TRUE(combined->isRunning());
    atem->running = false;
    EXPECT_TRUE(combined->isRunning());
    EXPECT_FALSE(combined->memberRunning(0));
    EXPECT_TRUE(combined->memberRunning(1));
    ASSERT_FALSE(said.isEmpty());
    EXPECT_EQ(said.last().first().toString(), QStringLiteral("ATEM not running"));
    vmix->running = false;
    EXPECT_FALSE(combined->isRunning());
    EXPECT_EQ(said.last().first().toString(), QStringLiteral("vMix not running"));
    EXPECT_EQ(combined->notRunningWarning(), QStringLiteral("ATEM is not connected vMix is not connected"));
    atem->running = true;
    EXPECT_TRUE(combined->isRunning());
    EXPECT_EQ(said.last().first().toString(), QStringLiteral("ATEM running"));
}

TEST_F(CombinedShotSourceTest, AMembersStatusIsPassedOnUnderItsLabel)
{
    QSignalSpy said(combined.get(), &ShotSource::statusChanged);
    Q_EMIT vmix->statusChanged(QStringLiteral("connected"));
    ASSERT_EQ(said.size(), 1);
    EXPECT_EQ(said.first().first().toString(), QStringLiteral("vMix: connected"));
}

TEST_F(CombinedShotSourceTest, TheNameAndDetailsListEverySwitcher)
{
    ask();
    atem->running = false;
    ask();
    EXPECT_EQ(combined->displayName(), QStringLiteral("ATEM + vMix"));
    const ShotSource::Details details = combined->details();
    EXPECT_EQ(details.followed, QStringLiteral("ATEM (Fake switcher, not running); vMix (Fake switcher, running)"));
    EXPECT_EQ(details.link, QStringLiteral("1 of 2 running"));
    EXPECT_EQ(combined->kind(), ShotSource::Kind::atem);
}

TEST_F(CombinedShotSourceTest, ALostSwitchersShotsKeepTheirLastStateByDefaultWhileTheOthersGoOn)
{
    ask();
    atem->running = false;
    atem->shots.first()->isLive = false; // a lost switcher's word is not heard
    vmix->shots = { shot(QStringLiteral("1"), QStringLiteral("Camera 1"), true),
        shot(QStringLiteral("2"), QStringLiteral("Clip")) };
    const ShotList shots = ask();
    ASSERT_EQ(shots.size(), 4) << "the lost switcher's names stay, so nothing is renamed";
    const ShotPtr atemCamera = named(shots, QStringLiteral("ATEM: Camera 1"));
    ASSERT_NE(atemCamera, nullptr);
    EXPECT_TRUE(atemCamera->isLive);
    EXPECT_TRUE(atemCamera->fromLostSource);
    const ShotPtr vmixCamera = named(shots, QStringLiteral("vMix: Camera 1"));
    ASSERT_NE(vmixCamera, nullptr);
    EXPECT_TRUE(vmixCamera->isLive) << "the running switcher's cut arrives";
    EXPECT_FALSE(vmixCamera->fromLostSource);
}

TEST_F(CombinedShotSourceTest, WithTheLightsOffALostSwitchersShotsLightNothing)
{
    LostSourcePolicy policy;
    policy.action = LostSourcePolicy::Action::turnOff;
    combined->setLostSourcePolicy(policy);
    ask();
    vmix->running = false;
    vmix->shots.first()->isPreview = true;
    const ShotList shots = ask();
    for (const QString& name : { QStringLiteral("vMix: Camera 1"), QStringLiteral("Clip") }) {
        const ShotPtr lost = named(shots, name);
        ASSERT_NE(lost, nullptr) << name.toStdString();
        EXPECT_FALSE(lost->isLive) << name.toStdString();
        EXPECT_FALSE(lost->isPreview) << name.toStdString();
        EXPECT_TRUE(lost->fromLostSource) << name.toStdString();
    }
    EXPECT_TRUE(named(shots, QStringLiteral("ATEM: Camera 1"))->isLive) << "the running one's shots are untouched";
}

TEST_F(CombinedShotSourceTest, ABlinkingLostSwitcherWaitsForTheGracePeriodThenBlinksDarkFirst)
{
    LostSourcePolicy policy;
    policy.action = LostSourcePolicy::Action::blink;
    policy.blinkAfterSeconds = 2;
    combined->setLostSourcePolicy(policy);
    ask();
    atem->running = false;
    ask(); // lost at 1000
    const auto atemCameraLive = [&] { return named(ask(), QStringLiteral("ATEM: Camera 1"))->isLive; };
    now = 2900;
    EXPECT_TRUE(atemCameraLive()) << "still the grace period";
    now = 3100;
    EXPECT_FALSE(atemCameraLive()) << "the dark half first";
    now = 3600;
    EXPECT_TRUE(atemCameraLive());
    now = 4100;
    EXPECT_FALSE(atemCameraLive());
}

TEST_F(CombinedShotSourceTest, ASwitcherThatComesBackIsFollowedAgain)
{
    ask();
    atem->running = false;
    ask();
    atem->running = true;
    atem->shots.first()->isLive = false;
    const ShotPtr atemCamera = named(ask(), QStringLiteral("ATEM: Camera 1"));
    ASSERT_NE(atemCamera, nullptr);
    EXPECT_FALSE(atemCamera->isLive);
    EXPECT_FALSE(atemCamera->fromLostSource);
}

namespace {

// The combined source driven by the cycle, as the program drives it, with
// a tally map: light 1 holds the ATEM's Wide, light 2 the vMix's Clip,
// light 3 both.
class CombinedSourceCycleTest : public CombinedShotSourceTest {
protected:
    CombinedSourceCycleTest()
        : cycle(*combined, observer, TallyCycle::byteByByte([this](quint8 byte) { observer.send(byte); }))
    {
        map.setShotSelection(0, { std::make_shared<Shot>(QStringLiteral("Wide")) });
        map.setShotSelection(1, { std::make_shared<Shot>(QStringLiteral("Clip")) });
        map.setShotSelection(
            2, { std::make_shared<Shot>(QStringLiteral("Wide")), std::make_shared<Shot>(QStringLiteral("Clip")) });
    }

    void tick() { cycle.updateTallyLights(shotList, map); }

    TallyMap map;
    RecordingObserver observer;
    TallyCycle cycle;
    ShotList shotList;
};

} // namespace

TEST_F(CombinedSourceCycleTest, ALightIsLiveWhenAnyOfItsShotsIsLiveOnAnySwitcher)
{
    atem->shots[1]->isLive = true; // Wide
    tick();
    EXPECT_EQ(observer.modes[0], TallyMode::live);
    EXPECT_EQ(observer.modes[1], TallyMode::off);
    EXPECT_EQ(observer.modes[2], TallyMode::live);
    atem->shots[1]->isLive = false;
    vmix->shots[1]->isPreview = true; // Clip
    tick();
    EXPECT_EQ(observer.modes[0], TallyMode::off);
    EXPECT_EQ(observer.modes[1], TallyMode::preview);
    EXPECT_EQ(observer.modes[2], TallyMode::preview);
}

TEST_F(CombinedSourceCycleTest, ALightOnALostSwitchersShotIsMarkedAndALightOnARunningOneIsNot)
{
    atem->shots[1]->isLive = true; // Wide
    tick();
    EXPECT_FALSE(cycle.lastSnapshot().lights[0].sourceLost);
    atem->running = false;
    tick();
    const TallySnapshot& snapshot = cycle.lastSnapshot();
    EXPECT_TRUE(snapshot.sourceRunning) << "the vMix still runs";
    EXPECT_EQ(observer.modes[0], TallyMode::live) << "frozen, as by default";
    EXPECT_TRUE(snapshot.lights[0].sourceLost) << "Wide is the lost ATEM's";
    EXPECT_FALSE(snapshot.lights[1].sourceLost) << "Clip is the running vMix's";
    EXPECT_TRUE(snapshot.lights[2].sourceLost) << "Clip is not live, so the lost Wide decides";
    vmix->shots[1]->isLive = true;
    tick();
    EXPECT_FALSE(cycle.lastSnapshot().lights[2].sourceLost) << "live on a running switcher is certain";
    vmix->running = false;
    tick();
    EXPECT_FALSE(cycle.lastSnapshot().sourceRunning);
    EXPECT_FALSE(cycle.lastSnapshot().lights[0].sourceLost) << "the whole source lost says it for every light";
}

TEST_F(CombinedSourceCycleTest, ALightFollowsItsShotByIdWhenAnotherSwitcherBringsTheSameName)
{
    map.setShotSelection(3, { std::make_shared<Shot>(QStringLiteral("Camera 1")) });
    vmix->shots = { shot(QStringLiteral("2"), QStringLiteral("Clip")) };
    tick();
    EXPECT_EQ(observer.modes[3], TallyMode::live) << "a plain name matches while it is unique";
    vmix->shots.prepend(shot(QStringLiteral("1"), QStringLiteral("Camera 1"), false, true));
    tick();
    EXPECT_EQ(map.shotSelections()[3].first()->name, QStringLiteral("ATEM: Camera 1"));
    EXPECT_EQ(observer.modes[3], TallyMode::live) << "still the ATEM's camera, not the vMix's preview";
    EXPECT_GE(observer.titleRefreshes, 1);
}

TEST(CombinedSourceTicker, AFloodOfChangesFromOneSwitcherDoesNotHoldBackAnothersCut)
{
    auto floodingOwned = std::make_unique<FakeShotSource>();
    FakeShotSource* flooding = floodingOwned.get();
    flooding->sourceKind = ShotSource::Kind::tslUmd;
    flooding->shots = { shot(QStringLiteral("1"), QStringLiteral("Graphics")) };
    auto cuttingOwned = std::make_unique<FakeShotSource>();
    FakeShotSource* cutting = cuttingOwned.get();
    cutting->sourceKind = ShotSource::Kind::atem;
    cutting->shots = { shot(QStringLiteral("1"), QStringLiteral("Camera 1")) };
    std::vector<CombinedShotSource::Member> members;
    members.push_back({ std::move(floodingOwned), QStringLiteral("TSL") });
    members.push_back({ std::move(cuttingOwned), QStringLiteral("ATEM") });

    TallyMap map;
    map.setShotSelection(0, { std::make_shared<Shot>(QStringLiteral("Camera 1")) });
    RecordingObserver observer;
    TallyTicker ticker(std::make_unique<CombinedShotSource>(std::move(members)), map, observer,
        TallyCycle::byteByByte([&observer](quint8 byte) { observer.send(byte); }));
    ticker.start();

    int announced = 0;
    QTimer flooder;
    QObject::connect(&flooder, &QTimer::timeout, [&] {
        for (int i = 0; i < 100; ++i, ++announced) {
            flooding->announceChange();
        }
    });
    flooder.start(0);
    QTest::qWait(300);

    // The cut, said as a network switcher says it, in the thick of the
    // flood: how long until a tick shows it?
    QElapsedTimer sinceCut;
    qint64 shownAfter = -1;
    QObject::connect(&ticker, &TallyTicker::ticked, [&] {
        if (shownAfter < 0 && observer.modes[0] == TallyMode::live) {
            shownAfter = sinceCut.elapsed();
        }
    });
    cutting->shots.first()->isLive = true;
    sinceCut.start();
    cutting->announceChange();
    const bool shown = QTest::qWaitFor([&] { return shownAfter >= 0; }, 2000);
    flooder.stop();

    ASSERT_GT(announced, 1000) << "the flood was a flood";
    ASSERT_TRUE(shown) << "the cut never reached the lights";
    // The merge window and a little for a loaded machine; far below the
    // quarter-second timer, which would show it anyway.
    EXPECT_LT(shownAfter, TallyTicker::mergeWindow.count() + 60) << announced << " changes";
}

TEST(CombinedSourceTicker, TheTickersLostSourceChoiceReachesTheSwitchersLostWhileOthersRun)
{
    auto firstOwned = std::make_unique<FakeShotSource>();
    FakeShotSource* first = firstOwned.get();
    first->shots = { shot(QStringLiteral("1"), QStringLiteral("Camera 1"), true) };
    auto secondOwned = std::make_unique<FakeShotSource>();
    secondOwned->shots = { shot(QStringLiteral("1"), QStringLiteral("Clip")) };
    std::vector<CombinedShotSource::Member> members;
    members.push_back({ std::move(firstOwned), QStringLiteral("A") });
    members.push_back({ std::move(secondOwned), QStringLiteral("B") });
    TallyMap map;
    map.setShotSelection(0, { std::make_shared<Shot>(QStringLiteral("Camera 1")) });
    RecordingObserver observer;
    TallyTicker ticker(std::make_unique<CombinedShotSource>(std::move(members)), map, observer,
        TallyCycle::byteByByte([&observer](quint8 byte) { observer.send(byte); }));
    LostSourcePolicy policy;
    policy.action = LostSourcePolicy::Action::turnOff;
    ticker.setLostSourcePolicy(policy);
    ticker.updateTallyLights();
    EXPECT_EQ(observer.modes[0], TallyMode::live);
    first->running = false;
    ticker.updateTallyLights();
    EXPECT_EQ(observer.modes[0], TallyMode::off);
}

TEST_F(CombinedSourceCycleTest, AShotIsNotCalledMissingBeforeEverySwitcherHasAnswered)
{
    map.setShotSelection(3, { std::make_shared<Shot>(QStringLiteral("Typo")) });
    vmix->running = false; // not connected yet
    tick();
    EXPECT_FALSE(combined->knowsEveryShot());
    EXPECT_TRUE(cycle.lastSnapshot().lights[1].missingShots.isEmpty()) << "Clip may only be late";
    EXPECT_TRUE(cycle.lastSnapshot().lights[3].missingShots.isEmpty());
    vmix->running = true;
    tick();
    EXPECT_TRUE(combined->knowsEveryShot());
    EXPECT_TRUE(cycle.lastSnapshot().lights[1].missingShots.isEmpty());
    EXPECT_EQ(cycle.lastSnapshot().lights[3].missingShots, QStringList { QStringLiteral("Typo") });
}

TEST_F(CombinedShotSourceTest, ReleasedSwitchersComeBackWithTheirLabelsAndNoLongerSpeakThroughTheWhole)
{
    QSignalSpy changed(combined.get(), &ShotSource::shotsChanged);
    QSignalSpy said(combined.get(), &ShotSource::statusChanged);
    std::vector<CombinedShotSource::Member> members = combined->releaseMembers();
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0].source.get(), atem);
    EXPECT_EQ(members[0].label, QStringLiteral("ATEM"));
    EXPECT_EQ(members[1].source.get(), vmix);
    EXPECT_EQ(members[1].label, QStringLiteral("vMix"));
    EXPECT_EQ(combined->memberCount(), 0);
    vmix->announceChange();
    Q_EMIT vmix->statusChanged(QStringLiteral("connected"));
    EXPECT_EQ(changed.size(), 0);
    EXPECT_EQ(said.size(), 0);
    EXPECT_TRUE(combined->queryShots().isEmpty());
}

TEST(CombinedSourceTicker, ARebuiltSourceKeepsTheSwitchersItTakesOverAndTheirChangesReachTheTicker)
{
    auto keptOwned = std::make_unique<FakeShotSource>();
    FakeShotSource* kept = keptOwned.get();
    kept->sourceKind = ShotSource::Kind::tslUmd;
    kept->shots = { shot(QStringLiteral("1"), QStringLiteral("Camera 1")) };
    TallyMap map;
    map.setShotSelection(0, { std::make_shared<Shot>(QStringLiteral("Camera 1")) });
    RecordingObserver observer;
    TallyTicker ticker(
        std::move(keptOwned), map, observer, TallyCycle::byteByByte([&observer](quint8 byte) { observer.send(byte); }));
    QPointer<FakeShotSource> added;
    ticker.rebuildSource([&](std::unique_ptr<ShotSource> current) -> std::unique_ptr<ShotSource> {
        EXPECT_EQ(current.get(), kept);
        auto addedOwned = std::make_unique<FakeShotSource>();
        added = addedOwned.get();
        addedOwned->sourceKind = ShotSource::Kind::atem;
        std::vector<CombinedShotSource::Member> members;
        members.push_back({ std::move(current), QStringLiteral("TSL") });
        members.push_back({ std::move(addedOwned), QStringLiteral("ATEM") });
        return std::make_unique<CombinedShotSource>(std::move(members));
    });
    EXPECT_EQ(CombinedShotSource::switchersOf(ticker.source()), (QList<ShotSource*> { kept, added.data() }));
    ticker.start();
    QTest::qWait(50); // the first tick, with the light off
    ASSERT_EQ(observer.modes[0], TallyMode::off);
    kept->shots.first()->isLive = true;
    kept->announceChange();
    EXPECT_TRUE(QTest::qWaitFor([&] { return observer.modes[0] == TallyMode::live; }, 200))
        << "the kept switcher's cut reaches the lights at once";
}
