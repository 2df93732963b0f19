#include "mainwindow/MainMenu.h"

#include "base/ManualLocation.h"
#include "base/Problem.h"
#include "base/Text.h"
#include "base/UserDefaults.h"
#include "dialogs/AtemSourceDialog.h"
#include "dialogs/NetworkOutputsDialog.h"
#include "dialogs/ObsSourceDialog.h"
#include "dialogs/TslSourceDialog.h"
#include "dialogs/VmixSourceDialog.h"
#include "dialogs/WindowModalMessage.h"
#include "lamps/TallyState.h"
#include "launch/RunBuilder.h"
#include "mainwindow/LampRow.h"
#include "mainwindow/LostSourceMenu.h"
#include "mainwindow/ViewController.h"
#include "sources/MixdeskShotSource.h"
#include "switchers/AtemShotSource.h"
#include "switchers/ObsShotSource.h"
#include "switchers/SenderAllowList.h"
#include "switchers/TslShotSource.h"
#include "switchers/VmixShotSource.h"
#include "tally/CombinedShotSource.h"
#include "tallymap/RecentDocuments.h"

#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QCoreApplication>
#include <QDesktopServices>
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
    m_tslSource = m_sourceMenu->addAction(tr("TSL UMD Listener…"));
    m_atemSource = m_sourceMenu->addAction(tr("Blackmagic ATEM…"));
    m_vmixSource = m_sourceMenu->addAction(tr("vMix…"));
    for (QAction* item :
        { m_mixdeskSource.data(), m_obsSource.data(), m_tslSource.data(), m_atemSource.data(), m_vmixSource.data() }) {
        item->setCheckable(true);
        group->addAction(item);
    }
    checkCurrentSource();
    connect(m_mixdeskSource, &QAction::triggered, this, &MainMenu::chooseMixdeskSource);
    connect(m_obsSource, &QAction::triggered, this, &MainMenu::askForObsSource);
    connect(m_tslSource, &QAction::triggered, this, &MainMenu::askForTslSource);
    connect(m_atemSource, &QAction::triggered, this, &MainMenu::askForAtemSource);
    connect(m_vmixSource, &QAction::triggered, this, &MainMenu::askForVmixSource);
    buildAddedSourceItems();
}

void MainMenu::buildAddedSourceItems()
{
    m_sourceMenu->addSeparator();
    m_addSourceMenu = m_sourceMenu->addMenu(tr("Add Switcher"));
    // Every kind the window can follow can be followed beside another, in
    // the order of the items above.
    const struct {
        QString text;
        ShotSource::Kind kind;
    } kinds[] = {
        { tr("Mixdesk"), ShotSource::Kind::mixdesk },
        { tr("OBS Studio…"), ShotSource::Kind::obsStudio },
        { tr("TSL UMD Listener…"), ShotSource::Kind::tslUmd },
        { tr("Blackmagic ATEM…"), ShotSource::Kind::atem },
        { tr("vMix…"), ShotSource::Kind::vmix },
    };
    for (const auto& item : kinds) {
        QAction* add = m_addSourceMenu->addAction(item.text);
        connect(add, &QAction::triggered, this, [this, kind = item.kind] { askForAddedSource(kind); });
    }
    m_removeSourceMenu = m_sourceMenu->addMenu(tr("Remove Switcher"));
    fillRemoveSourceMenu();
}

void MainMenu::fillRemoveSourceMenu()
{
    // An item may be the one being triggered: it goes once control is
    // back in the event loop.
    for (QAction* old : m_removeSourceMenu->actions()) {
        m_removeSourceMenu->removeAction(old);
        old->deleteLater();
    }
    const QStringList added = addedSources();
    for (const QString& address : added) {
        QAction* item = m_removeSourceMenu->addAction(Text::literalMnemonicText(address));
        connect(item, &QAction::triggered, this, [this, address] {
            QString problem;
            if (!removeSource(address, &problem)) {
                WindowModalMessage::show(m_controller.window(), QMessageBox::Warning, tr("Remove Switcher"), problem);
            }
        });
    }
    m_removeSourceMenu->setEnabled(!added.isEmpty());
}

void MainMenu::askForAddedSource(ShotSource::Kind kind)
{
    const QString title = tr("Add Switcher");
    switch (kind) {
    case ShotSource::Kind::mixdesk: {
        QString problem;
        if (!addSource(QStringLiteral("mixdesk"), &problem)) {
            WindowModalMessage::show(m_controller.window(), QMessageBox::Warning, title, problem);
        }
        return;
    }
    case ShotSource::Kind::obsStudio: {
        ObsSourceDialog dialog(QString(), QString(), m_controller.window());
        runSourceDialog(dialog, title,
            [&](QString* problem) { return addObsSource(dialog.address(), dialog.password(), problem); });
        return;
    }
    case ShotSource::Kind::tslUmd: {
        const UserDefaults& defaults = UserDefaults::standardUserDefaults();
        TslSourceDialog dialog(QString(), defaults.objectForKey(Preferences::tslAllowedSenders).toStringList(),
            rememberedTslSilence(), m_controller.window());
        runSourceDialog(dialog, title, [&](QString* problem) {
            return addTslSource(dialog.address(), dialog.allowedSenders(), problem, dialog.silenceSeconds());
        });
        return;
    }
    case ShotSource::Kind::atem: {
        AtemSourceDialog dialog(QString(), m_controller.window());
        runSourceDialog(dialog, title, [&](QString* problem) { return addSource(dialog.address(), problem); });
        return;
    }
    case ShotSource::Kind::vmix: {
        VmixSourceDialog dialog(QString(), m_controller.window());
        runSourceDialog(dialog, title, [&](QString* problem) { return addSource(dialog.address(), problem); });
        return;
    }
    }
}

QStringList MainMenu::addedSources()
{
    return UserDefaults::standardUserDefaults().objectForKey(Preferences::addedShotSources).toStringList();
}

bool MainMenu::addSource(const QString& address, QString* problem)
{
    const QString written = address.trimmed();
    const QStringList before = addedSources();
    const QString writtenAddress = CombinedShotSource::splitLabel(written).address;
    // Nothing remembered: the chosen source is Mixdesk.
    const QString chosen = rememberedSource().isEmpty() ? QStringLiteral("mixdesk") : rememberedSource();
    for (const QString& kept : QStringList { chosen } + before) {
        if (Text::equal(CombinedShotSource::splitLabel(kept).address, writtenAddress)) {
            return reportProblem(problem, tr("%1 is followed already").arg(written));
        }
    }
    return followWithAdded(before + QStringList { written }, problem);
}

bool MainMenu::addObsSource(const QString& address, const QString& password, QString* problem)
{
    const QString written = address.trimmed();
    const QStringList before = addedSources();
    if (before.contains(written, Qt::CaseInsensitive) || Text::equal(rememberedSource(), written)) {
        return reportProblem(problem, tr("%1 is followed already").arg(written));
    }
    if (!ObsAddress::parse(CombinedShotSource::splitLabel(written).address, problem)) {
        return false;
    }
    // The password goes where the chosen OBS Studio's goes, the secret
    // store, and the next start hands it to every OBS Studio followed. An
    // empty one leaves a kept one alone: OBS Studio without a password
    // ignores one given.
    if (!password.isEmpty()) {
        m_controller.obsPassword().keep(password);
    }
    return followWithAdded(before + QStringList { written }, problem);
}

bool MainMenu::addTslSource(
    const QString& address, const QStringList& allowedSenders, QString* problem, std::optional<int> silenceSeconds)
{
    const std::optional<SenderAllowList> allowed = SenderAllowList::parse(allowedSenders, problem);
    if (!allowed) {
        return false;
    }
    // The senders and the silence are remembered once for every TSL
    // listener, as --tsl-allow and --tsl-silence hold for every TSL source
    // on the command line; they go back as they were should the listener
    // not be had.
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    const QVariant sendersBefore = defaults.objectForKey(Preferences::tslAllowedSenders);
    const QVariant silenceBefore = defaults.objectForKey(Preferences::tslSilenceSeconds);
    rememberTslChoices(*allowed, silenceSeconds);
    if (addSource(address, problem)) {
        return true;
    }
    const auto restore = [&defaults](const QString& key, const QVariant& value) {
        value.isValid() ? defaults.setObject(key, value) : defaults.removeObjectForKey(key);
    };
    restore(Preferences::tslAllowedSenders, sendersBefore);
    restore(Preferences::tslSilenceSeconds, silenceBefore);
    return false;
}

void MainMenu::rememberTslChoices(const SenderAllowList& allowed, std::optional<int> silenceSeconds)
{
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    defaults.setObject(Preferences::tslAllowedSenders, allowed.entries());
    if (silenceSeconds) {
        defaults.setObject(Preferences::tslSilenceSeconds, *silenceSeconds);
    } else {
        defaults.removeObjectForKey(Preferences::tslSilenceSeconds);
    }
}

bool MainMenu::removeSource(const QString& address, QString* problem)
{
    QStringList added = addedSources();
    if (!added.removeOne(address)) {
        return reportProblem(problem, tr("%1 is not an added switcher").arg(address));
    }
    return followWithAdded(added, problem);
}

RunOptions MainMenu::rememberedOptionsFor(const QString& address)
{
    RunOptions options;
    options.source = address;
    if (TslShotSource::isTslAddress(address)) {
        options.tslAllowedSenders
            = UserDefaults::standardUserDefaults().objectForKey(Preferences::tslAllowedSenders).toStringList();
        options.tslSilenceSeconds = rememberedTslSilence();
    }
    // As at the next start: an OBS Studio made now waits for the password
    // the secret store keeps.
    options.passwordFromSecretStore = true;
    return options;
}

bool MainMenu::followWithAdded(const QStringList& added, QString* problem)
{
    // The chosen source is followed as the settings remember it, as at the
    // next start, so that what runs now is what will run then.
    std::vector<Wanted> wanted;
    wanted.push_back(
        { rememberedOptionsFor(rememberedSource().isEmpty() ? QStringLiteral("mixdesk") : rememberedSource()),
            QString(), nullptr });
    for (const QString& text : added) {
        const CombinedShotSource::LabelledAddress labelled = CombinedShotSource::splitLabel(text);
        wanted.push_back({ rememberedOptionsFor(labelled.address), labelled.label, nullptr });
    }
    // Checked whole first: a bad address or a label twice refuses the
    // change and leaves what runs alone.
    if (!followSwitchers(std::move(wanted), false, problem)) {
        return false;
    }
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    if (added.isEmpty()) {
        defaults.removeObjectForKey(Preferences::addedShotSources);
    } else {
        defaults.setObject(Preferences::addedShotSources, added);
    }
    checkCurrentSource();
    fillRemoveSourceMenu();
    return true;
}

namespace {

// The switchers a source follows, owned: a combined source's members (the
// emptied whole goes once control is back in the event loop: it may be
// inside one of its own signals), else the source itself.
std::vector<std::unique_ptr<ShotSource>> takeSwitchers(std::unique_ptr<ShotSource> source)
{
    std::vector<std::unique_ptr<ShotSource>> switchers;
    auto* combined = qobject_cast<CombinedShotSource*>(source.get());
    if (!combined) {
        switchers.push_back(std::move(source));
        return switchers;
    }
    for (CombinedShotSource::Member& member : combined->releaseMembers()) {
        switchers.push_back(std::move(member.source));
    }
    source.release()->deleteLater();
    return switchers;
}

// A switcher no longer followed: a listener lets its port go at once (one
// made in its place may want it), and the rest goes as the ticker lets old
// sources go.
void dropSwitcher(std::unique_ptr<ShotSource> switcher)
{
    if (auto* listener = qobject_cast<TslShotSource*>(switcher.get())) {
        listener->stop();
    }
    switcher.release()->deleteLater();
}

// Gives a kept TSL listener the senders and silence the settings now
// remember for every listener.
void applyTslChoices(ShotSource& switcher, const RunOptions& options)
{
    auto* listener = qobject_cast<TslShotSource*>(&switcher);
    if (!listener) {
        return;
    }
    if (const std::optional<SenderAllowList> allowed = SenderAllowList::parse(options.tslAllowedSenders, nullptr)) {
        listener->setAllowedSenders(*allowed);
    }
    if (options.tslSilenceSeconds) {
        listener->chooseSilenceLimit(tslSilenceLimit(*options.tslSilenceSeconds));
    } else {
        listener->useDefaultSilenceLimit();
    }
}

} // namespace

bool MainMenu::followSwitchers(std::vector<Wanted> wanted, bool leaveOutUnusable, QString* problem)
{
    const QList<ShotSource*> running = CombinedShotSource::switchersOf(m_controller.shotSource());
    // Per switcher wanted, the one running now that follows it, if any: it
    // goes on as it is; the others are made here.
    QList<ShotSource*> kept;
    std::vector<Wanted> usable;
    for (size_t index = 0; index < wanted.size(); ++index) {
        Wanted& one = wanted[index];
        ShotSource* same = nullptr;
        for (ShotSource* candidate : running) {
            if (!one.made && !kept.contains(candidate) && followsSameSwitcher(*candidate, one.options)) {
                same = candidate;
                break;
            }
        }
        if (!same && !one.made) {
            QString reason;
            if (checkShotSource(one.options, &reason)) {
                one.made = makeShotSource(one.options, &reason);
            }
            if (!one.made) {
                // The chosen source is never left out: without it there is
                // nothing to follow.
                if (!leaveOutUnusable || index == 0) {
                    return reportProblem(problem, reason);
                }
                reportProblem(problem, reason);
                continue;
            }
        }
        kept.append(same);
        usable.push_back(std::move(one));
    }
    QList<ShotSource::Kind> kinds;
    QStringList givenLabels;
    for (qsizetype index = 0; index < kept.size(); ++index) {
        const Wanted& one = usable[size_t(index)];
        kinds.append(kept[index] ? kept[index]->kind() : one.made->kind());
        givenLabels.append(one.label);
    }
    QStringList labels;
    if (!CombinedShotSource::chooseLabels(kinds, givenLabels, &labels, problem)) {
        if (!leaveOutUnusable) {
            return false;
        }
        // Added switchers whose labels clash are all left out: the chosen
        // source is followed alone.
        kept = kept.mid(0, 1);
        usable.resize(1);
        labels = QStringList { QString() };
    }
    m_controller.rebuildShotSource([&](std::unique_ptr<ShotSource> current) -> std::unique_ptr<ShotSource> {
        std::vector<std::unique_ptr<ShotSource>> owned = takeSwitchers(std::move(current));
        std::vector<CombinedShotSource::Member> members;
        for (qsizetype index = 0; index < kept.size(); ++index) {
            Wanted& one = usable[size_t(index)];
            std::unique_ptr<ShotSource> switcher = std::move(one.made);
            for (std::unique_ptr<ShotSource>& candidate : owned) {
                if (kept[index] && candidate.get() == kept[index]) {
                    switcher = std::move(candidate);
                    applyTslChoices(*switcher, one.options);
                    break;
                }
            }
            members.push_back({ std::move(switcher), labels.value(index) });
        }
        for (std::unique_ptr<ShotSource>& left : owned) {
            if (left) {
                dropSwitcher(std::move(left));
            }
        }
        if (members.size() == 1) {
            return std::move(members.front().source);
        }
        return std::make_unique<CombinedShotSource>(std::move(members));
    });
    givePasswordToWaitingObs();
    return true;
}

void MainMenu::givePasswordToWaitingObs()
{
    // As at start: an OBS Studio made without a password gets the one the
    // secret store keeps as soon as the store answers.
    if (ObsShotSource::awaitingPassword(m_controller.shotSource()).isEmpty()) {
        return;
    }
    const QPointer<MainMenu> self(this);
    m_controller.obsPassword().fetch([self](const QString& password) {
        if (!self) {
            return;
        }
        // Another source may have been chosen meanwhile.
        for (ObsShotSource* obs : ObsShotSource::awaitingPassword(self->m_controller.shotSource())) {
            obs->setPassword(password);
        }
    });
}

bool MainMenu::followsObsStudio() const
{
    for (ShotSource* switcher : CombinedShotSource::switchersOf(m_controller.shotSource())) {
        if (switcher->kind() == ShotSource::Kind::obsStudio) {
            return true;
        }
    }
    return false;
}

void MainMenu::checkCurrentSource()
{
    // A source chosen on the command line may be one this menu has no item
    // for: then no item is ticked, rather than a wrong one.
    const ShotSource::Kind kind = m_controller.shotSource().kind();
    m_obsSource->actionGroup()->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    m_obsSource->setChecked(kind == ShotSource::Kind::obsStudio);
    m_tslSource->setChecked(kind == ShotSource::Kind::tslUmd);
    m_atemSource->setChecked(kind == ShotSource::Kind::atem);
    m_vmixSource->setChecked(kind == ShotSource::Kind::vmix);
    m_mixdeskSource->setChecked(kind == ShotSource::Kind::mixdesk);
}

void MainMenu::chooseMixdeskSource()
{
    followAndRemember(std::make_unique<MixdeskShotSource>(), QStringLiteral("mixdesk"));
}

void MainMenu::followAndRemember(std::unique_ptr<ShotSource> source, const QString& remembered)
{
    // The switchers added beside the chosen one stay followed; one that
    // cannot be had now (its address no longer usable) is left out until
    // the next start.
    std::vector<Wanted> wanted;
    wanted.push_back({ rememberedOptionsFor(remembered), QString(), std::move(source) });
    for (const QString& text : addedSources()) {
        const CombinedShotSource::LabelledAddress labelled = CombinedShotSource::splitLabel(text);
        wanted.push_back({ rememberedOptionsFor(labelled.address), labelled.label, nullptr });
    }
    m_leftOut.clear();
    followSwitchers(std::move(wanted), true, &m_leftOut);
    UserDefaults::standardUserDefaults().setObject(Preferences::shotSource, remembered);
    // Only OBS Studio has a password: it is not kept when no OBS Studio is
    // followed.
    if (!followsObsStudio()) {
        m_controller.obsPassword().forget();
    }
    checkCurrentSource();
}

void MainMenu::askForObsSource()
{
    // The dialog starts from the kept password: at once when it is known,
    // else when the secret store has answered (it may first ask the user to
    // unlock it). The menu stays responsive meanwhile.
    const QPointer<MainMenu> self(this);
    m_controller.obsPassword().fetch([self](const QString& password) {
        if (self) {
            self->showObsSourceDialog(password);
        }
    });
}

void MainMenu::showObsSourceDialog(const QString& password)
{
    ObsSourceDialog dialog(obsAddressToOffer(), password, m_controller.window());
    runSourceDialog(dialog, tr("OBS Studio"),
        [&](QString* problem) { return chooseObsSource(dialog.address(), dialog.password(), problem); });
}

QString MainMenu::rememberedSource()
{
    return UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString();
}

QString MainMenu::obsAddressToOffer() const
{
    if (const auto* followed = qobject_cast<const ObsShotSource*>(&m_controller.shotSource())) {
        return QStringLiteral("obs://") + followed->address().display();
    }
    return rememberedSource();
}

void MainMenu::runSourceDialog(QDialog& dialog, const QString& title, const std::function<bool(QString*)>& choose)
{
    dialog.setWindowModality(Qt::WindowModal);
    if (dialog.exec() != QDialog::Accepted) {
        checkCurrentSource(); // nothing changed
        return;
    }
    QString problem;
    if (!choose(&problem)) {
        checkCurrentSource();
        WindowModalMessage::show(m_controller.window(), QMessageBox::Warning, title, problem);
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
    // The address goes to the settings, the password to the secret store.
    followAndRemember(std::make_unique<ObsShotSource>(settings), address);
    m_controller.obsPassword().keep(password);
    return true;
}

void MainMenu::askForTslSource()
{
    const UserDefaults& defaults = UserDefaults::standardUserDefaults();
    TslSourceDialog dialog(rememberedSource(), defaults.objectForKey(Preferences::tslAllowedSenders).toStringList(),
        rememberedTslSilence(), m_controller.window());
    runSourceDialog(dialog, tr("TSL UMD Listener"), [&](QString* problem) {
        return chooseTslSource(dialog.address(), dialog.allowedSenders(), problem, dialog.silenceSeconds());
    });
}

std::optional<int> MainMenu::rememberedTslSilence()
{
    const QVariant kept = UserDefaults::standardUserDefaults().objectForKey(Preferences::tslSilenceSeconds);
    bool isNumber = false;
    const int seconds = kept.toInt(&isNumber);
    if (!kept.isValid() || !isNumber || seconds < 0) {
        return std::nullopt;
    }
    return seconds;
}

bool MainMenu::chooseTslSource(
    const QString& address, const QStringList& allowedSenders, QString* problem, std::optional<int> silenceSeconds)
{
    const std::optional<TslShotSource::Listen> listen = TslShotSource::parseAddress(address, problem);
    if (!listen) {
        return false;
    }
    const std::optional<SenderAllowList> allowed = SenderAllowList::parse(allowedSenders, problem);
    if (!allowed) {
        return false;
    }
    auto source = std::make_unique<TslShotSource>(*listen);
    source->setAllowedSenders(*allowed);
    if (silenceSeconds) {
        source->chooseSilenceLimit(tslSilenceLimit(*silenceSeconds));
    }
    if (!source->start(problem) && !startInPlaceOfCurrentListener(*source, problem)) {
        checkCurrentSource();
        return false;
    }
    rememberTslChoices(*allowed, silenceSeconds);
    followAndRemember(std::move(source), address);
    return true;
}

void MainMenu::askForAtemSource()
{
    AtemSourceDialog dialog(rememberedSource(), m_controller.window());
    runSourceDialog(
        dialog, tr("Blackmagic ATEM"), [&](QString* problem) { return chooseAtemSource(dialog.address(), problem); });
}

bool MainMenu::chooseAtemSource(const QString& address, QString* problem)
{
    const std::optional<AtemAddress> parsed = AtemAddress::parse(address, problem);
    if (!parsed) {
        return false;
    }
    AtemShotSource::Settings settings;
    settings.address = *parsed;
    followAndRemember(std::make_unique<AtemShotSource>(settings), parsed->toString());
    return true;
}

void MainMenu::askForVmixSource()
{
    VmixSourceDialog dialog(rememberedSource(), m_controller.window());
    runSourceDialog(dialog, tr("vMix"), [&](QString* problem) { return chooseVmixSource(dialog.address(), problem); });
}

bool MainMenu::chooseVmixSource(const QString& address, QString* problem)
{
    const std::optional<VmixAddress> parsed = VmixAddress::parse(address, problem);
    if (!parsed) {
        return false;
    }
    VmixShotSource::Settings settings;
    settings.address = *parsed;
    followAndRemember(std::make_unique<VmixShotSource>(settings), parsed->toString());
    return true;
}

bool MainMenu::startInPlaceOfCurrentListener(TslShotSource& source, QString* problem)
{
    // The listener the window follows may hold the port (the operator
    // changed only the allowed senders): it makes way, and listens again
    // should the new one still not start.
    TslShotSource* current = nullptr;
    for (ShotSource* switcher : CombinedShotSource::switchersOf(m_controller.shotSource())) {
        auto* listener = qobject_cast<TslShotSource*>(switcher);
        if (listener && listener->listen().port == source.listen().port) {
            current = listener;
            break;
        }
    }
    if (!current) {
        return false;
    }
    current->stop();
    if (source.start(problem)) {
        return true;
    }
    current->start(nullptr);
    return false;
}

void MainMenu::buildOutputsMenu(QMenuBar& menuBar)
{
    m_outputsMenu = menuBar.addMenu(tr("&Outputs"));
    m_networkOutputs = m_outputsMenu->addAction(tr("&Network Outputs…"));
    connect(m_networkOutputs, &QAction::triggered, this, &MainMenu::askForNetworkOutputs);
    m_outputsMenu->addSeparator();
    m_noTallyBox = addPreferenceItem(
        *m_outputsMenu, tr("No Tally &Box"), Preferences::noTallyBox, [this] { m_controller.applyNoTallyBox(); });
}

void MainMenu::askForNetworkOutputs()
{
    // The dialog shows what runs now, outputs from the command line included.
    NetworkOutputsDialog dialog(
        m_controller.networkOutputs().current(),
        [this](
            const NetworkOutputChoices& choices, QString* problem) { return chooseNetworkOutputs(choices, problem); },
        m_controller.window());
    dialog.showPhoneLinks(phoneLinks());
    // Over the main window only: the lights go on while outputs are chosen.
    dialog.setWindowModality(Qt::WindowModal);
    const bool pageWasServed = m_controller.networkOutputs().webServer() != nullptr;
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    showOutputsChosen(pageWasServed);
}

void MainMenu::showOutputsChosen(bool pageWasServed)
{
    if (m_phoneLinksDialog) {
        m_phoneLinksDialog->setLinks(phoneLinks());
    }
    // A page just turned on is there for phones to join: its codes come up
    // at once, without a trip to the View menu.
    if (!pageWasServed && m_controller.networkOutputs().webServer() != nullptr) {
        showPhoneLinks();
    }
}

bool MainMenu::takeHandOver(const HandOverRequest& request, QString* problem)
{
    if (request.source && !chooseHandedSources(*request.source, problem)) {
        return false;
    }
    if (request.changesOutputs()) {
        NetworkOutputs& outputs = m_controller.networkOutputs();
        const bool pageWasServed = outputs.webServer() != nullptr;
        if (!chooseNetworkOutputs(request.outputsOver(outputs.current()), problem)) {
            return false;
        }
        showOutputsChosen(pageWasServed);
    }
    if (request.changesLostSourcePolicy()) {
        m_lostSourceMenu->choose(request.lostSourcePolicyOver(m_controller.ticker().lostSourcePolicy()));
    }
    return true;
}

bool MainMenu::chooseHandedSources(const HandOverRequest::Source& source, QString* problem)
{
    // From a launch that hands one source only: the added switchers stay.
    if (!source.added) {
        return chooseHandedSource(source, problem);
    }
    // Checked whole first: a bad address or a label twice refuses the lot
    // and leaves what runs alone.
    RunOptions whole;
    whole.source = source.address;
    whole.additionalSources = *source.added;
    whole.tslAllowedSenders = source.allowedSenders;
    if (!checkShotSource(whole, problem)) {
        return false;
    }
    const std::optional<ShotSource::Kind> kind = shotSourceKindOf(source.address);
    // The password and the senders hold for every OBS Studio and every TSL
    // listener among them, the added ones too.
    if (!source.password.isEmpty() && kind != ShotSource::Kind::obsStudio) {
        m_controller.obsPassword().keep(source.password);
    }
    if (kind != ShotSource::Kind::tslUmd) {
        if (const std::optional<SenderAllowList> allowed = SenderAllowList::parse(source.allowedSenders, nullptr)) {
            rememberTslChoices(*allowed, std::nullopt);
        }
    }
    // The added switchers are settled first, so that the chosen source is
    // followed with them in one change.
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    const QVariant addedBefore = defaults.objectForKey(Preferences::addedShotSources);
    if (source.added->isEmpty()) {
        defaults.removeObjectForKey(Preferences::addedShotSources);
    } else {
        defaults.setObject(Preferences::addedShotSources, *source.added);
    }
    m_leftOut.clear();
    if (!chooseHandedSource(source, problem)) {
        addedBefore.isValid() ? defaults.setObject(Preferences::addedShotSources, addedBefore)
                              : defaults.removeObjectForKey(Preferences::addedShotSources);
        return false;
    }
    fillRemoveSourceMenu();
    // The others are followed; the launch hears which one could not be.
    if (!m_leftOut.isEmpty()) {
        return reportProblem(problem, m_leftOut);
    }
    return true;
}

bool MainMenu::chooseHandedSource(const HandOverRequest::Source& source, QString* problem)
{
    const std::optional<ShotSource::Kind> kind = shotSourceKindOf(source.address);
    if (!kind) {
        return reportProblem(problem, tr("unknown source '%1'").arg(source.address));
    }
    switch (*kind) {
    case ShotSource::Kind::mixdesk:
        chooseMixdeskSource();
        return true;
    case ShotSource::Kind::obsStudio:
        return chooseObsSource(source.address, source.password, problem);
    case ShotSource::Kind::tslUmd:
        return chooseTslSource(source.address, source.allowedSenders, problem);
    case ShotSource::Kind::atem:
        return chooseAtemSource(source.address, problem);
    case ShotSource::Kind::vmix:
        return chooseVmixSource(source.address, problem);
    }
    return false;
}

void MainMenu::showPhoneLinks()
{
    if (!m_phoneLinksDialog) {
        m_phoneLinksDialog = new PhoneLinksDialog(m_controller.window());
        m_phoneLinksDialog->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_phoneLinksDialog->setLinks(phoneLinks());
    m_phoneLinksDialog->show();
    m_phoneLinksDialog->raise();
    m_phoneLinksDialog->activateWindow();
}

QList<PhoneLink> MainMenu::phoneLinks() const
{
    return m_controller.networkOutputs().phoneLinks(m_controller.tallyMap().shotSelections().size());
}

bool MainMenu::chooseNetworkOutputs(const NetworkOutputChoices& choices, QString* problem)
{
    return m_controller.networkOutputs().choose(choices, UserDefaults::standardUserDefaults(), problem);
}

void MainMenu::buildFileMenu(QMenuBar& menuBar)
{
    m_fileMenu = menuBar.addMenu(tr("&File"));
    QAction* newMap = m_fileMenu->addAction(tr("&New"));
    newMap->setShortcut(QKeySequence::New);
    connect(newMap, &QAction::triggered, &m_controller, [this, newMap] { m_controller.newDocument(newMap); });
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
    m_requirePassword = m_editMenu->addAction(tr("Require &Password to Unlock"));
    m_requirePassword->setCheckable(true);
    connect(m_requirePassword, &QAction::triggered, &m_controller, [this] {
        // The controller owns the state: undo Qt's own flip and let it set
        // the mark.
        m_requirePassword->setChecked(!m_requirePassword->isChecked());
        m_controller.togglePasswordRequirement(m_requirePassword);
    });
    m_editMenu->addSeparator();
    addEditingComfortItems();
    m_editMenu->addSeparator();
    addTestLightsItem();
    m_lostSourceMenu = new LostSourceMenu(*m_editMenu, m_controller.ticker());
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

void MainMenu::addEditingComfortItems()
{
    m_askBeforeDiscarding = addPreferenceItem(*m_editMenu, tr("Ask Before &Discarding Changes"),
        Preferences::askBeforeDiscardingChanges, [this] { m_controller.applyAskBeforeDiscardingChanges(); });
    // The editor reads its choice when it is made: the next one opened
    // follows the item.
    m_shotEditorCancel
        = addPreferenceItem(*m_editMenu, tr("&Cancel in Shot Editor"), Preferences::shotEditorCancel, {});
}

QAction* MainMenu::addPreferenceItem(
    QMenu& menu, const QString& text, const QString& key, std::function<void()> applied)
{
    QAction* item = menu.addAction(text);
    item->setCheckable(true);
    item->setChecked(UserDefaults::standardUserDefaults().boolForKey(key));
    connect(item, &QAction::toggled, this, [key, applied = std::move(applied)](bool on) {
        UserDefaults::standardUserDefaults().setBool(key, on);
        if (applied) {
            applied();
        }
    });
    return item;
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
    m_markLampsWhileLost = m_viewMenu->addAction(tr("&Mark Lamps While Source Is Lost"));
    m_markLampsWhileLost->setCheckable(true);
    m_markLampsWhileLost->setChecked(m_controller.lightReport().marksLampsWhileLost());
    connect(m_markLampsWhileLost, &QAction::toggled, this, [this](bool on) {
        UserDefaults::standardUserDefaults().setBool(Preferences::markLampsWhileSourceIsLost, on);
        m_controller.applyMarkLampsWhileSourceIsLost();
    });
    m_bigTally = m_viewMenu->addAction(tr("&Big Tally"));
    m_bigTally->setCheckable(true);
    m_bigTally->setShortcut(QKeySequence(Qt::Key_F11));
    connect(m_bigTally, &QAction::toggled, this, &MainMenu::bigTallyToggled);
    m_viewMenu->addSeparator();
    m_phoneLinks = m_viewMenu->addAction(tr("&Phone Links…"));
    connect(m_phoneLinks, &QAction::triggered, this, &MainMenu::showPhoneLinks);
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
        connect(&m_controller.lightReport(), &WindowLightReport::reported, m_bigTallyView, &BigTallyView::showReport);
        // Shows the lights as they are now, not only from the next tick.
        for (qsizetype lightIndex = 0; lightIndex < m_controller.tallyStateDisplays().size(); ++lightIndex) {
            if (const TallyState* display = m_controller.tallyStateDisplays()[lightIndex]) {
                m_bigTallyView->showLight(
                    lightIndex, display->mode, m_controller.lampRow().shotNamesOfLight(lightIndex));
            }
        }
        m_bigTallyView->showReport(m_controller.lightReport().lastReport(), TallyCycle::monotonicMilliseconds());
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
    m_help = m_helpMenu->addAction(tr("Mixdesk Tally &Help"));
    m_help->setShortcut(QKeySequence::HelpContents);
    m_manualFolders = ManualLocation::folders(QCoreApplication::applicationDirPath());
    connect(m_help, &QAction::triggered, this, &MainMenu::openManual);
    m_about = m_helpMenu->addAction(tr("&About Mixdesk Tally"));
    m_about->setMenuRole(QAction::AboutRole);
    connect(m_about, &QAction::triggered, &m_controller, [this] {
        QMessageBox* box = WindowModalMessage::show(
            m_controller.window(), QMessageBox::NoIcon, tr("About Mixdesk Tally"), aboutText(), Qt::RichText);
        if (!QApplication::windowIcon().isNull()) {
            box->setIconPixmap(QApplication::windowIcon().pixmap(64));
        }
    });
}

void MainMenu::openManual()
{
    QString problem;
    const std::optional<QString> index = ManualLocation::find(m_manualFolders, &problem);
    if (index && QDesktopServices::openUrl(QUrl::fromLocalFile(*index))) {
        return;
    }
    if (index) {
        problem = tr("The manual is at %1, but no program on this computer opens it.").arg(*index);
    }
    // Said, never nothing: a Help item that does nothing reads as broken.
    WindowModalMessage::show(m_controller.window(), QMessageBox::Warning, tr("Mixdesk Tally Help"), problem);
}

QString MainMenu::aboutText()
{
    return tr("<b>Mixdesk Tally %1</b><p>Drives the studio tally lights from the switcher's program and "
              "preview shots.</p>")
        .arg(QStringLiteral(TALLY_VERSION));
}
