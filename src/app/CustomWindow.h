#pragma once

#include <QMainWindow>

// The main window. It adds no state of its own: its title and represented
// file are QWidget's windowTitle and windowFilePath, and its level is the
// stays-on-top hint, reported the way the controller thinks of it.
class CustomWindow : public QMainWindow {
    Q_OBJECT

public:
    static constexpr int normalWindowLevel = 0;
    static constexpr int floatingWindowLevel = 3;

    explicit CustomWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = {});

    // floatingWindowLevel while the window stays on top, else
    // normalWindowLevel.
    int windowLevel() const;
    void setWindowLevel(int level);
};
