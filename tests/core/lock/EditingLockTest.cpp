#include "lock/EditingLock.h"

#include "support/QtPrinters.h"

#include <QCryptographicHash>
#include <QList>

#include <gtest/gtest.h>

#include <deque>

namespace {

QString digest(const QString& password)
{
    return QString::fromLatin1(QCryptographicHash::hash(password.toUtf8(), QCryptographicHash::Sha256).toHex());
}

// How the operator answers one password dialog: types a password (in a set
// dialog, twice and the same) or closes it without an accepted entry.
struct Answer {
    bool cancelled = true;
    QString password;
};

Answer typing(const QString& password)
{
    return { false, password };
}

Answer cancelling()
{
    return { true, {} };
}

// The main window around the lock: a check box that may be missing, the
// requirement menu item, and a password dialog that runs modally, like the
// real one, and takes its answers from the test.
class FakeWindow : public EditingLock::Window {
public:
    std::optional<bool> lockCheckBoxState() const override { return checkBox; }

    void setLockCheckBoxState(bool locked) override
    {
        if (!checkBox.has_value()) {
            ADD_FAILURE() << "the lock set a check box the window does not have";
        }
        checkBox = locked;
    }

    void setRequirementMenuItemState(bool on) override { menuItem = on; }

    void openPasswordDialog() override
    {
        const EditingLock::DialogSetup setup = lock->preparePasswordDialog();
        dialogs.push_back(setup);
        Answer answer = cancelling();
        if (answers.empty()) {
            ADD_FAILURE() << "a password dialog opened that the test did not expect";
        } else {
            answer = answers.front();
            answers.pop_front();
        }
        const bool matched = setup.mode == PasswordMode::collect && !answer.cancelled
            && digest(answer.password) == setup.matchPassword.value_or(QString());
        const QString hash = setup.mode == PasswordMode::set && !answer.cancelled ? digest(answer.password) : QString();
        lock->passwordDialogDidClose(setup.mode, matched, hash);
    }

    EditingLock* lock = nullptr;
    std::optional<bool> checkBox = false;
    std::optional<bool> menuItem;
    std::deque<Answer> answers;
    QList<EditingLock::DialogSetup> dialogs;
};

class EditingLockTest : public testing::Test {
protected:
    EditingLockTest() { window.lock = &lock; }

    // The user clicks the check box: its state flips, then its action runs.
    void clickLockCheckBox()
    {
        ASSERT_TRUE(window.checkBox.has_value());
        window.checkBox = !*window.checkBox;
        lock.updateLockAfterToggle();
    }

    void chooseRequirementCommand() { lock.updatePasswordRequirement(); }

    void answerNextDialog(const Answer& answer) { window.answers.push_back(answer); }

    // Unlocked, requirement on, password "secret" set; one dialog used.
    void requirePassword()
    {
        chooseRequirementCommand();
        answerNextDialog(typing(QStringLiteral("secret")));
        clickLockCheckBox();
        answerNextDialog(typing(QStringLiteral("secret")));
        clickLockCheckBox();
        ASSERT_EQ(window.checkBox, false);
        ASSERT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("secret")));
        window.dialogs.clear();
    }

    void expectDialogs(const QList<PasswordMode>& modes) const
    {
        ASSERT_EQ(window.dialogs.size(), modes.size());
        for (qsizetype i = 0; i < modes.size(); ++i) {
            EXPECT_EQ(window.dialogs.at(i).mode, modes.at(i)) << "dialog " << i;
            if (modes.at(i) == PasswordMode::set) {
                EXPECT_FALSE(window.dialogs.at(i).matchPassword.has_value()) << "dialog " << i;
            } else {
                EXPECT_EQ(window.dialogs.at(i).matchPassword, lock.unlockPasswordHash()) << "dialog " << i;
            }
        }
    }

    FakeWindow window;
    EditingLock lock { window };
};

using Mode = PasswordMode;

TEST_F(EditingLockTest, RequirementOffLocksAndUnlocksFreelyWithoutDialog)
{
    clickLockCheckBox();
    EXPECT_EQ(window.checkBox, true);
    clickLockCheckBox();
    EXPECT_EQ(window.checkBox, false);
    clickLockCheckBox();
    EXPECT_EQ(window.checkBox, true);

    expectDialogs({});
    EXPECT_FALSE(window.menuItem.has_value());
}

TEST_F(EditingLockTest, LockingWithPasswordSetNeedsNoDialog)
{
    requirePassword();

    clickLockCheckBox();

    EXPECT_EQ(window.checkBox, true);
    expectDialogs({});
}

TEST_F(EditingLockTest, UnlockingWithPasswordRequiredOpensCollectDialogAndWrongEntryKeepsLock)
{
    requirePassword();
    clickLockCheckBox();

    answerNextDialog(typing(QStringLiteral("guess")));
    clickLockCheckBox();

    expectDialogs({ Mode::collect });
    EXPECT_EQ(window.dialogs.first().matchPassword, digest(QStringLiteral("secret")));
    EXPECT_EQ(window.checkBox, true);
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
}

TEST_F(EditingLockTest, CorrectPasswordUnlocks)
{
    requirePassword();
    clickLockCheckBox();

    answerNextDialog(typing(QStringLiteral("secret")));
    clickLockCheckBox();

    expectDialogs({ Mode::collect });
    EXPECT_EQ(window.checkBox, false);
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
}

TEST_F(EditingLockTest, UnlockDialogClosedWithoutMatchRelocks)
{
    requirePassword();
    clickLockCheckBox();

    answerNextDialog(cancelling());
    clickLockCheckBox();

    expectDialogs({ Mode::collect });
    EXPECT_EQ(window.checkBox, true);
}

TEST_F(EditingLockTest, RequirementOnWhileUnlockedDefersSetDialogToNextLockAndStoresHash)
{
    chooseRequirementCommand();

    expectDialogs({});
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
    EXPECT_TRUE(lock.enablingRequirePassword());
    EXPECT_EQ(window.menuItem, true);

    answerNextDialog(typing(QStringLiteral("secret")));
    clickLockCheckBox();

    expectDialogs({ Mode::set });
    EXPECT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("secret")));
    EXPECT_FALSE(lock.enablingRequirePassword());
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.checkBox, true);
}

TEST_F(EditingLockTest, CancellingDeferredSetDialogWithdrawsRequirementAndKeepsLock)
{
    chooseRequirementCommand();
    answerNextDialog(cancelling());
    clickLockCheckBox();

    expectDialogs({ Mode::set });
    EXPECT_FALSE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(lock.unlockPasswordHash(), QString());
    EXPECT_FALSE(lock.enablingRequirePassword());
    EXPECT_EQ(window.checkBox, true);
    // The menu item is left showing the requirement on.
    EXPECT_EQ(window.menuItem, true);

    // With the requirement gone, unlocking is free again.
    clickLockCheckBox();
    EXPECT_EQ(window.checkBox, false);
    expectDialogs({ Mode::set });
}

TEST_F(EditingLockTest, RequirementOnWhileLockedWithoutPasswordOpensSetDialogAtOnce)
{
    clickLockCheckBox();

    answerNextDialog(typing(QStringLiteral("secret")));
    chooseRequirementCommand();

    expectDialogs({ Mode::set });
    EXPECT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("secret")));
    EXPECT_FALSE(lock.enablingRequirePassword());
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.menuItem, true);
    EXPECT_EQ(window.checkBox, true);
}

TEST_F(EditingLockTest, CancelledSetDialogWhileLockedWithdrawsRequirementAndKeepsLock)
{
    clickLockCheckBox();

    answerNextDialog(cancelling());
    chooseRequirementCommand();

    expectDialogs({ Mode::set });
    EXPECT_FALSE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.menuItem, true);
    EXPECT_EQ(window.checkBox, true);
    EXPECT_FALSE(lock.enablingRequirePassword());
}

TEST_F(EditingLockTest, RequirementOnAgainReusesStoredHashWithoutDialog)
{
    requirePassword();
    chooseRequirementCommand();
    ASSERT_FALSE(lock.passwordRequiredToUnlock());
    ASSERT_EQ(window.menuItem, false);

    chooseRequirementCommand();

    expectDialogs({});
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.menuItem, true);
    EXPECT_FALSE(lock.enablingRequirePassword());
    EXPECT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("secret")));

    // Locking needs no new password; unlocking checks the old one.
    clickLockCheckBox();
    answerNextDialog(typing(QStringLiteral("secret")));
    clickLockCheckBox();
    expectDialogs({ Mode::collect });
    EXPECT_EQ(window.checkBox, false);
}

TEST_F(EditingLockTest, RequirementOffWhileUnlockedNeedsNoPassword)
{
    requirePassword();

    chooseRequirementCommand();

    expectDialogs({});
    EXPECT_FALSE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.menuItem, false);
    EXPECT_FALSE(lock.disablingRequirePassword());
    EXPECT_EQ(window.checkBox, false);
}

TEST_F(EditingLockTest, RequirementOffWhileLockedOnlyChecksPasswordAndLaterDialogsCollect)
{
    requirePassword();
    clickLockCheckBox();

    answerNextDialog(typing(QStringLiteral("secret")));
    chooseRequirementCommand();

    expectDialogs({ Mode::collect });
    EXPECT_TRUE(lock.disablingRequirePassword());
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.menuItem, true);
    EXPECT_EQ(window.checkBox, true);

    // Locked with the box on, a dialog would otherwise choose a new password;
    // the flag makes it check the existing one, for the rest of the window's life.
    const EditingLock::DialogSetup setup = lock.preparePasswordDialog();
    EXPECT_EQ(setup.mode, Mode::collect);
    EXPECT_EQ(setup.matchPassword, digest(QStringLiteral("secret")));

    answerNextDialog(typing(QStringLiteral("secret")));
    clickLockCheckBox();
    EXPECT_EQ(window.checkBox, false);
    EXPECT_TRUE(lock.disablingRequirePassword());

    // Unlocked, the command finally switches the requirement off; the flag stays.
    chooseRequirementCommand();
    EXPECT_FALSE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(window.menuItem, false);
    EXPECT_TRUE(lock.disablingRequirePassword());
}

TEST_F(EditingLockTest, RequirementOffWhileLockedWithWrongPasswordRelocks)
{
    requirePassword();
    clickLockCheckBox();

    answerNextDialog(typing(QStringLiteral("guess")));
    chooseRequirementCommand();

    expectDialogs({ Mode::collect });
    EXPECT_EQ(window.checkBox, true);
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
    EXPECT_TRUE(lock.disablingRequirePassword());
}

// The lock tolerates a window without its check box. That is also the one
// road to a requirement that is on with no password and nothing pending,
// from which a locking click asks for a new password without the enabling
// flag, and cancelling it undoes the lock.
TEST_F(EditingLockTest, CancelledSetDialogAfterLockingClickUndoesTheLock)
{
    window.checkBox.reset();
    chooseRequirementCommand();
    expectDialogs({});
    answerNextDialog(cancelling());
    lock.updateLockAfterToggle(); // with no box, the action counts as unlocking
    expectDialogs({ Mode::set });
    ASSERT_TRUE(lock.passwordRequiredToUnlock());
    ASSERT_FALSE(lock.enablingRequirePassword());
    ASSERT_EQ(lock.unlockPasswordHash(), QString());
    window.dialogs.clear();

    window.checkBox = false;
    answerNextDialog(cancelling());
    clickLockCheckBox();

    expectDialogs({ Mode::set });
    EXPECT_EQ(window.checkBox, false);
    EXPECT_TRUE(lock.passwordRequiredToUnlock());
}

TEST_F(EditingLockTest, SetDialogReturningHashWhileLockingStoresItAndClearsEnabling)
{
    window.checkBox.reset();
    chooseRequirementCommand();
    answerNextDialog(cancelling());
    lock.updateLockAfterToggle();
    window.dialogs.clear();
    window.checkBox = false;

    answerNextDialog(typing(QStringLiteral("later")));
    clickLockCheckBox();

    expectDialogs({ Mode::set });
    EXPECT_EQ(window.checkBox, true);
    EXPECT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("later")));
    EXPECT_FALSE(lock.enablingRequirePassword());
}

TEST_F(EditingLockTest, WithoutCheckBoxDialogsCollectAndNothingIsSwitched)
{
    requirePassword();
    window.checkBox.reset();

    answerNextDialog(typing(QStringLiteral("guess")));
    lock.updateLockAfterToggle();

    // FakeWindow fails the test if the lock tries to switch the missing box.
    expectDialogs({ Mode::collect });
    EXPECT_TRUE(lock.passwordRequiredToUnlock());

    // The command does not see a lock either: it switches the requirement off.
    chooseRequirementCommand();
    EXPECT_FALSE(lock.passwordRequiredToUnlock());
    EXPECT_FALSE(lock.disablingRequirePassword());
}

TEST_F(EditingLockTest, DialogWithUnsetModeCountsAsCollect)
{
    requirePassword();

    lock.passwordDialogDidClose(std::nullopt, true, digest(QStringLiteral("other")));
    EXPECT_EQ(window.checkBox, false);
    EXPECT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("secret")));

    lock.passwordDialogDidClose(std::nullopt, false, digest(QStringLiteral("other")));
    EXPECT_EQ(window.checkBox, true);
    EXPECT_EQ(lock.unlockPasswordHash(), digest(QStringLiteral("secret")));
}

TEST_F(EditingLockTest, SetDialogWithEmptyHashChangesNothingWithoutRequirement)
{
    clickLockCheckBox();

    lock.passwordDialogDidClose(PasswordMode::set, false, QString());

    EXPECT_EQ(window.checkBox, true);
    EXPECT_FALSE(lock.passwordRequiredToUnlock());
    EXPECT_EQ(lock.unlockPasswordHash(), QString());
}

TEST_F(EditingLockTest, PreparingWithNoFlagsFollowsTheCheckBox)
{
    const auto expectSetup = [this](Mode mode, std::optional<QString> matchPassword) {
        const EditingLock::DialogSetup setup = lock.preparePasswordDialog();
        EXPECT_EQ(setup.mode, mode);
        EXPECT_EQ(setup.matchPassword, matchPassword);
    };
    requirePassword();

    window.checkBox.reset();
    expectSetup(Mode::collect, digest(QStringLiteral("secret")));
    window.checkBox = true;
    expectSetup(Mode::set, std::nullopt);
    window.checkBox = false;
    expectSetup(Mode::collect, digest(QStringLiteral("secret")));
}

TEST_F(EditingLockTest, RestartStartsWithRequirementOffAndNoPassword)
{
    requirePassword();
    clickLockCheckBox();
    ASSERT_TRUE(lock.passwordRequiredToUnlock());

    // A new window of a new run: the box may show locked, nothing else is known.
    FakeWindow newWindow;
    newWindow.checkBox = true;
    EditingLock restarted(newWindow);
    newWindow.lock = &restarted;

    EXPECT_FALSE(restarted.passwordRequiredToUnlock());
    EXPECT_EQ(restarted.unlockPasswordHash(), QString());
    EXPECT_FALSE(restarted.enablingRequirePassword());
    EXPECT_FALSE(restarted.disablingRequirePassword());

    newWindow.checkBox = false;
    restarted.updateLockAfterToggle();
    EXPECT_TRUE(newWindow.dialogs.isEmpty());
    EXPECT_EQ(newWindow.checkBox, false);
}

} // namespace
