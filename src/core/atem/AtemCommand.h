#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// The commands an ATEM switcher packs into a packet's payload, one after
// another: a 16-bit length (of the whole command), two unused bytes, a
// four-letter name and the command's own bytes. The switcher states its
// whole picture with the same commands at connection and then sends each
// change as it happens.
//
// Only the commands a tally needs are read; the others are skipped by their
// length. A command too short for its layout is not read at all, so a
// truncated one never becomes half a state; one longer than its layout
// (padded, or grown in a newer protocol version) is read for the fields
// the layout names.
struct AtemCommand {
    QByteArray name; // four ASCII letters
    QByteArray body;

    static constexpr int headerSize = 8;

    // The payload's commands, or nothing when a length runs short of the
    // header or past the payload's end.
    static std::optional<QList<AtemCommand>> split(QByteArrayView payload);
    static QByteArray join(const QList<AtemCommand>& commands);
    QByteArray encode() const;
};

namespace AtemCommands {

// _ver: the protocol version the switcher speaks.
struct Version {
    quint16 major = 0;
    quint16 minor = 0;
};

// _top: how many mix effects and sources the switcher has. It says much
// more (keyers downstream, aux buses, media players…), in a layout that
// grew over the protocol's versions; these two lead it in every version.
struct Topology {
    quint8 mixEffects = 0;
    quint8 sources = 0;
};

// InPr: one input's names (the long one for displays, the short one for
// buttons). Inputs are numbered by the switcher: cameras from 1, then
// internal sources (black 0, bars 1000, colours 2001…, media players 3010…).
struct InputProperties {
    quint16 input = 0;
    QString longName;
    QString shortName;
};

// PrgI and PrvI: the input on a mix effect's program or preview bus;
// mixEffect counts from 0.
struct BusInput {
    quint8 mixEffect = 0;
    quint16 input = 0;
};

// TlSr: the switcher's own tally for every source, as its tally outputs
// show it: counting keyers, transitions in progress and SuperSource boxes.
struct SourceTally {
    bool program = false;
    bool preview = false;

    friend bool operator==(const SourceTally&, const SourceTally&) = default;
};
using TallyBySource = QMap<quint16, SourceTally>;

// KeOn: whether an upstream keyer of a mix effect is on air.
struct KeyerOnAir {
    quint8 mixEffect = 0;
    quint8 keyer = 0;
    bool onAir = false;
};

// TrPs: whether a mix effect is in a transition and how far it has come
// (0 to 9999).
struct TransitionPosition {
    quint8 mixEffect = 0;
    bool inTransition = false;
    quint8 framesRemaining = 0;
    quint16 position = 0;
};

// StRS: the state of the switcher's live stream, as flags of one word; the
// word also carries error flags, which leave the state as it is.
struct StreamingStatus {
    static constexpr quint16 idle = 0x0001;
    static constexpr quint16 connecting = 0x0002;
    static constexpr quint16 onAir = 0x0004;
    static constexpr quint16 stopping = 0x0020;

    quint16 flags = idle;

    // Connecting counts: the light comes on as the operator starts the
    // stream, and goes off as soon as it is stopping.
    bool isLive() const { return (flags & (connecting | onAir)) != 0 && (flags & stopping) == 0; }
};

// RTMS: the state of the switcher's recorder, as flags of one word (the
// others say a disk is full, missing or unformatted, or frames were
// dropped), and the recording time the disk has left, in seconds (-1: not
// known).
struct RecordingStatus {
    static constexpr quint16 recording = 0x0001;
    // Set while nothing is wrong: a disk is there and has room.
    static constexpr quint16 noFault = 0x0002;
    static constexpr quint16 stopping = 0x0080;

    quint16 flags = 0;
    qint32 secondsAvailable = -1;

    bool isLive() const { return (flags & recording) != 0 && (flags & stopping) == 0; }
};

inline const QByteArray versionName = QByteArrayLiteral("_ver");
inline const QByteArray productName = QByteArrayLiteral("_pin");
inline const QByteArray topologyName = QByteArrayLiteral("_top");
inline const QByteArray mixEffectConfigName = QByteArrayLiteral("_MeC");
inline const QByteArray inputPropertiesName = QByteArrayLiteral("InPr");
inline const QByteArray programInputName = QByteArrayLiteral("PrgI");
inline const QByteArray previewInputName = QByteArrayLiteral("PrvI");
inline const QByteArray tallyBySourceName = QByteArrayLiteral("TlSr");
inline const QByteArray keyerOnAirName = QByteArrayLiteral("KeOn");
inline const QByteArray transitionPositionName = QByteArrayLiteral("TrPs");
inline const QByteArray streamingStatusName = QByteArrayLiteral("StRS");
inline const QByteArray recordingStatusName = QByteArrayLiteral("RTMS");
inline const QByteArray streamingServiceName = QByteArrayLiteral("SRSU");
inline const QByteArray recordingSettingsName = QByteArrayLiteral("RMSu");
// The end of the state a switcher sends when a client connects.
inline const QByteArray initCompleteName = QByteArrayLiteral("InCm");

// Each reader answers nothing for another command or a body too short; each writer makes the command a switcher would
// send.
std::optional<Version> readVersion(const AtemCommand& command);
std::optional<Topology> readTopology(const AtemCommand& command);
std::optional<InputProperties> readInputProperties(const AtemCommand& command);
std::optional<BusInput> readProgramInput(const AtemCommand& command);
std::optional<BusInput> readPreviewInput(const AtemCommand& command);
std::optional<TallyBySource> readTallyBySource(const AtemCommand& command);
std::optional<KeyerOnAir> readKeyerOnAir(const AtemCommand& command);
std::optional<TransitionPosition> readTransitionPosition(const AtemCommand& command);
std::optional<StreamingStatus> readStreamingStatus(const AtemCommand& command);
std::optional<RecordingStatus> readRecordingStatus(const AtemCommand& command);

AtemCommand version(Version version);
AtemCommand product(const QString& name);
// _top: how many mix effects and sources the switcher has (and nothing
// else: no keyers downstream, aux buses, media players or multiviewers).
AtemCommand topology(quint8 mixEffects, quint8 sources);
// _MeC: how many upstream keyers a mix effect has.
AtemCommand mixEffectConfig(quint8 mixEffect, quint8 keyers);
AtemCommand inputProperties(const InputProperties& input);
AtemCommand programInput(BusInput bus);
// inProgram: the preview input is mixed into program by a transition.
AtemCommand previewInput(BusInput bus, bool inProgram = false);
AtemCommand tallyBySource(const TallyBySource& tally);
AtemCommand keyerOnAir(KeyerOnAir keyer);
AtemCommand transitionPosition(TransitionPosition transition);
AtemCommand streamingStatus(StreamingStatus status);
AtemCommand recordingStatus(RecordingStatus status);
// SRSU and RMSu: the stream's service (its name and server, no key, no
// bitrates) and the recorder's settings (the file name, no disks). A
// switcher with a stream or recorder states them before their status;
// clients keep the status as part of them.
AtemCommand streamingService(const QString& serviceName, const QString& url);
AtemCommand recordingSettings(const QString& fileName);
AtemCommand initComplete();

} // namespace AtemCommands
