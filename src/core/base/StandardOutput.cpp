#include "base/StandardOutput.h"

#include <cstdio>
#include <cstdlib>

namespace {

LineClock& lineClock()
{
    static LineClock clock;
    return clock;
}

void writeLine(std::FILE* stream, const QString& line)
{
    const QString stamped = lineClock() ? lineTimestamp(lineClock()()) + QLatin1Char(' ') + line : line;
    const QByteArray bytes = stamped.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

void printQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    printErrorLine(qFormatLogMessage(type, context, message));
    if (type == QtFatalMsg) {
        std::abort();
    }
}

} // namespace

void printLine(const QString& line)
{
    writeLine(stdout, line);
}

void printErrorLine(const QString& line)
{
    writeLine(stderr, line);
}

void setLineTimestamps(LineClock clock)
{
    lineClock() = std::move(clock);
}

QString lineTimestamp(const QDateTime& time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODateWithMs);
}

void printQtMessagesAsLines()
{
    qInstallMessageHandler(printQtMessage);
}
