#include "sources/TslAddress.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(TslAddressTest, TheSchemeNamesTheVersionAndTheTransport)
{
    struct Case {
        const char* text;
        TslTallyEncoding::Version version;
        TslAddress::Transport transport;
    };
    const Case cases[] = {
        { "tsl://9800", TslTallyEncoding::Version::v31, TslAddress::Transport::udp },
        { "tsl+udp://9800", TslTallyEncoding::Version::v31, TslAddress::Transport::udp },
        { "tsl+tcp://9800", TslTallyEncoding::Version::v31, TslAddress::Transport::tcp },
        { "tsl5://9800", TslTallyEncoding::Version::v50, TslAddress::Transport::udp },
        { "tsl5+udp://9800", TslTallyEncoding::Version::v50, TslAddress::Transport::udp },
        { "tsl5+tcp://9800", TslTallyEncoding::Version::v50, TslAddress::Transport::tcp },
    };
    for (const Case& c : cases) {
        QString problem;
        const std::optional<TslAddress> address = TslAddress::parse(QString::fromLatin1(c.text), &problem);
        ASSERT_TRUE(address.has_value()) << c.text << ": " << problem.toStdString();
        EXPECT_EQ(address->version, c.version) << c.text;
        EXPECT_EQ(address->transport, c.transport) << c.text;
        EXPECT_EQ(address->port, 9800) << c.text;
        EXPECT_TRUE(TslAddress::looksLikeAddress(QString::fromLatin1(c.text))) << c.text;
    }
}

TEST(TslAddressTest, WithoutAHostEveryInterfaceListens)
{
    const std::optional<TslAddress> address = TslAddress::parse(QStringLiteral("tsl5://9000"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_FALSE(address->host.has_value());
}

TEST(TslAddressTest, TheHostIsKeptAsWrittenWithoutItsBrackets)
{
    std::optional<TslAddress> address = TslAddress::parse(QStringLiteral("tsl5+tcp://127.0.0.1:9000"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, QStringLiteral("127.0.0.1"));
    EXPECT_EQ(address->port, 9000);
    address = TslAddress::parse(QStringLiteral("tsl5://[::1]:9001"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, QStringLiteral("::1"));
    EXPECT_EQ(address->port, 9001);
    // An empty host is written, not left out: the listener refuses it.
    address = TslAddress::parse(QStringLiteral("tsl://:9002"), nullptr);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, QString());
}

TEST(TslAddressTest, OtherSchemesAreNotTslAddresses)
{
    EXPECT_FALSE(TslAddress::looksLikeAddress(QStringLiteral("mixdesk")));
    EXPECT_FALSE(TslAddress::looksLikeAddress(QStringLiteral("obs://studio")));
    EXPECT_FALSE(TslAddress::looksLikeAddress(QStringLiteral("TSL://9000")));
    QString problem;
    EXPECT_FALSE(TslAddress::parse(QStringLiteral("obs://studio"), &problem).has_value());
    EXPECT_EQ(problem,
        QStringLiteral("bad TSL source 'obs://studio': expected tsl://, tsl+tcp://, tsl5:// or tsl5+tcp:// and "
                       "[ADDRESS:]PORT"));
}

TEST(TslAddressTest, APortOutsideOneTo65535IsRefusedWithTheReason)
{
    for (const char* text : { "tsl5://0", "tsl5://65536", "tsl5://", "tsl://10.0.0.1:", "tsl://10.0.0.1:x" }) {
        QString problem;
        EXPECT_FALSE(TslAddress::parse(QString::fromLatin1(text), &problem).has_value()) << text;
        EXPECT_EQ(problem,
            QStringLiteral("bad TSL source '%1': the port must be a number from 1 to 65535").arg(QLatin1String(text)));
    }
    EXPECT_TRUE(TslAddress::parse(QStringLiteral("tsl5://65535"), nullptr).has_value());
    EXPECT_TRUE(TslAddress::parse(QStringLiteral("tsl5://1"), nullptr).has_value());
}

TEST(TslAddressTest, TheBadHostMessageNamesTheSourceAndTheHost)
{
    EXPECT_EQ(TslAddress::badHostProblem(QStringLiteral("tsl5://studio:9000"), QStringLiteral("studio")),
        QStringLiteral("bad TSL source 'tsl5://studio:9000': 'studio' is not an address of this computer's"));
}
