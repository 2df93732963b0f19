// The DMX sender over the loopback network: a change at once, repeats while
// nothing changes, the modes exactly as the snapshot gives them, and the
// sACN streams ended when the sender goes.

#include "outputs/DmxSender.h"

#include "support/Eventually.h"
#include "support/UdpReceiver.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QUdpSocket>

#include <gtest/gtest.h>

namespace {

TallySnapshot snapshotOf(const QList<TallyMode>& modes, bool sourceRunning = true)
{
    TallySnapshot built;
    built.sourceRunning = sourceRunning;
    for (const TallyMode mode : modes) {
        built.lights.append({ mode, { QStringLiteral("Cam") } });
    }
    while (built.lights.size() < 8) {
        built.lights.append({ TallyMode::off, {} });
    }
    return built;
}

DmxLayout rgbFrom(int start)
{
    return *DmxLayout::make(DmxLayout::Kind::rgb, start, 8, nullptr);
}

DmxAddress local(DmxAddress::Protocol protocol, quint16 port, int universe)
{
    DmxAddress address;
    address.protocol = protocol;
    address.host = QStringLiteral("127.0.0.1");
    address.port = port;
    address.universe = universe;
    return address;
}

E131Packet::Source testSource()
{
    E131Packet::Source source;
    source.cid = QUuid(QStringLiteral("{11111111-2222-3333-4444-555555555555}"));
    return source;
}

using Receiver = UdpReceiver;

// The levels an ArtDmx datagram carries.
QByteArray artNetLevels(const QByteArray& datagram)
{
    return datagram.mid(18);
}

QByteArray sacnLevels(const QByteArray& datagram)
{
    return datagram.mid(126);
}

} // namespace

TEST(DmxSenderTest, AChangeGoesOutAtOnceAsArtDmxWithTheLayoutsLevels)
{
    Receiver receiver;
    DmxSender sender(
        { local(DmxAddress::Protocol::artNet, receiver.port(), 3) }, rgbFrom(4), testSource(), std::chrono::hours(1));
    QElapsedTimer clock;
    clock.start();
    sender.publish(snapshotOf({ TallyMode::live, TallyMode::preview }));
    const QList<QByteArray> datagrams = receiver.waitFor(1);
    ASSERT_EQ(datagrams.size(), 1);
    EXPECT_LT(clock.elapsed(), 1000);
    const QByteArray& packet = datagrams[0];
    ASSERT_EQ(packet.size(), 18 + 512);
    EXPECT_EQ(packet.left(8), QByteArray("Art-Net\0", 8));
    EXPECT_EQ(quint8(packet[12]), 1); // the first sequence
    EXPECT_EQ(quint8(packet[14]), 3); // universe
    QByteArray expected(512, char(0));
    expected[3] = char(255); // light 1 red from channel 4
    expected[7] = char(255); // light 2 green
    EXPECT_EQ(artNetLevels(packet), expected);
}

TEST(DmxSenderTest, TheSameLevelsAreRepeatedWhileNothingChangesWithTheSequenceGoingOn)
{
    Receiver receiver;
    DmxSender sender({ local(DmxAddress::Protocol::artNet, receiver.port(), 0) }, rgbFrom(1), testSource(),
        std::chrono::milliseconds(50));
    sender.publish(snapshotOf({ TallyMode::live }));
    sender.publish(snapshotOf({ TallyMode::live }));
    const QList<QByteArray> datagrams = receiver.waitFor(4);
    ASSERT_GE(datagrams.size(), 4);
    for (qsizetype index = 0; index < datagrams.size(); ++index) {
        EXPECT_EQ(quint8(datagrams[index][12]), index + 1);
        EXPECT_EQ(artNetLevels(datagrams[index]), artNetLevels(datagrams[0]));
    }
}

TEST(DmxSenderTest, AnUnchangedSnapshotSendsNothingBeforeTheRepeat)
{
    Receiver receiver;
    DmxSender sender(
        { local(DmxAddress::Protocol::artNet, receiver.port(), 0) }, rgbFrom(1), testSource(), std::chrono::hours(1));
    sender.publish(snapshotOf({ TallyMode::live }));
    ASSERT_EQ(receiver.waitFor(1).size(), 1);
    // Only the shot names differ: the levels are the same.
    TallySnapshot renamed = snapshotOf({ TallyMode::live });
    renamed.lights[0].shotNames = { QStringLiteral("Other") };
    sender.publish(renamed);
    EXPECT_TRUE(receiver.waitFor(1, 300).isEmpty());
    sender.publish(snapshotOf({ TallyMode::preview }));
    const QList<QByteArray> after = receiver.waitFor(1);
    ASSERT_EQ(after.size(), 1);
    EXPECT_EQ(quint8(after[0][12]), 2);
    EXPECT_EQ(artNetLevels(after[0]).left(3), QByteArray("\x00\xff\x00", 3));
}

TEST(DmxSenderTest, NothingIsSentBeforeTheFirstSnapshot)
{
    Receiver receiver;
    {
        DmxSender sender({ local(DmxAddress::Protocol::sacn, receiver.port(), 1) }, rgbFrom(1), testSource(),
            std::chrono::milliseconds(20));
        EXPECT_TRUE(receiver.waitFor(1, 300).isEmpty());
    }
    EXPECT_TRUE(receiver.waitFor(1, 200).isEmpty());
}

TEST(DmxSenderTest, TheModesAreTheSnapshotsWhateverTheSourceSays)
{
    Receiver receiver;
    DmxSender sender({ local(DmxAddress::Protocol::artNet, receiver.port(), 0) },
        *DmxLayout::make(DmxLayout::Kind::single, 1, 8, nullptr), testSource(), std::chrono::hours(1));
    // The source is lost and the lost-source choice kept the lights.
    sender.publish(snapshotOf({ TallyMode::live, TallyMode::preview }, false));
    QList<QByteArray> datagrams = receiver.waitFor(1);
    ASSERT_EQ(datagrams.size(), 1);
    EXPECT_EQ(artNetLevels(datagrams[0]).left(3), QByteArray("\xff\x80\x00", 3));
    // Under test the box shows the test panel's modes, and so do the levels.
    TallySnapshot test = snapshotOf({ TallyMode::off, TallyMode::live, TallyMode::live });
    test.underTest = true;
    sender.publish(test);
    datagrams = receiver.waitFor(1);
    ASSERT_EQ(datagrams.size(), 1);
    EXPECT_EQ(artNetLevels(datagrams[0]).left(3), QByteArray("\x00\xff\xff", 3));
    // Turned off at quit.
    TallySnapshot off = snapshotOf({}, false);
    off.turnedOffAtQuit = true;
    sender.publish(off);
    datagrams = receiver.waitFor(1);
    ASSERT_EQ(datagrams.size(), 1);
    EXPECT_EQ(artNetLevels(datagrams[0]), QByteArray(512, char(0)));
}

// A fixture's level has no word for "this light rests on a lost switcher":
// with one of several switchers lost, the levels stay what the box shows,
// the lost one's lights as the lost-source choice made them.
TEST(DmxSenderTest, OneOfSeveralSwitchersLostLeavesTheLevelsWhatTheBoxShows)
{
    Receiver receiver;
    DmxSender sender({ local(DmxAddress::Protocol::artNet, receiver.port(), 0) },
        *DmxLayout::make(DmxLayout::Kind::single, 1, 8, nullptr), testSource(), std::chrono::hours(1));
    TallySnapshot partly = snapshotOf({ TallyMode::live, TallyMode::preview, TallyMode::off });
    partly.lights[1].sourceLost = true;
    partly.lights[2].sourceLost = true;
    sender.publish(partly);
    QList<QByteArray> datagrams = receiver.waitFor(1);
    ASSERT_EQ(datagrams.size(), 1);
    EXPECT_EQ(artNetLevels(datagrams[0]).left(3), QByteArray("\xff\x80\x00", 3));
    // The lost switcher's lights turned off by the choice: so are the levels.
    partly.lights[1].mode = TallyMode::off;
    sender.publish(partly);
    datagrams = receiver.waitFor(1);
    ASSERT_EQ(datagrams.size(), 1);
    EXPECT_EQ(artNetLevels(datagrams[0]).left(3), QByteArray("\xff\x00\x00", 3));
}

TEST(DmxSenderTest, SacnCarriesTheSourceAndEndsItsStreamThreeTimesWhenTheSenderGoes)
{
    Receiver receiver;
    {
        DmxSender sender(
            { local(DmxAddress::Protocol::sacn, receiver.port(), 7) }, rgbFrom(1), testSource(), std::chrono::hours(1));
        sender.publish(snapshotOf({ TallyMode::preview }));
        const QList<QByteArray> first = receiver.waitFor(1);
        ASSERT_EQ(first.size(), 1);
        const QByteArray& packet = first[0];
        ASSERT_EQ(packet.size(), 638);
        EXPECT_EQ(packet.mid(22, 16), testSource().cid.toRfc4122());
        EXPECT_EQ(packet.mid(44, 13), QByteArray("Mixdesk Tally"));
        EXPECT_EQ(quint8(packet[108]), 100);
        EXPECT_EQ(quint8(packet[111]), 0); // sequence
        EXPECT_EQ(quint8(packet[112]), 0); // options
        EXPECT_EQ(packet.mid(113, 2), QByteArray("\x00\x07", 2));
        EXPECT_EQ(sacnLevels(packet).left(3), QByteArray("\x00\xff\x00", 3));
    }
    const QList<QByteArray> last = receiver.waitFor(3);
    ASSERT_EQ(last.size(), 3);
    for (qsizetype index = 0; index < last.size(); ++index) {
        EXPECT_EQ(quint8(last[index][111]), index + 1);
        EXPECT_EQ(quint8(last[index][112]), 0x40);
        EXPECT_EQ(sacnLevels(last[index]).left(3), QByteArray("\x00\xff\x00", 3));
    }
}

TEST(DmxSenderTest, ArtNetSendsNothingMoreWhenTheSenderGoes)
{
    Receiver receiver;
    {
        DmxSender sender({ local(DmxAddress::Protocol::artNet, receiver.port(), 0) }, rgbFrom(1), testSource(),
            std::chrono::hours(1));
        sender.publish(snapshotOf({ TallyMode::live }));
        ASSERT_EQ(receiver.waitFor(1).size(), 1);
    }
    EXPECT_TRUE(receiver.waitFor(1, 300).isEmpty());
}

TEST(DmxSenderTest, EachDestinationGetsItsOwnUniverseAndSequence)
{
    Receiver art;
    Receiver sacn;
    DmxSender sender(
        { local(DmxAddress::Protocol::artNet, art.port(), 5), local(DmxAddress::Protocol::sacn, sacn.port(), 9) },
        rgbFrom(1), testSource(), std::chrono::hours(1));
    sender.publish(snapshotOf({ TallyMode::live }));
    const QList<QByteArray> toArt = art.waitFor(1);
    const QList<QByteArray> toSacn = sacn.waitFor(1);
    ASSERT_EQ(toArt.size(), 1);
    ASSERT_EQ(toSacn.size(), 1);
    EXPECT_EQ(quint8(toArt[0][14]), 5);
    EXPECT_EQ(toSacn[0].mid(113, 2), QByteArray("\x00\x09", 2));
    EXPECT_EQ(artNetLevels(toArt[0]), sacnLevels(toSacn[0]));
}
