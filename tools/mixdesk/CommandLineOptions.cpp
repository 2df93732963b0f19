#include "CommandLineOptions.h"

#include "AutoCut.h"
#include "CommandInterpreter.h"
#include "link/ShotsFile.h"

#include <QCommandLineParser>

#include <optional>
#include <utility>

namespace {

CommandLineOptions failure(const QString& error)
{
    CommandLineOptions options;
    options.action = CommandLineOptions::Action::Fail;
    options.error = error;
    return options;
}

// A shot position from 1; nothing when `text` is not one.
std::optional<int> shotNumber(const QString& text)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok || number < 1) {
        return std::nullopt;
    }
    return number;
}

} // namespace

CommandLineOptions CommandLineOptions::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") }, QString());
    const QCommandLineOption headless(QStringLiteral("headless"), QString());
    const QCommandLineOption shots(QStringLiteral("shots"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption autoCut(QStringLiteral("auto-cut"), QString(), QStringLiteral("SECONDS"));
    const QCommandLineOption program(QStringLiteral("program"), QString(), QStringLiteral("N"));
    const QCommandLineOption preview(QStringLiteral("preview"), QString(), QStringLiteral("N"));
    parser.addOptions({ help, headless, shots, autoCut, program, preview });
    if (!parser.parse(arguments)) {
        return failure(parser.errorText());
    }
    if (!parser.positionalArguments().isEmpty()) {
        return failure(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst()));
    }

    CommandLineOptions options;
    if (parser.isSet(help)) {
        options.action = Action::ShowHelp;
        return options;
    }
    options.headless = parser.isSet(headless);
    options.shotsFile = parser.value(shots);
    if (parser.isSet(autoCut)) {
        bool ok = false;
        options.autoCutSeconds = parser.value(autoCut).toInt(&ok);
        if (!ok || options.autoCutSeconds < 0 || options.autoCutSeconds > AutoCut::maximumSeconds) {
            return failure(QStringLiteral("--auto-cut needs a number of seconds from 0 to %1, not \"%2\"")
                               .arg(QString::number(AutoCut::maximumSeconds), parser.value(autoCut)));
        }
    }
    for (const auto& [option, shot] :
        { std::pair { &program, &options.programShot }, std::pair { &preview, &options.previewShot } }) {
        if (!parser.isSet(*option)) {
            continue;
        }
        const std::optional<int> number = shotNumber(parser.value(*option));
        if (!number) {
            return failure(QStringLiteral("--%1 needs a shot position from 1, not \"%2\"")
                               .arg(option->names().constFirst(), parser.value(*option)));
        }
        *shot = *number;
    }
    return options;
}

QString CommandLineOptions::helpText()
{
    return QStringLiteral("Usage: mixdesk [--headless] [--shots FILE] [--auto-cut SECONDS]\n"
                          "               [--program N] [--preview N]\n"
                          "\n"
                          "A stand-in for the Mixdesk production application: a list of shots,\n"
                          "one on program (live, red) and one in preview (green), both empty\n"
                          "at start unless --program and --preview say otherwise. Its current\n"
                          "answer to the tally controller's shot query is kept in\n"
                          "  %1\n"
                          "while it runs, and removed when it quits.\n"
                          "\n"
                          "Options:\n"
                          "  --shots FILE        start with the shots of FILE instead of the defaults\n"
                          "                      (Camera 1-4, Wide Shot, Titles, Lower Third Clear Layer)\n"
                          "  --program N         start with shot N on program (none by default)\n"
                          "  --preview N         start with shot N in preview (none by default)\n"
                          "  --auto-cut SECONDS  cut program and preview every SECONDS seconds\n"
                          "  --headless          no window: read commands on standard input\n"
                          "  -h, --help          print this help\n"
                          "\n"
                          "FILE is UTF-8 text with one shot name per line, in show order; blanks\n"
                          "around a name are dropped and empty lines skipped. Shots are numbered\n"
                          "from 1 in that order, for --program, --preview and the commands.\n"
                          "\n"
                          "Commands with --headless, one per line:\n"
                          "%2\n")
        .arg(ShotsFile::path(), CommandInterpreter::usage());
}
