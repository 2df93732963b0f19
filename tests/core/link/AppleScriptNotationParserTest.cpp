#include "link/AppleScriptNotationParser.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using D = AppleEventDescriptor;

namespace {

D parsed(const QByteArray& input)
{
    QString problem;
    const std::optional<D> value = AppleScriptNotationParser::parse(QByteArrayView(input), &problem);
    EXPECT_TRUE(value.has_value()) << "input: " << input.toStdString() << "\nerror: " << problem.toStdString();
    return value.value_or(D::opaque("parse failed"));
}

QString errorOf(const QByteArray& input)
{
    QString problem;
    EXPECT_FALSE(AppleScriptNotationParser::parse(QByteArrayView(input), &problem).has_value())
        << "input parsed but should not: " << input.toStdString();
    return problem;
}

} // namespace

TEST(AppleScriptNotationParserTest, ReadsATwoShotAnswerAsOsascriptPrintsIt)
{
    const D answer = parsed("{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, "
                            "{shotId:\"2\", shotName:\"Cam 2\", isLive:false, isPreview:true}}\n");
    ASSERT_EQ(answer.kind(), D::Kind::List);
    ASSERT_EQ(answer.numberOfItems(), 2);
    const D second = *answer.descriptorAtIndex(2);
    ASSERT_EQ(second.kind(), D::Kind::Record);
    EXPECT_EQ(second.numberOfItems(), 1);
    EXPECT_EQ(*second.descriptorAtIndex(1),
        D::list({ D::text("shotId"), D::text("2"), D::text("shotName"), D::text("Cam 2"), D::text("isLive"),
            D::boolean(false), D::text("isPreview"), D::boolean(true) }));
}

TEST(AppleScriptNotationParserTest, TextUnescapesQuoteAndBackslash)
{
    EXPECT_EQ(parsed(R"("say \"hi\" \\ there")").stringValue(), QString(R"(say "hi" \ there)"));
}

TEST(AppleScriptNotationParserTest, TextKeepsRawTabsLineBreaksAndUnicode)
{
    EXPECT_EQ(parsed("\"a\tb\nc\r\nd\"").stringValue(), QString("a\tb\nc\r\nd"));
    EXPECT_EQ(parsed("\"Caméra 2 — 🎥 ɛ̃\"").stringValue(), QString::fromUtf8("Caméra 2 — 🎥 ɛ̃"));
}

TEST(AppleScriptNotationParserTest, TextAcceptsNewlineReturnAndTabEscapes)
{
    EXPECT_EQ(parsed(R"("a\nb\rc\td")").stringValue(), QString("a\nb\rc\td"));
}

TEST(AppleScriptNotationParserTest, ReadsEmptyText)
{
    EXPECT_EQ(parsed("\"\"").stringValue(), QString(""));
}

TEST(AppleScriptNotationParserTest, ReadsIntegers)
{
    EXPECT_EQ(parsed("42"), D::integer(42));
    EXPECT_EQ(parsed("-7"), D::integer(-7));
    EXPECT_EQ(parsed("0"), D::integer(0));
}

TEST(AppleScriptNotationParserTest, ReadsRealsWithAndWithoutExponent)
{
    EXPECT_EQ(parsed("2.147483647E+9"), D::real(2147483647.0));
    EXPECT_EQ(parsed("0.333333333333").stringValue(), QString("0.333333333333"));
    EXPECT_EQ(parsed("-0.5"), D::real(-0.5));
    EXPECT_EQ(parsed("1.0E-4"), D::real(1e-4));
    EXPECT_EQ(parsed("3.0"), D::real(3.0));
}

TEST(AppleScriptNotationParserTest, IntegerBeyondSixtyFourBitsIsAReal)
{
    EXPECT_EQ(parsed("123456789012345678901234"), D::real(123456789012345678901234.0));
}

TEST(AppleScriptNotationParserTest, ReadsBooleansAndMissingValue)
{
    EXPECT_EQ(parsed("true"), D::boolean(true));
    EXPECT_EQ(parsed("false"), D::boolean(false));
    EXPECT_EQ(parsed("missing value"), D::missingValue());
    EXPECT_EQ(
        parsed("{true, missing value, false}"), D::list({ D::boolean(true), D::missingValue(), D::boolean(false) }));
}

TEST(AppleScriptNotationParserTest, EmptyBracesAreAnEmptyListOrRecordWithNoItems)
{
    const D empty = parsed("{}");
    EXPECT_EQ(empty.numberOfItems(), 0);
    EXPECT_EQ(parsed("{ \n }").numberOfItems(), 0);
}

TEST(AppleScriptNotationParserTest, MultiWordBareLabelsAreKeywordItems)
{
    const D dialog = parsed("{button returned:\"OK\", gave up:false}");
    ASSERT_EQ(dialog.kind(), D::Kind::Record);
    EXPECT_EQ(dialog.numberOfItems(), 2);
    EXPECT_EQ(dialog.keywordLabels(), QStringList({ "button returned", "gave up" }));
    EXPECT_FALSE(dialog.hasUserFieldList());
    EXPECT_EQ(dialog.descriptorAtIndex(1)->stringValue(), QString("OK"));
}

TEST(AppleScriptNotationParserTest, ClassNameAndIdLabelsAreKeywordItemsBeforeTheUserFieldList)
{
    const D record = parsed("{shotId:\"1\", class:shot, name:\"Cam\", id:3, isLive:true}");
    ASSERT_EQ(record.numberOfItems(), 4);
    EXPECT_EQ(record.keywordLabels(), QStringList({ "class", "name", "id" }));
    EXPECT_EQ(record.descriptorAtIndex(2)->stringValue(), QString("Cam"));
    EXPECT_EQ(*record.descriptorAtIndex(4),
        D::list({ D::text("shotId"), D::text("1"), D::text("isLive"), D::boolean(true) }));
}

TEST(AppleScriptNotationParserTest, LabelsBetweenBarsAreUserDefined)
{
    const D record = parsed("{|my label|:true, |name|:\"x\", |a\\|b|:1}");
    ASSERT_EQ(record.numberOfItems(), 1);
    EXPECT_EQ(*record.descriptorAtIndex(1),
        D::list(
            { D::text("my label"), D::boolean(true), D::text("name"), D::text("x"), D::text("a|b"), D::integer(1) }));
}

TEST(AppleScriptNotationParserTest, RawCodeLabelsAreKeywordItems)
{
    const D record = parsed("{«class xyzw»:1, shotId:\"1\"}");
    EXPECT_EQ(record.numberOfItems(), 2);
    EXPECT_EQ(record.keywordLabels(), QStringList({ QString::fromUtf8("«class xyzw»") }));
}

TEST(AppleScriptNotationParserTest, ReadsNestedRecordsAndLists)
{
    const D value = parsed("{outer:{inner:{1, {2, 3}}, other:{}}, more:\"x\"}");
    const D fields = *value.descriptorAtIndex(1);
    ASSERT_EQ(fields.numberOfItems(), 4);
    const D outer = *fields.descriptorAtIndex(2);
    ASSERT_EQ(outer.kind(), D::Kind::Record);
    const D inner = *outer.descriptorAtIndex(1)->descriptorAtIndex(2);
    EXPECT_EQ(inner, D::list({ D::integer(1), D::list({ D::integer(2), D::integer(3) }) }));
}

TEST(AppleScriptNotationParserTest, ValuesTheDecoderNeverNeedsAreOpaqueWithoutText)
{
    const QByteArray values[] = {
        "date \"Monday, 6 January 2025 at 10:00:00\"",
        "text",
        "current application",
        "«class pcap»",
        "«data utxt00410042»",
        "file \"Macintosh HD:Users:tally:shots.txt\"",
        "shot id \"3\" of document 1 of application \"Mixdesk\"",
        "«class shot» id 4 of «class docu» \"Show\" of application \"Mixdesk\"",
    };
    for (const QByteArray& source : values) {
        const D value = parsed(source);
        EXPECT_EQ(value.kind(), D::Kind::Opaque) << source.toStdString();
        EXPECT_FALSE(value.stringValue()) << source.toStdString();
        EXPECT_EQ(value.textOrSource(), QString::fromUtf8(source));
    }
}

TEST(AppleScriptNotationParserTest, OpaqueValuesSitInListsAndRecords)
{
    const D value = parsed("{date \"Monday\", text, {k:file \"a:b\"}}");
    ASSERT_EQ(value.numberOfItems(), 3);
    EXPECT_EQ(value.descriptorAtIndex(1)->textOrSource(), "date \"Monday\"");
    EXPECT_EQ(value.descriptorAtIndex(2)->textOrSource(), "text");
    EXPECT_EQ(value.descriptorAtIndex(3)->descriptorAtIndex(1)->descriptorAtIndex(2)->textOrSource(), "file \"a:b\"");
}

TEST(AppleScriptNotationParserTest, WhitespaceAndLineBreaksBetweenTokensAreIgnored)
{
    EXPECT_EQ(parsed("\n  {\n\t1 ,\r\n 2 }  \n"), D::list({ D::integer(1), D::integer(2) }));
    EXPECT_EQ(parsed("{ a : 1 }"), D::userRecord({ { "a", D::integer(1) } }));
}

TEST(AppleScriptNotationParserTest, AcceptsNestingUpToTheLimit)
{
    const int depth = AppleScriptNotationParser::maximumDepth;
    EXPECT_EQ(parsed(QByteArray(depth, '{') + QByteArray(depth, '}')).numberOfItems(), 1);
}

TEST(AppleScriptNotationParserTest, RefusesNestingBeyondTheLimit)
{
    const int depth = AppleScriptNotationParser::maximumDepth + 1;
    EXPECT_EQ(errorOf(QByteArray(depth, '{') + QByteArray(depth, '}')),
        QString("values nested deeper than %1 levels at offset %2").arg(depth - 1).arg(depth - 1));
}

TEST(AppleScriptNotationParserTest, HugeNestingIsAnErrorNotACrash)
{
    EXPECT_FALSE(AppleScriptNotationParser::parse(QByteArrayView(QByteArray(1000000, '{')), nullptr).has_value());
}

TEST(AppleScriptNotationParserTest, UnterminatedTextIsAnErrorAtItsStart)
{
    EXPECT_EQ(errorOf("{\"Cam 1\", \"Cam 2}"), "text is never closed at offset 10");
}

TEST(AppleScriptNotationParserTest, UnclosedBraceIsAnErrorAtTheBrace)
{
    EXPECT_EQ(errorOf("{1, {2, 3}"), "'{' is never closed at offset 0");
}

TEST(AppleScriptNotationParserTest, ExtraClosingBraceIsAnError)
{
    EXPECT_EQ(errorOf("{1}}"), "unexpected character '}' after the value at offset 3");
}

TEST(AppleScriptNotationParserTest, TrailingGarbageIsAnError)
{
    EXPECT_EQ(errorOf("{1, 2} extra"), "unexpected character 'e' after the value at offset 7");
    EXPECT_EQ(errorOf("\"a\" \"b\""), "unexpected character '\"' after the value at offset 4");
}

TEST(AppleScriptNotationParserTest, MissingCommaIsAnError)
{
    EXPECT_EQ(errorOf("{1 2}"), "expected ',' or '}', found character '2' at offset 3");
}

TEST(AppleScriptNotationParserTest, RecordItemWithoutLabelIsAnError)
{
    EXPECT_EQ(errorOf("{a:1, 2}"), "expected a label in the record, found character '2' at offset 6");
}

TEST(AppleScriptNotationParserTest, LabelWithoutValueIsAnError)
{
    EXPECT_EQ(errorOf("{a:}"), "expected a value, found character '}' at offset 3");
}

TEST(AppleScriptNotationParserTest, EmptyInputIsAnError)
{
    EXPECT_EQ(errorOf(""), "expected a value, found nothing at offset 0");
    EXPECT_EQ(errorOf(" \n"), "expected a value, found nothing at offset 2");
}

TEST(AppleScriptNotationParserTest, UnknownEscapeInTextIsAnError)
{
    EXPECT_EQ(errorOf(R"("a\qb")"), "unknown escape in text at offset 2");
}

TEST(AppleScriptNotationParserTest, InvalidUtf8InTextIsAnError)
{
    EXPECT_EQ(errorOf("{\"ok\", \"bad \xC3\x28\"}"), "text is not valid UTF-8 at offset 7");
}

TEST(AppleScriptNotationParserTest, ControlBytesOutsideTextAreAnError)
{
    EXPECT_EQ(errorOf("{1,\x01}"), "expected a value, found byte 0x01 at offset 3");
    EXPECT_EQ(errorOf("\xFF"), "expected a value, found byte 0xFF at offset 0");
}

TEST(AppleScriptNotationParserTest, MalformedNumbersAreErrors)
{
    EXPECT_EQ(errorOf("-"), "malformed number at offset 0");
    EXPECT_EQ(errorOf("{1.}"), "malformed number at offset 1");
    EXPECT_EQ(errorOf("1E+"), "malformed number at offset 0");
    EXPECT_EQ(errorOf("1.0E+999"), "number out of range at offset 0");
}

TEST(AppleScriptNotationParserTest, UnterminatedRawCodeAndBarLabelAreErrors)
{
    EXPECT_EQ(errorOf("«class pcap"), "raw code '«' is never closed at offset 0");
    EXPECT_EQ(errorOf("{|open:1}"), "label between bars is never closed at offset 1");
}

TEST(AppleScriptNotationParserTest, StrayColonInAListIsAnError)
{
    EXPECT_EQ(errorOf("{1, b:2}"), "unexpected character ':' in a value at offset 5");
}

TEST(AppleScriptNotationParserTest, ParsesFromQStringAsUtf8)
{
    EXPECT_EQ(
        AppleScriptNotationParser::parse(QString::fromUtf8("\"é\""), nullptr)->stringValue(), QString::fromUtf8("é"));
}
