#pragma once

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QObject>
#include <QPointer>

class ViewController;

// The main window's menu bar: File (Open, Open Recent, Save, Save As, Quit),
// Edit (Lock Editing, Require Password to Unlock, Test Lights) and View
// (Always on Top) and Source (Mixdesk, OBS Studio…). The commands go to the main screen controller; Open Recent
// is rebuilt from the recent documents each time it opens.
class MainMenu : public QObject {
    Q_OBJECT

public:
    MainMenu(QMenuBar& menuBar, ViewController& controller);

    QMenu* fileMenu() const { return m_fileMenu; }
    QMenu* openRecentMenu() const { return m_openRecentMenu; }
    // The editing lock's commands and the light test panel.
    QMenu* editMenu() const { return m_editMenu; }
    QMenu* viewMenu() const { return m_viewMenu; }
    QAction* alwaysOnTopAction() const { return m_alwaysOnTop; }
    QAction* requirePasswordAction() const { return m_requirePassword; }
    QAction* lockEditingAction() const { return m_lockEditing; }
    QAction* testLightsAction() const { return m_testLights; }
    QMenu* sourceMenu() const { return m_sourceMenu; }
    QAction* mixdeskSourceAction() const { return m_mixdeskSource; }
    QAction* obsSourceAction() const { return m_obsSource; }

    // Follow Mixdesk, or OBS Studio at address ("obs://HOST:PORT") with
    // password, from now on and at the next start (unless the command line
    // chooses otherwise). False, with the reason, for an unusable address.
    void chooseMixdeskSource();
    bool chooseObsSource(const QString& address, const QString& password, QString* problem = nullptr);

    // Fills Open Recent from the list: missing files disabled, then Clear.
    void rebuildOpenRecentMenu();

private:
    void buildFileMenu(QMenuBar& menuBar);
    void buildEditMenu(QMenuBar& menuBar);
    void buildViewMenu(QMenuBar& menuBar);
    void buildSourceMenu(QMenuBar& menuBar);
    void askForObsSource();
    void checkCurrentSource();
    void addLockEditingItem();
    void addTestLightsItem();
    // The item stores the preference itself, then tells the controller.
    void alwaysOnTopToggled(bool checked);

    ViewController& m_controller;
    QPointer<QMenu> m_fileMenu;
    QPointer<QMenu> m_openRecentMenu;
    QPointer<QMenu> m_editMenu;
    QPointer<QMenu> m_viewMenu;
    QPointer<QAction> m_alwaysOnTop;
    QPointer<QAction> m_requirePassword;
    QPointer<QAction> m_lockEditing;
    QPointer<QAction> m_testLights;
    QPointer<QMenu> m_sourceMenu;
    QPointer<QAction> m_mixdeskSource;
    QPointer<QAction> m_obsSource;
};
