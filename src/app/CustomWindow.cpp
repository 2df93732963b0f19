#include "app/CustomWindow.h"

CustomWindow::CustomWindow(QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags)
{
}

int CustomWindow::windowLevel() const
{
    return windowFlags().testFlag(Qt::WindowStaysOnTopHint) ? floatingWindowLevel : normalWindowLevel;
}

void CustomWindow::setWindowLevel(int level)
{
    const bool onTop = level >= floatingWindowLevel;
    if (windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) {
        return;
    }
    // Changing a window flag re-creates the native window and hides it; a
    // window the user could see comes straight back.
    const bool wasVisible = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    if (wasVisible) {
        show();
    }
}
