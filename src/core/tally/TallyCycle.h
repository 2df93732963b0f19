#pragma once

#include "hardware/LightCommand.h"
#include "link/Mixdesk.h"
#include "model/TallyMode.h"
#include "tally/LostSourcePolicy.h"
#include "tally/TallyOutput.h"

#include <QList>

#include <functional>

class ShotSource;
class TallyMap;

// One tick of the update cycle: is the production application there, which
// shots does it have now (both asked of a ShotSource, Mixdesk's query by
// default), which mode does each light show, and the two command bytes of
// every light. The cycle keeps nothing between ticks; the shot list it compares
// against and the tally map belong to its owner (the main window, or
// tallyctl watch), and what it shows goes through an Observer. No change
// detection: every tick on which Mixdesk runs re-sends every light's bytes,
// so a tally box plugged in between two ticks gets the whole state at once.
class TallyCycle {
public:
    // What the cycle shows on the owner's screen (or prints).
    class Observer {
    public:
        virtual ~Observer() = default;

        // The "Mixdesk is not running" warning: shown while no copy of
        // Mixdesk runs, hidden as soon as one does.
        virtual void setMixdeskWarningHidden(bool hidden) = 0;
        // Set to true on every tick that brings shots; never reset.
        virtual void setEnableEditing(bool enabled) = 0;
        // A shot assigned to a light was renamed in Mixdesk.
        virtual void refreshAssignmentTitles() = 0;
        // How many light indicators there are; fewer than lights is a
        // miswired window and stops the process.
        virtual qsizetype indicatorCount() const = 0;
        // Stores the light's mode in its indicator and asks for a redraw of
        // the indicator's whole bounds. Called before the light's bytes go.
        virtual void showLightMode(qsizetype lightIndex, TallyMode mode) = 0;
    };

    // What the cycle needs of the tally map: the lights and the two ways of
    // keeping their stored records in step with Mixdesk. TallyMap always has
    // eight lights; the seam lets a map of another size be driven too.
    class Lights {
    public:
        virtual ~Lights() = default;

        virtual const QList<ShotList>& shotSelections() const = 0;
        virtual void resolveShotIds(const ShotList& shots) = 0;
        virtual bool refreshShotNames(const ShotList& shots) = 0;
    };

    // Where a light's two command bytes go (program byte first), one call per
    // light, light 1 first: the tally box, through its BoxWriter, in the
    // program; whatever the owner gives it.
    using SendLight = std::function<void(qsizetype lightIndex, LightCommand::BytePair bytes)>;
    // Told once all the lights of a round have gone to SendLight: a tick's,
    // the lights while the source is lost, the lights at quit. A tally box
    // written on a thread of its own is woken here, once, rather than for
    // every light.
    using RoundHandedIn = std::function<void()>;
    // Where single bytes go, one call per byte.
    using SendByte = std::function<void(quint8)>;

    // A SendLight that hands the two bytes of each light to send, in order.
    static SendLight byteByByte(SendByte send);

    // Milliseconds on a clock that never goes back.
    using Clock = std::function<qint64()>;
    static qint64 monotonicMilliseconds();

    TallyCycle(ShotSource& source, Observer& observer, SendLight sendLight);

    // Follows another source from the next tick on (the user chose another
    // switcher). Not owned; it must outlive the cycle or be replaced first.
    void setSource(ShotSource& source) { m_source = &source; }
    ShotSource& source() const { return *m_source; }
    // What the lights do while the source is lost. The default keeps them
    // as they are and sends nothing.
    void setLostSourcePolicy(const LostSourcePolicy& policy) { m_policy = policy; }
    const LostSourcePolicy& lostSourcePolicy() const { return m_policy; }
    void setRoundHandedIn(RoundHandedIn roundHandedIn) { m_roundHandedIn = std::move(roundHandedIn); }
    // Tests set the time by hand; the blink and its grace period follow it.
    void setClock(Clock clock) { m_clock = std::move(clock); }

    // Sends every one of lights off and shows them off, whatever the source
    // says: the lights at quit, when the user asked for that. The outputs
    // hear it too, as the last picture.
    void turnLightsOff(const QList<ShotList>& lights);

    // Outputs besides the indicators and the tally box (web page, TSL). Each
    // gets the lights after every tick, also while the source is lost. Not
    // owned; an output must outlive the cycle or be removed first.
    void addOutput(TallyOutput* output);
    void removeOutput(TallyOutput* output);

    // While the test panel drives the box, the indicators and every output
    // show what it told the box (modes, one per light), marked as a test,
    // instead of a switcher's state the box no longer shows. No byte is sent
    // here: the panel sends its own. The next tick brings back the truth.
    void showLightsUnderTest(const QList<TallyMode>& modes, const QList<ShotList>& lights);

    // The report the outputs were last handed.
    const TallySnapshot& lastSnapshot() const { return m_lastSnapshot; }
    // The assigned shots that give a light the mode it shows now (none off
    // or under test); up to date when the Observer hears of the light.
    QStringList litByShown(qsizetype lightIndex) const { return m_shownLitBy.value(lightIndex); }

    // One tick. shotList is the previous answer on entry and the new one on
    // return (left alone while Mixdesk is not running).
    void updateTallyLights(ShotList& shotList, TallyMap& tallyMap);
    void updateTallyLights(ShotList& shotList, Lights& lights);

    // The per-light part of a tick on an answer already in hand: modes,
    // indicators and bytes, light 1 first. Used by the tick and measured on
    // its own.
    void driveLights(const QList<ShotList>& lights, const ShotList& shotList);

private:
    void followShotList(ShotList& shotList, Lights& lights);
    void noteMissingShots(const QList<ShotList>& lights, const ShotList& shotList);
    void publish(bool sourceRunning, bool underTest, const QList<ShotList>& lights, bool turnedOffAtQuit = false);
    // The lost-source part of a tick, after the warning is shown.
    void followPolicyWhileLost(qsizetype lightCount);
    void showAndSend(qsizetype lightIndex, TallyMode mode, const QStringList& litBy = {});
    void noteShown(qsizetype lightIndex, TallyMode mode, const QStringList& litBy = {});
    void endRound();

    ShotSource* m_source;
    Observer& m_observer;
    SendLight m_sendLight;
    RoundHandedIn m_roundHandedIn;
    QList<TallyOutput*> m_outputs;
    // The modes the last tick decided from the source, held while it is lost.
    QList<TallyMode> m_lastModes;
    // What the box was last told per light: the decided modes, or what the
    // lost-source choice made of them. The outputs show these.
    QList<TallyMode> m_shownModes;
    // Per light, the shots that gave it its decided mode, held with it while
    // the source is lost, and those behind what the box was last told.
    QList<QStringList> m_lastLitBy;
    QList<QStringList> m_shownLitBy;
    // Per light, the assigned shots the source did not have at the last
    // tick that brought shots.
    QList<QStringList> m_missingShots;
    // Per light, whether its mode rests on a lost switcher's last state
    // (several switchers followed, one of them lost), as of the last tick
    // that brought shots.
    QList<bool> m_onLostSources;
    TallySnapshot m_lastSnapshot;
    bool m_sourceRunning = false;
    LostSourcePolicy m_policy;
    Clock m_clock = monotonicMilliseconds;
    // When the source was first seen lost, until it is back.
    std::optional<qint64> m_lostSince;
};
