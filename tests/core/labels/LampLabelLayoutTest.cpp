#include "labels/LampLabelLayout.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

using Role = LampLabelLayout::Role;

QList<Role> roles(const LampLabelLayout& layout)
{
    QList<Role> shown;
    for (const LampLabelLayout::Line& line : layout.lines()) {
        shown.append(line.role);
    }
    return shown;
}

LampLabelLayout lamp(QSizeF size, TallyMode mode = TallyMode::live)
{
    return LampLabelLayout(size, 3, QStringLiteral("Camera 1, Wide Shot"), mode);
}

int pixelSize(const LampLabelLayout& layout, Role role)
{
    const std::optional<LampLabelLayout::Line> line = layout.line(role);
    return line ? line->pixelSize : 0;
}

const QList<QSizeF> sizes {
    { 38, 40 },
    { 104, 48 },
    { 104, 65 },
    { 160, 120 },
    { 300, 340 },
    { 1000, 200 },
    { 140, 900 },
};

} // namespace

TEST(LampLabelLayoutTest, ALargeLampShowsNumberShotsAndModeWordTopToBottom)
{
    const LampLabelLayout layout = lamp(QSizeF(300, 340));
    EXPECT_EQ(roles(layout), QList<Role>({ Role::number, Role::shots, Role::mode }));
    EXPECT_EQ(layout.line(Role::number)->text, QStringLiteral("3"));
    EXPECT_EQ(layout.line(Role::shots)->text, QStringLiteral("Camera 1, Wide Shot"));
    EXPECT_EQ(layout.line(Role::mode)->text, QStringLiteral("LIVE"));
    EXPECT_TRUE(layout.line(Role::number)->bold);
    EXPECT_FALSE(layout.line(Role::shots)->bold);
    EXPECT_TRUE(layout.line(Role::mode)->bold);
}

TEST(LampLabelLayoutTest, TextGrowsWithTheLamp)
{
    const LampLabelLayout small = lamp(QSizeF(160, 120));
    const LampLabelLayout large = lamp(QSizeF(480, 360));
    EXPECT_GT(pixelSize(large, Role::number), pixelSize(small, Role::number));
    EXPECT_GT(pixelSize(large, Role::mode), pixelSize(small, Role::mode));
    EXPECT_GT(large.labelPixelSize(), small.labelPixelSize());
    // The number is the largest text, at least twice the mode's word where
    // there is room for it.
    EXPECT_GE(pixelSize(large, Role::number), 2 * pixelSize(large, Role::mode));
    EXPECT_GT(pixelSize(large, Role::mode), pixelSize(large, Role::shots));
}

TEST(LampLabelLayoutTest, ATallLampGivesHalfItsSpareHeightToTheNumberUpToItsWidth)
{
    // A maximised window's lamps are tall bars: the number, read from
    // across the studio, takes the height the other lines leave.
    const LampLabelLayout bar = lamp(QSizeF(180, 700));
    const int word = pixelSize(bar, Role::mode);
    EXPECT_GT(pixelSize(bar, Role::number), 4 * word);
    EXPECT_LE(pixelSize(bar, Role::number), bar.textRect().width() * 1.1);
    // Half the spare height stays as air between the lines.
    qreal used = 0;
    for (const LampLabelLayout::Line& line : bar.lines()) {
        used += line.box.height();
    }
    EXPECT_GT(bar.textRect().height() - used, bar.textRect().height() / 4);
    // A lamp as tall but wider is not held back by its width.
    EXPECT_GT(pixelSize(lamp(QSizeF(400, 700)), Role::number), pixelSize(bar, Role::number));
}

TEST(LampLabelLayoutTest, AWideLowLampIsSizedByItsHeightAndATallNarrowOneByItsWidth)
{
    EXPECT_EQ(lamp(QSizeF(1000, 200)).labelPixelSize(), lamp(QSizeF(2000, 200)).labelPixelSize());
    EXPECT_LT(lamp(QSizeF(1000, 200)).labelPixelSize(), lamp(QSizeF(1000, 400)).labelPixelSize());
    EXPECT_EQ(lamp(QSizeF(200, 1000)).labelPixelSize(), lamp(QSizeF(200, 2000)).labelPixelSize());
    EXPECT_LT(lamp(QSizeF(200, 1000)).labelPixelSize(), lamp(QSizeF(400, 1000)).labelPixelSize());
}

TEST(LampLabelLayoutTest, LinesStackWithoutOverlapInsideTheFrameAtEverySize)
{
    for (const QSizeF size : sizes) {
        const LampLabelLayout layout = lamp(size);
        ASSERT_FALSE(layout.lines().isEmpty()) << size.width() << "x" << size.height();
        qreal previousBottom = layout.textRect().top();
        for (const LampLabelLayout::Line& line : layout.lines()) {
            EXPECT_GE(line.box.top(), previousBottom) << size.width() << "x" << size.height();
            EXPECT_TRUE(layout.textRect().contains(line.box)) << size.width() << "x" << size.height();
            previousBottom = line.box.bottom();
        }
    }
}

TEST(LampLabelLayoutTest, TheTextKeepsClearOfTheThickestFrameInsideTheWidget)
{
    const LampLabelLayout layout = lamp(QSizeF(300, 340));
    const QRectF widget(0, 0, 300, 340);
    EXPECT_TRUE(widget.contains(layout.lampRect()));
    EXPECT_NE(layout.lampRect(), widget) << "a thick frame would be cut at the widget's edge";
    const qreal frame = layout.frameWidth();
    EXPECT_EQ(layout.textRect(), layout.lampRect().adjusted(frame, frame, -frame, -frame));
}

TEST(LampLabelLayoutTest, LinesStayInPlaceWhateverTheMode)
{
    for (const QSizeF size : sizes) {
        const LampLabelLayout live = lamp(size, TallyMode::live);
        for (const TallyMode mode : { TallyMode::preview, TallyMode::off }) {
            const LampLabelLayout other = lamp(size, mode);
            ASSERT_EQ(roles(other), roles(live));
            for (qsizetype index = 0; index < live.lines().size(); ++index) {
                EXPECT_EQ(other.lines()[index].box, live.lines()[index].box);
                EXPECT_EQ(other.lines()[index].pixelSize, live.lines()[index].pixelSize);
            }
        }
    }
}

TEST(LampLabelLayoutTest, TheModesWordIsLivePreviewOrNothing)
{
    const QSizeF size(300, 340);
    EXPECT_EQ(lamp(size, TallyMode::live).line(Role::mode)->text, QStringLiteral("LIVE"));
    EXPECT_EQ(lamp(size, TallyMode::preview).line(Role::mode)->text, QStringLiteral("PREVIEW"));
    EXPECT_EQ(lamp(size, TallyMode::off).line(Role::mode)->text, QString());
}

TEST(LampLabelLayoutTest, NoNumberForALampThatIsNotANumberedLight)
{
    const LampLabelLayout layout(QSizeF(300, 340), 0, QString(), TallyMode::preview);
    ASSERT_TRUE(layout.line(Role::number));
    EXPECT_EQ(layout.line(Role::number)->text, QString());
    EXPECT_EQ(layout.line(Role::shots)->text, QString());
}

TEST(LampLabelLayoutTest, ALowLampDropsTheModeWordFirstAndKeepsNumberAndShots)
{
    const LampLabelLayout layout = lamp(QSizeF(104, 66));
    EXPECT_EQ(roles(layout), QList<Role>({ Role::number, Role::shots }));
    EXPECT_GE(pixelSize(layout, Role::number), LampLabelLayout::minimumAddedPixelSize);
    EXPECT_GE(pixelSize(layout, Role::shots), LampLabelLayout::minimumAddedPixelSize);
}

TEST(LampLabelLayoutTest, ALampTooLowForNumberAndShotsAtTheirSmallestShowsTheNumberAlone)
{
    // The small style's own height: with large labels a window gives its
    // lamps more, but a lamp this low must not squeeze the shots small.
    const LampLabelLayout layout = lamp(QSizeF(104, 48));
    EXPECT_EQ(roles(layout), QList<Role>({ Role::number }));
    EXPECT_GE(pixelSize(layout, Role::number), LampLabelLayout::minimumAddedPixelSize);
}

TEST(LampLabelLayoutTest, NumberAndShotsAreAtLeastEighteenPixelsWhereverTheyShareTheLamp)
{
    QList<QSizeF> all = sizes;
    for (int height = 60; height <= 200; height += 3) {
        all.append(QSizeF(104, height));
        all.append(QSizeF(130, height));
    }
    for (const QSizeF size : all) {
        const LampLabelLayout layout = lamp(size);
        if (layout.lines().size() < 2) {
            continue;
        }
        EXPECT_GE(pixelSize(layout, Role::number), 18) << size.width() << "x" << size.height();
        EXPECT_GE(pixelSize(layout, Role::shots), 18) << size.width() << "x" << size.height();
        if (layout.line(Role::mode)) {
            EXPECT_GE(pixelSize(layout, Role::mode), LampLabelLayout::minimumPixelSize)
                << size.width() << "x" << size.height();
        }
    }
}

TEST(LampLabelLayoutTest, ALampAWindowWidensAtItsNaturalHeightKeepsTheNumberTwiceTheModesWord)
{
    // Wider lamps scale their text up with the width until the height runs
    // out: the text takes the largest scale at which all three lines still
    // fit in proportion, rather than squeezing the number.
    const int height = LampLabelLayout::naturalLampHeight();
    for (int width = 104; width <= 400; width += 8) {
        const LampLabelLayout layout = lamp(QSizeF(width, height));
        ASSERT_EQ(roles(layout), QList<Role>({ Role::number, Role::shots, Role::mode })) << width;
        EXPECT_GE(pixelSize(layout, Role::number), 2 * pixelSize(layout, Role::mode)) << width;
        EXPECT_GE(pixelSize(layout, Role::shots), LampLabelLayout::minimumAddedPixelSize) << width;
    }
}

TEST(LampLabelLayoutTest, ALampTheSizeOfACheckBoxShowsOnlyItsNumber)
{
    const LampLabelLayout layout = lamp(QSizeF(38, 40));
    EXPECT_EQ(roles(layout), QList<Role>({ Role::number }));
    EXPECT_GT(pixelSize(layout, Role::number), 0);
}

TEST(LampLabelLayoutTest, TheMinimumLampHeightHoldsAllThreeLinesAndOnePixelLessDoesNot)
{
    const int height = LampLabelLayout::minimumLampHeight();
    const LampLabelLayout enough = lamp(QSizeF(104, height));
    EXPECT_EQ(roles(enough), QList<Role>({ Role::number, Role::shots, Role::mode }));
    EXPECT_GE(pixelSize(enough, Role::number), LampLabelLayout::minimumAddedPixelSize);
    EXPECT_GE(pixelSize(enough, Role::shots), LampLabelLayout::minimumAddedPixelSize);
    EXPECT_GE(pixelSize(enough, Role::mode), LampLabelLayout::minimumPixelSize);
    EXPECT_EQ(roles(lamp(QSizeF(104, height - 1))), QList<Role>({ Role::number, Role::shots }));
}

TEST(LampLabelLayoutTest, AtItsNaturalHeightALampShowsTheNumberTwiceTheSizeOfTheModesWord)
{
    const int height = LampLabelLayout::naturalLampHeight();
    EXPECT_GT(height, LampLabelLayout::minimumLampHeight());
    const LampLabelLayout natural = lamp(QSizeF(104, height));
    ASSERT_EQ(roles(natural), QList<Role>({ Role::number, Role::shots, Role::mode }));
    EXPECT_EQ(pixelSize(natural, Role::mode), LampLabelLayout::minimumPixelSize);
    EXPECT_EQ(pixelSize(natural, Role::number), 2 * LampLabelLayout::minimumPixelSize);
    EXPECT_EQ(pixelSize(natural, Role::shots), LampLabelLayout::minimumAddedPixelSize);
    // A pixel less and the number gives up some of its size first.
    const LampLabelLayout lower = lamp(QSizeF(104, height - 1));
    EXPECT_EQ(roles(lower), QList<Role>({ Role::number, Role::shots, Role::mode }));
    EXPECT_LT(pixelSize(lower, Role::number), 2 * LampLabelLayout::minimumPixelSize);
    EXPECT_GT(pixelSize(lower, Role::number), pixelSize(lower, Role::mode));
}

TEST(LampLabelLayoutTest, TheShotsTakeASecondLineOnlyWhereThereIsRoom)
{
    EXPECT_EQ(lamp(QSizeF(300, 340)).line(Role::shots)->maximumLines, 2);
    EXPECT_EQ(lamp(QSizeF(104, LampLabelLayout::minimumLampHeight())).line(Role::shots)->maximumLines, 1);
}

TEST(LampLabelLayoutTest, LiveHasAThickSolidFramePreviewADashedOneAndOffTheThinOutline)
{
    const QSizeF size(300, 340);
    EXPECT_EQ(lamp(size, TallyMode::live).frameStyle(), Qt::SolidLine);
    EXPECT_EQ(lamp(size, TallyMode::preview).frameStyle(), Qt::DashLine);
    EXPECT_EQ(lamp(size, TallyMode::off).frameStyle(), Qt::SolidLine);
    EXPECT_GE(lamp(size, TallyMode::live).frameWidth(), 4.0);
    EXPECT_GE(lamp(size, TallyMode::preview).frameWidth(), 3.0);
    EXPECT_EQ(lamp(size, TallyMode::off).frameWidth(), 1.0);
    // The frame thickens with the lamp, so that it stays visible from as
    // far as the text.
    EXPECT_GT(lamp(QSizeF(600, 680), TallyMode::live).frameWidth(), lamp(size, TallyMode::live).frameWidth());
}

TEST(LampLabelLayoutTest, ALampWithNoRoomShowsNoText)
{
    EXPECT_TRUE(lamp(QSizeF(0, 0)).lines().isEmpty());
    EXPECT_TRUE(lamp(QSizeF(20, 12)).lines().isEmpty());
}
