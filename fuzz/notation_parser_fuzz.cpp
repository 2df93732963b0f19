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
    QString parseProblem;
    const std::optional<AppleEventDescriptor> parsed = AppleScriptNotationParser::parse(input, &parseProblem);
    if (!parsed) {
        if (parseProblem.isEmpty()) {
            std::fprintf(stderr, "parse failed without saying why\n");
            std::abort();
        }
        return 0;
    }

    QString problem;
    const std::optional<ShotList> shots = decodeShotsChecked(
        *parsed, [](const QString&) {}, &problem);
    if (!shots && problem.isEmpty()) {
        std::fprintf(stderr, "decoding failed without saying why\n");
        std::abort();
    }
    if (shots && parsed->numberOfItems() >= 2 && shots->size() != parsed->numberOfItems()) {
        std::fprintf(stderr, "decoding lost shots\n");
        std::abort();
    }

    // Writing is stable: what is written reads back and writes the same
    // again (reals are written to 12 digits, so compare the written forms).
    const QString written = AppleScriptNotationWriter::write(*parsed);
    QString rereadProblem;
    const std::optional<AppleEventDescriptor> reread = AppleScriptNotationParser::parse(written, &rereadProblem);
    if (!reread) {
        std::fprintf(
            stderr, "written form does not read back: %s\n%s\n", qPrintable(rereadProblem), qPrintable(written));
        std::abort();
    }
    if (AppleScriptNotationWriter::write(*reread) != written) {
        std::fprintf(stderr, "written form changes on a second round:\n%s\n", qPrintable(written));
        std::abort();
    }
    return 0;
}
