#include "hardware/LightCommand.h"

#include "HardwareFakes.h"
#include "hardware/USBHIDAppDelegate.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

// The bytes of one light's mode as the device receives them.
QList<quint8> sentForMode(TallyMode mode, qint64 lightNumber)
{
    auto* backend = new FakeBackend;
    USBHIDAppDelegate delegate { std::unique_ptr<HidBackend>(backend) };
    auto device = std::make_shared<FakeDevice>();
    backend->plug(device);
    const LightCommand::BytePair pair = LightCommand::bytesForMode(mode, lightNumber);
    delegate.sendControl(pair.first);
    delegate.sendControl(pair.second);
    return device->commandBytes();
}

} // namespace

TEST(LightCommandTest, LightOneLiveSendsB1Then21)
{
    EXPECT_EQ(sentForMode(TallyMode::live, 1), QList<quint8>({ 0xB1, 0x21 }));
}

TEST(LightCommandTest, LightEightInPreviewSends08ThenD8)
{
    EXPECT_EQ(sentForMode(TallyMode::preview, 8), QList<quint8>({ 0x08, 0xD8 }));
}

TEST(LightCommandTest, LightThreeOffSends03Then23)
{
    EXPECT_EQ(sentForMode(TallyMode::off, 3), QList<quint8>({ 0x03, 0x23 }));
}

TEST(LightCommandTest, LightNumberZeroWithProgramOffIs00)
{
    EXPECT_EQ(LightCommand::combine(LightCommand::programOff, 0), 0x00);
    EXPECT_EQ(LightCommand::panelByte(LightCommand::programOff, 0), 0x00);
}

TEST(LightCommandTest, LightNumber80WithProgramOnOverlapsTheCommandBitsAndGivesF0)
{
    EXPECT_EQ(LightCommand::combine(LightCommand::programOn, 80), 0xF0);
    EXPECT_EQ(LightCommand::panelByte(LightCommand::programOn, 80), 0xF0);
}

TEST(LightCommandTest, TestSequenceHasTwentyOneStepsOfFiftyTwoBytesEndingDark)
{
    const QList<QList<quint8>>& steps = LightCommand::testSequence();
    ASSERT_EQ(steps.size(), 21);
    qsizetype bytes = 0;
    for (const QList<quint8>& step : steps) {
        bytes += step.size();
    }
    EXPECT_EQ(bytes, 52);
    EXPECT_EQ(steps.at(1), QList<quint8> { 0xB0 });
    EXPECT_EQ(steps.at(3), QList<quint8> { 0xD0 });
    EXPECT_EQ(steps.last(), QList<quint8> { 0x28 });
}

TEST(LightCommandDeathTest, CombinedValueAbove255InTheUpdateCycleStops)
{
    EXPECT_DEATH(LightCommand::combine(LightCommand::programOn, 256), "fatal error: ");
    EXPECT_DEATH(LightCommand::bytesForMode(TallyMode::off, 300), "fatal error: ");
}
