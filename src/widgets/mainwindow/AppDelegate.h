#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

class QMainWindow;
class QTimer;

// The application's delegate: registers the preferences once launching has
// finished, opens files the desktop hands over, and does nothing at quit (the
// lights keep what they show).
class AppDelegate : public QObject {
    Q_OBJECT

public:
    // How often a waiting file checks whether the sheet has closed.
    static constexpr int waitingRetryMilliseconds = 100;

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
    // controller, stops the process. While a sheet or a panel is up (the
    // shot editor, the password dialog, the test panel, a file panel) the
    // file waits until it has closed: the sheet works on the map it was
    // opened for, and loading another one beneath it would have its result
    // land in the wrong map. A later hand-over replaces a waiting one.
    void applicationOpenFiles(const QStringList& paths);

private:
    void openWhenNothingIsUp();

    QPointer<QMainWindow> m_keyWindow;
    QString m_waitingFile;
    QTimer* m_waitingTimer = nullptr;
};
