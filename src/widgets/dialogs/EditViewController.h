#pragma once

#include "model/Shot.h"
#include "sources/ShotEditorOptions.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

class QCheckBox;
class QLabel;
class QCloseEvent;
class QPushButton;
class QTableWidget;

namespace Ui {
class EditViewController;
}

// The shot editor of one tally light: one check box per shot the production
// application reports, ticked when the shot lights this light. It works on
// its own copy of the light's list (the records themselves are shared) and
// hands it back when it is dismissed: however it is closed, Escape included,
// the light keeps the ticks. Only when the user has chosen Edit > Cancel in
// Shot Editor ("ShotEditorCancel", read when the editor is made) does it
// show a Cancel button, which Escape presses, handing back the list as it
// came. The main window shows it as a window-modal sheet so that the lights
// keep updating.
class EditViewController : public QWidget {
    Q_OBJECT

public:
    // The presenter's side of dismissal: called with the editor, which the
    // presenter then closes (it must not delete it on the spot).
    using DismissViewController = std::function<void(QObject* viewController)>;

    explicit EditViewController(QWidget* parent = nullptr);
    ~EditViewController() override;

    // Element 0: the shots reported now, in their order. Element 1: the
    // light's assigned records, in order.
    QList<ShotList> representedObject() const;
    // Needs at least one list, and two before a row can be shown or toggled;
    // fewer is a programming error that stops the program.
    void setRepresentedObject(const QList<ShotList>& lists);

    void setPresentingViewController(DismissViewController dismissViewController);

    // The options of the source the lights follow: an option that means
    // nothing there is not shown. Mixdesk's by default.
    void setOptions(const ShotEditorOptions& options);
    const ShotEditorOptions& options() const { return m_options; }

    int numberOfRowsInTableView(const QTableWidget* tableView) const;
    // The check box of a row: titled with the shot's name, tagged with the
    // row, on when the light holds a record with the shot's shotId.
    QCheckBox* tableViewViewForTableColumnRow(QTableWidget* tableView, int column, int row);

    // The light being edited; the editor only carries it back.
    int lightIndex = 0;
    QPointer<QTableWidget> table;
    QPointer<QCheckBox> showEmptyCheckBox;
    QPointer<QPushButton> doneButton;
    // Hidden unless the user chose the editor's Cancel.
    QPointer<QPushButton> cancelButton;
    // Under the table, shown only when the light holds shots the source
    // does not report: those have no row to tick, and can never light it.
    QPointer<QLabel> missingShotsLabel;

    // "Assign Shots to Light 3" for light index 2.
    static QString titleForLight(int lightIndex);
    // The rows, row r showing element r.
    ShotList usableShotList;
    QList<ShotList> shotLists;

public Q_SLOTS:
    void checkBoxToggleWithSender(QObject* sender);
    // Rebuilds the rows from the stored "ShowEmptyLayers"; the check box has
    // stored its new state before this runs.
    void toggleShowEmptyWithSender(QObject* sender);
    void finishEditingWithSender(QObject* sender);
    // Puts the light's list back as it was given, then ends editing.
    void cancelEditingWithSender(QObject* sender);

protected:
    void viewDidLoad();
    // Closing the sheet any other way ends editing like Done.
    void closeEvent(QCloseEvent* event) override;

private:
    void rebuildRows();
    void showMissingShots();
    void reloadTable();
    ShotList& assignedShots();
    void bindToPreference(QCheckBox* checkBox, const QString& key);
    void askPresenterToDismiss();

    std::unique_ptr<Ui::EditViewController> m_ui;
    DismissViewController m_dismissViewController;
    // The light's list as given, for Cancel.
    ShotList m_originalAssignment;
    bool m_dismissing = false;
    ShotEditorOptions m_options = ShotEditorOptions::forSource(ShotSource::Kind::mixdesk);
};
