// The stand-in production application: a switcher with a list of shots that
// keeps its answer to the tally controller's shot query in the shots file
// while it runs. With --headless it takes commands on standard input instead
// of showing a window, and needs no display.

#include "AnswerWriter.h"
#include "AutoCut.h"
#include "CommandInterpreter.h"
#include "CommandLineOptions.h"
#include "CommandLoop.h"
#include "MixdeskWindow.h"
#include "ShotNamesFile.h"
#include "ShowModel.h"
#include "TerminationSignals.h"
#include "base/StandardOutput.h"
#include "link/ShotsFile.h"

#include <QApplication>
#include <QCoreApplication>

#include <memory>
#include <optional>
#include <tuple>
#include <unistd.h>

namespace {

int complain(const QString& message, int exitCode)
{
    printErrorLine(QStringLiteral("mixdesk: ") + message);
    return exitCode;
}

QStringList argumentList(int argc, char* argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    return arguments;
}

// Qt stops the process with a terse message when it cannot reach a display;
// say instead how to run without one.
bool hasDisplay()
{
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsSet("DISPLAY")
        || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

// A window needs QApplication and a display; headless runs must work on a
// machine without one, so they get a plain QCoreApplication.
std::unique_ptr<QCoreApplication> makeApplication(bool headless, int& argc, char* argv[])
{
    if (headless) {
        return std::make_unique<QCoreApplication>(argc, argv);
    }
    return std::make_unique<QApplication>(argc, argv);
}

// The buses as the options ask, or nothing after saying which option names a
// shot the show does not have.
std::optional<ShowStart> showStart(const CommandLineOptions& options, qsizetype shotCount)
{
    ShowStart start;
    for (const auto& [shot, position, option] : { std::tuple { options.programShot, &start.program, "--program" },
             std::tuple { options.previewShot, &start.preview, "--preview" } }) {
        if (shot == 0) {
            continue;
        }
        if (shot > shotCount) {
            printErrorLine(QStringLiteral("mixdesk: %1 %2 names no shot: there are %3")
                               .arg(QLatin1String(option), QString::number(shot), QString::number(shotCount)));
            return std::nullopt;
        }
        *position = shot - 1;
    }
    return start;
}

} // namespace

int main(int argc, char* argv[])
{
    const CommandLineOptions options = CommandLineOptions::parse(argumentList(argc, argv));
    switch (options.action) {
    case CommandLineOptions::Action::ShowHelp:
        printLine(CommandLineOptions::helpText().trimmed());
        return 0;
    case CommandLineOptions::Action::Fail:
        return complain(options.error + QStringLiteral(" (see mixdesk --help)"), 2);
    case CommandLineOptions::Action::Run:
        break;
    }

    if (!options.headless && !hasDisplay()) {
        return complain(QStringLiteral("no display to show the window on; run it with --headless"), 1);
    }

    QStringList names = ShowModel::defaultShotNames();
    if (!options.shotsFile.isEmpty()) {
        QString error;
        const std::optional<QStringList> read = ShotNamesFile::read(options.shotsFile, &error);
        if (!read) {
            return complain(error, 1);
        }
        names = *read;
    }

    const std::optional<ShowStart> start = showStart(options, names.size());
    if (!start) {
        return 2;
    }

    const std::unique_ptr<QCoreApplication> application = makeApplication(options.headless, argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("mixdesk"));

    ShowModel model(names, *start);
    AutoCut autoCut(model);
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, application.get(), &QCoreApplication::quit);

    QString error;
    if (!ShotsFile::prepareDirectory(&error)) {
        return complain(error, 1);
    }
    AnswerWriter writer(ShotsFile::path());
    if (!writer.follow(model, &error)) {
        return complain(error, 1);
    }
    autoCut.setIntervalSeconds(options.autoCutSeconds);

    std::unique_ptr<CommandInterpreter> interpreter;
    std::unique_ptr<CommandLoop> commandLoop;
    std::unique_ptr<MixdeskWindow> window;
    if (options.headless) {
        interpreter = std::make_unique<CommandInterpreter>(model, autoCut);
        commandLoop = std::make_unique<CommandLoop>(*interpreter, STDIN_FILENO);
        QObject::connect(commandLoop.get(), &CommandLoop::finished, application.get(), &QCoreApplication::quit,
            Qt::QueuedConnection);
    } else {
        window = std::make_unique<MixdeskWindow>(model, autoCut);
        window->showAnswerPath(writer.path());
        window->show();
    }

    const int exitCode = QCoreApplication::exec();
    // The answer must not outlive the show, whichever way it ended.
    writer.withdraw();
    return exitCode;
}
