// The editing lock through the real main window: the lock check box, the
// "Require Password to Unlock" and "Lock Editing" menu items, and the password
// dialog as the window presents it, answered through its fields and buttons.

#include "support/QtPrinters.h"
#include "widgets/mainwindow/SegueWidgetFixture.h"

#include <QLabel>

#include <gtest/gtest.h>

namespace {

class LockWindowTest : public SegueWidgetFixture {
protected:
    void SetUp() override
    {
        SegueWidgetFixture::SetUp();
        openWindow();
    }
};

using Mode = PasswordViewController::Mode;

} // namespace

TEST_F(LockWindowTest, WithTheRequirementOffTheCheckBoxLocksAndUnlocksFreelyWithoutADialog)
{
    clickLock();
    EXPECT_TRUE(locked());
    clickLock();
    EXPECT_FALSE(locked());
    clickLock();
    EXPECT_TRUE(locked());
    EXPECT_EQ(passwordDialogs(), 0);
    EXPECT_FALSE(requirementItem()->isChecked());
}

TEST_F(LockWindowTest, SettingThePasswordOnTheFirstLockStoresItsHashAndKeepsTheLock)
{
    chooseRequirement();
    clickLock();
    ASSERT_EQ(passwordDialogs(), 1);
    const Presentation& shown = lastPasswordPresentation();
    EXPECT_EQ(shown.mode, Mode::set);
    EXPECT_FALSE(shown.confirmHidden);
    EXPECT_EQ(shown.modality, Qt::ApplicationModal);
    EXPECT_TRUE(shown.wasActiveModal);

    typePassword(QStringLiteral("secret"));
    EXPECT_EQ(openPasswordDialog(), nullptr);
    EXPECT_TRUE(locked());
    EXPECT_EQ(controller->editingLock().unlockPasswordHash(), passwordDigest(QStringLiteral("secret")));
    EXPECT_FALSE(controller->editingLock().enablingRequirePassword());
}

TEST_F(LockWindowTest, WithAPasswordSetLockingAsksNothingAndUnlockingOpensACollectDialog)
{
    requireSecret();
    clickLock(); // unlock
    ASSERT_EQ(passwordDialogs(), 2);
    const Presentation& shown = lastPasswordPresentation();
    EXPECT_EQ(shown.mode, Mode::collect);
    EXPECT_TRUE(shown.confirmHidden);
    EXPECT_EQ(shown.matchPassword, passwordDigest(QStringLiteral("secret")));
    typePassword(QStringLiteral("secret"));
    EXPECT_FALSE(locked());

    clickLock(); // lock again: the stored password serves
    EXPECT_TRUE(locked());
    EXPECT_EQ(passwordDialogs(), 2);
}

TEST_F(LockWindowTest, AWrongPasswordKeepsTheDialogUpAndCancellingLeavesTheCheckBoxOn)
{
    requireSecret();
    clickLock();
    EXPECT_FALSE(locked()); // the click has flipped it; the dialog decides
    typePassword(QStringLiteral("guess"));
    PasswordViewController* dialog = openPasswordDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("Sorry, wrong password"));
    cancelPassword();
    EXPECT_EQ(openPasswordDialog(), nullptr);
    EXPECT_TRUE(locked());
}

TEST_F(LockWindowTest, AWrongThenTheRightPasswordInTheSameDialogUnlocks)
{
    requireSecret();
    clickLock();
    typePassword(QStringLiteral("guess"));
    typePassword(QStringLiteral("secret"));
    EXPECT_EQ(openPasswordDialog(), nullptr);
    EXPECT_FALSE(locked());
    EXPECT_EQ(passwordDialogs(), 2);
}

TEST_F(LockWindowTest, ClosingTheUnlockDialogWithItsCloseBoxRelocks)
{
    requireSecret();
    clickLock();
    PasswordViewController* dialog = openPasswordDialog();
    ASSERT_NE(dialog, nullptr);
    dialog->close();
    EXPECT_EQ(openPasswordDialog(), nullptr);
    EXPECT_TRUE(locked());
}

TEST_F(LockWindowTest, SwitchingTheRequirementOnWhileUnlockedWithNoPasswordOpensNoDialog)
{
    chooseRequirement();
    EXPECT_EQ(passwordDialogs(), 0);
    EXPECT_TRUE(requirementItem()->isChecked());
    EXPECT_TRUE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_TRUE(controller->editingLock().enablingRequirePassword());
    EXPECT_FALSE(locked());
}

TEST_F(LockWindowTest, CancellingTheSetDialogOfTheNextLockWithdrawsTheRequirementButTheMenuItemStaysOn)
{
    chooseRequirement();
    clickLock();
    ASSERT_EQ(lastPasswordPresentation().mode, Mode::set);
    cancelPassword();
    EXPECT_TRUE(locked());
    EXPECT_FALSE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_TRUE(controller->editingLock().unlockPasswordHash().isEmpty());
    // Kept as it is: the item still shows the withdrawn requirement.
    EXPECT_TRUE(requirementItem()->isChecked());
    // Unlocking needs nothing now.
    clickLock();
    EXPECT_FALSE(locked());
    EXPECT_EQ(passwordDialogs(), 1);
}

TEST_F(LockWindowTest, SwitchingTheRequirementOnWhileLockedWithNoPasswordOpensTheSetDialogAtOnce)
{
    clickLock();
    chooseRequirement();
    ASSERT_EQ(passwordDialogs(), 1);
    EXPECT_EQ(lastPasswordPresentation().mode, Mode::set);
    typePassword(QStringLiteral("secret"), QStringLiteral("secret"));
    EXPECT_EQ(controller->editingLock().unlockPasswordHash(), passwordDigest(QStringLiteral("secret")));
    EXPECT_TRUE(locked());
    EXPECT_TRUE(requirementItem()->isChecked());
}

TEST_F(LockWindowTest, MismatchedConfirmationKeepsTheSetDialogUp)
{
    clickLock();
    chooseRequirement();
    typePassword(QStringLiteral("secret"), QStringLiteral("secrte"));
    PasswordViewController* dialog = openPasswordDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->errorLabel->text(), QStringLiteral("Passsword do not match"));
    EXPECT_TRUE(controller->editingLock().unlockPasswordHash().isEmpty());
    typePassword(QStringLiteral("secret"));
    EXPECT_EQ(openPasswordDialog(), nullptr);
}

TEST_F(LockWindowTest, CancellingTheSetDialogOpenedByTheRequirementWhileLockedWithdrawsItAndKeepsTheLock)
{
    clickLock();
    chooseRequirement();
    cancelPassword();
    EXPECT_TRUE(locked());
    EXPECT_FALSE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_TRUE(requirementItem()->isChecked());
}

TEST_F(LockWindowTest, SwitchingTheRequirementOnAgainReusesTheStoredPasswordWithoutADialog)
{
    requireSecret();
    clickLock();
    typePassword(QStringLiteral("secret"));
    ASSERT_FALSE(locked());
    chooseRequirement(); // off, unlocked: at once
    ASSERT_FALSE(requirementItem()->isChecked());
    const qsizetype before = passwordDialogs();

    chooseRequirement(); // on again
    EXPECT_TRUE(requirementItem()->isChecked());
    EXPECT_EQ(passwordDialogs(), before);
    EXPECT_FALSE(controller->editingLock().enablingRequirePassword());
    clickLock();
    EXPECT_TRUE(locked());
    EXPECT_EQ(passwordDialogs(), before);
    clickLock();
    ASSERT_EQ(passwordDialogs(), before + 1);
    EXPECT_EQ(lastPasswordPresentation().matchPassword, passwordDigest(QStringLiteral("secret")));
}

TEST_F(LockWindowTest, SwitchingTheRequirementOffWhileUnlockedNeedsNoPasswordAndClearsTheMenuItem)
{
    requireSecret();
    clickLock();
    typePassword(QStringLiteral("secret"));
    const qsizetype before = passwordDialogs();
    chooseRequirement();
    EXPECT_EQ(passwordDialogs(), before);
    EXPECT_FALSE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_FALSE(requirementItem()->isChecked());
    clickLock();
    clickLock();
    EXPECT_FALSE(locked());
    EXPECT_EQ(passwordDialogs(), before);
}

TEST_F(LockWindowTest, SwitchingTheRequirementOffWhileLockedOnlyChecksThePasswordAndTheRequirementStays)
{
    requireSecret();
    chooseRequirement();
    ASSERT_EQ(passwordDialogs(), 2);
    EXPECT_EQ(lastPasswordPresentation().mode, Mode::collect);
    typePassword(QStringLiteral("secret"));
    EXPECT_EQ(openPasswordDialog(), nullptr);
    EXPECT_TRUE(locked());
    EXPECT_TRUE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_TRUE(requirementItem()->isChecked());
    EXPECT_TRUE(controller->editingLock().disablingRequirePassword());
}

TEST_F(LockWindowTest, SwitchingTheRequirementOffWhileLockedWithAWrongPasswordThenCancelRelocks)
{
    requireSecret();
    chooseRequirement();
    typePassword(QStringLiteral("guess"));
    cancelPassword();
    EXPECT_TRUE(locked());
    EXPECT_TRUE(controller->editingLock().passwordRequiredToUnlock());
}

TEST_F(LockWindowTest, TheDisablingFlagIsNeverClearedSoADialogPreparedWhileLockedCollectsInsteadOfSetting)
{
    // Before: a password dialog over a locked window, with no flag pending,
    // sets a password.
    clickLock();
    controller->performSegueWithIdentifier(ViewController::passwordSegueIdentifier, nullptr);
    ASSERT_EQ(lastPasswordPresentation().mode, Mode::set);
    cancelPassword();
    clickLock();
    ASSERT_FALSE(locked());

    requireSecret();
    chooseRequirement(); // off while locked: a check only
    typePassword(QStringLiteral("secret"));
    clickLock(); // unlock
    typePassword(QStringLiteral("secret"));
    ASSERT_FALSE(locked());
    chooseRequirement(); // unlocked: now really off
    ASSERT_FALSE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_TRUE(controller->editingLock().disablingRequirePassword());

    clickLock();
    const qsizetype before = passwordDialogs();
    controller->performSegueWithIdentifier(ViewController::passwordSegueIdentifier, nullptr);
    ASSERT_EQ(passwordDialogs(), before + 1);
    EXPECT_EQ(lastPasswordPresentation().mode, Mode::collect);
    EXPECT_EQ(lastPasswordPresentation().matchPassword, passwordDigest(QStringLiteral("secret")));
    EXPECT_TRUE(lastPasswordPresentation().confirmHidden);
    cancelPassword();
    EXPECT_TRUE(locked());
    EXPECT_TRUE(controller->editingLock().disablingRequirePassword());
}

TEST_F(LockWindowTest, ANewWindowStartsWithTheRequirementOffAndNoPassword)
{
    requireSecret();
    main.window.reset();
    openWindow();
    EXPECT_FALSE(controller->editingLock().passwordRequiredToUnlock());
    EXPECT_TRUE(controller->editingLock().unlockPasswordHash().isEmpty());
    EXPECT_FALSE(requirementItem()->isChecked());
    clickLock();
    clickLock();
    EXPECT_EQ(passwordDialogs(), 1); // the first window's only
}

TEST_F(LockWindowTest, TheLockEditingMenuItemMirrorsTheCheckBoxAndActsLikeAClick)
{
    QAction* lockItem = main.menu->lockEditingAction();
    ASSERT_NE(lockItem, nullptr);
    EXPECT_FALSE(lockItem->isChecked());
    clickLock();
    EXPECT_TRUE(lockItem->isChecked());
    lockItem->trigger();
    EXPECT_FALSE(locked());
    EXPECT_FALSE(lockItem->isChecked());

    requireSecret();
    EXPECT_TRUE(lockItem->isChecked());
    lockItem->trigger(); // unlock through the menu: the password is asked
    ASSERT_NE(openPasswordDialog(), nullptr);
    cancelPassword();
    EXPECT_TRUE(locked());
    EXPECT_TRUE(lockItem->isChecked());
}

TEST_F(LockWindowTest, PasswordDialogsComeUpOverTheMainWindow)
{
    chooseRequirement();
    clickLock();
    PasswordViewController* dialog = openPasswordDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->window()->parentWidget(), main.window.get());
    EXPECT_EQ(dialog->presentingViewController(), controller);
    cancelPassword();
}

using LockWindowDeathTest = LockWindowTest;

TEST_F(LockWindowDeathTest, TheRequirementCommandFromAnythingButAMenuItemStopsTheProcess)
{
    EXPECT_DEATH(controller->togglePasswordRequirement(controller->lockTallyCheckBox()),
        "fatal error: togglePasswordRequirement needs its menu item as sender");
    EXPECT_DEATH(controller->togglePasswordRequirement(nullptr),
        "fatal error: togglePasswordRequirement needs its menu item as sender");
}
