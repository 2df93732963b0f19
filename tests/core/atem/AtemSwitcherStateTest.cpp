#include "atem/AtemSwitcherState.h"

#include <gtest/gtest.h>

using namespace AtemCommands;

namespace {

struct Seen {
    QString id;
    QString name;
    bool live;
    bool preview;

    friend bool operator==(const Seen&, const Seen&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Seen& seen)
    {
        return out << seen.id.toStdString() << " " << seen.name.toStdString() << (seen.live ? " live" : "")
                   << (seen.preview ? " preview" : "");
    }
};

std::vector<Seen> seen(const AtemSwitcherState& state, int mixEffect = 0)
{
    std::vector<Seen> result;
    for (const ShotPtr& shot : state.shots(mixEffect)) {
        result.push_back({ shot->shotId, shot->name, shot->isLive, shot->isPreview });
    }
    return result;
}

AtemSwitcherState threeInputs()
{
    AtemSwitcherState state;
    state.apply(inputProperties({ 1, QStringLiteral("Camera 1"), QStringLiteral("CAM1") }));
    state.apply(inputProperties({ 2, QStringLiteral("Camera 2"), QStringLiteral("CAM2") }));
    state.apply(inputProperties({ 3, QString(), QStringLiteral("WIDE") }));
    return state;
}

} // namespace

TEST(AtemSwitcherStateTest, EveryInputIsAShotNamedByItsLongNameElseItsShortName)
{
    AtemSwitcherState state = threeInputs();
    state.apply(inputProperties({ 4, QString(), QString() }));
    EXPECT_EQ(seen(state),
        (std::vector<Seen> { { "1", "Camera 1", false, false }, { "2", "Camera 2", false, false },
            { "3", "WIDE", false, false }, { "4", "4", false, false } }));
}

TEST(AtemSwitcherStateTest, WithoutTallyBySourceTheChosenMixEffectsBusesLight)
{
    AtemSwitcherState state = threeInputs();
    EXPECT_TRUE(state.apply(programInput({ 0, 1 })));
    EXPECT_TRUE(state.apply(previewInput({ 0, 2 })));
    state.apply(programInput({ 1, 3 }));
    state.apply(previewInput({ 1, 1 }));
    EXPECT_EQ(seen(state, 0),
        (std::vector<Seen> {
            { "1", "Camera 1", true, false }, { "2", "Camera 2", false, true }, { "3", "WIDE", false, false } }));
    EXPECT_EQ(seen(state, 1),
        (std::vector<Seen> {
            { "1", "Camera 1", false, true }, { "2", "Camera 2", false, false }, { "3", "WIDE", true, false } }));
}

TEST(AtemSwitcherStateTest, TallyBySourceWinsOverTheBusesOnceItIsThere)
{
    AtemSwitcherState state = threeInputs();
    state.apply(programInput({ 0, 1 }));
    state.apply(previewInput({ 0, 2 }));
    // A keyer puts 3 on air over 1; a transition mixes 2 in.
    EXPECT_TRUE(state.apply(tallyBySource({ { 1, { true, false } }, { 2, { true, true } }, { 3, { true, false } } })));
    EXPECT_TRUE(state.hasTallyBySource());
    EXPECT_EQ(seen(state),
        (std::vector<Seen> {
            { "1", "Camera 1", true, false }, { "2", "Camera 2", true, true }, { "3", "WIDE", true, false } }));
    EXPECT_FALSE(state.apply(programInput({ 0, 3 }))) << "the buses no longer decide";
}

TEST(AtemSwitcherStateTest, ARenameIsAChangeAndTheSameNamesAreNot)
{
    AtemSwitcherState state = threeInputs();
    EXPECT_FALSE(state.apply(inputProperties({ 1, QStringLiteral("Camera 1"), QStringLiteral("CAM1") })));
    EXPECT_TRUE(state.apply(inputProperties({ 1, QStringLiteral("Host"), QStringLiteral("CAM1") })));
    EXPECT_EQ(seen(state).front().name, QStringLiteral("Host"));
    EXPECT_FALSE(state.apply(AtemCommand { QByteArrayLiteral("Zzzz"), QByteArray(3, 'x') })) << "unknown command";
}

TEST(AtemSwitcherStateTest, ClearForgetsThePicture)
{
    AtemSwitcherState state = threeInputs();
    state.apply(tallyBySource({ { 1, { true, false } } }));
    state.clear();
    EXPECT_TRUE(state.shots(0).isEmpty());
    EXPECT_FALSE(state.hasTallyBySource());
}

TEST(AtemSwitcherStateTest, TheInputTableIsBounded)
{
    AtemSwitcherState state;
    for (int input = 0; input < AtemSwitcherState::maxInputs + 10; ++input) {
        state.apply(inputProperties({ quint16(input), QStringLiteral("In"), QString() }));
    }
    EXPECT_EQ(state.shots(0).size(), AtemSwitcherState::maxInputs);
}

TEST(AtemSwitcherStateTest, AMixEffectIsTakenAsThereUntilTheSwitcherSaysHowManyItHas)
{
    AtemSwitcherState state = threeInputs();
    EXPECT_EQ(state.mixEffectCount(), std::nullopt);
    EXPECT_TRUE(state.hasMixEffect(3));
    EXPECT_TRUE(state.missingMixEffect(3).isEmpty());
    EXPECT_FALSE(state.apply(topology(1, 3))) << "no shot changes";
    EXPECT_EQ(state.mixEffectCount(), 1);
    EXPECT_TRUE(state.hasMixEffect(0));
    EXPECT_FALSE(state.hasMixEffect(1));
    state.clear();
    EXPECT_TRUE(state.hasMixEffect(1)) << "a new connection says it again";
}

TEST(AtemSwitcherStateTest, AMissingMixEffectIsNamedWithTheOnesTheSwitcherHas)
{
    AtemSwitcherState state;
    state.apply(topology(1, 8));
    EXPECT_EQ(state.missingMixEffect(1), QStringLiteral("has no mix effect 2; it has mix effect 1"));
    state.apply(topology(2, 8));
    EXPECT_EQ(state.missingMixEffect(2), QStringLiteral("has no mix effect 3; it has mix effects 1 and 2"));
    EXPECT_TRUE(state.missingMixEffect(1).isEmpty());
    state.apply(topology(4, 40));
    EXPECT_EQ(state.missingMixEffect(5), QStringLiteral("has no mix effect 6; it has mix effects 1 to 4"));
    state.apply(topology(0, 8));
    EXPECT_EQ(state.missingMixEffect(0), QStringLiteral("has no mix effect 1; it has no mix effect at all"));
}

TEST(AtemSwitcherStateTest, ASwitcherThatNeverStatesItsRecorderOrStreamOffersNeither)
{
    const AtemSwitcherState state = threeInputs();
    EXPECT_EQ(state.shots(0).size(), 3);
    EXPECT_FALSE(state.isRecording().has_value());
    EXPECT_FALSE(state.isStreaming().has_value());
}

TEST(AtemSwitcherStateTest, RecordingAndStreamingFollowTheInputsOnceStated)
{
    AtemSwitcherState state = threeInputs();
    EXPECT_TRUE(state.apply(recordingStatus({ 0, 3600 })));
    EXPECT_TRUE(state.apply(streamingStatus({ StreamingStatus::idle })));
    EXPECT_EQ(seen(state),
        (std::vector<Seen> { { "1", "Camera 1", false, false }, { "2", "Camera 2", false, false },
            { "3", "WIDE", false, false }, { "@recording", "Recording", false, false },
            { "@streaming", "Streaming", false, false } }));
    EXPECT_TRUE(state.shots(0).at(3)->isOnAirState);
    EXPECT_FALSE(state.shots(0).at(0)->isOnAirState);
}

TEST(AtemSwitcherStateTest, TheRecordingShotIsLiveWhileRecordingAndOffOnceStopping)
{
    AtemSwitcherState state = threeInputs();
    state.apply(recordingStatus({ 0, 3600 }));
    EXPECT_TRUE(state.apply(recordingStatus({ RecordingStatus::recording, 3600 })));
    EXPECT_EQ(state.isRecording(), true);
    EXPECT_EQ(seen(state).back(), (Seen { "@recording", "Recording", true, false }));
    // The time left counting down changes no light.
    EXPECT_FALSE(state.apply(recordingStatus({ RecordingStatus::recording, 3599 })));
    EXPECT_TRUE(
        state.apply(recordingStatus({ quint16(RecordingStatus::recording | RecordingStatus::stopping), 3599 })));
    EXPECT_EQ(seen(state).back(), (Seen { "@recording", "Recording", false, false }));
    EXPECT_FALSE(state.apply(recordingStatus({ 0, 3599 })));
    EXPECT_EQ(state.isRecording(), false);
}

TEST(AtemSwitcherStateTest, TheStreamingShotIsLiveFromConnectingAndOffOnceStopping)
{
    AtemSwitcherState state = threeInputs();
    EXPECT_TRUE(state.apply(streamingStatus({ StreamingStatus::idle })));
    EXPECT_EQ(seen(state).back(), (Seen { "@streaming", "Streaming", false, false }));
    EXPECT_TRUE(state.apply(streamingStatus({ StreamingStatus::connecting })));
    EXPECT_EQ(seen(state).back(), (Seen { "@streaming", "Streaming", true, false }));
    EXPECT_FALSE(state.apply(streamingStatus({ StreamingStatus::onAir })));
    EXPECT_EQ(seen(state).back(), (Seen { "@streaming", "Streaming", true, false }));
    EXPECT_TRUE(state.apply(streamingStatus({ StreamingStatus::stopping })));
    EXPECT_EQ(seen(state).back(), (Seen { "@streaming", "Streaming", false, false }));
    EXPECT_FALSE(state.apply(streamingStatus({ StreamingStatus::idle })));
    EXPECT_EQ(state.isStreaming(), false);
}

TEST(AtemSwitcherStateTest, AnInputNamedRecordingKeepsItsOwnIdBesideTheRecorder)
{
    AtemSwitcherState state = threeInputs();
    state.apply(inputProperties({ 4, QStringLiteral("Recording"), QStringLiteral("REC") }));
    state.apply(recordingStatus({ RecordingStatus::recording, 60 }));
    const ShotList shots = state.shots(0);
    ASSERT_EQ(shots.size(), 5);
    EXPECT_EQ(shots[3]->name, shots[4]->name);
    EXPECT_NE(shots[3]->shotId, shots[4]->shotId);
    EXPECT_FALSE(shots[3]->isLive);
    EXPECT_TRUE(shots[4]->isLive);
}

TEST(AtemSwitcherStateTest, ANewConnectionForgetsTheRecorderAndStream)
{
    AtemSwitcherState state = threeInputs();
    state.apply(recordingStatus({ RecordingStatus::recording, 60 }));
    state.apply(streamingStatus({ StreamingStatus::onAir }));
    state.clear();
    EXPECT_FALSE(state.isRecording().has_value());
    EXPECT_FALSE(state.isStreaming().has_value());
    EXPECT_TRUE(state.shots(0).isEmpty());
}
