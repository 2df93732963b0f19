#include "dmx/DmxLayout.h"

#include <gtest/gtest.h>

namespace {

TallySnapshot snapshotOf(const QList<TallyMode>& modes)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    for (const TallyMode mode : modes) {
        snapshot.lights.append(LightState(mode, { QStringLiteral("Camera") }));
    }
    return snapshot;
}

DmxLayout layout(DmxLayout::Kind kind, int start, int lights = 8)
{
    QString problem;
    const std::optional<DmxLayout> made = DmxLayout::make(kind, start, lights, &problem);
    EXPECT_TRUE(made.has_value()) << problem.toStdString();
    return *made;
}

TEST(DmxLayoutTest, KindsAreNamedRgbAndSingle)
{
    EXPECT_EQ(DmxLayout::kindNamed(QStringLiteral("rgb")), DmxLayout::Kind::rgb);
    EXPECT_EQ(DmxLayout::kindNamed(QStringLiteral("single")), DmxLayout::Kind::single);
    EXPECT_FALSE(DmxLayout::kindNamed(QStringLiteral("RGBW")).has_value());
    EXPECT_EQ(DmxLayout::kindNames(), (QStringList { QStringLiteral("rgb"), QStringLiteral("single") }));
}

TEST(DmxLayoutTest, RgbGivesEachLightThreeChannelsFromTheStart)
{
    const DmxLayout rgb = layout(DmxLayout::Kind::rgb, 10);
    const QByteArray levels
        = rgb.universe(snapshotOf({ TallyMode::live, TallyMode::preview, TallyMode::off, TallyMode::live }));
    ASSERT_EQ(levels.size(), 512);
    QByteArray expected(512, char(0));
    // Channel 10 is index 9.
    expected[9] = char(255);
    expected[13] = char(255);
    expected[18] = char(255);
    EXPECT_EQ(levels, expected);
}

TEST(DmxLayoutTest, SingleGivesEachLightOneChannel)
{
    const DmxLayout single = layout(DmxLayout::Kind::single, 1);
    const QByteArray levels = single.universe(snapshotOf({ TallyMode::preview, TallyMode::live, TallyMode::off }));
    ASSERT_EQ(levels.size(), 512);
    EXPECT_EQ(quint8(levels[0]), 128);
    EXPECT_EQ(quint8(levels[1]), 255);
    EXPECT_EQ(quint8(levels[2]), 0);
    EXPECT_EQ(levels.mid(3), QByteArray(509, char(0)));
}

TEST(DmxLayoutTest, LevelsOfEachMode)
{
    const DmxLayout rgb = layout(DmxLayout::Kind::rgb, 1);
    EXPECT_EQ(rgb.levelsOf(TallyMode::live), QByteArray("\xff\x00\x00", 3));
    EXPECT_EQ(rgb.levelsOf(TallyMode::preview), QByteArray("\x00\xff\x00", 3));
    EXPECT_EQ(rgb.levelsOf(TallyMode::off), QByteArray(3, char(0)));
    const DmxLayout single = layout(DmxLayout::Kind::single, 1);
    EXPECT_EQ(single.levelsOf(TallyMode::live), QByteArray(1, char(255)));
    EXPECT_EQ(single.levelsOf(TallyMode::preview), QByteArray(1, char(128)));
    EXPECT_EQ(single.levelsOf(TallyMode::off), QByteArray(1, char(0)));
}

TEST(DmxLayoutTest, TheLastLightMayEndOnChannel512)
{
    const DmxLayout rgb = layout(DmxLayout::Kind::rgb, 489);
    QList<TallyMode> modes(8, TallyMode::off);
    modes[7] = TallyMode::preview;
    const QByteArray levels = rgb.universe(snapshotOf(modes));
    EXPECT_EQ(levels.right(3), QByteArray("\x00\xff\x00", 3));
    EXPECT_EQ(levels.left(509), QByteArray(509, char(0)));
    EXPECT_EQ(DmxLayout::lastStartChannel(DmxLayout::Kind::single, 8), 505);
}

TEST(DmxLayoutTest, LightsBeyondTheLayoutAreNotWrittenPastIt)
{
    const DmxLayout single = layout(DmxLayout::Kind::single, 1, 2);
    const QByteArray levels = single.universe(snapshotOf({ TallyMode::live, TallyMode::live, TallyMode::live }));
    EXPECT_EQ(quint8(levels[1]), 255);
    EXPECT_EQ(quint8(levels[2]), 0);
}

TEST(DmxLayoutTest, ALayoutThatDoesNotFitIsRefused)
{
    QString problem;
    EXPECT_FALSE(DmxLayout::make(DmxLayout::Kind::rgb, 490, 8, &problem).has_value());
    EXPECT_EQ(problem,
        QStringLiteral("the 8 lights take 24 channels in the rgb layout, so the first channel must be between 1 and "
                       "489, not 490"));
    EXPECT_FALSE(DmxLayout::make(DmxLayout::Kind::single, 0, 8, &problem).has_value());
    EXPECT_EQ(problem,
        QStringLiteral("the 8 lights take 8 channels in the single layout, so the first channel must be between 1 "
                       "and 505, not 0"));
    EXPECT_TRUE(DmxLayout::make(DmxLayout::Kind::single, 505, 8, &problem).has_value());
}

} // namespace
