// tallyctl: the command-line companion of Mixdesk Tally, for troubleshooting
// and headless use. Each command lives in its own file and is listed here.

#include "cli/ChaseCommand.h"
#include "cli/CommandLine.h"
#include "cli/DecodeCommand.h"
#include "cli/DevicesCommand.h"
#include "cli/DigestCommand.h"
#include "cli/EvaluateCommand.h"
#include "cli/MapCommand.h"
#include "cli/OffCommand.h"
#include "cli/SendCommand.h"
#include "cli/WatchCommand.h"
#include "core/StandardOutput.h"

#include <QCoreApplication>

#include <vector>

namespace {

using CommandLine::Command;

// One command per line, so that adding one touches one line. Built on first
// use, once every command's own file has been initialised.
const std::vector<Command>& commands()
{
    static const std::vector<Command> all {
        digestCommand(),
        mapCommand(),
        decodeCommand(),
        evaluateCommand(),
        devicesCommand(),
        sendCommand(),
        offCommand(),
        chaseCommand(),
        watchCommand(),
    };
    return all;
}

int printCommandList()
{
    printLine(QStringLiteral("usage: tallyctl COMMAND [ARGUMENTS...]"));
    printLine(QStringLiteral("commands:"));
    for (const Command& command : commands()) {
        printLine(QStringLiteral("  %1\n      %2").arg(command.usage, command.summary));
    }
    printLine(QStringLiteral("Run 'tallyctl COMMAND --help' for one command."));
    return CommandLine::exitOk;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty()) {
        printCommandList();
        return CommandLine::exitUsage;
    }
    const QString name = arguments.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
        return printCommandList();
    }
    for (const Command& command : commands()) {
        if (command.name == name) {
            if (CommandLine::wantsHelp(arguments)) {
                return CommandLine::printHelp(command);
            }
            return command.run(arguments);
        }
    }
    printErrorLine(QStringLiteral("tallyctl: unknown command '%1'").arg(name));
    printErrorLine(QStringLiteral("usage: tallyctl COMMAND [ARGUMENTS...]; see tallyctl --help"));
    return CommandLine::exitUsage;
}
