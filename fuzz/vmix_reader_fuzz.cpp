// Feeds arbitrary bytes to the vMix TCP API readers, as a server on the
// studio network (or anything listening where vMix should be) might send
// them: the line reader, in pieces whose sizes the input chooses, and the
// XML and tally parsers on whatever data and lines it cuts out, then the
// whole session. Nothing may crash, the reader never holds much more than a
// line's worth unless it waits for announced data, and whatever the
// parsers accept must hold together.

#include "vmix/VmixReader.h"
#include "vmix/VmixSession.h"
#include "vmix/VmixState.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void checkDocument(const QByteArray& xml)
{
    const std::optional<VmixState::Document> document = VmixState::parseXml(xml, nullptr);
    if (!document) {
        return;
    }
    if (document->inputs.size() > VmixState::maxInputs) {
        fail("more inputs than the limit");
    }
    for (qsizetype i = 1; i < document->inputs.size(); ++i) {
        if (document->inputs[i].number <= document->inputs[i - 1].number) {
            fail("inputs out of order or twice");
        }
    }
    const ShotList shots = VmixState::shots(*document, {});
    if (shots.size() < document->inputs.size()) {
        fail("an input without a shot");
    }
}

void checkTally(const QByteArray& digits)
{
    const std::optional<QList<VmixState::Tally>> tally = VmixState::parseTally(digits, nullptr);
    if (tally && (tally->isEmpty() || tally->size() != digits.size() || tally->size() > VmixState::maxInputs)) {
        fail("a tally of the wrong length was taken");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char*>(data), qsizetype(size));
    checkDocument(input.toByteArray());

    // The first byte sets the piece size, so that messages split anywhere.
    const qsizetype piece = size > 0 ? qsizetype(data[0] % 64) + 1 : 1;
    VmixReader reader;
    for (qsizetype at = 0; at < input.size(); at += piece) {
        for (const VmixReader::Item& item : reader.feed(input.sliced(at, std::min(piece, input.size() - at)))) {
            if (!item.message) {
                if (item.problem.isEmpty()) {
                    fail("a drop without a reason");
                }
                continue;
            }
            if (item.message->command == "TALLY") {
                checkTally(item.message->text);
            } else if (!item.message->data.isEmpty()) {
                checkDocument(item.message->data);
            }
        }
        // Waiting for announced data may hold up to that much; a line never
        // more than its limit and the last piece.
        if (reader.pending() > VmixReader::maxDataBytes + VmixReader::maxLineBytes + piece) {
            fail("the reader holds more than it may");
        }
    }

    qint64 now = 0;
    VmixSession session(
        VmixSession::Handlers { [](const QByteArray&) {}, [] {}, [](const QString&) {}, [](const QString&) {} },
        VmixSession::Timing {});
    session.start(now);
    for (qsizetype at = 0; at < input.size(); at += piece) {
        now += 50;
        session.receive(input.sliced(at, std::min(piece, input.size() - at)), now);
        session.tick(now);
    }
    if (!session.isReady() && !session.shots().isEmpty()) {
        fail("shots from a session that is not ready");
    }
    return 0;
}
