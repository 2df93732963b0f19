// Mixdesk Tally: the main window beside Mixdesk, driving the tally box.

#include "LaunchInformation.h"
#include "SingleInstance.h"
#include "StopSignals.h"
#include "base/MemoryPolicy.h"
#include "base/Problem.h"
#include "base/StandardOutput.h"
#include "base/UserDefaults.h"
#include "keychain/KeychainSecretStore.h"
#include "launch/HandOverRequest.h"
#include "launch/RunBuilder.h"
#include "mainwindow/AppDelegate.h"
#include "mainwindow/MainMenu.h"
#include "mainwindow/MainWindow.h"
#include "mainwindow/ModalPanelProbe.h"
#include "secrets/FallbackSecretStore.h"
#include "secrets/SecretFile.h"
#include "switchers/ObsShotSource.h"
#include "switchers/TslShotSource.h"
#include "tally/CombinedShotSource.h"

#include <QApplication>
#include <QDir>

namespace {

// After the known options only files may remain: an unknown option is a
// mistake to report, not a file to open. "--" ends the options, so a file
// whose name starts with a dash can still be opened.
bool takeEndOfOptions(QStringList& arguments, QString* problem)
{
    for (qsizetype index = 0; index < arguments.size(); ++index) {
        if (arguments[index] == QLatin1String("--")) {
            arguments.removeAt(index);
            return true;
        }
        if (arguments[index].startsWith(QLatin1String("--"))) {
            return reportProblem(problem, QStringLiteral("unknown option '%1'").arg(arguments[index]));
        }
    }
    return true;
}

// A later launch: what it was asked goes to the running window, which takes
// it as if chosen in its menus. Options it cannot take, and bad ones, are
// refused here (status 2) before anything is handed over, so that the
// window is left as it is; a window that refuses what it was handed says why
// (status 1).
int handToRunningWindow(SingleInstance& instance, const RunOptions& options, const QStringList& files)
{
    QString problem;
    const std::optional<HandOverRequest> request
        = HandOverRequest::fromLaunch(options, files, QDir::currentPath(), &problem);
    if (!request) {
        printErrorLine(QStringLiteral("mixdesk-tally: ") + problem);
        return 2;
    }
    if (!instance.handOver(*request, &problem)) {
        printErrorLine(QStringLiteral("mixdesk-tally: ") + problem);
        return 1;
    }
    const QStringList handed = request->summary();
    printLine(handed.isEmpty()
            ? QStringLiteral("mixdesk-tally: the running window comes to the front")
            : QStringLiteral("mixdesk-tally: the running window took ") + handed.join(QStringLiteral(", ")));
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    MemoryPolicy::keepFreedMemory();
    // Help and the version need no window: answered before QApplication
    // looks for a display, so they work where there is none.
    QStringList rawArguments;
    for (int index = 1; index < argc; ++index) {
        rawArguments.append(QString::fromLocal8Bit(argv[index]));
    }
    if (const std::optional<QStringList> lines = LaunchInformation::requestedLines(rawArguments)) {
        for (const QString& line : *lines) {
            printLine(line);
        }
        return 0;
    }

    QApplication app(argc, argv);
    dropPeerHangUpWarnings();
    QApplication::setApplicationName(QStringLiteral("Mixdesk Tally"));
    QApplication::setApplicationVersion(QStringLiteral(TALLY_VERSION));
    QApplication::setOrganizationName(QStringLiteral("Mixdesk"));
    // The launcher's name: the desktop finds the window's icon and name by it.
    QApplication::setDesktopFileName(QStringLiteral("io.github.mixdesktally.MixdeskTally"));
    QStringList files = QApplication::arguments().mid(1);
    RunOptions options;
    QString usageProblem;
    if (!RunOptions::takeFrom(files, &options, &usageProblem) || !takeEndOfOptions(files, &usageProblem)) {
        printErrorLine(QStringLiteral("mixdesk-tally: ") + usageProblem);
        return 2;
    }

    // One instance drives the tally box: a later launch gives what it was
    // asked to the running one and leaves.
    SingleInstance instance(SingleInstance::defaultDirectory());
    if (!instance.becomePrimary()) {
        return handToRunningWindow(instance, options, files);
    }

    installModalPanelProbe();
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    QObject::connect(&app, &QApplication::aboutToQuit, &delegate, &AppDelegate::applicationWillTerminate);

    // Without --source, the source chosen in the window last time, and the
    // switchers added beside it in the Source menu.
    if (!options.sourceGiven) {
        const UserDefaults& defaults = UserDefaults::standardUserDefaults();
        const QString saved = defaults.objectForKey(Preferences::shotSource).toString();
        if (!saved.isEmpty()) {
            options.source = saved;
        }
        // Any OBS Studio among them waits for the kept password.
        options.passwordFromSecretStore = true;
        options.additionalSources = MainMenu::addedSources();
        // The senders the saved TSL listeners hear and how long they may be
        // silent, unless --tsl-allow and --tsl-silence say.
        bool followsTsl = false;
        for (const QString& text : options.sources()) {
            followsTsl = followsTsl || TslShotSource::isTslAddress(CombinedShotSource::splitLabel(text).address);
        }
        if (followsTsl && options.tslAllowedSenders.isEmpty()) {
            options.tslAllowedSenders = defaults.objectForKey(Preferences::tslAllowedSenders).toStringList();
        }
        if (followsTsl && !options.tslSilenceSeconds) {
            options.tslSilenceSeconds = MainMenu::rememberedTslSilence();
        }
    }
    QString sourceProblem;
    ViewController::Dependencies dependencies;
    dependencies.shotSource = makeShotSource(options, &sourceProblem);
    if (!dependencies.shotSource) {
        printErrorLine(QStringLiteral("mixdesk-tally: ") + sourceProblem);
        return 2;
    }
    dependencies.secretStore = std::make_unique<FallbackSecretStore>(std::make_unique<KeychainSecretStore>(),
        std::make_unique<SecretFile>(
            SecretFile::besideSettings(UserDefaults::standardUserDefaults().settingsFilePath())));
    MainWindow main = MainWindow::make(std::move(dependencies));
    // A password an earlier version left in the settings file moves to the
    // secret store. The remembered OBS source connects at once; its password
    // follows when the store answers, and the window does not wait for it.
    ObsPasswordKeeper& obsPassword = main.controller->obsPassword();
    obsPassword.moveOutOfSettings();
    // With several switchers followed, any OBS Studio among them.
    if (!ObsShotSource::awaitingPassword(main.controller->shotSource()).isEmpty()) {
        obsPassword.fetch([controller = main.controller](const QString& password) {
            // The operator may have chosen another source meanwhile.
            for (ObsShotSource* current : ObsShotSource::awaitingPassword(controller->shotSource())) {
                current->setPassword(password);
            }
        });
    }
    // The web page and TSL outputs: the command line's, else the window's
    // saved choices. Only the command line's own can stop the program; a
    // saved one that fails shows on the status line.
    QString outputsProblem;
    if (!checkOutputs(options, &outputsProblem)) {
        printErrorLine(QStringLiteral("mixdesk-tally: ") + outputsProblem);
        return 2;
    }
    if (!main.controller->networkOutputs().startAtLaunch(
            options, NetworkOutputChoices::saved(UserDefaults::standardUserDefaults()), &outputsProblem)) {
        printErrorLine(QStringLiteral("mixdesk-tally: ") + outputsProblem);
        return 1;
    }
    // Choices on the command line hold for this run only; the saved ones
    // come back next time.
    TallyTicker& ticker = main.controller->ticker();
    ticker.setLostSourcePolicy(options.lostSourcePolicy(ticker.lostSourcePolicy()));
    QObject::connect(&app, &QApplication::aboutToQuit, main.controller, &ViewController::applicationWillQuit);
    StopSignals stopSignals;
    QObject::connect(&stopSignals, &StopSignals::stopRequested, &app, &QCoreApplication::quit);
    delegate.setKeyWindow(main.window.get());
    main.window->restoreSavedGeometry();
    main.window->show();
    delegate.applicationOpenFiles(files);

    // A map handed over is opened after the choices, and not at all when
    // one of them is refused: the launch then says what went wrong.
    instance.setReceiver([&main, &delegate](const HandOverRequest& request, QString* problem) {
        main.window->raise();
        main.window->activateWindow();
        if (!main.menu->takeHandOver(request, problem)) {
            return false;
        }
        delegate.applicationOpenFiles(request.files);
        return true;
    });
    return app.exec();
}
