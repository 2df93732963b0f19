#include "app/MainWindow.h"

#include "app/MainMenu.h"

#include <QMenuBar>

MainWindow MainWindow::make(ViewController::Dependencies dependencies)
{
    MainWindow made;
    made.window = std::make_unique<CustomWindow>();
    made.controller = new ViewController(std::move(dependencies));
    made.window->setCentralWidget(made.controller);
    made.menu = new MainMenu(*made.window->menuBar(), *made.controller);
    return made;
}
