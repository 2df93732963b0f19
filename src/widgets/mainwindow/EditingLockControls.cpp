#include "mainwindow/EditingLockControls.h"

#include "base/FatalError.h"

#include <QAction>
#include <QCheckBox>

EditingLockControls::EditingLockControls(QCheckBox* checkBox, std::function<void()> openPasswordDialog)
    : m_checkBox(checkBox)
    , m_openPasswordDialog(std::move(openPasswordDialog))
    , m_editingLock(*this)
{
}

void EditingLockControls::toggleLockSelection()
{
    m_editingLock.updateLockAfterToggle();
}

void EditingLockControls::togglePasswordRequirement(QObject* sender)
{
    auto* menuItem = qobject_cast<QAction*>(sender);
    if (menuItem == nullptr) {
        fatalError(QStringLiteral("togglePasswordRequirement needs its menu item as sender"));
    }
    m_requirementMenuItem = menuItem;
    m_editingLock.updatePasswordRequirement();
}

bool EditingLockControls::isEditingLocked() const
{
    return m_checkBox && m_checkBox->isChecked();
}

std::optional<bool> EditingLockControls::lockCheckBoxState() const
{
    if (!m_checkBox) {
        return std::nullopt;
    }
    return m_checkBox->isChecked();
}

void EditingLockControls::setLockCheckBoxState(bool locked)
{
    if (m_checkBox) {
        m_checkBox->setChecked(locked);
    }
}

void EditingLockControls::setRequirementMenuItemState(bool on)
{
    if (m_requirementMenuItem) {
        m_requirementMenuItem->setChecked(on);
    }
}

void EditingLockControls::openPasswordDialog()
{
    m_openPasswordDialog();
}
