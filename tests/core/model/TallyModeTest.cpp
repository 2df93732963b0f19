// The light mode and the snapshot every layer shares.

#include "model/TallyMode.h"

#include "model/LightCount.h"
#include "model/TallySnapshot.h"

#include <gtest/gtest.h>

TEST(TallyModeTest, TheModeIsStoredInOneByteAsOffPreviewLive)
{
    static_assert(sizeof(TallyMode) == 1);
    EXPECT_EQ(static_cast<int>(TallyMode::off), 0);
    EXPECT_EQ(static_cast<int>(TallyMode::preview), 1);
    EXPECT_EQ(static_cast<int>(TallyMode::live), 2);
}

TEST(TallyModeTest, AnIndicatorShowsLiveOrPreviewAndNothingForADarkLight)
{
    EXPECT_EQ(tallyModeLabel(TallyMode::live), QStringLiteral("LIVE"));
    EXPECT_EQ(tallyModeLabel(TallyMode::preview), QStringLiteral("PREVIEW"));
    EXPECT_TRUE(tallyModeLabel(TallyMode::off).isEmpty());
}

TEST(TallyModeTest, TallyctlAndTheLogNameEveryMode)
{
    EXPECT_EQ(tallyModeName(TallyMode::live), QStringLiteral("live"));
    EXPECT_EQ(tallyModeName(TallyMode::preview), QStringLiteral("preview"));
    EXPECT_EQ(tallyModeName(TallyMode::off), QStringLiteral("off"));
}

TEST(TallyModeTest, TheBoxHasEightLights)
{
    EXPECT_EQ(tallyLightCount, 8);
}

TEST(TallySnapshotTest, SnapshotsDifferWhenALightsModeOrShotsOrTheSourceDiffer)
{
    TallySnapshot a;
    a.sourceRunning = true;
    a.lights.resize(tallyLightCount);
    TallySnapshot b = a;
    EXPECT_EQ(a, b);
    b.lights[3].mode = TallyMode::live;
    EXPECT_NE(a, b);
    b = a;
    b.lights[7].shotNames = QStringList { QStringLiteral("Wide") };
    EXPECT_NE(a, b);
    b = a;
    b.sourceRunning = false;
    EXPECT_NE(a, b);
}
