// tallyctl: the command-line companion of Mixdesk Tally, for troubleshooting
// and headless use. Each command lives in its own file and is listed here.

#include "cli/CommandLine.h"
#include "core/StandardOutput.h"

#include <QCoreApplication>

#include <array>

CommandLine::Command decodeCommand();

namespace {

using CommandLine::Command;

const std::array<Command, 1>& commands()
{
    static const std::array<Command, 1> all { decodeCommand() };
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
