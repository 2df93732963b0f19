#include "mainwindow/AppDelegate.h"

#include "base/FatalError.h"
#include "base/UserDefaults.h"
#include "mainwindow/ViewController.h"

#include <QApplication>
#include <QMainWindow>
#include <QTimer>
#include <QUrl>

#include <utility>

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
    , m_waitingTimer(new QTimer(this))
{
    m_waitingTimer->setInterval(waitingRetryMilliseconds);
    connect(m_waitingTimer, &QTimer::timeout, this, &AppDelegate::openWhenNothingIsUp);
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
    m_waitingFile = paths.first();
    openWhenNothingIsUp();
}

void AppDelegate::openWhenNothingIsUp()
{
    // The window-modal shot editor counts as well as the application-modal
    // panels: both are on the modal stack while they are shown.
    if (QApplication::activeModalWidget() != nullptr) {
        m_waitingTimer->start();
        return;
    }
    m_waitingTimer->stop();
    const QString path = std::exchange(m_waitingFile, QString());
    if (path.isEmpty()) {
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
    controller->loadTallyMap(QUrl::fromLocalFile(path));
}
