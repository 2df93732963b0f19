#include "dialogs/WindowModalMessage.h"

#include <QWidget>

namespace WindowModalMessage {

QMessageBox* show(
    QWidget* window, QMessageBox::Icon icon, const QString& title, const QString& text, Qt::TextFormat format)
{
    auto* box = new QMessageBox(icon, title, text, QMessageBox::Ok, window);
    box->setTextFormat(format);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->show();
    box->raise();
    box->activateWindow();
    return box;
}

} // namespace WindowModalMessage
