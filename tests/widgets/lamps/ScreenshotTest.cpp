// Renders the dialog and the indicators to PNG files under the build tree's
// screenshots/ folder, so that a person can look at what the screens show.

#include "dialogs/PasswordViewController.h"
#include "lamps/TallyState.h"
#include "lock/PasswordDigest.h"
#include "support/QtPrinters.h"

#include <QApplication>
#include <QDir>
#include <QHBoxLayout>
#include <QImage>

#include <gtest/gtest.h>

namespace {

QString screenshotPath(const QString& name)
{
    const QString folder = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
    EXPECT_TRUE(QDir().mkpath(folder));
    return folder + QLatin1Char('/') + name;
}

void saveAndCheck(QWidget& widget, const QString& name)
{
    widget.show();
    QApplication::processEvents();
    const QString path = screenshotPath(name);
    QFile::remove(path);
    ASSERT_TRUE(widget.grab().save(path)) << path.toStdString();
    const QImage saved(path);
    EXPECT_EQ(saved.size(), widget.size() * widget.devicePixelRatio());
}

} // namespace

TEST(ScreenshotTest, PasswordDialogInSetModeAfterMismatch)
{
    PasswordViewController dialog;
    dialog.mode = PasswordViewController::Mode::set;
    dialog.updateFieldVisibility();
    dialog.primary->setText(QStringLiteral("secret"));
    dialog.confirm->setText(QStringLiteral("secrte"));
    dialog.acceptInputWithSender(nullptr);
    ASSERT_EQ(dialog.errorLabel->text(), QStringLiteral("Passsword do not match"));
    saveAndCheck(dialog, QStringLiteral("password-set.png"));
}

TEST(ScreenshotTest, PasswordDialogInCollectModeAfterWrongEntry)
{
    PasswordViewController dialog;
    dialog.mode = PasswordViewController::Mode::collect;
    dialog.matchPassword = passwordDigest(QStringLiteral("secret"));
    dialog.updateFieldVisibility();
    dialog.primary->setText(QStringLiteral("guess"));
    dialog.acceptInputWithSender(nullptr);
    ASSERT_EQ(dialog.errorLabel->text(), QStringLiteral("Sorry, wrong password"));
    saveAndCheck(dialog, QStringLiteral("password-collect.png"));
}

TEST(ScreenshotTest, RowOfOffPreviewAndLiveIndicators)
{
    QWidget row;
    auto* layout = new QHBoxLayout(&row);
    for (const TallyState::Mode mode : { TallyState::Mode::off, TallyState::Mode::preview, TallyState::Mode::live }) {
        auto* view = new TallyState(&row);
        view->mode = mode;
        view->setFixedSize(view->sizeHint());
        layout->addWidget(view);
    }
    saveAndCheck(row, QStringLiteral("tally-states.png"));
}
