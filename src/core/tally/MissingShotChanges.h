#pragma once

#include "model/TallySnapshot.h"

#include <QList>
#include <QString>

// Turns the missing shots of successive light reports into changes worth
// saying once: a shot assigned to a light that the source stopped having
// (renamed, misspelt, another switcher's), and the same shot when it is back.
// A shot that stays missing is not said again on every tick.
class MissingShotChanges {
public:
    struct Change {
        int lightNumber = 0;
        QString shot;
        bool missing = false;

        friend bool operator==(const Change&, const Change&) = default;
    };

    // The changes since the previous report, light 1 first; for each light
    // the shots that went missing, then those that came back. A shot that
    // was unassigned from its light is not "back": it is simply no longer
    // that light's.
    QList<Change> changesFor(const TallySnapshot& snapshot);

private:
    QList<QStringList> m_missing;
};
