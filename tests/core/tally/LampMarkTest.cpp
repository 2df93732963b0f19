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
