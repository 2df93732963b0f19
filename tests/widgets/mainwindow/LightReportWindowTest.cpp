// What the window makes of the light report besides the modes: lost and
// test marks on the lamps and on Big Tally, shots the source lacks flagged
// under their lights, and a followed rename counted as a change.

#include "lamps/BigTallyView.h"
#include "mainwindow/WindowLightReport.h"
#include "support/FakeShotSource.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

namespace {

class LightReportWindowTest : public MainWindowFixture {
protected:
    // Light 1 live on a running fake switcher, one tick done.
    void makeLiveWindow()
    {
        source = makeWindowFollowingAFakeSwitcher();
        tick();
        ASSERT_EQ(controller->tallyStateDisplays()[0]->mode, TallyMode::live);
    }

    // The switcher renames Cam 1 (id 1), which light 1 holds, to Camera One;
    // a tick follows it.
    void renameCamOne()
    {
        controller->document().tallyMap().shotSelection(0).first()->shotId = QStringLiteral("1");
        source->shots.first()->name = QStringLiteral("Camera One");
        tick();
    }

    FakeShotSource* source = nullptr;
};

} // namespace

TEST_F(LightReportWindowTest, BigTallyMarksALostSourceOnEveryLampWithTheTimeSince)
{
    makeLiveWindow();
    main.menu->bigTallyAction()->trigger();
    BigTallyView* view = main.menu->bigTallyView();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->lamps()[0]->mark, LampMark::none);
    EXPECT_TRUE(view->banner().isEmpty());

    source->running = false;
    tick();
    for (const QPointer<TallyState>& lamp : view->lamps()) {
        EXPECT_EQ(lamp->mark, LampMark::lost);
        EXPECT_TRUE(lamp->markText().startsWith(QStringLiteral("LOST 0:0"))) << lamp->markText().toStdString();
    }
    EXPECT_EQ(view->lamps()[0]->mode, TallyMode::live) << "the box keeps its last state by default";
    EXPECT_TRUE(view->banner().startsWith(QStringLiteral("Source lost for 0:0"))) << view->banner().toStdString();

    source->running = true;
    tick();
    EXPECT_EQ(view->lamps()[0]->mark, LampMark::none);
    EXPECT_TRUE(view->banner().isEmpty());
}

TEST_F(LightReportWindowTest, BigTallyOpenedWhileTheSourceIsLostIsMarkedAtOnce)
{
    makeLiveWindow();
    source->running = false;
    tick();
    main.menu->bigTallyAction()->trigger();
    EXPECT_EQ(main.menu->bigTallyView()->lamps()[0]->mark, LampMark::lost);
}

TEST_F(LightReportWindowTest, TheMainLampsKeepTheirPlainLookWhileLostUnlessTheOperatorChoseTheMark)
{
    makeLiveWindow();
    source->running = false;
    tick();
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mark, LampMark::none);
    EXPECT_FALSE(main.menu->markLampsWhileLostAction()->isChecked());

    main.menu->markLampsWhileLostAction()->trigger();
    EXPECT_EQ(controller->tallyStateDisplays()[0]->mark, LampMark::lost);
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::markLampsWhileSourceIsLost));

    makeWindow();
    EXPECT_TRUE(main.menu->markLampsWhileLostAction()->isChecked());
    EXPECT_TRUE(controller->lightReport().marksLampsWhileLost());
}

TEST_F(LightReportWindowTest, AShotTheSourceLacksIsFlaggedUnderItsLightAndInTheStatusLine)
{
    makeLiveWindow();
    controller->document().tallyMap().setShotSelection(1, { record("Cam 9") });
    controller->refreshAssignmentTitles();
    tick();
    QPushButton* second = button(2);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->text(), QStringLiteral("Cam 9")) << "the title stays the assignment's";
    EXPECT_FALSE(second->icon().isNull());
    EXPECT_TRUE(second->toolTip().contains(QStringLiteral("Cam 9"))) << second->toolTip().toStdString();
    EXPECT_TRUE(button(1)->icon().isNull());
    EXPECT_TRUE(controller->status().text().contains(QStringLiteral("\"Cam 9\" (light 2)")))
        << controller->status().text().toStdString();

    source->shots.append(std::make_shared<Shot>(QStringLiteral("Cam 9")));
    tick();
    EXPECT_TRUE(second->icon().isNull());
    EXPECT_FALSE(controller->status().text().contains(QStringLiteral("Cam 9")));
}

TEST_F(LightReportWindowTest, AFollowedRenameMarksTheMapChangedWhenChangesAreTracked)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::askBeforeDiscardingChanges, true);
    makeLiveWindow();
    ASSERT_TRUE(controller->document().tracksChanges());
    ASSERT_FALSE(controller->document().isEdited());
    renameCamOne();
    ASSERT_EQ(controller->document().tallyMap().shotSelection(0).first()->name, QStringLiteral("Camera One"));
    EXPECT_TRUE(controller->document().isEdited());
}

TEST_F(LightReportWindowTest, AFollowedRenameChangesNothingPendingWhenChangesAreNotTracked)
{
    makeLiveWindow();
    renameCamOne();
    EXPECT_FALSE(controller->document().isEdited());
}
