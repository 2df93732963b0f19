#pragma once

#include <QMessageBox>
#include <QString>

class QWidget;

// A message box over the main window that blocks that window only, and
// does not wait: the caller goes on at once and the box deletes itself when
// it is closed. The lights go on following the switcher while it is up,
// which an application-modal box (QMessageBox's static functions on Linux)
// would stop for as long as the operator leaves it there.
namespace WindowModalMessage {

// The box, already shown; it is the window's child, so it goes with it.
QMessageBox* show(QWidget* window, QMessageBox::Icon icon, const QString& title, const QString& text,
    Qt::TextFormat format = Qt::PlainText);

} // namespace WindowModalMessage
