#pragma once

// One shot of whatever switcher the lights follow (the production
// application, OBS Studio, a TSL UMD sender), as the whole program sees it:
// the sources produce these, the tally map stores them, the update tick
// compares them and the outputs show their names.
//
// Records are shared: the same object may sit in the shot list, in the tally
// map and in the editor, and the tally map updates shotId and name in place.
// Two records are the same only if they are the same object. shotId is what
// the switcher follows a shot by across renames; name is what the lights are
// matched by.

#include <QList>
#include <QString>

#include <memory>

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
    // The shot is one of the switcher's outputs (recording, streaming), not
    // a picture source: the shot editor marks it where a camera or scene has
    // the same name (see OnAirShot).
    bool isOnAirState = false;
    // The switcher the shot belongs to is lost while others followed with
    // it still run: live and preview are as it was last seen (or as the
    // lost-source choice made them), not its truth now.
    bool fromLostSource = false;
};

using ShotPtr = std::shared_ptr<Shot>;
using ShotList = QList<ShotPtr>;
