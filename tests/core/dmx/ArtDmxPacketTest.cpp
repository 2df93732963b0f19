#include "dmx/ArtDmxPacket.h"

#include <gtest/gtest.h>

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

TEST(ArtDmxPacketTest, HeaderAndLevelsByteByByte)
{
    const QByteArray packet = ArtDmxPacket::build(0x0203, 7, hex("ff00807f"));
    EXPECT_EQ(packet,
        hex("4172742d4e657400" // "Art-Net" and its NUL
            "0050" // OpDmx, low byte first
            "000e" // protocol version 14, high byte first
            "07" // sequence
            "00" // physical
            "03" // SubUni: the port-address's low byte
            "02" // Net: its top seven bits
            "0004" // length, high byte first
            "ff00807f"));
}

TEST(ArtDmxPacketTest, AFullUniverse)
{
    QByteArray levels(512, char(0));
    levels[0] = char(255);
    levels[511] = char(1);
    const QByteArray packet = ArtDmxPacket::build(0, 1, levels);
    ASSERT_EQ(packet.size(), 18 + 512);
    EXPECT_EQ(packet.mid(12, 6), hex("010000000200"));
    EXPECT_EQ(packet.mid(18), levels);
}

TEST(ArtDmxPacketTest, TheHighestPortAddressKeepsBit15Clear)
{
    const QByteArray packet = ArtDmxPacket::build(32767, 1, hex("0000"));
    EXPECT_EQ(packet.mid(14, 2), hex("ff7f"));
}

TEST(ArtDmxPacketTest, AnOddLengthGetsAZeroLevelAfterIt)
{
    const QByteArray packet = ArtDmxPacket::build(1, 1, hex("ffffff"));
    EXPECT_EQ(packet.mid(16), hex("0004ffffff00"));
    EXPECT_EQ(ArtDmxPacket::build(1, 1, QByteArray()).mid(16), hex("00020000"));
    EXPECT_EQ(ArtDmxPacket::build(1, 1, QByteArray(600, char(9))).size(), 18 + 512);
}

TEST(ArtDmxPacketTest, SequenceRunsFrom1To255AndSkips0)
{
    EXPECT_EQ(ArtDmxPacket::nextSequence(0), 1);
    EXPECT_EQ(ArtDmxPacket::nextSequence(1), 2);
    EXPECT_EQ(ArtDmxPacket::nextSequence(254), 255);
    EXPECT_EQ(ArtDmxPacket::nextSequence(255), 1);
}

} // namespace
