#pragma once

#include "model/TallyMode.h"

#include <QList>
#include <QString>

// The one-byte vocabulary between the program and the tally box: a command in
// the high nibble OR a light number (1-based) in the low nibble. Light number
// 0 addresses that channel of every light.
namespace LightCommand {

constexpr int programOn = 0xB0;
constexpr int programOff = 0x00;
constexpr int previewOn = 0xD0;
constexpr int previewOff = 0x20;

// The update cycle's OR, at full integer width: a result above 255 is a
// programming error and stops the process. Nothing keeps the number inside
// the low nibble; light 16 and up run into the command bits by design.
quint8 combine(int command, qint64 lightNumber);

struct BytePair {
    quint8 first; // program channel
    quint8 second; // preview channel
};

// The two bytes the update cycle sends for one light, program byte first.
BytePair bytesForMode(TallyMode mode, qint64 lightNumber);

// The test panel names its boxes by light number: the title must be a signed
// decimal integer (optional sign, digits, nothing else) in 0 to 255, else
// the panel is miswired and the process stops.
int lightNumberFromTitle(const QString& title);

// The test panel's OR, inside one byte, for a number already in 0 to 255.
quint8 panelByte(int command, int lightNumber);

// The 21-step test chase; within a step the bytes go out in order.
const QList<QList<quint8>>& testSequence();

} // namespace LightCommand
