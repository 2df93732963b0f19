#include "tallymap/TallyMapFormat.h"

#include "base/Problem.h"

#include <QStringDecoder>
#include <QStringEncoder>

#include <algorithm>
#include <limits>

namespace TallyMapFormat {

namespace {

// A light index of up to 20 characters, its separator and CR LF.
constexpr qsizetype indexAndBreakSpace = 24;
constexpr QChar separator = u'|';

// The line breaks of the line enumeration map files have always been read
// with: besides CR and LF, NEXT LINE, LINE SEPARATOR and PARAGRAPH
// SEPARATOR end a line too, so a file written by a tool that uses them reads
// the same everywhere.
bool isLineBreak(QChar character)
{
    return character == u'\r' || character == u'\n' || character == u'\u0085' || character == u'\u2028'
        || character == u'\u2029';
}

// Where the next line starts, given the position of the break that ended
// this one: CR LF is one break, a lone CR or LF is one too.
qsizetype afterBreak(QStringView text, qsizetype breakPosition)
{
    if (breakPosition + 1 < text.size() && text[breakPosition] == u'\r' && text[breakPosition + 1] == u'\n') {
        return breakPosition + 2;
    }
    return breakPosition + 1;
}

// One line: split at every separator, drop empty pieces, the first piece is
// the light index and the rest are names.
bool readLine(QStringView line, const LineVisitor& visitor, bool* keepGoing, QString* problem)
{
    const QList<QStringView> pieces = line.split(separator, Qt::SkipEmptyParts);
    if (pieces.isEmpty()) {
        return reportProblem(problem, indexMissing);
    }
    const std::optional<qint64> lightIndex = parseIndex(pieces.first());
    if (!lightIndex) {
        return reportProblem(problem, indexUnreadable);
    }
    QStringList names;
    names.reserve(pieces.size() - 1);
    for (qsizetype i = 1; i < pieces.size(); ++i) {
        names.append(pieces[i].toString());
    }
    *keepGoing = visitor(*lightIndex, names);
    return true;
}

} // namespace

QByteArray write(const QList<QStringList>& namesPerLight)
{
    // Encode straight into one buffer sized for the worst case, instead of
    // building the whole text first and encoding it afterwards: a map with
    // thousands of names would otherwise pass through three large buffers.
    // Stateless, so that each name is encoded on its own and nothing carries
    // over into the separators written between them.
    QStringEncoder encoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    qsizetype worstCase = 0;
    for (const QStringList& names : namesPerLight) {
        worstCase += indexAndBreakSpace;
        for (const QString& name : names) {
            worstCase += encoder.requiredSpace(name.size()) + 1;
        }
    }
    QByteArray bytes(worstCase, Qt::Uninitialized);
    char* out = bytes.data();
    for (qsizetype lightIndex = 0; lightIndex < namesPerLight.size(); ++lightIndex) {
        const QByteArray index = QByteArray::number(lightIndex);
        out = std::copy(index.cbegin(), index.cend(), out);
        *out++ = '|';
        bool first = true;
        for (const QString& name : namesPerLight[lightIndex]) {
            if (!first) {
                *out++ = '|';
            }
            first = false;
            out = encoder.appendToBuffer(out, name);
        }
        *out++ = '\r';
        *out++ = '\n';
    }
    bytes.truncate(out - bytes.constData());
    return bytes;
}

bool readLines(const QByteArray& data, const LineVisitor& visitor, QString* problem, qsizetype* lineNumber)
{
    qsizetype unusedLineNumber = 0;
    qsizetype& line = lineNumber ? *lineNumber : unusedLineNumber;
    line = 0;
    // A stateless decoder reports a sequence cut off at the end of the data
    // as an error instead of waiting for more bytes.
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder.decode(data);
    if (decoder.hasError()) {
        return reportProblem(problem, decodeFailure);
    }
    const QStringView view(text);
    qsizetype start = 0;
    qsizetype current = 0;
    while (start < view.size()) {
        ++current;
        qsizetype end = start;
        while (end < view.size() && !isLineBreak(view[end])) {
            ++end;
        }
        bool keepGoing = true;
        if (!readLine(view.sliced(start, end - start), visitor, &keepGoing, problem)) {
            line = current;
            return false;
        }
        if (!keepGoing) {
            line = current;
            return true;
        }
        start = afterBreak(view, end);
    }
    return true;
}

std::optional<qint64> parseIndex(QStringView piece)
{
    qsizetype position = 0;
    bool negative = false;
    if (!piece.isEmpty() && (piece[0] == u'+' || piece[0] == u'-')) {
        negative = piece[0] == u'-';
        position = 1;
    }
    if (position == piece.size()) {
        return std::nullopt;
    }
    // The magnitude of the most negative value is one more than the largest
    // positive one; accumulate unsigned so that both limits are reachable.
    const quint64 limit = static_cast<quint64>(std::numeric_limits<qint64>::max()) + (negative ? 1 : 0);
    quint64 magnitude = 0;
    for (; position < piece.size(); ++position) {
        const char16_t character = piece[position].unicode();
        if (character < u'0' || character > u'9') {
            return std::nullopt;
        }
        const quint64 digit = character - u'0';
        if (magnitude > (limit - digit) / 10) {
            return std::nullopt;
        }
        magnitude = magnitude * 10 + digit;
    }
    if (!negative) {
        return static_cast<qint64>(magnitude);
    }
    if (magnitude == limit) {
        return std::numeric_limits<qint64>::min();
    }
    return -static_cast<qint64>(magnitude);
}

std::optional<qint64> firstIndexOutside(const QByteArray& data, qint64 lightCount, qsizetype* lineNumber)
{
    std::optional<qint64> outside;
    readLines(
        data,
        [&outside, lightCount](qint64 lightIndex, const QStringList&) {
            if (lightIndex < 0 || lightIndex >= lightCount) {
                outside = lightIndex;
                return false;
            }
            return true;
        },
        nullptr, lineNumber);
    return outside;
}

} // namespace TallyMapFormat
