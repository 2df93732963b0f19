#include "atem/AtemCommand.h"

#include <QtEndian>

namespace {

constexpr int longNameSize = 20;
constexpr int shortNameSize = 4;
constexpr int inputPropertiesSize = 36;
constexpr int productNameSize = 44;
constexpr int tallyEntrySize = 3;
constexpr int serviceNameSize = 64;
constexpr int serviceUrlSize = 512;
constexpr int serviceKeySize = 512;
constexpr int recordingFileNameSize = 128;

quint16 wordAt(const QByteArray& bytes, qsizetype at)
{
    return qFromBigEndian<quint16>(bytes.constData() + at);
}

void appendWord(QByteArray& bytes, quint16 value)
{
    bytes.append(static_cast<char>(value >> 8));
    bytes.append(static_cast<char>(value & 0xff));
}

quint8 byteAt(const QByteArray& bytes, qsizetype at)
{
    return static_cast<quint8>(bytes.at(at));
}

// A fixed-size text field: UTF-8 up to the first zero byte.
QString textAt(const QByteArray& bytes, qsizetype at, qsizetype size)
{
    QByteArray field = bytes.mid(at, size);
    const qsizetype end = field.indexOf('\0');
    if (end >= 0) {
        field.truncate(end);
    }
    return QString::fromUtf8(field);
}

// text as a fixed-size field, zero-filled, cut at a whole character so the
// field never ends in half of one.
QByteArray textField(const QString& text, qsizetype size)
{
    QByteArray bytes = text.toUtf8();
    while (bytes.size() > size) {
        QString shorter = QString::fromUtf8(bytes);
        shorter.chop(1);
        bytes = shorter.toUtf8();
    }
    bytes.append(QByteArray(size - bytes.size(), '\0'));
    return bytes;
}

// Newer switchers may pad a command or add to its end; the fields read are
// where they always were, so only a body too short for them is refused.
bool isCommand(const AtemCommand& command, const QByteArray& name, qsizetype size)
{
    return command.name == name && command.body.size() >= size;
}

std::optional<AtemCommands::BusInput> readBus(const AtemCommand& command, const QByteArray& name, qsizetype size)
{
    if (!isCommand(command, name, size)) {
        return std::nullopt;
    }
    return AtemCommands::BusInput { byteAt(command.body, 0), wordAt(command.body, 2) };
}

AtemCommand make(const QByteArray& name, QByteArray body)
{
    return AtemCommand { name, std::move(body) };
}

} // namespace

std::optional<QList<AtemCommand>> AtemCommand::split(QByteArrayView payload)
{
    QList<AtemCommand> commands;
    qsizetype at = 0;
    while (at < payload.size()) {
        if (payload.size() - at < headerSize) {
            return std::nullopt;
        }
        const quint16 length = qFromBigEndian<quint16>(payload.data() + at);
        if (length < headerSize || length > payload.size() - at) {
            return std::nullopt;
        }
        commands.append(AtemCommand { payload.sliced(at + 4, 4).toByteArray(),
            payload.sliced(at + headerSize, length - headerSize).toByteArray() });
        at += length;
    }
    return commands;
}

QByteArray AtemCommand::join(const QList<AtemCommand>& commands)
{
    QByteArray bytes;
    for (const AtemCommand& command : commands) {
        bytes.append(command.encode());
    }
    return bytes;
}

QByteArray AtemCommand::encode() const
{
    QByteArray bytes;
    appendWord(bytes, static_cast<quint16>(headerSize + body.size()));
    appendWord(bytes, 0);
    bytes.append(name.leftJustified(4, ' ', true));
    bytes.append(body);
    return bytes;
}

namespace AtemCommands {

std::optional<Version> readVersion(const AtemCommand& command)
{
    if (!isCommand(command, versionName, 4)) {
        return std::nullopt;
    }
    return Version { wordAt(command.body, 0), wordAt(command.body, 2) };
}

std::optional<Topology> readTopology(const AtemCommand& command)
{
    if (!isCommand(command, topologyName, 2)) {
        return std::nullopt;
    }
    return Topology { byteAt(command.body, 0), byteAt(command.body, 1) };
}

std::optional<InputProperties> readInputProperties(const AtemCommand& command)
{
    if (!isCommand(command, inputPropertiesName, inputPropertiesSize)) {
        return std::nullopt;
    }
    return InputProperties { wordAt(command.body, 0), textAt(command.body, 2, longNameSize),
        textAt(command.body, 2 + longNameSize, shortNameSize) };
}

std::optional<BusInput> readProgramInput(const AtemCommand& command)
{
    return readBus(command, programInputName, 4);
}

std::optional<BusInput> readPreviewInput(const AtemCommand& command)
{
    return readBus(command, previewInputName, 8);
}

std::optional<TallyBySource> readTallyBySource(const AtemCommand& command)
{
    if (command.name != tallyBySourceName || command.body.size() < 2) {
        return std::nullopt;
    }
    const quint16 count = wordAt(command.body, 0);
    // Switchers pad commands to whole words, so the body may run a little
    // past the last entry, never short of it.
    if (command.body.size() < 2 + qsizetype(count) * tallyEntrySize) {
        return std::nullopt;
    }
    TallyBySource tally;
    for (int entry = 0; entry < count; ++entry) {
        const qsizetype at = 2 + qsizetype(entry) * tallyEntrySize;
        const quint8 bits = byteAt(command.body, at + 2);
        tally.insert(wordAt(command.body, at), SourceTally { (bits & 0x01) != 0, (bits & 0x02) != 0 });
    }
    return tally;
}

std::optional<KeyerOnAir> readKeyerOnAir(const AtemCommand& command)
{
    if (!isCommand(command, keyerOnAirName, 4)) {
        return std::nullopt;
    }
    return KeyerOnAir { byteAt(command.body, 0), byteAt(command.body, 1), byteAt(command.body, 2) != 0 };
}

std::optional<TransitionPosition> readTransitionPosition(const AtemCommand& command)
{
    if (!isCommand(command, transitionPositionName, 8)) {
        return std::nullopt;
    }
    return TransitionPosition { byteAt(command.body, 0), byteAt(command.body, 1) != 0, byteAt(command.body, 2),
        wordAt(command.body, 4) };
}

std::optional<StreamingStatus> readStreamingStatus(const AtemCommand& command)
{
    if (!isCommand(command, streamingStatusName, 4)) {
        return std::nullopt;
    }
    return StreamingStatus { wordAt(command.body, 0) };
}

std::optional<RecordingStatus> readRecordingStatus(const AtemCommand& command)
{
    // Older switchers send the flags alone, without the time left.
    if (!isCommand(command, recordingStatusName, 4)) {
        return std::nullopt;
    }
    const qint32 seconds = command.body.size() >= 8 ? qFromBigEndian<qint32>(command.body.constData() + 4) : qint32(-1);
    return RecordingStatus { wordAt(command.body, 0), seconds };
}

AtemCommand version(Version version)
{
    QByteArray body;
    appendWord(body, version.major);
    appendWord(body, version.minor);
    return make(versionName, body);
}

AtemCommand product(const QString& name)
{
    return make(productName, textField(name, productNameSize));
}

AtemCommand topology(quint8 mixEffects, quint8 sources)
{
    QByteArray body(28, '\0');
    body[0] = static_cast<char>(mixEffects);
    body[1] = static_cast<char>(sources);
    return make(topologyName, body);
}

AtemCommand mixEffectConfig(quint8 mixEffect, quint8 keyers)
{
    QByteArray body(4, '\0');
    body[0] = static_cast<char>(mixEffect);
    body[1] = static_cast<char>(keyers);
    return make(mixEffectConfigName, body);
}

AtemCommand inputProperties(const InputProperties& input)
{
    QByteArray body;
    appendWord(body, input.input);
    body.append(textField(input.longName, longNameSize));
    body.append(textField(input.shortName, shortNameSize));
    // Names set by the user, an SDI port chosen among SDI and HDMI, an
    // external input, available everywhere on mix effect 1.
    body.append(QByteArray("\x00\x00\x00\x03\x00\x01\x00\x00\x1f\x01", 10));
    return make(inputPropertiesName, body);
}

AtemCommand programInput(BusInput bus)
{
    QByteArray body;
    body.append(static_cast<char>(bus.mixEffect));
    body.append('\0');
    appendWord(body, bus.input);
    return make(programInputName, body);
}

AtemCommand previewInput(BusInput bus, bool inProgram)
{
    QByteArray body;
    body.append(static_cast<char>(bus.mixEffect));
    body.append('\0');
    appendWord(body, bus.input);
    body.append(inProgram ? '\x01' : '\0');
    body.append(QByteArray(3, '\0'));
    return make(previewInputName, body);
}

AtemCommand tallyBySource(const TallyBySource& tally)
{
    QByteArray body;
    appendWord(body, static_cast<quint16>(tally.size()));
    for (auto entry = tally.cbegin(); entry != tally.cend(); ++entry) {
        appendWord(body, entry.key());
        body.append(static_cast<char>((entry->program ? 0x01 : 0) | (entry->preview ? 0x02 : 0)));
    }
    // Whole 32-bit words, as switchers send.
    while (body.size() % 4 != 0) {
        body.append('\0');
    }
    return make(tallyBySourceName, body);
}

AtemCommand keyerOnAir(KeyerOnAir keyer)
{
    QByteArray body;
    body.append(static_cast<char>(keyer.mixEffect));
    body.append(static_cast<char>(keyer.keyer));
    body.append(keyer.onAir ? '\x01' : '\0');
    body.append('\0');
    return make(keyerOnAirName, body);
}

AtemCommand transitionPosition(TransitionPosition transition)
{
    QByteArray body;
    body.append(static_cast<char>(transition.mixEffect));
    body.append(transition.inTransition ? '\x01' : '\0');
    body.append(static_cast<char>(transition.framesRemaining));
    body.append('\0');
    appendWord(body, transition.position);
    appendWord(body, 0);
    return make(transitionPositionName, body);
}

AtemCommand streamingStatus(StreamingStatus status)
{
    QByteArray body;
    appendWord(body, status.flags);
    appendWord(body, 0);
    return make(streamingStatusName, body);
}

AtemCommand recordingStatus(RecordingStatus status)
{
    QByteArray body;
    appendWord(body, status.flags);
    appendWord(body, 0);
    const quint32 seconds = static_cast<quint32>(status.secondsAvailable);
    appendWord(body, static_cast<quint16>(seconds >> 16));
    appendWord(body, static_cast<quint16>(seconds & 0xffff));
    return make(recordingStatusName, body);
}

AtemCommand streamingService(const QString& serviceName, const QString& url)
{
    QByteArray body = textField(serviceName, serviceNameSize);
    body.append(textField(url, serviceUrlSize));
    body.append(QByteArray(serviceKeySize, '\0'));
    body.append(QByteArray(8, '\0')); // the lowest and highest bitrate
    return make(streamingServiceName, body);
}

AtemCommand recordingSettings(const QString& fileName)
{
    QByteArray body = textField(fileName, recordingFileNameSize);
    // No disk in either slot (-1), no recording in the cameras, padding.
    body.append(QByteArray("\xff\xff\xff\xff\xff\xff\xff\xff\x00\x00\x00\x00", 12));
    return make(recordingSettingsName, body);
}

AtemCommand initComplete()
{
    return make(initCompleteName, QByteArray(4, '\0'));
}

} // namespace AtemCommands
