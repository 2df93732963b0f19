#include "link/AppleEventDescriptor.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using D = AppleEventDescriptor;

TEST(AppleEventDescriptorTest, RecordOfUserLabelsOnlyHasExactlyOneItemItsUserFieldList)
{
    const D record = D::userRecord({ { "shotId", D::text("1") }, { "isLive", D::boolean(true) } });
    ASSERT_EQ(record.numberOfItems(), 1);
    const D fields = *record.descriptorAtIndex(1);
    ASSERT_EQ(fields.kind(), D::Kind::List);
    ASSERT_EQ(fields.numberOfItems(), 4);
    EXPECT_EQ(fields.descriptorAtIndex(1)->stringValue(), QString("shotId"));
    EXPECT_EQ(fields.descriptorAtIndex(2)->stringValue(), QString("1"));
    EXPECT_EQ(fields.descriptorAtIndex(3)->stringValue(), QString("isLive"));
    EXPECT_TRUE(fields.descriptorAtIndex(4)->booleanValue());
}

TEST(AppleEventDescriptorTest, KeywordItemsComeFirstAndTheUserFieldListLast)
{
    const D record
        = D::record({ { "name", D::text("Cam") }, { "class", D::opaque("shot") } }, { { "shotId", D::text("7") } });
    ASSERT_EQ(record.numberOfItems(), 3);
    EXPECT_EQ(record.descriptorAtIndex(1)->stringValue(), QString("Cam"));
    EXPECT_EQ(record.descriptorAtIndex(2)->kind(), D::Kind::Opaque);
    EXPECT_EQ(record.descriptorAtIndex(3)->numberOfItems(), 2);
    EXPECT_EQ(record.keywordLabels(), QStringList({ "name", "class" }));
}

TEST(AppleEventDescriptorTest, RecordOfKeywordItemsOnlyHasNoUserFieldList)
{
    const D record = D::record({ { "button returned", D::text("OK") } }, {});
    EXPECT_EQ(record.numberOfItems(), 1);
    EXPECT_FALSE(record.hasUserFieldList());
    EXPECT_EQ(record.descriptorAtIndex(1)->stringValue(), QString("OK"));
}

TEST(AppleEventDescriptorTest, DescriptorAtIndexIsOneBasedAndAbsentOutsideTheItems)
{
    const D list = D::list({ D::integer(10), D::integer(20) });
    EXPECT_EQ(list.descriptorAtIndex(1)->integer(), 10);
    EXPECT_EQ(list.descriptorAtIndex(2)->integer(), 20);
    EXPECT_FALSE(list.descriptorAtIndex(0));
    EXPECT_FALSE(list.descriptorAtIndex(3));
    EXPECT_FALSE(list.descriptorAtIndex(-1));
}

TEST(AppleEventDescriptorTest, ValuesThatAreNotListsOrRecordsHaveNoItems)
{
    for (const D& value : { D::text("abc"), D::integer(3), D::real(1.5), D::boolean(true), D::missingValue(),
             D::opaque("date \"Monday\"") }) {
        EXPECT_EQ(value.numberOfItems(), 0);
        EXPECT_FALSE(value.descriptorAtIndex(1));
    }
}

TEST(AppleEventDescriptorTest, StringValueGivesTextAsIsAndIntegersAsDigits)
{
    EXPECT_EQ(D::text("Caméra\t2").stringValue(), QString("Caméra\t2"));
    EXPECT_EQ(D::text("").stringValue(), QString(""));
    EXPECT_EQ(D::integer(-42).stringValue(), QString("-42"));
    EXPECT_EQ(D::integer(0).stringValue(), QString("0"));
}

TEST(AppleEventDescriptorTest, StringValueGivesRealsInAppleScriptNotation)
{
    EXPECT_EQ(D::real(2147483647.0).stringValue(), QString("2.147483647E+9"));
    EXPECT_EQ(D::real(1.0 / 3).stringValue(), QString("0.333333333333"));
    EXPECT_EQ(D::real(-0.5).stringValue(), QString("-0.5"));
    EXPECT_EQ(D::real(3).stringValue(), QString("3.0"));
}

TEST(AppleEventDescriptorTest, StringValueOfAOneItemListIsItsItemsText)
{
    EXPECT_EQ(D::list({ D::text("only") }).stringValue(), QString("only"));
    EXPECT_EQ(D::list({ D::list({ D::integer(5) }) }).stringValue(), QString("5"));
}

TEST(AppleEventDescriptorTest, StringValueIsAbsentForEverythingElse)
{
    EXPECT_FALSE(D::boolean(true).stringValue());
    EXPECT_FALSE(D::missingValue().stringValue());
    EXPECT_FALSE(D::opaque("«class pcap»").stringValue());
    EXPECT_FALSE(D::list({}).stringValue());
    EXPECT_FALSE(D::list({ D::text("a"), D::text("b") }).stringValue());
    EXPECT_FALSE(D::userRecord({ { "a", D::text("b") } }).stringValue());
    EXPECT_FALSE(D::list({ D::missingValue() }).stringValue());
}

TEST(AppleEventDescriptorTest, BooleanValueCoercesBooleansAndIntegersOneAndZero)
{
    EXPECT_TRUE(D::boolean(true).booleanValue());
    EXPECT_FALSE(D::boolean(false).booleanValue());
    EXPECT_TRUE(D::integer(1).booleanValue());
    EXPECT_FALSE(D::integer(0).booleanValue());
    EXPECT_TRUE(D::list({ D::boolean(true) }).booleanValue());
    EXPECT_TRUE(D::list({ D::integer(1) }).booleanValue());
}

TEST(AppleEventDescriptorTest, BooleanValueIsFalseForEverythingElseTextTrueIncluded)
{
    EXPECT_FALSE(D::text("true").booleanValue());
    EXPECT_FALSE(D::integer(2).booleanValue());
    EXPECT_FALSE(D::integer(-1).booleanValue());
    EXPECT_FALSE(D::real(1.0).booleanValue());
    EXPECT_FALSE(D::missingValue().booleanValue());
    EXPECT_FALSE(D::opaque("true of x").booleanValue());
    EXPECT_FALSE(D::list({ D::boolean(true), D::boolean(true) }).booleanValue());
    EXPECT_FALSE(D::userRecord({ { "isLive", D::boolean(true) } }).booleanValue());
}

TEST(AppleEventDescriptorTest, DefaultDescriptorIsMissingValue)
{
    EXPECT_EQ(D().kind(), D::Kind::MissingValue);
    EXPECT_EQ(D(), D::missingValue());
}

TEST(AppleEventDescriptorTest, EqualityComparesStructure)
{
    EXPECT_EQ(D::list({ D::text("a"), D::integer(1) }), D::list({ D::text("a"), D::integer(1) }));
    EXPECT_NE(D::list({ D::text("a") }), D::list({ D::text("b") }));
    EXPECT_NE(D::integer(1), D::real(1));
    EXPECT_NE(D::text("x"), D::opaque("x"));
    EXPECT_NE(D::list({}), D::record({}, {}));
}

TEST(AppleEventDescriptorTest, RealNotationUsesAnExponentFromOneE4UpAndOneEMinus4Down)
{
    EXPECT_EQ(D::realNotation(9999.5), "9999.5");
    EXPECT_EQ(D::realNotation(10000), "1.0E+4");
    EXPECT_EQ(D::realNotation(123456.789), "1.23456789E+5");
    EXPECT_EQ(D::realNotation(0.001), "0.001");
    EXPECT_EQ(D::realNotation(0.0001), "1.0E-4");
    EXPECT_EQ(D::realNotation(-2.5e-7), "-2.5E-7");
    EXPECT_EQ(D::realNotation(0), "0.0");
    EXPECT_EQ(D::realNotation(1e300), "1.0E+300");
}

TEST(AppleEventDescriptorTest, RealNotationDecidesTheExponentAfterRounding)
{
    EXPECT_EQ(D::realNotation(9999.99999999999), "1.0E+4");
}
