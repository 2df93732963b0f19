#pragma once

#include <QMainWindow>

#include <functional>

// The main window. Its title and represented file are QWidget's windowTitle
// and windowFilePath, and its level is the stays-on-top hint, reported the
// way the controller thinks of it. The title stays the file's name; the
// title bar adds " *" while the map has unsaved changes.
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
    // The same for any top-level window: on top or not, visible as before.
    static void setStaysOnTop(QWidget& window, bool onTop);

    // What the title bar shows: the title, with " *" while modified.
    QString displayedTitle() const;

    // Asked before the window closes (and the program with it); false keeps
    // it open. Unset, the window always closes.
    void setCloseGuard(std::function<bool()> closeGuard);

    // The window's size and place, kept between runs.
    void restoreSavedGeometry();
    static inline const QString geometryKey = QStringLiteral("MainWindowGeometry");

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void showTitle();

    std::function<bool()> m_closeGuard;
};
