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
    EXPECT_TRUE(table.apply(display(100, TslUmd50::Colour::red, TslUmd50::Colour::off, QString())));
}

TEST(TslDisplayTableTest, AFullTableMakesRoomForTheSwitchersIndexByForgettingTheOneHeardLeastRecently)
{
    TslDisplayTable table;
    // 1,200 indexes from 1000 on, as four packets from a hostile sender would
    // bring them: more than the table holds.
    for (int index = 1000; index < 2200; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("junk")));
    }
    ASSERT_EQ(table.shots().size(), TslDisplayTable::maxDisplays);

    EXPECT_TRUE(table.apply(display(5, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 5"))));
    const ShotList shots = table.shots();
    EXPECT_EQ(shots.size(), TslDisplayTable::maxDisplays);
    ASSERT_EQ(shots.front()->shotId, QStringLiteral("5"));
    EXPECT_TRUE(shots.front()->isLive);
    // The room came from the oldest of the rest: 1000 to 1175 went when the
    // table filled, 1176 for index 5.
    EXPECT_EQ(shots.at(1)->shotId, QStringLiteral("1177"));
}

TEST(TslDisplayTableTest, ADisplayHeardAgainIsKeptOverOnesHeardOnlyOnce)
{
    TslDisplayTable table;
    table.apply(display(5, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 5")));
    for (int index = 1000; index < 1000 + TslDisplayTable::maxDisplays - 1; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()));
    }
    // The switcher repeats its display; then one more junk index arrives.
    table.apply(display(5, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 5")));
    table.apply(display(5000, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()));
    const ShotList shots = table.shots();
    ASSERT_EQ(shots.size(), TslDisplayTable::maxDisplays);
    EXPECT_EQ(shots.front()->shotId, QStringLiteral("5"));
    EXPECT_EQ(shots.at(1)->shotId, QStringLiteral("1001"));
}

TEST(TslDisplayTableTest, ForgettingASenderTakesAwayTheDisplaysItSpokeForLast)
{
    TslDisplayTable table;
    const QString switcher = QStringLiteral("10.0.0.2");
    const QString stranger = QStringLiteral("10.0.0.66");
    table.apply(display(1, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 1")), switcher);
    table.apply(display(2, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("Cam 2")), switcher);
    table.apply(display(9, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 2")), stranger);
    // The switcher speaks for index 2 again after the stranger did.
    table.apply(display(2, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("Cam 2")), stranger);
    table.apply(display(2, TslUmd50::Colour::green, TslUmd50::Colour::off, QStringLiteral("Cam 2")), switcher);

    EXPECT_TRUE(table.forgetSender(stranger));
    const ShotList shots = table.shots();
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("1"));
    EXPECT_EQ(shots[1]->shotId, QStringLiteral("2"));
    EXPECT_TRUE(shots[1]->isPreview);
    EXPECT_FALSE(table.forgetSender(stranger));
    // Forgotten entries leave no hole in the order of hearing: the table
    // still fills and evicts as before.
    for (int index = 100; index < 100 + TslDisplayTable::maxDisplays; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()), stranger);
    }
    EXPECT_EQ(table.size(), TslDisplayTable::maxDisplays);
    EXPECT_EQ(table.shots().front()->shotId, QStringLiteral("100"));
}

TEST(TslDisplayTableTest, AMessageSaysWhetherItRefreshedADisplayThatShowsATally)
{
    TslDisplayTable table;
    EXPECT_TRUE(table.take(display(1, TslUmd50::Colour::red, TslUmd50::Colour::off, QString())).refreshedTally);
    EXPECT_TRUE(table.take(display(2, TslUmd50::Colour::green, TslUmd50::Colour::off, QString())).refreshedTally);
    EXPECT_FALSE(table.take(display(3, TslUmd50::Colour::amber, TslUmd50::Colour::off, QString())).refreshedTally);
    EXPECT_FALSE(table.take(display(0xFFFF, TslUmd50::Colour::red, TslUmd50::Colour::red, QString())).refreshedTally);
    const TslDisplayTable::Outcome repeat
        = table.take(display(1, TslUmd50::Colour::red, TslUmd50::Colour::off, QString()));
    EXPECT_FALSE(repeat.changed);
    EXPECT_TRUE(repeat.refreshedTally);
    EXPECT_TRUE(table.take(message(7, true, false, QStringLiteral("Jib"))).refreshedTally);
    EXPECT_FALSE(table.take(message(8, false, false, QStringLiteral("Spare"))).refreshedTally);
}
