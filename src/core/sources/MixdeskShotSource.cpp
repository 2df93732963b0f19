#include "sources/MixdeskShotSource.h"

MixdeskShotSource::MixdeskShotSource(Mixdesk& mixdesk, QObject* parent)
    : ShotSource(parent)
    , m_mixdesk(mixdesk)
{
}

bool MixdeskShotSource::isRunning()
{
    return m_mixdesk.isRunning();
}

ShotList MixdeskShotSource::queryShots()
{
    return m_mixdesk.queryShots();
}

QString MixdeskShotSource::notRunningWarning() const
{
    return QStringLiteral("Mixdesk is not running");
}

QString MixdeskShotSource::displayName() const
{
    return QStringLiteral("Mixdesk");
}
