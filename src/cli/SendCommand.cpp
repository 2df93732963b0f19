#include "SendCommand.h"

#include "DeviceWait.h"
#include "DeviceWrites.h"

#include <QRegularExpression>

namespace {

using CommandLine::Command;

int runSend(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("send"),
        QStringLiteral("send BYTE..."),
        QStringLiteral("Send each byte (0xB3 or 179, 0 to 255) to the tally device as one report"),
        runSend,
        {},
        CommandLine::captureVariablesHelp(),
    };
    return definition;
}

int runSend(const QStringList& arguments)
{
    const CommandLine::ParsedArguments parsed = CommandLine::parse(arguments);
    if (const std::optional<int> unknown = CommandLine::rejectUnknownFlags(command(), parsed)) {
        return *unknown;
    }
    if (parsed.positional.isEmpty()) {
        return CommandLine::usageError(command(), QStringLiteral("no byte given"));
    }
    QList<quint8> bytes;
    for (const QString& text : parsed.positional) {
        const std::optional<quint8> byte = parseCommandByte(text);
        if (!byte) {
            return CommandLine::usageError(
                command(), QStringLiteral("'%1' is not a byte (0xB3 or 179, 0 to 255)").arg(text));
        }
        bytes.append(*byte);
    }
    if (!DeviceWait::waitForDevice()) {
        return CommandLine::exitFailure;
    }
    DeviceWrites writes;
    for (const quint8 byte : bytes) {
        writes.send(byte);
    }
    return writes.exitStatus(command().name);
}

} // namespace

Command sendCommand()
{
    return command();
}

std::optional<quint8> parseCommandByte(const QString& text)
{
    static const QRegularExpression hex(QStringLiteral("\\A0[xX]([0-9A-Fa-f]{1,8})\\z"));
    static const QRegularExpression decimal(QStringLiteral("\\A[0-9]{1,8}\\z"));
    bool ok = false;
    uint value = 0;
    if (const QRegularExpressionMatch match = hex.match(text); match.hasMatch()) {
        value = match.captured(1).toUInt(&ok, 16);
    } else if (decimal.match(text).hasMatch()) {
        value = text.toUInt(&ok, 10);
    }
    if (!ok || value > 255) {
        return std::nullopt;
    }
    return static_cast<quint8>(value);
}
