#include "ShowModel.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QStringList namesOf(const ShowModel& model)
{
    QStringList names;
    for (const ShowModel::Shot& shot : model.shots()) {
        names.append(shot.name);
    }
    return names;
}

QList<qint64> idsOf(const ShowModel& model)
{
    QList<qint64> ids;
    for (const ShowModel::Shot& shot : model.shots()) {
        ids.append(shot.id);
    }
    return ids;
}

} // namespace

TEST(ShowModelTest, StartsWithTheDefaultShotsAndNothingOnProgramOrInPreview)
{
    const ShowModel model;
    EXPECT_EQ(namesOf(model),
        QStringList(
            { "Camera 1", "Camera 2", "Camera 3", "Camera 4", "Wide Shot", "Titles", "Lower Third Clear Layer" }));
    EXPECT_EQ(model.programPosition(), -1);
    EXPECT_EQ(model.previewPosition(), -1);
    for (int position = 0; position < model.count(); ++position) {
        EXPECT_FALSE(model.shotAt(position).isLive) << position;
        EXPECT_FALSE(model.shotAt(position).isPreview) << position;
    }
}

TEST(ShowModelTest, AStartPutsItsShotsOnProgramAndInPreview)
{
    const ShowModel model({ "A", "B", "C", "D" }, { .program = 2, .preview = 0 });
    EXPECT_EQ(model.programPosition(), 2);
    EXPECT_EQ(model.previewPosition(), 0);
    EXPECT_TRUE(model.shotAt(2).isLive);
    EXPECT_FALSE(model.shotAt(2).isPreview);
    EXPECT_TRUE(model.shotAt(0).isPreview);
    EXPECT_FALSE(model.shotAt(0).isLive);
    EXPECT_FALSE(model.shotAt(1).isLive || model.shotAt(1).isPreview);
    EXPECT_FALSE(model.shotAt(3).isLive || model.shotAt(3).isPreview);
}

TEST(ShowModelTest, IdsAreNumberedFromOneInListOrder)
{
    const ShowModel model({ "A", "B", "C" });
    EXPECT_EQ(idsOf(model), QList<qint64>({ 1, 2, 3 }));
}

TEST(ShowModelTest, AStartMayLeaveOneBusEmpty)
{
    const ShowModel onProgram({ "Only" }, { .program = 0 });
    EXPECT_EQ(onProgram.programPosition(), 0);
    EXPECT_EQ(onProgram.previewPosition(), -1);
    const ShowModel inPreview({ "A", "B" }, { .preview = 1 });
    EXPECT_EQ(inPreview.programPosition(), -1);
    EXPECT_EQ(inPreview.previewPosition(), 1);
}

TEST(ShowModelTest, PreviewPutsTheShotInPreviewAndTakesItOffTheOtherOne)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.setPreview(2);
    EXPECT_TRUE(model.shotAt(2).isPreview);
    EXPECT_FALSE(model.shotAt(1).isPreview);
    EXPECT_TRUE(model.shotAt(0).isLive);
    EXPECT_EQ(model.previewPosition(), 2);
}

TEST(ShowModelTest, ProgramPutsTheShotOnProgramAndLeavesPreviewAlone)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.setProgram(3);
    EXPECT_TRUE(model.shotAt(3).isLive);
    EXPECT_FALSE(model.shotAt(0).isLive);
    EXPECT_EQ(model.previewPosition(), 1);
}

TEST(ShowModelTest, TheProgramShotCanAlsoBeInPreview)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.setPreview(0);
    EXPECT_TRUE(model.shotAt(0).isLive);
    EXPECT_TRUE(model.shotAt(0).isPreview);
    EXPECT_FALSE(model.shotAt(1).isPreview);
}

TEST(ShowModelTest, CutSwapsProgramAndPreview)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.setPreview(2);
    model.cut();
    EXPECT_EQ(model.programPosition(), 2);
    EXPECT_EQ(model.previewPosition(), 0);
    model.cut();
    EXPECT_EQ(model.programPosition(), 0);
    EXPECT_EQ(model.previewPosition(), 2);
}

TEST(ShowModelTest, CutWithPreviewEmptyLeavesProgramEmpty)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.remove(1);
    model.cut();
    EXPECT_EQ(model.programPosition(), -1);
    EXPECT_EQ(model.previewPosition(), 0);
}

TEST(ShowModelTest, RenameKeepsTheIdAndTheTally)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.rename(0, "Host");
    EXPECT_EQ(model.shotAt(0).name, "Host");
    EXPECT_EQ(model.shotAt(0).id, 1);
    EXPECT_TRUE(model.shotAt(0).isLive);
    EXPECT_EQ(model.count(), 7);
}

TEST(ShowModelTest, AddAppendsAShotWithAFreshIdOffProgramAndPreview)
{
    ShowModel model({ "A", "B" });
    const int position = model.add("C");
    EXPECT_EQ(position, 2);
    EXPECT_EQ(model.shotAt(2).name, "C");
    EXPECT_EQ(model.shotAt(2).id, 3);
    EXPECT_FALSE(model.shotAt(2).isLive);
    EXPECT_FALSE(model.shotAt(2).isPreview);
}

TEST(ShowModelTest, AddNeverReusesTheIdOfARemovedShot)
{
    ShowModel model({ "A", "B", "C" });
    model.remove(2); // id 3, the highest
    model.remove(0); // id 1
    model.add("D");
    EXPECT_EQ(idsOf(model), QList<qint64>({ 2, 4 }));
    model.add("E");
    EXPECT_EQ(idsOf(model), QList<qint64>({ 2, 4, 5 }));
}

TEST(ShowModelTest, RemoveOfTheProgramShotLeavesNothingLive)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.remove(0);
    EXPECT_EQ(model.count(), 6);
    EXPECT_EQ(model.programPosition(), -1);
    for (const ShowModel::Shot& shot : model.shots()) {
        EXPECT_FALSE(shot.isLive) << shot.name.toStdString();
    }
    // Preview stays on Camera 2, now first in the list.
    EXPECT_EQ(model.previewPosition(), 0);
    EXPECT_EQ(model.shotAt(0).name, "Camera 2");
}

TEST(ShowModelTest, RemoveOfThePreviewShotLeavesPreviewEmpty)
{
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    model.remove(1);
    EXPECT_EQ(model.previewPosition(), -1);
    EXPECT_EQ(model.programPosition(), 0);
}

TEST(ShowModelTest, RemoveOfAnEarlierShotKeepsProgramAndPreviewOnTheirShots)
{
    ShowModel model;
    model.setProgram(4); // Wide Shot, id 5
    model.setPreview(5); // Titles, id 6
    model.remove(0);
    EXPECT_EQ(model.shotAt(model.programPosition()).id, 5);
    EXPECT_EQ(model.shotAt(model.previewPosition()).id, 6);
}

TEST(ShowModelTest, EveryChangeIsSignalled)
{
    ShowModel model;
    int changes = 0;
    QObject::connect(&model, &ShowModel::changed, [&changes] { ++changes; });
    model.setPreview(2);
    model.setProgram(3);
    model.cut();
    model.rename(0, "X");
    model.add("Y");
    model.remove(1);
    EXPECT_EQ(changes, 6);
}

TEST(ShowModelDeathTest, APositionOutsideTheListIsAFatalError)
{
    ShowModel model({ "A" });
    EXPECT_DEATH(model.setPreview(1), "fatal error: ShowModel::setPreview: no shot at position 1 of 1");
    EXPECT_DEATH(model.remove(-1), "fatal error: ShowModel::remove: no shot at position -1 of 1");
    EXPECT_DEATH(
        ShowModel({ "A", "B" }, { .preview = 2 }), "fatal error: ShowModel::ShowModel: no shot at position 2 of 2");
}
