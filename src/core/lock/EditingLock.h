#pragma once

#include "lock/PasswordMode.h"

#include <QString>

#include <optional>

// The editing lock of the main window: the lock check box, the menu command
// that makes unlocking need a password, and the password dialog that sets or
// checks that password. Only the password's hash is kept, in memory, so every
// start of the program begins with no requirement and no password.
//
// Some answers look odd and are kept as they are: switching the requirement off while locked only checks the password
// and leaves the requirement on (unlock first, then switch it off), and from
// then on every dialog of the window's life checks rather than sets; a set
// dialog cancelled while the requirement was being switched on withdraws the
// requirement but leaves the menu item showing on.
class EditingLock {
public:
    // The window controls the lock works through. The dialog is opened by
    // the window (it may run modally before openPasswordDialog returns): it
    // asks preparePasswordDialog for the mode and reports back through
    // passwordDialogDidClose.
    class Window {
    public:
        virtual ~Window() = default;

        // True when the lock check box is on (editing locked); no value when
        // the window has no check box.
        virtual std::optional<bool> lockCheckBoxState() const = 0;
        // Only called while the window has a check box.
        virtual void setLockCheckBoxState(bool locked) = 0;
        virtual void setRequirementMenuItemState(bool on) = 0;
        virtual void openPasswordDialog() = 0;
    };

    // What the dialog is given before it shows: its mode and, when it is to
    // check a password, the hash to compare against.
    struct DialogSetup {
        PasswordMode mode = PasswordMode::collect;
        std::optional<QString> matchPassword;
    };

    explicit EditingLock(Window& window);

    // After the user clicked the check box (its state already flipped).
    void updateLockAfterToggle();
    // The menu command that switches the requirement on or off.
    void updatePasswordRequirement();
    // Before the dialog shows.
    DialogSetup preparePasswordDialog() const;
    // After the dialog closed, with what it holds then. A dialog whose mode
    // was never set (no value) is treated as checking a password.
    void passwordDialogDidClose(std::optional<PasswordMode> mode, bool passwordMatched, const QString& passwordHash);

    bool passwordRequiredToUnlock() const { return m_passwordRequiredToUnlock; }
    // Empty while no password has been set.
    QString unlockPasswordHash() const { return m_unlockPasswordHash; }
    // The requirement was switched on without a password: the next dialog
    // must set one.
    bool enablingRequirePassword() const { return m_enablingRequirePassword; }
    // The requirement was asked off while locked. Never cleared.
    bool disablingRequirePassword() const { return m_disablingRequirePassword; }

private:
    bool isLocked() const;
    void closeCollectDialog(bool passwordMatched);
    void closeSetDialog(const QString& passwordHash);

    Window& m_window;
    bool m_passwordRequiredToUnlock = false;
    QString m_unlockPasswordHash;
    bool m_enablingRequirePassword = false;
    bool m_disablingRequirePassword = false;
};
