#pragma once

#include "model/TallySnapshot.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// What the vMix-compatible tally feed says, in vMix's own TCP API forms, so
// that receivers written for vMix follow the lights instead:
//   SUBSCRIBE TALLY    -> "SUBSCRIBE OK TALLY", then "TALLY OK <digits>" at
//                         once and on every change
//   TALLY              -> "TALLY OK <digits>"
//   XML                -> "XML <length>" and the document
//   UNSUBSCRIBE TALLY  -> "UNSUBSCRIBE OK TALLY"
//   QUIT               -> "QUIT OK Bye", and the connection closes
//   anything else      -> "<COMMAND> ER <why>"
// Every line ends with CR LF. The digits are one a light, in the lights'
// order: 1 live, 2 preview, 0 off.
//
// The digits are the modes the tally box shows, never the switcher's
// picture behind them: under test what the test panel lit, and after the
// lights were turned off at quit all 0. A receiver therefore never lights
// what the studio's own lamps do not.
//
// While the source is lost the feed has no way in vMix's words to say so:
// a digit is a claim about the switcher. So it tells its subscribers the
// lost-source choice's picture once (dark with "off", so that a receiver
// that keeps its last digits ends dark as the box does) and then closes
// every connection and refuses new ones until the switcher is back. A
// receiver shows its own "not connected" state, which is the truth.
namespace VmixFeedProtocol {

// Whether the feed may serve the lights: false while the source is lost
// (see above).
bool speaksForTheSwitcher(const TallySnapshot& snapshot);

// "0120": one digit a light.
QByteArray tallyDigits(const TallySnapshot& snapshot);

// "TALLY OK 0120\r\n".
QByteArray tallyLine(const TallySnapshot& snapshot);

// The document vMix answers XML with: the lights as inputs numbered from 1,
// each titled by its shots' names, its key "light-N"; the live and preview
// elements name the first light in each mode (0 when none).
QByteArray xmlDocument(const TallySnapshot& snapshot);

// What one request line does to the connection besides the answer.
enum class Effect {
    none,
    subscribe,
    unsubscribe,
    quit,
};

struct Answer {
    QByteArray bytes;
    Effect effect = Effect::none;
};

// The answer to one request line (without its line end).
Answer answer(QByteArrayView request, const TallySnapshot& snapshot);

// Cuts a client's bytes into request lines, ended by LF (a CR before it is
// dropped; empty lines are skipped). A line longer than maxLineBytes cannot
// be a request: the reader says so and takes nothing more, and the
// connection is to be closed.
class LineReader {
public:
    static constexpr qsizetype maxLineBytes = 64 * 1024;

    // The lines the bytes complete, in order.
    QList<QByteArray> feed(QByteArrayView bytes);

    bool overflowed() const { return m_overflowed; }

private:
    QByteArray m_pending;
    bool m_overflowed = false;
};

} // namespace VmixFeedProtocol
