#pragma once

#include "model/Shot.h"
#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"

#include <QHash>
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
//
// The table is bounded, and room for a new index is taken from the sender
// that asks too much, never from a switcher that keeps to its own displays.
// A device that names ever new indexes (a busy router, a misconfigured
// sender, a hostile one) must not push the switcher's displays out:
// - One sender speaks for at most maxDisplaysPerSender displays; beyond
//   that, each new index it names replaces its own display heard least
//   recently.
// - When the whole table is full, a new index replaces the display heard
//   least recently of the sender that speaks for the most displays. A
//   flooding sender is soon that sender, so it pays for its own flood; a
//   switcher is touched only when it holds more displays than every other
//   sender, which a handful of displays never does in a full table.
class TslDisplayTable {
public:
    // More displays than any switcher has.
    static constexpr qsizetype maxDisplaysPerSender = 1024;
    // Room for two senders at their most, so a second switcher (or the same
    // one at a new address) never has to evict the first.
    static constexpr qsizetype maxDisplays = 2 * maxDisplaysPerSender;

    // What one message did to the table.
    struct Outcome {
        // A shot appeared or its name or tally changed.
        bool changed = false;
        // The message spoke for a display that shows program or preview now.
        bool refreshedTally = false;
        // A sender that, from this message on, loses its oldest displays to
        // make room for new indexes: named once, when it starts, and again
        // only after it has been forgotten.
        QString newlyLimitedSender;

        // What several messages did together.
        Outcome& operator|=(const Outcome& other)
        {
            changed = changed || other.changed;
            refreshedTally = refreshedTally || other.refreshedTally;
            if (newlyLimitedSender.isEmpty()) {
                newlyLimitedSender = other.newlyLimitedSender;
            }
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
    // How many displays the sender speaks for.
    qsizetype sizeOf(const QString& sender) const;

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

    // The displays one sender speaks for.
    struct Holding {
        // Their indexes by when they were last heard, oldest first.
        std::map<quint64, int> byHeard;
        // It has lost displays to make room, and was said to.
        bool limited = false;
    };

    Outcome store(int index, const State& state, const QString& sender);
    // Forgets a display to make room for a new index of the sender's, if
    // the table or the sender's share is full; the sender that paid, when
    // it begins paying.
    QString makeRoomFor(const QString& sender);
    // Takes the entry out of its sender's holding.
    void release(const Entry& entry);

    QMap<int, Entry> m_entries;
    QHash<QString, Holding> m_holdings;
    quint64 m_heardCount = 0;
};
