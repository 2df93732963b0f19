#include "mainwindow/ViewController.h"

#include "base/FatalError.h"
#include "base/ModalSession.h"
#include "base/SecretFile.h"
#include "base/UserDefaults.h"
#include "dialogs/DocumentPanels.h"
#include "dialogs/SaveChangesPrompt.h"
#include "hardware/USBHIDAppDelegate.h"
#include "lamps/TallyState.h"
#include "mainwindow/DocumentCommands.h"
#include "mainwindow/EditingLockControls.h"
#include "mainwindow/LampRow.h"
#include "mainwindow/SourceReport.h"
#include "outputs/WebTallyServer.h"
#include "sources/MixdeskShotSource.h"
#include "ui_ViewController.h"

#include <QAction>

namespace {

std::unique_ptr<ShotSource> orMixdesk(std::unique_ptr<ShotSource> source)
{
    return source ? std::move(source) : std::make_unique<MixdeskShotSource>();
}

std::unique_ptr<SecretStore> orPrivateFile(std::unique_ptr<SecretStore> store)
{
    if (store) {
        return store;
    }
    return std::make_unique<SecretFile>(
        SecretFile::besideSettings(UserDefaults::standardUserDefaults().settingsFilePath()));
}

} // namespace

ViewController::ViewController(QWidget* parent)
    : ViewController(Dependencies {}, parent)
{
}

ViewController::ViewController(Dependencies dependencies, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ViewController>())
    , m_document(std::move(dependencies.recentDocuments))
    , m_ticker(orMixdesk(std::move(dependencies.shotSource)), m_document.tallyMap(), *this)
    , m_networkOutputs(m_ticker.cycle())
    , m_obsPassword(UserDefaults::standardUserDefaults(), orPrivateFile(std::move(dependencies.secretStore)))
{
    m_ui->setupUi(this);
    m_lockTallyCheckBox = m_ui->lockTallyCheckBox;
    m_mixdeskWarning = m_ui->mixdeskWarning;
    m_lampRow = std::make_unique<LampRow>(*this,
        QList<QLabel*> { m_ui->lightNumber1, m_ui->lightNumber2, m_ui->lightNumber3, m_ui->lightNumber4,
            m_ui->lightNumber5, m_ui->lightNumber6, m_ui->lightNumber7, m_ui->lightNumber8 },
        m_document.tallyMap());
    const auto knownShots = [this]() -> const ShotList& { return m_ticker.shotList(); };
    m_documentCommands = std::make_unique<DocumentCommands>(*this, m_document, knownShots,
        std::move(dependencies.documentPanels), std::move(dependencies.saveChangesPrompt));
    m_lockControls = std::make_unique<EditingLockControls>(
        m_lockTallyCheckBox, [this] { performSegueWithIdentifier(passwordSegueIdentifier, nullptr); });
    m_segues = std::make_unique<Segues>(*this, m_document, *m_lockControls, knownShots);
    connect(m_lampRow.get(), &LampRow::lightModeShown, this, &ViewController::lightModeShown);
    connect(&m_document, &TallyDocument::assignmentsChanged, this, &ViewController::refreshAssignmentTitles);
    connect(&m_document, &TallyDocument::documentFailed, &m_status, &TallyStatus::noteDocumentFailure);
    connect(&m_document, &TallyDocument::documentSucceeded, &m_status, &TallyStatus::noteDocumentSuccess);
    connect(&m_document, &TallyDocument::recentDocumentsFailed, &m_status, &TallyStatus::noteRecentDocumentsFailure);
    connect(&m_networkOutputs, &NetworkOutputs::problemChanged, &m_status, &TallyStatus::noteOutputs);
    // An application-modal panel (password dialog, test panel, file panel)
    // holds the cycle back: its bytes and the tick's must not mix.
    m_ticker.setHoldBack([] { return ModalSession::isActive(); });
    m_sourceReport = std::make_unique<SourceReport>(m_ticker, m_networkOutputs, m_status);
    connect(
        &m_ticker, &TallyTicker::ticked, m_sourceReport.get(), [this] { m_sourceReport->noteTick(m_sourceRunning); });
    followShotSource();
    m_ticker.setLostSourcePolicy(LostSourcePolicy::fromDefaults(UserDefaults::standardUserDefaults()));
    viewDidLoad();
}

ViewController::~ViewController() = default;

void ViewController::viewDidLoad()
{
    connectControls();
    // A larger window gives its height to the lamps, not to the row of
    // light numbers above them: no empty band when maximised.
    m_ui->lightsLayout->setRowStretch(0, 0);
    m_ui->lightsLayout->setRowStretch(1, 1);
    // Until the first tick knows better, no warning: it would flash for a
    // quarter of a second on every start beside a running Mixdesk.
    if (m_mixdeskWarning) {
        m_mixdeskWarning->hide();
    }
    applyLargeLampLabels();
    applyAskBeforeDiscardingChanges();
    // The first answer comes before the timer runs, so the first tick
    // compares against it.
    m_ticker.start();
    m_sourceReport->noteSituation();
}

void ViewController::connectControls()
{
    for (QAbstractButton* button : m_lampRow->assignmentButtons()) {
        button->setEnabled(m_enableEditing);
        connect(this, &ViewController::enableEditingChanged, button, &QWidget::setEnabled);
        connect(button, &QAbstractButton::clicked, this,
            [this, button] { performSegueWithIdentifier(editorSegueIdentifier, button); });
    }
    if (m_lockTallyCheckBox) {
        connect(m_lockTallyCheckBox, &QCheckBox::clicked, this, [this] { toggleLockSelection(m_lockTallyCheckBox); });
    }
}

void ViewController::followShotSource()
{
    if (m_mixdeskWarning) {
        m_mixdeskWarning->setText(m_ticker.source().notRunningWarning());
    }
    m_sourceReport->followSource();
}

void ViewController::setShotSource(std::unique_ptr<ShotSource> source)
{
    if (!source) {
        return;
    }
    m_sourceReport->leaveSource();
    m_ticker.setSource(std::move(source));
    followShotSource();
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
    m_documentCommands->showUntitledWhileNoFile();
    applyAlwaysOnTop();
}

QList<PhoneLink> ViewController::phoneLinks() const
{
    const WebTallyServer* page = m_networkOutputs.webServer();
    if (page == nullptr) {
        return {};
    }
    return PhoneLinks::forPages(page->pageUrls(), m_document.tallyMap().shotSelections().size());
}

const EditingLock& ViewController::editingLock() const
{
    return m_lockControls->editingLock();
}

const QList<QPointer<TallyState>>& ViewController::tallyStateDisplays() const
{
    return m_lampRow->tallyStateDisplays();
}

void ViewController::setEnableEditing(bool enabled)
{
    if (m_enableEditing == enabled) {
        return;
    }
    m_enableEditing = enabled;
    Q_EMIT enableEditingChanged(enabled);
}

void ViewController::refreshAssignmentTitles()
{
    m_lampRow->refreshAssignmentTitles();
}

void ViewController::applyLargeLampLabels()
{
    m_lampRow->applyLargeLampLabels(UserDefaults::standardUserDefaults().boolForKey(Preferences::largeLampLabels));
}

void ViewController::applyAskBeforeDiscardingChanges()
{
    m_document.setTracksChanges(
        UserDefaults::standardUserDefaults().boolForKey(Preferences::askBeforeDiscardingChanges));
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
    m_ticker.tick(TallyTicker::Reason::timer);
}

void ViewController::updateTallyLights()
{
    m_ticker.updateTallyLights();
}

void ViewController::setLostSourcePolicy(const LostSourcePolicy& policy)
{
    m_ticker.setLostSourcePolicy(policy);
}

void ViewController::chooseLostSourcePolicy(const LostSourcePolicy& policy)
{
    setLostSourcePolicy(policy);
    policy.storeIn(UserDefaults::standardUserDefaults());
}

void ViewController::applicationWillQuit()
{
    m_ticker.finish();
}

void ViewController::setMixdeskWarningHidden(bool hidden)
{
    m_sourceRunning = hidden;
    if (m_mixdeskWarning) {
        // A source may say why it is not running in other words as things
        // change (nothing heard, or nothing that lights a display).
        if (!hidden) {
            m_mixdeskWarning->setText(m_ticker.source().notRunningWarning());
        }
        m_mixdeskWarning->setHidden(hidden);
    }
}

qsizetype ViewController::indicatorCount() const
{
    return m_lampRow->tallyStateDisplays().size();
}

void ViewController::showLightMode(qsizetype lightIndex, TallyMode mode)
{
    m_lampRow->showLightMode(lightIndex, mode);
}

void ViewController::openDocument(QObject* /*sender*/)
{
    m_documentCommands->openDocument();
}

void ViewController::saveDocument(QObject* /*sender*/)
{
    m_documentCommands->saveDocument();
}

void ViewController::saveDocumentAs(QObject* /*sender*/)
{
    m_documentCommands->saveDocumentAs();
}

void ViewController::loadTallyMap(const QUrl& url)
{
    m_documentCommands->loadTallyMap(url);
}

void ViewController::saveTallyMap(const std::optional<QUrl>& url)
{
    m_documentCommands->saveTallyMap(url);
}

void ViewController::toggleLockSelection(QObject* /*sender*/)
{
    m_lockControls->toggleLockSelection();
}

void ViewController::togglePasswordRequirement(QObject* sender)
{
    auto* menuItem = qobject_cast<QAction*>(sender);
    if (menuItem == nullptr) {
        fatalError(QStringLiteral("togglePasswordRequirement needs its menu item as sender"));
    }
    m_lockControls->togglePasswordRequirement(*menuItem);
}

bool ViewController::shouldPerformSegueWithIdentifier(const QString& identifier, QObject* sender) const
{
    return m_segues->shouldPerformSegueWithIdentifier(identifier, sender);
}

void ViewController::performSegueWithIdentifier(const QString& identifier, QObject* sender)
{
    m_segues->performSegueWithIdentifier(identifier, sender);
}

void ViewController::prepareForSegue(const QString& identifier, QObject* destination, QObject* sender)
{
    m_segues->prepareForSegue(identifier, destination, sender);
}

void ViewController::dismissViewController(QObject* viewController)
{
    m_segues->dismissViewController(viewController);
}
