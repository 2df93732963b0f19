// tallyctl watch following the ATEM stand-in, as real processes: a cut and
// a rename, packets lost and out of order, a stand-in restart (the lights
// freeze, then follow the new picture), and one connection driving the tally
// box, the web page and TSL at once.

#include "WatchProcessFixture.h"
#include "WebLightModes.h"
#include "atem/AtemCommand.h"
#include "atem/AtemPacket.h"
#include "support/AtemStandinProcess.h"
#include "support/FreePort.h"
#include "tsl/TslUmd50.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QThread>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#ifdef Q_OS_LINUX
#include <linux/if_ether.h>
#include <netpacket/packet.h>
#endif

namespace {

class AtemWatchProcessTest : public SwitcherWatchFixture {
protected:
    void SetUp() override
    {
        SwitcherWatchFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        ASSERT_TRUE(atem.start());
    }

    QString sourceAddress() const override { return atem.address(); }

    AtemStandinProcess atem;
};

// A device on the network that sends in the switcher's name, as an
// attacker on the studio network would: it watches the loopback interface
// for the stand-in's packets to learn the session and the last packet id,
// and sends its own UDP datagrams with the stand-in's port as their source.
// Both need raw sockets, so only root can play it.
class Impostor {
public:
    struct Overheard {
        quint16 sessionId = 0;
        quint16 packetId = 0;
        quint16 clientPort = 0;
    };

    ~Impostor()
    {
        for (const int socket : { m_watch, m_send }) {
            if (socket >= 0) {
                ::close(socket);
            }
        }
    }

    // False, with the reason, when raw sockets are not allowed here.
    bool open(std::string* why)
    {
#ifdef Q_OS_LINUX
        m_watch = ::socket(AF_PACKET, SOCK_DGRAM, htons(ETH_P_IP));
        m_send = ::socket(AF_INET, SOCK_RAW, IPPROTO_UDP);
        if (m_watch < 0 || m_send < 0) {
            *why = std::strerror(errno);
            return false;
        }
        sockaddr_ll loopback {};
        loopback.sll_family = AF_PACKET;
        loopback.sll_protocol = htons(ETH_P_IP);
        loopback.sll_ifindex = int(if_nametoindex("lo"));
        if (::bind(m_watch, reinterpret_cast<const sockaddr*>(&loopback), sizeof loopback) != 0) {
            *why = std::strerror(errno);
            return false;
        }
        return true;
#else
        *why = "watching the loopback interface takes Linux's packet sockets";
        return false;
#endif
    }

    // The next reliable packet the switcher at switcherPort sends a client.
    std::optional<Overheard> overhear(quint16 switcherPort, int timeoutMs)
    {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < timeoutMs) {
            pollfd ready { m_watch, POLLIN, 0 };
            if (::poll(&ready, 1, 100) <= 0) {
                continue;
            }
            unsigned char bytes[2048];
            const ssize_t size = ::recv(m_watch, bytes, sizeof bytes, 0);
            const int ipHeader = size > 0 ? (bytes[0] & 0x0f) * 4 : 0;
            if (size < ipHeader + 8 || (bytes[0] >> 4) != 4 || bytes[9] != IPPROTO_UDP) {
                continue;
            }
            const unsigned char* udp = bytes + ipHeader;
            const auto port = [](const unsigned char* at) { return quint16((at[0] << 8) | at[1]); };
            if (port(udp) != switcherPort) {
                continue;
            }
            const std::optional<AtemPacket> packet
                = AtemPacket::decode(QByteArrayView(reinterpret_cast<const char*>(udp + 8), size - ipHeader - 8));
            if (packet && packet->has(AtemPacket::reliable) && !packet->has(AtemPacket::hello)) {
                return Overheard { packet->sessionId, packet->packetId, port(udp + 2) };
            }
        }
        return std::nullopt;
    }

    // A datagram to a port of this computer's, from fromPort.
    bool send(quint16 fromPort, quint16 toPort, const QByteArray& payload)
    {
        QByteArray datagram(8, '\0');
        const quint16 length = quint16(8 + payload.size());
        const quint16 fields[] = { fromPort, toPort, length };
        for (int field = 0; field < 3; ++field) {
            datagram[2 * field] = char(fields[field] >> 8);
            datagram[2 * field + 1] = char(fields[field] & 0xff);
        }
        // Bytes 6-7, the checksum, stay 0: none, which IPv4 allows.
        datagram += payload;
        sockaddr_in to {};
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return ::sendto(m_send, datagram.constData(), size_t(datagram.size()), 0,
                   reinterpret_cast<const sockaddr*>(&to), sizeof to)
            == datagram.size();
    }

private:
    int m_watch = -1;
    int m_send = -1;
};

// The light bytes of the last whole tick the box got, as "b1 21 …".
QByteArray lastTick(const CaptureFile& capture)
{
    const QList<QByteArray> ticks = capture.ticks();
    return ticks.isEmpty() ? QByteArray() : ticks.last();
}

} // namespace

TEST_F(AtemWatchProcessTest, WatchFollowsTheStandinThroughACutAndARename)
{
    start({ mapPath });
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: preview (Camera 2)"), QStringLiteral("Light 3: live (Camera 1)") });
    })) << printed.toStdString();
    printed.clear();
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: preview (Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
    })) << printed.toStdString();
    // A rename follows the input by its number: light 2 keeps its shot.
    printed.clear();
    atem.send("rename 2 Close Up");
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: live (Camera 1)"), QStringLiteral("Light 2: preview (Close Up)") });
    })) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, TheRecordersAndTheStreamsLightsFollowTheStandin)
{
    // Light 4 is the REC lamp over the door, light 5 the on-air sign.
    QFile map(mapPath);
    ASSERT_TRUE(map.open(QIODevice::WriteOnly));
    map.write("0|Camera 1\r\n3|Recording\r\n4|Streaming\r\n");
    map.close();
    start({ mapPath });
    ASSERT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live (Camera 1)") });
    })) << printed.toStdString();
    // Both idle: neither lamp lit, and neither shot is missing.
    ASSERT_TRUE(eventually([&] { return lastTick(capture).startsWith("b1 21 02 22 03 23 04 24 05 25"); }))
        << lastTick(capture).toStdString();
    EXPECT_FALSE(printed.contains(QStringLiteral("missing"))) << printed.toStdString();

    printed.clear();
    atem.send("record on");
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 4: live (Recording)") }); }))
        << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick(capture).startsWith("b1 21 02 22 03 23 b4 24 05 25"); }))
        << lastTick(capture).toStdString();

    atem.send("stream on");
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 5: live (Streaming)") }); }))
        << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick(capture).startsWith("b1 21 02 22 03 23 b4 24 b5 25"); }))
        << lastTick(capture).toStdString();

    printed.clear();
    atem.send("record off");
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 4: off") }); })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick(capture).startsWith("b1 21 02 22 03 23 04 24 b5 25"); }))
        << lastTick(capture).toStdString();
    atem.send("stream off");
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 5: off") }); })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick(capture).startsWith("b1 21 02 22 03 23 04 24 05 25"); }))
        << lastTick(capture).toStdString();
    // A cut meanwhile moves the cameras' lights, not the recorder's.
    atem.send("record on");
    atem.send("cut");
    EXPECT_TRUE(eventually([&] { return lastTick(capture).startsWith("01 d1 02 22 03 23 b4 24 05 25"); }))
        << lastTick(capture).toStdString();
}

TEST_F(AtemWatchProcessTest, WithoutTallyBySourceTheChosenMixEffectsBusesLightTheLights)
{
    atem.stop();
    atem.setOptions(AtemStandinProcess::studioStart() + QStringList { QStringLiteral("--no-tally-by-source") });
    ASSERT_TRUE(atem.start());
    start({ mapPath });
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: preview (Camera 2)"), QStringLiteral("Light 3: live (Camera 1)") });
    })) << printed.toStdString();
    // The keyer keeps Camera 1 on air through the cut, but only the tally by
    // source would say so: program and preview alone light the lights, and
    // Camera 1 goes to preview (with the tally by source it would stay live).
    printed.clear();
    atem.send("keyer on 1");
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: preview (Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
    })) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, AMixEffectTheSwitcherDoesNotHaveIsNamedWithTheOnesItHas)
{
    start({ QStringLiteral("--atem-me"), QStringLiteral("2"), QStringLiteral("--when-lost"), QStringLiteral("off"),
        mapPath });
    const QString said
        = QStringLiteral("The ATEM switcher at %1 has no mix effect 2; it has mix effect 1").arg(atem.address().mid(7));
    EXPECT_TRUE(eventually([&] {
        return printedAll({ said, QStringLiteral("Blackmagic ATEM not running") });
    })) << printed.toStdString();
    // Never running, so the lights follow the lost-source choice (off here)
    // and never the false picture of a switcher with nothing on air.
    QThread::msleep(1000);
    printedAll({});
    EXPECT_FALSE(printed.contains(QStringLiteral("Blackmagic ATEM running"))) << printed.toStdString();
    EXPECT_FALSE(printed.contains(QStringLiteral("Connected to the ATEM switcher"))) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, ASecondMixEffectLightsTheLightsOnASwitcherThatHasIt)
{
    atem.stop();
    atem.setOptions(AtemStandinProcess::studioStart()
        + QStringList { QStringLiteral("--no-tally-by-source"), QStringLiteral("--mes"), QStringLiteral("2") });
    ASSERT_TRUE(atem.start());
    start({ QStringLiteral("--atem-me"), QStringLiteral("2"), mapPath });
    // The stand-in's second mix effect has Camera 2 on program and Camera 1
    // on preview, the other way round from its first.
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: preview (Camera 1)"),
            QStringLiteral("Light 2: live (Camera 2)"), QStringLiteral("Light 3: live (Camera 2)") });
    })) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, LightsFollowThroughLossFreezeWhileTheSwitcherIsGoneAndResyncAfter)
{
    start({ mapPath });
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 1: live (Camera 1)") }); }))
        << printed.toStdString();
    atem.send("drop 30");
    atem.send("reorder 30");
    atem.send("preview 3");
    atem.send("cut");
    atem.send("keyer on 2");
    printed.clear();
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: preview (Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
    })) << printed.toStdString();
    atem.send("drop 0");
    atem.send("reorder 0");

    atem.stop();
    printed.clear();
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Blackmagic ATEM not running") }); }, 5000))
        << printed.toStdString();
    // Frozen: the box keeps getting the last lights (light 1 preview, light
    // 2 live through the keyer, light 3 live through Camera 2).
    const QByteArray frozen = lastTick(capture);
    EXPECT_TRUE(frozen.startsWith("01 d1 b2 22 b3 23")) << frozen.toStdString();

    ASSERT_TRUE(atem.restart());
    printed.clear();
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: preview (Camera 2)") });
    })) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, OneConnectionDrivesTheBoxTheWebPageAndTslAtOnce)
{
    QUdpSocket tsl;
    ASSERT_TRUE(tsl.bind(QHostAddress::LocalHost, 0));
    const quint16 webPort = freePort();
    ASSERT_NE(webPort, 0);
    start({ QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(webPort), QStringLiteral("--tsl5"),
        QStringLiteral("udp://127.0.0.1:%1").arg(tsl.localPort()), mapPath });
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 1: live (Camera 1)") }); }))
        << printed.toStdString();
    atem.send("cut");

    // The box: light 1 preview, light 2 live.
    EXPECT_TRUE(eventually([&] { return lastTick(capture).startsWith("01 d1 b2 22"); }))
        << lastTick(capture).toStdString();
    // TSL: display 1 green, display 2 red.
    std::map<int, TslUmd50::Display> displays;
    EXPECT_TRUE(eventually([&] {
        while (tsl.hasPendingDatagrams()) {
            if (const std::optional<TslUmd50::Packet> packet = TslUmd50::decode(tsl.receiveDatagram().data())) {
                for (const TslUmd50::Display& display : packet->displays) {
                    displays[display.index] = display;
                }
            }
        }
        return displays.count(1) && displays.count(2) && displays[1].leftTally == TslUmd50::Colour::green
            && displays[2].leftTally == TslUmd50::Colour::red;
    }));
    // The web page's state: the same lights.
    QStringList modes;
    EXPECT_TRUE(eventually([&] {
        modes = webLightModes(webPort);
        return modes.size() >= 2 && modes[0] == QStringLiteral("preview") && modes[1] == QStringLiteral("live");
    })) << modes.join(QLatin1Char(' ')).toStdString();
}

TEST_F(AtemWatchProcessTest, AForgedCutFromTheSwitchersAddressEndsInAResyncToTheRealLights)
{
    start({ mapPath });
    ASSERT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: preview (Camera 2)") });
    })) << printed.toStdString();
    Impostor impostor;
    std::string why;
    if (!impostor.open(&why)) {
        GTEST_SKIP() << "no raw sockets to forge packets with: " << why;
    }
    const std::optional<Impostor::Overheard> heard = impostor.overhear(atem.port(), 5000);
    ASSERT_TRUE(heard.has_value()) << "the stand-in's packets were not seen on the loopback interface";
    // The next id, from the switcher's address and port: a cut to Camera 2
    // that the switcher never made.
    AtemPacket forged;
    forged.flags = AtemPacket::reliable;
    forged.sessionId = heard->sessionId;
    forged.packetId = AtemPacket::nextId(heard->packetId);
    forged.payload = AtemCommand::join({ AtemCommands::programInput({ 0, 2 }), AtemCommands::previewInput({ 0, 1 }),
        AtemCommands::tallyBySource({ { 1, { false, true } }, { 2, { true, false } }, { 3, {} } }) });
    printed.clear();
    ASSERT_TRUE(impostor.send(atem.port(), heard->clientPort, forged.encode()));

    // Whichever came first under that id, the stand-in's next packet or the
    // forged one, the other disagrees with it: the connection starts again
    // and the lights show the switcher's own picture.
    EXPECT_TRUE(eventually(
        [&] {
            printedAll({});
            return printed.contains(QStringLiteral("disagree"));
        },
        5000))
        << printed.toStdString();
    EXPECT_TRUE(eventually(
        [&] {
            printedAll({});
            const qsizetype disagreed = printed.indexOf(QStringLiteral("disagree"));
            const qsizetype resynced = printed.lastIndexOf(QStringLiteral("Blackmagic ATEM running"));
            return disagreed >= 0 && resynced > disagreed && lastTick(capture).startsWith("b1 21 02 d2");
        },
        5000))
        << printed.toStdString() << " " << lastTick(capture).toStdString();
}

TEST_F(AtemWatchProcessTest, ForgedIdsRunningAheadOfTheSwitcherEndInAResyncAndTheNextCutShows)
{
    start({ mapPath });
    ASSERT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: preview (Camera 2)") });
    })) << printed.toStdString();
    Impostor impostor;
    std::string why;
    if (!impostor.open(&why)) {
        GTEST_SKIP() << "no raw sockets to forge packets with: " << why;
    }
    const std::optional<Impostor::Overheard> heard = impostor.overhear(atem.port(), 5000);
    ASSERT_TRUE(heard.has_value()) << "the stand-in's packets were not seen on the loopback interface";
    // 100 empty packets under the ids the stand-in would use next: its own
    // packets then all look old to tallyctl.
    printed.clear();
    quint16 id = heard->packetId;
    for (int forged = 0; forged < 100; ++forged) {
        id = AtemPacket::nextId(id);
        AtemPacket packet;
        packet.flags = AtemPacket::reliable;
        packet.sessionId = heard->sessionId;
        packet.packetId = id;
        ASSERT_TRUE(impostor.send(atem.port(), heard->clientPort, packet.encode()));
    }
    // Within the silence limit and a retry, the connection is started again…
    EXPECT_TRUE(eventually(
        [&] {
            printedAll({});
            const qsizetype lost = printed.indexOf(QStringLiteral("trying again"));
            return lost >= 0 && printed.indexOf(QStringLiteral("Blackmagic ATEM running"), lost) >= 0;
        },
        5000))
        << printed.toStdString();
    // …and the switcher's next cut shows at once.
    printed.clear();
    atem.send("cut");
    EXPECT_TRUE(eventually(
        [&] {
            return printedAll(
                { QStringLiteral("Light 1: preview (Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
        },
        3000))
        << printed.toStdString();
}

namespace {

struct MapNewRun {
    int exitCode = -1;
    QString err;
};

MapNewRun mapNew(const QStringList& arguments)
{
    QProcess tallyctl;
    tallyctl.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        QStringList { QStringLiteral("map"), QStringLiteral("new") } + arguments);
    if (!tallyctl.waitForFinished(15000)) {
        tallyctl.kill();
        tallyctl.waitForFinished();
        return {};
    }
    return { tallyctl.exitCode(), QString::fromUtf8(tallyctl.readAllStandardError()) };
}

} // namespace

TEST_F(AtemWatchProcessTest, MapNewFromTheSwitcherPutsItsShotsOnTheLightsInItsOrder)
{
    const QString path = folder.filePath(QStringLiteral("from-the-switcher.tlx"));
    const MapNewRun run = mapNew({ QStringLiteral("--source"), atem.address(), path });
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    QFile written(path);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), QByteArray("0|Camera 1\r\n1|Camera 2\r\n2|Wide\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
}

TEST_F(AtemWatchProcessTest, MapNewFromASwitcherThatDoesNotAnswerWritesNothingAndSaysWhy)
{
    const quint16 port = freeUdpPort();
    ASSERT_NE(port, 0);
    const QString path = folder.filePath(QStringLiteral("nothing.tlx"));
    const MapNewRun run = mapNew({ QStringLiteral("--source"), QStringLiteral("atem://127.0.0.1:%1").arg(port), path });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith(
        QStringLiteral("tallyctl map new: no shots from atem://127.0.0.1:%1 within 5 s: ").arg(port)))
        << run.err.toStdString();
    EXPECT_FALSE(QFile::exists(path));
}
