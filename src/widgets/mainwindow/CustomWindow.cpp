#include "mainwindow/CustomWindow.h"

#include "base/Text.h"
#include "base/UserDefaults.h"

#include <QCloseEvent>
#include <QWindow>

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
    setStaysOnTop(*this, level >= floatingWindowLevel);
}

void CustomWindow::setStaysOnTop(QWidget& window, bool onTop)
{
    if (window.windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) {
        return;
    }
    // Changing a window flag re-creates the native window and hides it; a
    // window the user could see comes straight back.
    const bool wasVisible = window.isVisible();
    window.setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    if (wasVisible) {
        window.show();
    }
}

QString CustomWindow::displayedTitle() const
{
    const QString title = Text::shownWindowTitle(windowTitle());
    return isWindowModified() ? title + QStringLiteral(" *") : title;
}

void CustomWindow::setCloseGuard(std::function<bool()> closeGuard)
{
    m_closeGuard = std::move(closeGuard);
}

void CustomWindow::restoreSavedGeometry()
{
    const QByteArray saved = UserDefaults::standardUserDefaults().objectForKey(geometryKey).toByteArray();
    if (!saved.isEmpty()) {
        restoreGeometry(saved);
    }
}

void CustomWindow::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowTitleChange || event->type() == QEvent::ModifiedChange) {
        showTitle();
    }
}

void CustomWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    showTitle();
}

void CustomWindow::closeEvent(QCloseEvent* event)
{
    if (m_closeGuard && !m_closeGuard()) {
        event->ignore();
        return;
    }
    UserDefaults::standardUserDefaults().setObject(geometryKey, saveGeometry());
    QMainWindow::closeEvent(event);
}

void CustomWindow::showTitle()
{
    // The title itself stays the file's name (a name may hold any
    // characters, "[*]" included), so the marker goes straight to the
    // native window, after Qt has set its own text.
    if (QWindow* handle = windowHandle()) {
        handle->setTitle(displayedTitle());
    }
}
