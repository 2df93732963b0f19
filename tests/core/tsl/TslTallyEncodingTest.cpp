#include "tsl/TslTallyEncoding.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

// A report from a running switcher with these lights.
TallySnapshot lights(std::initializer_list<LightState> states)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = QList<LightState>(states);
    return snapshot;
}

QList<QByteArray> texts31(const TallySnapshot& snapshot)
{
    QList<QByteArray> texts;
    for (const QByteArray& packet : TslTallyEncoding::packets(TslTallyEncoding::Version::v31, snapshot, 0)) {
        texts.append(packet.mid(2).trimmed());
    }
    return texts;
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
    EXPECT_EQ(
        TslTallyEncoding::lightText({ TallyMode::live, { QStringLiteral("Cam 1") } }, TslTallyEncoding::Mark::test),
        QStringLiteral("TEST Cam 1"));
    EXPECT_EQ(
        TslTallyEncoding::lightText({ TallyMode::off, {} }, TslTallyEncoding::Mark::test), QStringLiteral("TEST"));
    TallySnapshot test = lights({ { TallyMode::live, { QStringLiteral("Cam 1") } } });
    test.underTest = true;
    const QList<QByteArray> packets = TslTallyEncoding::packets(TslTallyEncoding::Version::v31, test, 0);
    ASSERT_EQ(packets.size(), 1);
    EXPECT_EQ(packets[0].mid(2, 10), QByteArray("TEST Cam 1"));
    EXPECT_EQ(quint8(packets[0][1]) & 0x03, 0x01);
}

TEST(TslTallyEncodingTest, WithTheSwitcherLostEveryDisplaySaysLostBeforeItsShotsAndKeepsTheBoxsColour)
{
    TallySnapshot lost = lights({ { TallyMode::live, { QStringLiteral("Cam 1") } }, { TallyMode::off, {} } });
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 1000;
    EXPECT_EQ(texts31(lost), QList<QByteArray>({ "LOST Cam 1", "LOST" }));
    // The colour is what the box shows under the lost-source choice (here
    // kept); the word says it is no longer the switcher's.
    EXPECT_EQ(quint8(TslTallyEncoding::packets(TslTallyEncoding::Version::v31, lost, 0)[0][1]) & 0x03, 0x01);
    const QList<QByteArray> packets50 = TslTallyEncoding::packets(TslTallyEncoding::Version::v50, lost, 0);
    // 5.0 text is UTF-16 little-endian, at the end of the display's data.
    EXPECT_TRUE(packets50[0].endsWith(QByteArray("L\0O\0S\0T\0 \0C\0a\0m\0 \0"
                                                 "1\0",
        20)));
}

TEST(TslTallyEncodingTest, OneOfSeveralSwitchersLostMarksOnlyTheLightsThatRestOnIt)
{
    TallySnapshot partly = lights({ { TallyMode::live, { QStringLiteral("ATEM: Cam 1") } },
        { TallyMode::preview, { QStringLiteral("vMix: Cam 1") } } });
    partly.lights[1].sourceLost = true;
    EXPECT_EQ(texts31(partly), QList<QByteArray>({ "ATEM: Cam 1", "LOST vMix: Cam 1" }));
}

TEST(TslTallyEncodingTest, ATestWinsOverALostSwitcherAndTheLightsTurnedOffAtQuitAreNotMarked)
{
    TallySnapshot test = lights({ { TallyMode::live, { QStringLiteral("Cam 1") } } });
    test.sourceRunning = false;
    test.underTest = true;
    EXPECT_EQ(texts31(test), QList<QByteArray>({ "TEST Cam 1" }));
    TallySnapshot quit = lights({ { TallyMode::off, { QStringLiteral("Cam 1") } } });
    quit.sourceRunning = false;
    quit.turnedOffAtQuit = true;
    EXPECT_EQ(texts31(quit), QList<QByteArray>({ "Cam 1" }));
}

TEST(TslTallyEncodingTest, BeforeTheSwitcherFirstAnswersTheDisplaysSayLost)
{
    // Nothing vouches for the lights yet: dark, and saying why.
    TallySnapshot starting;
    starting.lights = QList<LightState>(2);
    EXPECT_EQ(texts31(starting), QList<QByteArray>({ "LOST", "LOST" }));
}

TEST(TslTallyEncodingTest, ALightWithShotsTheSwitcherLacksSaysMissingAndNamesThem)
{
    TallySnapshot missing = lights({ { TallyMode::off, { QStringLiteral("Cam 9") }, { QStringLiteral("Cam 9") } },
        { TallyMode::live, { QStringLiteral("Cam 1"), QStringLiteral("Old"), QStringLiteral("Gone") },
            { QStringLiteral("Old"), QStringLiteral("Gone") } },
        { TallyMode::preview, { QStringLiteral("Cam 2") } } });
    EXPECT_EQ(texts31(missing), QList<QByteArray>({ "MISSING Cam 9", "MISSING Old + Go", "Cam 2" }));
    // The colour stays the switcher's word for the shots it has.
    const QList<QByteArray> packets = TslTallyEncoding::packets(TslTallyEncoding::Version::v31, missing, 0);
    EXPECT_EQ(quint8(packets[0][1]) & 0x03, 0x00);
    EXPECT_EQ(quint8(packets[1][1]) & 0x03, 0x01);
    EXPECT_EQ(TslTallyEncoding::markFor(missing, missing.lights[0]), TslTallyEncoding::Mark::missing);
    EXPECT_EQ(TslTallyEncoding::markFor(missing, missing.lights[2]), TslTallyEncoding::Mark::none);
}

TEST(TslTallyEncodingTest, ALostSwitcherOrATestWinsOverMissingShotsAndTheLightsOffAtQuitAreNotMarked)
{
    const LightState missingCam { TallyMode::off, { QStringLiteral("Cam 9") }, { QStringLiteral("Cam 9") } };
    TallySnapshot lost = lights({ missingCam });
    lost.sourceRunning = false;
    EXPECT_EQ(texts31(lost), QList<QByteArray>({ "LOST Cam 9" }));
    TallySnapshot test = lights({ missingCam });
    test.underTest = true;
    EXPECT_EQ(texts31(test), QList<QByteArray>({ "TEST Cam 9" }));
    TallySnapshot quit = lights({ missingCam });
    quit.turnedOffAtQuit = true;
    EXPECT_EQ(texts31(quit), QList<QByteArray>({ "Cam 9" }));
}
