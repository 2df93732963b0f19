#include "dialogs/EditViewController.h"

#include "base/FatalError.h"
#include "base/Text.h"
#include "base/UserDefaults.h"
#include "tally/TallyEvaluation.h"
#include "tallymap/ShotAssignment.h"
#include "ui_EditViewController.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QTableWidget>

namespace {

const char* const tagProperty = "tag";

} // namespace

EditViewController::EditViewController(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::EditViewController>())
{
    m_ui->setupUi(this);
    table = m_ui->table;
    showEmptyCheckBox = m_ui->showEmptyCheckBox;
    doneButton = m_ui->doneButton;
    cancelButton = m_ui->cancelButton;
    missingShotsLabel = m_ui->missingShotsLabel;
    // A sheet over the main window that blocks only that window: the update
    // tick waits for application-modal panels, and the lights must keep
    // following the production while shots are being assigned.
    setWindowFlags(windowFlags() | Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    viewDidLoad();
}

EditViewController::~EditViewController() = default;

void EditViewController::viewDidLoad()
{
    table->setColumnCount(1);
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    bindToPreference(showEmptyCheckBox, Preferences::showEmptyLayers);
    connect(showEmptyCheckBox, &QCheckBox::clicked, this, [this] { toggleShowEmptyWithSender(showEmptyCheckBox); });
    connect(doneButton, &QPushButton::clicked, this, [this] { finishEditingWithSender(doneButton); });
    connect(cancelButton, &QPushButton::clicked, this, [this] { cancelEditingWithSender(cancelButton); });
    // The sheet is a plain widget, not a dialog: the keys a dialog would
    // give its default and cancel buttons are set up by hand.
    for (const QKeySequence& key : { QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) }) {
        auto* done = new QShortcut(key, this);
        connect(done, &QShortcut::activated, doneButton, &QPushButton::click);
    }
    // Escape closes the sheet like any other way of closing it, keeping the
    // ticks, unless the user asked for a Cancel: then it is Cancel's key.
    const bool offersCancel = UserDefaults::standardUserDefaults().boolForKey(Preferences::shotEditorCancel);
    cancelButton->setVisible(offersCancel);
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(escape, &QShortcut::activated, offersCancel ? cancelButton : doneButton, &QPushButton::click);
    reloadTable();
}

void EditViewController::bindToPreference(QCheckBox* checkBox, const QString& key)
{
    // The box stores its state itself, before its action runs: toggled is
    // emitted ahead of clicked.
    checkBox->setChecked(UserDefaults::standardUserDefaults().boolForKey(key));
    connect(checkBox, &QCheckBox::toggled, this,
        [key](bool checked) { UserDefaults::standardUserDefaults().setBool(key, checked); });
}

QList<ShotList> EditViewController::representedObject() const
{
    return shotLists;
}

void EditViewController::setRepresentedObject(const QList<ShotList>& lists)
{
    if (lists.isEmpty()) {
        fatalError(QStringLiteral("the shot editor was given no shot lists"));
    }
    shotLists = lists;
    m_originalAssignment = lists.size() > 1 ? lists.at(1) : ShotList {};
    rebuildRows();
    showMissingShots();
}

void EditViewController::showMissingShots()
{
    // Judged against every shot the source reports, empty layers included:
    // a hidden row is still a shot the source has. With no shots known there
    // is nothing to judge against.
    const QStringList missing = shotLists.size() > 1 && !shotLists.first().isEmpty()
        ? TallyEvaluation::missingShots({ shotLists.at(1) }, shotLists.first()).first()
        : QStringList {};
    missingShotsLabel->setText(
        tr("⚠ Assigned but not among the source's shots: %1").arg(missing.join(QStringLiteral(", "))));
    missingShotsLabel->setVisible(!missing.isEmpty());
}

void EditViewController::setPresentingViewController(DismissViewController dismissViewController)
{
    m_dismissViewController = std::move(dismissViewController);
}

void EditViewController::setOptions(const ShotEditorOptions& options)
{
    m_options = options;
    showEmptyCheckBox->setVisible(options.emptyLayers);
    rebuildRows();
}

void EditViewController::rebuildRows()
{
    const bool showEmptyLayers
        = m_options.listsEmptyLayers(UserDefaults::standardUserDefaults().boolForKey(Preferences::showEmptyLayers));
    usableShotList
        = shotLists.isEmpty() ? ShotList {} : ShotAssignment::usableShots(shotLists.first(), showEmptyLayers);
    reloadTable();
}

void EditViewController::reloadTable()
{
    if (!table) {
        return;
    }
    // Dropping every row deletes the old check boxes with them.
    table->setRowCount(0);
    const int rows = numberOfRowsInTableView(table);
    table->setRowCount(rows);
    for (int row = 0; row < rows; ++row) {
        table->setCellWidget(row, 0, tableViewViewForTableColumnRow(table, 0, row));
    }
}

int EditViewController::numberOfRowsInTableView(const QTableWidget* /*tableView*/) const
{
    return static_cast<int>(usableShotList.size());
}

ShotList& EditViewController::assignedShots()
{
    if (shotLists.size() < 2) {
        fatalError(QStringLiteral("the shot editor needs two shot lists, it has %1").arg(shotLists.size()));
    }
    return shotLists[1];
}

QCheckBox* EditViewController::tableViewViewForTableColumnRow(QTableWidget* tableView, int column, int row)
{
    if (tableView == nullptr || column < 0 || column >= tableView->columnCount()) {
        fatalError(QStringLiteral("the shot editor's table has no column %1").arg(column));
    }
    if (row < 0 || row >= usableShotList.size()) {
        fatalError(QStringLiteral("row %1 outside the shot editor's %2 rows").arg(row).arg(usableShotList.size()));
    }
    const Shot& shot = *usableShotList.at(row);
    // An output that shares its name with a camera or scene reads "Recording
    // (output)", so that the two rows differ; the name itself is unchanged,
    // and a light given it follows both.
    const QString title = ShotAssignment::needsOutputMark(usableShotList, shot)
        ? tr("%1 (output)", "a switcher's recording or stream beside an input of the same name").arg(shot.name)
        : shot.name;
    auto* checkBox = new QCheckBox(Text::literalMnemonicText(title));
    checkBox->setObjectName(QStringLiteral("shotCheckBox"));
    if (shot.isOnAirState) {
        checkBox->setToolTip(
            tr("Live while the switcher's %1 output is active; not a camera or scene.").arg(shot.name.toLower()));
    }
    checkBox->setProperty(tagProperty, row);
    checkBox->setChecked(ShotAssignment::isAssigned(assignedShots(), shot));
    connect(checkBox, &QCheckBox::clicked, this, [this, checkBox] { checkBoxToggleWithSender(checkBox); });
    return checkBox;
}

void EditViewController::checkBoxToggleWithSender(QObject* sender)
{
    const auto* checkBox = qobject_cast<const QAbstractButton*>(sender);
    if (checkBox == nullptr) {
        fatalError(QStringLiteral("a shot row was toggled by something that is not a check box"));
    }
    bool isNumber = false;
    const int row = checkBox->property(tagProperty).toInt(&isNumber);
    if (!isNumber || row < 0 || row >= usableShotList.size()) {
        fatalError(QStringLiteral("check box tag %1 outside the shot editor's %2 rows")
                       .arg(checkBox->property(tagProperty).toString())
                       .arg(usableShotList.size()));
    }
    const ShotPtr shot = usableShotList.at(row);
    if (checkBox->isChecked()) {
        ShotAssignment::assign(assignedShots(), shot);
    } else {
        ShotAssignment::unassign(assignedShots(), *shot);
    }
}

void EditViewController::toggleShowEmptyWithSender(QObject* /*sender*/)
{
    rebuildRows();
}

void EditViewController::finishEditingWithSender(QObject* /*sender*/)
{
    askPresenterToDismiss();
}

void EditViewController::cancelEditingWithSender(QObject* /*sender*/)
{
    if (shotLists.size() > 1) {
        shotLists[1] = m_originalAssignment;
    }
    // The boxes show what is handed back, should the presenter keep the
    // editor up.
    reloadTable();
    askPresenterToDismiss();
}

QString EditViewController::titleForLight(int lightIndex)
{
    return tr("Assign Shots to Light %1").arg(lightIndex + 1);
}

void EditViewController::closeEvent(QCloseEvent* event)
{
    askPresenterToDismiss();
    QWidget::closeEvent(event);
}

void EditViewController::askPresenterToDismiss()
{
    // The presenter closes the editor while dismissing it, which comes back
    // here through closeEvent: one dismissal is enough.
    if (!m_dismissViewController || m_dismissing) {
        return;
    }
    m_dismissing = true;
    const QPointer<EditViewController> self(this);
    m_dismissViewController(this);
    if (self) {
        m_dismissing = false;
    }
}
