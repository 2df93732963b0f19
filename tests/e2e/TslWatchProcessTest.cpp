// tallyctl watch sending TSL UMD beside the built stand-in, and following a
// switcher that speaks TSL UMD, as real processes.

#include "TslSwitcherPacket.h"
#include "WatchProcessFixture.h"
#include "WindowHome.h"
#include "support/FreePort.h"
#include "support/QtPrinters.h"
#include "tsl/TslUmd50.h"

#include <QDir>
#include <QFile>
#include <QNetworkDatagram>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <map>

namespace {

class TslWatchProcessTest : public WatchProcessFixture {
protected:
    void SetUp() override
    {
        WatchProcessFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        ASSERT_TRUE(receiver.bind(QHostAddress::LocalHost, 0));
    }

    void start(const QStringList& arguments)
    {
        QProcessEnvironment environment = standin.environment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        watch.setProcessEnvironment(environment);
        watch.start(
            QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"), QStringList { QStringLiteral("watch") } + arguments);
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    // Reads what has come and says whether the display now matches.
    bool displayIs(int index, TslUmd50::Colour colour, const QString& text)
    {
        while (receiver.hasPendingDatagrams()) {
            const std::optional<TslUmd50::Packet> packet = TslUmd50::decode(receiver.receiveDatagram().data());
            if (!packet) {
                ++undecodable;
                continue;
            }
            for (const TslUmd50::Display& display : packet->displays) {
                displays[display.index] = display;
            }
        }
        const auto found = displays.find(index);
        return found != displays.end() && found->second.leftTally == colour && found->second.rightTally == colour
            && found->second.textTally == colour && found->second.text == text;
    }

    QUdpSocket receiver;
    std::map<int, TslUmd50::Display> displays;
    int undecodable = 0;
};

} // namespace

TEST_F(TslWatchProcessTest, WatchSendsTheLightsAsTslFiveAndFollowsACut)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--tsl5"), QStringLiteral("udp://127.0.0.1:%1").arg(receiver.localPort()), mapPath });
    const QString both = QStringLiteral("Camera 1 + Camera 2");
    EXPECT_TRUE(eventually([&] {
        return displayIs(1, TslUmd50::Colour::red, QStringLiteral("Camera 1"))
            && displayIs(2, TslUmd50::Colour::green, QStringLiteral("Camera 2"))
            && displayIs(3, TslUmd50::Colour::red, both) && displayIs(8, TslUmd50::Colour::off, QString());
    })) << watch.readAllStandardError().toStdString();
    standin.send("cut\n");
    EXPECT_TRUE(eventually([&] {
        return displayIs(1, TslUmd50::Colour::green, QStringLiteral("Camera 1"))
            && displayIs(2, TslUmd50::Colour::red, QStringLiteral("Camera 2"));
    }));
    EXPECT_EQ(undecodable, 0);
}

TEST_F(TslWatchProcessTest, WhenTheProgramGoesTheDisplaysSayLostWithTheBoxsColoursAndNoStaleWord)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--tsl5"), QStringLiteral("udp://127.0.0.1:%1").arg(receiver.localPort()), mapPath });
    ASSERT_TRUE(eventually([&] { return displayIs(1, TslUmd50::Colour::red, QStringLiteral("Camera 1")); }))
        << watch.readAllStandardError().toStdString();
    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    // The lights are kept as they were (the default choice), and the word in
    // front says they are no longer the program's.
    EXPECT_TRUE(eventually([&] {
        return displayIs(1, TslUmd50::Colour::red, QStringLiteral("LOST Camera 1"))
            && displayIs(2, TslUmd50::Colour::green, QStringLiteral("LOST Camera 2"))
            && displayIs(8, TslUmd50::Colour::off, QStringLiteral("LOST"));
    })) << watch.readAllStandardError().toStdString();
    EXPECT_EQ(undecodable, 0);
}

TEST_F(TslWatchProcessTest, AShotTheProgramNoLongerHasIsNamedMissingOnEveryDisplayThatUsesIt)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--tsl5"), QStringLiteral("udp://127.0.0.1:%1").arg(receiver.localPort()), mapPath });
    ASSERT_TRUE(eventually([&] { return displayIs(2, TslUmd50::Colour::green, QStringLiteral("Camera 2")); }))
        << watch.readAllStandardError().toStdString();
    standin.send("remove 2\n");
    // Light 3 still shows Camera 1 on program: its colour stays the
    // switcher's word; the text says what it can no longer follow.
    EXPECT_TRUE(eventually([&] {
        return displayIs(2, TslUmd50::Colour::off, QStringLiteral("MISSING Camera 2"))
            && displayIs(3, TslUmd50::Colour::red, QStringLiteral("MISSING Camera 2"))
            && displayIs(1, TslUmd50::Colour::red, QStringLiteral("Camera 1"));
    })) << watch.readAllStandardError().toStdString();
    standin.send("add Camera 2\n");
    EXPECT_TRUE(eventually([&] {
        return displayIs(2, TslUmd50::Colour::off, QStringLiteral("Camera 2"))
            && displayIs(3, TslUmd50::Colour::red, QStringLiteral("Camera 1 + Camera 2"));
    })) << watch.readAllStandardError().toStdString();
    EXPECT_EQ(undecodable, 0);
}

TEST_F(TslWatchProcessTest, WatchFollowsASwitcherSpeakingTslFive)
{
    const quint16 port = freeUdpPort();
    ASSERT_NE(port, 0);
    start({ QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(port), mapPath });
    const QByteArray cut = switcherPacket(TslUmd50::Colour::green, TslUmd50::Colour::red);
    QUdpSocket sender;
    QByteArray printed;
    // Sent again and again, as a switcher does, until watch has started
    // listening and shows it.
    EXPECT_TRUE(eventually([&] {
        sender.writeDatagram(cut, QHostAddress::LocalHost, port);
        printed += watch.readAllStandardOutput();
        return printed.contains("Light 1: preview (Camera 1)\n") && printed.contains("Light 2: live (Camera 2)\n")
            && printed.contains("Light 3: live (Camera 2)\n");
    })) << printed.toStdString()
        << watch.readAllStandardError().toStdString();
}

TEST_F(TslWatchProcessTest, ANewSenderIsNamedOnceWhereverWatchPrints)
{
    TslUmd50::Display display;
    display.index = 1;
    display.leftTally = TslUmd50::Colour::red;
    display.text = QStringLiteral("Camera 1");
    TslUmd50::Packet packet;
    packet.displays.append(display);
    // Plain, the status lines go to standard output; with --json, to
    // standard error. Either way the system log's copy is not printed too.
    for (const QStringList& style : { QStringList(), QStringList { QStringLiteral("--json") } }) {
        SCOPED_TRACE(style.join(QLatin1Char(' ')).toStdString());
        const quint16 port = freeUdpPort();
        ASSERT_NE(port, 0);
        start(style
            + QStringList { QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(port), mapPath });
        QUdpSocket sender;
        QByteArray printed;
        QByteArray errors;
        EXPECT_TRUE(eventually([&] {
            sender.writeDatagram(TslUmd50::encode(packet), QHostAddress::LocalHost, port);
            printed += watch.readAllStandardOutput();
            errors += watch.readAllStandardError();
            return printed.contains("Light 1: live (Camera 1)\n") || printed.contains("\"mode\":\"live\"");
        })) << printed.toStdString()
            << errors.toStdString();
        watch.terminate();
        ASSERT_TRUE(watch.waitForFinished(10000));
        printed += watch.readAllStandardOutput();
        errors += watch.readAllStandardError();
        const QByteArray line = "TSL messages from 127.0.0.1";
        EXPECT_EQ(printed.count(line) + errors.count(line), 1) << printed.toStdString() << errors.toStdString();
    }
}

TEST_F(TslWatchProcessTest, ABadTslDestinationIsAUsageError)
{
    start({ QStringLiteral("--tsl5"), QStringLiteral("studio:9000"), mapPath });
    ASSERT_TRUE(watch.waitForFinished(15000));
    EXPECT_EQ(watch.exitCode(), 2);
    const QByteArray errors = watch.readAllStandardError();
    EXPECT_TRUE(errors.contains("bad TSL destination 'studio:9000': expected udp://HOST:PORT or tcp://HOST:PORT"))
        << errors.toStdString();
}

TEST_F(TslWatchProcessTest, ATslSourcePortInUseIsAnErrorNotACrash)
{
    start({ QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(receiver.localPort()), mapPath });
    ASSERT_TRUE(watch.waitForFinished(15000));
    EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch.exitCode(), 2);
    const QByteArray errors = watch.readAllStandardError();
    EXPECT_TRUE(errors.contains("cannot listen for TSL UMD 5.0 on UDP 127.0.0.1 port")) << errors.toStdString();
}

TEST_F(TslWatchProcessTest, WithTslAllowASpoofedSenderIsNamedAndIgnored)
{
    const quint16 port = freePort();
    start({ QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(port), QStringLiteral("--tsl-allow"),
        QStringLiteral("127.0.0.1"), mapPath });
    QUdpSocket switcher;
    QUdpSocket spoofer;
    // Another host, as far as watch can tell.
    ASSERT_TRUE(spoofer.bind(QHostAddress(QStringLiteral("127.0.0.66")), 0));
    QByteArray printed;
    EXPECT_TRUE(eventually([&] {
        spoofer.writeDatagram(
            switcherPacket(TslUmd50::Colour::red, TslUmd50::Colour::green), QHostAddress::LocalHost, port);
        switcher.writeDatagram(
            switcherPacket(TslUmd50::Colour::green, TslUmd50::Colour::red), QHostAddress::LocalHost, port);
        printed += watch.readAllStandardOutput();
        return printed.contains("Light 1: preview (Camera 1)\n") && printed.contains("Light 2: live (Camera 2)\n")
            && printed.contains("Ignoring TSL messages from 127.0.0.66: not an allowed sender\n");
    })) << printed.toStdString();
    EXPECT_TRUE(printed.contains("TSL messages from 127.0.0.1\n")) << printed.toStdString();
    EXPECT_FALSE(printed.contains("Light 1: live")) << printed.toStdString();
    EXPECT_EQ(printed.count("Ignoring TSL messages from 127.0.0.66"), 1);
}

TEST_F(TslWatchProcessTest, SixteenIdleTcpConnectionsDoNotKeepTheSwitchersCutOut)
{
    const quint16 port = freePort();
    start({ QStringLiteral("--source"), QStringLiteral("tsl5+tcp://127.0.0.1:%1").arg(port), mapPath });
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    ASSERT_TRUE(eventually([&] {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, port);
        if (!socket->waitForConnected(1000)) {
            return false;
        }
        idle.push_back(std::move(socket));
        return idle.size() == 16;
    }));
    QTcpSocket switcher;
    switcher.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(switcher.waitForConnected(5000));
    switcher.write(TslUmd50::frame(switcherPacket(TslUmd50::Colour::red, TslUmd50::Colour::green)));
    QByteArray printed;
    EXPECT_TRUE(eventually([&] {
        printed += watch.readAllStandardOutput();
        return printed.contains("Light 1: live (Camera 1)\n") && printed.contains("Light 2: preview (Camera 2)\n");
    })) << printed.toStdString();
    switcher.write(TslUmd50::frame(switcherPacket(TslUmd50::Colour::green, TslUmd50::Colour::red)));
    EXPECT_TRUE(eventually([&] {
        printed += watch.readAllStandardOutput();
        return printed.contains("Light 1: preview (Camera 1)\n") && printed.contains("Light 2: live (Camera 2)\n");
    })) << printed.toStdString();
}

TEST_F(TslWatchProcessTest, TheWindowStartsWithTheSavedListenerAndHearsOnlyItsSavedSenders)
{
    const quint16 port = freePort();
    WindowHome home;
    ASSERT_TRUE(home.isValid());
    home.writeSettings(
        QStringLiteral("[General]\nShotSource=tsl5://127.0.0.1:%1\nTslAllowedSenders=127.0.0.1\n").arg(port).toUtf8());
    QProcessEnvironment environment = home.environment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.privateRuntimeFolder());
    QProcess window;
    WindowHome::launch(window, environment, { mapPath });
    const CaptureFile& box = home.capture();

    QUdpSocket switcher;
    QUdpSocket spoofer;
    ASSERT_TRUE(spoofer.bind(QHostAddress(QStringLiteral("127.0.0.66")), 0));
    // Light 1 (Camera 1) in preview, light 2 (Camera 2) and light 3 (both)
    // live, the rest off: what the switcher says, not the spoofer.
    const QByteArray expected = "01 d1 b2 22 b3 23 04 24 05 25 06 26 07 27 08 28";
    QByteArray errors;
    const bool shown = eventually(
        [&] {
            spoofer.writeDatagram(
                switcherPacket(TslUmd50::Colour::red, TslUmd50::Colour::green), QHostAddress::LocalHost, port);
            switcher.writeDatagram(
                switcherPacket(TslUmd50::Colour::green, TslUmd50::Colour::red), QHostAddress::LocalHost, port);
            errors += window.readAllStandardError();
            return !box.ticks().isEmpty() && box.ticks().last() == expected
                && errors.contains("Ignoring TSL messages from 127.0.0.66: not an allowed sender");
        },
        20000);
    EXPECT_TRUE(shown) << errors.toStdString()
                       << (box.ticks().isEmpty() ? QByteArray() : box.ticks().last()).toStdString();
    for (const QByteArray& tick : box.ticks()) {
        EXPECT_FALSE(tick.startsWith("b1")) << "light 1 live, as only the spoofer says: " << tick.toStdString();
    }
    window.terminate();
    if (!window.waitForFinished(10000)) {
        window.kill();
        window.waitForFinished();
    }
}

TEST_F(TslWatchProcessTest, WatchJsonNamesTheTslSourceInItsRunningEvents)
{
    const quint16 port = freeUdpPort();
    ASSERT_NE(port, 0);
    start({ QStringLiteral("--json"), QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(port),
        mapPath });
    const QByteArray cameraOneLive = switcherPacket(TslUmd50::Colour::red, TslUmd50::Colour::off);
    QUdpSocket sender;
    QByteArray printed;
    EXPECT_TRUE(eventually([&] {
        sender.writeDatagram(cameraOneLive, QHostAddress::LocalHost, port);
        printed += watch.readAllStandardOutput();
        return printed.contains("{\"event\":\"tsl\",\"running\":true,");
    })) << printed.toStdString();
    EXPECT_FALSE(printed.contains("\"mixdesk\"")) << printed.toStdString();
}

TEST_F(TslWatchProcessTest, WithTimestampsEveryLineOnEitherStreamIsStamped)
{
    const quint16 port = freeUdpPort();
    ASSERT_NE(port, 0);
    // The phone links, the sender's first message and the lights: lines from
    // three parts of the program, on both streams.
    start({ QStringLiteral("--timestamps"), QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(port),
        QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(freePort()), mapPath });
    const QByteArray cameraOneLive = switcherPacket(TslUmd50::Colour::red, TslUmd50::Colour::off);
    QUdpSocket sender;
    QByteArray printed;
    QByteArray errors;
    EXPECT_TRUE(eventually([&] {
        sender.writeDatagram(cameraOneLive, QHostAddress::LocalHost, port);
        printed += watch.readAllStandardOutput();
        errors += watch.readAllStandardError();
        return printed.contains(" Light 1: live (Camera 1)\n") && printed.contains(" TSL messages from 127.0.0.1\n");
    })) << printed.toStdString()
        << errors.toStdString();
    watch.terminate();
    ASSERT_TRUE(watch.waitForFinished(15000));
    printed += watch.readAllStandardOutput();
    errors += watch.readAllStandardError();
    EXPECT_TRUE(printed.contains("/light/1")) << "the phone links: " << printed.toStdString();
    static const QRegularExpression stamped(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}([+-]\\d\\d:\\d\\d|Z) "));
    for (const QByteArray& line : printed.split('\n') + errors.split('\n')) {
        if (!line.isEmpty()) {
            EXPECT_TRUE(stamped.match(QString::fromUtf8(line)).hasMatch()) << line.toStdString();
        }
    }
    // Said once, wherever watch prints: the status line is not echoed by the
    // system log on standard error.
    EXPECT_EQ(printed.count(" TSL messages from 127.0.0.1\n") + errors.count(" TSL messages from 127.0.0.1\n"), 1)
        << printed.toStdString() << errors.toStdString();
}
