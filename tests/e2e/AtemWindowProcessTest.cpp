// The built mixdesk-tally following the ATEM stand-in, with a capture tally
// box: cuts through packet loss reach the box, the lights freeze (nothing
// is sent) while the switcher is gone, and follow its picture again once it
// is back; one connection drives the box, the web page and TSL at once, and
// the box, Art-Net and the vMix feed too.

#include "ArtNetListener.h"
#include "WebLightModes.h"
#include "WindowHome.h"
#include "support/AtemStandinProcess.h"
#include "support/FreePort.h"
#include "tsl/TslUmd31.h"

#include <QNetworkDatagram>
#include <QProcess>
#include <QTcpSocket>
#include <QThread>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <map>

namespace {

// Light 1 live, light 2 preview, the rest off.
const QByteArray firstLiveSecondPreview = "b1 21 02 d2 03 23 04 24 05 25 06 26 07 27 08 28";
// Light 1 preview, light 2 live.
const QByteArray firstPreviewSecondLive = "01 d1 b2 22 03 23 04 24 05 25 06 26 07 27 08 28";

class AtemWindowProcessTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        mapPath = home.write(QStringLiteral("studio.tlx"), "0|Camera 1\r\n1|Camera 2\r\n");
        ASSERT_TRUE(atem.start());
    }

    void TearDown() override
    {
        if (window.state() != QProcess::NotRunning) {
            window.kill();
            window.waitForFinished();
        }
    }

    void launch(const QStringList& outputs = {})
    {
        QProcessEnvironment environment = home.environment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
        WindowHome::launch(window, environment,
            QStringList { QStringLiteral("--source"), atem.address() } + outputs + QStringList { mapPath });
    }

    WindowHome home;
    const CaptureFile& capture = home.capture();
    QString mapPath;
    AtemStandinProcess atem;
    QProcess window;
};

} // namespace

TEST_F(AtemWindowProcessTest, TheWindowDrivesTheBoxThroughLossFreezesWhileTheSwitcherIsGoneAndResyncs)
{
    launch();
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview)) << capture.lines().size();
    atem.send("drop 40");
    atem.send("reorder 40");
    atem.send("cut");
    EXPECT_TRUE(home.lastTickIs(firstPreviewSecondLive)) << capture.ticks().last().toStdString();
    atem.send("drop 0");
    atem.send("reorder 0");

    atem.stop();
    // Noticed within two seconds; from then on no byte is sent.
    QThread::msleep(2500);
    const qsizetype frozen = capture.lines().size();
    QThread::msleep(700);
    EXPECT_EQ(capture.lines().size(), frozen);
    EXPECT_TRUE(capture.endsOnWholeTick());
    EXPECT_EQ(capture.ticks().last(), firstPreviewSecondLive) << "frozen, not switched off";

    // Back with its own picture: the lights follow it again.
    ASSERT_TRUE(atem.restart());
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview)) << capture.ticks().last().toStdString();
    EXPECT_GT(capture.lines().size(), frozen);
    EXPECT_EQ(window.state(), QProcess::Running);
}

TEST_F(AtemWindowProcessTest, OneConnectionDrivesTheBoxTheWebPageAndTslThreeOneAtOnce)
{
    QUdpSocket tsl;
    ASSERT_TRUE(tsl.bind(QHostAddress::LocalHost, 0));
    const quint16 webPort = freePort();
    ASSERT_NE(webPort, 0);
    launch({ QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(webPort), QStringLiteral("--tsl"),
        QStringLiteral("udp://127.0.0.1:%1").arg(tsl.localPort()) });
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview));
    atem.send("cut");

    EXPECT_TRUE(home.lastTickIs(firstPreviewSecondLive)) << capture.ticks().last().toStdString();
    // TSL 3.1: tally 1 is program, tally 2 preview.
    std::map<int, TslUmd31::Message> displays;
    EXPECT_TRUE(eventually([&] {
        while (tsl.hasPendingDatagrams()) {
            if (const auto messages = TslUmd31::decodeDatagram(tsl.receiveDatagram().data())) {
                for (const TslUmd31::Message& message : *messages) {
                    displays[message.address] = message;
                }
            }
        }
        return displays.count(1) && displays.count(2) && !displays[1].tallies[0] && displays[1].tallies[1]
            && displays[2].tallies[0] && !displays[2].tallies[1];
    }));
    // The web page's state: the same lights.
    QStringList modes;
    EXPECT_TRUE(eventually([&] {
        modes = webLightModes(webPort);
        return modes.size() >= 2 && modes[0] == QStringLiteral("preview") && modes[1] == QStringLiteral("live");
    })) << modes.join(QLatin1Char(' ')).toStdString();
}

namespace {

// What the feed answers one TALLY with; empty when it refuses or closes.
QByteArray feedTally(quint16 port)
{
    QTcpSocket receiver;
    receiver.connectToHost(QHostAddress::LocalHost, port);
    if (!receiver.waitForConnected(3000)) {
        return {};
    }
    receiver.write("TALLY\r\n");
    QByteArray answer;
    eventually([&] {
        answer += receiver.readAll();
        return answer.endsWith("\r\n") || receiver.state() == QAbstractSocket::UnconnectedState;
    });
    return answer.trimmed();
}

} // namespace

TEST_F(AtemWindowProcessTest, OneConnectionDrivesTheBoxArtNetAndTheVmixFeedAndTheFeedGoesWhileTheSwitcherIsLost)
{
    ArtNetListener artNet;
    ASSERT_NE(artNet.port(), 0);
    const quint16 feedPort = freePort();
    ASSERT_NE(feedPort, 0);
    launch({ QStringLiteral("--dmx"), QStringLiteral("artnet://127.0.0.1:%1/0").arg(artNet.port()),
        QStringLiteral("--vmix-feed"), QStringLiteral("127.0.0.1:%1").arg(feedPort) });
    EXPECT_TRUE(home.lastTickIs(firstLiveSecondPreview));
    QString levels;
    EXPECT_TRUE(eventually([&] { return (levels = artNet.latestLevels(6)) == QStringLiteral("255 0 0 0 255 0"); }))
        << levels.toStdString();
    QByteArray tally;
    EXPECT_TRUE(eventually([&] {
        tally = feedTally(feedPort);
        return tally == QByteArray("TALLY OK 12000000");
    })) << tally.toStdString();

    atem.send("cut");
    EXPECT_TRUE(home.lastTickIs(firstPreviewSecondLive)) << capture.ticks().last().toStdString();
    EXPECT_TRUE(eventually([&] { return (levels = artNet.latestLevels(6)) == QStringLiteral("0 255 0 255 0 0"); }))
        << levels.toStdString();
    EXPECT_EQ(feedTally(feedPort), QByteArray("TALLY OK 21000000"));

    // Lost, with the lights kept: the box and the lighting desk keep the
    // last picture, and the feed, which cannot say "lost", goes away.
    atem.stop();
    EXPECT_TRUE(eventually([&] { return feedTally(feedPort).isEmpty(); }, 10000));
    EXPECT_EQ((levels = artNet.latestLevels(6)), QStringLiteral("0 255 0 255 0 0"));
    EXPECT_EQ(capture.ticks().last(), firstPreviewSecondLive);

    ASSERT_TRUE(atem.restart());
    EXPECT_TRUE(eventually(
        [&] {
            tally = feedTally(feedPort);
            return tally == QByteArray("TALLY OK 12000000");
        },
        15000))
        << tally.toStdString();
    EXPECT_TRUE(eventually([&] { return (levels = artNet.latestLevels(6)) == QStringLiteral("255 0 0 0 255 0"); }))
        << levels.toStdString();
}
