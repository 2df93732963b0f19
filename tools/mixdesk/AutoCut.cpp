#include "AutoCut.h"

#include "ShowModel.h"
#include "base/FatalError.h"

AutoCut::AutoCut(ShowModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model)
{
    connect(&m_timer, &QTimer::timeout, &m_model, &ShowModel::cut);
}

void AutoCut::setIntervalSeconds(int seconds)
{
    if (seconds < 0 || seconds > maximumSeconds) {
        fatalError(QStringLiteral("AutoCut: interval of %1 seconds").arg(seconds));
    }
    m_seconds = seconds;
    if (seconds == 0) {
        m_timer.stop();
    } else {
        m_timer.start(seconds * 1000);
    }
    Q_EMIT intervalChanged(seconds);
}

int AutoCut::intervalSeconds() const
{
    return m_seconds;
}

bool AutoCut::isRunning() const
{
    return m_timer.isActive();
}
