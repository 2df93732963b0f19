#include "CommandLineOptions.h"

#include "AutoCut.h"
#include "CommandInterpreter.h"
#include "link/ShotsFile.h"

#include <QCommandLineParser>

namespace {

CommandLineOptions failure(const QString& error)
{
    CommandLineOptions options;
    options.action = CommandLineOptions::Action::Fail;
    options.error = error;
    return options;
}

} // namespace

CommandLineOptions CommandLineOptions::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") }, QString());
    const QCommandLineOption headless(QStringLiteral("headless"), QString());
    const QCommandLineOption shots(QStringLiteral("shots"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption autoCut(QStringLiteral("auto-cut"), QString(), QStringLiteral("SECONDS"));
    parser.addOptions({ help, headless, shots, autoCut });
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
    return options;
}

QString CommandLineOptions::helpText()
{
    return QStringLiteral("Usage: mixdesk [--headless] [--shots FILE] [--auto-cut SECONDS]\n"
                          "\n"
                          "A stand-in for the Mixdesk production application: a list of shots,\n"
                          "one on program (live, red) and one in preview (green). Its current\n"
                          "answer to the tally controller's shot query is kept in\n"
                          "  %1\n"
                          "while it runs, and removed when it quits.\n"
                          "\n"
                          "Options:\n"
                          "  --shots FILE        start with the shots of FILE instead of the defaults\n"
                          "                      (Camera 1-4, Wide Shot, Titles, Lower Third Clear Layer)\n"
                          "  --auto-cut SECONDS  cut program and preview every SECONDS seconds\n"
                          "  --headless          no window: read commands on standard input\n"
                          "  -h, --help          print this help\n"
                          "\n"
                          "FILE is UTF-8 text with one shot name per line, in show order; blanks\n"
                          "around a name are dropped and empty lines skipped. The first shot starts\n"
                          "on program, the second in preview.\n"
                          "\n"
                          "Commands with --headless, one per line:\n"
                          "%2\n")
        .arg(ShotsFile::path(), CommandInterpreter::usage());
}
