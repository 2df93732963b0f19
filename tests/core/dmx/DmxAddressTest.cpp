#include "dmx/DmxAddress.h"

#include <gtest/gtest.h>

namespace {

DmxAddress parsed(const QString& text)
{
    QString problem;
    const std::optional<DmxAddress> address = DmxAddress::parse(text, &problem);
    EXPECT_TRUE(address.has_value()) << text.toStdString() << ": " << problem.toStdString();
    return address.value_or(DmxAddress {});
}

QString refusal(const QString& text)
{
    QString problem;
    EXPECT_FALSE(DmxAddress::parse(text, &problem).has_value()) << text.toStdString();
    return problem;
}

TEST(DmxAddressTest, ArtNetTakesPort6454AndUniverse0ByDefault)
{
    const DmxAddress address = parsed(QStringLiteral("artnet://10.0.0.20"));
    EXPECT_EQ(address.protocol, DmxAddress::Protocol::artNet);
    EXPECT_EQ(address.host, QStringLiteral("10.0.0.20"));
    EXPECT_EQ(address.port, 6454);
    EXPECT_EQ(address.universe, 0);
    EXPECT_EQ(address.destinationHost(), QStringLiteral("10.0.0.20"));
    EXPECT_FALSE(address.isMulticast());
    EXPECT_EQ(address.toString(), QStringLiteral("artnet://10.0.0.20:6454/0"));
}

TEST(DmxAddressTest, ArtNetTakesAPortAUniverseAndABroadcastAddress)
{
    const DmxAddress address = parsed(QStringLiteral("artnet://2.255.255.255:6455/300"));
    EXPECT_EQ(address.host, QStringLiteral("2.255.255.255"));
    EXPECT_EQ(address.port, 6455);
    EXPECT_EQ(address.universe, 300);
    EXPECT_EQ(parsed(QStringLiteral("artnet://node.local/32767")).universe, 32767);
    EXPECT_EQ(parsed(QStringLiteral("ARTNET://node.local/")).universe, 0);
}

TEST(DmxAddressTest, SacnWithoutHostGoesToTheUniversesMulticastGroup)
{
    const DmxAddress first = parsed(QStringLiteral("sacn://"));
    EXPECT_EQ(first.protocol, DmxAddress::Protocol::sacn);
    EXPECT_TRUE(first.host.isEmpty());
    EXPECT_EQ(first.port, 5568);
    EXPECT_EQ(first.universe, 1);
    EXPECT_TRUE(first.isMulticast());
    EXPECT_EQ(first.destinationHost(), QStringLiteral("239.255.0.1"));

    const DmxAddress high = parsed(QStringLiteral("sacn:///63999"));
    EXPECT_EQ(high.universe, 63999);
    EXPECT_EQ(high.destinationHost(), QStringLiteral("239.255.249.255"));

    const DmxAddress withPort = parsed(QStringLiteral("sacn://:5569/258"));
    EXPECT_EQ(withPort.port, 5569);
    EXPECT_EQ(withPort.destinationHost(), QStringLiteral("239.255.1.2"));
}

TEST(DmxAddressTest, SacnWithHostIsSentThereAlone)
{
    const DmxAddress address = parsed(QStringLiteral("sacn://[::1]:6000/7"));
    EXPECT_EQ(address.host, QStringLiteral("::1"));
    EXPECT_EQ(address.port, 6000);
    EXPECT_EQ(address.universe, 7);
    EXPECT_FALSE(address.isMulticast());
    EXPECT_EQ(address.destinationHost(), QStringLiteral("::1"));
    EXPECT_EQ(address.toString(), QStringLiteral("sacn://[::1]:6000/7"));
}

TEST(DmxAddressTest, OnlyTheTwoSchemesLookLikeAddresses)
{
    EXPECT_TRUE(DmxAddress::looksLikeAddress(QStringLiteral("artnet://x")));
    EXPECT_TRUE(DmxAddress::looksLikeAddress(QStringLiteral("sacn://")));
    EXPECT_FALSE(DmxAddress::looksLikeAddress(QStringLiteral("udp://x:1")));
    EXPECT_EQ(refusal(QStringLiteral("udp://10.0.0.1:6454")),
        QStringLiteral("bad DMX address 'udp://10.0.0.1:6454': it does not start with artnet:// or sacn:// (expected "
                       "artnet://HOST[:PORT][/UNIVERSE] or sacn://[HOST][:PORT][/UNIVERSE])"));
}

TEST(DmxAddressTest, ArtNetWithoutHostIsRefused)
{
    EXPECT_EQ(refusal(QStringLiteral("artnet:///1")),
        QStringLiteral("bad Art-Net address 'artnet:///1': no host; Art-Net needs a node's address or a broadcast "
                       "address such as 2.255.255.255 (expected artnet://HOST[:PORT][/UNIVERSE])"));
}

TEST(DmxAddressTest, BadPortsAreNamed)
{
    EXPECT_EQ(refusal(QStringLiteral("artnet://h:x/1")),
        QStringLiteral("bad Art-Net address 'artnet://h:x/1': the port 'x' is not a number (expected "
                       "artnet://HOST[:PORT][/UNIVERSE])"));
    EXPECT_EQ(refusal(QStringLiteral("sacn://h:70000")),
        QStringLiteral("bad sACN address 'sacn://h:70000': the port 70000 is out of range; it must be between 1 and "
                       "65535 (expected sacn://[HOST][:PORT][/UNIVERSE])"));
    EXPECT_TRUE(refusal(QStringLiteral("sacn://h:0")).contains(QStringLiteral("the port 0 is out of range")));
    EXPECT_TRUE(refusal(QStringLiteral("sacn://h:")).contains(QStringLiteral("the port '' is not a number")));
}

TEST(DmxAddressTest, UniversesOutOfRangeAreRefusedWithTheRange)
{
    EXPECT_EQ(refusal(QStringLiteral("artnet://h/32768")),
        QStringLiteral("bad Art-Net address 'artnet://h/32768': the universe 32768 is out of range; an Art-Net "
                       "universe runs from 0 to 32767 (expected artnet://HOST[:PORT][/UNIVERSE])"));
    EXPECT_TRUE(refusal(QStringLiteral("sacn:///0")).contains(QStringLiteral("an sACN universe runs from 1 to 63999")));
    EXPECT_TRUE(
        refusal(QStringLiteral("sacn:///64000")).contains(QStringLiteral("the universe 64000 is out of range")));
    EXPECT_TRUE(refusal(QStringLiteral("sacn:///99999999999999999999999"))
                    .contains(QStringLiteral("the universe 99999999999999999999999 is out of range")));
    EXPECT_TRUE(refusal(QStringLiteral("sacn:///-1")).contains(QStringLiteral("the universe '-1' is not a number")));
    EXPECT_TRUE(
        refusal(QStringLiteral("artnet://h/one")).contains(QStringLiteral("the universe 'one' is not a number")));
}

TEST(DmxAddressTest, ExtraPartsAreRefused)
{
    EXPECT_TRUE(refusal(QStringLiteral("artnet://h/1/2"))
                    .contains(QStringLiteral("only a universe may follow the host, such as /1")));
    EXPECT_TRUE(refusal(QStringLiteral("artnet://h/1?x=1"))
                    .contains(QStringLiteral("only a host, a port and a universe may follow artnet://")));
    EXPECT_TRUE(refusal(QStringLiteral("sacn://h/1#x"))
                    .contains(QStringLiteral("only a host, a port and a universe may follow sacn://")));
    EXPECT_TRUE(refusal(QStringLiteral("artnet://me@h/1"))
                    .contains(QStringLiteral("a user name does not go in a DMX address")));
    EXPECT_TRUE(refusal(QStringLiteral("artnet://fe80::1/1"))
                    .contains(QStringLiteral("an IPv6 host goes in brackets, such as [::1]")));
    EXPECT_TRUE(refusal(QStringLiteral("artnet://[::1/1")).contains(QStringLiteral("unclosed bracket")));
    EXPECT_TRUE(refusal(QStringLiteral("artnet://bad host/1"))
                    .contains(QStringLiteral("the host 'bad host' is not a host name or an IP address")));
}

TEST(DmxAddressTest, ALongAddressIsQuotedCutInTheMiddle)
{
    const QString text = QStringLiteral("artnet://h/") + QString(5000, QLatin1Char('x'));
    const QString problem = refusal(text);
    EXPECT_LT(problem.size(), 400);
    EXPECT_TRUE(problem.contains(QStringLiteral("…")));
    EXPECT_TRUE(problem.contains(QStringLiteral("is not a number")));
}

} // namespace
