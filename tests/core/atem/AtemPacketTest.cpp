#include "atem/AtemPacket.h"

#include <gtest/gtest.h>

TEST(AtemPacketTest, AHeaderReadsFlagsLengthSessionAndIds)
{
    // Reliable, 16 bytes long, session 0x8001, acknowledging 5, asking for
    // 7 again, packet 9, then four payload bytes.
    const QByteArray datagram = QByteArray::fromHex("0810800100050007000000090102"
                                                    "0304");
    const std::optional<AtemPacket> packet = AtemPacket::decode(datagram);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->flags, AtemPacket::reliable);
    EXPECT_TRUE(packet->has(AtemPacket::reliable));
    EXPECT_FALSE(packet->has(AtemPacket::ack));
    EXPECT_EQ(packet->sessionId, 0x8001);
    EXPECT_EQ(packet->ackedId, 5);
    EXPECT_EQ(packet->resendId, 7);
    EXPECT_EQ(packet->packetId, 9);
    EXPECT_EQ(packet->payload, QByteArray::fromHex("01020304"));
}

TEST(AtemPacketTest, EncodingPutsTheFlagsAboveTheLength)
{
    AtemPacket hello;
    hello.flags = AtemPacket::hello;
    hello.sessionId = 0x1337;
    hello.payload = AtemPacket::helloPayload();
    EXPECT_EQ(hello.encode().toHex(),
        QByteArray("101413370000000000000000"
                   "0100000000000000"));
    AtemPacket ack;
    ack.flags = AtemPacket::ack;
    ack.sessionId = 0x8002;
    ack.ackedId = 0x0102;
    EXPECT_EQ(ack.encode().toHex(), QByteArray("800c80020102000000000000"));
}

TEST(AtemPacketTest, EveryFieldSurvivesARoundTrip)
{
    AtemPacket packet;
    packet.flags = AtemPacket::reliable | AtemPacket::retransmission | AtemPacket::resendRequest;
    packet.sessionId = 0xfedc;
    packet.ackedId = 0x7fff;
    packet.resendId = 0x1234;
    packet.packetId = 0x0042;
    packet.payload = QByteArray(100, 'x');
    const std::optional<AtemPacket> back = AtemPacket::decode(packet.encode());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->flags, packet.flags);
    EXPECT_EQ(back->sessionId, packet.sessionId);
    EXPECT_EQ(back->ackedId, packet.ackedId);
    EXPECT_EQ(back->resendId, packet.resendId);
    EXPECT_EQ(back->packetId, packet.packetId);
    EXPECT_EQ(back->payload, packet.payload);
}

TEST(AtemPacketTest, ADatagramWhoseLengthDisagreesIsNoPacket)
{
    const QByteArray whole = QByteArray::fromHex("0810800100000000000000010102"
                                                 "0304");
    ASSERT_TRUE(AtemPacket::decode(whole));
    EXPECT_FALSE(AtemPacket::decode(whole.left(15))) << "truncated";
    EXPECT_FALSE(AtemPacket::decode(whole + QByteArray(1, '\0'))) << "padded";
    EXPECT_FALSE(AtemPacket::decode(whole.left(11))) << "shorter than a header";
    EXPECT_FALSE(AtemPacket::decode(QByteArray()));
    EXPECT_FALSE(AtemPacket::decode(QByteArray(64 * 1024, '\x08'))) << "64 KB of garbage";
}

TEST(AtemPacketTest, IdsWrapAndCompareAcrossTheWrap)
{
    EXPECT_EQ(AtemPacket::nextId(1), 2);
    EXPECT_EQ(AtemPacket::nextId(0x7fff), 0);
    EXPECT_TRUE(AtemPacket::isAfter(2, 1));
    EXPECT_FALSE(AtemPacket::isAfter(1, 2));
    EXPECT_FALSE(AtemPacket::isAfter(5, 5));
    EXPECT_TRUE(AtemPacket::isAfter(0, 0x7fff));
    EXPECT_TRUE(AtemPacket::isAfter(10, 0x7ff0));
    EXPECT_FALSE(AtemPacket::isAfter(0x7ff0, 10));
}
