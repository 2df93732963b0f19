#pragma once

#include "hardware/LightCommandMirror.h"
#include "model/Shot.h"
#include "tally/TallyCycle.h"

#include <QElapsedTimer>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

class QTimer;
class ShotSource;
class TallyMap;

// The tick loop, the one place that decides when the lights are worked out,
// for the window and tallyctl watch alike: one question to the source before
// the first tick (so that the first tick compares against a real answer), a
// tick every 0.25 s from then on, one more at once when the source announces
// a change, none while the owner holds the cycle back, and the lights off at
// the end when the user asked for that.
//
// Changes that arrive close together are merged: the first one after a
// quiet spell ticks at once, and any that follow within mergeWindow of that
// tick become one more tick at the end of the window. A switcher (or anyone
// on the network) announcing ten thousand changes a second thus costs the
// tally box at most one extra tick per window, and the quarter-second
// cadence never waits behind them.
//
// It owns the source, the latest shot list and the timer; the tally map and
// what the lights are shown on belong to the owner and must outlive it.
class TallyTicker : public QObject {
    Q_OBJECT

public:
    // Why a tick ran: the timer measures time (tallyctl watch counts these),
    // a change from the source only brings the next one forward.
    enum class Reason { timer, sourceChanged };
    Q_ENUM(Reason)

    static constexpr std::chrono::milliseconds interval { 250 };
    static constexpr std::chrono::milliseconds mergeWindow { 40 };

    // Without a source, the ticker asks Mixdesk, as the program always has.
    // The lights' bytes go to sendLight (the tally box's writer).
    TallyTicker(std::unique_ptr<ShotSource> source, TallyMap& tallyMap, TallyCycle::Observer& observer,
        TallyCycle::SendLight sendLight, QObject* parent = nullptr);
    ~TallyTicker() override;

    // The first answer, then the timer. Called once.
    void start();

    // One tick now, unless the owner holds the cycle back or a tick is still
    // under way (should anything inside one ever run the event loop).
    void tick(Reason reason);
    // One tick, unguarded.
    void updateTallyLights();

    // While this says so, ticks are skipped: the window's application-modal
    // panels, whose bytes must not mix with the tick's; a stop that
    // tallyctl watch has been asked for.
    void setHoldBack(std::function<bool()> holdBack) { m_holdBack = std::move(holdBack); }

    // Follows another switcher from now on. The shots of the old one are
    // forgotten, so the first answer of the new one binds the assignments by
    // name, as after a restart of Mixdesk; the lights keep their state until
    // that answer. A null source changes nothing.
    void setSource(std::unique_ptr<ShotSource> source);
    // Follows what rebuild makes of the source followed now. It is handed
    // that source and may keep parts of it running inside the one it gives
    // back (a listener keeps its port, a connection stays up); it must give
    // one back, and must not return to the event loop meanwhile. As with
    // setSource, the first answer binds the assignments by name again.
    using Rebuild = std::function<std::unique_ptr<ShotSource>(std::unique_ptr<ShotSource> current)>;
    void rebuildSource(const Rebuild& rebuild);
    ShotSource& source() const { return *m_source; }

    // The latest answer of the source (the previous one during a tick).
    const ShotList& shotList() const { return m_shotList; }
    QTimer* timer() const { return m_timer; }
    TallyCycle& cycle() { return m_cycle; }

    const LostSourcePolicy& lostSourcePolicy() const { return m_cycle.lostSourcePolicy(); }
    // Handed to the source too when it follows several switchers, for those
    // of them lost while others run.
    void setLostSourcePolicy(const LostSourcePolicy& policy);

    // The test panel takes the box over: from now until endTest the
    // indicators and every output show what the box shows, marked as a test:
    // at first what the last tick left on it, then each byte the panel sends
    // (noteTestByte) applied to that. The ticks are held back meanwhile by
    // the panel being application-modal, so nothing else writes to the box.
    void beginTest();
    void noteTestByte(quint8 byte);
    bool isTesting() const { return m_testing; }
    // The test is over: a tick now brings back the switcher's truth, unless
    // the cycle is still held back, in which case the first tick allowed
    // does.
    void endTest();

    // At quit: every light off on the box, on screen and on the outputs when
    // the user asked for that; otherwise nothing is sent, and the lights
    // stay lit.
    void finish();

Q_SIGNALS:
    // After every tick that ran.
    void ticked(TallyTicker::Reason reason);

private:
    void followSource();
    void passPolicyOn();
    // A change announced by the source: a tick now, or one merged tick at
    // the end of the window.
    void sourceChanged();
    void tickForChange();
    void showTestLights();

    std::unique_ptr<ShotSource> m_source;
    TallyMap& m_tallyMap;
    TallyCycle m_cycle;
    ShotList m_shotList;
    QTimer* m_timer; // a child: it lives as long as the ticker
    QTimer* m_mergedTick; // a child too
    // Since the last tick a change brought; invalid before the first.
    QElapsedTimer m_sinceChangeTick;
    std::function<bool()> m_holdBack;
    bool m_inTick = false;
    // What the box shows while the test panel drives it.
    LightCommandMirror m_testMirror;
    bool m_testing = false;
};
