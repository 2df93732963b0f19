#include "atem/AtemCommand.h"

#include <gtest/gtest.h>

using namespace AtemCommands;

TEST(AtemCommandTest, APayloadSplitsIntoItsCommands)
{
    // PrgI: mix effect 0, input 3; then InCm.
    const QByteArray payload = QByteArray::fromHex("000c0000"
                                                   "50726749"
                                                   "00000003"
                                                   "000c0000"
                                                   "496e436d"
                                                   "00000000");
    const std::optional<QList<AtemCommand>> commands = AtemCommand::split(payload);
    ASSERT_TRUE(commands);
    ASSERT_EQ(commands->size(), 2);
    EXPECT_EQ(commands->at(0).name, QByteArray("PrgI"));
    const std::optional<BusInput> program = readProgramInput(commands->at(0));
    ASSERT_TRUE(program);
    EXPECT_EQ(program->mixEffect, 0);
    EXPECT_EQ(program->input, 3);
    EXPECT_EQ(commands->at(1).name, initCompleteName);
    EXPECT_EQ(AtemCommand::join(*commands), payload);
}

TEST(AtemCommandTest, ALengthShortOfTheHeaderOrPastTheEndSpoilsThePayload)
{
    const QByteArray good = QByteArray::fromHex("000c000050726749"
                                                "00000003");
    EXPECT_TRUE(AtemCommand::split(good));
    EXPECT_FALSE(AtemCommand::split(good.left(10)));
    EXPECT_FALSE(AtemCommand::split(QByteArray::fromHex("0004000050726749")));
    EXPECT_FALSE(AtemCommand::split(QByteArray::fromHex("000000005072674900000003")));
    EXPECT_FALSE(AtemCommand::split(good + QByteArray::fromHex("00ff")));
    EXPECT_TRUE(AtemCommand::split(QByteArray()));
}

TEST(AtemCommandTest, InputPropertiesCarryBothNames)
{
    const AtemCommand command = inputProperties({ 2, QStringLiteral("Camera 2"), QStringLiteral("CAM2") });
    EXPECT_EQ(command.body.size(), 36);
    const std::optional<InputProperties> read = readInputProperties(command);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->input, 2);
    EXPECT_EQ(read->longName, QStringLiteral("Camera 2"));
    EXPECT_EQ(read->shortName, QStringLiteral("CAM2"));
}

TEST(AtemCommandTest, ALongNameIsCutAtAWholeCharacter)
{
    // Twenty bytes hold nine two-byte letters and not half of a tenth.
    const QString name = QString(12, QChar(0x00e9));
    const std::optional<InputProperties> read = readInputProperties(inputProperties({ 1, name, QString() }));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->longName, QString(10, QChar(0x00e9)));
}

TEST(AtemCommandTest, TallyBySourceReadsEachSourcesBits)
{
    // Three sources: 1 off, 2 program, 1000 program and preview, padded.
    const AtemCommand command { tallyBySourceName,
        QByteArray::fromHex("0003"
                            "000100"
                            "000201"
                            "03e803"
                            "00") };
    const std::optional<TallyBySource> tally = readTallyBySource(command);
    ASSERT_TRUE(tally);
    ASSERT_EQ(tally->size(), 3);
    EXPECT_EQ(tally->value(1), (SourceTally { false, false }));
    EXPECT_EQ(tally->value(2), (SourceTally { true, false }));
    EXPECT_EQ(tally->value(1000), (SourceTally { true, true }));
    EXPECT_EQ(readTallyBySource(tallyBySource(*tally)), tally);
}

TEST(AtemCommandTest, ALongerCommandIsReadForItsFields)
{
    AtemCommand padded = inputProperties({ 5, QStringLiteral("Wide"), QStringLiteral("WIDE") });
    padded.body.append(QByteArray(8, '\0'));
    const std::optional<InputProperties> read = readInputProperties(padded);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->input, 5);
    EXPECT_EQ(read->longName, QStringLiteral("Wide"));
}

TEST(AtemCommandTest, ACommandTooShortIsNotRead)
{
    EXPECT_FALSE(readTallyBySource({ tallyBySourceName, QByteArray::fromHex("0005000100") }));
    EXPECT_FALSE(readTallyBySource({ tallyBySourceName, QByteArray::fromHex("00") }));
    EXPECT_FALSE(readProgramInput({ programInputName, QByteArray::fromHex("000000") }));
    EXPECT_FALSE(readPreviewInput({ previewInputName, QByteArray::fromHex("00000003") }));
    EXPECT_FALSE(readInputProperties({ inputPropertiesName, QByteArray(35, 'a') }));
    EXPECT_FALSE(readProgramInput(previewInput({ 0, 1 }))) << "another command";
}

TEST(AtemCommandTest, WritersAndReadersAgree)
{
    const std::optional<BusInput> preview = readPreviewInput(previewInput({ 1, 4 }, true));
    ASSERT_TRUE(preview);
    EXPECT_EQ(preview->mixEffect, 1);
    EXPECT_EQ(preview->input, 4);
    const std::optional<KeyerOnAir> keyer = readKeyerOnAir(keyerOnAir({ 0, 1, true }));
    ASSERT_TRUE(keyer);
    EXPECT_TRUE(keyer->onAir);
    EXPECT_EQ(keyer->keyer, 1);
    const std::optional<TransitionPosition> transition
        = readTransitionPosition(transitionPosition({ 0, true, 12, 5000 }));
    ASSERT_TRUE(transition);
    EXPECT_TRUE(transition->inTransition);
    EXPECT_EQ(transition->position, 5000);
    const std::optional<Version> version = readVersion(AtemCommands::version({ 2, 30 }));
    ASSERT_TRUE(version);
    EXPECT_EQ(version->minor, 30);
}

TEST(AtemCommandTest, TheTopologyTellsHowManyMixEffectsAndSources)
{
    const std::optional<Topology> written = readTopology(topology(2, 24));
    ASSERT_TRUE(written);
    EXPECT_EQ(written->mixEffects, 2);
    EXPECT_EQ(written->sources, 24);
    // As a switcher of the current protocol sends it: a Television Studio HD
    // with one mix effect and 24 sources, and the rest of its picture.
    const std::optional<Topology> sent = readTopology(
        { topologyName, QByteArray::fromHex("01180202040201010401000001000400000001010101000000100000") });
    ASSERT_TRUE(sent);
    EXPECT_EQ(sent->mixEffects, 1);
    EXPECT_EQ(sent->sources, 24);
    EXPECT_FALSE(readTopology({ topologyName, QByteArray::fromHex("01") }));
    EXPECT_FALSE(readTopology(mixEffectConfig(0, 1))) << "another command";
}

TEST(AtemCommandTest, TheStreamsStateIsOneWordOfFlagsThenTwoUnusedBytes)
{
    const AtemCommand command { streamingStatusName, QByteArray("\x00\x04\x00\x00", 4) };
    const std::optional<StreamingStatus> status = readStreamingStatus(command);
    ASSERT_TRUE(status.has_value());
    EXPECT_EQ(status->flags, StreamingStatus::onAir);
    EXPECT_EQ(
        streamingStatus({ StreamingStatus::onAir }).encode(), QByteArray("\x00\x0c\x00\x00StRS\x00\x04\x00\x00", 12));
    EXPECT_FALSE(readStreamingStatus({ streamingStatusName, QByteArray("\x00", 1) }).has_value());
}

TEST(AtemCommandTest, TheStreamIsLiveWhileConnectingOrOnAirAndNotWhileStopping)
{
    EXPECT_FALSE(StreamingStatus { StreamingStatus::idle }.isLive());
    EXPECT_TRUE(StreamingStatus { StreamingStatus::connecting }.isLive());
    EXPECT_TRUE(StreamingStatus { StreamingStatus::onAir }.isLive());
    EXPECT_FALSE(StreamingStatus { StreamingStatus::stopping }.isLive());
    EXPECT_FALSE(StreamingStatus { quint16(StreamingStatus::onAir | StreamingStatus::stopping) }.isLive());
    // An error flag beside the state leaves the state as it is.
    EXPECT_TRUE(StreamingStatus { quint16(StreamingStatus::onAir | 0x8000) }.isLive());
    EXPECT_FALSE(StreamingStatus { quint16(StreamingStatus::idle | 0x0010) }.isLive());
}

TEST(AtemCommandTest, TheRecordersStateIsAWordOfFlagsAndTheSecondsLeft)
{
    const AtemCommand written = recordingStatus({ RecordingStatus::recording, 3600 });
    EXPECT_EQ(written.encode(), QByteArray("\x00\x10\x00\x00RTMS\x00\x01\x00\x00\x00\x00\x0e\x10", 16));
    const std::optional<RecordingStatus> read = readRecordingStatus(written);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->flags, RecordingStatus::recording);
    EXPECT_EQ(read->secondsAvailable, 3600);
    // Without the time left, as older switchers send it.
    const std::optional<RecordingStatus> short4
        = readRecordingStatus({ recordingStatusName, QByteArray("\x00\x01\x00\x00", 4) });
    ASSERT_TRUE(short4.has_value());
    EXPECT_EQ(short4->secondsAvailable, -1);
    EXPECT_TRUE(short4->isLive());
    EXPECT_FALSE(readRecordingStatus({ recordingStatusName, QByteArray("\x00\x01", 2) }).has_value());
    EXPECT_FALSE(readRecordingStatus({ streamingStatusName, QByteArray("\x00\x01\x00\x00", 4) }).has_value());
}

TEST(AtemCommandTest, TheRecorderIsLiveWhileRecordingAndNotWhileStoppingOrIdle)
{
    EXPECT_FALSE(RecordingStatus { 0 }.isLive());
    EXPECT_TRUE(RecordingStatus { RecordingStatus::recording }.isLive());
    EXPECT_FALSE(RecordingStatus { RecordingStatus::stopping }.isLive());
    EXPECT_FALSE(RecordingStatus { quint16(RecordingStatus::recording | RecordingStatus::stopping) }.isLive());
    // A full disk is said beside the state.
    EXPECT_TRUE(RecordingStatus { quint16(RecordingStatus::recording | 0x0004) }.isLive());
    EXPECT_FALSE(RecordingStatus { 0x0004 }.isLive());
}
