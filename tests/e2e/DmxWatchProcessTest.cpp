// tallyctl watch following the ATEM stand-in and sending the lights as DMX,
// read by receivers written by others: the npm packages sacn and dmxnet,
// Debian's olad (Art-Net over the loopback interface, sACN over a veth) and
// Debian's tshark decoding both protocols. Each receiver must read the
// channels the lights should have through cuts and a lost switcher. Every
// test with those receivers runs in a private network namespace of its own;
// a plain UDP receiver of this program's runs anywhere.

#include "ArtNetListener.h"
#include "DmxReceivers.h"
#include "WatchProcessFixture.h"
#include "support/AtemStandinProcess.h"
#include "support/FreePort.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <csignal>

using namespace DmxReceivers;

namespace {

// The map's three lights (Camera 1; Camera 2; both) in the rgb layout from
// channel 1: before the first cut Camera 1 is live and Camera 2 on preview,
// after it the other way round.
const QList<int> rgbBeforeCut { 255, 0, 0, 0, 255, 0, 255, 0, 0 };
const QList<int> rgbAfterCut { 0, 255, 0, 255, 0, 0, 255, 0, 0 };
const QList<int> rgbOff(9, 0);

class DmxWatchProcessTest : public WatchProcessFixture {
protected:
    void SetUp() override
    {
        WatchProcessFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        if (const std::optional<QString> why = enterPrivateNetwork()) {
            GTEST_SKIP() << why->toStdString();
        }
        ASSERT_TRUE(atem.start());
    }

    void start(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        // The sACN CID is kept in the settings: the test's own.
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath(QStringLiteral("config")));
        environment.insert(QStringLiteral("HOME"), folder.path());
        watch.setProcessEnvironment(environment);
        watch.setProcessChannelMode(QProcess::SeparateChannels);
        watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            QStringList { QStringLiteral("watch"), QStringLiteral("--source"), atem.address() } + arguments
                + QStringList { mapPath });
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    // Ends watch as Ctrl-C does, and waits for it to have quit.
    void quit()
    {
        ::kill(static_cast<pid_t>(watch.processId()), SIGTERM);
        EXPECT_TRUE(watch.waitForFinished(10000));
        EXPECT_EQ(watch.exitCode(), 0) << watch.readAllStandardError().toStdString();
    }

    QString said() { return QString::fromUtf8(watch.readAllStandardError() + watch.readAllStandardOutput()); }

    AtemStandinProcess atem;
};

TEST_F(DmxWatchProcessTest, NpmSacnReadsTheLightsByMulticastThroughCutsALostSwitcherAndTheEnd)
{
    if (const std::optional<QString> why = npmPackageMissing(QStringLiteral("sacn"))) {
        GTEST_SKIP() << why->toStdString();
    }
    if (const std::optional<QString> why = addVeth()) {
        GTEST_SKIP() << why->toStdString();
    }
    NodeReceiver receiver;
    ASSERT_TRUE(receiver.start({ QStringLiteral("sacn"), QStringLiteral("5568"), QStringLiteral("1"), vethAddress }))
        << receiver.printed().toStdString();
    start({ QStringLiteral("--dmx"), QStringLiteral("sacn://"), QStringLiteral("--when-lost"), QStringLiteral("off") });
    EXPECT_TRUE(receiver.reads(1, rgbBeforeCut)) << receiver.printed().toStdString() << said().toStdString();
    const QJsonObject first = receiver.packets().constFirst();
    EXPECT_EQ(first.value(QStringLiteral("sourceName")).toString(), QStringLiteral("Mixdesk Tally"));
    EXPECT_EQ(first.value(QStringLiteral("priority")).toInt(), 100);
    EXPECT_EQ(first.value(QStringLiteral("universe")).toInt(), 1);
    EXPECT_FALSE(first.value(QStringLiteral("terminated")).toBool());

    atem.send("cut");
    EXPECT_TRUE(receiver.reads(1, rgbAfterCut)) << receiver.printed().toStdString();
    atem.send("cut");
    EXPECT_TRUE(receiver.reads(1, rgbBeforeCut)) << receiver.printed().toStdString();

    // The switcher goes: the lights go off, as chosen, and so do the levels.
    atem.stop();
    EXPECT_TRUE(receiver.reads(1, rgbOff, 20000)) << receiver.printed().toStdString();
    // Nothing changes, yet the levels keep coming within every second.
    const qsizetype before = receiver.packets().size();
    runEventsFor(2100);
    EXPECT_GE(receiver.packets().size(), before + 2) << receiver.printed().toStdString();

    quit();
    EXPECT_TRUE(eventually([&] {
        const QList<QJsonObject>& packets = receiver.packets();
        return !packets.isEmpty() && packets.constLast().value(QStringLiteral("terminated")).toBool();
    })) << receiver.printed().toStdString();
    // One CID throughout, and the same as the settings keep.
    QSet<QString> cids;
    for (const QJsonObject& packet : receiver.packets()) {
        cids.insert(packet.value(QStringLiteral("cid")).toString());
    }
    EXPECT_EQ(cids.size(), 1);
}

TEST_F(DmxWatchProcessTest, NpmDmxnetReadsArtNetInTheSingleLayoutThroughCutsAFrozenSwitcherAndLightsOffAtQuit)
{
    if (const std::optional<QString> why = npmPackageMissing(QStringLiteral("dmxnet"))) {
        GTEST_SKIP() << why->toStdString();
    }
    const quint16 port = freeUdpPort();
    NodeReceiver receiver;
    ASSERT_TRUE(receiver.start({ QStringLiteral("artnet"), QString::number(port), QStringLiteral("2") }))
        << receiver.printed().toStdString();
    start({ QStringLiteral("--dmx"), QStringLiteral("artnet://127.0.0.1:%1/2").arg(port), QStringLiteral("--dmx-start"),
        QStringLiteral("10"), QStringLiteral("--dmx-layout"), QStringLiteral("single"),
        QStringLiteral("--lights-off-at-quit") });
    EXPECT_TRUE(receiver.reads(9, { 0, 255, 128, 255, 0 })) << receiver.printed().toStdString() << said().toStdString();
    atem.send("cut");
    EXPECT_TRUE(receiver.reads(9, { 0, 128, 255, 255, 0 })) << receiver.printed().toStdString();

    // The switcher goes: by default the lights keep what they showed, and
    // the levels keep coming with them.
    atem.stop();
    runEventsFor(4000);
    const qsizetype before = receiver.packets().size();
    runEventsFor(2100);
    EXPECT_GE(receiver.packets().size(), before + 2);
    EXPECT_EQ(receiver.lastLevels(9, 5), (QList<int> { 0, 128, 255, 255, 0 }));

    // Quitting turns every light off, and every light's channel with it.
    quit();
    EXPECT_TRUE(receiver.reads(9, { 0, 0, 0, 0, 0 })) << receiver.printed().toStdString();
}

TEST_F(DmxWatchProcessTest, OladReadsArtNetOverTheLoopbackInterface)
{
    Olad olad;
    if (const std::optional<QString> why = olad.start(Olad::Plugin::artNet, QStringLiteral("127.0.0.1"))) {
        GTEST_SKIP() << why->toStdString();
    }
    // olad's universe 1 takes the Art-Net port-address 1.
    start({ QStringLiteral("--dmx"), QStringLiteral("artnet://127.0.0.1/1"), QStringLiteral("--when-lost"),
        QStringLiteral("off") });
    EXPECT_TRUE(olad.reads(1, rgbBeforeCut)) << said().toStdString();
    atem.send("cut");
    EXPECT_TRUE(olad.reads(1, rgbAfterCut));
    atem.stop();
    EXPECT_TRUE(olad.reads(1, rgbOff, 20000));
    // Switched on again, the switcher has its first picture back.
    ASSERT_TRUE(atem.restart());
    EXPECT_TRUE(olad.reads(1, rgbBeforeCut, 20000));
    quit();
}

TEST_F(DmxWatchProcessTest, OladReadsSacnByMulticastOverAVeth)
{
    // olad's E1.31 plugin will not use the loopback interface.
    if (const std::optional<QString> why = addVeth()) {
        GTEST_SKIP() << why->toStdString();
    }
    Olad olad;
    if (const std::optional<QString> why = olad.start(Olad::Plugin::e131, vethAddress)) {
        GTEST_SKIP() << why->toStdString();
    }
    start(
        { QStringLiteral("--dmx"), QStringLiteral("sacn:///1"), QStringLiteral("--when-lost"), QStringLiteral("off") });
    EXPECT_TRUE(olad.reads(1, rgbBeforeCut)) << said().toStdString();
    atem.send("cut");
    EXPECT_TRUE(olad.reads(1, rgbAfterCut));
    atem.stop();
    EXPECT_TRUE(olad.reads(1, rgbOff, 20000));
    quit();
}

// tshark's lines: one a datagram, its fields separated by tabs (sACN's
// levels come as a table with bars of its own).
struct Decoded {
    QStringList lines;

    QList<QStringList> rows() const
    {
        QList<QStringList> all;
        for (const QString& line : lines) {
            all.append(line.split(QLatin1Char('\t')));
        }
        return all;
    }
};

TEST_F(DmxWatchProcessTest, TsharkDecodesArtNetAndSacnWithTheLights)
{
    if (QStandardPaths::findExecutable(QStringLiteral("tshark")).isEmpty()) {
        GTEST_SKIP() << "tshark is not installed (scripts/install-deps.sh installs it)";
    }
    QProcess tshark;
    tshark.start(QStringLiteral("tshark"),
        { QStringLiteral("-i"), QStringLiteral("lo"), QStringLiteral("-l"), QStringLiteral("-n"),
            QStringLiteral("--enable-heuristic"), QStringLiteral("acn"), QStringLiteral("-o"),
            QStringLiteral("acn.dmx_enable:TRUE"), QStringLiteral("-f"),
            QStringLiteral("udp port 6454 or udp port 5568"), QStringLiteral("-T"), QStringLiteral("fields"),
            QStringLiteral("-E"), QStringLiteral("separator=/t"), QStringLiteral("-e"),
            QStringLiteral("artnet.output.universe"), QStringLiteral("-e"), QStringLiteral("artnet.output.length"),
            QStringLiteral("-e"), QStringLiteral("dmx_chan.data_filter"), QStringLiteral("-e"),
            QStringLiteral("acn.dmx.universe"), QStringLiteral("-e"), QStringLiteral("acn.dmx.priority"),
            QStringLiteral("-e"), QStringLiteral("acn.dmx.source_name"), QStringLiteral("-e"),
            QStringLiteral("acn.dmx.option_s"), QStringLiteral("-e"), QStringLiteral("acn.dmx.data") });
    ASSERT_TRUE(tshark.waitForStarted(10000));
    QByteArray errors;
    const bool capturing = eventually([&] {
        errors += tshark.readAllStandardError();
        return errors.contains("Capturing on");
    });
    if (!capturing) {
        tshark.kill();
        tshark.waitForFinished();
        GTEST_SKIP() << "tshark cannot capture on the loopback interface here: " << errors.toStdString();
    }
    start({ QStringLiteral("--dmx"), QStringLiteral("artnet://127.0.0.1/3"), QStringLiteral("--dmx"),
        QStringLiteral("sacn://127.0.0.1/4") });
    Decoded decoded;
    QByteArray pending;
    const auto readLines = [&] {
        pending += tshark.readAllStandardOutput();
        qsizetype end = 0;
        while ((end = pending.indexOf('\n')) >= 0) {
            decoded.lines.append(QString::fromUtf8(pending.left(end)));
            pending.remove(0, end + 1);
        }
    };
    // Art-Net's levels as tshark shows them: the channel bytes in hex.
    const auto artNetHas = [&](const QString& hexLevels) {
        readLines();
        for (const QStringList& row : decoded.rows()) {
            if (row.size() >= 3 && row[0] == QLatin1String("3") && row[1] == QLatin1String("512")
                && QString(row[2]).remove(QLatin1Char(':')).startsWith(hexLevels)) {
                return true;
            }
        }
        return false;
    };
    // sACN's levels as tshark shows them: a table, ".." for 0.
    const auto sacnHas = [&](const QString& firstChannels, bool terminated) {
        readLines();
        for (const QStringList& row : decoded.rows()) {
            if (row.size() >= 8 && row[3] == QLatin1String("4") && row[4] == QLatin1String("100")
                && row[5] == QLatin1String("Mixdesk Tally")
                && (row[6] == QLatin1String("1") || row[6] == QLatin1String("True")) == terminated
                && row[7].contains(QStringLiteral("001-020: ") + firstChannels)) {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(eventually([&] { return artNetHas(QStringLiteral("ff000000ff00ff0000")); }))
        << decoded.lines.join(QLatin1Char('\n')).toStdString() << said().toStdString();
    EXPECT_TRUE(eventually([&] { return sacnHas(QStringLiteral("FF .. .. .. FF .. FF .. .."), false); }))
        << decoded.lines.join(QLatin1Char('\n')).toStdString();
    atem.send("cut");
    EXPECT_TRUE(eventually([&] { return artNetHas(QStringLiteral("00ff00ff0000ff0000")); }))
        << decoded.lines.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(eventually([&] { return sacnHas(QStringLiteral(".. FF .. FF .. .. FF .. .."), false); }))
        << decoded.lines.join(QLatin1Char('\n')).toStdString();
    // Quitting ends the sACN stream, its last levels still in the packets.
    quit();
    EXPECT_TRUE(eventually([&] { return sacnHas(QStringLiteral(".. FF .. FF .. .. FF .. .."), true); }))
        << decoded.lines.join(QLatin1Char('\n')).toStdString();
    tshark.terminate();
    tshark.waitForFinished(5000);
}

} // namespace

namespace {

// Without a namespace: the Art-Net a plain UDP socket gets from watch.
class DmxPlainReceiverTest : public WatchProcessFixture {
protected:
    void SetUp() override
    {
        WatchProcessFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        ASSERT_TRUE(atem.start());
    }

    AtemStandinProcess atem;
};

} // namespace

TEST_F(DmxPlainReceiverTest, APlainUdpReceiverGetsTheLightsChannelsFromWatch)
{
    ArtNetListener artNet;
    ASSERT_NE(artNet.port(), 0);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
    watch.setProcessEnvironment(environment);
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), atem.address(), QStringLiteral("--dmx"),
            QStringLiteral("artnet://127.0.0.1:%1/0").arg(artNet.port()), mapPath });
    ASSERT_TRUE(watch.waitForStarted(10000));
    // The map's three lights in the rgb layout from channel 1.
    QString levels;
    EXPECT_TRUE(eventually([&] {
        levels = artNet.latestLevels(9);
        return levels == QStringLiteral("255 0 0 0 255 0 255 0 0");
    })) << levels.toStdString();
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        levels = artNet.latestLevels(9);
        return levels == QStringLiteral("0 255 0 255 0 0 255 0 0");
    })) << levels.toStdString();
}
