#pragma once

#include "link/Mixdesk.h"
#include "sources/ShotSource.h"

// The default source: Mixdesk on this computer, asked through its query
// script. Never signals a change; the 0.25 s cadence is all it has.
class MixdeskShotSource : public ShotSource {
    Q_OBJECT

public:
    explicit MixdeskShotSource(Mixdesk& mixdesk = Mixdesk::shared(), QObject* parent = nullptr);

    bool isRunning() override;
    ShotList queryShots() override;
    QString notRunningWarning() const override;
    Kind kind() const override { return Kind::mixdesk; }
    QString displayName() const override;

private:
    Mixdesk& m_mixdesk;
};
