#include "cli/WatchPrinter.h"

#include "core/StandardOutput.h"

WatchPrinter::WatchPrinter(qsizetype lightCount, QString sourceName)
    : m_sourceName(std::move(sourceName))
    , m_modes(lightCount)
{
}

void WatchPrinter::setMixdeskWarningHidden(bool hidden)
{
    const bool running = hidden;
    if (m_running == running) {
        return;
    }
    m_running = running;
    printLine(m_sourceName + (running ? QStringLiteral(" running") : QStringLiteral(" not running")));
}

void WatchPrinter::setEnableEditing(bool /*enabled*/)
{
    // Nothing to edit here.
}

void WatchPrinter::refreshAssignmentTitles()
{
    printLine(QStringLiteral("Assigned shots renamed in ") + m_sourceName);
}

qsizetype WatchPrinter::indicatorCount() const
{
    return m_modes.size();
}

void WatchPrinter::showLightMode(qsizetype lightIndex, TallyMode mode)
{
    if (m_modes[lightIndex] == mode) {
        return;
    }
    m_modes[lightIndex] = mode;
    printLine(QStringLiteral("Light %1: %2").arg(lightIndex + 1).arg(tallyModeName(mode)));
}
