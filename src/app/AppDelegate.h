#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

class QMainWindow;

// The application's delegate: registers the preferences once launching has
// finished, opens files the desktop hands over, and does nothing at quit (the
// lights keep what they show).
class AppDelegate : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(QObject* parent = nullptr);

    // The window whose controller opens handed-over files: the program's one
    // main window, which stands for the key window (on Linux the active
    // window is unknown while another program has the focus).
    void setKeyWindow(QMainWindow* window);

public Q_SLOTS:
    // Registers "AlwaysOnTop" (false) and "ShowEmptyLayers" (true); stores
    // nothing.
    void applicationDidFinishLaunching();
    // Nothing: no byte goes to the tally box at quit.
    void applicationWillTerminate();
    // Opens the first file as a tally map through the main controller; the
    // others are ignored. No window, or a window without the main
    // controller, stops the process.
    void applicationOpenFiles(const QStringList& paths);

private:
    QPointer<QMainWindow> m_keyWindow;
};
