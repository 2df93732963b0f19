#include "link/ShotDecoder.h"

#include "link/AppleScriptNotationParser.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using D = AppleEventDescriptor;

namespace {

D answer(const QString& notation)
{
    QString problem;
    const std::optional<D> value = AppleScriptNotationParser::parse(notation, &problem);
    EXPECT_TRUE(value.has_value()) << problem.toStdString();
    return value.value_or(D());
}

struct Decoded {
    ShotList shots;
    std::string output;
};

Decoded decodeCapturing(const D& result)
{
    testing::internal::CaptureStdout();
    ShotList shots = decodeShots(result);
    return { shots, testing::internal::GetCapturedStdout() };
}

void expectShot(const ShotPtr& shot, const QString& id, const QString& name, bool live, bool preview)
{
    ASSERT_TRUE(shot);
    EXPECT_EQ(shot->shotId, id);
    EXPECT_EQ(shot->name, name);
    EXPECT_EQ(shot->isLive, live);
    EXPECT_EQ(shot->isPreview, preview);
}

const QString cam2 = QStringLiteral("{shotId:\"2\", shotName:\"Cam 2\", isLive:false, isPreview:true}");

} // namespace

TEST(ShotDecoderTest, TwoRecordsYieldTwoShotsInOrderWithTheirValues)
{
    const Decoded decoded
        = decodeCapturing(answer("{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, " + cam2 + "}"));
    ASSERT_EQ(decoded.shots.size(), 2);
    expectShot(decoded.shots[0], "1", "Cam 1", true, false);
    expectShot(decoded.shots[1], "2", "Cam 2", false, true);
    EXPECT_EQ(decoded.output, "");
}

TEST(ShotDecoderTest, AListOfOneRecordYieldsTheEmptyList)
{
    const Decoded decoded = decodeCapturing(answer("{{shotId:\"1\", shotName:\"Cam 1\", isLive:true}}"));
    EXPECT_TRUE(decoded.shots.isEmpty());
    EXPECT_EQ(decoded.output, "");
}

TEST(ShotDecoderTest, ResultThatIsNotAListYieldsTheEmptyList)
{
    EXPECT_TRUE(decodeShots(D::text("shots")).isEmpty());
    EXPECT_TRUE(decodeShots(D::integer(2)).isEmpty());
    EXPECT_TRUE(decodeShots(D::list({})).isEmpty());
    EXPECT_TRUE(decodeShots(D::opaque(QString())).isEmpty());
}

TEST(ShotDecoderTest, PairsInAnotherOrderYieldTheSameShot)
{
    const ShotList shots = decodeShots(answer("{{isLive:true, shotName:\"Cam 1\", isPreview:false, shotId:\"1\"}, "
                                              "{isPreview:true, shotId:\"2\", isLive:false, shotName:\"Cam 2\"}}"));
    ASSERT_EQ(shots.size(), 2);
    expectShot(shots[0], "1", "Cam 1", true, false);
    expectShot(shots[1], "2", "Cam 2", false, true);
}

TEST(ShotDecoderTest, UserFieldListOfFiveItemsReadsTheFirstTwoPairsAndIgnoresTheFifth)
{
    // A record's item 1 is its user-field list; a list whose item 1 is a
    // list stands in for a record with an odd user-field list.
    const ShotList shots
        = decodeShots(answer("{{{\"shotId\", \"1\", \"shotName\", \"Cam 1\", \"isLive\"}}, " + cam2 + "}"));
    ASSERT_EQ(shots.size(), 2);
    expectShot(shots[0], "1", "Cam 1", false, false);
}

TEST(ShotDecoderTest, UnknownLabelPrintsUnexpectedRecordAttributeAndKeepsTheOtherFields)
{
    const Decoded decoded
        = decodeCapturing(answer("{{shotId:\"1\", camera:3, shotName:\"Cam 1\", isLive:true}, " + cam2 + "}"));
    EXPECT_EQ(decoded.output, "unexpected record attribute camera\n");
    ASSERT_EQ(decoded.shots.size(), 2);
    expectShot(decoded.shots[0], "1", "Cam 1", true, false);
}

TEST(ShotDecoderTest, ShotIdGivenTwiceKeepsTheSecondValue)
{
    const D first
        = D::userRecord({ { "shotId", D::text("1") }, { "shotName", D::text("Cam 1") }, { "shotId", D::text("9") } });
    const ShotList shots = decodeShots(D::list({ first, answer(cam2) }));
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->shotId, "9");
}

TEST(ShotDecoderTest, LabelsAreCaseSensitive)
{
    const Decoded decoded = decodeCapturing(answer("{{shotid:\"1\", ShotName:\"x\"}, " + cam2 + "}"));
    EXPECT_EQ(decoded.output, "unexpected record attribute shotid\nunexpected record attribute ShotName\n");
    expectShot(decoded.shots[0], "", "", false, false);
}

TEST(ShotDecoderTest, NamesAndIdsAreKeptAsGivenWithoutNormalising)
{
    const QString decomposed = QString::fromUtf8("Caf\x65\xCC\x81");
    const D first = D::userRecord({ { "shotId", D::text(decomposed) }, { "shotName", D::text(decomposed) } });
    const ShotList shots = decodeShots(D::list({ first, answer(cam2) }));
    EXPECT_EQ(shots[0]->shotId.size(), 5);
    EXPECT_EQ(shots[0]->name, decomposed);
}

TEST(ShotDecoderTest, RecordWhoseItemOneIsAPlainValueKeepsTheInitialValues)
{
    // name is one of AppleScript's own terms: the record's item 1 is then the
    // name's text, not a user-field list.
    const Decoded decoded = decodeCapturing(answer("{{name:\"Cam 1\", shotId:\"1\"}, " + cam2 + "}"));
    ASSERT_EQ(decoded.shots.size(), 2);
    expectShot(decoded.shots[0], "", "", false, false);
    expectShot(decoded.shots[1], "2", "Cam 2", false, true);
    EXPECT_EQ(decoded.output, "");
}

TEST(ShotDecoderTest, RecordWithAnEmptyUserFieldListKeepsTheInitialValues)
{
    const ShotList shots = decodeShots(D::list({ D::list({ D::list({}) }), answer(cam2) }));
    ASSERT_EQ(shots.size(), 2);
    expectShot(shots[0], "", "", false, false);
}

TEST(ShotDecoderTest, ValuesAreCoercedTheWayTheDescriptorCoerces)
{
    const ShotList shots = decodeShots(
        answer("{{shotId:7, shotName:{\"Cam 7\"}, isLive:1, isPreview:\"true\"}, {shotId:2.5, isLive:0}}"));
    ASSERT_EQ(shots.size(), 2);
    expectShot(shots[0], "7", "Cam 7", true, false);
    expectShot(shots[1], "2.5", "", false, false);
}

TEST(ShotDecoderTest, EveryRecordIsAppendedEvenWhenNoLabelSetsAField)
{
    const Decoded decoded = decodeCapturing(answer("{{a:1}, {b:2}, {c:3}}"));
    EXPECT_EQ(decoded.shots.size(), 3);
    EXPECT_EQ(decoded.output,
        "unexpected record attribute a\nunexpected record attribute b\nunexpected record attribute c\n");
}

TEST(ShotDecoderTest, RecordsAreNewObjectsEachTime)
{
    const D result = answer("{{shotId:\"1\"}, {shotId:\"1\"}}");
    const ShotList first = decodeShots(result);
    const ShotList second = decodeShots(result);
    EXPECT_NE(first[0], first[1]);
    EXPECT_NE(first[0], second[0]);
}

TEST(ShotDecoderTest, CheckedDecodingReportsTheProblemInsteadOfStopping)
{
    QStringList unexpected;
    const D labelWithoutText
        = D::list({ D::list({ D::text("odd"), D::integer(1), D::missingValue(), D::integer(2) }) });
    QString problem;
    const std::optional<ShotList> shots = decodeShotsChecked(
        D::list({ labelWithoutText, answer(cam2) }), [&unexpected](const QString& label) { unexpected.append(label); },
        &problem);
    EXPECT_FALSE(shots.has_value());
    EXPECT_EQ(problem, "label 3 of shot 1 of the query answer has no text value");
    EXPECT_EQ(unexpected, QStringList({ "odd" }));
}

TEST(ShotDecoderTest, CheckedDecodingGivesUnexpectedLabelsToTheCallbackAndPrintsNothing)
{
    QStringList unexpected;
    testing::internal::CaptureStdout();
    QString problem;
    const std::optional<ShotList> shots = decodeShotsChecked(
        answer("{{camera:1, shotId:\"1\"}, {lens:\"x\"}}"),
        [&unexpected](const QString& label) { unexpected.append(label); }, &problem);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_TRUE(shots.has_value()) << problem.toStdString();
    EXPECT_EQ(shots->size(), 2);
    EXPECT_EQ(unexpected, QStringList({ "camera", "lens" }));
}

TEST(ShotDecoderDeathTest, LabelWithoutATextValueStopsTheProgram)
{
    const D first = D::list({ D::list({ D::missingValue(), D::text("x") }) });
    EXPECT_DEATH(decodeShots(D::list({ first, answer(cam2) })),
        "fatal error: label 1 of shot 1 of the query answer has no text value");
}

TEST(ShotDecoderDeathTest, ShotIdWithoutATextValueStopsTheProgram)
{
    EXPECT_DEATH(decodeShots(answer("{" + cam2 + ", {shotId:missing value}}")),
        "fatal error: the shotId value \\(item 2\\) of shot 2 of the query answer has no text value");
}

TEST(ShotDecoderDeathTest, ShotNameWithoutATextValueStopsTheProgram)
{
    EXPECT_DEATH(decodeShots(answer("{{shotName:true}, " + cam2 + "}")),
        "fatal error: the shotName value \\(item 2\\) of shot 1 of the query answer has no text value");
}

TEST(ShotDecoderDeathTest, PlainValueInPlaceOfARecordStopsTheProgram)
{
    EXPECT_DEATH(
        decodeShots(answer("{\"Cam 1\", \"Cam 2\"}")), "fatal error: shot 1 of the query answer has no item 1");
}

TEST(ShotDecoderDeathTest, RecordWithNoItemsStopsTheProgram)
{
    EXPECT_DEATH(decodeShots(answer("{" + cam2 + ", {}}")), "fatal error: shot 2 of the query answer has no item 1");
}
