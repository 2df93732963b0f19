#include "mainwindow/ViewController.h"

#include "base/ModalSession.h"
#include "base/UserDefaults.h"
#include "dialogs/TestViewController.h"
#include "hardware/TestSequenceRunner.h"
#include "hardware/USBHIDAppDelegate.h"
#include "mainwindow/CustomWindow.h"
#include "mainwindow/DocumentCommands.h"
#include "mainwindow/SourceReport.h"
#include "mainwindow/WindowLightReport.h"
#include "ui_ViewController.h"

ViewController::ViewController(QWidget* parent)
    : ViewController(Dependencies {}, parent)
{
}

ViewController::ViewController(Dependencies dependencies, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ViewController>())
    , m_document(std::move(dependencies.recentDocuments))
    , m_boxWriting(dependencies.boxWriting)
    , m_ticker(std::move(dependencies.shotSource), m_document.tallyMap(), *this,
          [this](qsizetype lightIndex, LightCommand::BytePair bytes) { tallyBox().handInLight(lightIndex, bytes); })
    , m_networkOutputs(m_ticker.cycle())
    , m_obsPassword(UserDefaults::standardUserDefaults(), std::move(dependencies.secretStore))
{
    m_ui->setupUi(this);
    m_warning = std::make_unique<SourceWarning>(m_ui->mixdeskWarning, m_ticker);
    m_lampRow = std::make_unique<LampRow>(*this,
        QList<QLabel*> { m_ui->lightNumber1, m_ui->lightNumber2, m_ui->lightNumber3, m_ui->lightNumber4,
            m_ui->lightNumber5, m_ui->lightNumber6, m_ui->lightNumber7, m_ui->lightNumber8 },
        m_document.tallyMap());
    const auto knownShots = [this]() -> const ShotList& { return m_ticker.shotList(); };
    m_documentCommands = std::make_unique<DocumentCommands>(*this, m_document, knownShots,
        std::move(dependencies.documentPanels), std::move(dependencies.saveChangesPrompt));
    m_lockControls = std::make_unique<EditingLockControls>(
        m_ui->lockTallyCheckBox, [this] { performSegueWithIdentifier(passwordSegueIdentifier, nullptr); });
    // The test panel's chase may outlive the window; its late bytes go
    // nowhere then.
    m_segues = std::make_unique<Segues>(
        *this, m_document, *m_lockControls, knownShots, [this] { return m_ticker.source().kind(); },
        [self = QPointer<ViewController>(this)](quint8 byte) {
            if (self) {
                self->tallyBox().sendByte(byte);
            }
        });
    m_sourceReport = std::make_unique<SourceReport>(m_ticker, m_networkOutputs, m_status);
    m_lightReport = std::make_unique<WindowLightReport>(*m_lampRow, m_status);
    m_lightReport->setMarkLampsWhileLost(
        UserDefaults::standardUserDefaults().boolForKey(Preferences::markLampsWhileSourceIsLost));
    m_ticker.cycle().addOutput(m_lightReport.get());
    m_ticker.cycle().setRoundHandedIn([this] { tallyBox().startWriting(); });
    connectParts();
    followShotSource();
    m_ticker.setLostSourcePolicy(LostSourcePolicy::fromDefaults(UserDefaults::standardUserDefaults()));
    viewDidLoad();
}

ViewController::~ViewController() = default;

void ViewController::connectParts()
{
    connect(m_lampRow.get(), &LampRow::lightModeShown, this, &ViewController::lightModeShown);
    connect(&m_document, &TallyDocument::assignmentsChanged, m_lampRow.get(), &LampRow::refreshAssignmentTitles);
    connect(&m_document, &TallyDocument::documentFailed, &m_status, &TallyStatus::noteDocumentFailure);
    connect(&m_document, &TallyDocument::documentSucceeded, &m_status, &TallyStatus::noteDocumentSuccess);
    connect(&m_document, &TallyDocument::recentDocumentsFailed, &m_status, &TallyStatus::noteRecentDocumentsFailure);
    connect(&m_networkOutputs, &NetworkOutputs::problemChanged, &m_status, &TallyStatus::noteOutputs);
    connect(&m_ticker, &TallyTicker::ticked, m_sourceReport.get(),
        [this] { m_sourceReport->noteTick(m_warning->sourceRunning()); });
    // An application-modal panel (password dialog, test panel, file panel)
    // holds the cycle back: its bytes and the tick's must not mix.
    m_ticker.setHoldBack([] { return ModalSession::isActive(); });
    connect(m_segues.get(), &Segues::viewControllerPresented, this, &ViewController::followTestPanel);
}

void ViewController::viewDidLoad()
{
    connectControls();
    // A larger window gives its height to the lamps, not to the row of
    // light numbers above them: no empty band when maximised.
    m_ui->lightsLayout->setRowStretch(0, 0);
    m_ui->lightsLayout->setRowStretch(1, 1);
    applyLargeLampLabels();
    applyAskBeforeDiscardingChanges();
    applyNoTallyBox();
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
    if (QCheckBox* checkBox = lockTallyCheckBox()) {
        connect(checkBox, &QCheckBox::clicked, this, [this, checkBox] { toggleLockSelection(checkBox); });
    }
}

void ViewController::followShotSource()
{
    m_warning->followSource();
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

void ViewController::rebuildShotSource(const TallyTicker::Rebuild& rebuild)
{
    m_sourceReport->leaveSource();
    m_ticker.rebuildSource(rebuild);
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
    tallyBox();
    m_documentCommands->showUntitledWhileNoFile();
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

void ViewController::refreshAssignmentTitles()
{
    // The cycle calls this after following a rename by id; a map loaded or
    // edited re-titles the row directly.
    m_document.noteShotsRenamed();
    m_lampRow->refreshAssignmentTitles();
}

void ViewController::followTestPanel(const QString& identifier, QWidget* viewController)
{
    auto* panel = qobject_cast<TestViewController*>(viewController);
    if (identifier != testSegueIdentifier || panel == nullptr) {
        return;
    }
    // While the panel drives the box, every output shows what it told the
    // box, marked as a test; when it goes, the switcher's lights come back.
    m_ticker.beginTest();
    connect(panel->runner(), &TestSequenceRunner::byteSent, &m_ticker, &TallyTicker::noteTestByte);
    connect(panel, &QObject::destroyed, &m_ticker, [this] { m_ticker.endTest(); });
}

void ViewController::applyMarkLampsWhileSourceIsLost()
{
    m_lightReport->setMarkLampsWhileLost(
        UserDefaults::standardUserDefaults().boolForKey(Preferences::markLampsWhileSourceIsLost));
}

void ViewController::applyLargeLampLabels()
{
    m_lampRow->applyLargeLampLabels(UserDefaults::standardUserDefaults().boolForKey(Preferences::largeLampLabels));
}

void ViewController::applyNoTallyBox()
{
    m_sourceReport->setNoTallyBox(UserDefaults::standardUserDefaults().boolForKey(Preferences::noTallyBox));
}

void ViewController::applyAskBeforeDiscardingChanges()
{
    m_document.setTracksChanges(
        UserDefaults::standardUserDefaults().boolForKey(Preferences::askBeforeDiscardingChanges));
}

void ViewController::applyAlwaysOnTop()
{
    CustomWindow::setStaysOnTop(*window(), UserDefaults::standardUserDefaults().boolForKey(Preferences::alwaysOnTop));
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

void ViewController::applicationWillQuit()
{
    // The last tick whole on the box, then the lights-off bytes after it,
    // written before the program goes on to end.
    if (m_boxWriter) {
        m_boxWriter->waitUntilWritten();
    }
    m_ticker.finish();
    if (m_boxWriter) {
        m_boxWriter->waitUntilWritten();
    }
}

BoxWriter& ViewController::tallyBox()
{
    if (!m_boxWriter) {
        // Made here, on the main thread, so that the writer's thread only
        // ever finds it made.
        USBHIDAppDelegate::shared();
        m_boxWriter = std::make_unique<BoxWriter>(
            [](quint8 byte) { USBHIDAppDelegate::shared().sendControl(byte); }, m_boxWriting);
    }
    return *m_boxWriter;
}

void ViewController::setMixdeskWarningHidden(bool hidden)
{
    m_warning->setHidden(hidden);
}

qsizetype ViewController::indicatorCount() const
{
    return m_lampRow->tallyStateDisplays().size();
}

void ViewController::showLightMode(qsizetype lightIndex, TallyMode mode)
{
    m_lampRow->showLightMode(lightIndex, mode, m_ticker.cycle().litByShown(lightIndex));
}

void ViewController::newDocument(QObject* /*sender*/)
{
    m_documentCommands->newDocument();
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
    m_lockControls->togglePasswordRequirement(sender);
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
