#pragma once

class QDialog;
class QDialogButtonBox;
class QFormLayout;
class QLineEdit;

// OK and Cancel at the foot of a dialog that asks where a switcher is: OK
// accepts and Cancel rejects, and OK stays disabled while the host field
// holds nothing but blanks, since without a host there is nothing to
// connect to. The buttons are the dialog's children.
QDialogButtonBox* addHostRequiredButtons(QDialog& dialog, QFormLayout& form, const QLineEdit& hostField);
