#include "SwitcherModel.h"

namespace {

// The protocol version the stand-in speaks, that of current switchers.
constexpr AtemCommands::Version protocolVersion { 2, 30 };

// What its recorder says of the disk: an hour left.
constexpr qint32 recordingSecondsLeft = 3600;

QString shortNameFor(quint16 number)
{
    return QStringLiteral("IN%1").arg(number);
}

} // namespace

SwitcherModel::SwitcherModel(const QStringList& names, bool tallyBySource)
    : m_sendsTallyBySource(tallyBySource)
{
    quint16 number = 1;
    for (const QString& name : names) {
        m_inputs.append(Input { number, name.trimmed(), shortNameFor(number) });
        ++number;
    }
    // Nothing on either bus (black, as input 0) until told: a client that
    // connects sees every light go on only when something is cut to it.
}

bool SwitcherModel::setMixEffects(int count)
{
    if (count < 1 || count > maxMixEffects) {
        return false;
    }
    m_mixEffects = count;
    return true;
}

bool SwitcherModel::hasInput(quint16 input) const
{
    return input >= 1 && input <= m_inputs.size();
}

bool SwitcherModel::setProgram(quint16 input)
{
    if (!hasInput(input) || input == m_program) {
        return false;
    }
    m_program = input;
    return true;
}

bool SwitcherModel::setPreview(quint16 input)
{
    if (!hasInput(input) || input == m_preview) {
        return false;
    }
    m_preview = input;
    return true;
}

bool SwitcherModel::cut()
{
    m_inTransition = false;
    std::swap(m_program, m_preview);
    return true;
}

bool SwitcherModel::startAuto()
{
    if (m_inTransition) {
        return false;
    }
    m_inTransition = true;
    return true;
}

bool SwitcherModel::finishAuto()
{
    if (!m_inTransition) {
        return false;
    }
    return cut();
}

bool SwitcherModel::rename(quint16 input, const QString& longName)
{
    if (!hasInput(input)) {
        return false;
    }
    Input& entry = m_inputs[input - 1];
    if (entry.longName == longName) {
        return false;
    }
    entry.longName = longName;
    return true;
}

bool SwitcherModel::setKeyer(std::optional<quint16> fill)
{
    if (fill && !hasInput(*fill)) {
        return false;
    }
    if (fill == m_keyerFill) {
        return false;
    }
    m_keyerFill = fill;
    return true;
}

bool SwitcherModel::setRecording(bool recording)
{
    if (recording == m_recording) {
        return false;
    }
    m_recording = recording;
    return true;
}

bool SwitcherModel::setStreaming(bool streaming)
{
    if (streaming == m_streaming) {
        return false;
    }
    m_streaming = streaming;
    return true;
}

AtemCommands::TallyBySource SwitcherModel::tally() const
{
    AtemCommands::TallyBySource tally;
    for (const Input& input : m_inputs) {
        const bool onAir = input.number == m_program || (m_inTransition && input.number == m_preview)
            || (m_keyerFill && input.number == *m_keyerFill);
        tally.insert(input.number, AtemCommands::SourceTally { onAir, input.number == m_preview });
    }
    return tally;
}

QList<AtemCommand> SwitcherModel::stateCommands() const
{
    using namespace AtemCommands;
    QList<AtemCommand> commands;
    for (const Input& input : m_inputs) {
        commands.append(inputProperties({ input.number, input.longName, input.shortName }));
    }
    commands.append(programInput({ 0, m_program }));
    commands.append(previewInput({ 0, m_preview }, m_inTransition));
    for (int mixEffect = 1; mixEffect < m_mixEffects; ++mixEffect) {
        commands.append(programInput({ quint8(mixEffect), m_preview }));
        commands.append(previewInput({ quint8(mixEffect), m_program }));
    }
    commands.append(
        transitionPosition({ 0, m_inTransition, quint8(m_inTransition ? 10 : 0), quint16(m_inTransition ? 5000 : 0) }));
    commands.append(keyerOnAir({ 0, 0, m_keyerFill.has_value() }));
    if (m_sendsTallyBySource) {
        commands.append(tallyBySource(tally()));
    }
    const quint16 recorder = RecordingStatus::noFault | (m_recording ? RecordingStatus::recording : quint16(0));
    commands.append(recordingStatus({ recorder, recordingSecondsLeft }));
    commands.append(streamingStatus({ m_streaming ? StreamingStatus::onAir : StreamingStatus::idle }));
    return commands;
}

QList<AtemCommand> SwitcherModel::connectionCommands() const
{
    QList<AtemCommand> commands { AtemCommands::version(protocolVersion),
        AtemCommands::product(QStringLiteral("ATEM stand-in")),
        AtemCommands::topology(static_cast<quint8>(m_mixEffects), static_cast<quint8>(m_inputs.size())) };
    for (int mixEffect = 0; mixEffect < m_mixEffects; ++mixEffect) {
        commands.append(AtemCommands::mixEffectConfig(static_cast<quint8>(mixEffect), 1));
    }
    // The recorder's and the stream's settings come before their states.
    commands.append(AtemCommands::recordingSettings(QStringLiteral("Stand-in")));
    commands.append(
        AtemCommands::streamingService(QStringLiteral("Stand-in"), QStringLiteral("rtmp://127.0.0.1/live")));
    commands.append(stateCommands());
    commands.append(AtemCommands::initComplete());
    return commands;
}
