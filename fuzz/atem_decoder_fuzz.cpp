// Feeds arbitrary bytes to the ATEM protocol readers, as anyone who can
// reach the program's UDP port might send them. Nothing may crash, and
// whatever is accepted must hold together: a packet encodes back to the
// same packet, a payload's commands split back the same once joined, the
// switcher's picture stays within its limits, and a session fed the bytes
// as a datagram (first the handshake, so they are read as the switcher's)
// never hands on commands that do not split.

#include "atem/AtemCommand.h"
#include "atem/AtemPacket.h"
#include "atem/AtemSession.h"
#include "atem/AtemSwitcherState.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void checkCommands(QByteArrayView payload, AtemSwitcherState& state)
{
    const std::optional<QList<AtemCommand>> commands = AtemCommand::split(payload);
    if (!commands) {
        return;
    }
    // The two unused bytes of each command's header are not kept, so the
    // commands, not the bytes, must survive a round trip.
    const std::optional<QList<AtemCommand>> again = AtemCommand::split(AtemCommand::join(*commands));
    if (!again || again->size() != commands->size()) {
        fail("commands do not split back from their joined payload");
    }
    for (qsizetype i = 0; i < commands->size(); ++i) {
        if (again->at(i).name != commands->at(i).name || again->at(i).body != commands->at(i).body) {
            fail("a command changed on the way back");
        }
    }
    for (const AtemCommand& command : *commands) {
        state.apply(command);
        if (const std::optional<AtemCommands::TallyBySource> tally = AtemCommands::readTallyBySource(command)) {
            if (AtemCommands::readTallyBySource(AtemCommands::tallyBySource(*tally)) != tally) {
                fail("tally by source does not read back the same");
            }
        }
        if (const std::optional<AtemCommands::RecordingStatus> recorder = AtemCommands::readRecordingStatus(command)) {
            const std::optional<AtemCommands::RecordingStatus> again
                = AtemCommands::readRecordingStatus(AtemCommands::recordingStatus(*recorder));
            if (!again || again->flags != recorder->flags || again->secondsAvailable != recorder->secondsAvailable) {
                fail("the recorder's status does not read back the same");
            }
        }
        if (const std::optional<AtemCommands::StreamingStatus> stream = AtemCommands::readStreamingStatus(command)) {
            const std::optional<AtemCommands::StreamingStatus> again
                = AtemCommands::readStreamingStatus(AtemCommands::streamingStatus(*stream));
            if (!again || again->flags != stream->flags) {
                fail("the stream's status does not read back the same");
            }
        }
    }
}

void checkSession(QByteArrayView input)
{
    quint16 helloSession = 0;
    int handedOn = 0;
    AtemSession session(AtemSession::Handlers { [&](const QByteArray& datagram) {
                                                   const std::optional<AtemPacket> sent = AtemPacket::decode(datagram);
                                                   if (!sent) {
                                                       fail("the session sent something that is not a packet");
                                                   }
                                                   helloSession
                                                       = sent->has(AtemPacket::hello) ? sent->sessionId : helloSession;
                                               },
                            {}, [&](const QList<AtemCommand>& commands) { handedOn += int(commands.size()); }, {}, {} },
        AtemSession::Timing {}, 7);
    session.start(0);
    AtemPacket answer;
    answer.flags = AtemPacket::hello;
    answer.sessionId = helloSession;
    answer.payload = QByteArray::fromHex("0200000000000000");
    session.receive(answer.encode(), 1);
    session.receive(input, 2);
    session.tick(3);
    const std::optional<AtemPacket> packet = AtemPacket::decode(input);
    if (handedOn > 0 && (!packet || !AtemCommand::split(packet->payload))) {
        fail("the session handed on commands of a datagram that does not decode");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    AtemSwitcherState state;
    if (const std::optional<AtemPacket> packet = AtemPacket::decode(input)) {
        const std::optional<AtemPacket> again = AtemPacket::decode(packet->encode());
        if (!again || again->flags != packet->flags || again->sessionId != packet->sessionId
            || again->ackedId != packet->ackedId || again->resendId != packet->resendId
            || again->packetId != packet->packetId || again->payload != packet->payload) {
            fail("a packet does not read back the same once encoded");
        }
        checkCommands(packet->payload, state);
    }
    checkCommands(input, state);
    // Every input, and at most the recorder and the stream besides.
    if (state.shots(0).size() > AtemSwitcherState::maxInputs + 2) {
        fail("the input table grew past its limit");
    }
    checkSession(input);
    return 0;
}
