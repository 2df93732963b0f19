// tallyctl watch following the ATEM stand-in, as real processes: a cut and
// a rename, packets lost and out of order, a stand-in restart (the lights
// freeze, then follow the new picture), and one connection driving the tally
// box, the web page and TSL at once.

#include "WatchProcessFixture.h"
#include "WebLightModes.h"
#include "support/AtemStandinProcess.h"
#include "support/FreePort.h"
#include "tsl/TslUmd50.h"

#include <QNetworkDatagram>
#include <QThread>
#include <QUdpSocket>

#include <gtest/gtest.h>

namespace {

class AtemWatchProcessTest : public WatchProcessFixture {
protected:
    void SetUp() override
    {
        WatchProcessFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        ASSERT_TRUE(atem.start());
    }

    void start(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        watch.setProcessEnvironment(environment);
        watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            QStringList { QStringLiteral("watch"), QStringLiteral("--source"), atem.address() } + arguments);
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    // Whether watch has printed every line since the last clear().
    bool printedAll(const QStringList& lines)
    {
        printed += QString::fromUtf8(watch.readAllStandardOutput());
        for (const QString& line : lines) {
            if (!printed.contains(line + QLatin1Char('\n'))) {
                return false;
            }
        }
        return true;
    }

    QString printed;
    AtemStandinProcess atem;
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
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live"),
            QStringLiteral("Light 2: preview"), QStringLiteral("Light 3: live") });
    })) << printed.toStdString();
    printed.clear();
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Light 1: preview"), QStringLiteral("Light 2: live") });
    })) << printed.toStdString();
    // A rename follows the input by its number: light 2 keeps its shot.
    printed.clear();
    atem.send("rename 2 Close Up");
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Light 1: live"), QStringLiteral("Light 2: preview") });
    })) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, WithoutTallyBySourceTheChosenMixEffectsBusesLightTheLights)
{
    atem.stop();
    atem.setOptions({ QStringLiteral("--no-tally-by-source") });
    ASSERT_TRUE(atem.start());
    start({ mapPath });
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live"),
            QStringLiteral("Light 2: preview"), QStringLiteral("Light 3: live") });
    })) << printed.toStdString();
    // The keyer keeps Camera 1 on air through the cut, but only the tally by
    // source would say so: program and preview alone light the lights, and
    // Camera 1 goes to preview (with the tally by source it would stay live).
    printed.clear();
    atem.send("keyer on 1");
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Light 1: preview"), QStringLiteral("Light 2: live") });
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
    atem.setOptions({ QStringLiteral("--no-tally-by-source"), QStringLiteral("--mes"), QStringLiteral("2") });
    ASSERT_TRUE(atem.start());
    start({ QStringLiteral("--atem-me"), QStringLiteral("2"), mapPath });
    // The stand-in's second mix effect has Camera 2 on program and Camera 1
    // on preview, the other way round from its first.
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: preview"),
            QStringLiteral("Light 2: live"), QStringLiteral("Light 3: live") });
    })) << printed.toStdString();
}

TEST_F(AtemWatchProcessTest, LightsFollowThroughLossFreezeWhileTheSwitcherIsGoneAndResyncAfter)
{
    start({ mapPath });
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 1: live") }); })) << printed.toStdString();
    atem.send("drop 30");
    atem.send("reorder 30");
    atem.send("preview 3");
    atem.send("cut");
    atem.send("keyer on 2");
    printed.clear();
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Light 1: preview"), QStringLiteral("Light 2: live") });
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
        return printedAll({ QStringLiteral("Blackmagic ATEM running"), QStringLiteral("Light 1: live"),
            QStringLiteral("Light 2: preview") });
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
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 1: live") }); })) << printed.toStdString();
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
