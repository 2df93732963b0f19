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
    struct Result {
        std::optional<AppleEventDescriptor> value;
        QString error; // empty when value is present

        bool ok() const { return value.has_value(); }
    };

    // Input is UTF-8; offsets in error messages count bytes from the start.
    static Result parse(QByteArrayView utf8);
    static Result parse(const QString& text);

    // Answers are a list of flat records; anything nested deeper than this is
    // not an answer, and refusing it keeps the recursion bounded.
    static constexpr int maximumDepth = 100;
};
