#pragma once

#include "base/Error.h"
#include "model/LightCount.h"
#include "model/Shot.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The assignment of shots to the eight tally lights: the program's one
// document. Each light holds an ordered list of shared shot records. The
// lasting key of an assignment is the record's name (that is what the file
// keeps and what the lights are matched by); its shotId is a cache that
// resolveShotIds and refreshShotNames keep in step with the production
// application.
class TallyMap {
public:
    static constexpr qsizetype numberOfLights = tallyLightCount;

    // Eight lights, none assigned.
    TallyMap();

    // All eight lists, in light order (index 0 is light 1).
    const QList<ShotList>& shotSelections() const { return m_shotSelections; }

    // One light's list. An index outside 0 to 7 is a programming error and
    // stops the process.
    const ShotList& shotSelection(qint64 lightIndex) const;

    // Replaces one light's list; the only change besides the two lookups.
    // An index outside 0 to 7, or a missing record in the list, stops the
    // process.
    void setShotSelection(qint64 lightIndex, ShotList shots);

    // Re-binds stored records to the current shots by name: a stored record
    // whose name matches takes that shot's shotId (later shots win when names
    // repeat). Records whose name is not found keep their shotId.
    void resolveShotIds(const ShotList& shots);

    // Follows renames by id: a stored record whose shotId matches a current
    // shot (later shots win when ids repeat) takes that shot's name if it
    // differs. Returns true if any stored name changed.
    bool refreshShotNames(const ShotList& shots);

    // The file's bytes. The type name is ignored; writing never fails.
    QByteArray dataOfType(const QString& type) const;

    // Takes a file's bytes apart and replaces the lists of the lights it
    // names. On failure returns false and fills *error (if given); lines
    // before the failing one have already been applied, so a caller must not
    // use a map whose read failed. The type name is ignored.
    bool readFromData(const QByteArray& data, const QString& type, Error* error);

private:
    static void requireLightIndex(qint64 lightIndex);

    QList<ShotList> m_shotSelections;
};
