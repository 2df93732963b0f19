#include "outputs/PhoneLinks.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(PhoneLinksTest, EveryAddressGivesTheListOfLightsThenEachLight)
{
    const QList<PhoneLink> links = PhoneLinks::forPages(
        { QStringLiteral("http://10.0.0.5:8080/"), QStringLiteral("http://192.168.1.20:8080/") }, 2);
    const QList<PhoneLink> expected {
        { 0, QStringLiteral("http://10.0.0.5:8080/") },
        { 1, QStringLiteral("http://10.0.0.5:8080/light/1") },
        { 2, QStringLiteral("http://10.0.0.5:8080/light/2") },
        { 0, QStringLiteral("http://192.168.1.20:8080/") },
        { 1, QStringLiteral("http://192.168.1.20:8080/light/1") },
        { 2, QStringLiteral("http://192.168.1.20:8080/light/2") },
    };
    EXPECT_EQ(links, expected);
}

TEST(PhoneLinksTest, EightLightsGiveNineLinksAnAddressAndAPageWithoutItsSlashGetsOne)
{
    const QList<PhoneLink> links = PhoneLinks::forPages({ QStringLiteral("http://[fd00::5]:80") }, 8);
    ASSERT_EQ(links.size(), 9);
    EXPECT_EQ(links.first().url, QStringLiteral("http://[fd00::5]:80/"));
    EXPECT_EQ(links.last().url, QStringLiteral("http://[fd00::5]:80/light/8"));
    EXPECT_EQ(links.last().label(), QStringLiteral("Light 8"));
    EXPECT_EQ(links.first().label(), QStringLiteral("All lights"));
}

TEST(PhoneLinksTest, NoPageNoLinksAndNoLines)
{
    EXPECT_TRUE(PhoneLinks::forPages({}, 8).isEmpty());
    EXPECT_TRUE(PhoneLinks::lines({}).isEmpty());
}

TEST(PhoneLinksTest, LinesLineUpTheAddressesBeforeWhatTheyOpen)
{
    const QStringList lines = PhoneLinks::lines(PhoneLinks::forPages({ QStringLiteral("http://10.0.0.5:8080/") }, 1));
    const QStringList expected {
        QStringLiteral("Phones can open the tally page at:"),
        QStringLiteral("  http://10.0.0.5:8080/         All lights"),
        QStringLiteral("  http://10.0.0.5:8080/light/1  Light 1"),
    };
    EXPECT_EQ(lines, expected);
}
