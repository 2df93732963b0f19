#include "link/AppleScriptNotationWriter.h"

#include "link/AppleScriptNotationParser.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using D = AppleEventDescriptor;

TEST(AppleScriptNotationWriterTest, WritesAnAnswerTheWayOsascriptPrintsIt)
{
    const D answer = D::list({ D::userRecord({ { "shotId", D::text("1") }, { "shotName", D::text("Cam 1") },
                                   { "isLive", D::boolean(true) }, { "isPreview", D::boolean(false) } }),
        D::userRecord({ { "shotId", D::text("2") } }) });
    EXPECT_EQ(AppleScriptNotationWriter::write(answer),
        "{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, {shotId:\"2\"}}");
}

TEST(AppleScriptNotationWriterTest, EscapesOnlyQuoteAndBackslashInText)
{
    EXPECT_EQ(AppleScriptNotationWriter::write(D::text("a \"b\" \\ c\td\ne")), "\"a \\\"b\\\" \\\\ c\td\ne\"");
}

TEST(AppleScriptNotationWriterTest, PutsLabelsThatAreNotPlainWordsBetweenBars)
{
    const D record = D::userRecord({ { "my label", D::integer(1) }, { "name", D::integer(2) }, { "a|b", D::integer(3) },
        { "2nd", D::integer(4) } });
    EXPECT_EQ(AppleScriptNotationWriter::write(record), "{|my label|:1, |name|:2, |a\\|b|:3, |2nd|:4}");
}

TEST(AppleScriptNotationWriterTest, WritesScalarsInAppleScriptNotation)
{
    EXPECT_EQ(
        AppleScriptNotationWriter::write(D::list({ D::integer(-3), D::real(2147483647.0), D::real(0.5),
            D::missingValue(), D::opaque("date \"Monday\""), D::record({ { "class", D::opaque("shot") } }, {}) })),
        "{-3, 2.147483647E+9, 0.5, missing value, date \"Monday\", {class:shot}}");
}

TEST(AppleScriptNotationWriterTest, WhatItWritesReadsBackAsTheSameValue)
{
    const D original = D::list(
        { D::record({ { "name", D::text("Caméra \"2\"") } },
              { { "shotId", D::text("a\\b") }, { "odd label", D::list({}) }, { "isLive", D::boolean(true) } }),
            D::list({ D::integer(1), D::real(-1.5e-9), D::text("tab\there") }) });
    QString problem;
    const std::optional<D> reread
        = AppleScriptNotationParser::parse(AppleScriptNotationWriter::write(original), &problem);
    ASSERT_TRUE(reread.has_value()) << problem.toStdString();
    EXPECT_EQ(*reread, original);
}
