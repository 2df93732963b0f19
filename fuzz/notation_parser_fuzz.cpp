// Feeds arbitrary bytes to the AppleScript-notation reader, as a query script
// or a hand-written answer might. Whatever parses must also survive the shape
// check of the shot decoder, and must read back identically once written.

#include "link/AppleScriptNotationParser.h"
#include "link/AppleScriptNotationWriter.h"
#include "link/ShotDecoder.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const AppleScriptNotationParser::Result parsed = AppleScriptNotationParser::parse(input);
    if (!parsed.ok()) {
        if (parsed.error.isEmpty()) {
            std::fprintf(stderr, "parse failed without saying why\n");
            std::abort();
        }
        return 0;
    }

    const ShotDecoding decoding = decodeShotsChecked(*parsed.value, [](const QString&) {});
    if (decoding.problem ? !decoding.shots.isEmpty() : decoding.problem.has_value()) {
        std::abort();
    }
    if (!decoding.problem && parsed.value->numberOfItems() >= 2
        && decoding.shots.size() != parsed.value->numberOfItems()) {
        std::fprintf(stderr, "decoding lost shots\n");
        std::abort();
    }

    // Writing is stable: what is written reads back and writes the same
    // again (reals are written to 12 digits, so compare the written forms).
    const QString written = AppleScriptNotationWriter::write(*parsed.value);
    const AppleScriptNotationParser::Result reread = AppleScriptNotationParser::parse(written);
    if (!reread.ok()) {
        std::fprintf(
            stderr, "written form does not read back: %s\n%s\n", qPrintable(reread.error), qPrintable(written));
        std::abort();
    }
    if (AppleScriptNotationWriter::write(*reread.value) != written) {
        std::fprintf(stderr, "written form changes on a second round:\n%s\n", qPrintable(written));
        std::abort();
    }
    return 0;
}
