#include "mainwindow/ViewController.h"

#include "dialogs/DocumentPanels.h"
#include "dialogs/FileDialogPanels.h"
#include "dialogs/MessageBoxSaveChangesPrompt.h"
#include "tallymap/RecentDocuments.h"
#include "base/UserDefaults.h"
#include "base/FatalError.h"
#include "base/ModalSession.h"
#include "base/StandardOutput.h"
#include "base/Text.h"
#include "dialogs/TestViewController.h"
#include "hardware/USBHIDAppDelegate.h"
#include "sources/MixdeskShotSource.h"
#include "dialogs/EditViewController.h"
#include "tallymap/TallyMapFile.h"
#include "ui_ViewController.h"
#include "dialogs/PasswordViewController.h"
#include "lamps/TallyState.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>
#include <chrono>

namespace {

const QString untitledDocumentName = QStringLiteral("Untitled.tlx");
const QString notAssignedTitle = QStringLiteral("Not Assigned");
const QString multipleShotsTitle = QStringLiteral("Multiple shots assigned...(Click to View)");
constexpr int firstAssignmentTag = 10;

// The dynamic property "tag" of a widget, when it has one.
std::optional<int> tagOf(const QObject* object)
{
    const QVariant tag = object->property("tag");
    bool isNumber = false;
    const int value = tag.toInt(&isNumber);
    if (!tag.isValid() || !isNumber) {
        return std::nullopt;
    }
    return value;
}

QString assignmentTitle(const Mixdesk::ShotList& shots)
{
    if (shots.isEmpty()) {
        return notAssignedTitle;
    }
    if (shots.size() == 1) {
        return shots.first()->name;
    }
    return multipleShotsTitle;
}

// The program's own services where the caller gave none.
std::unique_ptr<DocumentPanels> orDefault(std::unique_ptr<DocumentPanels> panels)
{
    return panels ? std::move(panels) : std::make_unique<FileDialogPanels>();
}

std::unique_ptr<RecentDocuments> orDefault(std::unique_ptr<RecentDocuments> recent)
{
    return recent ? std::move(recent) : std::make_unique<RecentDocuments>();
}

std::unique_ptr<SaveChangesPrompt> orDefault(std::unique_ptr<SaveChangesPrompt> prompt)
{
    return prompt ? std::move(prompt) : std::make_unique<MessageBoxSaveChangesPrompt>();
}

// Two assignments are the same when they hold the same names in the same
// order: that is what a saved file would hold.
bool sameNames(const Mixdesk::ShotList& a, const Mixdesk::ShotList& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
        [](const Mixdesk::ShotPtr& x, const Mixdesk::ShotPtr& y) { return x->name == y->name; });
}

std::unique_ptr<ShotSource> orDefault(std::unique_ptr<ShotSource> source)
{
    return source ? std::move(source) : std::make_unique<MixdeskShotSource>();
}

} // namespace

ViewController::ViewController(QWidget* parent)
    : ViewController(Dependencies {}, parent)
{
}

ViewController::ViewController(Dependencies dependencies, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ViewController>())
    , m_documentPanels(orDefault(std::move(dependencies.documentPanels)))
    , m_recentDocuments(orDefault(std::move(dependencies.recentDocuments)))
    , m_shotSource(orDefault(std::move(dependencies.shotSource)))
    , m_saveChangesPrompt(orDefault(std::move(dependencies.saveChangesPrompt)))
    , m_cycle(*m_shotSource, *this)
    , m_editingLock(*this)
    , m_networkOutputs(m_cycle)
{
    m_ui->setupUi(this);
    connect(&m_networkOutputs, &NetworkOutputs::problemChanged, &m_status, &TallyStatus::noteOutputs);
    lockTallyCheckBox = m_ui->lockTallyCheckBox;
    mixdeskWarning = m_ui->mixdeskWarning;
    followShotSource();
    m_cycle.setLostSourcePolicy(LostSourcePolicy::fromDefaults(UserDefaults::standardUserDefaults()));
    viewDidLoad();
}

void ViewController::followShotSource()
{
    if (mixdeskWarning) {
        mixdeskWarning->setText(m_shotSource->notRunningWarning());
    }
    // A source that hears of a cut says so; the tick runs at once rather
    // than up to a quarter of a second later.
    connect(m_shotSource.get(), &ShotSource::shotsChanged, this, [this] { queryMixdeskWithTimer(timer); });
}

void ViewController::setShotSource(std::unique_ptr<ShotSource> source)
{
    if (!source) {
        return;
    }
    m_shotSource->disconnect(this);
    m_cycle.setSource(*source);
    // The old source may be inside one of its own signals: it goes once
    // control is back in the event loop.
    m_shotSource.release()->deleteLater();
    m_shotSource = std::move(source);
    shotList.clear();
    followShotSource();
}

ViewController::~ViewController() = default;

void ViewController::viewDidLoad()
{
    connectControls();
    // A larger window gives its height to the lamps, not to the row of
    // light numbers above them: no empty band when maximised.
    m_ui->lightsLayout->setRowStretch(0, 0);
    m_ui->lightsLayout->setRowStretch(1, 1);
    for (QLabel* number : findChildren<QLabel*>(QRegularExpression(QStringLiteral("^lightNumber[0-9]+$")))) {
        number->setSizePolicy(number->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
    }
    // Until the first tick knows better, no warning: it would flash for a
    // quarter of a second on every start beside a running Mixdesk.
    if (mixdeskWarning) {
        mixdeskWarning->hide();
    }
    tallyStateDisplays = collectTallyStateDisplays(*this);
    for (qsizetype lightIndex = 0; lightIndex < tallyStateDisplays.size(); ++lightIndex) {
        tallyStateDisplays[lightIndex]->lightNumber = static_cast<int>(lightIndex + 1);
        m_smallLampHeights.append(tallyStateDisplays[lightIndex]->minimumHeight());
    }
    applyLargeLampLabels();
    // The first answer comes before the timer exists, so the first tick
    // compares against it.
    shotList = m_shotSource->queryShots();
    timer = new QTimer(this);
    timer->setInterval(std::chrono::milliseconds(static_cast<int>(timerInterval * 1000)));
    connect(timer, &QTimer::timeout, this, [this] { queryMixdeskWithTimer(timer); });
    timer->start();
}

QList<QPointer<TallyState>> ViewController::collectTallyStateDisplays(const QWidget& view)
{
    QList<QPointer<TallyState>> displays;
    // Only the view's own children count: an indicator inside some other
    // panel of the window belongs to that panel.
    for (QObject* child : view.children()) {
        if (!QString::fromLatin1(child->metaObject()->className()).contains(QLatin1String("TallyState"))) {
            continue;
        }
        auto* display = qobject_cast<TallyState*>(child);
        if (display == nullptr) {
            fatalError(
                QStringLiteral("view %1 is named like an indicator but is not a TallyState").arg(child->objectName()));
        }
        if (display->objectName().isEmpty()) {
            fatalError(QStringLiteral("a light indicator of the main window has no identifier"));
        }
        displays.append(display);
    }
    // Plain string order, as the identifiers are written: "tallyState10"
    // comes before "tallyState2".
    std::stable_sort(
        displays.begin(), displays.end(), [](const QPointer<TallyState>& a, const QPointer<TallyState>& b) {
            return QString::compare(a->objectName(), b->objectName(), Qt::CaseSensitive) < 0;
        });
    return displays;
}

void ViewController::connectControls()
{
    for (QAbstractButton* button : assignmentButtons()) {
        button->setEnabled(m_enableEditing);
        connect(this, &ViewController::enableEditingChanged, button, &QWidget::setEnabled);
        connect(button, &QAbstractButton::clicked, this,
            [this, button] { performSegueWithIdentifier(editorSegueIdentifier, button); });
    }
    if (lockTallyCheckBox) {
        connect(lockTallyCheckBox, &QCheckBox::clicked, this, [this] { toggleLockSelection(lockTallyCheckBox); });
    }
}

QList<QAbstractButton*> ViewController::assignmentButtons() const
{
    QList<QAbstractButton*> buttons;
    for (QAbstractButton* button : findChildren<QAbstractButton*>()) {
        const std::optional<int> tag = tagOf(button);
        if (tag && *tag >= firstAssignmentTag && *tag < firstAssignmentTag + TallyMap::numberOfLights) {
            buttons.append(button);
        }
    }
    return buttons;
}

void ViewController::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    viewDidAppear();
}

void ViewController::viewDidAppear()
{
    // Device discovery starts with the window, not before.
    USBHIDAppDelegate::shared();
    if (QFileInfo(currentDocumentUrl.path()).fileName().isEmpty()) {
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        if (documents.isEmpty()) {
            fatalError(QStringLiteral("no documents folder for the untitled tally map"));
        }
        // Only the window shows the untitled file: currentDocumentUrl stays
        // empty, so that the first save asks where to put the map.
        window()->setWindowFilePath(QDir(documents).filePath(untitledDocumentName));
        window()->setWindowTitle(untitledDocumentName);
    }
    applyAlwaysOnTop();
}

void ViewController::setEnableEditing(bool enabled)
{
    if (m_enableEditing == enabled) {
        return;
    }
    m_enableEditing = enabled;
    Q_EMIT enableEditingChanged(enabled);
}

QPushButton* ViewController::assignmentButton(qsizetype lightIndex) const
{
    const int wanted = firstAssignmentTag + static_cast<int>(lightIndex);
    QWidget* view = nullptr;
    for (QWidget* candidate : findChildren<QWidget*>()) {
        if (tagOf(candidate) == wanted) {
            view = candidate;
            break;
        }
    }
    if (view == nullptr) {
        fatalError(QStringLiteral("the main window has no view tagged %1").arg(wanted));
    }
    auto* button = qobject_cast<QPushButton*>(view);
    if (button == nullptr) {
        fatalError(QStringLiteral("the view tagged %1 is a %2, not a button")
                       .arg(wanted)
                       .arg(QString::fromLatin1(view->metaObject()->className())));
    }
    return button;
}

void ViewController::refreshAssignmentTitles()
{
    const QList<Mixdesk::ShotList>& lights = tallyMap.shotSelections();
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        QPushButton* button = assignmentButton(lightIndex);
        const QString title = assignmentTitle(lights[lightIndex]);
        button->setText(Text::literalMnemonicText(title));
        // Long names are cut in the button; the whole title is a hover away.
        button->setToolTip(title);
    }
    showLampShotNames();
}

QString ViewController::shotNamesOfLight(qsizetype lightIndex) const
{
    QStringList names;
    if (lightIndex >= 0 && lightIndex < tallyMap.shotSelections().size()) {
        for (const Mixdesk::ShotPtr& shot : tallyMap.shotSelection(lightIndex)) {
            names.append(shot->name);
        }
    }
    return names.join(QStringLiteral(", "));
}

void ViewController::showLampShotNames()
{
    // The large style shows the shots inside the lamp; an assignment made
    // while the switcher is away shows there at once, not at the next tick.
    for (qsizetype lightIndex = 0; lightIndex < tallyStateDisplays.size(); ++lightIndex) {
        TallyState* display = tallyStateDisplays[lightIndex];
        const QString names = shotNamesOfLight(lightIndex);
        if (display == nullptr || display->shotNames == names) {
            continue;
        }
        display->shotNames = names;
        if (display->glanceable) {
            display->update();
        }
    }
}

void ViewController::applyLargeLampLabels()
{
    m_largeLampLabels = UserDefaults::standardUserDefaults().boolForKey(Preferences::largeLampLabels);
    for (qsizetype lightIndex = 0; lightIndex < tallyStateDisplays.size(); ++lightIndex) {
        TallyState* display = tallyStateDisplays[lightIndex];
        if (display == nullptr) {
            continue;
        }
        display->glanceable = m_largeLampLabels;
        const int smallHeight = m_smallLampHeights.value(lightIndex, display->minimumHeight());
        display->setMinimumHeight(
            m_largeLampLabels ? std::max(smallHeight, LampLabelLayout::naturalLampHeight()) : smallHeight);
        display->update();
    }
    // The number is inside the lamp now: the row above would say it twice.
    for (QLabel* number : findChildren<QLabel*>(QRegularExpression(QStringLiteral("^lightNumber[0-9]+$")))) {
        number->setHidden(m_largeLampLabels);
    }
    showLampShotNames();
}

void ViewController::applyAlwaysOnTop()
{
    const bool onTop = UserDefaults::standardUserDefaults().boolForKey(Preferences::alwaysOnTop);
    QWidget* window = this->window();
    if (window->windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) {
        return;
    }
    // Changing a window flag re-creates the native window, which hides it;
    // a window that was up comes straight back.
    const bool wasVisible = window->isVisible();
    window->setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    if (wasVisible) {
        window->show();
    }
}

void ViewController::toggleAlwaysOnTopWithSender(QObject* /*sender*/)
{
    applyAlwaysOnTop();
}

void ViewController::queryMixdeskWithTimer(QTimer* /*timer*/)
{
    // An application-modal panel (password dialog, file panel) holds the
    // cycle back; so does a tick still under way, should anything inside it
    // ever run the event loop.
    if (ModalSession::isActive() || m_inTick) {
        return;
    }
    m_inTick = true;
    updateTallyLights();
    noteTickStatus();
    m_inTick = false;
}

void ViewController::noteTickStatus()
{
    m_status.noteTick(m_sourceRunning, shotList.size(), m_shotSource->displayName(), m_shotSource->notRunningWarning());
    const USBHIDAppDelegate& box = USBHIDAppDelegate::shared();
    m_status.noteDevice(box.controller() != nullptr, box.lastWriteFailed());
}

void ViewController::updateTallyLights()
{
    m_cycle.updateTallyLights(shotList, tallyMap);
}

void ViewController::setLostSourcePolicy(const LostSourcePolicy& policy)
{
    m_cycle.setLostSourcePolicy(policy);
}

void ViewController::chooseLostSourcePolicy(const LostSourcePolicy& policy)
{
    setLostSourcePolicy(policy);
    policy.storeIn(UserDefaults::standardUserDefaults());
}

void ViewController::applicationWillQuit()
{
    if (m_cycle.lostSourcePolicy().turnOffAtQuit) {
        m_cycle.turnLightsOff(tallyMap.shotSelections().size());
    }
}

void ViewController::setMixdeskWarningHidden(bool hidden)
{
    m_sourceRunning = hidden;
    if (mixdeskWarning) {
        mixdeskWarning->setHidden(hidden);
    }
}

qsizetype ViewController::indicatorCount() const
{
    return tallyStateDisplays.size();
}

void ViewController::showLightMode(qsizetype lightIndex, TallyMode mode)
{
    TallyState* display = tallyStateDisplays.at(lightIndex);
    if (display == nullptr) {
        fatalError(QStringLiteral("the indicator of light %1 has gone").arg(lightIndex + 1));
    }
    const QString names = shotNamesOfLight(lightIndex);
    display->mode = mode;
    display->shotNames = names;
    display->setNeedsDisplayInRect(display->rect());
    Q_EMIT lightModeShown(lightIndex, mode, names);
}

// Documents.

void ViewController::setDocumentEdited(bool edited)
{
    m_documentEdited = edited;
    window()->setWindowModified(edited);
}

bool ViewController::canDiscardChanges()
{
    if (!m_documentEdited) {
        return true;
    }
    switch (m_saveChangesPrompt->ask(window(), window()->windowTitle())) {
    case SaveChangesPrompt::Answer::discard:
        return true;
    case SaveChangesPrompt::Answer::cancel:
        return false;
    case SaveChangesPrompt::Answer::save:
        saveDocument(nullptr);
        return !m_documentEdited; // a cancelled or failed save keeps the changes
    }
    return false;
}

void ViewController::openDocument(QObject* /*sender*/)
{
    if (!canDiscardChanges()) {
        return;
    }
    const std::optional<QUrl> url = runOpenPanel();
    if (url && !url->isEmpty()) {
        loadTallyMap(*url);
    }
}

void ViewController::saveDocument(QObject* /*sender*/)
{
    if (currentDocumentUrl.path().isEmpty()) {
        saveTallyMap(std::nullopt);
    } else {
        saveTallyMap(currentDocumentUrl);
    }
}

void ViewController::saveDocumentAs(QObject* /*sender*/)
{
    saveTallyMap(std::nullopt);
}

std::optional<QUrl> ViewController::runOpenPanel()
{
    m_documentPanels->currentPath = currentDocumentUrl.toLocalFile();
    return m_documentPanels->runOpenPanel(window());
}

std::optional<QUrl> ViewController::runSavePanel()
{
    m_documentPanels->currentPath = currentDocumentUrl.toLocalFile();
    return m_documentPanels->runSavePanel(window());
}

void ViewController::loadTallyMap(const QUrl& url)
{
    Error error;
    std::optional<TallyMap> loaded = TallyMapFile::open(url.toLocalFile(), TallyMapFile::documentType, &error);
    if (!loaded) {
        printLine(QStringLiteral("Read of document failed: ") + error.localizedDescription);
        m_status.noteDocumentFailure(tr("open"), url.toLocalFile(), error.localizedDescription);
        return;
    }
    m_status.noteDocumentSuccess();
    tallyMap = std::move(*loaded);
    setDocumentEdited(false);
    if (!shotList.isEmpty()) {
        tallyMap.resolveShotIds(shotList);
    }
    refreshAssignmentTitles();
    currentDocumentUrl = url;
    showDocument(url);
    noteRecentDocument(url.toLocalFile());
}

void ViewController::saveTallyMap(const std::optional<QUrl>& requested)
{
    std::optional<QUrl> url = requested;
    if (!url) {
        url = runSavePanel();
        if (!url || url->isEmpty()) {
            return;
        }
    }
    Error error;
    if (!TallyMapFile::write(tallyMap, url->toLocalFile(), TallyMapFile::documentType, &error)) {
        printLine(QStringLiteral("Save of document failed: ") + error.localizedDescription);
        m_status.noteDocumentFailure(tr("save"), url->toLocalFile(), error.localizedDescription);
        return;
    }
    m_status.noteDocumentSuccess();
    setDocumentEdited(false);
    if (*url == currentDocumentUrl) {
        return;
    }
    currentDocumentUrl = *url;
    showDocument(*url);
    noteRecentDocument(url->toLocalFile());
}

void ViewController::clearRecentDocuments()
{
    QString problem;
    if (!m_recentDocuments->clearRecentDocuments(&problem)) {
        m_status.noteRecentDocumentsFailure(m_recentDocuments->listFilePath(), problem);
    }
    Q_EMIT recentDocumentsChanged();
}

void ViewController::noteRecentDocument(const QString& path)
{
    QString problem;
    if (!m_recentDocuments->noteNewRecentDocument(path, &problem)) {
        m_status.noteRecentDocumentsFailure(m_recentDocuments->listFilePath(), problem);
    }
    Q_EMIT recentDocumentsChanged();
}

void ViewController::showDocument(const QUrl& url)
{
    // The represented file first: a title set afterwards takes precedence
    // over the one Qt derives from it.
    QWidget* window = this->window();
    window->setWindowFilePath(url.toLocalFile());
    window->setWindowTitle(Text::literalWindowTitle(QFileInfo(url.path()).fileName()));
}

// Editing lock.

void ViewController::toggleLockSelection(QObject* /*sender*/)
{
    m_editingLock.updateLockAfterToggle();
}

void ViewController::togglePasswordRequirement(QObject* sender)
{
    auto* menuItem = qobject_cast<QAction*>(sender);
    if (menuItem == nullptr) {
        fatalError(QStringLiteral("togglePasswordRequirement needs its menu item as sender"));
    }
    m_requirementMenuItem = menuItem;
    m_editingLock.updatePasswordRequirement();
}

std::optional<bool> ViewController::lockCheckBoxState() const
{
    if (!lockTallyCheckBox) {
        return std::nullopt;
    }
    return lockTallyCheckBox->isChecked();
}

void ViewController::setLockCheckBoxState(bool locked)
{
    if (lockTallyCheckBox) {
        lockTallyCheckBox->setChecked(locked);
    }
}

void ViewController::setRequirementMenuItemState(bool on)
{
    if (m_requirementMenuItem) {
        m_requirementMenuItem->setChecked(on);
    }
}

void ViewController::openPasswordDialog()
{
    performSegueWithIdentifier(passwordSegueIdentifier, nullptr);
}

// Segues.

bool ViewController::shouldPerformSegueWithIdentifier(const QString& identifier, QObject* /*sender*/) const
{
    if (identifier == passwordSegueIdentifier || identifier == testSegueIdentifier) {
        return true;
    }
    // The editor stays shut while editing is locked.
    return !lockTallyCheckBox || !lockTallyCheckBox->isChecked();
}

void ViewController::performSegueWithIdentifier(const QString& identifier, QObject* sender)
{
    if (!shouldPerformSegueWithIdentifier(identifier, sender)) {
        return;
    }
    QWidget* destination = makeSegueDestination(identifier);
    prepareForSegue(identifier, destination, sender);
    present(identifier, destination);
}

QWidget* ViewController::makeSegueDestination(const QString& identifier)
{
    QWidget* destination = nullptr;
    if (identifier == passwordSegueIdentifier) {
        auto* dialog = new PasswordViewController(window());
        dialog->setPresentingViewController(this);
        destination = dialog;
    } else if (identifier == testSegueIdentifier) {
        // Closes itself; it never comes back through dismissViewController.
        destination = new TestViewController(window());
    } else {
        auto* editor = new EditViewController(window());
        editor->setPresentingViewController([this](QObject* viewController) { dismissViewController(viewController); });
        destination = editor;
    }
    destination->setAttribute(Qt::WA_DeleteOnClose);
    return destination;
}

void ViewController::present(const QString& identifier, QWidget* destination)
{
    // The password dialog and the test panel are application-modal: the
    // update tick waits while they are up, so their bytes and the tick's never
    // mix, and the test chase only steps then. The editor is a window-modal
    // sheet over the main window, and the lights go on following Mixdesk
    // while shots are ticked. None of them blocks here: show() (not exec(),
    // and not open(), which would make every dialog window-modal) keeps the
    // one event loop running.
    if (identifier == passwordSegueIdentifier || identifier == testSegueIdentifier) {
        destination->setWindowModality(Qt::ApplicationModal);
    } else {
        destination->setWindowModality(Qt::WindowModal);
    }
    destination->show();
    destination->raise();
    destination->activateWindow();
    Q_EMIT viewControllerPresented(identifier, destination);
}

void ViewController::prepareForSegue(const QString& identifier, QObject* destination, QObject* sender)
{
    if (identifier == passwordSegueIdentifier) {
        auto* dialog = qobject_cast<PasswordViewController*>(destination);
        if (dialog == nullptr) {
            fatalError(QStringLiteral("the password segue leads to something other than the password dialog"));
        }
        const EditingLock::DialogSetup setup = m_editingLock.preparePasswordDialog();
        dialog->mode = setup.mode == PasswordDialogMode::set ? PasswordViewController::Mode::set
                                                             : PasswordViewController::Mode::collect;
        dialog->updateFieldVisibility();
        if (setup.matchPassword) {
            dialog->matchPassword = *setup.matchPassword;
        }
        return;
    }
    if (identifier == testSegueIdentifier) {
        return; // the test panel needs nothing from the main screen
    }
    auto* button = qobject_cast<QAbstractButton*>(sender);
    const std::optional<int> tag = button ? tagOf(button) : std::nullopt;
    if (!tag) {
        fatalError(QStringLiteral("the shot editor was asked for by something other than an assignment button"));
    }
    auto* editor = qobject_cast<EditViewController*>(destination);
    if (editor == nullptr) {
        fatalError(QStringLiteral("the editor segue leads to something other than the shot editor"));
    }
    const int lightIndex = *tag - firstAssignmentTag;
    if (lightIndex < 0 || lightIndex >= tallyMap.shotSelections().size()) {
        fatalError(QStringLiteral("the button tagged %1 stands for light index %2, outside the tally map's %3 lights")
                       .arg(*tag)
                       .arg(lightIndex)
                       .arg(tallyMap.shotSelections().size()));
    }
    editor->setRepresentedObject({ shotList, tallyMap.shotSelection(lightIndex) });
    editor->lightIndex = lightIndex;
    editor->setWindowTitle(EditViewController::titleForLight(lightIndex));
}

void ViewController::dismissViewController(QObject* viewController)
{
    if (viewController == nullptr) {
        fatalError(QStringLiteral("dismissViewController was given no view controller"));
    }
    if (auto* widget = qobject_cast<QWidget*>(viewController)) {
        widget->close();
    }
    if (QString::fromLatin1(viewController->metaObject()->className())
            .contains(QLatin1String("PasswordViewController"))) {
        passwordDialogDidClose(viewController);
        return;
    }
    editorDidClose(viewController);
}

void ViewController::passwordDialogDidClose(QObject* dialogObject)
{
    auto* dialog = qobject_cast<PasswordViewController*>(dialogObject);
    if (dialog == nullptr) {
        fatalError(QStringLiteral("a dismissed password dialog is not a PasswordViewController"));
    }
    m_editingLock.passwordDialogDidClose(
        dialog->mode == PasswordViewController::Mode::set ? PasswordDialogMode::set : PasswordDialogMode::collect,
        dialog->passwordMatched, dialog->passwordHash);
}

void ViewController::editorDidClose(QObject* editorObject)
{
    auto* editor = qobject_cast<EditViewController*>(editorObject);
    if (editor == nullptr) {
        fatalError(QStringLiteral("%1 was dismissed as if it were the shot editor")
                       .arg(QString::fromLatin1(editorObject->metaObject()->className())));
    }
    const QList<Mixdesk::ShotList> lists = editor->representedObject();
    if (lists.size() < 2) {
        fatalError(QStringLiteral("the shot editor came back with %1 lists instead of two").arg(lists.size()));
    }
    if (editor->lightIndex < 0 || editor->lightIndex >= tallyMap.shotSelections().size()) {
        fatalError(QStringLiteral("the shot editor came back for light index %1, outside the tally map's %2 lights")
                       .arg(editor->lightIndex)
                       .arg(tallyMap.shotSelections().size()));
    }
    if (!sameNames(tallyMap.shotSelection(editor->lightIndex), lists.at(1))) {
        setDocumentEdited(true);
    }
    // One assignment: a tick sees either the old list or the new one.
    tallyMap.setShotSelection(editor->lightIndex, lists.at(1));
    refreshAssignmentTitles();
}
