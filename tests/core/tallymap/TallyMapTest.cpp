#include "tallymap/TallyMap.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

ShotPtr shot(const QString& name, const QString& shotId)
{
    auto record = std::make_shared<Shot>(name);
    record->shotId = shotId;
    return record;
}

// A record as the file reader makes it: a name and nothing else.
ShotPtr stored(const QString& name)
{
    return std::make_shared<Shot>(name);
}

const QString precomposed = QStringLiteral("Cam\u00e9ra");
const QString decomposed = QStringLiteral("Came\u0301ra");

} // namespace

TEST(TallyMapTest, NewMapHasEightLightsEachWithAnEmptyList)
{
    const TallyMap map;
    ASSERT_EQ(map.shotSelections().size(), 8);
    for (const ShotList& light : map.shotSelections()) {
        EXPECT_TRUE(light.isEmpty());
    }
}

TEST(TallyMapTest, SetShotSelectionReplacesOnlyThatLightAndKeepsOrder)
{
    TallyMap map;
    const ShotPtr first = stored(QStringLiteral("B"));
    const ShotPtr second = stored(QStringLiteral("A"));
    map.setShotSelection(4, { first, second });
    ASSERT_EQ(map.shotSelection(4).size(), 2);
    EXPECT_EQ(map.shotSelection(4)[0], first);
    EXPECT_EQ(map.shotSelection(4)[1], second);
    for (qint64 light : { 0, 1, 2, 3, 5, 6, 7 }) {
        EXPECT_TRUE(map.shotSelection(light).isEmpty()) << "light index " << light;
    }
    map.setShotSelection(4, {});
    EXPECT_TRUE(map.shotSelection(4).isEmpty());
}

TEST(TallyMapTest, ResolveShotIdsWithEmptyShotListChangesNothing)
{
    TallyMap map;
    const ShotPtr record = shot(QStringLiteral("Camera 1"), QStringLiteral("old"));
    map.setShotSelection(0, { record });
    map.resolveShotIds({});
    EXPECT_EQ(record->shotId, QStringLiteral("old"));
    EXPECT_EQ(record->name, QStringLiteral("Camera 1"));
}

TEST(TallyMapTest, RefreshShotNamesWithEmptyShotListChangesNothingAndReturnsFalse)
{
    TallyMap map;
    const ShotPtr record = shot(QStringLiteral("Camera 1"), QStringLiteral("7"));
    map.setShotSelection(0, { record });
    EXPECT_FALSE(map.refreshShotNames({}));
    EXPECT_EQ(record->shotId, QStringLiteral("7"));
    EXPECT_EQ(record->name, QStringLiteral("Camera 1"));
}

TEST(TallyMapTest, ResolveShotIdsTakesTheIdOfTheLaterOfTwoShotsNamedAlike)
{
    TallyMap map;
    const ShotPtr onLight0 = stored(QStringLiteral("Wide"));
    const ShotPtr onLight6 = stored(QStringLiteral("Wide"));
    map.setShotSelection(0, { onLight0 });
    map.setShotSelection(6, { onLight6 });
    map.resolveShotIds({ shot(QStringLiteral("Wide"), QStringLiteral("1")),
        shot(QStringLiteral("Close"), QStringLiteral("2")), shot(QStringLiteral("Wide"), QStringLiteral("3")) });
    EXPECT_EQ(onLight0->shotId, QStringLiteral("3"));
    EXPECT_EQ(onLight6->shotId, QStringLiteral("3"));
}

TEST(TallyMapTest, ResolveShotIdsCopiesOnlyTheIdAndLeavesUnmatchedRecordsAlone)
{
    TallyMap map;
    const ShotPtr matched = stored(QStringLiteral("Camera 1"));
    const ShotPtr unmatched = shot(QStringLiteral("Gone"), QStringLiteral("stale"));
    map.setShotSelection(2, { matched, unmatched });
    const ShotPtr current = shot(QStringLiteral("Camera 1"), QStringLiteral("42"));
    current->isLive = true;
    current->isPreview = true;
    map.resolveShotIds({ current });
    EXPECT_EQ(matched->shotId, QStringLiteral("42"));
    EXPECT_EQ(matched->name, QStringLiteral("Camera 1"));
    EXPECT_FALSE(matched->isLive);
    EXPECT_FALSE(matched->isPreview);
    EXPECT_EQ(unmatched->shotId, QStringLiteral("stale"));
}

TEST(TallyMapTest, ResolveShotIdsMatchesCanonicallyEquivalentNamesButNotOtherCase)
{
    TallyMap map;
    const ShotPtr accented = stored(decomposed);
    const ShotPtr lowerCase = stored(QStringLiteral("camera 1"));
    map.setShotSelection(1, { accented, lowerCase });
    map.resolveShotIds(
        { shot(precomposed, QStringLiteral("9")), shot(QStringLiteral("Camera 1"), QStringLiteral("10")) });
    EXPECT_EQ(accented->shotId, QStringLiteral("9"));
    EXPECT_EQ(lowerCase->shotId, QString());
}

TEST(TallyMapTest, RecordReadFromFileKeepsEmptyIdUntilResolveShotIdsMeetsItsName)
{
    TallyMap map;
    ASSERT_TRUE(map.readFromData("0|Camera 1|Camera 2\r\n", QStringLiteral("tlx"), nullptr));
    const ShotPtr camera1 = map.shotSelection(0)[0];
    const ShotPtr camera2 = map.shotSelection(0)[1];
    EXPECT_EQ(camera1->shotId, QString());

    map.resolveShotIds({ shot(QStringLiteral("Camera 2"), QStringLiteral("B")) });
    EXPECT_EQ(camera1->shotId, QString());
    EXPECT_EQ(camera2->shotId, QStringLiteral("B"));

    map.resolveShotIds({ shot(QStringLiteral("Camera 1"), QStringLiteral("A")) });
    EXPECT_EQ(camera1->shotId, QStringLiteral("A"));
}

TEST(TallyMapTest, RefreshShotNamesMatchesARecordWithEmptyIdOnlyAgainstAShotWithEmptyId)
{
    TallyMap map;
    ASSERT_TRUE(map.readFromData("0|Camera 1\r\n", QStringLiteral("tlx"), nullptr));
    const ShotPtr record = map.shotSelection(0)[0];

    EXPECT_FALSE(map.refreshShotNames({ shot(QStringLiteral("Renamed"), QStringLiteral("1")) }));
    EXPECT_EQ(record->name, QStringLiteral("Camera 1"));

    EXPECT_TRUE(map.refreshShotNames({ shot(QStringLiteral("Renamed"), QString()) }));
    EXPECT_EQ(record->name, QStringLiteral("Renamed"));
}

TEST(TallyMapTest, RefreshShotNamesReturnsFalseWhenTheMatchedShotKeepsItsName)
{
    TallyMap map;
    const ShotPtr record = shot(QStringLiteral("Camera 1"), QStringLiteral("5"));
    map.setShotSelection(3, { record });
    EXPECT_FALSE(map.refreshShotNames({ shot(QStringLiteral("Camera 1"), QStringLiteral("5")) }));
    EXPECT_EQ(record->name, QStringLiteral("Camera 1"));
}

TEST(TallyMapTest, RefreshShotNamesTreatsACanonicallyEquivalentNameAsUnchanged)
{
    TallyMap map;
    const ShotPtr record = shot(decomposed, QStringLiteral("5"));
    map.setShotSelection(3, { record });
    EXPECT_FALSE(map.refreshShotNames({ shot(precomposed, QStringLiteral("5")) }));
    EXPECT_EQ(record->name, decomposed);
}

TEST(TallyMapTest, RefreshShotNamesFollowsARenameByIdAndAdoptsTheLaterOfTwoShotsWithThatId)
{
    TallyMap map;
    const ShotPtr record = shot(QStringLiteral("Camera 1"), QStringLiteral("5"));
    const ShotPtr other = shot(QStringLiteral("Camera 2"), QStringLiteral("6"));
    map.setShotSelection(0, { record, other });
    EXPECT_TRUE(map.refreshShotNames(
        { shot(QStringLiteral("First"), QStringLiteral("5")), shot(QStringLiteral("Second"), QStringLiteral("5")) }));
    EXPECT_EQ(record->name, QStringLiteral("Second"));
    EXPECT_EQ(record->shotId, QStringLiteral("5"));
    EXPECT_EQ(other->name, QStringLiteral("Camera 2"));
}

TEST(TallyMapTest, RenameThroughRefreshShotNamesShowsOnEveryLightHoldingTheSameRecord)
{
    TallyMap map;
    const ShotPtr record = shot(QStringLiteral("Camera 1"), QStringLiteral("5"));
    map.setShotSelection(0, { record });
    map.setShotSelection(7, { stored(QStringLiteral("Other")), record });
    EXPECT_TRUE(map.refreshShotNames({ shot(QStringLiteral("Host"), QStringLiteral("5")) }));
    EXPECT_EQ(map.shotSelection(0)[0]->name, QStringLiteral("Host"));
    EXPECT_EQ(map.shotSelection(7)[1]->name, QStringLiteral("Host"));
    EXPECT_EQ(map.shotSelection(0)[0], map.shotSelection(7)[1]);
}

TEST(TallyMapTest, ResolveShotIdsChangesTheRecordObjectsThemselves)
{
    // The editor hands the map the very records of the shot list; the map
    // changes whatever it holds in place, so the shot list sees it too.
    TallyMap map;
    const ShotPtr fromList = shot(QStringLiteral("Camera 1"), QStringLiteral("1"));
    map.setShotSelection(0, { fromList });
    map.resolveShotIds({ shot(QStringLiteral("Camera 1"), QStringLiteral("2")) });
    EXPECT_EQ(fromList->shotId, QStringLiteral("2"));
}

TEST(TallyMapDeathTest, ReadingALightIndexOutsideTheLightsStops)
{
    const TallyMap map;
    EXPECT_DEATH(map.shotSelection(8), "fatal error: tally map light index 8 is outside 0 to 7");
    EXPECT_DEATH(map.shotSelection(-1), "fatal error: tally map light index -1 is outside 0 to 7");
}

TEST(TallyMapDeathTest, ReplacingALightIndexOutsideTheLightsStops)
{
    TallyMap map;
    EXPECT_DEATH(map.setShotSelection(8, {}), "fatal error: tally map light index 8 is outside 0 to 7");
    EXPECT_DEATH(map.setShotSelection(-1, {}), "fatal error: tally map light index -1 is outside 0 to 7");
}

TEST(TallyMapDeathTest, AListWithAMissingRecordStops)
{
    TallyMap map;
    EXPECT_DEATH(map.setShotSelection(2, { stored(QStringLiteral("A")), nullptr }),
        "fatal error: tally map light 2 was given a list with a missing shot record");
}
