// View > Big Tally: the lights full screen, large, following the window's
// indicators, with a mark besides colour for live and preview.

#include "lamps/BigTallyView.h"

#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QTest>

namespace {

class BigTallyViewTest : public MainWindowFixture {
protected:
    void showLiveAndPreview()
    {
        makeWindowWithLiveAndPreview();
        main.window->show();
        tick();
    }
};

} // namespace

TEST_F(BigTallyViewTest, F11OpensEightLargeLampsShowingTheLightsAsTheyAre)
{
    showLiveAndPreview();
    ASSERT_EQ(main.menu->bigTallyAction()->shortcut(), QKeySequence(Qt::Key_F11));
    main.menu->bigTallyAction()->trigger();
    BigTallyView* view = main.menu->bigTallyView();
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(view->isFullScreen());
    ASSERT_EQ(view->lamps().size(), 8);
    EXPECT_EQ(view->lamps()[0]->mode, TallyMode::live);
    EXPECT_EQ(view->lamps()[0]->shotNames, QStringLiteral("Camera 1"));
    EXPECT_EQ(view->lamps()[0]->lightNumber, 1);
    EXPECT_EQ(view->lamps()[1]->mode, TallyMode::preview);
    EXPECT_TRUE(view->lamps()[0]->glanceable);
}

TEST_F(BigTallyViewTest, TheLampsFollowTheNextTick)
{
    showLiveAndPreview();
    main.menu->bigTallyAction()->trigger();
    answer({ { "1", "Camera 1", false, true }, { "2", "Camera 2", true, false } });
    tick();
    EXPECT_EQ(main.menu->bigTallyView()->lamps()[0]->mode, TallyMode::preview);
    EXPECT_EQ(main.menu->bigTallyView()->lamps()[1]->mode, TallyMode::live);
}

TEST_F(BigTallyViewTest, AShotTheSwitcherNoLongerHasIsNamedOverItsLampWhileTheWindowsLampsStayAsTheyAre)
{
    showLiveAndPreview();
    main.menu->bigTallyAction()->trigger();
    BigTallyView* view = main.menu->bigTallyView();
    ASSERT_NE(view, nullptr);
    answer({ { "1", "Camera 1", true, false } });
    tick();
    EXPECT_EQ(view->lamps()[1]->mark, LampMark::missing);
    EXPECT_EQ(view->lamps()[1]->markText(), QStringLiteral("MISSING Camera 2"));
    EXPECT_EQ(view->lamps()[0]->mark, LampMark::none);
    EXPECT_EQ(controller->tallyStateDisplays()[1]->mark, LampMark::none);
    // Back in the switcher, the mark goes.
    answer({ { "1", "Camera 1", true, false }, { "2", "Camera 2", false, true } });
    tick();
    EXPECT_EQ(view->lamps()[1]->mark, LampMark::none);
    EXPECT_EQ(view->lamps()[1]->mode, TallyMode::preview);
}

TEST_F(BigTallyViewTest, EscapeLeavesAndUnticksTheMenuItem)
{
    showLiveAndPreview();
    main.menu->bigTallyAction()->trigger();
    QTest::keyClick(main.menu->bigTallyView(), Qt::Key_Escape);
    QApplication::processEvents();
    EXPECT_FALSE(main.menu->bigTallyAction()->isChecked());
}

TEST_F(BigTallyViewTest, LiveAndPreviewDifferInTheirFrameNotOnlyInColour)
{
    showLiveAndPreview();
    main.menu->bigTallyAction()->trigger();
    BigTallyView* view = main.menu->bigTallyView();
    view->resize(1280, 720);
    QApplication::processEvents();
    // Drawn in gray, the two lamps must still differ: the live frame is
    // solid along its top edge, the preview frame is dashed. The frame is
    // light on the view's dark surround, so that it shows there.
    auto frameRow = [](const QImage& image) {
        QList<bool> bright;
        for (int x = 20; x < image.width() - 20; ++x) {
            bright.append(qGray(image.pixel(x, 3)) > 200);
        }
        return bright;
    };
    const QImage live = view->lamps()[0]->grab().toImage();
    const QImage preview = view->lamps()[1]->grab().toImage();
    const QList<bool> liveRow = frameRow(live);
    const QList<bool> previewRow = frameRow(preview);
    EXPECT_EQ(liveRow.count(false), 0);
    EXPECT_GT(previewRow.count(false), previewRow.size() / 10);
    EXPECT_GE(view->lamps()[0]->glanceableLabelPixelSize(), 18);

    const QString folder = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(view->grab().save(folder + QStringLiteral("/big-tally.png")));
}

TEST_F(BigTallyViewTest, TheFramesStandOutFromTheDarkSurround)
{
    showLiveAndPreview();
    main.menu->bigTallyAction()->trigger();
    BigTallyView* view = main.menu->bigTallyView();
    view->resize(1280, 720);
    QApplication::processEvents();
    const QColor surround = view->palette().color(QPalette::Window);
    for (int lightIndex : { 0, 1 }) {
        const QImage lamp = view->lamps()[lightIndex]->grab().toImage();
        // The frame's outer half, outside the lamp's fill: on the surround.
        const QColor frame = lamp.pixelColor(lamp.width() / 2, 1);
        EXPECT_GT(std::abs(qGray(frame.rgb()) - qGray(surround.rgb())), 150)
            << "light " << lightIndex + 1 << ": frame " << frame.name().toStdString() << " on "
            << surround.name().toStdString();
    }
    EXPECT_EQ(view->lamps()[0]->glanceableFrameColor(), QColor(Qt::white));
    // On the window's light surround the large labels keep a black frame.
    main.menu->largeLampLabelsAction()->trigger();
    EXPECT_EQ(controller->tallyStateDisplays()[0]->glanceableFrameColor(), QColor(Qt::black));
}

TEST_F(BigTallyViewTest, ALitLightWithSeveralShotsNamesTheOneThatLightsIt)
{
    // Light 3 has Camera 1 (live) and Wide Shot; light 4 Wide Shot alone.
    makeWindowWithAStudio();
    main.window->show();
    tick();
    main.menu->bigTallyAction()->trigger();
    tick();
    BigTallyView* view = main.menu->bigTallyView();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->lamps()[2]->mode, TallyMode::live);
    EXPECT_EQ(view->lamps()[2]->shotNames, QStringLiteral("Camera 1"));
    EXPECT_EQ(view->lamps()[3]->shotNames, QStringLiteral("Wide Shot"));
    // The window's lamps say it in their tooltip, their size untouched.
    const TallyState* lamp = controller->tallyStateDisplays()[2];
    const QSize before = lamp->size();
    EXPECT_EQ(lamp->toolTip(), QStringLiteral("Light 3 live: Camera 1 (its shots: Camera 1, Wide Shot)"));
    EXPECT_EQ(
        controller->tallyStateDisplays()[0]->toolTip(), QStringLiteral("Light 1 live: Camera 1 (its shots: Camera 1)"));
    EXPECT_EQ(controller->tallyStateDisplays()[3]->toolTip(), QStringLiteral("Light 4: Wide Shot"));

    // The cut: Wide Shot goes live and light 3 names it instead.
    answer({ { "1", "Camera 1", false, true }, { "2", "Camera 2", false, false }, { "3", "Wide Shot", true, false } });
    tick();
    EXPECT_EQ(view->lamps()[2]->shotNames, QStringLiteral("Wide Shot"));
    EXPECT_EQ(lamp->toolTip(), QStringLiteral("Light 3 live: Wide Shot (its shots: Camera 1, Wide Shot)"));
    EXPECT_EQ(lamp->size(), before);
    // Dark, a light lists all its shots.
    answer(
        { { "1", "Camera 1", false, false }, { "2", "Camera 2", false, false }, { "3", "Wide Shot", false, false } });
    tick();
    EXPECT_EQ(view->lamps()[2]->shotNames, QStringLiteral("Camera 1, Wide Shot"));
}
