#include "switchers/SenderAllowList.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(SenderAllowListTest, AnEmptyListAllowsEverySender)
{
    const std::optional<SenderAllowList> list = SenderAllowList::parse({}, nullptr);
    ASSERT_TRUE(list.has_value());
    EXPECT_TRUE(list->isEmpty());
    EXPECT_TRUE(list->allows(QHostAddress(QStringLiteral("203.0.113.9"))));
}

TEST(SenderAllowListTest, AddressesAndNetworksSeparatedByCommasOrSpaces)
{
    QString problem;
    const std::optional<SenderAllowList> list = SenderAllowList::parse(
        { QStringLiteral("10.0.0.5,10.0.1.0/24"), QStringLiteral("fd00::7 [fd00::8]") }, &problem);
    ASSERT_TRUE(list.has_value()) << problem.toStdString();
    EXPECT_EQ(list->entries(),
        (QStringList { QStringLiteral("10.0.0.5"), QStringLiteral("10.0.1.0/24"), QStringLiteral("fd00::7"),
            QStringLiteral("fd00::8") }));
    EXPECT_TRUE(list->allows(QHostAddress(QStringLiteral("10.0.0.5"))));
    EXPECT_FALSE(list->allows(QHostAddress(QStringLiteral("10.0.0.6"))));
    EXPECT_TRUE(list->allows(QHostAddress(QStringLiteral("10.0.1.200"))));
    EXPECT_TRUE(list->allows(QHostAddress(QStringLiteral("fd00::8"))));
    EXPECT_FALSE(list->allows(QHostAddress(QStringLiteral("fd00::9"))));
}

TEST(SenderAllowListTest, AnIPv4SenderOnAnIPv6SocketIsItsIPv4Address)
{
    const std::optional<SenderAllowList> list = SenderAllowList::parse({ QStringLiteral("10.0.0.5") }, nullptr);
    ASSERT_TRUE(list.has_value());
    const QHostAddress mapped(QStringLiteral("::ffff:10.0.0.5"));
    EXPECT_TRUE(list->allows(mapped));
    EXPECT_EQ(SenderAllowList::plain(mapped).toString(), QStringLiteral("10.0.0.5"));
    EXPECT_FALSE(list->allows(QHostAddress(QStringLiteral("::ffff:10.0.0.6"))));
}

TEST(SenderAllowListTest, ANameOrGarbageIsRefusedWithTheEntryNamed)
{
    QString problem;
    EXPECT_FALSE(SenderAllowList::parse({ QStringLiteral("10.0.0.5,switcher.local") }, &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("'switcher.local' is not an IP address"))) << problem.toStdString();
    EXPECT_FALSE(SenderAllowList::parse({ QStringLiteral("10.0.0.0/40") }, &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("'10.0.0.0/40'"))) << problem.toStdString();
}
