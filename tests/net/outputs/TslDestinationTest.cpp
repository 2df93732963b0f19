#include "outputs/TslDestination.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

std::optional<TslDestination> parse(const char* text, QString* problem = nullptr)
{
    return TslDestination::parse(TslTallyEncoding::Version::v50, QString::fromLatin1(text), problem);
}

} // namespace

TEST(TslDestinationTest, UdpAndTcpDestinationsAreRead)
{
    const std::optional<TslDestination> udp = parse("udp://studio-mv:8900");
    ASSERT_TRUE(udp.has_value());
    EXPECT_EQ(udp->transport, TslDestination::Transport::udp);
    EXPECT_EQ(udp->host, QStringLiteral("studio-mv"));
    EXPECT_EQ(udp->port, 8900);
    const std::optional<TslDestination> tcp = parse("tcp://10.0.0.5:9000");
    ASSERT_TRUE(tcp.has_value());
    EXPECT_EQ(tcp->transport, TslDestination::Transport::tcp);
    EXPECT_EQ(tcp->toString(), QStringLiteral("tcp://10.0.0.5:9000"));
}

TEST(TslDestinationTest, AnIpv6AddressIsWrittenInBrackets)
{
    const std::optional<TslDestination> destination = parse("udp://[::1]:8900");
    ASSERT_TRUE(destination.has_value());
    EXPECT_EQ(destination->host, QStringLiteral("::1"));
    EXPECT_EQ(destination->toString(), QStringLiteral("udp://[::1]:8900"));
}

TEST(TslDestinationTest, BadDestinationsAreRefusedWithTheReason)
{
    QString problem;
    EXPECT_FALSE(parse("http://host:80", &problem).has_value());
    EXPECT_EQ(
        problem, QStringLiteral("bad TSL destination 'http://host:80': expected udp://HOST:PORT or tcp://HOST:PORT"));
    EXPECT_FALSE(parse("udp://host", &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("HOST:PORT"))) << problem.toStdString();
    EXPECT_FALSE(parse("udp://host:0", &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("1 to 65535"))) << problem.toStdString();
    EXPECT_FALSE(parse("udp://host:65536", &problem).has_value());
    EXPECT_FALSE(parse("udp://host:port", &problem).has_value());
    EXPECT_FALSE(parse("udp://:8900", &problem).has_value());
}
