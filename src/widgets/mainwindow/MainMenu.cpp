#include "mainwindow/MainMenu.h"

#include "base/Text.h"
#include "base/UserDefaults.h"
#include "dialogs/AtemSourceDialog.h"
#include "dialogs/NetworkOutputsDialog.h"
#include "dialogs/ObsSourceDialog.h"
#include "lamps/TallyState.h"
#include "mainwindow/LampRow.h"
#include "mainwindow/LostSourceMenu.h"
#include "mainwindow/ViewController.h"
#include "sources/AtemShotSource.h"
#include "sources/MixdeskShotSource.h"
#include "sources/ObsShotSource.h"
#include "tallymap/RecentDocuments.h"

#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QFileInfo>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QUrl>

MainMenu::MainMenu(QMenuBar& menuBar, ViewController& controller)
    : QObject(&menuBar)
    , m_controller(controller)
{
    buildFileMenu(menuBar);
    buildEditMenu(menuBar);
    buildViewMenu(menuBar);
    buildSourceMenu(menuBar);
    buildOutputsMenu(menuBar);
    buildHelpMenu(menuBar);
}

void MainMenu::buildSourceMenu(QMenuBar& menuBar)
{
    m_sourceMenu = menuBar.addMenu(tr("&Source"));
    auto* group = new QActionGroup(m_sourceMenu);
    m_mixdeskSource = m_sourceMenu->addAction(tr("Mixdesk"));
    m_obsSource = m_sourceMenu->addAction(tr("OBS Studio…"));
    m_atemSource = m_sourceMenu->addAction(tr("Blackmagic ATEM…"));
    for (QAction* item : { m_mixdeskSource.data(), m_obsSource.data(), m_atemSource.data() }) {
        item->setCheckable(true);
        group->addAction(item);
    }
    checkCurrentSource();
    connect(m_mixdeskSource, &QAction::triggered, this, &MainMenu::chooseMixdeskSource);
    connect(m_obsSource, &QAction::triggered, this, &MainMenu::askForObsSource);
    connect(m_atemSource, &QAction::triggered, this, &MainMenu::askForAtemSource);
}

void MainMenu::checkCurrentSource()
{
    // A source chosen on the command line may be one this menu has no item
    // for (a TSL listener): then neither item is ticked, rather than a wrong one.
    const ShotSource::Kind kind = m_controller.shotSource().kind();
    m_obsSource->actionGroup()->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    m_obsSource->setChecked(kind == ShotSource::Kind::obsStudio);
    m_atemSource->setChecked(kind == ShotSource::Kind::atem);
    m_mixdeskSource->setChecked(kind == ShotSource::Kind::mixdesk);
}

void MainMenu::chooseMixdeskSource()
{
    m_controller.setShotSource(std::make_unique<MixdeskShotSource>());
    UserDefaults::standardUserDefaults().setObject(Preferences::shotSource, QStringLiteral("mixdesk"));
    checkCurrentSource();
}

void MainMenu::askForObsSource()
{
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    ObsSourceDialog dialog(defaults.objectForKey(Preferences::shotSource).toString(),
        defaults.objectForKey(Preferences::obsPassword).toString(), m_controller.window());
    dialog.setWindowModality(Qt::WindowModal);
    QString problem;
    if (dialog.exec() != QDialog::Accepted) {
        checkCurrentSource(); // nothing changed
        return;
    }
    if (!chooseObsSource(dialog.address(), dialog.password(), &problem)) {
        checkCurrentSource();
        QMessageBox::warning(m_controller.window(), tr("OBS Studio"), problem);
    }
}

bool MainMenu::chooseObsSource(const QString& address, const QString& password, QString* problem)
{
    const std::optional<ObsAddress> parsed = ObsAddress::parse(address, problem);
    if (!parsed) {
        return false;
    }
    ObsShotSource::Settings settings;
    settings.address = *parsed;
    settings.password = password;
    m_controller.setShotSource(std::make_unique<ObsShotSource>(settings));
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    // The password makes the settings file a secret of the user's.
    defaults.setObject(Preferences::obsPassword, password, true);
    defaults.setObject(Preferences::shotSource, address, true);
    checkCurrentSource();
    return true;
}

void MainMenu::askForAtemSource()
{
    AtemSourceDialog dialog(
        UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(), m_controller.window());
    dialog.setWindowModality(Qt::WindowModal);
    if (dialog.exec() != QDialog::Accepted) {
        checkCurrentSource(); // nothing changed
        return;
    }
    QString problem;
    if (!chooseAtemSource(dialog.address(), &problem)) {
        checkCurrentSource();
        QMessageBox::warning(m_controller.window(), tr("Blackmagic ATEM"), problem);
    }
}

bool MainMenu::chooseAtemSource(const QString& address, QString* problem)
{
    const std::optional<AtemAddress> parsed = AtemAddress::parse(address, problem);
    if (!parsed) {
        return false;
    }
    AtemShotSource::Settings settings;
    settings.address = *parsed;
    m_controller.setShotSource(std::make_unique<AtemShotSource>(settings));
    UserDefaults::standardUserDefaults().setObject(Preferences::shotSource, parsed->toString());
    checkCurrentSource();
    return true;
}

void MainMenu::buildOutputsMenu(QMenuBar& menuBar)
{
    m_outputsMenu = menuBar.addMenu(tr("&Outputs"));
    m_networkOutputs = m_outputsMenu->addAction(tr("&Network Outputs…"));
    connect(m_networkOutputs, &QAction::triggered, this, &MainMenu::askForNetworkOutputs);
}

void MainMenu::askForNetworkOutputs()
{
    // The dialog shows what runs now, outputs from the command line included.
    NetworkOutputsDialog dialog(
        m_controller.networkOutputs().current(),
        [this](const NetworkOutputChoices& choices) { return chooseNetworkOutputs(choices); }, m_controller.window());
    dialog.setWindowModality(Qt::WindowModal);
    dialog.exec();
}

std::optional<QString> MainMenu::chooseNetworkOutputs(const NetworkOutputChoices& choices)
{
    OutputsProblem problem;
    if (!m_controller.networkOutputs().choose(choices, UserDefaults::standardUserDefaults(), &problem)) {
        return problem.text;
    }
    return std::nullopt;
}

void MainMenu::buildFileMenu(QMenuBar& menuBar)
{
    m_fileMenu = menuBar.addMenu(tr("&File"));
    QAction* open = m_fileMenu->addAction(tr("&Open…"));
    open->setShortcut(QKeySequence::Open);
    connect(open, &QAction::triggered, &m_controller, [this, open] { m_controller.openDocument(open); });

    m_openRecentMenu = m_fileMenu->addMenu(tr("Open &Recent"));
    connect(m_openRecentMenu, &QMenu::aboutToShow, this, &MainMenu::rebuildOpenRecentMenu);
    rebuildOpenRecentMenu();

    m_fileMenu->addSeparator();
    QAction* save = m_fileMenu->addAction(tr("&Save"));
    save->setShortcut(QKeySequence::Save);
    connect(save, &QAction::triggered, &m_controller, [this, save] { m_controller.saveDocument(save); });
    QAction* saveAs = m_fileMenu->addAction(tr("Save &As…"));
    // Not every desktop gives Save As a key of its own; this one is common
    // to them all.
    saveAs->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    connect(saveAs, &QAction::triggered, &m_controller, [this, saveAs] { m_controller.saveDocumentAs(saveAs); });

    m_fileMenu->addSeparator();
    QAction* quit = m_fileMenu->addAction(tr("&Quit"));
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);
    // Closing the main window ends the program, after the window has asked
    // about unsaved changes.
    connect(quit, &QAction::triggered, m_controller.window(), &QWidget::close, Qt::QueuedConnection);
}

void MainMenu::buildEditMenu(QMenuBar& menuBar)
{
    m_editMenu = menuBar.addMenu(tr("&Edit"));
    addLockEditingItem();
    // Shows whether unlocking needs the password; the controller switches
    // the check mark itself, since a dialog may decide otherwise.
    m_requirePassword = m_editMenu->addAction(tr("Require Password to Unlock"));
    m_requirePassword->setCheckable(true);
    connect(m_requirePassword, &QAction::triggered, &m_controller, [this] {
        // The controller owns the state: undo Qt's own flip and let it set
        // the mark.
        m_requirePassword->setChecked(!m_requirePassword->isChecked());
        m_controller.togglePasswordRequirement(m_requirePassword);
    });
    m_editMenu->addSeparator();
    addTestLightsItem();
    m_lostSourceMenu = new LostSourceMenu(*m_editMenu, m_controller);
}

void MainMenu::addLockEditingItem()
{
    m_lockEditing = m_editMenu->addAction(tr("&Lock Editing"));
    m_lockEditing->setCheckable(true);
    QCheckBox* checkBox = m_controller.lockTallyCheckBox();
    if (checkBox == nullptr) {
        m_lockEditing->setEnabled(false);
        return;
    }
    // The item mirrors the check box, whoever switches it (the user, or the
    // password dialog locking again); choosing it is a click on the box, so
    // the password rules are the same either way.
    m_lockEditing->setChecked(checkBox->isChecked());
    connect(checkBox, &QCheckBox::toggled, m_lockEditing, &QAction::setChecked);
    connect(m_lockEditing, &QAction::triggered, checkBox, [this, checkBox] {
        m_lockEditing->setChecked(checkBox->isChecked());
        checkBox->click();
    });
}

void MainMenu::addTestLightsItem()
{
    m_testLights = m_editMenu->addAction(tr("&Test Lights…"));
    connect(m_testLights, &QAction::triggered, &m_controller,
        [this] { m_controller.performSegueWithIdentifier(ViewController::testSegueIdentifier, m_testLights); });
}

void MainMenu::buildViewMenu(QMenuBar& menuBar)
{
    m_viewMenu = menuBar.addMenu(tr("&View"));
    m_alwaysOnTop = m_viewMenu->addAction(tr("Always on &Top"));
    m_alwaysOnTop->setCheckable(true);
    m_alwaysOnTop->setChecked(UserDefaults::standardUserDefaults().boolForKey(Preferences::alwaysOnTop));
    connect(m_alwaysOnTop, &QAction::toggled, this, &MainMenu::alwaysOnTopToggled);
    m_largeLampLabels = m_viewMenu->addAction(tr("Large Lamp &Labels"));
    m_largeLampLabels->setCheckable(true);
    m_largeLampLabels->setChecked(m_controller.lampRow().showsLargeLampLabels());
    connect(m_largeLampLabels, &QAction::toggled, this, &MainMenu::largeLampLabelsToggled);
    m_bigTally = m_viewMenu->addAction(tr("&Big Tally"));
    m_bigTally->setCheckable(true);
    m_bigTally->setShortcut(QKeySequence(Qt::Key_F11));
    connect(m_bigTally, &QAction::toggled, this, &MainMenu::bigTallyToggled);
}

void MainMenu::largeLampLabelsToggled(bool on)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::largeLampLabels, on);
    m_controller.applyLargeLampLabels();
}

void MainMenu::bigTallyToggled(bool on)
{
    if (!on) {
        if (m_bigTallyView) {
            m_bigTallyView->close();
        }
        return;
    }
    if (!m_bigTallyView) {
        m_bigTallyView = new BigTallyView(m_controller.window());
        m_bigTallyView->setAttribute(Qt::WA_DeleteOnClose);
        connect(&m_controller, &ViewController::lightModeShown, m_bigTallyView, &BigTallyView::showLight);
        connect(m_bigTallyView, &BigTallyView::closed, m_bigTally, [this] { m_bigTally->setChecked(false); });
        // Shows the lights as they are now, not only from the next tick.
        for (qsizetype lightIndex = 0; lightIndex < m_controller.tallyStateDisplays().size(); ++lightIndex) {
            if (const TallyState* display = m_controller.tallyStateDisplays()[lightIndex]) {
                m_bigTallyView->showLight(
                    lightIndex, display->mode, m_controller.lampRow().shotNamesOfLight(lightIndex));
            }
        }
    }
    m_bigTallyView->showFullScreen();
}

void MainMenu::alwaysOnTopToggled(bool checked)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::alwaysOnTop, checked);
    m_controller.toggleAlwaysOnTopWithSender(m_alwaysOnTop);
}

void MainMenu::rebuildOpenRecentMenu()
{
    m_openRecentMenu->clear();
    const QStringList paths = m_controller.document().recentDocuments().recentDocuments();
    for (const QString& path : paths) {
        QAction* item = m_openRecentMenu->addAction(Text::literalMnemonicText(QFileInfo(path).fileName()));
        item->setToolTip(path);
        item->setStatusTip(path);
        // A file that has gone stays listed (its disk may come back) but
        // cannot be chosen.
        item->setEnabled(QFileInfo::exists(path));
        connect(item, &QAction::triggered, &m_controller,
            [this, path] { m_controller.loadTallyMap(QUrl::fromLocalFile(path)); });
    }
    if (!paths.isEmpty()) {
        m_openRecentMenu->addSeparator();
    }
    QAction* clear = m_openRecentMenu->addAction(tr("Clear Menu"));
    clear->setEnabled(!paths.isEmpty());
    connect(clear, &QAction::triggered, this, [this] {
        m_controller.document().clearRecentDocuments();
        rebuildOpenRecentMenu();
    });
}

void MainMenu::buildHelpMenu(QMenuBar& menuBar)
{
    m_helpMenu = menuBar.addMenu(tr("&Help"));
    m_about = m_helpMenu->addAction(tr("&About Mixdesk Tally"));
    m_about->setMenuRole(QAction::AboutRole);
    connect(m_about, &QAction::triggered, &m_controller,
        [this] { QMessageBox::about(m_controller.window(), tr("About Mixdesk Tally"), aboutText()); });
}

QString MainMenu::aboutText()
{
    return tr("<b>Mixdesk Tally %1</b><p>Drives the studio tally lights from the switcher's program and "
              "preview shots.</p>")
        .arg(QStringLiteral(TALLY_VERSION));
}
