#include "sources/TslDisplayTable.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

TslUmd50::Display display(int index, TslUmd50::Colour left, TslUmd50::Colour right, const QString& text)
{
    TslUmd50::Display built;
    built.index = index;
    built.leftTally = left;
    built.rightTally = right;
    built.text = text;
    return built;
}

TslUmd31::Message message(int address, bool tally1, bool tally2, const QString& text)
{
    TslUmd31::Message built;
    built.address = address;
    built.tallies = { tally1, tally2, false, false };
    built.text = text;
    return built;
}

} // namespace

TEST(TslDisplayTableTest, EveryDisplayIndexIsAShotNamedByItsTextInIndexOrder)
{
    TslDisplayTable table;
    EXPECT_TRUE(table.apply(message(7, false, false, QStringLiteral("Wide"))));
    EXPECT_TRUE(table.apply(message(2, true, false, QStringLiteral("Cam 2"))));
    const ShotList shots = table.shots();
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("2"));
    EXPECT_EQ(shots[0]->name, QStringLiteral("Cam 2"));
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_FALSE(shots[0]->isPreview);
    EXPECT_EQ(shots[1]->shotId, QStringLiteral("7"));
    EXPECT_EQ(shots[1]->name, QStringLiteral("Wide"));
}

TEST(TslDisplayTableTest, InThreeOneTallyTwoIsPreview)
{
    TslDisplayTable table;
    table.apply(message(1, false, true, QStringLiteral("Cam 1")));
    EXPECT_TRUE(table.shots().at(0)->isPreview);
    EXPECT_FALSE(table.shots().at(0)->isLive);
}

TEST(TslDisplayTableTest, InFiveRedOrGreenOnAnyTallyIsProgramOrPreview)
{
    TslDisplayTable table;
    table.apply(display(1, TslUmd50::Colour::off, TslUmd50::Colour::red, QStringLiteral("A")));
    table.apply(display(2, TslUmd50::Colour::green, TslUmd50::Colour::off, QStringLiteral("B")));
    TslUmd50::Display textOnly = display(3, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("C"));
    textOnly.textTally = TslUmd50::Colour::red;
    table.apply(textOnly);
    table.apply(display(4, TslUmd50::Colour::red, TslUmd50::Colour::green, QStringLiteral("D")));
    table.apply(display(5, TslUmd50::Colour::amber, TslUmd50::Colour::amber, QStringLiteral("E")));
    const ShotList shots = table.shots();
    ASSERT_EQ(shots.size(), 5);
    EXPECT_TRUE(shots[0]->isLive && !shots[0]->isPreview);
    EXPECT_TRUE(!shots[1]->isLive && shots[1]->isPreview);
    EXPECT_TRUE(shots[2]->isLive);
    EXPECT_TRUE(shots[3]->isLive && shots[3]->isPreview);
    EXPECT_TRUE(!shots[4]->isLive && !shots[4]->isPreview);
}

TEST(TslDisplayTableTest, TheSameMessageAgainIsNoChange)
{
    TslDisplayTable table;
    EXPECT_TRUE(table.apply(message(1, true, false, QStringLiteral("Cam 1"))));
    EXPECT_FALSE(table.apply(message(1, true, false, QStringLiteral("Cam 1"))));
    EXPECT_TRUE(table.apply(message(1, false, false, QStringLiteral("Cam 1"))));
    EXPECT_TRUE(table.apply(message(1, false, false, QStringLiteral("Camera 1"))));
    EXPECT_EQ(table.shots().at(0)->name, QStringLiteral("Camera 1"));
}

TEST(TslDisplayTableTest, ADisplayWithoutTextIsNamedByItsIndex)
{
    TslDisplayTable table;
    table.apply(message(12, true, false, QStringLiteral("   ")));
    EXPECT_EQ(table.shots().at(0)->name, QStringLiteral("12"));
}

TEST(TslDisplayTableTest, BroadcastAndControlDataChangeNoShot)
{
    TslDisplayTable table;
    EXPECT_FALSE(table.apply(display(0xFFFF, TslUmd50::Colour::red, TslUmd50::Colour::red, QStringLiteral("All"))));
    TslUmd50::Display control = display(3, TslUmd50::Colour::red, TslUmd50::Colour::red, QString());
    control.controlData = true;
    EXPECT_FALSE(table.apply(control));
    EXPECT_TRUE(table.shots().isEmpty());
}

TEST(TslDisplayTableTest, TheTableStopsGrowingAtItsLimit)
{
    TslDisplayTable table;
    for (int index = 0; index < TslDisplayTable::maxDisplays + 10; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()));
    }
    EXPECT_EQ(table.shots().size(), TslDisplayTable::maxDisplays);
    // Displays already known still change.
    EXPECT_TRUE(table.apply(display(0, TslUmd50::Colour::red, TslUmd50::Colour::off, QString())));
}
