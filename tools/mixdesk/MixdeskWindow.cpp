#include "MixdeskWindow.h"

#include "AutoCut.h"
#include "ShotRowDelegate.h"
#include "ShowModel.h"
#include "base/Text.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

enum Column { NameColumn, StateColumn };

const QColor programColour(0xC6, 0x28, 0x28);
const QColor previewColour(0x2E, 0x7D, 0x32);

} // namespace

MixdeskWindow::MixdeskWindow(ShowModel& model, AutoCut& autoCut, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_autoCut(autoCut)
{
    setWindowTitle(QStringLiteral("Mixdesk (stand-in)"));
    buildLayout();
    connectControls();
    refresh();
    showAutoCut(m_autoCut.intervalSeconds());
}

void MixdeskWindow::buildLayout()
{
    m_shotList = new QTreeWidget(this);
    m_shotList->setObjectName(QStringLiteral("shotList"));
    m_shotList->setColumnCount(2);
    m_shotList->setHeaderLabels({ tr("Shot"), tr("Tally") });
    m_shotList->setRootIsDecorated(false);
    m_shotList->setItemDelegate(new ShotRowDelegate(m_shotList));
    m_shotList->setSelectionMode(QAbstractItemView::SingleSelection);
    // Names are edited through Rename (or F2) only, so that a click always
    // means "put in preview".
    m_shotList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_shotList->header()->setStretchLastSection(false);
    m_shotList->header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    m_shotList->header()->setSectionResizeMode(StateColumn, QHeaderView::ResizeToContents);

    m_cutButton = new QPushButton(tr("Cut"), this);
    m_cutButton->setObjectName(QStringLiteral("cutButton"));
    m_cutButton->setToolTip(tr("Swap program and preview"));
    m_addButton = new QPushButton(tr("Add"), this);
    m_addButton->setObjectName(QStringLiteral("addButton"));
    m_renameButton = new QPushButton(tr("Rename"), this);
    m_renameButton->setObjectName(QStringLiteral("renameButton"));
    m_removeButton = new QPushButton(tr("Remove"), this);
    m_removeButton->setObjectName(QStringLiteral("removeButton"));

    m_autoCutCheck = new QCheckBox(tr("Auto-cut every"), this);
    m_autoCutCheck->setObjectName(QStringLiteral("autoCutCheck"));
    m_autoCutSeconds = new QSpinBox(this);
    m_autoCutSeconds->setObjectName(QStringLiteral("autoCutSeconds"));
    m_autoCutSeconds->setRange(1, AutoCut::maximumSeconds);
    m_autoCutSeconds->setValue(5);
    m_autoCutSeconds->setSuffix(tr(" s"));

    m_answerPath = new QLabel(this);
    m_answerPath->setObjectName(QStringLiteral("answerPath"));
    m_answerPath->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_answerPath->setVisible(false);

    auto* editing = new QHBoxLayout;
    editing->addWidget(m_addButton);
    editing->addWidget(m_renameButton);
    editing->addWidget(m_removeButton);
    editing->addStretch();

    auto* switching = new QHBoxLayout;
    switching->addWidget(m_autoCutCheck);
    switching->addWidget(m_autoCutSeconds);
    switching->addStretch();
    switching->addWidget(m_cutButton);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_shotList, 1);
    layout->addLayout(editing);
    layout->addLayout(switching);
    layout->addWidget(m_answerPath);
    resize(380, 360);
}

void MixdeskWindow::connectControls()
{
    connect(&m_model, &ShowModel::changed, this, &MixdeskWindow::refresh);
    connect(m_shotList, &QTreeWidget::itemClicked, this,
        [this](QTreeWidgetItem* item) { m_model.setPreview(m_shotList->indexOfTopLevelItem(item)); });
    connect(m_shotList, &QTreeWidget::itemChanged, this, &MixdeskWindow::takeEditedName);
    connect(m_cutButton, &QPushButton::clicked, &m_model, &ShowModel::cut);
    connect(m_addButton, &QPushButton::clicked, this, &MixdeskWindow::addShot);
    connect(m_renameButton, &QPushButton::clicked, this, &MixdeskWindow::renameCurrentShot);
    connect(m_removeButton, &QPushButton::clicked, this, &MixdeskWindow::removeCurrentShot);
    connect(
        new QShortcut(QKeySequence(Qt::Key_F2), this), &QShortcut::activated, this, &MixdeskWindow::renameCurrentShot);
    connect(new QShortcut(QKeySequence::Delete, m_shotList), &QShortcut::activated, this,
        &MixdeskWindow::removeCurrentShot);
    connect(m_autoCutCheck, &QCheckBox::toggled, this, &MixdeskWindow::takeAutoCutControls);
    connect(m_autoCutSeconds, &QSpinBox::valueChanged, this, &MixdeskWindow::takeAutoCutControls);
    connect(&m_autoCut, &AutoCut::intervalChanged, this, &MixdeskWindow::showAutoCut);
}

void MixdeskWindow::showAnswerPath(const QString& path)
{
    m_answerPath->setText(tr("Answer file: %1").arg(path));
    m_answerPath->setVisible(true);
}

// Rebuilds the rows from the model; the current row stays where it was, or
// on the last row when the list got shorter.
void MixdeskWindow::refresh()
{
    const QSignalBlocker blocker(m_shotList);
    const int current = currentPosition();
    while (m_shotList->topLevelItemCount() > m_model.count()) {
        delete m_shotList->takeTopLevelItem(m_shotList->topLevelItemCount() - 1);
    }
    while (m_shotList->topLevelItemCount() < m_model.count()) {
        m_shotList->addTopLevelItem(new QTreeWidgetItem);
    }
    for (int position = 0; position < m_model.count(); ++position) {
        fillItem(m_shotList->topLevelItem(position), position);
    }
    if (m_model.count() > 0) {
        m_shotList->setCurrentItem(m_shotList->topLevelItem(std::clamp(current, 0, m_model.count() - 1)));
    }
    m_renameButton->setEnabled(m_model.count() > 0);
    m_removeButton->setEnabled(m_model.count() > 0);
}

void MixdeskWindow::fillItem(QTreeWidgetItem* item, int position) const
{
    const ShowModel::Shot shot = m_model.shotAt(position);
    item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable);
    item->setText(NameColumn, shot.name);
    item->setToolTip(NameColumn, tr("Shot id %1").arg(shot.id));

    QString state;
    QColor background;
    if (shot.isLive && shot.isPreview) {
        state = tr("PROGRAM + PREVIEW");
        background = programColour;
    } else if (shot.isLive) {
        state = tr("PROGRAM");
        background = programColour;
    } else if (shot.isPreview) {
        state = tr("PREVIEW");
        background = previewColour;
    }
    item->setText(StateColumn, state);
    for (const int column : { NameColumn, StateColumn }) {
        item->setData(column, Qt::BackgroundRole, background.isValid() ? QVariant(background) : QVariant());
        item->setData(column, Qt::ForegroundRole, background.isValid() ? QVariant(QColor(Qt::white)) : QVariant());
        QFont font = item->font(column);
        font.setBold(background.isValid());
        item->setFont(column, font);
    }
}

void MixdeskWindow::takeEditedName(QTreeWidgetItem* item, int column)
{
    if (column != NameColumn) {
        return;
    }
    const int position = m_shotList->indexOfTopLevelItem(item);
    const QString name = item->text(NameColumn).trimmed();
    if (name.isEmpty() || name.contains(QLatin1Char('\n'))) {
        // A shot always has a name: put the old one back.
        refresh();
        return;
    }
    m_model.rename(position, name);
}

void MixdeskWindow::addShot()
{
    const int position = m_model.add(freshShotName());
    m_shotList->setCurrentItem(m_shotList->topLevelItem(position));
    renameCurrentShot();
}

void MixdeskWindow::renameCurrentShot()
{
    if (QTreeWidgetItem* item = m_shotList->currentItem()) {
        m_shotList->editItem(item, NameColumn);
    }
}

void MixdeskWindow::removeCurrentShot()
{
    const int position = currentPosition();
    if (position >= 0) {
        m_model.remove(position);
    }
}

void MixdeskWindow::takeAutoCutControls()
{
    m_autoCut.setIntervalSeconds(m_autoCutCheck->isChecked() ? m_autoCutSeconds->value() : 0);
}

void MixdeskWindow::showAutoCut(int seconds)
{
    const QSignalBlocker checkBlocker(m_autoCutCheck);
    const QSignalBlocker secondsBlocker(m_autoCutSeconds);
    m_autoCutCheck->setChecked(seconds > 0);
    if (seconds > 0) {
        m_autoCutSeconds->setValue(seconds);
    }
}

QString MixdeskWindow::freshShotName() const
{
    for (int number = m_model.count() + 1;; ++number) {
        const QString name = tr("Shot %1").arg(number);
        bool taken = false;
        for (const ShowModel::Shot& shot : m_model.shots()) {
            taken = taken || Text::equal(shot.name, name);
        }
        if (!taken) {
            return name;
        }
    }
}

int MixdeskWindow::currentPosition() const
{
    QTreeWidgetItem* item = m_shotList->currentItem();
    return item ? m_shotList->indexOfTopLevelItem(item) : -1;
}
