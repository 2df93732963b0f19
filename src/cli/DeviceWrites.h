#pragma once

#include "hardware/TestSequenceRunner.h"

#include <QString>

// What the hardware commands of tallyctl achieved at the tally box. The
// window goes on when a write fails (the next tick writes again); a command
// run once must say when nothing reached the box.
class DeviceWrites {
public:
    // Writes one byte through the shared delegate and counts the outcome.
    void send(quint8 byte);

    // send() as the chase and the switch-off take it.
    TestSequenceRunner::SendFunction sender();

    // exitOk when at least one write went out (or none was asked for);
    // otherwise prints "tallyctl <command>: ..." on standard error and gives
    // exitFailure.
    int exitStatus(const QString& commandName) const;

private:
    int m_tried = 0;
    int m_written = 0;
};
