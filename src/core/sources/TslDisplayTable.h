#pragma once

#include "model/Shot.h"
#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"

#include <QMap>
#include <QString>

#include <map>

// What a hardware switcher has told its TSL UMD displays, kept as shots:
// every display index is a shot whose id is the index and whose name is the
// display's text (the index itself while the text is empty). In 3.1 tally 1
// puts the shot in program and tally 2 in preview; in 5.0 red on any of the
// three tallies is program and green is preview (amber, which switchers use
// for meanings of their own, is neither). Broadcast messages and display
// control data change no shot.
//
// Each display remembers who last spoke for it (the sender, named by the
// caller), so that everything a sender said can be forgotten at once when it
// goes quiet or is no longer listened to.
class TslDisplayTable {
public:
    // More displays than any switcher has. A table this full makes room for
    // a new index by forgetting the display heard least recently: a switcher
    // re-sends its own displays all the time, so its updates always land,
    // while indexes a hostile sender filled the table with once are the ones
    // that go.
    static constexpr qsizetype maxDisplays = 1024;

    // What one message did to the table.
    struct Outcome {
        // A shot appeared or its name or tally changed.
        bool changed = false;
        // The message spoke for a display that shows program or preview now.
        bool refreshedTally = false;

        // What several messages did together.
        Outcome& operator|=(const Outcome& other)
        {
            changed = changed || other.changed;
            refreshedTally = refreshedTally || other.refreshedTally;
            return *this;
        }
    };

    Outcome take(const TslUmd31::Message& message, const QString& sender = QString());
    Outcome take(const TslUmd50::Display& display, const QString& sender = QString());

    // Whether the message changed the table.
    bool apply(const TslUmd31::Message& message, const QString& sender = QString())
    {
        return take(message, sender).changed;
    }
    bool apply(const TslUmd50::Display& display, const QString& sender = QString())
    {
        return take(display, sender).changed;
    }

    // Forgets every display the sender spoke for last; whether there was any.
    bool forgetSender(const QString& sender);

    qsizetype size() const { return m_entries.size(); }

    // The shots in index order, as new records.
    ShotList shots() const;

private:
    struct State {
        QString text;
        bool program = false;
        bool preview = false;

        friend bool operator==(const State&, const State&) = default;
    };

    struct Entry {
        State state;
        QString sender;
        // When it was last heard, as a count of messages taken: the smallest
        // is the least recently heard.
        quint64 heard = 0;
    };

    Outcome store(int index, const State& state, const QString& sender);
    void forget(QMap<int, Entry>::iterator entry);

    QMap<int, Entry> m_entries;
    // The display indexes by when they were last heard, oldest first.
    std::map<quint64, int> m_byHeard;
    quint64 m_heardCount = 0;
};
