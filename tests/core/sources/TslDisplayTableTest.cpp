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

TEST(TslDisplayTableTest, OneSendersShareStopsGrowingAtItsLimit)
{
    TslDisplayTable table;
    for (int index = 0; index < TslDisplayTable::maxDisplaysPerSender + 10; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()));
    }
    EXPECT_EQ(table.shots().size(), TslDisplayTable::maxDisplaysPerSender);
    // Displays already known still change.
    EXPECT_TRUE(table.apply(display(100, TslUmd50::Colour::red, TslUmd50::Colour::off, QString())));
}

TEST(TslDisplayTableTest, TheWholeTableStopsGrowingAtItsLimit)
{
    TslDisplayTable table;
    for (const QString& sender :
        { QStringLiteral("10.0.0.7"), QStringLiteral("10.0.0.8"), QStringLiteral("10.0.0.9") }) {
        for (int index = 0; index < TslDisplayTable::maxDisplaysPerSender; ++index) {
            table.apply(display(index + 10000 * sender.back().digitValue(), TslUmd50::Colour::off,
                            TslUmd50::Colour::off, QString()),
                sender);
        }
    }
    EXPECT_EQ(table.size(), TslDisplayTable::maxDisplays);
    EXPECT_EQ(table.shots().size(), TslDisplayTable::maxDisplays);
}

TEST(TslDisplayTableTest, AFullTableMakesRoomForTheSwitchersIndexFromTheSenderThatHoldsTheMost)
{
    TslDisplayTable table;
    const QString busiest = QStringLiteral("10.0.0.66");
    const QString busy = QStringLiteral("10.0.0.67");
    const QString switcher = QStringLiteral("10.0.0.2");
    for (int index = 1000; index < 1000 + TslDisplayTable::maxDisplaysPerSender; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("junk")), busiest);
    }
    for (int index = 3000; index < 3000 + TslDisplayTable::maxDisplaysPerSender - 1; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("junk")), busy);
    }
    // One place is left; the switcher's first display takes it.
    EXPECT_TRUE(table.take(display(5, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 5")), switcher)
                    .newlyLimitedSender.isEmpty());
    ASSERT_EQ(table.size(), TslDisplayTable::maxDisplays);

    const TslDisplayTable::Outcome outcome
        = table.take(display(6, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("Cam 6")), switcher);
    EXPECT_TRUE(outcome.changed);
    EXPECT_EQ(outcome.newlyLimitedSender, busiest);
    EXPECT_EQ(table.size(), TslDisplayTable::maxDisplays);
    EXPECT_EQ(table.sizeOf(switcher), 2);
    EXPECT_EQ(table.sizeOf(busiest), TslDisplayTable::maxDisplaysPerSender - 1);
    EXPECT_EQ(table.sizeOf(busy), TslDisplayTable::maxDisplaysPerSender - 1);
    const ShotList shots = table.shots();
    ASSERT_EQ(shots.front()->shotId, QStringLiteral("5"));
    EXPECT_TRUE(shots.front()->isLive);
    // The busiest sender's display heard least recently went.
    EXPECT_EQ(shots.at(2)->shotId, QStringLiteral("1001"));
}

TEST(TslDisplayTableTest, ADisplayHeardAgainIsKeptOverOnesHeardOnlyOnce)
{
    TslDisplayTable table;
    table.apply(display(5, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 5")));
    for (int index = 1000; index < 1000 + TslDisplayTable::maxDisplaysPerSender - 1; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()));
    }
    // The sender repeats display 5; then one more new index arrives.
    table.apply(display(5, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Cam 5")));
    table.apply(display(5000, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()));
    const ShotList shots = table.shots();
    ASSERT_EQ(shots.size(), TslDisplayTable::maxDisplaysPerSender);
    EXPECT_EQ(shots.front()->shotId, QStringLiteral("5"));
    EXPECT_EQ(shots.at(1)->shotId, QStringLiteral("1001"));
}

TEST(TslDisplayTableTest, ASenderFloodingNewIndexesEvictsOnlyItsOwnDisplays)
{
    TslDisplayTable table;
    const QString switcher = QStringLiteral("10.0.0.2");
    const QString router = QStringLiteral("10.0.0.30");
    // The switcher says camera 1 is on air every half second; the router
    // names 40 new displays in each of 2,000 datagrams a second, indexes 100
    // to 9999 over and over: 40,000 displays between two of the switcher's.
    const TslUmd50::Display camera1
        = display(1, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("Camera 1"));
    table.apply(camera1, switcher);
    int next = 100;
    int camera1Missing = 0;
    for (int datagram = 0; datagram < 4000; ++datagram) {
        for (int shown = 0; shown < 40; ++shown) {
            table.apply(display(next, TslUmd50::Colour::off, TslUmd50::Colour::off, QStringLiteral("Box")), router);
            next = next == 9999 ? 100 : next + 1;
        }
        // What the lights would read; every 50th datagram keeps the test quick.
        if (datagram % 50 == 0) {
            const ShotList shots = table.shots();
            if (shots.isEmpty() || shots.front()->shotId != QStringLiteral("1") || !shots.front()->isLive) {
                ++camera1Missing;
            }
        }
        if (datagram % 1000 == 999) {
            table.apply(camera1, switcher);
        }
    }
    EXPECT_EQ(camera1Missing, 0);
    EXPECT_EQ(table.sizeOf(switcher), 1);
    EXPECT_EQ(table.sizeOf(router), TslDisplayTable::maxDisplaysPerSender);
    EXPECT_EQ(table.size(), TslDisplayTable::maxDisplaysPerSender + 1);
}

TEST(TslDisplayTableTest, ADisplayAnotherSenderRefreshesIsNeverEvicted)
{
    TslDisplayTable table;
    const QString switcher = QStringLiteral("10.0.0.2");
    const QStringList flooders { QStringLiteral("10.0.0.66"), QStringLiteral("10.0.0.67"),
        QStringLiteral("10.0.0.68") };
    // The switcher's twenty displays, then three senders flooding new
    // indexes by turns, so the whole table fills and stays full; the
    // switcher repeats its displays now and then.
    const auto switcherSpeaks = [&] {
        for (int index = 1; index <= 20; ++index) {
            table.apply(display(index, index == 1 ? TslUmd50::Colour::red : TslUmd50::Colour::off,
                            TslUmd50::Colour::off, QStringLiteral("Cam %1").arg(index)),
                switcher);
        }
    };
    switcherSpeaks();
    for (int round = 0; round < 3000; ++round) {
        for (qsizetype flooder = 0; flooder < flooders.size(); ++flooder) {
            const int index = 100 + int(flooder) * 20000 + round;
            table.apply(
                display(index, TslUmd50::Colour::red, TslUmd50::Colour::off, QStringLiteral("x")), flooders[flooder]);
        }
        ASSERT_EQ(table.sizeOf(switcher), 20) << "round " << round;
        if (round % 500 == 0) {
            switcherSpeaks();
        }
    }
    EXPECT_EQ(table.size(), TslDisplayTable::maxDisplays);
    EXPECT_TRUE(table.shots().front()->isLive);
}

TEST(TslDisplayTableTest, ALimitedSenderIsNamedOnceUntilItIsForgotten)
{
    TslDisplayTable table;
    const QString router = QStringLiteral("10.0.0.30");
    QStringList named;
    const auto flood = [&](int from) {
        for (int index = from; index < from + TslDisplayTable::maxDisplaysPerSender + 50; ++index) {
            const TslDisplayTable::Outcome outcome
                = table.take(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()), router);
            if (!outcome.newlyLimitedSender.isEmpty()) {
                named.append(outcome.newlyLimitedSender);
            }
        }
    };
    flood(100);
    EXPECT_EQ(named, QStringList { router });
    flood(5000);
    EXPECT_EQ(named, QStringList { router }) << "still limited: not named again";
    EXPECT_TRUE(table.forgetSender(router));
    flood(100);
    EXPECT_EQ(named, (QStringList { router, router }));
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
    // Forgotten entries leave no hole in the order of hearing: the stranger
    // comes back and fills its share as before, and only its own displays
    // make room.
    for (int index = 100; index < 100 + TslDisplayTable::maxDisplays; ++index) {
        table.apply(display(index, TslUmd50::Colour::off, TslUmd50::Colour::off, QString()), stranger);
    }
    EXPECT_EQ(table.sizeOf(stranger), TslDisplayTable::maxDisplaysPerSender);
    EXPECT_EQ(table.size(), TslDisplayTable::maxDisplaysPerSender + 2);
    EXPECT_EQ(table.shots().front()->shotId, QStringLiteral("1"));
    EXPECT_EQ(table.shots().at(2)->shotId, QString::number(100 + TslDisplayTable::maxDisplaysPerSender));
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
