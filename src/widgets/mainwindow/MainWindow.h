#pragma once

#include "mainwindow/CustomWindow.h"
#include "mainwindow/ViewController.h"

#include <memory>

class MainMenu;
class StatusLine;

// Puts the main window together: the window, the main screen controller as
// its content and the menu bar. The program makes one at start; widget tests
// make theirs with test doubles.
struct MainWindow {
    std::unique_ptr<CustomWindow> window;
    ViewController* controller = nullptr;
    MainMenu* menu = nullptr;
    StatusLine* statusLine = nullptr;

    static MainWindow make(ViewController::Dependencies dependencies = {});
};
