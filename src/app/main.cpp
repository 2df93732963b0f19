// Mixdesk Tally: the main window beside Mixdesk, driving the tally box.

#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "app/ModalPanelProbe.h"
#include "app/SingleInstance.h"
#include "core/StandardOutput.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Mixdesk Tally"));
    QApplication::setOrganizationName(QStringLiteral("Mixdesk"));
    QApplication::setDesktopFileName(QStringLiteral("mixdesk-tally"));
    const QStringList files = QApplication::arguments().mid(1);

    // One instance drives the tally box: a later launch gives its files to
    // the running one and leaves.
    SingleInstance instance(SingleInstance::defaultDirectory());
    if (!instance.becomePrimary()) {
        QString error;
        if (!instance.handOver(files, &error)) {
            printErrorLine(QStringLiteral("mixdesk-tally: ") + error);
            return 1;
        }
        return 0;
    }

    installModalPanelProbe();
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    QObject::connect(&app, &QApplication::aboutToQuit, &delegate, &AppDelegate::applicationWillTerminate);

    MainWindow main = MainWindow::make();
    delegate.setKeyWindow(main.window.get());
    main.window->show();
    delegate.applicationOpenFiles(files);

    QObject::connect(
        &instance, &SingleInstance::filesReceived, &delegate, [&main, &delegate](const QStringList& paths) {
            main.window->raise();
            main.window->activateWindow();
            delegate.applicationOpenFiles(paths);
        });
    return app.exec();
}
