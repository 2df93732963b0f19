// How switcher addresses are read, and what a mistake in one is called.

#include "sources/SwitcherAddress.h"

#include "sources/AtemAddress.h"
#include "sources/ObsAddress.h"
#include "sources/VmixAddress.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QString refusal(const QString& text)
{
    QString problem;
    EXPECT_FALSE(AtemAddress::parse(text, &problem).has_value()) << text.toStdString();
    return problem;
}

} // namespace

TEST(SwitcherAddressTest, AnAtemAddressKeepsItsHostAndPort)
{
    std::optional<AtemAddress> address = AtemAddress::parse(QStringLiteral("atem://10.0.0.9"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, QStringLiteral("10.0.0.9"));
    EXPECT_EQ(address->port, AtemAddress::defaultPort);
    address = AtemAddress::parse(QStringLiteral("atem://[::1]:9911"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, QStringLiteral("::1"));
    EXPECT_EQ(address->port, 9911);
    EXPECT_EQ(address->toString(), QStringLiteral("atem://[::1]:9911"));
}

TEST(SwitcherAddressTest, APortOutOfRangeIsNamedAsSuchAndTheHostIsKept)
{
    EXPECT_EQ(refusal(QStringLiteral("atem://127.0.0.1:99999")),
        QStringLiteral("bad ATEM address 'atem://127.0.0.1:99999': the port 99999 is out of range; it must be "
                       "between 1 and 65535 (expected atem://HOST or atem://HOST:PORT)"));
    EXPECT_EQ(refusal(QStringLiteral("atem://[::1]:70000")),
        QStringLiteral("bad ATEM address 'atem://[::1]:70000': the port 70000 is out of range; it must be between 1 "
                       "and 65535 (expected atem://HOST or atem://HOST:PORT)"));
    EXPECT_EQ(refusal(QStringLiteral("atem://127.0.0.1:0")),
        QStringLiteral("bad ATEM address 'atem://127.0.0.1:0': the port 0 is out of range; it must be between 1 and "
                       "65535 (expected atem://HOST or atem://HOST:PORT)"));
}

TEST(SwitcherAddressTest, APortThatIsNoNumberIsNamedAsSuch)
{
    const QString problem = refusal(QStringLiteral("atem://switcher.local:vision"));
    EXPECT_EQ(problem,
        QStringLiteral("bad ATEM address 'atem://switcher.local:vision': the port 'vision' is not a number (expected "
                       "atem://HOST or atem://HOST:PORT)"));
}

TEST(SwitcherAddressTest, AnObsAddressGetsTheSameWordsForItsPort)
{
    QString problem;
    EXPECT_FALSE(ObsAddress::parse(QStringLiteral("obs://studio-pc:123456"), &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("the port 123456 is out of range"))) << problem.toStdString();
    EXPECT_FALSE(problem.contains(QStringLiteral("host = "))) << problem.toStdString();
}

TEST(SwitcherAddressTest, WhatIsNoAddressStaysRefusedForItsOwnReason)
{
    EXPECT_TRUE(refusal(QStringLiteral("atem://")).contains(QStringLiteral("no host")));
    EXPECT_TRUE(refusal(QStringLiteral("atem://host/path")).contains(QStringLiteral("only a host and a port")));
}

TEST(SwitcherAddressTest, AVmixAddressTakesTheTcpApiPortUnlessAnotherIsGiven)
{
    std::optional<VmixAddress> address = VmixAddress::parse(QStringLiteral("vmix://production-pc"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, QStringLiteral("production-pc"));
    EXPECT_EQ(address->port, 8099);
    EXPECT_EQ(address->toString(), QStringLiteral("vmix://production-pc:8099"));
    address = VmixAddress::parse(QStringLiteral("vmix://[::1]:9000"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->display(), QStringLiteral("[::1]:9000"));
    EXPECT_TRUE(VmixAddress::looksLikeAddress(QStringLiteral("VMix://x")));
    EXPECT_FALSE(VmixAddress::looksLikeAddress(QStringLiteral("atem://x")));
    QString problem;
    EXPECT_FALSE(VmixAddress::parse(QStringLiteral("vmix://"), &problem).has_value());
    EXPECT_EQ(
        problem, QStringLiteral("bad vMix address 'vmix://': no host (expected vmix://HOST or vmix://HOST:PORT)"));
}
