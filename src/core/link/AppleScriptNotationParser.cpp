#include "link/AppleScriptNotationParser.h"

#include "base/Problem.h"

#include <QStringDecoder>

#include <charconv>
#include <cmath>
#include <vector>

namespace {

struct ParseFailure {
    QString message;
};

[[noreturn]] void fail(const QString& what, qsizetype offset)
{
    throw ParseFailure { QStringLiteral("%1 at offset %2").arg(what).arg(offset) };
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isWordStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isWordChar(char c)
{
    return isWordStart(c) || (c >= '0' && c <= '9');
}

bool isAscii(QByteArrayView bytes)
{
    for (const char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            return false;
        }
    }
    return true;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Labels that name one of AppleScript's own terms are keyword items of a
// record; every other bare single word is a user-defined label.
bool isTermWord(QByteArrayView word)
{
    static const char* const terms[] = { "class", "name", "id" };
    for (const char* term : terms) {
        if (word.compare(QByteArrayView(term), Qt::CaseInsensitive) == 0) {
            return true;
        }
    }
    return false;
}

struct Label {
    QString text; // keyword items
    std::optional<AppleEventDescriptor> userLabel; // user-defined labels, as the text item of the user-field list
};

class Parser {
public:
    explicit Parser(QByteArrayView input)
        : m_input(input)
    {
    }

    AppleEventDescriptor document()
    {
        skipSpace();
        if (atEnd()) {
            fail(QStringLiteral("expected a value, found nothing"), m_pos);
        }
        AppleEventDescriptor value = parseValue(0);
        skipSpace();
        if (!atEnd()) {
            fail(QStringLiteral("unexpected %1 after the value").arg(describeHere()), m_pos);
        }
        return value;
    }

private:
    bool atEnd() const { return m_pos >= m_input.size(); }
    char peek(qsizetype ahead = 0) const { return m_pos + ahead < m_input.size() ? m_input[m_pos + ahead] : '\0'; }
    bool startsRawCode() const { return peek() == '\xC2' && peek(1) == '\xAB'; } // «
    bool startsRawCodeEnd(qsizetype at) const
    {
        return at + 1 < m_input.size() && m_input[at] == '\xC2' && m_input[at + 1] == '\xBB'; // »
    }

    void skipSpace()
    {
        while (!atEnd() && isSpace(m_input[m_pos])) {
            ++m_pos;
        }
    }

    QString describeHere() const
    {
        if (atEnd()) {
            return QStringLiteral("end of input");
        }
        const auto c = static_cast<unsigned char>(m_input[m_pos]);
        if (c >= 0x20 && c < 0x7F) {
            return QStringLiteral("character '%1'").arg(QChar(c));
        }
        return QStringLiteral("byte 0x%1").arg(QString::number(c, 16).toUpper().rightJustified(2, QLatin1Char('0')));
    }

    QString decode(QByteArrayView bytes, const QString& what, qsizetype offset) const
    {
        if (isAscii(bytes)) {
            return QString::fromLatin1(bytes);
        }
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        QString text = decoder.decode(bytes);
        if (decoder.hasError()) {
            fail(QStringLiteral("%1 is not valid UTF-8").arg(what), offset);
        }
        return text;
    }

    AppleEventDescriptor parseValue(int depth)
    {
        const char c = peek();
        if (c == '{') {
            return parseBraces(depth + 1);
        }
        if (c == '"') {
            return AppleEventDescriptor::text(readText());
        }
        if (isDigit(c) || c == '-') {
            return parseNumber();
        }
        if (isWordStart(c) || startsRawCode()) {
            return parseTerm();
        }
        fail(QStringLiteral("expected a value, found %1").arg(describeHere()), m_pos);
    }

    AppleEventDescriptor parseBraces(int depth)
    {
        const qsizetype open = m_pos;
        if (depth > AppleScriptNotationParser::maximumDepth) {
            fail(QStringLiteral("values nested deeper than %1 levels").arg(AppleScriptNotationParser::maximumDepth),
                open);
        }
        ++m_pos;
        skipSpace();
        if (peek() == '}') {
            ++m_pos;
            return AppleEventDescriptor::list({}); // {} is an empty list and an empty record alike
        }
        if (std::optional<Label> label = tryLabel()) {
            return parseRecordFrom(std::move(*label), open, depth);
        }
        return parseListFrom(open, depth);
    }

    AppleEventDescriptor parseListFrom(qsizetype open, int depth)
    {
        QList<AppleEventDescriptor> items;
        for (;;) {
            skipSpace();
            items.append(parseValue(depth));
            if (closeOrContinue(open)) {
                return AppleEventDescriptor::list(std::move(items));
            }
        }
    }

    AppleEventDescriptor parseRecordFrom(Label label, qsizetype open, int depth)
    {
        QStringList keywordLabels;
        QList<AppleEventDescriptor> keywordValues;
        QList<AppleEventDescriptor> userFieldList;
        for (;;) {
            skipSpace();
            AppleEventDescriptor value = parseValue(depth);
            if (label.userLabel) {
                userFieldList.append(std::move(*label.userLabel));
                userFieldList.append(std::move(value));
            } else {
                keywordLabels.append(std::move(label.text));
                keywordValues.append(std::move(value));
            }
            if (closeOrContinue(open)) {
                return AppleEventDescriptor::recordFromParts(
                    std::move(keywordLabels), std::move(keywordValues), std::move(userFieldList));
            }
            skipSpace();
            std::optional<Label> next = tryLabel();
            if (!next) {
                fail(QStringLiteral("expected a label in the record, found %1").arg(describeHere()), m_pos);
            }
            label = std::move(*next);
        }
    }

    // After an item: true at the closing brace, false after a comma.
    bool closeOrContinue(qsizetype open)
    {
        skipSpace();
        if (peek() == '}') {
            ++m_pos;
            return true;
        }
        if (peek() == ',') {
            ++m_pos;
            return false;
        }
        if (atEnd()) {
            fail(QStringLiteral("'{' is never closed"), open);
        }
        fail(QStringLiteral("expected ',' or '}', found %1").arg(describeHere()), m_pos);
    }

    // A label followed by ':' (consumed), or nothing with the position kept.
    std::optional<Label> tryLabel()
    {
        const qsizetype start = m_pos;
        Label label;
        if (peek() == '|') {
            label.userLabel = AppleEventDescriptor::text(readBarLabel());
        } else if (startsRawCode()) {
            label.text = decode(readRawCode(), QStringLiteral("raw code"), start);
        } else if (isWordStart(peek())) {
            const QByteArrayView words = readWords();
            if (!words.contains(' ') && !isTermWord(words)) {
                label.userLabel = userWordLabel(words);
            } else {
                label.text = QString::fromLatin1(words);
            }
        } else {
            return std::nullopt;
        }
        skipSpace();
        if (peek() != ':') {
            m_pos = start;
            return std::nullopt;
        }
        ++m_pos;
        return label;
    }

    // An answer repeats the same few labels in every record: they share one
    // text node each.
    AppleEventDescriptor userWordLabel(QByteArrayView word)
    {
        for (const auto& [bytes, label] : m_labelCache) {
            if (bytes == word) {
                return label;
            }
        }
        AppleEventDescriptor label = AppleEventDescriptor::text(QString::fromLatin1(word));
        if (m_labelCache.size() < labelCacheSize) {
            m_labelCache.emplace_back(word.toByteArray(), label);
        }
        return label;
    }

    // One or more words separated by blanks, returned with single blanks
    // between them when the source has exactly that (the usual case).
    QByteArrayView readWords()
    {
        const qsizetype start = m_pos;
        qsizetype end = m_pos;
        bool singleBlanks = true;
        for (;;) {
            while (isWordChar(peek())) {
                ++m_pos;
            }
            end = m_pos;
            qsizetype look = m_pos;
            while (look < m_input.size() && (m_input[look] == ' ' || m_input[look] == '\t')) {
                ++look;
            }
            if (look == m_pos || look >= m_input.size() || !isWordStart(m_input[look])) {
                break;
            }
            singleBlanks = singleBlanks && look == m_pos + 1 && m_input[m_pos] == ' ';
            m_pos = look;
        }
        m_pos = end;
        const QByteArrayView words = m_input.sliced(start, end - start);
        if (singleBlanks) {
            return words;
        }
        m_normalisedWords = words.toByteArray().simplified();
        return m_normalisedWords;
    }

    QString readBarLabel()
    {
        const qsizetype start = m_pos;
        ++m_pos;
        QByteArray bytes;
        for (;;) {
            if (atEnd()) {
                fail(QStringLiteral("label between bars is never closed"), start);
            }
            const char c = m_input[m_pos++];
            if (c == '|') {
                break;
            }
            if (c == '\\') {
                const char escaped = peek();
                if (escaped != '|' && escaped != '\\') {
                    fail(QStringLiteral("unknown escape in a label between bars"), m_pos - 1);
                }
                bytes.append(escaped);
                ++m_pos;
            } else {
                bytes.append(c);
            }
        }
        return decode(bytes, QStringLiteral("label between bars"), start);
    }

    QByteArrayView readRawCode()
    {
        const qsizetype start = m_pos;
        for (qsizetype at = m_pos + 2; at < m_input.size(); ++at) {
            if (startsRawCodeEnd(at)) {
                m_pos = at + 2;
                return m_input.sliced(start, m_pos - start);
            }
        }
        fail(QStringLiteral("raw code '«' is never closed"), start);
    }

    QString readText()
    {
        const qsizetype start = m_pos;
        ++m_pos;
        QByteArray bytes;
        for (bool firstRun = true;; firstRun = false) {
            qsizetype runEnd = m_pos;
            while (runEnd < m_input.size() && m_input[runEnd] != '"' && m_input[runEnd] != '\\') {
                ++runEnd;
            }
            if (firstRun && runEnd < m_input.size() && m_input[runEnd] == '"') {
                // Most texts have no escapes: decode them where they stand.
                const QByteArrayView run = m_input.sliced(m_pos, runEnd - m_pos);
                m_pos = runEnd + 1;
                return decode(run, QStringLiteral("text"), start);
            }
            bytes.append(m_input.sliced(m_pos, runEnd - m_pos));
            m_pos = runEnd;
            if (atEnd()) {
                fail(QStringLiteral("text is never closed"), start);
            }
            if (m_input[m_pos] == '"') {
                ++m_pos;
                return decode(bytes, QStringLiteral("text"), start);
            }
            bytes.append(unescape());
        }
    }

    char unescape()
    {
        const qsizetype at = m_pos;
        m_pos += 2;
        switch (at + 1 < m_input.size() ? m_input[at + 1] : '\0') {
        case '"':
            return '"';
        case '\\':
            return '\\';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            m_pos = at;
            fail(QStringLiteral("unknown escape in text"), at);
        }
    }

    // Integers and reals: -12, 0.5, 2.147483647E+9. An integer too large for
    // 64 bits is a real, as AppleScript itself treats it.
    AppleEventDescriptor parseNumber()
    {
        const qsizetype start = m_pos;
        if (peek() == '-') {
            ++m_pos;
        }
        if (!isDigit(peek())) {
            fail(QStringLiteral("malformed number"), start);
        }
        skipDigits();
        bool isReal = false;
        if (peek() == '.') {
            ++m_pos;
            if (!isDigit(peek())) {
                fail(QStringLiteral("malformed number"), start);
            }
            skipDigits();
            isReal = true;
        }
        if (peek() == 'E' || peek() == 'e') {
            ++m_pos;
            if (peek() == '+' || peek() == '-') {
                ++m_pos;
            }
            if (!isDigit(peek())) {
                fail(QStringLiteral("malformed number"), start);
            }
            skipDigits();
            isReal = true;
        }
        const char* first = m_input.data() + start;
        const char* last = m_input.data() + m_pos;
        if (!isReal) {
            qint64 integer = 0;
            if (std::from_chars(first, last, integer).ec == std::errc()) {
                return AppleEventDescriptor::integer(integer);
            }
        }
        double real = 0;
        const auto [end, error] = std::from_chars(first, last, real);
        if (error != std::errc() || end != last || !std::isfinite(real)) {
            fail(QStringLiteral("number out of range"), start);
        }
        return AppleEventDescriptor::real(real);
    }

    void skipDigits()
    {
        while (isDigit(peek())) {
            ++m_pos;
        }
    }

    // true, false, missing value, or an opaque value: a run of words, raw
    // codes, texts and numbers such as date "…", «class pcap», text or
    // shot id "3" of application "Mixdesk".
    AppleEventDescriptor parseTerm()
    {
        const qsizetype start = m_pos;
        qsizetype end = m_pos;
        bool onlyWords = true;
        for (;;) {
            const char c = peek();
            if (isWordStart(c)) {
                readWords();
            } else if (startsRawCode()) {
                readRawCode();
                onlyWords = false;
            } else if (c == '"') {
                readText();
                onlyWords = false;
            } else if (isDigit(c) || c == '-') {
                parseNumber();
                onlyWords = false;
            } else {
                fail(QStringLiteral("unexpected %1 in a value").arg(describeHere()), m_pos);
            }
            end = m_pos;
            skipSpace();
            if (atEnd() || peek() == ',' || peek() == '}') {
                break;
            }
        }
        m_pos = end;
        const QByteArrayView source = m_input.sliced(start, end - start);
        if (onlyWords) {
            const QByteArray words = source.toByteArray().simplified();
            if (words == "true") {
                return AppleEventDescriptor::boolean(true);
            }
            if (words == "false") {
                return AppleEventDescriptor::boolean(false);
            }
            if (words == "missing value") {
                return AppleEventDescriptor::missingValue();
            }
        }
        return AppleEventDescriptor::opaque(decode(source, QStringLiteral("value"), start));
    }

    static constexpr size_t labelCacheSize = 32;

    QByteArrayView m_input;
    qsizetype m_pos = 0;
    QByteArray m_normalisedWords;
    std::vector<std::pair<QByteArray, AppleEventDescriptor>> m_labelCache;
};

} // namespace

std::optional<AppleEventDescriptor> AppleScriptNotationParser::parse(QByteArrayView utf8, QString* problem)
{
    try {
        return Parser(utf8).document();
    } catch (const ParseFailure& failure) {
        reportProblem(problem, failure.message);
        return std::nullopt;
    }
}

std::optional<AppleEventDescriptor> AppleScriptNotationParser::parse(const QString& text, QString* problem)
{
    return parse(QByteArrayView(text.toUtf8()), problem);
}
