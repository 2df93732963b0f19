#include "tally/TallyEvaluation.h"

#include "support/QtPrinters.h"
#include "tallymap/TallyMap.h"

#include <gtest/gtest.h>

namespace {

ShotPtr shot(const QString& name, bool isLive = false, bool isPreview = false, const QString& shotId = {})
{
    auto record = std::make_shared<Shot>(name);
    record->isLive = isLive;
    record->isPreview = isPreview;
    record->shotId = shotId;
    return record;
}

ShotPtr assigned(const QString& name, const QString& shotId = {})
{
    return shot(name, false, false, shotId);
}

QList<ShotList> eightLights()
{
    return QList<ShotList>(TallyMap::numberOfLights);
}

} // namespace

TEST(TallyEvaluationTest, ALightWithNoAssignedShotIsOffAndLight5SendsTheBytes05Then25)
{
    QList<ShotList> lights = eightLights();
    const ShotList shots { shot(QStringLiteral("Camera 1"), true, true) };
    lights[0] = { assigned(QStringLiteral("Camera 1")) };

    const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate(lights, shots);
    EXPECT_EQ(evaluation.modes[4], TallyMode::off);
    EXPECT_EQ(evaluation.bytes[8], 0x05);
    EXPECT_EQ(evaluation.bytes[9], 0x25);

    const auto split = TallyEvaluation::splitShots(shots);
    EXPECT_EQ(TallyEvaluation::decideLight({}, split.liveShots, split.previewShots), TallyMode::off);
}

TEST(TallyEvaluationTest, AnAssignedShotBothLiveAndInPreviewMakesTheLightLive)
{
    QList<ShotList> lights = eightLights();
    lights[2] = { assigned(QStringLiteral("Camera 1")) };
    const TallyEvaluation::Evaluation evaluation
        = TallyEvaluation::evaluate(lights, { shot(QStringLiteral("Camera 1"), true, true) });
    EXPECT_EQ(evaluation.modes[2], TallyMode::live);
    EXPECT_EQ(evaluation.bytes[4], 0xB3);
    EXPECT_EQ(evaluation.bytes[5], 0x23);
}

TEST(TallyEvaluationTest, TwoAssignedShotsOneLiveOneInPreviewMakeTheLightLive)
{
    const ShotList shots { shot(QStringLiteral("Preview"), false, true), shot(QStringLiteral("Live"), true, false) };
    const auto split = TallyEvaluation::splitShots(shots);
    EXPECT_EQ(TallyEvaluation::decideLight({ assigned(QStringLiteral("Preview")), assigned(QStringLiteral("Live")) },
                  split.liveShots, split.previewShots),
        TallyMode::live);
    EXPECT_EQ(TallyEvaluation::decideLight({ assigned(QStringLiteral("Live")), assigned(QStringLiteral("Preview")) },
                  split.liveShots, split.previewShots),
        TallyMode::live);
}

TEST(TallyEvaluationTest, TwoAssignedShotsOneInPreviewOneNeitherMakeTheLightPreview)
{
    QList<ShotList> lights = eightLights();
    lights[5] = { assigned(QStringLiteral("Idle")), assigned(QStringLiteral("Next")) };
    const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate(lights,
        { shot(QStringLiteral("Idle")), shot(QStringLiteral("Next"), false, true),
            shot(QStringLiteral("On air"), true) });
    EXPECT_EQ(evaluation.modes[5], TallyMode::preview);
    EXPECT_EQ(evaluation.bytes[10], 0x06);
    EXPECT_EQ(evaluation.bytes[11], 0xD6);
}

TEST(TallyEvaluationTest, AStaleNameMatchesNothingEvenWhenItsIdStillDoesUntilTheRenameIsAdopted)
{
    TallyMap map;
    map.setShotSelection(0, { assigned(QStringLiteral("Old name"), QStringLiteral("17")) });
    const ShotList shots { shot(QStringLiteral("New name"), true, false, QStringLiteral("17")) };

    EXPECT_EQ(TallyEvaluation::evaluate(map.shotSelections(), shots).modes[0], TallyMode::off);

    ASSERT_TRUE(map.refreshShotNames(shots));
    EXPECT_EQ(TallyEvaluation::evaluate(map.shotSelections(), shots).modes[0], TallyMode::live);
}

TEST(TallyEvaluationTest, TwoShotsWithTheSameNameBothCount)
{
    QList<ShotList> lights = eightLights();
    lights[0] = { assigned(QStringLiteral("Twin")) };
    lights[3] = { assigned(QStringLiteral("Other")), assigned(QStringLiteral("Twin")) };
    const ShotList liveSecond { shot(QStringLiteral("Twin"), false, false), shot(QStringLiteral("Twin"), true, false) };
    const ShotList liveFirst { shot(QStringLiteral("Twin"), true, false), shot(QStringLiteral("Twin"), false, false) };
    for (const ShotList& shots : { liveSecond, liveFirst }) {
        const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate(lights, shots);
        EXPECT_EQ(evaluation.modes[0], TallyMode::live);
        EXPECT_EQ(evaluation.modes[3], TallyMode::live);
    }
}

TEST(TallyEvaluationTest, NamesMatchAsCaseSensitiveCanonicallyEquivalentText)
{
    const ShotList shots { shot(QStringLiteral("Cam\u00e9ra"), true), shot(QStringLiteral("wide"), false, true) };
    const auto split = TallyEvaluation::splitShots(shots);
    EXPECT_EQ(
        TallyEvaluation::decideLight({ assigned(QStringLiteral("Came\u0301ra")) }, split.liveShots, split.previewShots),
        TallyMode::live);
    EXPECT_EQ(TallyEvaluation::decideLight({ assigned(QStringLiteral("Wide")) }, split.liveShots, split.previewShots),
        TallyMode::off);
    EXPECT_EQ(TallyEvaluation::decideLight({ assigned(QStringLiteral("wide ")) }, split.liveShots, split.previewShots),
        TallyMode::off);
}

TEST(TallyEvaluationTest, AnEmptyShotListSwitchesEveryLightOff)
{
    QList<ShotList> lights = eightLights();
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        lights[lightIndex] = { assigned(QStringLiteral("Camera %1").arg(lightIndex)) };
    }
    const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate(lights, {});
    EXPECT_EQ(evaluation.modes, QList<TallyMode>(8, TallyMode::off));
    EXPECT_EQ(evaluation.bytes,
        (QList<quint8> {
            0x01, 0x21, 0x02, 0x22, 0x03, 0x23, 0x04, 0x24, 0x05, 0x25, 0x06, 0x26, 0x07, 0x27, 0x08, 0x28 }));
}

TEST(TallyEvaluationTest, AMapWithNoLightsGivesNoModesAndNoBytes)
{
    const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate({}, { shot(QStringLiteral("A"), true) });
    EXPECT_TRUE(evaluation.modes.isEmpty());
    EXPECT_TRUE(evaluation.bytes.isEmpty());
}

TEST(TallyEvaluationTest, BytesGoOutLightByLightInAscendingOrderProgramByteFirst)
{
    QList<ShotList> lights = eightLights();
    lights[0] = { assigned(QStringLiteral("A")) };
    lights[1] = { assigned(QStringLiteral("B")) };
    lights[7] = { assigned(QStringLiteral("B")), assigned(QStringLiteral("A")) };
    const TallyEvaluation::Evaluation evaluation = TallyEvaluation::evaluate(
        lights, { shot(QStringLiteral("B"), false, true), shot(QStringLiteral("A"), true) });
    EXPECT_EQ(evaluation.modes,
        (QList<TallyMode> { TallyMode::live, TallyMode::preview, TallyMode::off, TallyMode::off, TallyMode::off,
            TallyMode::off, TallyMode::off, TallyMode::live }));
    EXPECT_EQ(evaluation.bytes,
        (QList<quint8> {
            0xB1, 0x21, 0x02, 0xD2, 0x03, 0x23, 0x04, 0x24, 0x05, 0x25, 0x06, 0x26, 0x07, 0x27, 0xB8, 0x28 }));
}

TEST(TallyEvaluationTest, SplitShotsKeepsListOrderAndPutsAShotInBothListsWhenItIsBoth)
{
    const ShotPtr both = shot(QStringLiteral("Both"), true, true);
    const ShotPtr live = shot(QStringLiteral("Live"), true);
    const ShotPtr neither = shot(QStringLiteral("Neither"));
    const ShotPtr preview = shot(QStringLiteral("Preview"), false, true);
    const auto split = TallyEvaluation::splitShots({ live, both, neither, preview });
    EXPECT_EQ(split.liveShots, (ShotList { live, both }));
    EXPECT_EQ(split.previewShots, (ShotList { both, preview }));
}

TEST(TallyEvaluationTest, TheShotIdPlaysNoPartInDecidingAMode)
{
    const ShotList shots { shot(QStringLiteral("On air"), true, false, QStringLiteral("1")) };
    const auto split = TallyEvaluation::splitShots(shots);
    EXPECT_EQ(TallyEvaluation::decideLight(
                  { assigned(QStringLiteral("Elsewhere"), QStringLiteral("1")) }, split.liveShots, split.previewShots),
        TallyMode::off);
    EXPECT_EQ(TallyEvaluation::decideLight(
                  { assigned(QStringLiteral("On air"), QStringLiteral("other")) }, split.liveShots, split.previewShots),
        TallyMode::live);
}

TEST(TallyEvaluationTest, TheLightNumberIsOredInUnguardedFromLight16Up)
{
    // Light index 15 is light number 16 (0x10): it lands in the command bits.
    EXPECT_EQ(TallyEvaluation::bytesForLight(15, TallyMode::live).first, 0xB0);
    EXPECT_EQ(TallyEvaluation::bytesForLight(15, TallyMode::live).second, 0x30);
    EXPECT_EQ(TallyEvaluation::bytesForLight(15, TallyMode::off).first, 0x10);
    EXPECT_EQ(TallyEvaluation::bytesForLight(16, TallyMode::preview).first, 0x11);
    EXPECT_EQ(TallyEvaluation::bytesForLight(16, TallyMode::preview).second, 0xD1);

    QList<ShotList> lights(16);
    lights[15] = { assigned(QStringLiteral("A")) };
    const TallyEvaluation::Evaluation evaluation
        = TallyEvaluation::evaluate(lights, { shot(QStringLiteral("A"), true) });
    ASSERT_EQ(evaluation.bytes.size(), 32);
    EXPECT_EQ(evaluation.bytes[30], 0xB0);
    EXPECT_EQ(evaluation.bytes[31], 0x30);
}

TEST(TallyEvaluationDeathTest, ALightNumberAbove255Stops)
{
    EXPECT_DEATH(TallyEvaluation::bytesForLight(255, TallyMode::off), "fatal error: light command 0 \\| 256");
    QList<ShotList> lights(256);
    EXPECT_DEATH(TallyEvaluation::evaluate(lights, {}), "fatal error: light command 0 \\| 256");
}

TEST(TallyEvaluationTest, MissingShotsAreTheAssignedNamesNoShotCarriesUnderCanonicalEquivalence)
{
    const ShotPtr known = std::make_shared<Shot>(QStringLiteral("Caf\u00e9"));
    const ShotList shotList { known, std::make_shared<Shot>(QStringLiteral("Cam 1")) };
    const QList<ShotList> lights {
        { std::make_shared<Shot>(QStringLiteral("Cafe\u0301")), std::make_shared<Shot>(QStringLiteral("cam 1")) },
        {},
    };
    const QList<QStringList> missing = TallyEvaluation::missingShots(lights, shotList);
    ASSERT_EQ(missing.size(), 2);
    EXPECT_EQ(missing[0], QStringList { QStringLiteral("cam 1") });
    EXPECT_TRUE(missing[1].isEmpty());
}

TEST(TallyEvaluationTest, TheShotsLightingALightAreTheAssignedOnesBehindItsMode)
{
    const TallyEvaluation::SplitShots shots = TallyEvaluation::splitShots({ shot(QStringLiteral("Wide"), false, true),
        shot(QStringLiteral("Camera 2"), true), shot(QStringLiteral("Camera 1"), true, true) });
    const ShotList light { assigned(QStringLiteral("Wide")), assigned(QStringLiteral("Camera 1")),
        assigned(QStringLiteral("Camera 2")), assigned(QStringLiteral("Camera 1")) };
    EXPECT_EQ(TallyEvaluation::shotsLighting(light, shots, TallyMode::live),
        (QStringList { QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }));
    EXPECT_EQ(TallyEvaluation::shotsLighting(light, shots, TallyMode::preview),
        (QStringList { QStringLiteral("Wide"), QStringLiteral("Camera 1") }));
    EXPECT_EQ(TallyEvaluation::shotsLighting(light, shots, TallyMode::off), QStringList());
}

TEST(TallyEvaluationTest, TheEvaluationNamesTheShotsThatLitEachLight)
{
    QList<ShotList> lights = eightLights();
    lights[0] = { assigned(QStringLiteral("Titles")), assigned(QStringLiteral("Camera 1")) };
    lights[1] = { assigned(QStringLiteral("Titles")) };
    const TallyEvaluation::Evaluation evaluation
        = TallyEvaluation::evaluate(lights, { shot(QStringLiteral("Camera 1"), true), shot(QStringLiteral("Titles")) });
    ASSERT_EQ(evaluation.litBy.size(), TallyMap::numberOfLights);
    EXPECT_EQ(evaluation.litBy[0], QStringList { QStringLiteral("Camera 1") });
    EXPECT_EQ(evaluation.litBy[1], QStringList());
}

TEST(TallyEvaluationShowingTest, ALightWithSeveralShotsNamesTheOnesGivingItsMode)
{
    auto shot = [](const char* name, bool live, bool preview) {
        auto made = std::make_shared<Shot>(QString::fromUtf8(name));
        made->isLive = live;
        made->isPreview = preview;
        return made;
    };
    const ShotList shotList { shot("Camera 1", false, true), shot("Camera 2", true, false),
        shot("Wide", false, false) };
    const TallyEvaluation::SplitShots split = TallyEvaluation::splitShots(shotList);
    const ShotList light { std::make_shared<Shot>(QStringLiteral("Wide")),
        std::make_shared<Shot>(QStringLiteral("Camera 2")), std::make_shared<Shot>(QStringLiteral("Camera 1")) };
    EXPECT_EQ(
        TallyEvaluation::shotsLighting(light, split, TallyMode::live), QStringList { QStringLiteral("Camera 2") });
    EXPECT_EQ(
        TallyEvaluation::shotsLighting(light, split, TallyMode::preview), QStringList { QStringLiteral("Camera 1") });
    EXPECT_TRUE(TallyEvaluation::shotsLighting(light, split, TallyMode::off).isEmpty());
    EXPECT_TRUE(TallyEvaluation::shotsLighting({}, split, TallyMode::live).isEmpty());
}
