#include "tallymap/TallyMapFormat.h"

#include "base/Problem.h"

#include <QStringDecoder>
#include <QStringEncoder>
#include <QUtf8StringView>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

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

// Room enough for a name in UTF-8: a byte per character below U+0080, two
// below U+0800 and three for any other, a surrogate half included (a pair
// takes four bytes, a lone half its three-byte replacement). Close to the
// real size, where the encoder's own bound is three bytes for every
// character: a large map then needs a third of the memory, which the
// allocator would otherwise have to find and fault in afresh for each save.
qsizetype utf8SpaceFor(QStringView name)
{
    qsizetype space = name.size();
    for (const QChar character : name) {
        const char16_t unit = character.unicode();
        if (unit >= 0x80) {
            space += unit < 0x800 ? 1 : 2;
        }
    }
    return space;
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

// The length in bytes of the line break at position, or 0 when none starts
// there: CR LF, a lone CR or LF, and NEXT LINE, LINE SEPARATOR and
// PARAGRAPH SEPARATOR as UTF-8 (C2 85, E2 80 A8, E2 80 A9).
qsizetype lineBreakAt(const char* bytes, qsizetype size, qsizetype position)
{
    const auto byte = [bytes](qsizetype at) { return static_cast<uchar>(bytes[at]); };
    switch (byte(position)) {
    case '\r':
        return position + 1 < size && byte(position + 1) == '\n' ? 2 : 1;
    case '\n':
        return 1;
    case 0xC2:
        return position + 1 < size && byte(position + 1) == 0x85 ? 2 : 0;
    case 0xE2:
        return position + 2 < size && byte(position + 1) == 0x80
                && (byte(position + 2) == 0xA8 || byte(position + 2) == 0xA9)
            ? 3
            : 0;
    default:
        return 0;
    }
}

// One piece of valid UTF-8 as text. A byte order mark after the start of the
// file is a character like any other, as when the whole file is decoded at
// once; QString::fromUtf8 would drop it at the start of a piece.
QString decodePiece(const char* bytes, qsizetype size)
{
    if (size >= 3 && bytes[0] == '\xEF' && bytes[1] == '\xBB' && bytes[2] == '\xBF') {
        QStringDecoder keepingMarks(
            QStringConverter::Utf8, QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
        return keepingMarks.decode(QByteArrayView(bytes, size));
    }
    return QString::fromUtf8(bytes, size);
}

// The bytes that can end a piece or a line: the separator, CR, LF, and the
// lead bytes of NEXT LINE, LINE SEPARATOR and PARAGRAPH SEPARATOR. One
// look-up per byte instead of five comparisons keeps the walk over a large
// map short.
struct SpecialBytes {
    bool table[256] = {};
    constexpr SpecialBytes()
    {
        table[static_cast<uchar>('|')] = true;
        table[static_cast<uchar>('\r')] = true;
        table[static_cast<uchar>('\n')] = true;
        table[0xC2] = true;
        table[0xE2] = true;
    }
};
constexpr SpecialBytes specialBytes;

// readLines on data known to be valid UTF-8, walked as bytes: no copy of the
// whole text in UTF-16 first, only each name decoded on its own. The same
// lines, pieces and failures as decoding first, since the separator and the
// line breaks can only stand for themselves in valid UTF-8. Names holds what
// a line's names are gathered into: it is cleared, given each name as text
// with add, and handed to the visitor with its light index.
template<typename Names, typename Add, typename Visit>
bool readValidUtf8Lines(
    const QByteArray& data, Names& names, const Add& add, const Visit& visit, QString* problem, qsizetype& line)
{
    // The decoder skips a byte order mark at the start of the data.
    const qsizetype bom = data.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    const char* const bytes = data.constData();
    const qsizetype size = data.size();
    qsizetype start = bom;
    qsizetype current = 0;
    while (start < size) {
        ++current;
        names.clear();
        bool indexSeen = false;
        std::optional<qint64> lightIndex;
        // Every byte of the piece so far, or-ed together: its top bit tells
        // whether the piece is all ASCII.
        uchar pieceBits = 0;
        // Empty pieces are skipped, the first one is the light index.
        const auto takePiece = [&](qsizetype from, qsizetype to) {
            if (to == from) {
                return;
            }
            // Most names are plain ASCII, which needs no UTF-8 decoding.
            QString text = pieceBits < 0x80 ? QString::fromLatin1(bytes + from, to - from)
                                            : decodePiece(bytes + from, to - from);
            if (!indexSeen) {
                indexSeen = true;
                lightIndex = parseIndex(text);
            } else {
                add(names, std::move(text));
            }
        };
        qsizetype pieceStart = start;
        qsizetype end = start;
        qsizetype breakLength = 0;
        for (; end < size; ++end) {
            const auto byte = static_cast<uchar>(bytes[end]);
            if (!specialBytes.table[byte]) {
                pieceBits |= byte;
                continue;
            }
            if (byte == static_cast<uchar>(separator.unicode())) {
                takePiece(pieceStart, end);
                pieceStart = end + 1;
                pieceBits = 0;
            } else if ((breakLength = lineBreakAt(bytes, size, end)) > 0) {
                break;
            } else {
                pieceBits |= byte;
            }
        }
        takePiece(pieceStart, end);
        if (!indexSeen || !lightIndex) {
            line = current;
            return reportProblem(problem, indexSeen ? indexUnreadable : indexMissing);
        }
        if (!visit(*lightIndex, names)) {
            line = current;
            return true;
        }
        start = end + breakLength;
    }
    return true;
}

// The records of one line's names, the names moved into them. The records
// share one allocation (each pointer keeps the whole line's records alive)
// instead of one each: a map of thousands of names is read with a handful
// of allocations besides the names themselves, and freed as quickly.
ShotList recordsOf(QStringList& names)
{
    const auto shots = std::make_shared<std::vector<Shot>>();
    shots->reserve(static_cast<size_t>(names.size()));
    ShotList records;
    records.reserve(names.size());
    for (QString& name : names) {
        records.append(ShotPtr(shots, &shots->emplace_back(std::move(name))));
    }
    return records;
}

} // namespace

QByteArray write(const QList<ShotList>& lights)
{
    // Encode straight into one buffer sized for the worst case, instead of
    // building the whole text first and encoding it afterwards: a map with
    // thousands of names would otherwise pass through three large buffers.
    // Stateless, so that each name is encoded on its own and nothing carries
    // over into the separators written between them.
    QStringEncoder encoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    qsizetype worstCase = 0;
    for (const ShotList& records : lights) {
        worstCase += indexAndBreakSpace;
        for (const ShotPtr& record : records) {
            worstCase += utf8SpaceFor(record->name) + 1;
        }
    }
    QByteArray bytes(worstCase, Qt::Uninitialized);
    char* out = bytes.data();
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        const QByteArray index = QByteArray::number(lightIndex);
        out = std::copy(index.cbegin(), index.cend(), out);
        *out++ = '|';
        bool first = true;
        for (const ShotPtr& record : lights[lightIndex]) {
            if (!first) {
                *out++ = '|';
            }
            first = false;
            out = encoder.appendToBuffer(out, record->name);
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
    if (QUtf8StringView(data.constData(), data.size()).isValidUtf8()) {
        QStringList names;
        return readValidUtf8Lines(
            data, names, [](QStringList& list, QString name) { list.append(std::move(name)); }, visitor, problem, line);
    }
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

bool readRecords(const QByteArray& data, const RecordVisitor& visitor, QString* problem, qsizetype* lineNumber)
{
    if (!QUtf8StringView(data.constData(), data.size()).isValidUtf8()) {
        return readLines(
            data,
            [&visitor](qint64 lightIndex, const QStringList& names) {
                ShotList records;
                records.reserve(names.size());
                for (const QString& name : names) {
                    records.append(std::make_shared<Shot>(name));
                }
                return visitor(lightIndex, std::move(records));
            },
            problem, lineNumber);
    }
    qsizetype unusedLineNumber = 0;
    qsizetype& line = lineNumber ? *lineNumber : unusedLineNumber;
    line = 0;
    QStringList names;
    return readValidUtf8Lines(
        data, names, [](QStringList& list, QString name) { list.append(std::move(name)); },
        [&visitor](qint64 lightIndex, QStringList& list) { return visitor(lightIndex, recordsOf(list)); }, problem,
        line);
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
