#include "outputs/WebListenAddress.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

std::optional<WebListenAddress> parsed(const QString& text, QString* problem = nullptr)
{
    QString ignored;
    return WebListenAddress::parse(text, problem != nullptr ? problem : &ignored);
}

} // namespace

TEST(WebListenAddressTest, APortAloneListensOnEveryInterface)
{
    const std::optional<WebListenAddress> address = parsed(QStringLiteral("8080"));
    ASSERT_TRUE(address);
    EXPECT_EQ(address->address, QHostAddress(QHostAddress::Any));
    EXPECT_EQ(address->port, 8080);
    EXPECT_EQ(address->toString(), QStringLiteral("*:8080"));
}

TEST(WebListenAddressTest, AnIPv4AddressAndPortAreBothTaken)
{
    const std::optional<WebListenAddress> address = parsed(QStringLiteral("127.0.0.1:9000"));
    ASSERT_TRUE(address);
    EXPECT_EQ(address->address, QHostAddress(QStringLiteral("127.0.0.1")));
    EXPECT_EQ(address->port, 9000);
    EXPECT_EQ(address->toString(), QStringLiteral("127.0.0.1:9000"));
}

TEST(WebListenAddressTest, AnIPv6AddressIsWrittenInBrackets)
{
    const std::optional<WebListenAddress> address = parsed(QStringLiteral("[::1]:9000"));
    ASSERT_TRUE(address);
    EXPECT_EQ(address->address, QHostAddress(QHostAddress::LocalHostIPv6));
    EXPECT_EQ(address->toString(), QStringLiteral("[::1]:9000"));
}

TEST(WebListenAddressTest, LocalhostMeansTheLoopbackAddress)
{
    const std::optional<WebListenAddress> address = parsed(QStringLiteral("localhost:80"));
    ASSERT_TRUE(address);
    EXPECT_EQ(address->address, QHostAddress(QHostAddress::LocalHost));
}

TEST(WebListenAddressTest, APortOutsideOneTo65535IsRefusedWithTheReason)
{
    QString problem;
    EXPECT_FALSE(parsed(QStringLiteral("0"), &problem));
    EXPECT_EQ(problem, QStringLiteral("'0' is not a port from 1 to 65535"));
    EXPECT_FALSE(parsed(QStringLiteral("65536")));
    EXPECT_FALSE(parsed(QStringLiteral("+80")));
    EXPECT_FALSE(parsed(QStringLiteral("127.0.0.1:")));
    EXPECT_FALSE(parsed(QStringLiteral("http")));
}

TEST(WebListenAddressTest, AHostNameIsNotAnAddress)
{
    QString problem;
    EXPECT_FALSE(parsed(QStringLiteral("studio.example:8080"), &problem));
    EXPECT_EQ(problem, QStringLiteral("'studio.example' is not an IP address"));
    EXPECT_FALSE(parsed(QStringLiteral(":8080")));
    EXPECT_FALSE(parsed(QStringLiteral("[::1:8080")));
}

TEST(WebListenAddressTest, APageOnEveryInterfaceIsAtEveryAddressAPhoneCanReachIPv4First)
{
    WebListenAddress where;
    where.port = 8080;
    const QList<QHostAddress> machine { QHostAddress(QStringLiteral("127.0.0.1")), QHostAddress(QStringLiteral("::1")),
        QHostAddress(QStringLiteral("fe80::1%2")), QHostAddress(QStringLiteral("2001:db8::5")),
        QHostAddress(QStringLiteral("192.168.1.20")), QHostAddress(QStringLiteral("10.0.0.5")) };
    EXPECT_EQ(where.pageUrls(8080, machine),
        (QStringList { QStringLiteral("http://192.168.1.20:8080/"), QStringLiteral("http://10.0.0.5:8080/"),
            QStringLiteral("http://[2001:db8::5]:8080/") }));
}

TEST(WebListenAddressTest, APageOnOneAddressIsThereAlone)
{
    WebListenAddress where { QHostAddress(QStringLiteral("192.168.1.20")), 8080 };
    EXPECT_EQ(where.pageUrls(8080, { QHostAddress(QStringLiteral("10.0.0.5")) }),
        QStringList { QStringLiteral("http://192.168.1.20:8080/") });
}

TEST(WebListenAddressTest, AMachineWithNoNetworkOffersLoopback)
{
    WebListenAddress where;
    EXPECT_EQ(where.pageUrls(9000, { QHostAddress(QStringLiteral("127.0.0.1")) }),
        QStringList { QStringLiteral("http://127.0.0.1:9000/") });
}
