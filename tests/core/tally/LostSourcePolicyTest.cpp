#include "tally/LostSourcePolicy.h"

#include "base/UserDefaults.h"
#include "support/FakeShotSource.h"
#include "support/QtPrinters.h"
#include "tally/TallyCycle.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using Shots = ShotList;

class ModesObserver : public TallyCycle::Observer {
public:
    void setMixdeskWarningHidden(bool) override { }
    void setEnableEditing(bool) override { }
    void refreshAssignmentTitles() override { }
    qsizetype indicatorCount() const override { return modes.size(); }
    void showLightMode(qsizetype lightIndex, TallyMode mode) override { modes[lightIndex] = mode; }

    QList<TallyMode> modes = QList<TallyMode>(2, TallyMode::off);
};

class TwoLights : public TallyCycle::Lights {
public:
    QList<Shots> lights;
    const QList<Shots>& shotSelections() const override { return lights; }
    void resolveShotIds(const Shots&) override { }
    bool refreshShotNames(const Shots&) override { return false; }
};

ShotPtr shot(const QString& name, bool live, bool preview)
{
    auto record = std::make_shared<Shot>(name);
    record->shotId = name;
    record->isLive = live;
    record->isPreview = preview;
    return record;
}

// Light 1 live, light 2 in preview while the source runs; then the source
// goes and the test moves the clock by hand.
class LostSourceCycleTest : public testing::Test {
protected:
    void SetUp() override
    {
        lights.lights
            = { { shot(QStringLiteral("Cam 1"), false, false) }, { shot(QStringLiteral("Cam 2"), false, false) } };
        source.shots = { shot(QStringLiteral("Cam 1"), true, false), shot(QStringLiteral("Cam 2"), false, true) };
        cycle.setClock([this] { return now; });
    }

    void tick() { cycle.updateTallyLights(shotList, lights); }

    // A tick while running, then the source lost; the bytes from here on.
    void loseTheSource()
    {
        tick();
        ASSERT_EQ(observer.modes, (QList<TallyMode> { TallyMode::live, TallyMode::preview }));
        source.running = false;
        bytes.clear();
    }

    FakeShotSource source;
    ModesObserver observer;
    TwoLights lights;
    QList<quint8> bytes;
    qint64 now = 1000;
    TallyCycle cycle { source, observer, TallyCycle::byteByByte([this](quint8 byte) { bytes.append(byte); }) };
    Shots shotList;
};

const QList<quint8> bothOff { 0x01, 0x21, 0x02, 0x22 };
const QList<quint8> liveAndPreview { 0xb1, 0x21, 0x02, 0xd2 };

} // namespace

TEST_F(LostSourceCycleTest, ByDefaultTheLightsKeepTheirStateAndNothingIsSentHoweverLong)
{
    EXPECT_EQ(cycle.lostSourcePolicy(), LostSourcePolicy {});
    loseTheSource();
    for (int second = 0; second < 60; ++second) {
        tick();
        now += 1000;
    }
    EXPECT_TRUE(bytes.isEmpty());
    EXPECT_EQ(observer.modes, (QList<TallyMode> { TallyMode::live, TallyMode::preview }));
}

TEST_F(LostSourceCycleTest, TurnOffSendsEveryLightOffOnEveryTickWhileLost)
{
    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::turnOff });
    loseTheSource();
    tick();
    EXPECT_EQ(bytes, bothOff);
    EXPECT_EQ(observer.modes, (QList<TallyMode> { TallyMode::off, TallyMode::off }));
    tick();
    EXPECT_EQ(bytes, bothOff + bothOff);
}

TEST_F(LostSourceCycleTest, TurnOffEndsWhenTheSourceIsBack)
{
    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::turnOff });
    loseTheSource();
    tick();
    source.running = true;
    bytes.clear();
    tick();
    EXPECT_EQ(bytes, liveAndPreview);
    EXPECT_EQ(observer.modes, (QList<TallyMode> { TallyMode::live, TallyMode::preview }));
}

TEST_F(LostSourceCycleTest, BlinkKeepsTheLightsUntilTheGracePeriodEnds)
{
    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::blink, 5 });
    loseTheSource();
    tick();
    now += 4999;
    tick();
    EXPECT_TRUE(bytes.isEmpty());
}

TEST_F(LostSourceCycleTest, BlinkAlternatesOffAndTheLastStateEveryHalfSecondAfterTheGracePeriod)
{
    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::blink, 5 });
    loseTheSource();
    tick();
    now += 5000;
    tick();
    EXPECT_EQ(bytes, bothOff);
    EXPECT_EQ(observer.modes, (QList<TallyMode> { TallyMode::off, TallyMode::off }));
    bytes.clear();
    now += 250;
    tick();
    EXPECT_EQ(bytes, bothOff);
    bytes.clear();
    now += 250;
    tick();
    EXPECT_EQ(bytes, liveAndPreview);
    EXPECT_EQ(observer.modes, (QList<TallyMode> { TallyMode::live, TallyMode::preview }));
    bytes.clear();
    now += 500;
    tick();
    EXPECT_EQ(bytes, bothOff);
}

TEST_F(LostSourceCycleTest, TheGracePeriodStartsAgainAfterTheSourceCameBack)
{
    cycle.setLostSourcePolicy({ LostSourcePolicy::Action::blink, 5 });
    loseTheSource();
    tick();
    now += 4000;
    source.running = true;
    tick();
    source.running = false;
    bytes.clear();
    now += 2000; // six seconds since first lost, two since lost again
    tick();
    EXPECT_TRUE(bytes.isEmpty());
}

TEST_F(LostSourceCycleTest, TurningTheLightsOffSendsAndShowsEveryLightOff)
{
    tick();
    bytes.clear();
    cycle.turnLightsOff(lights.lights);
    EXPECT_EQ(bytes, bothOff);
    EXPECT_EQ(observer.modes, (QList<TallyMode> { TallyMode::off, TallyMode::off }));
}

TEST(LostSourcePolicyTest, ActionNamesGoBothWays)
{
    for (const QString& name : LostSourcePolicy::actionNames()) {
        const std::optional<LostSourcePolicy::Action> action = LostSourcePolicy::actionNamed(name);
        ASSERT_TRUE(action.has_value()) << name.toStdString();
        EXPECT_EQ(LostSourcePolicy::nameOf(*action), name);
    }
    EXPECT_EQ(LostSourcePolicy::actionNamed(QStringLiteral("Blink")), std::nullopt);
    EXPECT_EQ(LostSourcePolicy::actionNames(),
        (QStringList { QStringLiteral("keep"), QStringLiteral("off"), QStringLiteral("blink") }));
}

TEST(LostSourcePolicyTest, UnsetPreferencesGiveTheDefaultPolicy)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    UserDefaults defaults(directory.filePath(QStringLiteral("preferences.ini")));
    EXPECT_EQ(LostSourcePolicy::fromDefaults(defaults), LostSourcePolicy {});
}

TEST(LostSourcePolicyTest, AStoredPolicyIsReadBackFromAnotherInstance)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString file = directory.filePath(QStringLiteral("preferences.ini"));
    const LostSourcePolicy stored { LostSourcePolicy::Action::blink, 3, true };
    {
        UserDefaults defaults(file);
        stored.storeIn(defaults);
    }
    UserDefaults reopened(file);
    EXPECT_EQ(LostSourcePolicy::fromDefaults(reopened), stored);
}

TEST(LostSourcePolicyTest, UnreadableStoredValuesFallBackToTheDefaults)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    UserDefaults defaults(directory.filePath(QStringLiteral("preferences.ini")));
    defaults.setObject(Preferences::whenSourceLost, QStringLiteral("explode"));
    defaults.setObject(Preferences::blinkAfterSeconds, QStringLiteral("soon"));
    EXPECT_EQ(LostSourcePolicy::fromDefaults(defaults), LostSourcePolicy {});
}
