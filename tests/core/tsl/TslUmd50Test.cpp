#include "tsl/TslUmd50.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

TslUmd50::Display display(int index, TslUmd50::Colour colour, const QString& text)
{
    TslUmd50::Display built;
    built.index = index;
    built.rightTally = colour;
    built.textTally = colour;
    built.leftTally = colour;
    built.text = text;
    return built;
}

TslUmd50::Packet packet(bool unicode, QList<TslUmd50::Display> displays)
{
    TslUmd50::Packet built;
    built.unicode = unicode;
    built.displays = std::move(displays);
    return built;
}

} // namespace

// PBC (bytes after itself), VER 0, FLAGS 0 (ASCII), SCREEN 0, then INDEX 1,
// CONTROL 0x00C1 (right tally red, brightness 3), LENGTH 10, "Test Tally".
TEST(TslUmd50Test, AnAsciiPacketWithOneRedRightTallyIsByteExact)
{
    TslUmd50::Display right;
    right.index = 1;
    right.rightTally = TslUmd50::Colour::red;
    right.text = QStringLiteral("Test Tally");
    const QByteArray bytes = TslUmd50::encode(packet(false, { right }));
    EXPECT_EQ(bytes.toHex(' '), hex("14 00 00 00 00 00 01 00 c1 00 0a 00 54 65 73 74 20 54 61 6c 6c 79").toHex(' '));
}

// Red on right, text and left tallies: 1 | 1<<2 | 1<<4 | 3<<6 = 0xD5; the
// text in UTF-16LE, two bytes a character, FLAGS bit 0 set.
TEST(TslUmd50Test, AUnicodeProgramPacketIsByteExact)
{
    const QByteArray bytes
        = TslUmd50::encode(packet(true, { display(3, TslUmd50::Colour::red, QStringLiteral("Cam")) }));
    EXPECT_EQ(bytes.toHex(' '), hex("10 00 00 01 00 00 03 00 d5 00 06 00 43 00 61 00 6d 00").toHex(' '));
}

TEST(TslUmd50Test, GreenOnAllThreeTalliesIsControlWordEa)
{
    EXPECT_EQ(TslUmd50::controlWord(display(1, TslUmd50::Colour::green, {})), 0x00EA);
    EXPECT_EQ(TslUmd50::controlWord(display(1, TslUmd50::Colour::off, {})), 0x00C0);
    EXPECT_EQ(TslUmd50::controlWord(display(1, TslUmd50::Colour::amber, {})), 0x00FF);
}

TEST(TslUmd50Test, TextBeyondTheBasicPlaneTravelsAsUtf16SurrogatePairs)
{
    const QString name = QStringLiteral("Kamera \u00e9\U0001F3A5");
    const QByteArray bytes = TslUmd50::encode(packet(true, { display(1, TslUmd50::Colour::off, name) }));
    EXPECT_EQ(bytes.mid(12).toHex(' '), hex("4b 00 61 00 6d 00 65 00 72 00 61 00 20 00 e9 00 3c d8 a5 df").toHex(' '));
    const std::optional<TslUmd50::Packet> decoded = TslUmd50::decode(bytes);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->displays.at(0).text, name);
}

TEST(TslUmd50Test, SeveralDisplaysInOnePacketComeBackInOrder)
{
    const TslUmd50::Packet sent = packet(true,
        { display(1, TslUmd50::Colour::red, QStringLiteral("One")),
            display(2, TslUmd50::Colour::green, QStringLiteral("Two")),
            display(300, TslUmd50::Colour::off, QString()) });
    const std::optional<TslUmd50::Packet> decoded = TslUmd50::decode(TslUmd50::encode(sent));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, sent);
}

TEST(TslUmd50Test, APacketIsNeverLongerThan2048Bytes)
{
    const QByteArray bytes
        = TslUmd50::encode(packet(true, { display(1, TslUmd50::Colour::red, QString(3000, QLatin1Char('x'))) }));
    EXPECT_EQ(bytes.size(), TslUmd50::maxPacketSize);
    EXPECT_TRUE(TslUmd50::decode(bytes).has_value());
}

TEST(TslUmd50Test, APacketShorterThanItsHeaderIsRejected)
{
    EXPECT_FALSE(TslUmd50::decode(hex("04 00 00 00 00")).has_value());
    EXPECT_FALSE(TslUmd50::decode({}).has_value());
}

TEST(TslUmd50Test, AByteCountThatIsNotTheRestOfThePacketIsRejected)
{
    QByteArray bytes = TslUmd50::encode(packet(false, { display(1, TslUmd50::Colour::red, QStringLiteral("A")) }));
    EXPECT_FALSE(TslUmd50::decode(bytes.left(bytes.size() - 1)).has_value());
    EXPECT_FALSE(TslUmd50::decode(bytes + 'x').has_value());
}

TEST(TslUmd50Test, AMessageWhoseTextRunsPastTheEndIsRejected)
{
    // LENGTH says 9 bytes of text, 3 are there; PBC agrees with the bytes.
    EXPECT_FALSE(TslUmd50::decode(hex("0d 00 00 00 00 00 01 00 c1 00 09 00 41 42 43")).has_value());
    // A message header cut short.
    EXPECT_FALSE(TslUmd50::decode(hex("07 00 00 00 00 00 01 00 c1")).has_value());
}

TEST(TslUmd50Test, OddLengthUnicodeTextIsRejected)
{
    EXPECT_FALSE(TslUmd50::decode(hex("0b 00 00 01 00 00 01 00 c1 00 01 00 41")).has_value());
}

TEST(TslUmd50Test, ScreenControlPacketsCarryNoDisplays)
{
    const std::optional<TslUmd50::Packet> decoded = TslUmd50::decode(hex("08 00 00 02 05 00 00 00 00 00"));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->screenControl);
    EXPECT_EQ(decoded->screen, 5);
    EXPECT_TRUE(decoded->displays.isEmpty());
}

TEST(TslUmd50Test, DisplayControlDataHasNoTextButKeepsItsPlace)
{
    const std::optional<TslUmd50::Packet> decoded
        = TslUmd50::decode(hex("12 00 00 00 00 00 01 00 00 80 02 00 aa bb 02 00 c2 00 00 00"));
    ASSERT_TRUE(decoded.has_value());
    ASSERT_EQ(decoded->displays.size(), 2);
    EXPECT_TRUE(decoded->displays[0].controlData);
    EXPECT_TRUE(decoded->displays[0].text.isEmpty());
    EXPECT_EQ(decoded->displays[1].rightTally, TslUmd50::Colour::green);
}

// Framed for a stream: DLE STX first, every DLE (0xFE) in the packet
// doubled, the byte count still that of the unstuffed packet.
TEST(TslUmd50Test, FramingDoublesEveryDleAndLeavesTheByteCountAlone)
{
    const QByteArray bytes = TslUmd50::encode(packet(false, { display(0xFE, TslUmd50::Colour::off, QString()) }));
    EXPECT_EQ(bytes.toHex(' '), hex("0a 00 00 00 00 00 fe 00 c0 00 00 00").toHex(' '));
    EXPECT_EQ(TslUmd50::frame(bytes).toHex(' '), hex("fe 02 0a 00 00 00 00 00 fe fe 00 c0 00 00 00").toHex(' '));
    EXPECT_EQ(TslUmd50::unframe(TslUmd50::frame(bytes)), bytes);
}

TEST(TslUmd50Test, BadStuffingIsRejected)
{
    EXPECT_FALSE(TslUmd50::unframe(hex("fe 02 0a 00 fe 00")).has_value());
    EXPECT_FALSE(TslUmd50::unframe(hex("fe 02 0a 00 fe")).has_value());
    EXPECT_FALSE(TslUmd50::unframe(hex("0a 00 00 00")).has_value());
    EXPECT_FALSE(TslUmd50::unframe(hex("fe")).has_value());
}
