#pragma once

#include "lock/EditingLock.h"

#include <QAction>
#include <QCheckBox>
#include <QPointer>

#include <functional>

// The window's side of the editing lock: the "Lock Editing" check box, the
// "Require Password to Unlock" menu item and the way to the password
// dialog. The lock's rules are EditingLock's; this only reads and sets the
// controls they act on.
class EditingLockControls : private EditingLock::Window {
public:
    // checkBox: the lock check box from the layout (none is allowed);
    // openPasswordDialog: the segue to the password dialog.
    EditingLockControls(QCheckBox* checkBox, std::function<void()> openPasswordDialog);

    // After the user clicked the check box (its state already flipped).
    void toggleLockSelection();
    // The menu command; its item, the sender, shows whether the requirement
    // is on. Any other sender is a miswired menu and stops the process.
    void togglePasswordRequirement(QObject* sender);

    // True while the check box is on: the shot editor stays shut.
    bool isEditingLocked() const;
    QCheckBox* lockTallyCheckBox() const { return m_checkBox; }

    EditingLock& editingLock() { return m_editingLock; }
    const EditingLock& editingLock() const { return m_editingLock; }

private:
    std::optional<bool> lockCheckBoxState() const override;
    void setLockCheckBoxState(bool locked) override;
    void setRequirementMenuItemState(bool on) override;
    void openPasswordDialog() override;

    QPointer<QCheckBox> m_checkBox;
    QPointer<QAction> m_requirementMenuItem;
    std::function<void()> m_openPasswordDialog;
    EditingLock m_editingLock;
};
