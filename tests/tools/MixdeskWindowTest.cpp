#include "MixdeskWindow.h"

#include "AutoCut.h"
#include "ShowModel.h"
#include "support/QtPrinters.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QMouseEvent>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

class MixdeskWindowTest : public testing::Test {
protected:
    QTreeWidget* shotList() const { return window.findChild<QTreeWidget*>("shotList"); }
    QPushButton* button(const char* name) const { return window.findChild<QPushButton*>(name); }
    QTreeWidgetItem* row(int position) const { return shotList()->topLevelItem(position); }

    void clickRow(int position)
    {
        QWidget* viewport = shotList()->viewport();
        const QPoint centre = shotList()->visualItemRect(row(position)).center();
        QMouseEvent press(QEvent::MouseButtonPress, centre, viewport->mapToGlobal(centre), Qt::LeftButton,
            Qt::LeftButton, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, centre, viewport->mapToGlobal(centre), Qt::LeftButton,
            Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(viewport, &press);
        QApplication::sendEvent(viewport, &release);
    }

    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    AutoCut autoCut { model };
    MixdeskWindow window { model, autoCut };
};

} // namespace

TEST_F(MixdeskWindowTest, ShowsEveryShotWithProgramInRedAndPreviewInGreen)
{
    ASSERT_EQ(shotList()->topLevelItemCount(), 7);
    EXPECT_EQ(row(0)->text(0), "Camera 1");
    EXPECT_EQ(row(0)->text(1), "PROGRAM");
    EXPECT_EQ(row(1)->text(1), "PREVIEW");
    EXPECT_EQ(row(6)->text(0), "Lower Third Clear Layer");
    EXPECT_EQ(row(6)->text(1), "");

    const QColor program = row(0)->background(0).color();
    const QColor preview = row(1)->background(0).color();
    EXPECT_GT(program.red(), 2 * program.green());
    EXPECT_GT(preview.green(), 2 * preview.red());
    EXPECT_EQ(row(2)->background(0).style(), Qt::NoBrush);
}

TEST_F(MixdeskWindowTest, ClickingAShotPutsItInPreview)
{
    window.show();
    clickRow(3);
    EXPECT_EQ(model.previewPosition(), 3);
    EXPECT_EQ(row(3)->text(1), "PREVIEW");
    EXPECT_EQ(row(1)->text(1), "");
}

TEST_F(MixdeskWindowTest, CutSwapsProgramAndPreview)
{
    button("cutButton")->click();
    EXPECT_EQ(model.programPosition(), 1);
    EXPECT_EQ(model.previewPosition(), 0);
    EXPECT_EQ(row(1)->text(1), "PROGRAM");
    EXPECT_EQ(row(0)->text(1), "PREVIEW");
}

TEST_F(MixdeskWindowTest, ANameEditedInPlaceRenamesTheShotAndKeepsItsId)
{
    row(2)->setText(0, "  Host ");
    EXPECT_EQ(model.shotAt(2).name, "Host");
    EXPECT_EQ(model.shotAt(2).id, 3);
    EXPECT_EQ(row(2)->text(0), "Host");
}

TEST_F(MixdeskWindowTest, AnEmptyNameIsNotTaken)
{
    row(2)->setText(0, "   ");
    EXPECT_EQ(model.shotAt(2).name, "Camera 3");
    EXPECT_EQ(row(2)->text(0), "Camera 3");
}

TEST_F(MixdeskWindowTest, AddAppendsAShotWithANameNotYetInTheShow)
{
    model.rename(0, "Shot 8");
    button("addButton")->click();
    ASSERT_EQ(model.count(), 8);
    EXPECT_EQ(model.shotAt(7).name, "Shot 9");
    EXPECT_EQ(model.shotAt(7).id, 8);
    EXPECT_EQ(shotList()->currentItem(), row(7));
}

TEST_F(MixdeskWindowTest, RemoveTakesOutTheCurrentShot)
{
    shotList()->setCurrentItem(row(4));
    button("removeButton")->click();
    ASSERT_EQ(model.count(), 6);
    EXPECT_EQ(model.shotAt(4).name, "Titles");
    EXPECT_EQ(shotList()->topLevelItemCount(), 6);
}

TEST_F(MixdeskWindowTest, RemovingEveryShotDisablesRenameAndRemove)
{
    while (model.count() > 0) {
        button("removeButton")->click();
    }
    EXPECT_FALSE(button("removeButton")->isEnabled());
    EXPECT_FALSE(button("renameButton")->isEnabled());
}

TEST_F(MixdeskWindowTest, TheAutoCutControlsStartAndStopAutoCut)
{
    auto* check = window.findChild<QCheckBox*>("autoCutCheck");
    auto* seconds = window.findChild<QSpinBox*>("autoCutSeconds");
    seconds->setValue(7);
    EXPECT_FALSE(autoCut.isRunning());
    check->setChecked(true);
    EXPECT_EQ(autoCut.intervalSeconds(), 7);
    seconds->setValue(2);
    EXPECT_EQ(autoCut.intervalSeconds(), 2);
    check->setChecked(false);
    EXPECT_FALSE(autoCut.isRunning());
}

TEST_F(MixdeskWindowTest, AutoCutStartedElsewhereShowsInTheControls)
{
    autoCut.setIntervalSeconds(12);
    EXPECT_TRUE(window.findChild<QCheckBox*>("autoCutCheck")->isChecked());
    EXPECT_EQ(window.findChild<QSpinBox*>("autoCutSeconds")->value(), 12);
}

// Leaves a picture of the window in the build tree, for the documentation
// and for a look at the colours.
TEST_F(MixdeskWindowTest, ScreenshotOfTheWindow)
{
    model.setPreview(4);
    window.showAnswerPath("/run/user/1000/mixdesk/shots");
    window.show();
    const QString directory = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
    ASSERT_TRUE(QDir().mkpath(directory));
    const QPixmap picture = window.grab();
    ASSERT_FALSE(picture.isNull());
    const QString path = directory + "/mixdesk-standin.png";
    ASSERT_TRUE(picture.save(path));
    EXPECT_EQ(QImage(path).size(), picture.size());
}

// A show started without --program or --preview: nothing is red or green
// until the user puts a shot on a bus, so the first light to go on is one
// they caused.
TEST(MixdeskWindowStartTest, AShowStartedEmptyShowsNoBusUntilAShotIsPutInPreviewAndCut)
{
    ShowModel model;
    AutoCut autoCut { model };
    MixdeskWindow window { model, autoCut };
    auto* shotList = window.findChild<QTreeWidget*>("shotList");
    ASSERT_NE(shotList, nullptr);
    ASSERT_EQ(shotList->topLevelItemCount(), 7);
    for (int position = 0; position < 7; ++position) {
        EXPECT_EQ(shotList->topLevelItem(position)->text(1), "") << position;
        EXPECT_EQ(shotList->topLevelItem(position)->background(0).style(), Qt::NoBrush) << position;
    }
    model.setPreview(2);
    window.findChild<QPushButton*>("cutButton")->click();
    EXPECT_EQ(model.programPosition(), 2);
    EXPECT_EQ(model.previewPosition(), -1);
    EXPECT_EQ(shotList->topLevelItem(2)->text(1), "PROGRAM");
    for (const int position : { 0, 1, 3, 4, 5, 6 }) {
        EXPECT_EQ(shotList->topLevelItem(position)->text(1), "") << position;
    }
}
