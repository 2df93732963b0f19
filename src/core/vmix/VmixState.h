#pragma once

#include "model/Shot.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// What vMix tells of its inputs and outputs, read from its two answers:
// the XML document (inputs by number with their keys and titles, and
// whether it records and streams) and the TALLY line (one digit per input).
// Both are checked whole before anything is taken, so a bad answer leaves
// the picture as it was.
namespace VmixState {

// How deep the XML may nest. vMix's own documents go five or six levels
// down; anything far deeper is refused rather than walked.
constexpr int maxXmlDepth = 32;
// The TCP API pads TALLY to the number of inputs, at most a thousand.
constexpr qsizetype maxInputs = 1000;

struct Input {
    int number = 0; // from 1, as vMix numbers them
    QString key; // stays the same across renames
    QString title;

    friend bool operator==(const Input&, const Input&) = default;
};

struct Document {
    QList<Input> inputs; // in number order
    // Set only when the document says: older versions say nothing of
    // streaming, and a document without the element offers no such shot.
    std::optional<bool> recording;
    std::optional<bool> streaming;

    friend bool operator==(const Document&, const Document&) = default;
};

enum class Tally : char {
    off = '0',
    program = '1',
    preview = '2',
};

// The document, or nothing with the reason in problem: XML that does not
// parse, nests deeper than maxXmlDepth, has no <vmix> root, or inputs
// without a number or key.
std::optional<Document> parseXml(const QByteArray& xml, QString* problem);

// The digits of a "TALLY OK 0121" line's text ("0121"), or nothing with
// the reason: empty, longer than maxInputs, or a character other than 0, 1
// and 2.
std::optional<QList<Tally>> parseTally(const QByteArray& digits, QString* problem);

// The shots, as new records: every input in number order, its key the id
// (kept apart from the on-air ids) and its title the name, live or preview
// from its tally digit (an input beyond the digits is off); then the on-air
// "Recording" and "Streaming" where the document tells of them, live while
// active.
ShotList shots(const Document& document, const QList<Tally>& tally);

} // namespace VmixState
