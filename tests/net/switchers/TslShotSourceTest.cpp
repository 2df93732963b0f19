#include "switchers/TslShotSource.h"

#include "base/SystemLog.h"
#include "support/Eventually.h"
#include "support/QtPrinters.h"
#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QUdpSocket>

#include <gtest/gtest.h>

#include <algorithm>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

TslShotSource::Listen listenOn(TslTallyEncoding::Version version, TslShotSource::Transport transport)
{
    TslShotSource::Listen listen;
    listen.version = version;
    listen.transport = transport;
    listen.address = QHostAddress(QHostAddress::LocalHost);
    listen.port = 0;
    return listen;
}

QByteArray packet50(int index, TslUmd50::Colour colour, const QString& text)
{
    TslUmd50::Display display;
    display.index = index;
    display.leftTally = colour;
    display.rightTally = colour;
    display.textTally = colour;
    display.text = text;
    TslUmd50::Packet packet;
    packet.displays.append(display);
    return TslUmd50::encode(packet);
}

QByteArray message31(int address, bool program, bool preview, const QString& text)
{
    TslUmd31::Message message;
    message.address = address;
    message.tallies = { program, preview, false, false };
    message.text = text;
    return TslUmd31::encode(message);
}

// A clock the test moves by hand.
struct ManualClock {
    qint64 now = 1000;
    TslShotSource::Clock function()
    {
        return [this] { return now; };
    }
};

void sendDatagram(const QByteArray& datagram, quint16 port)
{
    QUdpSocket socket;
    socket.writeDatagram(datagram, QHostAddress::LocalHost, port);
}

// Another host on the network, as far as the listener can tell: every
// address of 127.0.0.0/8 reaches this computer, each as a sender of its own.
const QHostAddress stranger(QStringLiteral("127.0.0.66"));

void sendDatagramFrom(const QHostAddress& from, const QByteArray& datagram, quint16 port)
{
    QUdpSocket socket;
    ASSERT_TRUE(socket.bind(from, 0)) << socket.errorString().toStdString();
    socket.writeDatagram(datagram, QHostAddress::LocalHost, port);
}

bool isLive(TslShotSource& source, const QString& name)
{
    const ShotList shots = source.queryShots();
    return std::any_of(
        shots.begin(), shots.end(), [&](const ShotPtr& shot) { return shot->name == name && shot->isLive; });
}

bool hasShot(TslShotSource& source, const QString& name)
{
    const ShotList shots = source.queryShots();
    return std::any_of(shots.begin(), shots.end(), [&](const ShotPtr& shot) { return shot->name == name; });
}

} // namespace

TEST(TslShotSourceTest, AFiveDatagramBecomesShotsAndAnnouncesTheChange)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    QSignalSpy changes(&source, &ShotSource::shotsChanged);
    EXPECT_FALSE(source.isRunning());
    TslUmd50::Packet packet;
    packet.displays = { TslUmd50::decode(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")))->displays[0],
        TslUmd50::decode(packet50(2, TslUmd50::Colour::green, QStringLiteral("Cam 2")))->displays[0] };
    sendDatagram(TslUmd50::encode(packet), source.localPort());
    ASSERT_TRUE(eventually([&] { return changes.size() > 0; }, 5000));
    EXPECT_TRUE(source.isRunning());
    const ShotList shots = source.queryShots();
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->name, QStringLiteral("Cam 1"));
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_EQ(shots[1]->shotId, QStringLiteral("2"));
    EXPECT_TRUE(shots[1]->isPreview);
}

TEST(TslShotSourceTest, AFramedFiveDatagramIsUnderstoodToo)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(TslUmd50::frame(packet50(0xFE, TslUmd50::Colour::red, QStringLiteral("Stuffed"))), source.localPort());
    ASSERT_TRUE(eventually([&] { return hasShot(source, QStringLiteral("Stuffed")); }, 5000));
    EXPECT_EQ(source.queryShots().at(0)->shotId, QStringLiteral("254"));
}

TEST(TslShotSourceTest, ThreeOneDatagramsCarryOneOrSeveralMessages)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v31, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(message31(1, true, false, QStringLiteral("Cam 1")), source.localPort());
    sendDatagram(
        message31(2, false, true, QStringLiteral("Cam 2")) + message31(3, false, false, QStringLiteral("Wide")),
        source.localPort());
    ASSERT_TRUE(eventually([&] { return source.queryShots().size() == 3; }, 5000));
    const ShotList shots = source.queryShots();
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_TRUE(shots[1]->isPreview);
    EXPECT_EQ(shots[2]->name, QStringLiteral("Wide"));
}

TEST(TslShotSourceTest, FiveOverTcpIsReadAcrossSplitFrames)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp));
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(socket.waitForConnected(5000));
    const QByteArray stream = TslUmd50::frame(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")))
        + TslUmd50::frame(packet50(2, TslUmd50::Colour::green, QStringLiteral("Cam 2")));
    socket.write(stream.left(9));
    socket.flush();
    ASSERT_TRUE(eventually([&] { return socket.bytesToWrite() == 0; }, 5000));
    socket.write(stream.mid(9));
    ASSERT_TRUE(eventually([&] { return source.queryShots().size() == 2; }, 5000));
    EXPECT_TRUE(source.queryShots().at(0)->isLive);
    EXPECT_TRUE(source.queryShots().at(1)->isPreview);
}

TEST(TslShotSourceTest, ThreeOneOverTcpIsReadFromTheStream)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v31, TslShotSource::Transport::tcp));
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(socket.waitForConnected(5000));
    socket.write(message31(4, true, false, QStringLiteral("Jib")));
    ASSERT_TRUE(eventually([&] { return hasShot(source, QStringLiteral("Jib")); }, 5000));
}

TEST(TslShotSourceTest, HostileDatagramsAreCountedAndDroppedAndChangeNothing)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    const QByteArray good = packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1"));
    QByteArray wrongCount = good;
    wrongCount[0] = static_cast<char>(good[0] + 4);
    QByteArray longText = packet50(1, TslUmd50::Colour::green, QStringLiteral("Evil"));
    longText[10] = 0x40; // LENGTH past the end
    QByteArray badStuffing = TslUmd50::frame(good);
    badStuffing.insert(5, QByteArray::fromHex("fe 33"));
    const QList<QByteArray> hostile { good.left(5), good.left(good.size() - 1), wrongCount, longText, badStuffing,
        QByteArray(5000, '\xfe'), QByteArray() };
    for (const QByteArray& datagram : hostile) {
        sendDatagram(datagram, source.localPort());
    }
    sendDatagram(good, source.localPort());
    ASSERT_TRUE(eventually([&] { return hasShot(source, QStringLiteral("Cam 1")); }, 5000));
    ASSERT_TRUE(eventually([&] { return source.rejectedCount() >= 6; }, 5000));
    const ShotList shots = source.queryShots();
    ASSERT_EQ(shots.size(), 1);
    EXPECT_TRUE(shots[0]->isLive);
}

TEST(TslShotSourceTest, HostileThreeOneDatagramsAreDropped)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v31, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    const QByteArray good = message31(1, true, false, QStringLiteral("Cam 1"));
    QByteArray noAddress = good;
    noAddress[0] = 0x01;
    for (const QByteArray& datagram : { good.left(17), good + 'x', noAddress }) {
        sendDatagram(datagram, source.localPort());
    }
    sendDatagram(message31(2, false, true, QStringLiteral("Cam 2")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.rejectedCount() == 3 && !source.queryShots().isEmpty(); }, 5000));
    EXPECT_EQ(source.queryShots().size(), 1);
    EXPECT_EQ(source.queryShots().at(0)->name, QStringLiteral("Cam 2"));
}

TEST(TslShotSourceTest, BadStuffingOnTcpDropsThatPacketAndTheConnectionGoesOn)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp));
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(socket.waitForConnected(5000));
    QByteArray broken = TslUmd50::frame(packet50(1, TslUmd50::Colour::red, QStringLiteral("Broken")));
    broken.insert(8, QByteArray::fromHex("fe 41"));
    const QByteArray truncated = TslUmd50::frame(packet50(2, TslUmd50::Colour::red, QStringLiteral("Cut"))).left(10);
    socket.write(broken + truncated + TslUmd50::frame(packet50(3, TslUmd50::Colour::green, QStringLiteral("Fine"))));
    ASSERT_TRUE(eventually([&] { return hasShot(source, QStringLiteral("Fine")); }, 5000));
    EXPECT_EQ(source.queryShots().size(), 1);
    EXPECT_EQ(source.rejectedCount(), 2);
}

TEST(TslShotSourceTest, TheSwitcherCountsAsGoneAfterFiveSecondsOfSilence)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 4999;
    EXPECT_TRUE(source.isRunning());
    clock.now += 1;
    EXPECT_FALSE(source.isRunning());
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("No TSL message in the last 5 s"));
    // What the switcher said is forgotten with it (while it is gone the
    // lost-switcher policy decides what the lights do); a message brings it
    // back.
    EXPECT_TRUE(source.queryShots().isEmpty());
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    EXPECT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
}

TEST(TslShotSourceTest, AnUnchangedRepeatAnnouncesNoChange)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    QSignalSpy changes(&source, &ShotSource::shotsChanged);
    const QByteArray packet = packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1"));
    sendDatagram(packet, source.localPort());
    ASSERT_TRUE(eventually([&] { return changes.size() == 1; }, 5000));
    sendDatagram(packet, source.localPort());
    sendDatagram(packet50(1, TslUmd50::Colour::green, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return changes.size() == 2; }, 5000));
    EXPECT_TRUE(source.queryShots().at(0)->isPreview);
    EXPECT_EQ(changes.size(), 2);
}

TEST(TslShotSourceTest, APortInUseIsAClearProblem)
{
    QUdpSocket holder;
    ASSERT_TRUE(holder.bind(QHostAddress::LocalHost, 0));
    TslShotSource::Listen listen = listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp);
    listen.port = holder.localPort();
    TslShotSource source(listen);
    QString problem;
    EXPECT_FALSE(source.start(&problem));
    EXPECT_TRUE(problem.startsWith(
        QStringLiteral("cannot listen for TSL UMD 5.0 on UDP 127.0.0.1 port %1: ").arg(holder.localPort())))
        << problem.toStdString();
}

TEST(TslShotSourceTest, SixteenIdleConnectionsDoNotLockTheSwitcherOutAndItsCutApplies)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp));
    ASSERT_TRUE(source.start(nullptr));
    // Every place taken: some connections silent, some holding half a frame.
    const QByteArray frame = TslUmd50::frame(packet50(7, TslUmd50::Colour::red, QStringLiteral("Junk")));
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    for (qsizetype i = 0; i < TslShotSource::maxConnections; ++i) {
        idle.push_back(std::make_unique<QTcpSocket>());
        idle.back()->connectToHost(QHostAddress::LocalHost, source.localPort());
        ASSERT_TRUE(idle.back()->waitForConnected(5000));
        if (i % 2 == 1) {
            idle.back()->write(frame.left(frame.size() / 2));
            idle.back()->flush();
        }
    }
    ASSERT_TRUE(eventually([&] { return source.openConnections() == TslShotSource::maxConnections; }, 5000));

    QTcpSocket switcher;
    switcher.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(switcher.waitForConnected(5000));
    switcher.write(TslUmd50::frame(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1"))));
    EXPECT_TRUE(eventually([&] { return isLive(source, QStringLiteral("Cam 1")); }, 5000));
    EXPECT_EQ(switcher.state(), QAbstractSocket::ConnectedState);
    // The connection that had been idle longest made room.
    EXPECT_TRUE(eventually([&] { return idle.front()->state() == QAbstractSocket::UnconnectedState; }, 5000));
    EXPECT_EQ(source.openConnections(), TslShotSource::maxConnections);
}

TEST(TslShotSourceTest, AConnectionWithoutAWholeMessageIsClosedAtTheIdleDeadline)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp));
    source.setIdleDeadline(std::chrono::milliseconds(300));
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket dripping;
    dripping.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(dripping.waitForConnected(5000));
    dripping.write(TslUmd50::frame(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1"))).left(6));
    EXPECT_TRUE(eventually([&] { return dripping.state() == QAbstractSocket::UnconnectedState; }, 5000));
    EXPECT_EQ(source.openConnections(), 0);
}

TEST(TslShotSourceTest, ASenderThatWentQuietNoLongerHoldsALight)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    // A stranger says a spare index named like the switcher's camera is on
    // program, once; the switcher goes on saying Cam 1 is off.
    sendDatagramFrom(stranger, packet50(99, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    sendDatagram(packet50(1, TslUmd50::Colour::off, QStringLiteral("Cam 1")), source.localPort());
    sendDatagram(packet50(2, TslUmd50::Colour::red, QStringLiteral("Cam 2")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.queryShots().size() == 3; }, 5000));
    ASSERT_TRUE(isLive(source, QStringLiteral("Cam 1")));

    for (int second = 1; second <= 6; ++second) {
        clock.now += 1000;
        // Index 3 counts the seconds, so the test knows each repeat is in.
        const QString count = QStringLiteral("Second %1").arg(second);
        sendDatagram(packet50(1, TslUmd50::Colour::off, QStringLiteral("Cam 1")), source.localPort());
        sendDatagram(packet50(2, TslUmd50::Colour::red, QStringLiteral("Cam 2")), source.localPort());
        sendDatagram(packet50(3, TslUmd50::Colour::off, count), source.localPort());
        ASSERT_TRUE(eventually([&] { return hasShot(source, count); }, 5000));
    }
    EXPECT_TRUE(source.isRunning());
    EXPECT_FALSE(isLive(source, QStringLiteral("Cam 1")));
    EXPECT_TRUE(isLive(source, QStringLiteral("Cam 2")));
    EXPECT_EQ(source.queryShots().size(), 3);
}

TEST(TslShotSourceTest, APacketEveryThreeSecondsToASpareIndexDoesNotKeepALostSwitcherRunning)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    // The switcher falls silent; something keeps sending to index 900.
    for (int second = 3; second <= 9; second += 3) {
        clock.now += 3000;
        const QString spare = QStringLiteral("Spare %1").arg(second);
        sendDatagramFrom(stranger, packet50(900, TslUmd50::Colour::off, spare), source.localPort());
        ASSERT_TRUE(eventually([&] { return hasShot(source, spare); }, 5000));
    }
    EXPECT_FALSE(source.isRunning());
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("TSL messages arrive, but none lights a display"));
}

TEST(TslShotSourceTest, AddressesNameVersionTransportAndPort)
{
    QString problem;
    std::optional<TslShotSource::Listen> listen = TslShotSource::parseAddress(QStringLiteral("tsl://9800"), &problem);
    ASSERT_TRUE(listen.has_value());
    EXPECT_EQ(listen->version, TslTallyEncoding::Version::v31);
    EXPECT_EQ(listen->transport, TslShotSource::Transport::udp);
    EXPECT_EQ(listen->address, QHostAddress(QHostAddress::Any));
    EXPECT_EQ(listen->port, 9800);
    listen = TslShotSource::parseAddress(QStringLiteral("tsl5+tcp://127.0.0.1:9000"), &problem);
    ASSERT_TRUE(listen.has_value());
    EXPECT_EQ(listen->version, TslTallyEncoding::Version::v50);
    EXPECT_EQ(listen->transport, TslShotSource::Transport::tcp);
    EXPECT_EQ(listen->address, QHostAddress(QHostAddress::LocalHost));
    listen = TslShotSource::parseAddress(QStringLiteral("tsl5://[::1]:9000"), &problem);
    ASSERT_TRUE(listen.has_value());
    EXPECT_EQ(listen->address, QHostAddress(QHostAddress::LocalHostIPv6));
    EXPECT_TRUE(TslShotSource::isTslAddress(QStringLiteral("tsl+udp://9000")));
    EXPECT_FALSE(TslShotSource::isTslAddress(QStringLiteral("mixdesk")));
}

TEST(TslShotSourceTest, BadAddressesAreRefusedWithTheReason)
{
    QString problem;
    EXPECT_FALSE(TslShotSource::parseAddress(QStringLiteral("tsl5://studio:9000"), &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("'studio' is not an address"))) << problem.toStdString();
    EXPECT_FALSE(TslShotSource::parseAddress(QStringLiteral("tsl5://0"), &problem).has_value());
    EXPECT_TRUE(problem.contains(QStringLiteral("1 to 65535"))) << problem.toStdString();
    EXPECT_FALSE(TslShotSource::parseAddress(QStringLiteral("tsl5://"), &problem).has_value());
}

TEST(TslShotSourceTest, WithAnAllowListOnlyTheSwitchersMessagesCount)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    std::optional<SenderAllowList> allowed = SenderAllowList::parse({ QStringLiteral("127.0.0.1") }, nullptr);
    ASSERT_TRUE(allowed.has_value());
    source.setAllowedSenders(*allowed);
    ASSERT_TRUE(source.start(nullptr));
    sendDatagramFrom(stranger, packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    sendDatagramFrom(stranger, packet50(9, TslUmd50::Colour::red, QStringLiteral("Cam 2")), source.localPort());
    sendDatagram(packet50(2, TslUmd50::Colour::red, QStringLiteral("Cam 2")), source.localPort());
    ASSERT_TRUE(
        eventually([&] { return source.refusedCount() == 2 && hasShot(source, QStringLiteral("Cam 2")); }, 5000));
    const ShotList shots = source.queryShots();
    ASSERT_EQ(shots.size(), 1);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("2"));
}

TEST(TslShotSourceTest, WithAnAllowListAnotherSendersConnectionIsRefusedAndTakesNoPlace)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp));
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("127.0.0.1") }, nullptr));
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket other;
    ASSERT_TRUE(other.bind(stranger, 0));
    other.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(other.waitForConnected(5000));
    other.write(TslUmd50::frame(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1"))));
    EXPECT_TRUE(eventually([&] { return other.state() == QAbstractSocket::UnconnectedState; }, 5000));
    EXPECT_EQ(source.openConnections(), 0);
    EXPECT_TRUE(source.queryShots().isEmpty());
}

TEST(TslShotSourceTest, EachNewSenderIsNamedOnceInTheStatusAndTheSystemLog)
{
    QStringList logged;
    const SystemLogSink previous = setSystemLogSink([&](const QString& line) { logged.append(line); });
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("127.0.0.1") }, nullptr));
    ASSERT_TRUE(source.start(nullptr));
    QSignalSpy statuses(&source, &ShotSource::statusChanged);
    for (int repeat = 0; repeat < 3; ++repeat) {
        sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
        sendDatagramFrom(stranger, packet50(1, TslUmd50::Colour::off, QStringLiteral("Cam 1")), source.localPort());
    }
    EXPECT_TRUE(eventually([&] { return source.refusedCount() == 3; }, 5000));
    setSystemLogSink(previous);
    const QStringList expected { QStringLiteral("Ignoring TSL messages from 127.0.0.66: not an allowed sender"),
        QStringLiteral("TSL messages from 127.0.0.1") };
    QStringList shown;
    for (const QList<QVariant>& status : statuses) {
        shown.append(status.at(0).toString());
    }
    shown.sort();
    logged.sort();
    ASSERT_TRUE(std::is_sorted(expected.begin(), expected.end()));
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(logged, expected);
}

TEST(TslShotSourceTest, WithoutAnAllowListEverySenderIsHeardAsBefore)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    sendDatagramFrom(stranger, packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    EXPECT_TRUE(eventually([&] { return isLive(source, QStringLiteral("Cam 1")); }, 5000));
    EXPECT_EQ(source.refusedCount(), 0);
}

TEST(TslShotSourceTest, ASenderNoLongerAllowedLosesItsDisplaysAtOnce)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    sendDatagramFrom(stranger, packet50(9, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    sendDatagram(packet50(1, TslUmd50::Colour::off, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.queryShots().size() == 2; }, 5000));
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("127.0.0.1") }, nullptr));
    EXPECT_FALSE(isLive(source, QStringLiteral("Cam 1")));
    EXPECT_EQ(source.queryShots().size(), 1);
}

TEST(TslShotSourceTest, DatagramsWaitingBeyondOneBatchAreAllReadWithoutAnotherArriving)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    // More than one read takes at once, all waiting before the source gets
    // a turn: the rest must be read on the socket's next report, not left
    // until a later datagram wakes it.
    constexpr int count = 150;
    QUdpSocket switcher;
    for (int index = 1; index <= count; ++index) {
        switcher.writeDatagram(
            packet50(index, TslUmd50::Colour::off, QString()), QHostAddress::LocalHost, source.localPort());
    }
    EXPECT_TRUE(eventually([&] { return source.queryShots().size() == count; }, 5000)) << source.queryShots().size();
}

TEST(TslShotSourceTest, ItsDetailsNameVersionAndPortThenWhenAndFromWhereTheLastMessageCame)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    ShotSource::Details details = source.details();
    EXPECT_TRUE(details.listens);
    EXPECT_EQ(details.followed, QStringLiteral("TSL 5.0 on 127.0.0.1 port %1").arg(source.localPort()));
    EXPECT_EQ(details.sinceLastMessageMs, std::nullopt);

    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 400;
    details = source.details();
    EXPECT_EQ(details.sinceLastMessageMs, 400);
    EXPECT_EQ(details.lastSender, QStringLiteral("127.0.0.1"));
}

TEST(TslShotSourceTest, ItsDetailsOnEveryInterfaceOverTcpNameThePortAndTheTransport)
{
    TslShotSource::Listen listen = listenOn(TslTallyEncoding::Version::v31, TslShotSource::Transport::tcp);
    listen.address = QHostAddress(QHostAddress::Any);
    TslShotSource source(listen);
    ASSERT_TRUE(source.start(nullptr));
    EXPECT_EQ(source.details().followed, QStringLiteral("TSL 3.1 over TCP on port %1").arg(source.localPort()));
    QTcpSocket sender;
    sender.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(sender.waitForConnected(5000));
    sender.write(message31(1, true, false, QStringLiteral("Cam 1")));
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    EXPECT_EQ(source.details().lastSender, QStringLiteral("127.0.0.1"));
}

TEST(TslShotSourceTest, TslTcpSenderStaysRunningWhileConnectedAndSilent)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::tcp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket switcher;
    switcher.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(switcher.waitForConnected(5000));
    switcher.write(TslUmd50::frame(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1"))));
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    // A switcher that sends only on change says nothing while nothing
    // changes; its connection shows it is there.
    clock.now += 60'000;
    EXPECT_TRUE(source.isRunning());
    EXPECT_TRUE(isLive(source, QStringLiteral("Cam 1")));
    // Once the connection is gone, so is the switcher.
    switcher.disconnectFromHost();
    ASSERT_TRUE(eventually([&] { return source.openConnections() == 0; }, 5000));
    EXPECT_FALSE(source.isRunning());
    EXPECT_TRUE(source.queryShots().isEmpty());
}

TEST(TslShotSourceTest, ATcpConnectionThatBroughtAWholeMessageIsNotClosedForSilence)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v31, TslShotSource::Transport::tcp));
    source.setIdleDeadline(std::chrono::milliseconds(200));
    ASSERT_TRUE(source.start(nullptr));
    QTcpSocket switcher;
    switcher.connectToHost(QHostAddress::LocalHost, source.localPort());
    ASSERT_TRUE(switcher.waitForConnected(5000));
    switcher.write(message31(1, true, false, QStringLiteral("Cam 1")));
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    // Five idle deadlines of silence.
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < 1000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    }
    EXPECT_EQ(switcher.state(), QAbstractSocket::ConnectedState);
    EXPECT_EQ(source.openConnections(), 1);
    EXPECT_TRUE(source.isRunning());
}

TEST(TslShotSourceTest, TslAllowedSenderStaysRunningPastFiveSecondsOfSilence)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("127.0.0.1") }, nullptr));
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 3'600'000;
    EXPECT_TRUE(source.isRunning());
    EXPECT_TRUE(isLive(source, QStringLiteral("Cam 1")));
    // Its displays stand until it says otherwise.
    sendDatagram(packet50(1, TslUmd50::Colour::green, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return !isLive(source, QStringLiteral("Cam 1")); }, 5000));
    const ShotList shots = source.queryShots();
    ASSERT_EQ(shots.size(), 1);
    EXPECT_TRUE(shots[0]->isPreview);
}

TEST(TslShotSourceTest, TslStrangersStillLoseAfterFiveSeconds)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    sendDatagramFrom(stranger, packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 4999;
    EXPECT_TRUE(source.isRunning());
    clock.now += 1;
    EXPECT_FALSE(source.isRunning());
    EXPECT_TRUE(source.queryShots().isEmpty());
}

TEST(TslShotSourceTest, TheWarningNeverSaysNothingCameAfterAMessageCame)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("No TSL messages received"));
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 13'000;
    EXPECT_FALSE(source.isRunning());
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("No TSL message in the last 5 s"));
    EXPECT_EQ(source.details().sinceLastMessageMs, 13'000);
}

TEST(TslShotSourceTest, TslSilenceLimitIsTheUsersChoice)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("127.0.0.1") }, nullptr));
    source.chooseSilenceLimit(std::chrono::seconds(30));
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 29'999;
    EXPECT_TRUE(source.isRunning());
    EXPECT_TRUE(isLive(source, QStringLiteral("Cam 1")));
    clock.now += 1;
    EXPECT_FALSE(source.isRunning());
    EXPECT_TRUE(source.queryShots().isEmpty());
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("No TSL message in the last 30 s"));
}

TEST(TslShotSourceTest, WithoutAnAllowListTheUserMayStillChooseNoSilenceLimit)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    source.chooseSilenceLimit(std::nullopt);
    ASSERT_TRUE(source.start(nullptr));
    EXPECT_EQ(source.silenceLimit(), std::nullopt);
    sendDatagramFrom(stranger, packet50(1, TslUmd50::Colour::red, QStringLiteral("Cam 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    clock.now += 3'600'000;
    EXPECT_TRUE(source.isRunning());
    EXPECT_TRUE(isLive(source, QStringLiteral("Cam 1")));
}

TEST(TslShotSourceTest, UnchosenTheSilenceLimitFollowsTheAllowList)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    EXPECT_EQ(source.silenceLimit(), TslShotSource::defaultSilenceLimit);
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("10.0.0.5") }, nullptr));
    EXPECT_EQ(source.silenceLimit(), std::nullopt);
    source.setAllowedSenders(SenderAllowList());
    EXPECT_EQ(source.silenceLimit(), TslShotSource::defaultSilenceLimit);
    source.chooseSilenceLimit(std::chrono::seconds(12));
    source.setAllowedSenders(*SenderAllowList::parse({ QStringLiteral("10.0.0.5") }, nullptr));
    EXPECT_EQ(source.silenceLimit(), std::chrono::milliseconds(12'000));
}

TEST(TslShotSourceTest, ASenderFloodingNewIndexesIsNamedOnceAndTheSwitchersLightStays)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    QSignalSpy statuses(&source, &ShotSource::statusChanged);
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Camera 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return isLive(source, QStringLiteral("Camera 1")); }, 5000));
    // Another device names 40 new displays a datagram, more than one
    // sender's share in all, and goes on.
    QUdpSocket router;
    ASSERT_TRUE(router.bind(stranger, 0));
    constexpr int perDatagram = 40;
    const int datagrams = int(TslDisplayTable::maxDisplaysPerSender) / perDatagram + 10;
    for (int datagram = 0; datagram < datagrams; ++datagram) {
        TslUmd50::Packet packet;
        for (int shown = 0; shown < perDatagram; ++shown) {
            TslUmd50::Display display;
            display.index = 100 + datagram * perDatagram + shown;
            display.text = QStringLiteral("Box");
            packet.displays.append(display);
        }
        router.writeDatagram(TslUmd50::encode(packet), QHostAddress::LocalHost, source.localPort());
    }
    EXPECT_TRUE(
        eventually([&] { return source.queryShots().size() == TslDisplayTable::maxDisplaysPerSender + 1; }, 5000))
        << source.queryShots().size();
    EXPECT_TRUE(isLive(source, QStringLiteral("Camera 1")));
    const QString limited = QStringLiteral(
        "TSL messages from 127.0.0.66 name more displays than there is room for; its oldest are forgotten");
    int named = 0;
    for (const QList<QVariant>& status : statuses) {
        named += status.at(0).toString() == limited ? 1 : 0;
    }
    EXPECT_EQ(named, 1);
}

TEST(TslShotSourceTest, DatagramsForgedFromManyAddressesDoNotPushOutTheSwitchersDisplays)
{
    ManualClock clock;
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp), clock.function());
    ASSERT_TRUE(source.start(nullptr));
    sendDatagram(packet50(1, TslUmd50::Colour::red, QStringLiteral("Camera 1")), source.localPort());
    ASSERT_TRUE(eventually([&] { return isLive(source, QStringLiteral("Camera 1")); }, 5000));
    // A tenth of a second later, one datagram from each of more addresses
    // than there are places for senders: the switcher is now the one heard
    // least recently.
    clock.now += 100;
    const int forgers = int(TslShotSource::maxSenders);
    for (int forger = 1; forger <= forgers; ++forger) {
        sendDatagramFrom(QHostAddress(QStringLiteral("127.0.1.%1").arg(forger)),
            packet50(100 + forger, TslUmd50::Colour::off, QStringLiteral("Box")), source.localPort());
    }
    EXPECT_TRUE(eventually([&] { return source.queryShots().size() == forgers; }, 5000)) << source.queryShots().size();
    EXPECT_TRUE(isLive(source, QStringLiteral("Camera 1")));
    EXPECT_EQ(source.refusedCount(), 1);
    // Once the senders have been quiet for the silence limit their places
    // are free again.
    clock.now += TslShotSource::defaultSilenceLimit.count();
    sendDatagramFrom(stranger, packet50(9, TslUmd50::Colour::off, QStringLiteral("Nine")), source.localPort());
    EXPECT_TRUE(eventually([&] { return hasShot(source, QStringLiteral("Nine")); }, 5000));
}

namespace {

// The receive buffer the kernel gives the UDP socket of this process that
// listens on port; 0 when there is none.
int receiveBufferOfUdpPort(quint16 port)
{
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QString& name : descriptors.entryList(QDir::NoDotAndDotDot | QDir::System | QDir::Files)) {
        const int descriptor = name.toInt();
        int type = 0;
        socklen_t length = sizeof type;
        if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) != 0 || type != SOCK_DGRAM) {
            continue;
        }
        sockaddr_in address {};
        length = sizeof address;
        if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0
            || address.sin_family != AF_INET || ntohs(address.sin_port) != port) {
            continue;
        }
        int bytes = 0;
        length = sizeof bytes;
        return getsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bytes, &length) == 0 ? bytes : 0;
    }
    return 0;
}

} // namespace

// A busy device nearby, and the process not scheduled for a moment: the
// kernel holds what comes meanwhile. With the system's default of some
// 200 KB it dropped the switcher's own datagrams behind 170 of a busy
// device's, and a cut waited for the switcher's next repeat.
TEST(TslShotSourceTest, TheListenerKeepsRoomForAQuarterSecondOfABusyNetwork)
{
    TslShotSource source(listenOn(TslTallyEncoding::Version::v50, TslShotSource::Transport::udp));
    ASSERT_TRUE(source.start(nullptr));
    // The kernel reports twice what was asked, and grants no more than its
    // rmem_max allows an unprivileged socket.
    QFile limitFile(QStringLiteral("/proc/sys/net/core/rmem_max"));
    ASSERT_TRUE(limitFile.open(QIODevice::ReadOnly));
    const int limit = limitFile.readAll().trimmed().toInt();
    ASSERT_GT(limit, 0);
    EXPECT_GE(receiveBufferOfUdpPort(source.localPort()), 2 * std::min(1024 * 1024, limit));
}
