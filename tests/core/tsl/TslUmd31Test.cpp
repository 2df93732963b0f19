#include "tsl/TslUmd31.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

TslUmd31::Message message(int address, std::array<bool, 4> tallies, const char* text)
{
    TslUmd31::Message built;
    built.address = address;
    built.tallies = tallies;
    built.text = QString::fromLatin1(text);
    return built;
}

} // namespace

// Address byte 0x80 + address, control byte with tally 1 in bit 0 and full
// brightness (3) in bits 4-5, then sixteen space-padded characters.
TEST(TslUmd31Test, AProgramMessageIsEighteenBytesWithTallyOneAndFullBrightness)
{
    const QByteArray bytes = TslUmd31::encode(message(1, { true, false, false, false }, "CAM 1"));
    EXPECT_EQ(bytes.toHex(' '), hex("81 31 43 41 4d 20 31 20 20 20 20 20 20 20 20 20 20 20").toHex(' '));
}

TEST(TslUmd31Test, APreviewMessageSetsTallyTwo)
{
    const QByteArray bytes = TslUmd31::encode(message(8, { false, true, false, false }, "Wide"));
    EXPECT_EQ(bytes.left(2).toHex(' '), hex("88 32").toHex(' '));
    EXPECT_EQ(bytes.mid(2), QByteArray("Wide            "));
}

TEST(TslUmd31Test, AllFourTalliesAndEachBrightnessHaveTheirBits)
{
    TslUmd31::Message all = message(126, { true, true, true, true }, "");
    all.brightness = 0;
    EXPECT_EQ(TslUmd31::encode(all).left(2).toHex(' '), hex("fe 0f").toHex(' '));
    all.brightness = 2;
    EXPECT_EQ(TslUmd31::encode(all).left(2).toHex(' '), hex("fe 2f").toHex(' '));
}

TEST(TslUmd31Test, LongTextIsCutToSixteenCharactersAndNonAsciiBecomesAQuestionMark)
{
    const QByteArray bytes = TslUmd31::encode(message(0, {}, ""));
    EXPECT_EQ(bytes.size(), TslUmd31::messageSize);
    EXPECT_EQ(TslUmd31::displayText(QStringLiteral("Caméra 1, Caméra 2, Wide")), QByteArray("Cam?ra 1, Cam?ra"));
}

TEST(TslUmd31Test, AnAddressBeyondTheRangeIsClampedNotWrapped)
{
    EXPECT_EQ(static_cast<quint8>(TslUmd31::encode(message(300, {}, "")).at(0)), 0x80 + 126);
}

TEST(TslUmd31Test, DecodingGivesBackWhatWasEncodedWithoutThePadding)
{
    const TslUmd31::Message sent = message(5, { true, false, true, false }, "Stage left");
    const std::optional<TslUmd31::Message> decoded = TslUmd31::decode(TslUmd31::encode(sent));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, sent);
}

TEST(TslUmd31Test, NulPaddingIsNotPartOfTheName)
{
    QByteArray bytes = hex("82 01");
    bytes.append("Jib");
    bytes.append(QByteArray(13, '\0'));
    const std::optional<TslUmd31::Message> decoded = TslUmd31::decode(bytes);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->text, QStringLiteral("Jib"));
    EXPECT_EQ(decoded->address, 2);
    EXPECT_TRUE(decoded->tallies[0]);
}

TEST(TslUmd31Test, AMessageOfTheWrongLengthIsRejected)
{
    const QByteArray bytes = TslUmd31::encode(message(1, {}, "CAM"));
    EXPECT_FALSE(TslUmd31::decode(bytes.left(17)).has_value());
    EXPECT_FALSE(TslUmd31::decode(bytes + ' ').has_value());
    EXPECT_FALSE(TslUmd31::decode({}).has_value());
}

TEST(TslUmd31Test, AMessageWithoutAnAddressByteIsRejected)
{
    QByteArray bytes = TslUmd31::encode(message(1, {}, "CAM"));
    bytes[0] = 0x01;
    EXPECT_FALSE(TslUmd31::decode(bytes).has_value());
    bytes[0] = static_cast<char>(0xFF); // address 127 is no display
    EXPECT_FALSE(TslUmd31::decode(bytes).has_value());
}

TEST(TslUmd31Test, ControlDataAndNonAsciiTextAreRejected)
{
    QByteArray bytes = TslUmd31::encode(message(1, {}, "CAM"));
    bytes[1] = static_cast<char>(0x81);
    EXPECT_FALSE(TslUmd31::decode(bytes).has_value());
    bytes = TslUmd31::encode(message(1, {}, "CAM"));
    bytes[5] = static_cast<char>(0xE9);
    EXPECT_FALSE(TslUmd31::decode(bytes).has_value());
}

TEST(TslUmd31Test, ADatagramMayCarrySeveralMessagesButOnlyWholeOnes)
{
    const QByteArray two
        = TslUmd31::encode(message(1, { true, false, false, false }, "A")) + TslUmd31::encode(message(2, {}, "B"));
    const std::optional<QList<TslUmd31::Message>> decoded = TslUmd31::decodeDatagram(two);
    ASSERT_TRUE(decoded.has_value());
    ASSERT_EQ(decoded->size(), 2);
    EXPECT_EQ(decoded->at(1).address, 2);
    EXPECT_FALSE(TslUmd31::decodeDatagram(two.left(30)).has_value());
    EXPECT_FALSE(TslUmd31::decodeDatagram({}).has_value());
}

TEST(TslUmd31Test, AStreamFindsItsWayBackAfterNoiseAndKeepsAnUnfinishedMessage)
{
    const QByteArray first = TslUmd31::encode(message(1, { true, false, false, false }, "A"));
    const QByteArray second = TslUmd31::encode(message(2, { false, true, false, false }, "B"));
    QByteArray buffer = QByteArray("noise") + first + first.left(7) + second + second.left(4);
    const QList<TslUmd31::Message> messages = TslUmd31::takeFromStream(buffer);
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].address, 1);
    EXPECT_EQ(messages[1].address, 2);
    EXPECT_EQ(buffer, second.left(4));
}
