#pragma once

// The capture device's file as tests read it: one line per 64-byte report,
// 128 lower-case hex digits, the command byte first.

#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

namespace CaptureFile {

// The line a report carrying this command byte leaves in the file.
inline QString line(quint8 commandByte)
{
    return QStringLiteral("%1").arg(commandByte, 2, 16, QLatin1Char('0')) + QString(126, QLatin1Char('0'));
}

inline QStringList lines(const QList<quint8>& commandBytes)
{
    QStringList expected;
    for (const quint8 byte : commandBytes) {
        expected.append(line(byte));
    }
    return expected;
}

// The file's lines; no file is no report. A file that cannot be read or
// whose last line is not ended gives one marker line, so that a comparison
// fails visibly.
inline QStringList read(const QString& path)
{
    QFile file(path);
    if (!file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return { QStringLiteral("<unreadable>") };
    }
    const QString text = QString::fromLatin1(file.readAll());
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n'))) {
        return { QStringLiteral("<last line not ended>") };
    }
    QStringList result = text.split(QLatin1Char('\n'));
    result.removeLast();
    return result;
}

} // namespace CaptureFile
