#include "hardware/LightCommand.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QList<quint8> pair(const LightCommand::BytePair& bytes)
{
    return { bytes.first, bytes.second };
}

} // namespace

TEST(LightCommandTest, Light1LiveYieldsB1Then21)
{
    EXPECT_EQ(pair(LightCommand::bytesForMode(TallyMode::live, 1)), (QList<quint8> { 0xB1, 0x21 }));
}

TEST(LightCommandTest, Light8InPreviewYields08ThenD8)
{
    EXPECT_EQ(pair(LightCommand::bytesForMode(TallyMode::preview, 8)), (QList<quint8> { 0x08, 0xD8 }));
}

TEST(LightCommandTest, Light3OffYields03Then23)
{
    EXPECT_EQ(pair(LightCommand::bytesForMode(TallyMode::off, 3)), (QList<quint8> { 0x03, 0x23 }));
}

TEST(LightCommandTest, CommandsHoldTheirHighNibbleValues)
{
    EXPECT_EQ(LightCommand::programOn, 0xB0);
    EXPECT_EQ(LightCommand::programOff, 0x00);
    EXPECT_EQ(LightCommand::previewOn, 0xD0);
    EXPECT_EQ(LightCommand::previewOff, 0x20);
}

TEST(LightCommandTest, LightNumber0WithProgramOffYields00)
{
    EXPECT_EQ(LightCommand::combine(LightCommand::programOff, 0), 0x00);
    EXPECT_EQ(LightCommand::panelByte(LightCommand::programOff, 0), 0x00);
}

TEST(LightCommandTest, LightNumber80WithProgramOnYieldsF0)
{
    EXPECT_EQ(LightCommand::combine(LightCommand::programOn, 80), 0xF0);
    EXPECT_EQ(LightCommand::panelByte(LightCommand::programOn, 80), 0xF0);
}

TEST(LightCommandTest, TheLightNumberIsOredIntoTheCommandBitsUnguardedFrom16Up)
{
    EXPECT_EQ(LightCommand::combine(LightCommand::programOn, 16), 0xB0);
    EXPECT_EQ(LightCommand::combine(LightCommand::previewOff, 16), 0x30);
    EXPECT_EQ(LightCommand::combine(LightCommand::previewOn, 17), 0xD1);
    EXPECT_EQ(LightCommand::combine(LightCommand::programOff, 255), 0xFF);
    EXPECT_EQ(LightCommand::combine(LightCommand::previewOn, 0x2F), 0xFF);
}

TEST(LightCommandTest, TurningAllLightsOffIsProgramOnThenPreviewOnForLight0)
{
    EXPECT_EQ(LightCommand::panelByte(LightCommand::programOn, 0), 0xB0);
    EXPECT_EQ(LightCommand::panelByte(LightCommand::previewOn, 0), 0xD0);
}

TEST(LightCommandTest, TheTestSequenceIs21StepsOf52BytesInAll)
{
    const QList<QList<quint8>> expected {
        { 0xB0, 0xD0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8 },
        { 0xB0 },
        { 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8 },
        { 0xD0 },
        { 0xB1 },
        { 0x01, 0xD1 },
        { 0x21, 0xB2 },
        { 0x02, 0xD2 },
        { 0x22, 0xB3 },
        { 0x03, 0xD3 },
        { 0x23, 0xB4 },
        { 0x04, 0xD4 },
        { 0x24, 0xB5 },
        { 0x05, 0xD5 },
        { 0x25, 0xB6 },
        { 0x06, 0xD6 },
        { 0x26, 0xB7 },
        { 0x07, 0xD7 },
        { 0x27, 0xB8 },
        { 0x08, 0xD8 },
        { 0x28 },
    };
    const QList<QList<quint8>>& sequence = LightCommand::testSequence();
    ASSERT_EQ(sequence.size(), 21);
    qsizetype total = 0;
    for (const QList<quint8>& step : sequence) {
        total += step.size();
    }
    EXPECT_EQ(total, 52);
    for (qsizetype step = 0; step < sequence.size(); ++step) {
        EXPECT_EQ(sequence[step], expected[step]) << "step " << step + 1;
    }
}

TEST(LightCommandTest, ACheckBoxTitleFrom0To255IsItsLightNumber)
{
    for (int number = 0; number <= 255; ++number) {
        EXPECT_EQ(LightCommand::lightNumberFromTitle(QString::number(number)), number);
    }
    EXPECT_EQ(LightCommand::lightNumberFromTitle(QStringLiteral("+3")), 3);
    EXPECT_EQ(LightCommand::lightNumberFromTitle(QStringLiteral("-0")), 0);
    EXPECT_EQ(LightCommand::lightNumberFromTitle(QStringLiteral("007")), 7);
}

TEST(LightCommandDeathTest, ACombinedValueAbove255Stops)
{
    EXPECT_DEATH(LightCommand::combine(LightCommand::programOn, 256), "fatal error: light command 176 \\| 256");
    EXPECT_DEATH(LightCommand::combine(LightCommand::programOff, 256), "fatal error: light command 0 \\| 256");
    EXPECT_DEATH(LightCommand::bytesForMode(TallyMode::live, 300), "fatal error: light command 176 \\| 300");
}

TEST(LightCommandDeathTest, ACheckBoxTitleThatIsNotALightNumberStops)
{
    for (const char* title : { " 3", "3 ", "3a", "256", "-1", "", "+", "0x3", "99999999999999999999" }) {
        EXPECT_DEATH(
            LightCommand::lightNumberFromTitle(QString::fromLatin1(title)), "fatal error: test panel check box title")
            << title;
    }
}
