#include "tsl/TslTallyEncoding.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QList<LightState> lights(std::initializer_list<LightState> states)
{
    return QList<LightState>(states);
}

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

} // namespace

TEST(TslTallyEncodingTest, ALiveLightIsTallyOneOnItsDisplayIn31)
{
    const QList<QByteArray> packets = TslTallyEncoding::packets(
        TslTallyEncoding::Version::v31, lights({ { TallyMode::live, { QStringLiteral("Cam 1") } } }), 0);
    ASSERT_EQ(packets.size(), 1);
    EXPECT_EQ(packets[0].toHex(' '), hex("81 31 43 61 6d 20 31 20 20 20 20 20 20 20 20 20 20 20").toHex(' '));
}

TEST(TslTallyEncodingTest, APreviewLightIsTallyTwoAndAnOffLightHasNoTally)
{
    const QList<QByteArray> packets = TslTallyEncoding::packets(
        TslTallyEncoding::Version::v31, lights({ { TallyMode::preview, {} }, { TallyMode::off, {} } }), 0);
    ASSERT_EQ(packets.size(), 2);
    EXPECT_EQ(packets[0].left(2).toHex(' '), hex("81 32").toHex(' '));
    EXPECT_EQ(packets[1].left(2).toHex(' '), hex("82 30").toHex(' '));
}

TEST(TslTallyEncodingTest, InFiveALiveLightIsRedOnAllThreeTalliesWithUnicodeText)
{
    const QList<QByteArray> packets = TslTallyEncoding::packets(TslTallyEncoding::Version::v50,
        lights({ { TallyMode::off, {} }, { TallyMode::live, { QStringLiteral("Jib") } } }), 0);
    ASSERT_EQ(packets.size(), 2);
    EXPECT_EQ(packets[1].toHex(' '), hex("10 00 00 01 00 00 02 00 d5 00 06 00 4a 00 69 00 62 00").toHex(' '));
}

TEST(TslTallyEncodingTest, InFiveAPreviewLightIsGreenAndAnOffLightDark)
{
    const QList<QByteArray> packets = TslTallyEncoding::packets(
        TslTallyEncoding::Version::v50, lights({ { TallyMode::preview, {} }, { TallyMode::off, {} } }), 0);
    EXPECT_EQ(packets[0].toHex(' '), hex("0a 00 00 01 00 00 01 00 ea 00 00 00").toHex(' '));
    EXPECT_EQ(packets[1].toHex(' '), hex("0a 00 00 01 00 00 02 00 c0 00 00 00").toHex(' '));
}

TEST(TslTallyEncodingTest, TheOffsetMovesEveryLightsDisplayIndex)
{
    const QList<QByteArray> packets31 = TslTallyEncoding::packets(
        TslTallyEncoding::Version::v31, lights({ { TallyMode::off, {} }, { TallyMode::off, {} } }), 10);
    EXPECT_EQ(static_cast<quint8>(packets31[0][0]), 0x80 + 11);
    EXPECT_EQ(static_cast<quint8>(packets31[1][0]), 0x80 + 12);
    const QList<QByteArray> packets50
        = TslTallyEncoding::packets(TslTallyEncoding::Version::v50, lights({ { TallyMode::off, {} } }), 1000);
    EXPECT_EQ(packets50[0].mid(6, 2).toHex(' '), hex("e9 03").toHex(' '));
}

TEST(TslTallyEncodingTest, ALightsTextIsItsShotNamesJoined)
{
    EXPECT_EQ(TslTallyEncoding::lightText({ TallyMode::live, { QStringLiteral("Cam 1"), QStringLiteral("Wide") } }),
        QStringLiteral("Cam 1 + Wide"));
    EXPECT_EQ(TslTallyEncoding::lightText({ TallyMode::off, {} }), QString());
}

TEST(TslTallyEncodingTest, TheLargestOffsetKeepsTheLastLightInRange)
{
    EXPECT_EQ(TslTallyEncoding::maxOffset(TslTallyEncoding::Version::v31, 8), 118);
    EXPECT_EQ(TslTallyEncoding::maxOffset(TslTallyEncoding::Version::v50, 8), 65526);
}

TEST(TslTallyEncodingTest, UnderTestADisplaySaysTestBeforeItsShots)
{
    EXPECT_EQ(TslTallyEncoding::lightText({ TallyMode::live, { QStringLiteral("Cam 1") } }, true),
        QStringLiteral("TEST Cam 1"));
    EXPECT_EQ(TslTallyEncoding::lightText({ TallyMode::off, {} }, true), QStringLiteral("TEST"));
    const QList<QByteArray> packets = TslTallyEncoding::packets(
        TslTallyEncoding::Version::v31, lights({ { TallyMode::live, { QStringLiteral("Cam 1") } } }), 0, true);
    ASSERT_EQ(packets.size(), 1);
    EXPECT_EQ(packets[0].mid(2, 10), QByteArray("TEST Cam 1"));
    EXPECT_EQ(quint8(packets[0][1]) & 0x03, 0x01);
}
