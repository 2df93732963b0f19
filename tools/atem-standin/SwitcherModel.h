#pragma once

#include "atem/AtemCommand.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The stand-in switcher's picture: named inputs numbered from 1, one mix
// effect with program and preview, an auto transition, and one upstream
// keyer whose fill source goes on air over program. It may have more mix
// effects (a larger switcher's), which follow the first the other way
// round: its preview on their program and its program on their preview, so
// that a client reading one of them is told apart from one reading the
// first. Its tally by source is
// what a switcher's own tally outputs would show: program for the program
// input, the keyer's fill while it is on air and, during a transition, the
// preview input too; preview for the preview input. It has a recorder and a
// live stream, both off until switched on, and states both whole with the
// rest of its picture.
class SwitcherModel {
public:
    struct Input {
        quint16 number = 0;
        QString longName;
        QString shortName;
    };

    // Nothing on program or preview at first (input 0, black).
    // tallyBySource: whether it states its tally by source, as current
    // switchers do; without it clients read the buses, as with older ones.
    explicit SwitcherModel(const QStringList& names, bool tallyBySource = true);

    // At most this many mix effects, as on the largest switchers.
    static constexpr int maxMixEffects = 4;
    // How many mix effects it states in its topology (1 unless set); false
    // for a count below 1 or above maxMixEffects.
    bool setMixEffects(int count);
    int mixEffects() const { return m_mixEffects; }

    const QList<Input>& inputs() const { return m_inputs; }
    quint16 program() const { return m_program; }
    quint16 preview() const { return m_preview; }
    bool inTransition() const { return m_inTransition; }

    // Each answers whether it changed anything; an input that does not
    // exist changes nothing.
    bool setProgram(quint16 input);
    bool setPreview(quint16 input);
    bool cut();
    // An auto transition mixes preview into program until finishAuto().
    bool startAuto();
    bool finishAuto();
    bool rename(quint16 input, const QString& longName);
    bool setKeyer(std::optional<quint16> fill);
    bool setRecording(bool recording);
    bool setStreaming(bool streaming);
    bool isRecording() const { return m_recording; }
    bool isStreaming() const { return m_streaming; }

    bool hasInput(quint16 input) const;
    AtemCommands::TallyBySource tally() const;

    // The commands that state the switching picture whole: every input's
    // names, the buses, the transition, the keyer, the tally, the recorder
    // and the stream.
    QList<AtemCommand> stateCommands() const;
    // What a client gets when it connects: the protocol version and the
    // product first, the picture, and the end-of-picture marker.
    QList<AtemCommand> connectionCommands() const;

private:
    QList<Input> m_inputs;
    quint16 m_program = 0;
    quint16 m_preview = 0;
    bool m_inTransition = false;
    std::optional<quint16> m_keyerFill;
    bool m_sendsTallyBySource = true;
    int m_mixEffects = 1;
    bool m_recording = false;
    bool m_streaming = false;
};
