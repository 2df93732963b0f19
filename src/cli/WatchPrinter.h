#pragma once

#include "sources/ShotSource.h"
#include "tally/MissingShotChanges.h"
#include "tally/TallyCycle.h"
#include "tally/TallyOutput.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

// What tallyctl watch shows of the update cycle: a line when the switcher
// starts or stops running ("Mixdesk running", "Mixdesk not running", or with
// the name of the chosen source), a line when a
// light changes mode ("Light 3: live"), a line when renamed shots change the
// assignments, and a line when no tally box is there to drive ("No tally box
// attached") or one comes back, and a line when a shot assigned to a light
// goes missing from the switcher or comes back (it reads the light report
// for that, as an output). The first tick prints the whole state.
//
// Plain lines are what a person reads in a terminal (and, stamped by
// setLineTimestamps, a log kept over a show); JSON lines are one object per
// change with its time, for a program. A JSON light event is the light as
// every JSON output gives it (LightJson) with its event name and time.
// A JSON running event is named after the kind of switcher followed
// ({"event":"obs","running":true}), "mixdesk" for Mixdesk as it always was.
// With several switchers followed it is named after the first and carries
// them all, each with its label, kind and whether it runs, and it comes
// whenever any one of them is lost or found again, not only the whole.
class WatchPrinter : public TallyCycle::Observer, public TallyOutput {
public:
    enum class Style { Plain, Json };
    using Clock = std::function<QDateTime()>;
    using Sink = std::function<void(const QString& line)>;

    // Prints on standard output by default; a JSON line carries the time of
    // the system clock unless another clock is given.
    explicit WatchPrinter(qsizetype lightCount, Style style = Style::Plain, Clock clock = {}, Sink sink = {});

    // The switcher followed: its name in the running lines, its kind in the
    // JSON running events. Mixdesk unless set.
    void setSource(const QString& name, ShotSource::Kind kind);

    // One of several switchers followed together, as a JSON running event
    // gives it.
    struct SwitcherState {
        QString label;
        ShotSource::Kind kind = ShotSource::Kind::mixdesk;
        bool running = false;

        friend bool operator==(const SwitcherState&, const SwitcherState&) = default;
    };
    using Switchers = std::function<QList<SwitcherState>()>;
    // Where the state of each of several switchers is read, after the tick
    // has asked them whether they run. Unset: one switcher, as always.
    void setSwitchers(Switchers switchers) { m_switchers = std::move(switchers); }

    void setMixdeskWarningHidden(bool hidden) override;
    void setEnableEditing(bool enabled) override;
    void refreshAssignmentTitles() override;
    qsizetype indicatorCount() const override;
    void showLightMode(qsizetype lightIndex, TallyMode mode) override;

    // Prints the lights that changed, then the shots that went missing or
    // came back.
    void publish(const TallySnapshot& snapshot) override;

    // Whether a tally box takes the bytes. Said on the first call only when
    // none does (a box being there is the normal case), then on every change.
    void setTallyBoxAttached(bool attached);

private:
    // What a light line says: the mode, and the shots behind it.
    struct Shown {
        TallyMode mode;
        QStringList litBy;
        friend bool operator==(const Shown&, const Shown&) = default;
    };

    void printLight(int lightNumber, const LightState& light);
    void printMissingShots(const TallySnapshot& snapshot);
    void emitChange(const QString& text, QJsonObject json);

    Style m_style;
    Clock m_clock;
    Sink m_sink;
    QString m_sourceName = QStringLiteral("Mixdesk");
    QString m_runningEvent = QStringLiteral("mixdesk");
    std::optional<bool> m_running;
    Switchers m_switchers;
    QList<SwitcherState> m_switcherStates;
    std::optional<bool> m_boxAttached;
    // Per light, whether the cycle has shown it a mode yet: until it has
    // (a switcher lost from the start), the light has nothing to say.
    QList<bool> m_told;
    QList<std::optional<Shown>> m_shown;
    MissingShotChanges m_missingShots;
};
