#pragma once

#include "link/AppleEventDescriptor.h"

#include <QByteArrayView>
#include <QString>

#include <optional>

// Reads a value in AppleScript source notation, as `osascript -s s` prints a
// script's result: {1, 2}, {button returned:"OK"}, {|my label|:true}, "text"
// (only \" and \\ escaped; tabs, line breaks and any Unicode raw between the
// quotes), 42, -0.5, 2.147483647E+9, true, false, missing value. Values this
// program never looks into (date "…", bare constants such as text, raw codes
// such as «class pcap», object references such as file "…" or … of
// application "X") become opaque values. Anything else is an error that says
// what is wrong and at which byte offset; the parser never crashes on input.
class AppleScriptNotationParser {
public:
    // The value; nothing, with what is wrong and where in problem, when the
    // input is not one. Input is UTF-8; offsets in the problem count bytes
    // from the start.
    static std::optional<AppleEventDescriptor> parse(QByteArrayView utf8, QString* problem);
    static std::optional<AppleEventDescriptor> parse(const QString& text, QString* problem);

    // Answers are a list of flat records; anything nested deeper than this is
    // not an answer, and refusing it keeps the recursion bounded.
    static constexpr int maximumDepth = 100;
};
