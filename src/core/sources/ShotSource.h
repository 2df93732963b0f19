#pragma once

#include "model/Shot.h"

#include <QObject>
#include <QString>

#include <optional>

// Where the lights' shots come from. The update cycle asks the two questions
// it has always asked of Mixdesk: is the production application there, and
// which shots does it have now. Mixdesk's own query is the default source;
// network switchers (OBS Studio, TSL UMD, ATEM, vMix) keep their state from events and
// answer both at once, so a tick never waits on a network.
class ShotSource : public QObject {
    Q_OBJECT

public:
    // Which kind of switcher a source follows, so that menus and settings
    // can tell sources apart without reading their display names.
    enum class Kind {
        mixdesk,
        obsStudio,
        tslUmd,
        atem,
        vmix,
    };

    // What the status line says of a source besides whether it runs and how
    // many shots it gives: what is followed, where, and how the link is.
    struct Details {
        // "Mixdesk", "OBS Studio at 10.0.0.5:4455", "TSL 5.0 on port 8900".
        QString followed;
        // A listener waits for a switcher to send ("Listening for …"); any
        // other source is followed ("Following …").
        bool listens = false;
        // The connection in words ("connected", "connecting"); empty for a
        // source with no connection of its own (Mixdesk's query).
        QString link;
        // For a listener: how long ago the last valid message came, and from
        // where; nothing before the first.
        std::optional<qint64> sinceLastMessageMs;
        QString lastSender;

        friend bool operator==(const Details&, const Details&) = default;
    };

    using QObject::QObject;

    virtual Kind kind() const = 0;

    // Whether the production application is there now. While it is not, the
    // tick ends at once and the lights keep their last state.
    virtual bool isRunning() = 0;

    // The shots now, in the switcher's order; empty on any failure.
    virtual ShotList queryShots() = 0;

    // The warning the window shows while isRunning() is false.
    virtual QString notRunningWarning() const = 0;

    // A short name for messages and the settings ("Mixdesk", "OBS Studio").
    virtual QString displayName() const = 0;

    // Where and how the source follows its switcher now; by default its
    // display name alone.
    virtual Details details() const { return { displayName(), false, {}, std::nullopt, {} }; }

    // Whether the shots queryShots gives are all the source can know of:
    // false while one of several switchers followed together has not
    // answered yet, when a shot missing from the list may only be late and
    // is not worth a warning.
    virtual bool knowsEveryShot() const { return true; }

    // The last status line, as statusChanged gave it.
    QString status() const { return m_status; }

protected:
    // Says a status line, unless it is the one said last: the same trouble
    // again is not news.
    void setStatus(const QString& status);

    // A connecting source's link in words: "connected", "not connected
    // (WHY), trying again" while it waits to try again, else "connecting".
    static QString connectionInWords(bool ready, bool waitingToRetry, const QString& notConnectedWhy);

Q_SIGNALS:
    // The source learned of a change (a cut, a rename, a lost connection):
    // its owner may run a tick at once instead of waiting for the next one.
    void shotsChanged();
    // Something worth telling the operator about the source itself
    // (connected, reconnecting and why); one line, in words.
    void statusChanged(const QString& status);

private:
    QString m_status;
};
