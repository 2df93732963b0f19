// tallyctl: the command-line companion of Mixdesk Tally, for troubleshooting
// and headless use. Each command lives in its own file and is listed here.

#include "ChaseCommand.h"
#include "CommandLine.h"
#include "DecodeCommand.h"
#include "DevicesCommand.h"
#include "DigestCommand.h"
#include "EvaluateCommand.h"
#include "MapCommand.h"
#include "OffCommand.h"
#include "SendCommand.h"
#include "WatchCommand.h"
#include "base/MemoryPolicy.h"
#include "base/StandardOutput.h"

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
    printLine(QStringLiteral("  --version\n      Print the version of tallyctl"));
    printLine(QStringLiteral("Run 'tallyctl help COMMAND' or 'tallyctl COMMAND --help' for one command's options, "
                             "environment variables and exit codes."));
    return CommandLine::exitOk;
}

const Command* findCommand(const QString& name)
{
    for (const Command& command : commands()) {
        if (command.name == name) {
            return &command;
        }
    }
    return nullptr;
}

int unknownCommand(const QString& name)
{
    printErrorLine(QStringLiteral("tallyctl: unknown command '%1'").arg(name));
    printErrorLine(QStringLiteral("usage: tallyctl COMMAND [ARGUMENTS...]; see tallyctl --help"));
    return CommandLine::exitUsage;
}

// "tallyctl help" lists the commands, "tallyctl help COMMAND" explains one.
int runHelp(const QStringList& arguments)
{
    if (arguments.isEmpty()) {
        return printCommandList();
    }
    if (arguments.size() > 1) {
        printErrorLine(QStringLiteral("tallyctl help: one COMMAND at most"));
        printErrorLine(QStringLiteral("usage: tallyctl help [COMMAND]"));
        return CommandLine::exitUsage;
    }
    const Command* command = findCommand(arguments.first());
    return command ? CommandLine::printHelp(*command) : unknownCommand(arguments.first());
}

} // namespace

int main(int argc, char* argv[])
{
    MemoryPolicy::keepFreedMemory();
    QCoreApplication app(argc, argv);
    dropPeerHangUpWarnings();
    QStringList arguments = QCoreApplication::arguments().mid(1);
    // Alone, tallyctl explains itself: asking what it can do is not a mistake.
    if (arguments.isEmpty()) {
        return printCommandList();
    }
    const QString name = arguments.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        return printCommandList();
    }
    if (name == QLatin1String("help")) {
        return runHelp(arguments);
    }
    if (name == QLatin1String("--version")) {
        printLine(QStringLiteral("tallyctl " TALLY_VERSION));
        return CommandLine::exitOk;
    }
    const Command* command = findCommand(name);
    if (!command) {
        return unknownCommand(name);
    }
    if (CommandLine::wantsHelp(arguments)) {
        return CommandLine::printHelp(*command);
    }
    return command->run(arguments);
}
