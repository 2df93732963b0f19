#include "DeviceWrites.h"

#include "CommandLine.h"
#include "base/StandardOutput.h"
#include "hardware/USBHIDAppDelegate.h"

void DeviceWrites::send(quint8 byte)
{
    ++m_tried;
    if (USBHIDAppDelegate::shared().sendControl(byte)) {
        ++m_written;
    }
}

TestSequenceRunner::SendFunction DeviceWrites::sender()
{
    return [this](quint8 byte) { send(byte); };
}

int DeviceWrites::exitStatus(const QString& commandName) const
{
    if (m_tried > 0 && m_written == 0) {
        printErrorLine(QStringLiteral("tallyctl %1: no write reached the tally device (%2 failed; the system log has "
                                      "each status)")
                           .arg(commandName)
                           .arg(m_tried));
        return CommandLine::exitFailure;
    }
    return CommandLine::exitOk;
}
