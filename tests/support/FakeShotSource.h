#pragma once

// A shot source whose answers a test sets by hand: running or not, and the
// shots. It counts the questions it is asked.

#include "sources/ShotSource.h"

class FakeShotSource : public ShotSource {
public:
    bool running = true;
    Mixdesk::ShotList shots;
    QString warning = QStringLiteral("Fake switcher is not connected");
    int queries = 0;

    bool isRunning() override { return running; }

    Mixdesk::ShotList queryShots() override
    {
        ++queries;
        return shots;
    }

    QString notRunningWarning() const override { return warning; }
    QString displayName() const override { return QStringLiteral("Fake switcher"); }

    // What a network source does when it hears of a cut.
    void announceChange() { Q_EMIT shotsChanged(); }
};
