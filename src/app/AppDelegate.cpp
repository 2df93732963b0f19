#include "app/AppDelegate.h"

#include "app/UserDefaults.h"
#include "app/ViewController.h"
#include "core/FatalError.h"

#include <QMainWindow>
#include <QUrl>

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
{
}

void AppDelegate::setKeyWindow(QMainWindow* window)
{
    m_keyWindow = window;
}

void AppDelegate::applicationDidFinishLaunching()
{
    Preferences::registerDefaults(UserDefaults::standardUserDefaults());
}

void AppDelegate::applicationWillTerminate()
{
    // The lights stay as they are when the program quits; the studio may
    // still be on air.
}

void AppDelegate::applicationOpenFiles(const QStringList& paths)
{
    if (paths.isEmpty()) {
        return;
    }
    if (!m_keyWindow) {
        fatalError(QStringLiteral("a file was handed over with no main window to open it"));
    }
    QWidget* content = m_keyWindow->centralWidget();
    if (content == nullptr) {
        fatalError(QStringLiteral("the main window has no content view controller"));
    }
    auto* controller = qobject_cast<ViewController*>(content);
    if (controller == nullptr) {
        fatalError(QStringLiteral("the main window's content is a %1, not the main screen controller")
                       .arg(QString::fromLatin1(content->metaObject()->className())));
    }
    controller->loadTallyMap(QUrl::fromLocalFile(paths.first()));
}
