// The shot list OBS Studio's scenes and inputs give: which shots exist, their
// ids, and which are live or in preview.

#include "obs/ObsSceneGraph.h"

#include "support/ShotSummary.h"

#include <QSet>

#include <gtest/gtest.h>

namespace {

using Item = ObsSceneGraph::Item;

ShotPtr shotNamed(const ShotList& shots, const QString& name)
{
    for (const ShotPtr& shot : shots) {
        if (shot->name == name) {
            return shot;
        }
    }
    return nullptr;
}

// Two scenes, "Wide" with Camera 1 and "Close" with Camera 2, and a third
// input placed nowhere.
ObsSceneGraph studio()
{
    ObsSceneGraph graph;
    graph.setScenes({ { QStringLiteral("Wide"), {} }, { QStringLiteral("Close"), {} } });
    graph.setInputs(
        { { QStringLiteral("Camera 1"), {} }, { QStringLiteral("Camera 2"), {} }, { QStringLiteral("Music"), {} } });
    graph.setItems(QStringLiteral("Wide"), { Item { 1, QStringLiteral("Camera 1"), true } });
    graph.setItems(QStringLiteral("Close"), { Item { 1, QStringLiteral("Camera 2"), true } });
    graph.setProgramScene(QStringLiteral("Wide"));
    graph.setPreviewScene(QStringLiteral("Close"));
    return graph;
}

} // namespace

TEST(ObsSceneGraphTest, EveryScene_ThenEveryInputIsAShotInTheSwitchersOrder)
{
    ObsSceneGraph graph = studio();
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Wide:L", "Close:", "Camera 1:L",
            "Camera 2:", "Music:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, PreviewShowsOnlyWhileStudioModeIsOn)
{
    ObsSceneGraph graph = studio();
    graph.setStudioMode(true);
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Wide:L", "Close:P", "Camera 1:L", "Camera 2:P",
            "Music:", "Recording:", "Streaming:", "Virtual Camera:" }));
    graph.setStudioMode(false);
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Wide:L", "Close:", "Camera 1:L",
            "Camera 2:", "Music:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, AnInputIsLiveThroughANestedSceneAndAGroup)
{
    ObsSceneGraph graph;
    graph.setScenes({ { QStringLiteral("Show"), {} }, { QStringLiteral("Guests"), {} } });
    graph.setInputs(
        { { QStringLiteral("Camera 1"), {} }, { QStringLiteral("Camera 2"), {} }, { QStringLiteral("Camera 3"), {} } });
    graph.setItems(QStringLiteral("Show"),
        { Item { 1, QStringLiteral("Guests"), true }, Item { 2, QStringLiteral("Desk"), true } });
    graph.setItems(QStringLiteral("Guests"), { Item { 1, QStringLiteral("Camera 1"), true } });
    graph.setItems(QStringLiteral("Desk"), { Item { 1, QStringLiteral("Camera 2"), true } }); // a group
    graph.setProgramScene(QStringLiteral("Show"));
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Show:L", "Guests:", "Camera 1:L", "Camera 2:L",
            "Camera 3:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, AHiddenItemHidesEverythingUnderIt)
{
    ObsSceneGraph graph;
    graph.setScenes({ { QStringLiteral("Show"), {} }, { QStringLiteral("Guests"), {} } });
    graph.setInputs({ { QStringLiteral("Camera 1"), {} }, { QStringLiteral("Camera 2"), {} } });
    graph.setItems(QStringLiteral("Show"),
        { Item { 1, QStringLiteral("Guests"), false }, Item { 2, QStringLiteral("Camera 2"), false } });
    graph.setItems(QStringLiteral("Guests"), { Item { 1, QStringLiteral("Camera 1"), true } });
    graph.setProgramScene(QStringLiteral("Show"));
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Show:L", "Guests:", "Camera 1:", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));

    EXPECT_TRUE(graph.setItemEnabled(QStringLiteral("Show"), 1, true));
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Show:L", "Guests:", "Camera 1:L", "Camera 2:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, SettingAnItemToTheStateItHasChangesNothing)
{
    ObsSceneGraph graph = studio();
    EXPECT_FALSE(graph.setItemEnabled(QStringLiteral("Wide"), 1, true));
    EXPECT_FALSE(graph.setItemEnabled(QStringLiteral("Wide"), 99, false));
    EXPECT_FALSE(graph.setItemEnabled(QStringLiteral("Nowhere"), 1, false));
}

TEST(ObsSceneGraphTest, AnInputSeenTwiceStaysLiveWhenOneOfItsItemsIsHidden)
{
    ObsSceneGraph graph = studio();
    graph.setItems(QStringLiteral("Wide"),
        { Item { 1, QStringLiteral("Camera 1"), false }, Item { 2, QStringLiteral("Camera 1"), true } });
    EXPECT_TRUE(shotNamed(graph.shots(), QStringLiteral("Camera 1"))->isLive);
}

TEST(ObsSceneGraphTest, ScenesThatHoldEachOtherAreWalkedOnce)
{
    ObsSceneGraph graph;
    graph.setScenes({ { QStringLiteral("A"), {} }, { QStringLiteral("B"), {} } });
    graph.setInputs({ { QStringLiteral("Camera 1"), {} } });
    graph.setItems(QStringLiteral("A"), { Item { 1, QStringLiteral("B"), true } });
    graph.setItems(
        QStringLiteral("B"), { Item { 1, QStringLiteral("A"), true }, Item { 2, QStringLiteral("Camera 1"), true } });
    graph.setProgramScene(QStringLiteral("A"));
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "A:L", "B:", "Camera 1:L", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, TheIdIsTheUuidWhereReportedElseTheName)
{
    ObsSceneGraph graph;
    graph.setScenes({ { QStringLiteral("Wide"), QStringLiteral("1b5c-uuid") }, { QStringLiteral("Close"), {} } });
    graph.setInputs(
        { { QStringLiteral("Camera 1"), QStringLiteral("9f00-uuid") }, { QStringLiteral("Camera 2"), {} } });
    const ShotList shots = graph.shots();
    ASSERT_EQ(shots.size(), 7);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("1b5c-uuid"));
    EXPECT_EQ(shots[1]->shotId, QStringLiteral("Close"));
    EXPECT_EQ(shots[2]->shotId, QStringLiteral("9f00-uuid"));
    EXPECT_EQ(shots[3]->shotId, QStringLiteral("Camera 2"));
}

TEST(ObsSceneGraphTest, ARenamedInputKeepsItsIdAndStaysLive)
{
    ObsSceneGraph graph = studio();
    graph.renameSource(QStringLiteral("Camera 1"), QStringLiteral("Cam 1"));
    const ShotPtr renamed = shotNamed(graph.shots(), QStringLiteral("Cam 1"));
    ASSERT_NE(renamed, nullptr);
    EXPECT_EQ(renamed->shotId, QStringLiteral("Camera 1"));
    EXPECT_TRUE(renamed->isLive);
    EXPECT_EQ(shotNamed(graph.shots(), QStringLiteral("Camera 1")), nullptr);
}

TEST(ObsSceneGraphTest, ARenamedProgramSceneKeepsItsIdAndStaysLive)
{
    ObsSceneGraph graph = studio();
    graph.renameSource(QStringLiteral("Wide"), QStringLiteral("Wide shot"));
    graph.renameSource(QStringLiteral("Wide shot"), QStringLiteral("Total"));
    const ShotPtr renamed = shotNamed(graph.shots(), QStringLiteral("Total"));
    ASSERT_NE(renamed, nullptr);
    EXPECT_EQ(renamed->shotId, QStringLiteral("Wide"));
    EXPECT_TRUE(renamed->isLive);
    EXPECT_EQ(graph.programScene(), QStringLiteral("Total"));
    EXPECT_TRUE(shotNamed(graph.shots(), QStringLiteral("Camera 1"))->isLive);
}

TEST(ObsSceneGraphTest, ARereadAfterARenameKeepsTheCarriedId)
{
    ObsSceneGraph graph = studio();
    graph.renameSource(QStringLiteral("Camera 2"), QStringLiteral("Cam 2"));
    graph.clearContents();
    graph.setInputs({ { QStringLiteral("Cam 2"), {} } });
    EXPECT_EQ(graph.shots().first()->shotId, QStringLiteral("Camera 2"));
}

TEST(ObsSceneGraphTest, NoProgramSceneMeansNothingIsLive)
{
    ObsSceneGraph graph = studio();
    graph.setProgramScene({});
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList(
            { "Wide:", "Close:", "Camera 1:", "Camera 2:", "Music:", "Recording:", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, AHundredThousandLevelsOfNestingAreWalkedWithoutEndingTheProgram)
{
    // What a hostile endpoint posing as OBS Studio can send: each scene
    // holding the next, the camera at the bottom.
    constexpr int depth = 200000;
    ObsSceneGraph graph;
    QList<ObsSceneGraph::Scene> scenes;
    scenes.reserve(depth);
    for (int level = 0; level < depth; ++level) {
        const QString name = QStringLiteral("S%1").arg(level);
        scenes.append({ name, {} });
        const QString inner = level + 1 < depth ? QStringLiteral("S%1").arg(level + 1) : QStringLiteral("Camera 1");
        graph.setItems(name, { Item { 1, inner, true } });
    }
    graph.setScenes(scenes);
    graph.setInputs({ { QStringLiteral("Camera 1"), {} } });
    graph.setProgramScene(QStringLiteral("S0"));
    const ShotPtr camera = shotNamed(graph.shots(), QStringLiteral("Camera 1"));
    ASSERT_NE(camera, nullptr);
    EXPECT_TRUE(camera->isLive);
}

TEST(ObsSceneGraphTest, TheOutputsFollowTheInputsAndAreOffUntilSet)
{
    ObsSceneGraph graph = studio();
    const ShotList shots = graph.shots();
    ASSERT_EQ(shots.size(), 8);
    EXPECT_EQ(shots[5]->shotId, QStringLiteral("@recording"));
    EXPECT_EQ(shots[6]->shotId, QStringLiteral("@streaming"));
    EXPECT_EQ(shots[7]->shotId, QStringLiteral("@virtual-camera"));
    for (qsizetype index = 0; index < shots.size(); ++index) {
        EXPECT_EQ(shots[index]->isOnAirState, index >= 5) << index;
    }
}

TEST(ObsSceneGraphTest, EachOutputIsLiveWhileActiveOnItsOwn)
{
    ObsSceneGraph graph = studio();
    graph.setOutputActive(OnAirShot::Output::streaming, true);
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Music:", "Recording:", "Streaming:L",
            "Virtual Camera:" }));
    graph.setOutputActive(OnAirShot::Output::recording, true);
    graph.setOutputActive(OnAirShot::Output::virtualCamera, true);
    graph.setOutputActive(OnAirShot::Output::streaming, false);
    EXPECT_EQ(shotSummary(graph.shots()),
        QStringList({ "Wide:L", "Close:", "Camera 1:L", "Camera 2:", "Music:", "Recording:L",
            "Streaming:", "Virtual Camera:L" }));
}

TEST(ObsSceneGraphTest, TheOutputsStatesOutlastClearingTheContents)
{
    ObsSceneGraph graph = studio();
    graph.setOutputActive(OnAirShot::Output::recording, true);
    graph.clearContents();
    EXPECT_TRUE(graph.isOutputActive(OnAirShot::Output::recording));
    EXPECT_EQ(shotSummary(graph.shots()), QStringList({ "Recording:L", "Streaming:", "Virtual Camera:" }));
}

TEST(ObsSceneGraphTest, AScenesOrInputsIdNeverTakesAnOutputsId)
{
    ObsSceneGraph graph;
    graph.setScenes({ { QStringLiteral("Recording"), {} }, { QStringLiteral("@recording"), {} },
        { QStringLiteral("@@recording"), {} } });
    graph.setInputs({ { QStringLiteral("Streaming"), QStringLiteral("@streaming") } });
    const ShotList shots = graph.shots();
    ASSERT_EQ(shots.size(), 7);
    QSet<QString> ids;
    for (const ShotPtr& shot : shots) {
        ids.insert(shot->shotId);
    }
    EXPECT_EQ(ids.size(), 7) << "every shot has an id of its own";
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("Recording"));
    EXPECT_EQ(shots[1]->shotId, QStringLiteral("@@recording"));
    EXPECT_EQ(shots[2]->shotId, QStringLiteral("@@@recording"));
    EXPECT_EQ(shots[3]->shotId, QStringLiteral("@@streaming"));
    EXPECT_EQ(shots[4]->shotId, QStringLiteral("@recording"));
}
