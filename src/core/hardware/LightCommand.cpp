#include "hardware/LightCommand.h"

#include "base/FatalError.h"

#include <QRegularExpression>

namespace LightCommand {

quint8 combine(int command, qint64 lightNumber)
{
    const qint64 value = static_cast<qint64>(command) | lightNumber;
    if (value < 0 || value > 255) {
        fatalError(QStringLiteral("light command %1 | %2 does not fit in a byte").arg(command).arg(lightNumber));
    }
    return static_cast<quint8>(value);
}

BytePair bytesForMode(TallyMode mode, qint64 lightNumber)
{
    switch (mode) {
    case TallyMode::live:
        return { combine(programOn, lightNumber), combine(previewOff, lightNumber) };
    case TallyMode::preview:
        return { combine(programOff, lightNumber), combine(previewOn, lightNumber) };
    case TallyMode::off:
        break;
    }
    return { combine(programOff, lightNumber), combine(previewOff, lightNumber) };
}

int lightNumberFromTitle(const QString& title)
{
    static const QRegularExpression decimal(QStringLiteral("\\A[+-]?[0-9]+\\z"));
    bool ok = false;
    const qlonglong number = decimal.match(title).hasMatch() ? title.toLongLong(&ok) : 0;
    if (!ok || number < 0 || number > 255) {
        fatalError(QStringLiteral("test panel check box title \"%1\" is not a light number in 0 to 255").arg(title));
    }
    return static_cast<int>(number);
}

quint8 panelByte(int command, int lightNumber)
{
    return static_cast<quint8>(static_cast<quint8>(command) | static_cast<quint8>(lightNumber));
}

const QList<QList<quint8>>& testSequence()
{
    // All program lamps on, cleared; all preview lamps on, cleared; then one
    // light walks along the row, in program for a step and in preview for the
    // next, each step also clearing what the previous one left.
    static const QList<QList<quint8>> steps {
        { 0xB0, 0xD0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8 },
        { 0xB0 },
        { 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8 },
        { 0xD0 },
        { 0xB1 },
        { 0x01, 0xD1 },
        { 0x21, 0xB2 },
        { 0x02, 0xD2 },
        { 0x22, 0xB3 },
        { 0x03, 0xD3 },
        { 0x23, 0xB4 },
        { 0x04, 0xD4 },
        { 0x24, 0xB5 },
        { 0x05, 0xD5 },
        { 0x25, 0xB6 },
        { 0x06, 0xD6 },
        { 0x26, 0xB7 },
        { 0x07, 0xD7 },
        { 0x27, 0xB8 },
        { 0x08, 0xD8 },
        { 0x28 },
    };
    return steps;
}

} // namespace LightCommand
