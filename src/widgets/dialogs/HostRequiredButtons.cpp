#include "dialogs/HostRequiredButtons.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>

QDialogButtonBox* addHostRequiredButtons(QDialog& dialog, QFormLayout& form, const QLineEdit& hostField)
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    form.addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    const auto checkHost = [buttons, &hostField] {
        buttons->button(QDialogButtonBox::Ok)->setEnabled(!hostField.text().trimmed().isEmpty());
    };
    QObject::connect(&hostField, &QLineEdit::textChanged, buttons, checkHost);
    checkHost();
    return buttons;
}
