#include "SwitcherModel.h"

#include "StandinCommands.h"
#include "StandinServer.h"
#include "atem/AtemSwitcherState.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <utility>

using AtemCommands::SourceTally;

namespace {

SwitcherModel studio()
{
    SwitcherModel model({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Wide") });
    model.setProgram(1);
    model.setPreview(2);
    return model;
}

} // namespace

TEST(SwitcherModelTest, InputsAreNumberedFromOneAndNothingIsOnEitherBusUntilTold)
{
    SwitcherModel model({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Wide") });
    ASSERT_EQ(model.inputs().size(), 3);
    EXPECT_EQ(model.inputs()[2].number, 3);
    EXPECT_EQ(model.inputs()[2].longName, QStringLiteral("Wide"));
    EXPECT_EQ(model.inputs()[2].shortName, QStringLiteral("IN3"));
    EXPECT_EQ(model.program(), 0);
    EXPECT_EQ(model.preview(), 0);
    for (quint16 input = 1; input <= 3; ++input) {
        EXPECT_EQ(model.tally().value(input), (SourceTally { false, false })) << input;
    }
    EXPECT_TRUE(model.setProgram(1));
    EXPECT_TRUE(model.setPreview(2));
    EXPECT_EQ(model.tally().value(1), (SourceTally { true, false }));
    EXPECT_EQ(model.tally().value(2), (SourceTally { false, true }));
    EXPECT_EQ(model.tally().value(3), (SourceTally { false, false }));
}

TEST(SwitcherModelTest, AnAutoTransitionPutsBothOnAirUntilItEnds)
{
    SwitcherModel model = studio();
    EXPECT_TRUE(model.startAuto());
    EXPECT_FALSE(model.startAuto());
    EXPECT_EQ(model.tally().value(2), (SourceTally { true, true }));
    EXPECT_TRUE(model.finishAuto());
    EXPECT_EQ(model.program(), 2);
    EXPECT_EQ(model.preview(), 1);
    EXPECT_EQ(model.tally().value(1), (SourceTally { false, true }));
}

TEST(SwitcherModelTest, TheKeyersFillIsOnAirAndUnknownInputsChangeNothing)
{
    SwitcherModel model = studio();
    EXPECT_TRUE(model.setKeyer(3));
    EXPECT_EQ(model.tally().value(3), (SourceTally { true, false }));
    EXPECT_FALSE(model.setKeyer(9));
    EXPECT_FALSE(model.setProgram(0));
    EXPECT_FALSE(model.rename(4, QStringLiteral("X")));
    EXPECT_TRUE(model.setKeyer(std::nullopt));
    EXPECT_EQ(model.tally().value(3), (SourceTally { false, false }));
}

TEST(SwitcherModelTest, AConnectingClientGetsTheVersionFirstAndTheEndMarkerLast)
{
    const QList<AtemCommand> commands = studio().connectionCommands();
    ASSERT_FALSE(commands.isEmpty());
    EXPECT_EQ(commands.first().name, AtemCommands::versionName);
    EXPECT_EQ(commands.last().name, AtemCommands::initCompleteName);
    const auto count = std::count_if(commands.cbegin(), commands.cend(),
        [](const AtemCommand& command) { return command.name == AtemCommands::inputPropertiesName; });
    EXPECT_EQ(count, 3);
}

TEST(SwitcherModelTest, ItStatesOneMixEffectUnlessToldMoreAndTheOthersFollowTheFirstTheOtherWayRound)
{
    SwitcherModel model = studio();
    const auto topologyOf = [](const QList<AtemCommand>& commands) {
        std::optional<AtemCommands::Topology> topology;
        for (const AtemCommand& command : commands) {
            topology = topology ? topology : AtemCommands::readTopology(command);
        }
        return topology;
    };
    ASSERT_TRUE(topologyOf(model.connectionCommands()).has_value());
    EXPECT_EQ(topologyOf(model.connectionCommands())->mixEffects, 1);
    EXPECT_EQ(topologyOf(model.connectionCommands())->sources, 3);
    EXPECT_FALSE(model.setMixEffects(0));
    EXPECT_FALSE(model.setMixEffects(SwitcherModel::maxMixEffects + 1));
    ASSERT_TRUE(model.setMixEffects(2));
    EXPECT_EQ(topologyOf(model.connectionCommands())->mixEffects, 2);
    std::map<int, int> programs;
    std::map<int, int> previews;
    for (const AtemCommand& command : model.stateCommands()) {
        if (const auto bus = AtemCommands::readProgramInput(command)) {
            programs[bus->mixEffect] = bus->input;
        }
        if (const auto bus = AtemCommands::readPreviewInput(command)) {
            previews[bus->mixEffect] = bus->input;
        }
    }
    EXPECT_EQ(programs, (std::map<int, int> { { 0, 1 }, { 1, 2 } }));
    EXPECT_EQ(previews, (std::map<int, int> { { 0, 2 }, { 1, 1 } }));
}

TEST(StandinCommandsTest, EachLineChangesTheModelOrSaysWhyNot)
{
    SwitcherModel model = studio();
    StandinServer server([&model] { return model.connectionCommands(); }, StandinServer::Timing {});
    StandinCommands commands(model, server);
    QString problem;
    EXPECT_EQ(commands.execute(QStringLiteral("program 3"), &problem), StandinCommands::Outcome::done);
    EXPECT_EQ(model.program(), 3);
    EXPECT_EQ(commands.execute(QStringLiteral("rename 2   Close Up "), &problem), StandinCommands::Outcome::done);
    EXPECT_EQ(model.inputs()[1].longName, QStringLiteral("Close Up"));
    EXPECT_EQ(commands.execute(QStringLiteral("rename 2"), &problem), StandinCommands::Outcome::done);
    EXPECT_EQ(model.inputs()[1].longName, QString());
    EXPECT_EQ(commands.execute(QStringLiteral("cut"), &problem), StandinCommands::Outcome::done);
    EXPECT_EQ(model.program(), 2);
    EXPECT_EQ(commands.execute(QStringLiteral("keyer on 1"), &problem), StandinCommands::Outcome::done);
    EXPECT_EQ(model.tally().value(1), (SourceTally { true, false }));
    EXPECT_EQ(commands.execute(QStringLiteral("program 7"), &problem), StandinCommands::Outcome::refused);
    EXPECT_EQ(problem, QStringLiteral("program takes an input number from 1 to 3"));
    EXPECT_EQ(commands.execute(QStringLiteral("drop 101"), &problem), StandinCommands::Outcome::refused);
    EXPECT_EQ(commands.execute(QStringLiteral("reorder 20"), &problem), StandinCommands::Outcome::done);
    EXPECT_EQ(commands.execute(QStringLiteral("fade"), &problem), StandinCommands::Outcome::refused);
    EXPECT_EQ(problem, QStringLiteral("unknown command 'fade'"));
    EXPECT_EQ(commands.execute(QStringLiteral("quit"), &problem), StandinCommands::Outcome::quit);
}

TEST(SwitcherModelTest, TheRecorderAndTheStreamAreStatedWithThePictureAfterTheirSettings)
{
    SwitcherModel model = studio();
    const auto states = [&model] {
        AtemSwitcherState state;
        for (const AtemCommand& command : model.connectionCommands()) {
            state.apply(command);
        }
        return std::pair { state.isRecording(), state.isStreaming() };
    };
    EXPECT_EQ(states(), (std::pair { std::optional<bool>(false), std::optional<bool>(false) }));
    EXPECT_TRUE(model.setRecording(true));
    EXPECT_FALSE(model.setRecording(true));
    EXPECT_EQ(states(), (std::pair { std::optional<bool>(true), std::optional<bool>(false) }));
    EXPECT_TRUE(model.setStreaming(true));
    EXPECT_TRUE(model.setRecording(false));
    EXPECT_EQ(states(), (std::pair { std::optional<bool>(false), std::optional<bool>(true) }));

    // Clients keep the states inside the settings: those come first.
    QList<QByteArray> names;
    for (const AtemCommand& command : model.connectionCommands()) {
        names.append(command.name);
    }
    EXPECT_LT(names.indexOf(AtemCommands::recordingSettingsName), names.indexOf(AtemCommands::recordingStatusName));
    EXPECT_LT(names.indexOf(AtemCommands::streamingServiceName), names.indexOf(AtemCommands::streamingStatusName));
    EXPECT_GE(names.indexOf(AtemCommands::recordingSettingsName), 0);
    // Every change restates both.
    QList<QByteArray> restated;
    for (const AtemCommand& command : model.stateCommands()) {
        restated.append(command.name);
    }
    EXPECT_TRUE(restated.contains(AtemCommands::recordingStatusName));
    EXPECT_TRUE(restated.contains(AtemCommands::streamingStatusName));
}

TEST(StandinCommandsTest, RecordAndStreamTakeOnOrOff)
{
    SwitcherModel model = studio();
    StandinServer server([&model] { return model.connectionCommands(); }, StandinServer::Timing {});
    StandinCommands commands(model, server);
    QString problem;
    EXPECT_EQ(commands.execute(QStringLiteral("record on"), &problem), StandinCommands::Outcome::done);
    EXPECT_TRUE(model.isRecording());
    EXPECT_EQ(commands.execute(QStringLiteral("stream  on "), &problem), StandinCommands::Outcome::done);
    EXPECT_TRUE(model.isStreaming());
    EXPECT_EQ(commands.execute(QStringLiteral("record off"), &problem), StandinCommands::Outcome::done);
    EXPECT_FALSE(model.isRecording());
    EXPECT_TRUE(model.isStreaming());
    EXPECT_EQ(commands.execute(QStringLiteral("stream"), &problem), StandinCommands::Outcome::refused);
    EXPECT_EQ(problem, QStringLiteral("stream takes 'on' or 'off'"));
    EXPECT_EQ(commands.execute(QStringLiteral("record maybe"), &problem), StandinCommands::Outcome::refused);
    EXPECT_EQ(problem, QStringLiteral("record takes 'on' or 'off'"));
    EXPECT_TRUE(model.isStreaming());
}
