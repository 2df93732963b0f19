#include "dialogs/PasswordViewController.h"

#include "lock/PasswordDigest.h"
#include "support/QtPrinters.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>

#include <gtest/gtest.h>

#include <memory>

namespace {

// What the presenter saw of the dialog at the moment it was handed back.
struct Dismissal {
    QObject* controller = nullptr;
    PasswordViewController::Mode mode = PasswordViewController::Mode::set;
    QString passwordHash;
    bool passwordMatched = false;
};

// Stands in for the main window: takes the dialog back and closes it.
class RecordingPresenter : public QObject {
    Q_OBJECT

public:
    QList<Dismissal> dismissals;

public Q_SLOTS:
    void dismissViewController(QObject* controller)
    {
        auto* dialog = qobject_cast<PasswordViewController*>(controller);
        ASSERT_NE(dialog, nullptr);
        dismissals.append({ controller, dialog->mode, dialog->passwordHash, dialog->passwordMatched });
        dialog->done(QDialog::Accepted);
    }
};

// Takes the dialog back and closes it in one of the ways a QDialog can be
// closed.
class ClosingPresenter : public QObject {
    Q_OBJECT

public:
    enum class Way { done, close, reject, hide };
    explicit ClosingPresenter(Way way)
        : m_way(way)
    {
    }
    int calls = 0;

public Q_SLOTS:
    void dismissViewController(QObject* controller)
    {
        ++calls;
        auto* dialog = qobject_cast<QDialog*>(controller);
        switch (m_way) {
        case Way::done:
            dialog->done(QDialog::Rejected);
            break;
        case Way::close:
            dialog->close();
            break;
        case Way::reject:
            dialog->reject();
            break;
        case Way::hide:
            dialog->hide();
            break;
        }
    }

private:
    Way m_way;
};

// Has no way to take a dialog back.
class MutePresenter : public QObject {
    Q_OBJECT
};

class PasswordViewControllerTest : public testing::Test {
protected:
    std::unique_ptr<PasswordViewController> dialog = std::make_unique<PasswordViewController>();
    RecordingPresenter presenter;

    void present(PasswordViewController::Mode mode, const QString& matchPassword = {})
    {
        dialog->mode = mode;
        if (mode == PasswordViewController::Mode::collect) {
            dialog->matchPassword = matchPassword;
        }
        dialog->updateFieldVisibility();
        dialog->setPresentingViewController(&presenter);
        dialog->show();
        QApplication::processEvents();
    }

    void type(const QString& primary, const QString& confirm = {})
    {
        dialog->primary->setText(primary);
        dialog->confirm->setText(confirm);
    }

    QPushButton* button(const char* name) const
    {
        auto* found = dialog->findChild<QPushButton*>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }

    void clickOk() { button("okButton")->click(); }
    void clickCancel() { button("cancelButton")->click(); }

    void pressKey(QWidget* target, int key)
    {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(target, &press);
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(target, &release);
    }
};

} // namespace

TEST_F(PasswordViewControllerTest, NewDialogAsksToSetWithEmptyResults)
{
    EXPECT_EQ(dialog->mode, PasswordViewController::Mode::set);
    EXPECT_TRUE(dialog->passwordHash.isEmpty());
    EXPECT_TRUE(dialog->matchPassword.isEmpty());
    EXPECT_FALSE(dialog->passwordMatched);
    EXPECT_EQ(dialog->presentingViewController(), nullptr);
    EXPECT_TRUE(dialog->errorLabel->text().isEmpty());
    EXPECT_FALSE(dialog->confirm->isHidden());
    EXPECT_FALSE(dialog->confirmLabel->isHidden());
}

TEST_F(PasswordViewControllerTest, OutletsComeFromLayoutUnderTheirNames)
{
    ASSERT_TRUE(dialog->confirmLabel && dialog->primary && dialog->confirm && dialog->errorLabel);
    EXPECT_EQ(dialog->confirmLabel->objectName(), QStringLiteral("confirmLabel"));
    EXPECT_EQ(dialog->primary->objectName(), QStringLiteral("primary"));
    EXPECT_EQ(dialog->confirm->objectName(), QStringLiteral("confirm"));
    EXPECT_EQ(dialog->errorLabel->objectName(), QStringLiteral("errorLabel"));
    EXPECT_EQ(dialog->primary->window(), dialog.get());
}

TEST_F(PasswordViewControllerTest, EntriesEchoAsPassword)
{
    EXPECT_EQ(dialog->primary->echoMode(), QLineEdit::Password);
    EXPECT_EQ(dialog->confirm->echoMode(), QLineEdit::Password);
}

TEST_F(PasswordViewControllerTest, DialogIsApplicationModal)
{
    EXPECT_EQ(dialog->windowModality(), Qt::ApplicationModal);
}

TEST_F(PasswordViewControllerTest, CollectModeShowsOnlyPrimaryEntry)
{
    present(PasswordViewController::Mode::collect);
    EXPECT_TRUE(dialog->primary->isVisible());
    EXPECT_FALSE(dialog->confirm->isVisible());
    EXPECT_FALSE(dialog->confirmLabel->isVisible());
}

TEST_F(PasswordViewControllerTest, SetModeShowsConfirmationEntry)
{
    present(PasswordViewController::Mode::set);
    EXPECT_TRUE(dialog->primary->isVisible());
    EXPECT_TRUE(dialog->confirm->isVisible());
    EXPECT_TRUE(dialog->confirmLabel->isVisible());
}

TEST_F(PasswordViewControllerTest, FieldVisibilityFollowsModeEachTimeItIsUpdated)
{
    dialog->mode = PasswordViewController::Mode::collect;
    EXPECT_FALSE(dialog->confirm->isHidden()) << "writing mode alone changes nothing";
    dialog->updateFieldVisibility();
    EXPECT_TRUE(dialog->confirm->isHidden());
    EXPECT_TRUE(dialog->confirmLabel->isHidden());
    dialog->mode = PasswordViewController::Mode::set;
    dialog->updateFieldVisibility();
    EXPECT_FALSE(dialog->confirm->isHidden());
    EXPECT_FALSE(dialog->confirmLabel->isHidden());
}

TEST_F(PasswordViewControllerTest, FieldVisibilitySkipsOutletsNotLoaded)
{
    delete dialog->confirm.data();
    ASSERT_TRUE(dialog->confirm.isNull());
    dialog->mode = PasswordViewController::Mode::collect;
    dialog->updateFieldVisibility();
    EXPECT_TRUE(dialog->confirmLabel->isHidden());
}

TEST_F(PasswordViewControllerTest, EmptyPasswordShowsMessageAndKeepsDialogOpen)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral("   "), QStringLiteral("   "));
    clickOk();
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("The passsword may not be empty"));
    EXPECT_TRUE(presenter.dismissals.isEmpty());
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(dialog->passwordHash.isEmpty());
}

TEST_F(PasswordViewControllerTest, DifferingConfirmationShowsMessageAndKeepsDialogOpen)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral("secret"), QStringLiteral("secrte"));
    clickOk();
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("Passsword do not match"));
    EXPECT_TRUE(presenter.dismissals.isEmpty());
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(dialog->passwordHash.isEmpty());
}

TEST_F(PasswordViewControllerTest, WrongPasswordShowsMessageAndKeepsDialogOpen)
{
    present(PasswordViewController::Mode::collect, passwordDigest(QStringLiteral("secret")));
    type(QStringLiteral("guess"));
    clickOk();
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("Sorry, wrong password"));
    EXPECT_TRUE(presenter.dismissals.isEmpty());
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, FailedAttemptLeavesEntriesAndMessageStaysUntilReplaced)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral(" "), QStringLiteral("x"));
    clickOk();
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("The passsword may not be empty"));
    EXPECT_EQ(dialog->primary->text(), QStringLiteral(" "));
    EXPECT_EQ(dialog->confirm->text(), QStringLiteral("x"));

    dialog->primary->setText(QStringLiteral("y"));
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("The passsword may not be empty"));
    clickOk();
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("Passsword do not match"));
    EXPECT_EQ(dialog->primary->text(), QStringLiteral("y"));
}

TEST_F(PasswordViewControllerTest, OkDismissesThroughPresenterOnlyOnSuccess)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral("secret"), QStringLiteral("other"));
    clickOk();
    EXPECT_TRUE(presenter.dismissals.isEmpty());

    dialog->confirm->setText(QStringLiteral("secret"));
    clickOk();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_EQ(presenter.dismissals.first().controller, dialog.get());
    EXPECT_EQ(presenter.dismissals.first().passwordHash, passwordDigest(QStringLiteral("secret")))
        << "the digest is stored before the presenter reads it";
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->passwordHash, passwordDigest(QStringLiteral("secret")));
}

TEST_F(PasswordViewControllerTest, ReturnInEntryAcceptsLikeOk)
{
    present(PasswordViewController::Mode::collect, passwordDigest(QStringLiteral("secret")));
    type(QStringLiteral("secret"));
    pressKey(dialog->primary, Qt::Key_Return);
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_TRUE(presenter.dismissals.first().passwordMatched);
}

TEST_F(PasswordViewControllerTest, SpacesAroundNewPasswordAreKeptInDigest)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral(" secret "), QStringLiteral(" secret "));
    clickOk();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_EQ(dialog->passwordHash, passwordDigest(QStringLiteral(" secret ")));
}

TEST_F(PasswordViewControllerTest, ComposedAndDecomposedEntriesMatchAndDigestIsOfPrimaryAsTyped)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral("cafe\u0301"), QStringLiteral("caf\u00e9"));
    clickOk();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_EQ(dialog->passwordHash, passwordDigest(QStringLiteral("cafe\u0301")));
    EXPECT_NE(dialog->passwordHash, passwordDigest(QStringLiteral("caf\u00e9")));
}

TEST_F(PasswordViewControllerTest, FailedCollectSetsMatchedFalseThenRightAttemptTrue)
{
    present(PasswordViewController::Mode::collect, passwordDigest(QStringLiteral("secret")));
    type(QStringLiteral("guess"));
    clickOk();
    EXPECT_FALSE(dialog->passwordMatched);
    EXPECT_TRUE(presenter.dismissals.isEmpty());

    type(QStringLiteral("secret"));
    clickOk();
    EXPECT_TRUE(dialog->passwordMatched);
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_TRUE(presenter.dismissals.first().passwordMatched);
    EXPECT_EQ(presenter.dismissals.first().mode, PasswordViewController::Mode::collect);
}

TEST_F(PasswordViewControllerTest, EachCollectAttemptOverwritesMatchResult)
{
    // With no presenter the dialog stays up after a match, so a later wrong
    // attempt can be seen to reset the result.
    dialog->mode = PasswordViewController::Mode::collect;
    dialog->matchPassword = passwordDigest(QStringLiteral("secret"));
    type(QStringLiteral("secret"));
    dialog->acceptInputWithSender(nullptr);
    EXPECT_TRUE(dialog->passwordMatched);
    type(QStringLiteral("guess"));
    dialog->acceptInputWithSender(nullptr);
    EXPECT_FALSE(dialog->passwordMatched);
    type(QStringLiteral("secret"));
    dialog->acceptInputWithSender(nullptr);
    EXPECT_TRUE(dialog->passwordMatched);
}

TEST_F(PasswordViewControllerTest, EmptyCollectEntrySucceedsOnlyAgainstDigestOfEmpty)
{
    present(PasswordViewController::Mode::collect, passwordDigest(QStringLiteral("x")));
    type(QString());
    clickOk();
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("Sorry, wrong password"));
    dialog->matchPassword = QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    clickOk();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_TRUE(dialog->passwordMatched);
}

TEST_F(PasswordViewControllerTest, CancelDismissesAndChangesNoField)
{
    const QString stored = passwordDigest(QStringLiteral("secret"));
    present(PasswordViewController::Mode::collect, stored);
    type(QStringLiteral("secret"));
    clickCancel();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_EQ(presenter.dismissals.first().controller, dialog.get());
    EXPECT_EQ(dialog->mode, PasswordViewController::Mode::collect);
    EXPECT_EQ(dialog->matchPassword, stored);
    EXPECT_FALSE(dialog->passwordMatched);
    EXPECT_TRUE(dialog->passwordHash.isEmpty());
    EXPECT_TRUE(dialog->errorLabel->text().isEmpty());
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, CancelledSetLeavesHashEmpty)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral("secret"), QStringLiteral("secret"));
    clickCancel();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_TRUE(presenter.dismissals.first().passwordHash.isEmpty());
    EXPECT_TRUE(dialog->passwordHash.isEmpty());
}

TEST_F(PasswordViewControllerTest, EscapeCountsAsCancel)
{
    present(PasswordViewController::Mode::set);
    type(QStringLiteral("secret"), QStringLiteral("secret"));
    pressKey(dialog->primary, Qt::Key_Escape);
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_TRUE(dialog->passwordHash.isEmpty());
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, ClosingWindowCountsAsCancel)
{
    present(PasswordViewController::Mode::collect, passwordDigest(QStringLiteral("secret")));
    type(QStringLiteral("secret"));
    dialog->close();
    QApplication::processEvents();
    ASSERT_EQ(presenter.dismissals.size(), 1);
    EXPECT_FALSE(dialog->passwordMatched);
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, WithoutPresenterNothingIsDismissed)
{
    dialog->show();
    type(QStringLiteral("secret"), QStringLiteral("secret"));
    clickOk();
    EXPECT_EQ(dialog->passwordHash, passwordDigest(QStringLiteral("secret")));
    EXPECT_TRUE(dialog->isVisible());
    clickCancel();
    EXPECT_TRUE(dialog->isVisible());
    dialog->close();
    QApplication::processEvents();
    EXPECT_TRUE(dialog->isVisible());
    pressKey(dialog->primary, Qt::Key_Escape);
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, GonePresenterCountsAsNone)
{
    auto gone = std::make_unique<RecordingPresenter>();
    dialog->setPresentingViewController(gone.get());
    gone.reset();
    EXPECT_EQ(dialog->presentingViewController(), nullptr);
    dialog->show();
    clickCancel();
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, MissingErrorLabelOnlySuppressesMessage)
{
    present(PasswordViewController::Mode::set);
    delete dialog->errorLabel.data();
    type(QString(), QString());
    clickOk();
    EXPECT_TRUE(presenter.dismissals.isEmpty());
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(PasswordViewControllerTest, PresenterClosingDialogAnyWayHearsOfItOnce)
{
    for (const ClosingPresenter::Way way : { ClosingPresenter::Way::done, ClosingPresenter::Way::close,
             ClosingPresenter::Way::reject, ClosingPresenter::Way::hide }) {
        for (const bool byCloseButton : { false, true }) {
            PasswordViewController shown;
            ClosingPresenter closing(way);
            shown.setPresentingViewController(&closing);
            shown.show();
            QApplication::processEvents();
            if (byCloseButton) {
                shown.close();
            } else {
                shown.cancelInputWithSender(nullptr);
            }
            QApplication::processEvents();
            EXPECT_EQ(closing.calls, 1) << "way " << int(way) << (byCloseButton ? " by close button" : " by Cancel");
            EXPECT_FALSE(shown.isVisible())
                << "way " << int(way) << (byCloseButton ? " by close button" : " by Cancel");
        }
    }
}

using PasswordViewControllerDeathTest = PasswordViewControllerTest;

TEST_F(PasswordViewControllerDeathTest, AcceptWithoutPrimaryEntryStops)
{
    delete dialog->primary.data();
    EXPECT_DEATH(
        dialog->acceptInputWithSender(nullptr), "fatal error: the password dialog has no primary password field");
}

TEST_F(PasswordViewControllerDeathTest, PresenterWithoutDismissViewControllerStops)
{
    MutePresenter mute;
    dialog->setPresentingViewController(&mute);
    EXPECT_DEATH(dialog->cancelInputWithSender(nullptr), "fatal error: .*cannot dismissViewController");
}

#include "PasswordViewControllerTest.moc"
