#pragma once

// A shot source whose answers a test sets by hand: running or not, and the
// shots. It counts the questions it is asked.

#include "sources/ShotSource.h"

#include <functional>

class FakeShotSource : public ShotSource {
public:
    bool running = true;
    ShotList shots;
    QString warning = QStringLiteral("Fake switcher is not connected");
    int queries = 0;
    // The kind the source says it is; a network switcher by default.
    Kind sourceKind = Kind::tslUmd;
    // Whether it waits for a switcher to send, as a TSL listener does.
    bool listens = false;
    // Run inside every query, before it answers.
    std::function<void()> onQuery;

    bool isRunning() override { return running; }

    ShotList queryShots() override
    {
        ++queries;
        if (onQuery) {
            onQuery();
        }
        return shots;
    }

    Kind kind() const override { return sourceKind; }
    Details details() const override { return { displayName(), listens, {}, std::nullopt, {} }; }
    QString notRunningWarning() const override { return warning; }
    QString displayName() const override { return QStringLiteral("Fake switcher"); }

    // What a network source does when it hears of a cut.
    void announceChange() { Q_EMIT shotsChanged(); }
};
