#include "DevicesCommand.h"

#include "base/StandardOutput.h"
#include "hardware/USBHIDAppDelegate.h"

namespace {

using CommandLine::Command;

int runDevices(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("devices"),
        QStringLiteral("devices"),
        QStringLiteral("List the attached tally devices (USB vendor 0x04d8, product 0xf5ea)"),
        runDevices,
        {},
        CommandLine::captureVariablesHelp(),
    };
    return definition;
}

QString orNone(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("(none)") : text;
}

int runDevices(const QStringList& arguments)
{
    if (!arguments.isEmpty()) {
        return CommandLine::usageError(command(), QStringLiteral("takes no arguments"));
    }
    USBHIDAppDelegate& delegate = USBHIDAppDelegate::shared();
    const QList<HidDevicePtr> devices = delegate.attachedDevices();
    if (devices.isEmpty()) {
        printLine(QStringLiteral("no tally device attached"));
        return CommandLine::exitOk;
    }
    for (const HidDevicePtr& device : devices) {
        const HidDeviceDescription description = device->description();
        // A box the program took but could not open (no permission) is not
        // driven: nothing it is sent arrives.
        QString state;
        if (device == delegate.controller()) {
            state = device->isOpen() ? QStringLiteral(" (driven)") : QStringLiteral(" (cannot be opened)");
        }
        printLine(description.path + state);
        printLine(QStringLiteral("  manufacturer: ") + orNone(description.manufacturer));
        printLine(QStringLiteral("  product: ") + orNone(description.product));
        printLine(QStringLiteral("  serial: ") + orNone(description.serialNumber));
    }
    return CommandLine::exitOk;
}

} // namespace

Command devicesCommand()
{
    return command();
}
