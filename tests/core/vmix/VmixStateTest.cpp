// How vMix's XML state and TALLY digits are read into shots, and which
// documents and tallies are refused.

#include "vmix/VmixState.h"

#include "model/OnAirShot.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

const QByteArray twoCameras = R"(<vmix><version>27.0.0.49</version><edition>4K</edition>
<inputs>
<input key="a7767969-4493-428e-a9c2-b647158b4288" number="1" type="Capture" title="Camera 1" state="Running">Camera 1</input>
<input key="4a7d7457-b835-46c8-b99a-ff000184fee9" number="2" type="Capture" title="Close &amp; Wide" state="Running">
  Close &amp; Wide<overlay index="0" key="8a437b4b-52f6-4e08-9ff9-bed63a5f2528"><position panX="-0.5"/></overlay>
</input>
</inputs>
<overlays><overlay number="1"/></overlays>
<preview>2</preview><active>1</active>
<recording duration="12">True</recording><external>False</external><streaming>False</streaming>
</vmix>
)";

QString problemOf(const QByteArray& xml)
{
    QString problem;
    EXPECT_FALSE(VmixState::parseXml(xml, &problem).has_value()) << xml.left(200).toStdString();
    return problem;
}

} // namespace

TEST(VmixStateTest, TheXmlGivesEveryInputsNumberKeyAndTitleAndTheOutputs)
{
    QString problem;
    const std::optional<VmixState::Document> document = VmixState::parseXml(twoCameras, &problem);
    ASSERT_TRUE(document.has_value()) << problem.toStdString();
    ASSERT_EQ(document->inputs.size(), 2);
    EXPECT_EQ(document->inputs[0],
        (VmixState::Input { 1, QStringLiteral("a7767969-4493-428e-a9c2-b647158b4288"), QStringLiteral("Camera 1") }));
    EXPECT_EQ(document->inputs[1].title, QStringLiteral("Close & Wide"));
    EXPECT_EQ(document->recording, std::optional<bool>(true));
    EXPECT_EQ(document->streaming, std::optional<bool>(false));
}

TEST(VmixStateTest, ADocumentWithoutRecordingOrStreamingOffersNeither)
{
    const std::optional<VmixState::Document> document
        = VmixState::parseXml("<vmix><inputs><input key=\"k1\" number=\"1\" title=\"One\"/></inputs></vmix>", nullptr);
    ASSERT_TRUE(document.has_value());
    EXPECT_FALSE(document->recording.has_value());
    EXPECT_FALSE(document->streaming.has_value());
    const ShotList shots = VmixState::shots(*document, { VmixState::Tally::program });
    ASSERT_EQ(shots.size(), 1);
    EXPECT_TRUE(shots[0]->isLive);
}

TEST(VmixStateTest, InputsAreOrderedByNumberWhateverTheDocumentsOrder)
{
    const std::optional<VmixState::Document> document = VmixState::parseXml(
        "<vmix><inputs><input key=\"k2\" number=\"2\" title=\"Two\"/><input key=\"k1\" number=\"1\" "
        "title=\"One\"/></inputs></vmix>",
        nullptr);
    ASSERT_TRUE(document.has_value());
    ASSERT_EQ(document->inputs.size(), 2);
    EXPECT_EQ(document->inputs[0].key, QStringLiteral("k1"));
    EXPECT_EQ(document->inputs[1].key, QStringLiteral("k2"));
}

TEST(VmixStateTest, ShotsAreTheInputsByKeyAndTitleThenTheOutputsLiveWhileActive)
{
    const std::optional<VmixState::Document> document = VmixState::parseXml(twoCameras, nullptr);
    ASSERT_TRUE(document.has_value());
    const ShotList shots = VmixState::shots(*document, { VmixState::Tally::preview, VmixState::Tally::program });
    ASSERT_EQ(shots.size(), 4);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("a7767969-4493-428e-a9c2-b647158b4288"));
    EXPECT_EQ(shots[0]->name, QStringLiteral("Camera 1"));
    EXPECT_TRUE(shots[0]->isPreview);
    EXPECT_FALSE(shots[0]->isLive);
    EXPECT_TRUE(shots[1]->isLive);
    EXPECT_EQ(shots[2]->name, QStringLiteral("Recording"));
    EXPECT_EQ(shots[2]->shotId, OnAirShot::idOf(OnAirShot::Output::recording));
    EXPECT_TRUE(shots[2]->isOnAirState);
    EXPECT_TRUE(shots[2]->isLive);
    EXPECT_EQ(shots[3]->name, QStringLiteral("Streaming"));
    EXPECT_FALSE(shots[3]->isLive);
}

TEST(VmixStateTest, AnInputBeyondTheTallysDigitsIsOff)
{
    const std::optional<VmixState::Document> document = VmixState::parseXml(twoCameras, nullptr);
    ASSERT_TRUE(document.has_value());
    const ShotList shots = VmixState::shots(*document, { VmixState::Tally::program });
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_FALSE(shots[1]->isLive);
    EXPECT_FALSE(shots[1]->isPreview);
}

TEST(VmixStateTest, MalformedXmlIsRefusedWithTheReason)
{
    EXPECT_TRUE(problemOf("<vmix><inputs></vmix>").startsWith(QStringLiteral("the XML state was refused: ")));
    EXPECT_FALSE(problemOf("<vmix><inputs></vmix>").contains(QStringLiteral("refused: (")));
    EXPECT_EQ(problemOf(""), QStringLiteral("the XML state was refused: it is empty"));
    EXPECT_TRUE(problemOf("<vmix>").contains(QStringLiteral("line"))) << problemOf("<vmix>").toStdString();
    EXPECT_EQ(problemOf("<obs/>"), QStringLiteral("the XML state was refused: its root is <obs>, not <vmix>"));
}

TEST(VmixStateTest, DeepNestingIsRefusedBeforeItIsWalked)
{
    QByteArray deep = "<vmix>";
    for (int i = 0; i < 10000; ++i) {
        deep += "<a>";
    }
    EXPECT_EQ(problemOf(deep), QStringLiteral("the XML state was refused: it nests deeper than 32 levels"));
    QByteArray shallow = "<vmix>";
    for (int i = 0; i < VmixState::maxXmlDepth - 1; ++i) {
        shallow += "<a>";
    }
    for (int i = 0; i < VmixState::maxXmlDepth - 1; ++i) {
        shallow += "</a>";
    }
    EXPECT_TRUE(VmixState::parseXml(shallow + "</vmix>", nullptr).has_value());
}

TEST(VmixStateTest, ADocumentTypeIsRefusedSoNoEntityCanGrowIt)
{
    EXPECT_EQ(problemOf("<!DOCTYPE vmix [<!ENTITY a \"aaaaaaaa\">]><vmix/>"),
        QStringLiteral("the XML state was refused: it declares a document type"));
}

TEST(VmixStateTest, InputsWithoutNumberOrKeyOrTwiceTheSameNumberAreRefused)
{
    EXPECT_EQ(problemOf("<vmix><inputs><input key=\"k\" number=\"x\"/></inputs></vmix>"),
        QStringLiteral("the XML state was refused: an input has no number from 1 to 1000 ('x')"));
    EXPECT_EQ(problemOf("<vmix><inputs><input number=\"3\"/></inputs></vmix>"),
        QStringLiteral("the XML state was refused: input 3 has no key"));
    EXPECT_EQ(problemOf("<vmix><inputs><input key=\"a\" number=\"1\"/><input key=\"b\" number=\"1\"/></inputs></vmix>"),
        QStringLiteral("the XML state was refused: input 1 is there twice"));
}

TEST(VmixStateTest, TallyDigitsAreRead)
{
    const std::optional<QList<VmixState::Tally>> tally = VmixState::parseTally("0120", nullptr);
    ASSERT_TRUE(tally.has_value());
    EXPECT_EQ(*tally,
        (QList<VmixState::Tally> {
            VmixState::Tally::off, VmixState::Tally::program, VmixState::Tally::preview, VmixState::Tally::off }));
}

TEST(VmixStateTest, ATallyOfTheWrongLengthOrFormIsDroppedWithTheReason)
{
    QString problem;
    EXPECT_FALSE(VmixState::parseTally("", &problem).has_value());
    EXPECT_EQ(problem, QStringLiteral("a TALLY without digits was dropped"));
    EXPECT_FALSE(VmixState::parseTally(QByteArray(1001, '0'), &problem).has_value());
    EXPECT_EQ(problem, QStringLiteral("a TALLY of 1001 digits was dropped (at most 1000 inputs)"));
    EXPECT_TRUE(VmixState::parseTally(QByteArray(1000, '0'), &problem).has_value());
    for (const QByteArray& bad : { QByteArray("0130"), QByteArray("01 2"), QByteArray("x") }) {
        EXPECT_FALSE(VmixState::parseTally(bad, &problem).has_value()) << bad.toStdString();
        EXPECT_EQ(problem, QStringLiteral("a TALLY with a character other than 0, 1 and 2 was dropped"));
    }
}

TEST(VmixStateTest, AnInputKeyedLikeAnOutputNeverTakesTheOutputsId)
{
    const std::optional<VmixState::Document> document
        = VmixState::parseXml("<vmix><inputs><input key=\"@recording\" number=\"1\" title=\"Recording\"/></inputs>"
                              "<recording>False</recording></vmix>",
            nullptr);
    ASSERT_TRUE(document.has_value());
    const ShotList shots = VmixState::shots(*document, { VmixState::Tally::program });
    ASSERT_EQ(shots.size(), 2);
    // The camera called Recording is live, the recorder is not: two shots.
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("@@recording"));
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_FALSE(shots[0]->isOnAirState);
    EXPECT_EQ(shots[1]->shotId, OnAirShot::idOf(OnAirShot::Output::recording));
    EXPECT_FALSE(shots[1]->isLive);
    EXPECT_NE(shots[0]->shotId, shots[1]->shotId);
}
