#include "dialogs/MessageBoxSaveChangesPrompt.h"

#include <QMessageBox>

SaveChangesPrompt::Answer MessageBoxSaveChangesPrompt::ask(QWidget* window, const QString& documentName)
{
    QMessageBox box(window);
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(QObject::tr("Unsaved Changes"));
    box.setTextFormat(Qt::PlainText);
    box.setText(QObject::tr("Save the changes to the tally map \"%1\"?").arg(documentName));
    box.setInformativeText(QObject::tr("Your changes are lost if you don't save them."));
    box.setStandardButtons(QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    box.setDefaultButton(QMessageBox::Save);
    // Over the main window only: the lights go on following the switcher
    // while the operator makes up their mind.
    box.setWindowModality(Qt::WindowModal);
    switch (box.exec()) {
    case QMessageBox::Save:
        return Answer::save;
    case QMessageBox::Discard:
        return Answer::discard;
    default:
        return Answer::cancel;
    }
}
