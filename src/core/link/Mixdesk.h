#pragma once

#include "model/Shot.h"

#include <QString>

#include <memory>

class MixdeskPlatform;

// The production application as the rest of the program sees it: which shots
// exist now, and which of them are live or in preview.
class Mixdesk {
public:
    // The production application's shot record is the program's own: what
    // the query decodes is used as it is by the tally map, the update tick
    // and the outputs, with no conversion in between.
    using Shot = ::Shot;
    using ShotPtr = ::ShotPtr;
    using ShotList = ::ShotList;

    static Mixdesk& shared();

    // Tests build their own instance over a test double; the program only
    // ever uses shared().
    explicit Mixdesk(std::shared_ptr<MixdeskPlatform> platform);

    // Which shots exist now. Never fails towards the caller: every failure is
    // an empty list and at most one diagnostic line on standard output.
    ShotList queryShots();

    // How many copies of the production application are running.
    int runningApplicationCount() const;

    // Whether any copy of it runs. The update tick asks this before it
    // queries, and the query asks it again.
    bool isRunning();

    MixdeskPlatform& platform() const;
    void setPlatform(std::shared_ptr<MixdeskPlatform> platform);

    const QString mixdeskIdentifier;
    bool authorizationChecked = false;

private:
    std::shared_ptr<MixdeskPlatform> m_platform;
};

// The production application's bundle identifier.
inline const QString mixdeskBundleIdentifier = QStringLiteral("com.mixdesk.Mixdesk");
