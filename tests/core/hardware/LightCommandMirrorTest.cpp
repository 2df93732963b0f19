#include "hardware/LightCommandMirror.h"

#include "hardware/LightCommand.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

using Lamps = LightCommandMirror::Lamps;

// The eight lights as one line, program then preview per light: "P." is
// program only, ".V" preview only, "PV" both, ".." dark.
QString picture(const LightCommandMirror& mirror)
{
    QStringList lights;
    for (int index = 0; index < LightCommandMirror::numberOfLights; ++index) {
        const Lamps lamps = mirror.lamps(index);
        lights.append(QString(lamps.program ? QLatin1Char('P') : QLatin1Char('.'))
            + (lamps.preview ? QLatin1Char('V') : QLatin1Char('.')));
    }
    return lights.join(QLatin1Char(' '));
}

void applyAll(LightCommandMirror& mirror, const QList<quint8>& bytes)
{
    for (const quint8 byte : bytes) {
        mirror.apply(byte);
    }
}

} // namespace

TEST(LightCommandMirrorTest, StartsWithEveryLampDark)
{
    const LightCommandMirror mirror;
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .. .. .. .. .."));
    for (int index = 0; index < 8; ++index) {
        EXPECT_EQ(mirror.mode(index), TallyMode::off);
    }
}

TEST(LightCommandMirrorTest, B1SwitchesTheProgramLampOfLightOneOnAnd01SwitchesItOff)
{
    LightCommandMirror mirror;
    EXPECT_TRUE(mirror.apply(0xB1));
    EXPECT_EQ(mirror.lamps(0), (Lamps { true, false }));
    EXPECT_EQ(picture(mirror), QStringLiteral("P. .. .. .. .. .. .. .."));
    EXPECT_TRUE(mirror.apply(0x01));
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .. .. .. .. .."));
}

TEST(LightCommandMirrorTest, D8SwitchesThePreviewLampOfLightEightOnAnd28SwitchesItOff)
{
    LightCommandMirror mirror;
    EXPECT_TRUE(mirror.apply(0xD8));
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .. .. .. .. .V"));
    EXPECT_EQ(mirror.mode(7), TallyMode::preview);
    EXPECT_TRUE(mirror.apply(0x28));
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .. .. .. .. .."));
}

TEST(LightCommandMirrorTest, ProgramAndPreviewAreIndependentChannelsAndProgramWinsTheMode)
{
    LightCommandMirror mirror;
    mirror.apply(0xD3);
    mirror.apply(0xB3);
    EXPECT_EQ(mirror.lamps(2), (Lamps { true, true }));
    EXPECT_EQ(mirror.mode(2), TallyMode::live);
    mirror.apply(0x03);
    EXPECT_EQ(mirror.lamps(2), (Lamps { false, true }));
    EXPECT_EQ(mirror.mode(2), TallyMode::preview);
}

TEST(LightCommandMirrorTest, B0AloneSwitchesEveryProgramLampOffAndLeavesPreview)
{
    LightCommandMirror mirror;
    applyAll(mirror, { 0xB1, 0xB4, 0xD4, 0xD6 });
    EXPECT_TRUE(mirror.apply(0xB0));
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .V .. .V .. .."));
}

TEST(LightCommandMirrorTest, D0AloneSwitchesEveryPreviewLampOffAndLeavesProgram)
{
    LightCommandMirror mirror;
    applyAll(mirror, { 0xB1, 0xB4, 0xD4, 0xD6 });
    EXPECT_TRUE(mirror.apply(0xD0));
    EXPECT_EQ(picture(mirror), QStringLiteral("P. .. .. P. .. .. .. .."));
}

TEST(LightCommandMirrorTest, AllOffBytesDarkenEveryLamp)
{
    LightCommandMirror mirror;
    applyAll(mirror, { 0xB1, 0xB2, 0xD5, 0xD8 });
    applyAll(mirror, { LightCommand::programOn, LightCommand::previewOn });
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .. .. .. .. .."));
}

TEST(LightCommandMirrorTest, OffCommandsForLightZeroChangeNothing)
{
    LightCommandMirror mirror;
    applyAll(mirror, { 0xB2, 0xD7 });
    EXPECT_FALSE(mirror.apply(0x00));
    EXPECT_FALSE(mirror.apply(0x20));
    EXPECT_EQ(picture(mirror), QStringLiteral(".. P. .. .. .. .. .V .."));
}

TEST(LightCommandMirrorTest, LightsPastTheEighthAndUnknownCommandsChangeNothing)
{
    LightCommandMirror mirror;
    mirror.apply(0xB1);
    for (const quint8 byte : { 0xB9, 0xBF, 0xD9, 0x0F, 0x2A, 0xF0, 0xF1, 0x41, 0x91 }) {
        EXPECT_FALSE(mirror.apply(byte)) << int(byte);
    }
    EXPECT_EQ(picture(mirror), QStringLiteral("P. .. .. .. .. .. .. .."));
    EXPECT_EQ(mirror.lamps(8), Lamps {});
    EXPECT_EQ(mirror.lamps(-1), Lamps {});
}

TEST(LightCommandMirrorTest, ABytePuttingALampAsItAlreadyIsReportsNoChange)
{
    LightCommandMirror mirror;
    EXPECT_FALSE(mirror.apply(0x05));
    EXPECT_FALSE(mirror.apply(0xB0));
    EXPECT_TRUE(mirror.apply(0xB5));
    EXPECT_FALSE(mirror.apply(0xB5));
}

TEST(LightCommandMirrorTest, TheUpdateCyclesPairOfBytesGivesItsModeBack)
{
    for (const TallyMode mode : { TallyMode::live, TallyMode::preview, TallyMode::off }) {
        for (int lightNumber = 1; lightNumber <= 8; ++lightNumber) {
            LightCommandMirror mirror;
            applyAll(mirror, { 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8 });
            const LightCommand::BytePair pair = LightCommand::bytesForMode(mode, lightNumber);
            mirror.apply(pair.first);
            mirror.apply(pair.second);
            EXPECT_EQ(mirror.mode(lightNumber - 1), mode) << tallyModeName(mode).toStdString() << lightNumber;
        }
    }
}

TEST(LightCommandMirrorTest, TheChaseLightsEveryProgramLampThenEveryPreviewLampThenWalksOneLightAndEndsDark)
{
    const QStringList expected {
        QStringLiteral("P. P. P. P. P. P. P. P."),
        QStringLiteral(".. .. .. .. .. .. .. .."),
        QStringLiteral(".V .V .V .V .V .V .V .V"),
        QStringLiteral(".. .. .. .. .. .. .. .."),
        QStringLiteral("P. .. .. .. .. .. .. .."),
        QStringLiteral(".V .. .. .. .. .. .. .."),
        QStringLiteral(".. P. .. .. .. .. .. .."),
        QStringLiteral(".. .V .. .. .. .. .. .."),
        QStringLiteral(".. .. P. .. .. .. .. .."),
        QStringLiteral(".. .. .V .. .. .. .. .."),
        QStringLiteral(".. .. .. P. .. .. .. .."),
        QStringLiteral(".. .. .. .V .. .. .. .."),
        QStringLiteral(".. .. .. .. P. .. .. .."),
        QStringLiteral(".. .. .. .. .V .. .. .."),
        QStringLiteral(".. .. .. .. .. P. .. .."),
        QStringLiteral(".. .. .. .. .. .V .. .."),
        QStringLiteral(".. .. .. .. .. .. P. .."),
        QStringLiteral(".. .. .. .. .. .. .V .."),
        QStringLiteral(".. .. .. .. .. .. .. P."),
        QStringLiteral(".. .. .. .. .. .. .. .V"),
        QStringLiteral(".. .. .. .. .. .. .. .."),
    };
    const QList<QList<quint8>>& chase = LightCommand::testSequence();
    ASSERT_EQ(chase.size(), expected.size());
    LightCommandMirror mirror;
    // Whatever was lit before, the chase's first step starts from dark.
    applyAll(mirror, { 0xD3, 0xB6 });
    for (qsizetype step = 0; step < chase.size(); ++step) {
        applyAll(mirror, chase.at(step));
        EXPECT_EQ(picture(mirror), expected.at(step)) << "step " << step + 1;
    }
}

TEST(LightCommandMirrorTest, ResetDarkensEveryLamp)
{
    LightCommandMirror mirror;
    applyAll(mirror, { 0xB1, 0xD2 });
    mirror.reset();
    EXPECT_EQ(picture(mirror), QStringLiteral(".. .. .. .. .. .. .. .."));
}
