#include "tallymap/ShotAssignment.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

ShotPtr makeShot(const QString& shotId, const QString& name)
{
    auto shot = std::make_shared<Shot>(name);
    shot->shotId = shotId;
    return shot;
}

QStringList names(const ShotList& shots)
{
    QStringList result;
    for (const ShotPtr& shot : shots) {
        result.append(shot->name);
    }
    return result;
}

TEST(ShotAssignmentTest, AnOutputIsMarkedOnlyWhereACameraOrSceneHasItsName)
{
    auto recording = makeShot("@recording", "Recording");
    recording->isOnAirState = true;
    auto streaming = makeShot("@streaming", "Streaming");
    streaming->isOnAirState = true;
    const ShotPtr scene = makeShot("Recording", "Recording");
    const ShotList listed { scene, makeShot("Wide", "Wide"), recording, streaming };

    EXPECT_TRUE(ShotAssignment::needsOutputMark(listed, *recording));
    EXPECT_FALSE(ShotAssignment::needsOutputMark(listed, *streaming));
    EXPECT_FALSE(ShotAssignment::needsOutputMark(listed, *scene)) << "the camera or scene keeps its name";
    EXPECT_FALSE(ShotAssignment::needsOutputMark({ recording, streaming }, *recording));
    // Names compare as the lights match them: case counts.
    EXPECT_FALSE(ShotAssignment::needsOutputMark({ makeShot("rec", "recording"), recording }, *recording));
}

TEST(ShotAssignmentTest, ShowEmptyLayersOffHidesClearLayerNamesButNotBareClearLayer)
{
    const ShotList all {
        makeShot("1", "Cam 1"),
        makeShot("2", "Cam 1 Clear Layer"),
        makeShot("3", "Clear Layer"),
        makeShot("4", "Cam 2 clear layer"),
        makeShot("5", "Cam 3 Clear Layer "),
        makeShot("6", "Cam 4Clear Layer"),
        makeShot("7", " Clear Layer"),
    };

    const ShotList usable = ShotAssignment::usableShots(all, false);

    EXPECT_EQ(names(usable),
        (QStringList { "Cam 1", "Clear Layer", "Cam 2 clear layer", "Cam 3 Clear Layer ", "Cam 4Clear Layer" }));
    EXPECT_EQ(usable.at(0), all.at(0)); // the same records, not copies
    EXPECT_EQ(usable.at(1), all.at(2));
}

TEST(ShotAssignmentTest, ShowEmptyLayersOnListsEveryShotInOrder)
{
    const ShotList all { makeShot("2", "Cam 1 Clear Layer"), makeShot("1", "Cam 1") };

    EXPECT_EQ(ShotAssignment::usableShots(all, true), all);
}

TEST(ShotAssignmentTest, NoShotsGiveNoRows)
{
    EXPECT_TRUE(ShotAssignment::usableShots({}, true).isEmpty());
    EXPECT_TRUE(ShotAssignment::usableShots({}, false).isEmpty());
}

TEST(ShotAssignmentTest, FileRecordWithEmptyShotIdIsUntickedAndCannotBeUnassigned)
{
    const ShotPtr fromFile = makeShot("", "Cam 1");
    ShotList assigned { fromFile };
    const ShotPtr current = makeShot("7", "Cam 1");

    EXPECT_FALSE(ShotAssignment::isAssigned(assigned, *current));
    EXPECT_FALSE(ShotAssignment::unassign(assigned, *current));
    EXPECT_EQ(assigned, ShotList { fromFile });
}

TEST(ShotAssignmentTest, CurrentShotWithEmptyShotIdMatchesFileRecord)
{
    const ShotPtr fromFile = makeShot("", "Cam 1");
    ShotList assigned { fromFile };
    const ShotPtr current = makeShot("", "Something else");

    EXPECT_TRUE(ShotAssignment::isAssigned(assigned, *current));
    EXPECT_TRUE(ShotAssignment::unassign(assigned, *current));
    EXPECT_TRUE(assigned.isEmpty());
}

TEST(ShotAssignmentTest, AssignAppendsTheSameRecordAtTheEndEvenTwice)
{
    const ShotPtr first = makeShot("1", "Cam 1");
    const ShotPtr second = makeShot("2", "Cam 2");
    ShotList assigned { first };

    ShotAssignment::assign(assigned, second);
    ShotAssignment::assign(assigned, second);

    EXPECT_EQ(assigned, (ShotList { first, second, second }));
}

TEST(ShotAssignmentTest, UnassignRemovesOnlyTheFirstRecordWithThatShotId)
{
    const ShotPtr a = makeShot("1", "Cam 1");
    const ShotPtr b = makeShot("2", "Cam 2");
    const ShotPtr aAgain = makeShot("1", "Cam 1 renamed");
    const ShotPtr c = makeShot("3", "Cam 3");
    ShotList assigned { b, a, c, aAgain };

    EXPECT_TRUE(ShotAssignment::unassign(assigned, *makeShot("1", "whatever")));

    EXPECT_EQ(assigned, (ShotList { b, c, aAgain }));
}

TEST(ShotAssignmentTest, ShotIdsMatchUnderCanonicalEquivalenceAndCase)
{
    ShotList assigned { makeShot(QStringLiteral("caf\u00e9"), "Cam 1") };

    EXPECT_TRUE(ShotAssignment::isAssigned(assigned, *makeShot(QStringLiteral("cafe\u0301"), "Cam 1")));
    EXPECT_FALSE(ShotAssignment::isAssigned(assigned, *makeShot(QStringLiteral("CAF\u00c9"), "Cam 1")));
    EXPECT_TRUE(ShotAssignment::unassign(assigned, *makeShot(QStringLiteral("cafe\u0301"), "Cam 1")));
    EXPECT_TRUE(assigned.isEmpty());
}

TEST(ShotAssignmentTest, EmptyLayerSuffixIsCaseSensitiveAndNeedsItsLeadingSpace)
{
    EXPECT_TRUE(ShotAssignment::isEmptyLayer(*makeShot("1", "Wide Clear Layer")));
    EXPECT_FALSE(ShotAssignment::isEmptyLayer(*makeShot("1", "Wide CLEAR LAYER")));
    EXPECT_FALSE(ShotAssignment::isEmptyLayer(*makeShot("1", "Clear Layer")));
    EXPECT_FALSE(ShotAssignment::isEmptyLayer(*makeShot("1", "Wide Clear Layer 2")));
}

} // namespace
