#include "tsl/TslUmd50StreamReader.h"

#include "support/QtPrinters.h"
#include "tsl/TslUmd50.h"

#include <gtest/gtest.h>

namespace {

QByteArray packetFor(int index, const QString& text)
{
    TslUmd50::Packet packet;
    TslUmd50::Display display;
    display.index = index;
    display.rightTally = TslUmd50::Colour::red;
    display.text = text;
    packet.displays.append(display);
    return TslUmd50::encode(packet);
}

} // namespace

TEST(TslUmd50StreamReaderTest, PacketsSplitAnywhereComeOutWholeAndInOrder)
{
    const QByteArray first = packetFor(1, QStringLiteral("One"));
    const QByteArray second = packetFor(0xFE, QStringLiteral("\u00fe\u00fe"));
    const QByteArray stream = TslUmd50::frame(first) + TslUmd50::frame(second);
    for (qsizetype cut = 0; cut <= stream.size(); ++cut) {
        TslUmd50StreamReader reader;
        QList<QByteArray> packets = reader.feed(stream.left(cut));
        packets += reader.feed(stream.mid(cut));
        ASSERT_EQ(packets, (QList<QByteArray> { first, second })) << "cut at " << cut;
        EXPECT_EQ(reader.rejectedCount(), 0);
    }
}

TEST(TslUmd50StreamReaderTest, APacketIsHandedOnAsSoonAsItsLastByteArrives)
{
    TslUmd50StreamReader reader;
    const QByteArray packet = packetFor(1, QStringLiteral("Cam"));
    EXPECT_EQ(reader.feed(TslUmd50::frame(packet)), QList<QByteArray> { packet });
}

TEST(TslUmd50StreamReaderTest, ADleBeforeAnythingButDleOrStxDropsThePacketAndTheNextOneStillComes)
{
    TslUmd50StreamReader reader;
    const QByteArray good = packetFor(2, QStringLiteral("Two"));
    QByteArray broken = TslUmd50::frame(packetFor(1, QStringLiteral("One")));
    broken.insert(6, QByteArray::fromHex("fe 41"));
    EXPECT_EQ(reader.feed(broken + TslUmd50::frame(good)), QList<QByteArray> { good });
    EXPECT_EQ(reader.rejectedCount(), 1);
}

TEST(TslUmd50StreamReaderTest, ANewStartBeforeAPacketIsWholeDropsTheCutShortOne)
{
    TslUmd50StreamReader reader;
    const QByteArray good = packetFor(2, QStringLiteral("Two"));
    const QByteArray cutShort = TslUmd50::frame(packetFor(1, QStringLiteral("One"))).left(9);
    EXPECT_EQ(reader.feed(cutShort + TslUmd50::frame(good)), QList<QByteArray> { good });
    EXPECT_EQ(reader.rejectedCount(), 1);
}

TEST(TslUmd50StreamReaderTest, AByteCountBeyondTheLargestPacketIsRefusedAtOnce)
{
    TslUmd50StreamReader reader;
    EXPECT_TRUE(reader.feed(QByteArray::fromHex("fe 02 ff 7f") + QByteArray(4096, 'x')).isEmpty());
    EXPECT_EQ(reader.rejectedCount(), 1);
    const QByteArray good = packetFor(3, QStringLiteral("Three"));
    EXPECT_EQ(reader.feed(TslUmd50::frame(good)), QList<QByteArray> { good });
}

TEST(TslUmd50StreamReaderTest, BytesBeforeTheFirstStartAreIgnored)
{
    TslUmd50StreamReader reader;
    const QByteArray good = packetFor(4, QStringLiteral("Four"));
    EXPECT_EQ(reader.feed(QByteArray("garbage\x02") + TslUmd50::frame(good)), QList<QByteArray> { good });
    EXPECT_EQ(reader.rejectedCount(), 0);
}
