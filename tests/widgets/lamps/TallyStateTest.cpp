#include "lamps/TallyState.h"

#include "support/QtPrinters.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QImage>
#include <QPaintEvent>
#include <QScreen>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// Counts the paint events a widget receives and remembers the last region.
class PaintCounter : public QObject {
public:
    int paints = 0;
    QRegion lastRegion;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            ++paints;
            lastRegion = static_cast<QPaintEvent*>(event)->region();
        }
        return QObject::eventFilter(watched, event);
    }
};

bool isDark(const QColor& color)
{
    return color.red() < 100 && color.green() < 100 && color.blue() < 100;
}

bool isGray(const QColor& color)
{
    return color.red() == color.green() && color.green() == color.blue();
}

// Half of the one-pixel outline lies inside the view, so an edge pixel is
// the outline gray blended half and half with what lies below it.
QColor halfOutlineOver(const QColor& below)
{
    return QColor((below.red() + 0x80) / 2, (below.green() + 0x80) / 2, (below.blue() + 0x80) / 2);
}

bool near(const QColor& actual, const QColor& expected, int tolerance = 2)
{
    return std::abs(actual.red() - expected.red()) <= tolerance
        && std::abs(actual.green() - expected.green()) <= tolerance
        && std::abs(actual.blue() - expected.blue()) <= tolerance;
}

QString describe(const QColor& color)
{
    return QStringLiteral("rgb(%1, %2, %3)").arg(color.red()).arg(color.green()).arg(color.blue());
}

QRect darkPixelBounds(const QImage& image)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isDark(image.pixelColor(x, y))) {
                bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return bounds;
}

QImage render(TallyState::Mode mode, QSize size)
{
    TallyState view;
    view.resize(size);
    view.mode = mode;
    return view.grab().toImage();
}

} // namespace

TEST(TallyStateTest, NewViewIsOff)
{
    const TallyState view;
    EXPECT_EQ(view.mode, TallyState::Mode::off);
}

TEST(TallyStateTest, ModesAreStoredAsOneByteInDisplayOrder)
{
    EXPECT_EQ(sizeof(TallyState::Mode), 1u);
    EXPECT_EQ(static_cast<int>(TallyState::Mode::off), 0);
    EXPECT_EQ(static_cast<int>(TallyState::Mode::preview), 1);
    EXPECT_EQ(static_cast<int>(TallyState::Mode::live), 2);
}

TEST(TallyStateTest, EachModeHasItsLabelAndFill)
{
    EXPECT_EQ(TallyState::label(TallyState::Mode::off), QString());
    EXPECT_EQ(TallyState::label(TallyState::Mode::preview), QStringLiteral("PREVIEW"));
    EXPECT_EQ(TallyState::label(TallyState::Mode::live), QStringLiteral("LIVE"));
    EXPECT_EQ(TallyState::fillColor(TallyState::Mode::off).alpha(), 0);
    EXPECT_EQ(TallyState::fillColor(TallyState::Mode::preview), QColor(0x00, 0xFF, 0x00));
    EXPECT_EQ(TallyState::fillColor(TallyState::Mode::live), QColor(0xFF, 0x00, 0x00));
}

TEST(TallyStateTest, OffDrawsGrayRoundedOutlineWithoutFillOrText)
{
    TallyState view;
    view.resize(80, 24);
    const QColor background = view.palette().color(QPalette::Window);
    const QImage image = view.grab().toImage();

    // The rounded corners leave the background untouched outside the arc.
    for (const QPoint corner : { QPoint(0, 0), QPoint(79, 0), QPoint(0, 23), QPoint(79, 23) }) {
        EXPECT_EQ(image.pixelColor(corner), background) << "corner " << corner.x() << "," << corner.y();
    }
    // The straight stretches of all four sides carry the gray outline.
    for (const QPoint edge : { QPoint(40, 0), QPoint(40, 23), QPoint(0, 12), QPoint(79, 12) }) {
        const QColor pixel = image.pixelColor(edge);
        EXPECT_TRUE(isGray(pixel)) << describe(pixel).toStdString();
        EXPECT_TRUE(near(pixel, halfOutlineOver(background))) << describe(pixel).toStdString();
    }
    // Inside there is neither fill nor label.
    for (int y = 2; y < 22; ++y) {
        for (int x = 2; x < 78; ++x) {
            ASSERT_EQ(image.pixelColor(x, y), background) << "pixel " << x << "," << y;
        }
    }
}

TEST(TallyStateTest, PreviewFillsGreenWithDarkLabelNearBottomCentre)
{
    TallyState view;
    view.resize(100, 30);
    view.mode = TallyState::Mode::preview;
    const QImage image = view.grab().toImage();

    EXPECT_EQ(image.pixelColor(50, 3), QColor(0x00, 0xFF, 0x00));
    EXPECT_EQ(image.pixelColor(4, 15), QColor(0x00, 0xFF, 0x00));
    EXPECT_TRUE(near(image.pixelColor(50, 0), halfOutlineOver(QColor(0x00, 0xFF, 0x00))));

    const QRect ink = darkPixelBounds(image);
    ASSERT_FALSE(ink.isEmpty()) << "no label drawn";
    const QRectF box = view.labelRect();
    EXPECT_TRUE(box.adjusted(-1, -1, 1, 1).contains(QRectF(ink))) << "ink outside the label box";
    EXPECT_NEAR((ink.left() + ink.right() + 1) / 2.0, 50.0, 2.0) << "label not centred";
    // "PREVIEW" has no descenders: its ink ends on the baseline, the font's
    // descent above the label box, which sits 3 px above the bottom edge.
    const qreal baseline = 30 - 3 - QFontMetricsF(TallyState::labelFont()).descent();
    EXPECT_NEAR(ink.bottom() + 1, baseline, 1.0);
}

TEST(TallyStateTest, LiveFillsRedWithDarkLabelNearBottomCentre)
{
    TallyState view;
    view.resize(80, 24);
    view.mode = TallyState::Mode::live;
    const QImage image = view.grab().toImage();

    EXPECT_EQ(image.pixelColor(40, 3), QColor(0xFF, 0x00, 0x00));
    EXPECT_EQ(image.pixelColor(4, 12), QColor(0xFF, 0x00, 0x00));
    EXPECT_TRUE(near(image.pixelColor(0, 12), halfOutlineOver(QColor(0xFF, 0x00, 0x00))));

    const QRect ink = darkPixelBounds(image);
    ASSERT_FALSE(ink.isEmpty()) << "no label drawn";
    EXPECT_TRUE(view.labelRect().adjusted(-1, -1, 1, 1).contains(QRectF(ink)));
    EXPECT_NEAR((ink.left() + ink.right() + 1) / 2.0, 40.0, 2.0);
    EXPECT_GE(ink.top(), 24 / 3) << "label should sit in the lower part of the box";
}

TEST(TallyStateTest, LabelBoxSitsThreePixelsAboveBottomEdgeAndCentredAcross)
{
    TallyState view;
    view.resize(90, 40);
    view.mode = TallyState::Mode::live;
    const QRectF box = view.labelRect();
    const QFontMetricsF metrics(TallyState::labelFont());
    EXPECT_DOUBLE_EQ(box.bottom(), 40 - 3.0);
    EXPECT_DOUBLE_EQ(box.height(), metrics.height());
    EXPECT_DOUBLE_EQ(box.width(), metrics.horizontalAdvance(QStringLiteral("LIVE")));
    EXPECT_DOUBLE_EQ(box.x(), (90 - box.width()) * 0.5);
}

TEST(TallyStateTest, LabelUsesTwelvePixelSystemFont)
{
    EXPECT_EQ(TallyState::labelFont().pixelSize(), 12);
}

TEST(TallyStateTest, ChangingModeWithoutRedrawRequestLeavesOldPicture)
{
    TallyState view;
    view.resize(80, 24);
    view.mode = TallyState::Mode::preview;
    PaintCounter counter;
    view.installEventFilter(&counter);
    view.show();
    QApplication::processEvents();
    ASSERT_GE(counter.paints, 1);
    const int paintsBefore = counter.paints;
    auto onScreen = [&view] { return view.screen()->grabWindow(view.winId()).toImage().pixelColor(40, 4); };
    ASSERT_EQ(onScreen(), QColor(0x00, 0xFF, 0x00));

    view.mode = TallyState::Mode::live;
    QApplication::processEvents();
    EXPECT_EQ(counter.paints, paintsBefore) << "writing mode repainted the view";
    EXPECT_EQ(onScreen(), QColor(0x00, 0xFF, 0x00)) << "the old picture should still be on screen";

    view.setNeedsDisplayInRect(view.rect());
    QApplication::processEvents();
    EXPECT_EQ(counter.paints, paintsBefore + 1);
    EXPECT_EQ(onScreen(), QColor(0xFF, 0x00, 0x00));
}

TEST(TallyStateTest, SetNeedsDisplayInRectRepaintsThatRect)
{
    TallyState view;
    view.resize(80, 24);
    PaintCounter counter;
    view.installEventFilter(&counter);
    view.show();
    QApplication::processEvents();
    const int paintsBefore = counter.paints;

    const QRect part(10, 5, 20, 10);
    view.setNeedsDisplayInRect(part);
    QApplication::processEvents();
    EXPECT_EQ(counter.paints, paintsBefore + 1);
    EXPECT_TRUE(counter.lastRegion.contains(part));
}

TEST(TallyStateTest, NarrowViewClipsLabelAtBothSidesRatherThanShrinkingIt)
{
    const QSize narrow(16, 24);
    const QSize wide(96, 24); // 80 px wider: the label lands exactly 40 px further right.
    TallyState view;
    view.resize(narrow);
    view.mode = TallyState::Mode::preview;
    const qreal fullWidth = QFontMetricsF(TallyState::labelFont()).horizontalAdvance(QStringLiteral("PREVIEW"));
    EXPECT_LT(view.labelRect().x(), 0.0);
    EXPECT_DOUBLE_EQ(view.labelRect().width(), fullWidth);

    const QImage clipped = render(TallyState::Mode::preview, narrow);
    const QImage whole = render(TallyState::Mode::preview, wide);
    const int shift = (wide.width() - narrow.width()) / 2;
    // Away from the outline, the narrow view shows the middle slice of the
    // very same glyphs.
    int darkInSlice = 0;
    for (int y = 2; y < narrow.height() - 2; ++y) {
        for (int x = 2; x < narrow.width() - 2; ++x) {
            ASSERT_EQ(clipped.pixelColor(x, y), whole.pixelColor(x + shift, y)) << "pixel " << x << "," << y;
            darkInSlice += isDark(clipped.pixelColor(x, y)) ? 1 : 0;
        }
    }
    EXPECT_GT(darkInSlice, 0);
    // The whole label reaches past both sides of the narrow slice.
    const QRect wholeInk = darkPixelBounds(whole);
    EXPECT_LT(wholeInk.left(), shift);
    EXPECT_GT(wholeInk.right(), shift + narrow.width() - 1);
}

namespace {

TallyState* glanceableLamp(TallyState& view, QSize size, TallyState::Mode mode)
{
    view.glanceable = true;
    view.lightNumber = 7;
    view.shotNames = QStringLiteral("Camera 2");
    view.mode = mode;
    view.resize(size);
    return &view;
}

// Dark pixels inside a box of the image.
QRect darkPixelBoundsIn(const QImage& image, const QRect& box)
{
    QRect bounds;
    for (int y = box.top(); y <= box.bottom(); ++y) {
        for (int x = box.left(); x <= box.right(); ++x) {
            if (isDark(image.pixelColor(x, y))) {
                bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return bounds;
}

// Whether each pixel along the top edge of the frame is dark, away from the
// rounded corners.
QList<bool> darkAlongTheTopFrame(const QImage& image, const LampLabelLayout& layout)
{
    QList<bool> dark;
    const int y = static_cast<int>(layout.lampRect().top());
    for (int x = static_cast<int>(layout.lampRect().left() + 12); x < layout.lampRect().right() - 12; ++x) {
        dark.append(qGray(image.pixel(x, y)) < 60);
    }
    return dark;
}

} // namespace

TEST(TallyStateTest, LargeStylePaintsNumberShotsAndModeWordEachInsideItsOwnBox)
{
    TallyState view;
    glanceableLamp(view, QSize(200, 200), TallyState::Mode::live);
    const LampLabelLayout layout = view.glanceableLayout();
    ASSERT_EQ(layout.lines().size(), 3);
    const QImage image = view.grab().toImage();

    // Inside the frame every dark pixel is text, and lies in a line's box.
    const QRect text = layout.textRect().toAlignedRect().adjusted(1, 1, -1, -1);
    QRegion lines;
    for (const LampLabelLayout::Line& line : layout.lines()) {
        const QRect box = line.box.toAlignedRect();
        lines += box;
        EXPECT_FALSE(darkPixelBoundsIn(image, box.intersected(text)).isEmpty())
            << "nothing drawn for " << line.text.toStdString();
    }
    for (int y = text.top(); y <= text.bottom(); ++y) {
        for (int x = text.left(); x <= text.right(); ++x) {
            if (isDark(image.pixelColor(x, y))) {
                ASSERT_TRUE(lines.contains(QPoint(x, y))) << "ink outside the lines at " << x << "," << y;
            }
        }
    }
    EXPECT_EQ(image.pixelColor(text.left() + 2, text.top() + 2), QColor(0xFF, 0x00, 0x00));
}

TEST(TallyStateTest, LargeStyleNumberGrowsWithTheLamp)
{
    auto numberInkHeight = [](QSize size) {
        TallyState view;
        glanceableLamp(view, size, TallyState::Mode::preview);
        const QImage image = view.grab().toImage();
        const QRect box = view.glanceableLayout().line(LampLabelLayout::Role::number)->box.toAlignedRect();
        return darkPixelBoundsIn(image, box.intersected(view.glanceableLayout().textRect().toAlignedRect())).height();
    };
    const int small = numberInkHeight(QSize(104, LampLabelLayout::minimumLampHeight()));
    const int large = numberInkHeight(QSize(400, 300));
    EXPECT_GT(small, 4);
    EXPECT_GT(large, 2 * small);
}

TEST(TallyStateTest, LargeStyleTellsLiveFromPreviewByTheFrameNotOnlyByColour)
{
    const QSize size(104, LampLabelLayout::minimumLampHeight());
    TallyState live;
    TallyState preview;
    glanceableLamp(live, size, TallyState::Mode::live);
    glanceableLamp(preview, size, TallyState::Mode::preview);
    const QList<bool> liveEdge = darkAlongTheTopFrame(live.grab().toImage(), live.glanceableLayout());
    const QList<bool> previewEdge = darkAlongTheTopFrame(preview.grab().toImage(), preview.glanceableLayout());
    ASSERT_FALSE(liveEdge.isEmpty());
    EXPECT_EQ(liveEdge.count(false), 0) << "the live frame should be solid";
    EXPECT_GT(previewEdge.count(false), previewEdge.size() / 10) << "the preview frame should be dashed";
    EXPECT_GT(previewEdge.count(true), previewEdge.size() / 10) << "the preview frame should be drawn";
}

TEST(TallyStateTest, LargeStyleShowsAnUnlitLampsNumberAgainstALightOrADarkSurround)
{
    TallyState light;
    glanceableLamp(light, QSize(200, 200), TallyState::Mode::off);
    QPalette dark = light.palette();
    dark.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
    TallyState onDark;
    glanceableLamp(onDark, QSize(200, 200), TallyState::Mode::off);
    onDark.setPalette(dark);
    const QRect box = light.glanceableLayout().line(LampLabelLayout::Role::number)->box.toAlignedRect();
    for (TallyState* view : { &light, &onDark }) {
        const QImage image = view->grab().toImage();
        const int surround = qGray(image.pixel(box.left() + 2, box.top() + 2));
        int strongest = 0;
        for (int y = box.top(); y <= box.bottom(); ++y) {
            for (int x = box.left(); x <= box.right(); ++x) {
                strongest = std::max(strongest, std::abs(qGray(image.pixel(x, y)) - surround));
            }
        }
        EXPECT_GT(strongest, 100) << "the number hardly differs from its surround";
    }
}
