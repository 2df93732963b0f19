#include "base/SystemLog.h"

#include "base/StandardOutput.h"

#include <syslog.h>

namespace {

SystemLogSink& sink()
{
    static SystemLogSink current;
    return current;
}

} // namespace

void systemLog(const QString& message)
{
    if (sink()) {
        sink()(message);
        return;
    }
    systemLogOnly(message);
    printErrorLine(message);
}

void systemLogOnly(const QString& message)
{
    if (sink()) {
        sink()(message);
        return;
    }
    const QByteArray bytes = message.toUtf8();
    syslog(LOG_NOTICE, "%s", bytes.constData());
}

SystemLogSink setSystemLogSink(SystemLogSink newSink)
{
    SystemLogSink previous = std::move(sink());
    sink() = std::move(newSink);
    return previous;
}
