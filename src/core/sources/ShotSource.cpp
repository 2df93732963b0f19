#include "sources/ShotSource.h"

void ShotSource::setStatus(const QString& status)
{
    if (status == m_status) {
        return;
    }
    m_status = status;
    Q_EMIT statusChanged(status);
}

QString ShotSource::connectionInWords(bool ready, bool waitingToRetry, const QString& notConnectedWhy)
{
    if (ready) {
        return tr("connected");
    }
    if (waitingToRetry) {
        return tr("not connected (%1), trying again").arg(notConnectedWhy);
    }
    return tr("connecting");
}
