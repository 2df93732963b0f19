#pragma once

#include "model/Shot.h"
#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"

#include <QMap>

// What a hardware switcher has told its TSL UMD displays, kept as shots:
// every display index is a shot whose id is the index and whose name is the
// display's text (the index itself while the text is empty). In 3.1 tally 1
// puts the shot in program and tally 2 in preview; in 5.0 red on any of the
// three tallies is program and green is preview (amber, which switchers use
// for meanings of their own, is neither). Broadcast messages and display
// control data change no shot.
class TslDisplayTable {
public:
    // More displays than any switcher has; indexes beyond the first this many
    // are ignored so a hostile sender cannot grow the table without bound.
    static constexpr qsizetype maxDisplays = 1024;

    // Whether the message changed the table.
    bool apply(const TslUmd31::Message& message);
    bool apply(const TslUmd50::Display& display);

    // The shots in index order, as new records.
    ShotList shots() const;

private:
    struct Entry {
        QString text;
        bool program = false;
        bool preview = false;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    bool store(int index, const Entry& entry);

    QMap<int, Entry> m_entries;
};
