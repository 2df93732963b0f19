#include "mainwindow/WindowLightReport.h"

#include "mainwindow/LampRow.h"
#include "tally/LampMark.h"
#include "tally/TallyCycle.h"
#include "tally/TallyStatus.h"

WindowLightReport::WindowLightReport(LampRow& lamps, TallyStatus& status, QObject* parent)
    : QObject(parent)
    , m_lamps(lamps)
    , m_status(status)
{
}

void WindowLightReport::publish(const TallySnapshot& snapshot)
{
    m_last = snapshot;
    showMarks();
    m_status.noteLightReport(snapshot);
    Q_EMIT reported(snapshot, TallyCycle::monotonicMilliseconds());
}

void WindowLightReport::setMarkLampsWhileLost(bool mark)
{
    m_markLost = mark;
    showMarks();
}

void WindowLightReport::showMarks()
{
    const LampMark mark = LampMarks::markFor(m_last, m_markLost);
    const QString detail
        = mark == LampMark::lost ? LampMarks::lostFor(m_last, TallyCycle::monotonicMilliseconds()) : QString();
    QList<LampMark> marks;
    for (qsizetype lightIndex = 0; lightIndex < m_last.lights.size(); ++lightIndex) {
        marks.append(LampMarks::markForLight(m_last, lightIndex, m_markLost));
    }
    m_lamps.showLightReport(m_last, marks, detail);
}
