#pragma once

#include <QPointer>
#include <QWidget>

class AutoCut;
class QCheckBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTreeWidget;
class QTreeWidgetItem;
class ShowModel;

// The stand-in's switcher panel: the shots with their program (red) and
// preview (green) state. Clicking a shot puts it in preview and Cut takes it
// to program, as on a switcher; shots can be renamed in place, added and
// removed, and auto-cut runs a show by itself for demos.
class MixdeskWindow : public QWidget {
    Q_OBJECT

public:
    MixdeskWindow(ShowModel& model, AutoCut& autoCut, QWidget* parent = nullptr);

    // Shows where the answer file is, for whoever sets up the tally side.
    void showAnswerPath(const QString& path);

    // Appends a shot with a name not yet in the show and opens its name for
    // editing; what the Add button does.
    void addShot();
    void renameCurrentShot();
    void removeCurrentShot();

private:
    void buildLayout();
    void connectControls();
    void refresh();
    void fillItem(QTreeWidgetItem* item, int position) const;
    void takeEditedName(QTreeWidgetItem* item, int column);
    void takeAutoCutControls();
    void showAutoCut(int seconds);
    QString freshShotName() const;
    int currentPosition() const;

    ShowModel& m_model;
    AutoCut& m_autoCut;
    QPointer<QTreeWidget> m_shotList;
    QPointer<QPushButton> m_cutButton;
    QPointer<QPushButton> m_addButton;
    QPointer<QPushButton> m_renameButton;
    QPointer<QPushButton> m_removeButton;
    QPointer<QCheckBox> m_autoCutCheck;
    QPointer<QSpinBox> m_autoCutSeconds;
    QPointer<QLabel> m_answerPath;
};
