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

QtMessageHandler& earlierHandler()
{
    static QtMessageHandler handler = nullptr;
    return handler;
}

void forwardUnlessPeerHangUp(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (!isPeerHangUpWarning(type, message) && earlierHandler()) {
        earlierHandler()(type, context, message);
    }
}

void printQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (isPeerHangUpWarning(type, message)) {
        return;
    }
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

bool isPeerHangUpWarning(QtMsgType type, const QString& message)
{
    // Qt's WebSocket server peeks at a handshake after the peer has closed.
    return type == QtWarningMsg && message.startsWith(QLatin1String("QIODevice::peek ("))
        && message.endsWith(QLatin1String("): device not open"));
}

void dropPeerHangUpWarnings()
{
    earlierHandler() = qInstallMessageHandler(forwardUnlessPeerHangUp);
}
