#include "cli/WatchPrinter.h"

#include "core/StandardOutput.h"

WatchPrinter::WatchPrinter(qsizetype lightCount)
    : m_modes(lightCount)
{
}

void WatchPrinter::setMixdeskWarningHidden(bool hidden)
{
    const bool running = hidden;
    if (m_running == running) {
        return;
    }
    m_running = running;
    printLine(running ? QStringLiteral("Mixdesk running") : QStringLiteral("Mixdesk not running"));
}

void WatchPrinter::setEnableEditing(bool /*enabled*/)
{
    // Nothing to edit here.
}

void WatchPrinter::refreshAssignmentTitles()
{
    printLine(QStringLiteral("Assigned shots renamed in Mixdesk"));
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
