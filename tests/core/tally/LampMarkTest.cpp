#include "tally/LampMark.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

TallySnapshot lostAt(qint64 since)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = false;
    snapshot.lostSinceMilliseconds = since;
    return snapshot;
}

} // namespace

TEST(LampMarkTest, ALostSourceMarksEveryLampUnlessTheScreenLeavesThatToItsWarning)
{
    EXPECT_EQ(LampMarks::markFor(lostAt(0)), LampMark::lost);
    EXPECT_EQ(LampMarks::markFor(lostAt(0), false), LampMark::none);
    TallySnapshot running;
    running.sourceRunning = true;
    EXPECT_EQ(LampMarks::markFor(running), LampMark::none);
}

TEST(LampMarkTest, ATestIsMarkedWhetherTheSourceRunsOrNot)
{
    TallySnapshot underTest = lostAt(0);
    underTest.underTest = true;
    EXPECT_EQ(LampMarks::markFor(underTest, false), LampMark::test);
    underTest.sourceRunning = true;
    EXPECT_EQ(LampMarks::markFor(underTest), LampMark::test);
}

TEST(LampMarkTest, TheTimeLostReadsAsAClock)
{
    EXPECT_EQ(LampMarks::lostFor(lostAt(1000), 8'999), QStringLiteral("0:07"));
    EXPECT_EQ(LampMarks::lostFor(lostAt(0), 754'000), QStringLiteral("12:34"));
    EXPECT_EQ(LampMarks::lostFor(lostAt(0), 3'723'000), QStringLiteral("1:02:03"));
    TallySnapshot running;
    running.sourceRunning = true;
    EXPECT_EQ(LampMarks::lostFor(running, 5000), QString());
}

TEST(LampMarkTest, TheBannerSaysTestingLightsOrSinceWhenTheSourceIsLost)
{
    TallySnapshot underTest = lostAt(0);
    underTest.underTest = true;
    EXPECT_EQ(LampMarks::banner(underTest, 5000), QStringLiteral("Testing lights"));
    EXPECT_EQ(LampMarks::banner(lostAt(0), 42'000), QStringLiteral("Source lost for 0:42"));
    TallySnapshot running;
    running.sourceRunning = true;
    EXPECT_EQ(LampMarks::banner(running, 42'000), QString());
}

TEST(LampMarkTest, ALampOnASwitcherLostWhileOthersRunIsMarkedAloneEvenWhereTheScreenLeavesLossToItsWarning)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = { LightState(TallyMode::live, { QStringLiteral("ATEM: Camera 1") }),
        LightState(TallyMode::preview, { QStringLiteral("Clip") }) };
    snapshot.lights[0].sourceLost = true;
    EXPECT_EQ(LampMarks::markFor(snapshot), LampMark::none);
    EXPECT_EQ(LampMarks::markForLight(snapshot, 0), LampMark::lost);
    EXPECT_EQ(LampMarks::markForLight(snapshot, 0, false), LampMark::lost);
    EXPECT_EQ(LampMarks::markForLight(snapshot, 1), LampMark::none);
    EXPECT_EQ(LampMarks::markForLight(snapshot, 2), LampMark::none) << "a lamp past the report";
    EXPECT_TRUE(LampMarks::lostFor(snapshot, 5000).isEmpty()) << "no time: the source as a whole runs";
    snapshot.underTest = true;
    EXPECT_EQ(LampMarks::markForLight(snapshot, 0), LampMark::test);
}

TEST(LampMarkTest, ALampWhoseShotsTheSwitcherLacksIsMarkedMissingOnlyWhereAskedAndOnlyWhenNothingElseIs)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = { LightState(TallyMode::off, { QStringLiteral("Cam 9") }, { QStringLiteral("Cam 9") }),
        LightState(TallyMode::live, { QStringLiteral("Cam 1") }) };
    EXPECT_EQ(LampMarks::markForLightOrMissing(snapshot, 0), LampMark::missing);
    EXPECT_EQ(LampMarks::markForLightOrMissing(snapshot, 1), LampMark::none);
    EXPECT_EQ(LampMarks::markForLightOrMissing(snapshot, 2), LampMark::none) << "a lamp past the report";
    EXPECT_EQ(LampMarks::markForLight(snapshot, 0), LampMark::none) << "the main window's lamps stay as they are";
    snapshot.underTest = true;
    EXPECT_EQ(LampMarks::markForLightOrMissing(snapshot, 0), LampMark::test);
    snapshot.underTest = false;
    snapshot.sourceRunning = false;
    EXPECT_EQ(LampMarks::markForLightOrMissing(snapshot, 0), LampMark::lost);
}
