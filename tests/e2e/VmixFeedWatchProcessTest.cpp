// tallyctl watch following the ATEM stand-in and telling the lights as a
// vMix tally feed, read by two vMix clients written by others: the npm
// package node-vmix (its connection frames the messages) and the npm package
// vmix-js-utils (its tally and XML readers, over a plain socket), through
// the same scripts that prove the vMix stand-in (tests/tools/vmix). Each
// must read the tally and titles the lights should have through cuts, a
// lost switcher, the switcher's restart and watch's own restart. A plain
// socket besides checks the last line at quit.

#include "WatchProcessFixture.h"
#include "support/AtemStandinProcess.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/VmixClients.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <csignal>
#include <optional>

namespace {

using VmixClients::Client;
using VmixClients::clientName;
using VmixClients::missing;
using VmixClients::nodeModules;
using VmixClients::packageOf;
using VmixClients::scripts;

// The box's eight lights, the map's three first: the feed tells every
// light of the box, and those without shots are off.
QJsonObject lights(const char* one, const char* two, const char* three)
{
    QJsonObject modes { { QStringLiteral("1"), QLatin1String(one) }, { QStringLiteral("2"), QLatin1String(two) },
        { QStringLiteral("3"), QLatin1String(three) } };
    for (int light = 4; light <= 8; ++light) {
        modes.insert(QString::number(light), QStringLiteral("off"));
    }
    return modes;
}

// The map's lights (Camera 1; Camera 2; both) as inputs, then the box's
// lights without shots.
QJsonObject inputTitles()
{
    QJsonObject titles { { QStringLiteral("1"), QStringLiteral("Camera 1") },
        { QStringLiteral("2"), QStringLiteral("Camera 2") },
        { QStringLiteral("3"), QStringLiteral("Camera 1 + Camera 2") } };
    for (int light = 4; light <= 8; ++light) {
        titles.insert(QString::number(light), QStringLiteral("Light %1").arg(light));
    }
    return titles;
}

const QJsonObject titles = inputTitles();

class VmixFeedWatchTest : public WatchProcessFixture {
protected:
    void SetUp() override
    {
        WatchProcessFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        ASSERT_TRUE(atem.start());
        feedPort = freePort();
        ASSERT_NE(feedPort, 0);
    }

    // Starts watch with the feed on loopback and waits until it listens.
    void startWatch(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        watch.setProcessEnvironment(environment);
        watch.setProcessChannelMode(QProcess::SeparateChannels);
        watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            QStringList { QStringLiteral("watch"), QStringLiteral("--source"), atem.address(),
                QStringLiteral("--vmix-feed"), QStringLiteral("127.0.0.1:%1").arg(feedPort) }
                + arguments + QStringList { mapPath });
        ASSERT_TRUE(watch.waitForStarted(10000));
        const QString listening = QStringLiteral("vMix tally feed on 127.0.0.1:%1").arg(feedPort);
        QString printed;
        ASSERT_TRUE(eventually([&] {
            printed += QString::fromUtf8(watch.readAllStandardOutput());
            return printed.contains(listening);
        })) << printed.toStdString()
            << watch.readAllStandardError().toStdString();
    }

    // Ends watch as Ctrl-C does, and waits for it to have quit.
    void quit()
    {
        ::kill(static_cast<pid_t>(watch.processId()), SIGTERM);
        EXPECT_TRUE(watch.waitForFinished(10000));
        EXPECT_EQ(watch.exitCode(), 0) << watch.readAllStandardError().toStdString();
    }

    AtemStandinProcess atem;
    quint16 feedPort = 0;
};

class VmixFeedClientTest : public VmixFeedWatchTest, public testing::WithParamInterface<Client> {
protected:
    void SetUp() override
    {
        if (const std::optional<QString> why = missing(GetParam())) {
            GTEST_SKIP() << why->toStdString();
        }
        VmixFeedWatchTest::SetUp();
    }

    void TearDown() override
    {
        if (client.state() != QProcess::NotRunning) {
            client.kill();
            client.waitForFinished(5000);
        }
        VmixFeedWatchTest::TearDown();
    }

    void startClient()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NODE_PATH"), nodeModules);
        client.setProcessEnvironment(environment);
        const QString script = GetParam() == Client::nodeVmix ? QStringLiteral("node_vmix_client.js")
                                                              : QStringLiteral("vmix_js_utils_client.js");
        client.start(
            QStringLiteral("node"), { scripts + script, QStringLiteral("127.0.0.1"), QString::number(feedPort) });
        ASSERT_TRUE(client.waitForStarted(10000));
    }

    // Waits until the client's latest picture holds every key of expected
    // with the same value; the last picture seen goes into the failure.
    void expectPicture(const QJsonObject& expected, int patienceMs = 15000)
    {
        const bool reached = pictures.reach(client, expected, patienceMs);
        EXPECT_TRUE(reached) << "expected " << QJsonDocument(expected).toJson(QJsonDocument::Compact).toStdString()
                             << "\nlast seen "
                             << QJsonDocument(pictures.latest()).toJson(QJsonDocument::Compact).toStdString()
                             << "\nclient said " << client.readAllStandardError().toStdString() << "\nwatch said "
                             << watch.readAllStandardError().toStdString();
    }

    // Watches the client for a while: none of its pictures may hold a
    // digit, however often it connects again.
    void expectNoTallyFor(int milliseconds)
    {
        const bool sawTally = pictures.sees(
            client, [](const QJsonObject& picture) { return !picture.value("tally").toObject().isEmpty(); },
            milliseconds);
        EXPECT_FALSE(sawTally) << "a picture with a tally while the switcher is lost: "
                               << QJsonDocument(pictures.latest()).toJson(QJsonDocument::Compact).toStdString();
    }

    QProcess client;
    VmixClients::ClientPictures pictures;
};

} // namespace

TEST_P(VmixFeedClientTest, TheClientReadsTheLightsThroughCutsALostSwitcherAndRestarts)
{
    startWatch({ QStringLiteral("--when-lost"), QStringLiteral("off") });
    startClient();
    // Camera 1 live and Camera 2 on preview; the third light has both.
    expectPicture(
        { { "connected", true }, { "inputs", titles }, { "tally", lights("program", "preview", "program") } });
    atem.send("cut");
    expectPicture({ { "tally", lights("preview", "program", "program") } });

    // The switcher goes: the lights go off, as chosen, so the client ends
    // dark, and then loses the feed: it has nothing true to say until the
    // switcher is back.
    atem.stop();
    expectPicture({ { "connected", false } }, 30000);
    expectNoTallyFor(2000);
    // It comes back with its own picture.
    ASSERT_TRUE(atem.restart());
    expectPicture({ { "connected", true }, { "tally", lights("program", "preview", "program") } }, 30000);

    // watch itself restarts: the client loses it and finds it again.
    quit();
    expectPicture({ { "connected", false } });
    startWatch({ QStringLiteral("--when-lost"), QStringLiteral("off") });
    expectPicture(
        { { "connected", true }, { "inputs", titles }, { "tally", lights("program", "preview", "program") } });
    atem.send("cut");
    expectPicture({ { "tally", lights("preview", "program", "program") } });
}

TEST_P(VmixFeedClientTest, AFrozenSwitcherDisconnectsTheClientInsteadOfShowingAStaleTally)
{
    startWatch({ QStringLiteral("--when-lost"), QStringLiteral("keep") });
    startClient();
    atem.send("cut");
    expectPicture({ { "connected", true }, { "tally", lights("preview", "program", "program") } });
    atem.stop();
    QString printed;
    ASSERT_TRUE(eventually(
        [&] {
            printed += QString::fromUtf8(watch.readAllStandardOutput());
            return printed.contains(QStringLiteral("Blackmagic ATEM not running"));
        },
        20000))
        << printed.toStdString();
    // Lost: the box keeps the last picture, but a receiver must not go on
    // showing it as the switcher's. It loses the feed, and every attempt to
    // come back is refused, until the switcher is back.
    expectPicture({ { "connected", false } });
    expectNoTallyFor(2000);
    ASSERT_TRUE(atem.restart());
    expectPicture({ { "connected", true }, { "tally", lights("program", "preview", "program") } }, 30000);
}

INSTANTIATE_TEST_SUITE_P(
    Clients, VmixFeedClientTest, testing::Values(Client::nodeVmix, Client::vmixJsUtils), clientName);

TEST_F(VmixFeedWatchTest, ASubscriberHearsTheLightsGoOffAtQuit)
{
    startWatch({ QStringLiteral("--lights-off-at-quit") });
    QTcpSocket subscriber;
    subscriber.connectToHost(QHostAddress::LocalHost, feedPort);
    ASSERT_TRUE(subscriber.waitForConnected(5000));
    subscriber.write("SUBSCRIBE TALLY\r\n");
    QByteArray received;
    ASSERT_TRUE(eventually([&] {
        received += subscriber.readAll();
        return received.contains("TALLY OK 12100000\r\n");
    })) << received.toStdString();
    EXPECT_TRUE(received.startsWith("SUBSCRIBE OK TALLY\r\n")) << received.toStdString();
    received.clear();
    quit();
    EXPECT_TRUE(eventually([&] {
        received += subscriber.readAll();
        return subscriber.state() == QAbstractSocket::UnconnectedState;
    }));
    received += subscriber.readAll();
    EXPECT_TRUE(received.endsWith("TALLY OK 00000000\r\n")) << received.toStdString();
}

TEST_F(VmixFeedWatchTest, OnlyTheAllowedReceiversAreAnswered)
{
    startWatch({ QStringLiteral("--vmix-feed-allow"), QStringLiteral("127.0.0.2") });
    const auto tallyFrom = [this](const QHostAddress& from) {
        QTcpSocket receiver;
        EXPECT_TRUE(receiver.bind(from, 0)) << receiver.errorString().toStdString();
        receiver.connectToHost(QHostAddress::LocalHost, feedPort);
        if (!receiver.waitForConnected(5000)) {
            return QByteArray("not connected");
        }
        receiver.write("TALLY\r\n");
        QByteArray received;
        eventually([&] {
            received += receiver.readAll();
            return received.endsWith("\r\n") || receiver.state() == QAbstractSocket::UnconnectedState;
        });
        return received;
    };
    // The allowed receiver hears the lights once the switcher is followed.
    QByteArray allowed;
    ASSERT_TRUE(eventually([&] {
        allowed = tallyFrom(QHostAddress(QStringLiteral("127.0.0.2")));
        return allowed.startsWith("TALLY OK ");
    })) << allowed.toStdString();
    EXPECT_EQ(tallyFrom(QHostAddress(QStringLiteral("127.0.0.1"))), QByteArray());
}
