#pragma once

#include "CommandLine.h"

#include <QString>

#include <optional>

// tallyctl send BYTE...: each byte as one report to the tally box.
CommandLine::Command sendCommand();

// A command byte as typed: hexadecimal with 0x (0xB3) or decimal (179), in 0
// to 255.
std::optional<quint8> parseCommandByte(const QString& text);
