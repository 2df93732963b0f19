#pragma once

#include "atem/AtemCommand.h"
#include "model/Shot.h"

#include <QMap>

#include <optional>

// What a tally needs of an ATEM switcher's picture, kept from its commands:
// every input's names, each mix effect's program and preview input, and the
// switcher's own tally by source.
//
// Every input is a shot: its id is the input number, its name the input's
// long name (the short name while the long one is empty, the number while
// both are). Live and preview come from the tally by source whenever the
// switcher has sent it, since it already counts keyers, transitions and
// SuperSource as the switcher's tally outputs do; a switcher that never
// sends it is read from the program and preview inputs of one mix effect.
//
// A switcher with a recorder or a live stream states them too: then
// "Recording" and "Streaming" (OnAirShot) follow the inputs, live while
// recording or streaming (connecting included, stopping not). A switcher
// without them offers neither.
//
// The switcher also says how many mix effects it has, so that asking for one
// it does not have is found at once instead of reading as nothing on air.
class AtemSwitcherState {
public:
    // More inputs than any switcher has; numbers past this many distinct
    // ones are ignored so a hostile sender cannot grow the table.
    static constexpr qsizetype maxInputs = 512;

    // Takes one command; whether the shots changed. Commands it does not
    // read change nothing.
    bool apply(const AtemCommand& command);
    // Forgets everything, for a new connection's whole picture.
    void clear();

    // The shots in input order, as new records. mixEffect (from 0) is the
    // one read when there is no tally by source.
    ShotList shots(int mixEffect) const;

    bool hasTallyBySource() const { return m_tally.has_value(); }
    // Nothing until the switcher states its recorder or stream.
    std::optional<bool> isRecording() const { return m_recording; }
    std::optional<bool> isStreaming() const { return m_streaming; }

    // How many mix effects the switcher said it has; nothing before it says.
    std::optional<int> mixEffectCount() const { return m_mixEffects; }
    // Whether it has the mix effect (from 0); true until it says how many
    // it has, as nothing then shows that it does not.
    bool hasMixEffect(int mixEffect) const;
    // For a mix effect (from 0) it does not have: what is wrong, naming the
    // ones it has, in words that follow the switcher's name ("has no mix
    // effect 2; it has mix effect 1"); empty when it has it.
    QString missingMixEffect(int mixEffect) const;

private:
    struct Names {
        QString longName;
        QString shortName;

        friend bool operator==(const Names&, const Names&) = default;
    };
    struct Buses {
        std::optional<quint16> program;
        std::optional<quint16> preview;
    };

    bool setBus(const AtemCommands::BusInput& bus, bool program);
    static bool setOutput(std::optional<bool>& slot, bool live);

    QMap<quint16, Names> m_inputs;
    QMap<quint8, Buses> m_buses;
    std::optional<AtemCommands::TallyBySource> m_tally;
    std::optional<int> m_mixEffects;
    std::optional<bool> m_recording;
    std::optional<bool> m_streaming;
};
