#include "OffCommand.h"

#include "DeviceWait.h"
#include "DeviceWrites.h"
#include "hardware/TestSequenceRunner.h"

namespace {

using CommandLine::Command;

int runOff(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("off"),
        QStringLiteral("off"),
        QStringLiteral("Switch every light off (sends 0xB0, then 0xD0)"),
        runOff,
        {},
        CommandLine::captureVariablesHelp(),
    };
    return definition;
}

int runOff(const QStringList& arguments)
{
    if (!arguments.isEmpty()) {
        return CommandLine::usageError(command(), QStringLiteral("takes no arguments"));
    }
    if (!DeviceWait::waitForDevice()) {
        return CommandLine::exitFailure;
    }
    DeviceWrites writes;
    TestSequenceRunner(writes.sender(), TestSequenceRunner::StepPolicy::always).turnOffAll();
    return writes.exitStatus(command().name);
}

} // namespace

Command offCommand()
{
    return command();
}
