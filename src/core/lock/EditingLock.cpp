#include "lock/EditingLock.h"

// Every path below opens the dialog as its very last step: the window may run
// the dialog modally inside openPasswordDialog, calling back into this object
// before the call returns, so nothing may be changed after it.

EditingLock::EditingLock(Window& window)
    : m_window(window)
{
}

bool EditingLock::isLocked() const
{
    return m_window.lockCheckBoxState().value_or(false);
}

void EditingLock::updateLockAfterToggle()
{
    if (!isLocked() && m_passwordRequiredToUnlock) {
        // Unlocking (or no check box to tell): the password decides.
        m_window.openPasswordDialog();
        return;
    }
    if (isLocked() && m_passwordRequiredToUnlock && m_unlockPasswordHash.isEmpty()) {
        // Locking while the requirement still waits for its password.
        m_window.openPasswordDialog();
    }
}

void EditingLock::updatePasswordRequirement()
{
    if (m_passwordRequiredToUnlock) {
        if (isLocked()) {
            // Only the password is checked; the requirement stays on.
            m_disablingRequirePassword = true;
            m_window.openPasswordDialog();
            return;
        }
        m_passwordRequiredToUnlock = false;
        m_window.setRequirementMenuItemState(false);
        return;
    }

    m_passwordRequiredToUnlock = true;
    m_window.setRequirementMenuItemState(true);
    if (!m_unlockPasswordHash.isEmpty()) {
        return; // the password chosen earlier still serves
    }
    m_enablingRequirePassword = true;
    if (isLocked()) {
        m_window.openPasswordDialog();
    }
    // Unlocked: the next locking click asks for the password.
}

EditingLock::DialogSetup EditingLock::preparePasswordDialog() const
{
    const DialogSetup collect { PasswordMode::collect, m_unlockPasswordHash };
    const DialogSetup set { PasswordMode::set, std::nullopt };

    if (m_disablingRequirePassword) {
        return collect;
    }
    if (m_enablingRequirePassword) {
        return set;
    }
    return isLocked() ? set : collect;
}

void EditingLock::passwordDialogDidClose(
    std::optional<PasswordMode> mode, bool passwordMatched, const QString& passwordHash)
{
    if (mode == PasswordMode::set) {
        closeSetDialog(passwordHash);
    } else {
        closeCollectDialog(passwordMatched);
    }
    m_enablingRequirePassword = false;
}

void EditingLock::closeCollectDialog(bool passwordMatched)
{
    if (passwordMatched) {
        return; // an unlocking click stands
    }
    if (m_window.lockCheckBoxState().has_value()) {
        m_window.setLockCheckBoxState(true);
    }
}

void EditingLock::closeSetDialog(const QString& passwordHash)
{
    if (!passwordHash.isEmpty()) {
        m_unlockPasswordHash = passwordHash;
        return;
    }
    if (!isLocked() || !m_passwordRequiredToUnlock) {
        return;
    }
    if (m_enablingRequirePassword) {
        // No password chosen: the requirement is withdrawn. The menu item is
        // left showing on.
        m_passwordRequiredToUnlock = false;
    } else {
        // The lock that needed a password is undone.
        m_window.setLockCheckBoxState(false);
    }
}
