#include "atem/AtemSwitcherState.h"

#include "model/OnAirShot.h"

#include <QCoreApplication>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("AtemSwitcherState", text);
}

// The mix effects a switcher has, as the user numbers them (from 1).
QString mixEffectsOf(int count)
{
    if (count <= 0) {
        return tr("no mix effect at all");
    }
    if (count == 1) {
        return tr("mix effect 1");
    }
    if (count == 2) {
        return tr("mix effects 1 and 2");
    }
    return tr("mix effects 1 to %1").arg(count);
}

} // namespace

bool AtemSwitcherState::apply(const AtemCommand& command)
{
    using namespace AtemCommands;
    if (const std::optional<InputProperties> input = readInputProperties(command)) {
        const Names names { input->longName, input->shortName };
        const auto known = m_inputs.constFind(input->input);
        if (known != m_inputs.cend()) {
            if (*known == names) {
                return false;
            }
        } else if (m_inputs.size() >= maxInputs) {
            return false;
        }
        m_inputs.insert(input->input, names);
        return true;
    }
    if (const std::optional<BusInput> bus = readProgramInput(command)) {
        return setBus(*bus, true);
    }
    if (const std::optional<BusInput> bus = readPreviewInput(command)) {
        return setBus(*bus, false);
    }
    if (const std::optional<Topology> topology = readTopology(command)) {
        // Which mix effects there are changes no shot; the owner asks
        // hasMixEffect once the picture is whole.
        m_mixEffects = topology->mixEffects;
        return false;
    }
    if (std::optional<TallyBySource> tally = readTallyBySource(command)) {
        if (m_tally == tally) {
            return false;
        }
        m_tally = std::move(tally);
        return true;
    }
    if (const std::optional<StreamingStatus> stream = readStreamingStatus(command)) {
        return setOutput(m_streaming, stream->isLive());
    }
    if (const std::optional<RecordingStatus> recorder = readRecordingStatus(command)) {
        return setOutput(m_recording, recorder->isLive());
    }
    return false;
}

bool AtemSwitcherState::setOutput(std::optional<bool>& slot, bool live)
{
    if (slot == live) {
        return false;
    }
    slot = live;
    return true;
}

void AtemSwitcherState::clear()
{
    m_inputs.clear();
    m_buses.clear();
    m_tally.reset();
    m_mixEffects.reset();
    m_recording.reset();
    m_streaming.reset();
}

bool AtemSwitcherState::hasMixEffect(int mixEffect) const
{
    return !m_mixEffects || (mixEffect >= 0 && mixEffect < *m_mixEffects);
}

QString AtemSwitcherState::missingMixEffect(int mixEffect) const
{
    if (hasMixEffect(mixEffect)) {
        return QString();
    }
    return tr("has no mix effect %1; it has %2").arg(mixEffect + 1).arg(mixEffectsOf(*m_mixEffects));
}

bool AtemSwitcherState::setBus(const AtemCommands::BusInput& bus, bool program)
{
    Buses& buses = m_buses[bus.mixEffect];
    std::optional<quint16>& slot = program ? buses.program : buses.preview;
    if (slot == bus.input) {
        return false;
    }
    slot = bus.input;
    // Without the tally by source the buses decide the lights; with it they
    // do not, and the change is no change of shots.
    return !m_tally;
}

ShotList AtemSwitcherState::shots(int mixEffect) const
{
    const Buses buses = m_buses.value(static_cast<quint8>(mixEffect));
    ShotList shots;
    shots.reserve(m_inputs.size() + 2);
    for (auto input = m_inputs.cbegin(); input != m_inputs.cend(); ++input) {
        const QString name = !input->longName.isEmpty() ? input->longName
            : !input->shortName.isEmpty()               ? input->shortName
                                                        : QString::number(input.key());
        auto shot = std::make_shared<Shot>(name);
        shot->shotId = QString::number(input.key());
        if (m_tally) {
            const AtemCommands::SourceTally tally = m_tally->value(input.key());
            shot->isLive = tally.program;
            shot->isPreview = tally.preview;
        } else {
            shot->isLive = buses.program == input.key();
            shot->isPreview = buses.preview == input.key();
        }
        shots.append(shot);
    }
    if (m_recording) {
        shots.append(OnAirShot::make(OnAirShot::Output::recording, *m_recording));
    }
    if (m_streaming) {
        shots.append(OnAirShot::make(OnAirShot::Output::streaming, *m_streaming));
    }
    return shots;
}
