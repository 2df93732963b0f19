// Renders the screens the main window presents, as it presents them, to
// build/<preset>/screenshots/presented-*.png: the shot editor sheet, the password dialog (set
// and collect) and the light test panel, each alone and drawn over the main
// window, so that a person can look at them.

#include "dialogs/EditViewController.h"
#include "dialogs/TestViewController.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/SegueWidgetFixture.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QTableWidget>

#include <gtest/gtest.h>

namespace {

class SegueScreenshotTest : public SegueWidgetFixture {
protected:
    void SetUp() override
    {
        SegueWidgetFixture::SetUp();
        answer({ { "1", "Camera 1", true, false }, { "2", "Camera 2", false, true }, { "3", "Wide Shot", false, false },
            { "4", "Lower Third Clear Layer", false, false } });
        openWindow();
        tick();
        controller->document().tallyMap().setShotSelection(0, { controller->shotList().at(0) });
        controller->document().tallyMap().setShotSelection(1, { controller->shotList().at(1) });
        controller->refreshAssignmentTitles();
        tick();
    }

    static QString screenshotPath(const QString& name)
    {
        const QString folder = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
        EXPECT_TRUE(QDir().mkpath(folder));
        return folder + QLatin1Char('/') + name;
    }

    // Saves the presented screen alone and centred over the main window, the
    // way a desktop shows a dialog over its parent. Returns the lone image.
    QImage save(QWidget* presented, const QString& name) const
    {
        QApplication::processEvents();
        const QImage alone = presented->grab().toImage();
        const QString alonePath = screenshotPath(QStringLiteral("presented-") + name + QStringLiteral(".png"));
        QFile::remove(alonePath);
        EXPECT_TRUE(alone.save(alonePath)) << alonePath.toStdString();

        QImage over = main.window->grab().toImage();
        const QSize overSize = over.size().expandedTo(alone.size() + QSize(40, 40));
        QImage canvas(overSize, QImage::Format_ARGB32);
        canvas.fill(Qt::darkGray);
        QPainter painter(&canvas);
        painter.drawImage(0, 0, over);
        painter.fillRect(canvas.rect(), QColor(0, 0, 0, 60)); // the window behind is blocked
        const QPoint at((canvas.width() - alone.width()) / 2, 24);
        painter.setPen(Qt::black);
        painter.drawRect(QRect(at, alone.size()).adjusted(-1, -1, 0, 0));
        painter.drawImage(at, alone);
        painter.end();
        const QString overPath
            = screenshotPath(QStringLiteral("presented-") + name + QStringLiteral("-over-main-window.png"));
        QFile::remove(overPath);
        EXPECT_TRUE(canvas.save(overPath)) << overPath.toStdString();
        return alone;
    }
};

} // namespace

TEST_F(SegueScreenshotTest, ShotEditorSheetForLightThree)
{
    controller->document().tallyMap().setShotSelection(
        2, { controller->shotList().at(0), controller->shotList().at(2) });
    controller->refreshAssignmentTitles();
    button(3)->click();
    ASSERT_EQ(presentations.size(), 1);
    auto* editor = qobject_cast<EditViewController*>(presentations[0].viewController.data());
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->table->rowCount(), 5); // four shots and the one no light uses
    const QImage image = save(editor, QStringLiteral("editor-sheet"));
    EXPECT_EQ(image.size(), editor->size() * image.devicePixelRatio());
    editor->doneButton->click();
}

TEST_F(SegueScreenshotTest, PasswordDialogSettingAPassword)
{
    chooseRequirement();
    clickLock();
    PasswordViewController* dialog = openPasswordDialog();
    ASSERT_NE(dialog, nullptr);
    ASSERT_EQ(dialog->mode, PasswordViewController::Mode::set);
    dialog->primary->setText(QStringLiteral("secret"));
    dialog->confirm->setText(QStringLiteral("secrte"));
    dialog->findChild<QPushButton*>(QStringLiteral("okButton"))->click();
    ASSERT_EQ(dialog->errorLabel->text(), QStringLiteral("Passsword do not match"));
    const QImage image = save(dialog, QStringLiteral("password-dialog-set"));
    EXPECT_FALSE(image.isNull());
    cancelPassword();
}

TEST_F(SegueScreenshotTest, PasswordDialogCheckingThePassword)
{
    requireSecret();
    clickLock();
    PasswordViewController* dialog = openPasswordDialog();
    ASSERT_NE(dialog, nullptr);
    ASSERT_EQ(dialog->mode, PasswordViewController::Mode::collect);
    typePassword(QStringLiteral("guess"));
    ASSERT_EQ(dialog->errorLabel->text(), QStringLiteral("Sorry, wrong password"));
    const QImage image = save(dialog, QStringLiteral("password-dialog-collect"));
    // Collect shows one field: the dialog is lower than in set mode.
    EXPECT_TRUE(dialog->confirm->isHidden());
    EXPECT_FALSE(image.isNull());
    cancelPassword();
}

TEST_F(SegueScreenshotTest, LightTestPanel)
{
    main.menu->testLightsAction()->trigger();
    ASSERT_EQ(presentations.size(), 1);
    auto* panel = qobject_cast<TestViewController*>(presentations[0].viewController.data());
    ASSERT_NE(panel, nullptr);
    const QImage image = save(panel, QStringLiteral("test-panel"));
    EXPECT_FALSE(image.isNull());
    panel->closeButton->click();
}
