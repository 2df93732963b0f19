// View > Large Lamp Labels: the main window's lamps with their number and
// shots inside, text sized by the lamp, and a frame that tells live from
// preview besides the colour. Off by default, when the lamps keep their
// small LIVE / PREVIEW label.

#include "mainwindow/LampRow.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QFontInfo>
#include <QImage>
#include <QLabel>

namespace {

class LargeLampLabelsTest : public MainWindowFixture {
protected:
    void showLiveAndPreview()
    {
        makeWindowWithLiveAndPreview();
        main.window->show();
        tick();
        QApplication::processEvents();
    }

    TallyState* lamp(int lightNumber) const { return controller->tallyStateDisplays().at(lightNumber - 1); }

    // Dark pixels of the lamp's picture inside a box, away from the frame.
    // Lit lamps have black text (red itself is a gray of 87); an unlit one
    // dark gray text on the window's light gray.
    static int inkIn(const TallyState& lamp, const QImage& image, const QRectF& box)
    {
        const int darkest = lamp.mode == TallyMode::off ? 120 : 80;
        const QRect inside = box.toAlignedRect().intersected(lamp.glanceableLayout().textRect().toAlignedRect());
        int ink = 0;
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            for (int x = inside.left(); x <= inside.right(); ++x) {
                ink += qGray(image.pixel(x, y)) < darkest ? 1 : 0;
            }
        }
        return ink;
    }

    static int inkHeightIn(const TallyState& lamp, const QImage& image, const QRectF& box)
    {
        const QRect inside = box.toAlignedRect().intersected(lamp.glanceableLayout().textRect().toAlignedRect());
        int top = -1;
        int bottom = -1;
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            for (int x = inside.left(); x <= inside.right(); ++x) {
                if (qGray(image.pixel(x, y)) < 80) {
                    top = top < 0 ? y : top;
                    bottom = y;
                }
            }
        }
        return top < 0 ? 0 : bottom - top + 1;
    }

    static QRectF box(const TallyState& lamp, LampLabelLayout::Role role)
    {
        const std::optional<LampLabelLayout::Line> line = lamp.glanceableLayout().line(role);
        return line ? line->box : QRectF();
    }

    void chooseLargeLampLabels(bool on)
    {
        if (main.menu->largeLampLabelsAction()->isChecked() != on) {
            main.menu->largeLampLabelsAction()->trigger();
        }
        QApplication::processEvents();
    }
};

} // namespace

TEST_F(LargeLampLabelsTest, OffByDefaultTheLampsKeepTheirSmallLabelAtTheFoot)
{
    showLiveAndPreview();
    QAction* item = main.menu->largeLampLabelsAction();
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(main.menu->viewMenu()->actions().contains(item));
    EXPECT_TRUE(item->isCheckable());
    EXPECT_FALSE(item->isChecked());
    EXPECT_FALSE(controller->lampRow().showsLargeLampLabels());
    for (const QPointer<TallyState>& display : controller->tallyStateDisplays()) {
        EXPECT_FALSE(display->glanceable);
        EXPECT_EQ(display->minimumHeight(), 48);
    }
    // The lamp's LIVE / PREVIEW keeps its 12 pixels; the light numbers the
    // window adds over the lamps read from further away.
    EXPECT_EQ(TallyState::labelFont().pixelSize(), 12);
    for (int light = 1; light <= 8; ++light) {
        QLabel* number = controller->findChild<QLabel*>(QStringLiteral("lightNumber%1").arg(light));
        ASSERT_NE(number, nullptr) << light;
        number->ensurePolished();
        EXPECT_EQ(number->text(), QString::number(light));
        EXPECT_GE(QFontInfo(number->font()).pixelSize(), 18) << "light " << light;
    }
    // All the ink of the live lamp is its small label, over the bottom edge.
    const QImage image = lamp(1)->grab().toImage();
    const QRectF label = lamp(1)->labelRect().adjusted(-1, -1, 1, 1);
    for (int y = 2; y < image.height() - 2; ++y) {
        for (int x = 2; x < image.width() - 2; ++x) {
            if (qGray(image.pixel(x, y)) < 80) {
                ASSERT_TRUE(label.contains(QPointF(x, y))) << "ink outside the small label at " << x << "," << y;
            }
        }
    }
}

TEST_F(LargeLampLabelsTest, ChoosingThemPutsEachLightsNumberAndShotsInsideItsLamp)
{
    showLiveAndPreview();
    chooseLargeLampLabels(true);
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::largeLampLabels));
    EXPECT_TRUE(controller->lampRow().showsLargeLampLabels());
    for (int light = 1; light <= 8; ++light) {
        EXPECT_TRUE(lamp(light)->glanceable);
        EXPECT_EQ(lamp(light)->lightNumber, light);
        // Tall enough for the number, the shots and the mode's word, the
        // number twice the size of the word.
        EXPECT_GE(lamp(light)->height(), LampLabelLayout::naturalLampHeight());
        EXPECT_EQ(lamp(light)->glanceableLayout().lines().size(), 3) << "light " << light;
        const LampLabelLayout layout = lamp(light)->glanceableLayout();
        EXPECT_GE(layout.line(LampLabelLayout::Role::number)->pixelSize,
            2 * layout.line(LampLabelLayout::Role::mode)->pixelSize);
        // The number and the shots, which only this style shows, read from
        // a distance; the mode's word is at least the small label's size.
        EXPECT_GE(layout.line(LampLabelLayout::Role::number)->pixelSize, 18) << "light " << light;
        EXPECT_GE(layout.line(LampLabelLayout::Role::shots)->pixelSize, 18) << "light " << light;
        EXPECT_GE(layout.line(LampLabelLayout::Role::mode)->pixelSize, TallyState::labelFont().pixelSize());
    }
    EXPECT_EQ(lamp(1)->shotNames, QStringLiteral("Camera 1"));
    EXPECT_EQ(lamp(2)->shotNames, QStringLiteral("Camera 2"));
    // The numbers over the lamps would only repeat them.
    const QWidget* numberAbove = controller->findChild<QWidget*>(QStringLiteral("lightNumber1"));
    ASSERT_NE(numberAbove, nullptr);
    EXPECT_FALSE(numberAbove->isVisible());

    const QImage live = lamp(1)->grab().toImage();
    EXPECT_GT(inkIn(*lamp(1), live, box(*lamp(1), LampLabelLayout::Role::number)), 5);
    EXPECT_GT(inkIn(*lamp(1), live, box(*lamp(1), LampLabelLayout::Role::shots)), 20);
    EXPECT_GT(inkIn(*lamp(1), live, box(*lamp(1), LampLabelLayout::Role::mode)), 20);
    // The lamp keeps its red or green fill under the text.
    const QPoint inside = lamp(1)->glanceableLayout().textRect().topLeft().toPoint() + QPoint(1, 1);
    EXPECT_EQ(live.pixelColor(inside), QColor(0xFF, 0x00, 0x00));
    EXPECT_EQ(lamp(2)->grab().toImage().pixelColor(inside), QColor(0x00, 0xFF, 0x00));
    // An unassigned, unlit light still shows its number.
    const QImage unlit = lamp(5)->grab().toImage();
    EXPECT_GT(inkIn(*lamp(5), unlit, box(*lamp(5), LampLabelLayout::Role::number)), 5);
    EXPECT_EQ(inkIn(*lamp(5), unlit, box(*lamp(5), LampLabelLayout::Role::shots)), 0);
}

TEST_F(LargeLampLabelsTest, TheyTellLiveFromPreviewByTheFrameNotOnlyByColour)
{
    showLiveAndPreview();
    chooseLargeLampLabels(true);
    auto topFrame = [](TallyState& display) {
        const QImage image = display.grab().toImage();
        const QRectF lampRect = display.glanceableLayout().lampRect();
        QList<bool> dark;
        for (int x = static_cast<int>(lampRect.left()) + 12; x < lampRect.right() - 12; ++x) {
            dark.append(qGray(image.pixel(x, static_cast<int>(lampRect.top()))) < 60);
        }
        return dark;
    };
    const QList<bool> live = topFrame(*lamp(1));
    const QList<bool> preview = topFrame(*lamp(2));
    ASSERT_FALSE(live.isEmpty());
    EXPECT_EQ(live.count(false), 0);
    EXPECT_GT(preview.count(false), preview.size() / 10);
    EXPECT_GT(preview.count(true), preview.size() / 10);
}

TEST_F(LargeLampLabelsTest, TheTextGrowsWithTheWindow)
{
    showLiveAndPreview();
    chooseLargeLampLabels(true);
    const int smallNumber = lamp(1)->glanceableLayout().line(LampLabelLayout::Role::number)->pixelSize;
    const int smallInk = inkHeightIn(*lamp(1), lamp(1)->grab().toImage(), box(*lamp(1), LampLabelLayout::Role::number));

    main.window->resize(1600, 900);
    QApplication::processEvents();

    const int largeNumber = lamp(1)->glanceableLayout().line(LampLabelLayout::Role::number)->pixelSize;
    const int largeInk = inkHeightIn(*lamp(1), lamp(1)->grab().toImage(), box(*lamp(1), LampLabelLayout::Role::number));
    EXPECT_GT(largeNumber, smallNumber);
    EXPECT_GT(largeInk, smallInk + 4);
}

TEST_F(LargeLampLabelsTest, AnAssignmentShowsInTheLampAtOnceWithoutATick)
{
    showLiveAndPreview();
    chooseLargeLampLabels(true);
    controller->document().tallyMap().setShotSelection(4, { record("Wide Shot"), record("Camera 1") });
    controller->refreshAssignmentTitles();
    EXPECT_EQ(lamp(5)->shotNames, QStringLiteral("Wide Shot, Camera 1"));
    QApplication::processEvents();
    const QImage image = lamp(5)->grab().toImage();
    EXPECT_GT(inkIn(*lamp(5), image, box(*lamp(5), LampLabelLayout::Role::shots)), 20);
}

TEST_F(LargeLampLabelsTest, TurningThemOffBringsBackTheSmallLampsAtTheirOwnHeight)
{
    showLiveAndPreview();
    chooseLargeLampLabels(true);
    chooseLargeLampLabels(false);
    EXPECT_FALSE(UserDefaults::standardUserDefaults().boolForKey(Preferences::largeLampLabels));
    for (const QPointer<TallyState>& display : controller->tallyStateDisplays()) {
        EXPECT_FALSE(display->glanceable);
        EXPECT_EQ(display->minimumHeight(), 48);
    }
    EXPECT_TRUE(controller->findChild<QWidget*>(QStringLiteral("lightNumber1"))->isVisible());
    const QImage image = lamp(1)->grab().toImage();
    const QRect label = lamp(1)->labelRect().toAlignedRect();
    EXPECT_GT(inkIn(*lamp(1), image, QRectF(label)), 0) << "the small LIVE label is gone";
}

TEST_F(LargeLampLabelsTest, TheChoiceIsRememberedForTheNextWindow)
{
    showLiveAndPreview();
    chooseLargeLampLabels(true);
    main.window.reset();
    makeWindow();
    EXPECT_TRUE(main.menu->largeLampLabelsAction()->isChecked());
    EXPECT_TRUE(controller->lampRow().showsLargeLampLabels());
    EXPECT_TRUE(controller->tallyStateDisplays()[0]->glanceable);
    EXPECT_GE(controller->tallyStateDisplays()[0]->minimumHeight(), LampLabelLayout::naturalLampHeight());
}
