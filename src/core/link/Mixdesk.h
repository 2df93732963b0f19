#pragma once

#include <QList>
#include <QString>

#include <memory>

class MixdeskPlatform;

// The production application as the rest of the program sees it: which shots
// exist now, and which of them are live or in preview.
class Mixdesk {
public:
    // One shot of the production application. Records are shared: the same
    // object may sit in the shot list, in the tally map and in the editor, and
    // the tally map updates shotId and name in place. Two records are the
    // same only if they are the same object.
    class Shot {
    public:
        explicit Shot(QString shotName)
            : name(std::move(shotName))
        {
        }

        QString shotId;
        QString name;
        bool isPreview = false;
        bool isLive = false;
    };

    using ShotPtr = std::shared_ptr<Shot>;
    using ShotList = QList<ShotPtr>;

    static Mixdesk& shared();

    // Tests build their own instance over a test double; the program only
    // ever uses shared().
    explicit Mixdesk(std::shared_ptr<MixdeskPlatform> platform);

    // Which shots exist now. Never fails towards the caller: every failure is
    // an empty list and at most one diagnostic line on standard output.
    ShotList queryShots();

    // How many copies of the production application are running. The update
    // tick asks this before it queries.
    int runningApplicationCount() const;

    MixdeskPlatform& platform() const;
    void setPlatform(std::shared_ptr<MixdeskPlatform> platform);

    const QString mixdeskIdentifier;
    bool authorizationChecked = false;

private:
    std::shared_ptr<MixdeskPlatform> m_platform;
};

// The production application's bundle identifier.
inline const QString mixdeskBundleIdentifier = QStringLiteral("com.mixdesk.Mixdesk");
