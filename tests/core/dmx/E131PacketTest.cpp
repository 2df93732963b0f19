#include "dmx/E131Packet.h"

#include <gtest/gtest.h>

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

const QUuid cid(QStringLiteral("{01234567-89ab-cdef-0123-456789abcdef}"));

E131Packet::Source source()
{
    E131Packet::Source source;
    source.cid = cid;
    return source;
}

TEST(E131PacketTest, DataPacketByteByByte)
{
    const QByteArray packet = E131Packet::build(source(), 0x0102, 0x2a, false, hex("ff0080"));
    QByteArray expected = hex(
        // Root layer.
        "0010" // preamble size
        "0000" // post-amble size
        "4153432d45312e3137000000" // "ASC-E1.17" and three NULs
        "7071" // flags 0x7, length 129 - 16 = 113
        "00000004" // VECTOR_ROOT_E131_DATA
        "0123456789abcdef0123456789abcdef" // CID
        // Framing layer.
        "705b" // flags 0x7, length 129 - 38 = 91
        "00000002" // VECTOR_E131_DATA_PACKET
    );
    expected += QByteArray("Mixdesk Tally") + QByteArray(64 - 13, char(0));
    expected += hex("64" // priority 100
                    "0000" // synchronization address
                    "2a" // sequence
                    "00" // options
                    "0102" // universe
                    // DMP layer.
                    "700e" // flags 0x7, length 129 - 115 = 14
                    "02" // VECTOR_DMP_SET_PROPERTY
                    "a1" // address and data type
                    "0000" // first property address
                    "0001" // address increment
                    "0004" // property value count: start code and three levels
                    "00" // start code
                    "ff0080");
    ASSERT_EQ(packet.size(), 129);
    EXPECT_EQ(packet.toHex(), expected.toHex());
}

TEST(E131PacketTest, AFullUniverseHas638Bytes)
{
    const QByteArray levels(512, char(0x11));
    const QByteArray packet = E131Packet::build(source(), 1, 0, false, levels);
    ASSERT_EQ(packet.size(), 638);
    EXPECT_EQ(packet.mid(16, 2), hex("726e")); // 638 - 16 = 622
    EXPECT_EQ(packet.mid(38, 2), hex("7258")); // 638 - 38 = 600
    EXPECT_EQ(packet.mid(115, 2), hex("720b")); // 638 - 115 = 523
    EXPECT_EQ(packet.mid(123, 2), hex("0201")); // 513 property values
    EXPECT_EQ(packet.mid(126), levels);
}

TEST(E131PacketTest, StreamTerminatedSetsBit6OfTheOptions)
{
    const QByteArray packet = E131Packet::build(source(), 1, 200, true, QByteArray(512, char(0)));
    EXPECT_EQ(quint8(packet[111]), 200);
    EXPECT_EQ(quint8(packet[112]), 0x40);
    EXPECT_EQ(quint8(E131Packet::build(source(), 1, 200, false, {})[112]), 0x00);
}

TEST(E131PacketTest, PriorityAndNameAreTheSourcesOwn)
{
    E131Packet::Source other = source();
    other.priority = 150;
    other.name = QStringLiteral("Studio B");
    const QByteArray packet = E131Packet::build(other, 1, 0, false, {});
    EXPECT_EQ(packet.mid(44, 64), QByteArray("Studio B") + QByteArray(56, char(0)));
    EXPECT_EQ(quint8(packet[108]), 150);
}

TEST(E131PacketTest, ALongNameIsCutAtAWholeCharacterAndEndsInNul)
{
    E131Packet::Source other = source();
    // 62 ASCII letters and a two-byte character: 64 bytes, one too many.
    other.name = QString(62, QLatin1Char('a')) + QChar(0x00e9);
    const QByteArray field = E131Packet::build(other, 1, 0, false, {}).mid(44, 64);
    EXPECT_EQ(field, QByteArray(62, 'a') + QByteArray(2, char(0)));
}

} // namespace
