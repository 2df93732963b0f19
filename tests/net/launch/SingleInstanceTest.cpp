#include "launch/SingleInstance.h"

#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(SingleInstanceTest, FirstInstanceBecomesPrimaryAndASecondDoesNot)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    SingleInstance second(dir.path());
    EXPECT_TRUE(first.becomePrimary());
    EXPECT_FALSE(second.becomePrimary());
}

TEST(SingleInstanceTest, SecondLaunchHandsOverAbsolutePaths)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    QSignalSpy received(&first, &SingleInstance::filesReceived);

    // The hand-over blocks while it waits for the answer, as a second
    // process would; run it on its own thread so that this event loop can
    // answer.
    QString error;
    bool handedOver = false;
    std::thread launch([&] {
        SingleInstance second(dir.path());
        handedOver = second.handOver({ QStringLiteral("studio.tlx"), "/abs/other.tlx" }, &error);
    });
    const bool arrived = QTest::qWaitFor([&] { return received.count() == 1; }, 3000);
    QTest::qWait(50); // let the answer go out before the sender gives up
    launch.join();
    ASSERT_TRUE(arrived) << error.toStdString();
    EXPECT_TRUE(handedOver) << error.toStdString();
    const QStringList paths = received.at(0).at(0).toStringList();
    EXPECT_EQ(paths, (QStringList { QFileInfo(QStringLiteral("studio.tlx")).absoluteFilePath(), "/abs/other.tlx" }));
}

TEST(SingleInstanceTest, HandOverWithoutARunningInstanceFailsClearly)
{
    QTemporaryDir dir;
    SingleInstance lonely(dir.path());
    QString error;
    EXPECT_FALSE(lonely.handOver({ QStringLiteral("a.tlx") }, &error));
    EXPECT_TRUE(error.startsWith("cannot reach the running Mixdesk Tally")) << error.toStdString();
}

TEST(SingleInstanceTest, SocketIsForTheUserOnly)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    const QFileInfo socket(QDir(dir.path()).filePath("mixdesk-tally.socket"));
    ASSERT_TRUE(socket.exists());
    EXPECT_FALSE(socket.permissions()
        & (QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ReadGroup | QFileDevice::WriteGroup));
}

namespace {

QString socketIn(const QTemporaryDir& dir)
{
    return QDir(dir.path()).filePath("mixdesk-tally.socket");
}

// Hands the paths over from another thread, as a second launch would, while
// this thread's event loop serves the first instance.
bool handOverFromAnotherThread(
    const QTemporaryDir& dir, SingleInstance& first, const QStringList& paths, QStringList* received = nullptr)
{
    QSignalSpy spy(&first, &SingleInstance::filesReceived);
    QString error;
    bool handedOver = false;
    std::thread launch([&] {
        SingleInstance second(dir.path());
        handedOver = second.handOver(paths, &error);
    });
    const bool arrived = QTest::qWaitFor([&] { return spy.count() == 1; }, 5000);
    QTest::qWait(50);
    launch.join();
    if (received && arrived) {
        *received = spy.at(0).at(0).toStringList();
    }
    return arrived && handedOver;
}

// The paths a window that is the first instance takes from message, written
// straight onto its socket as any local program could; empty, with a
// failure, when nothing arrives.
QStringList receivedFromRawMessage(const QByteArray& message)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    EXPECT_TRUE(first.becomePrimary());
    QSignalSpy received(&first, &SingleInstance::filesReceived);
    QLocalSocket sender;
    sender.connectToServer(socketIn(dir));
    EXPECT_TRUE(sender.waitForConnected(1000));
    sender.write(message);
    sender.flush();
    if (!QTest::qWaitFor([&] { return received.count() == 1; }, 3000)) {
        ADD_FAILURE() << "no paths arrived for " << message.toStdString();
        return {};
    }
    return received.at(0).at(0).toStringList();
}

} // namespace

TEST(SingleInstanceTest, AConnectionThatSaysNothingIsClosedAfterTheTimeLimit)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    QLocalSocket idle;
    idle.connectToServer(socketIn(dir));
    ASSERT_TRUE(idle.waitForConnected(1000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return idle.state() == QLocalSocket::UnconnectedState; },
        SingleInstance::connectionTimeLimitMilliseconds + 3000));
}

TEST(SingleInstanceTest, ConnectionsBeyondTheLimitAreClosedAtOnce)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    std::vector<std::unique_ptr<QLocalSocket>> sockets;
    for (int i = 0; i < SingleInstance::maximumConnections + 20; ++i) {
        sockets.push_back(std::make_unique<QLocalSocket>());
        sockets.back()->connectToServer(socketIn(dir));
        ASSERT_TRUE(sockets.back()->waitForConnected(1000));
    }
    QTest::qWait(300); // well inside the time limit
    const auto stillOpen = std::count_if(sockets.begin(), sockets.end(),
        [](const auto& socket) { return socket->state() == QLocalSocket::ConnectedState; });
    EXPECT_EQ(stillOpen, SingleInstance::maximumConnections);
}

TEST(SingleInstanceTest, AMessageThatNeverEndsIsCutOffAtTheSizeLimit)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    QSignalSpy received(&first, &SingleInstance::filesReceived);
    QLocalSocket flood;
    flood.connectToServer(socketIn(dir));
    ASSERT_TRUE(flood.waitForConnected(1000));
    const QByteArray line(1000, 'a');
    for (qsizetype sent = 0;
         sent <= 2 * SingleInstance::maximumMessageBytes && flood.state() == QLocalSocket::ConnectedState;
         sent += line.size() + 1) {
        flood.write(line + '\n');
        flood.flush();
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return flood.state() == QLocalSocket::UnconnectedState; }, 1000));
    EXPECT_EQ(received.count(), 0);
}

TEST(SingleInstanceTest, ARelativePathIsTakenFromTheSendersFolder)
{
    EXPECT_EQ(receivedFromRawMessage("folder:/home/operator/maps\nstudio.tlx\n../other.tlx\n/abs/third.tlx\n\n"),
        (QStringList { "/home/operator/maps/studio.tlx", "/home/operator/other.tlx", "/abs/third.tlx" }));
}

TEST(SingleInstanceTest, ARelativePathWithoutTheSendersFolderIsNotTakenFromTheWindowsFolder)
{
    EXPECT_EQ(receivedFromRawMessage("studio.tlx\n/abs/third.tlx\n\n"), (QStringList { "/abs/third.tlx" }));
}

// Running out of file descriptors makes accepting fail, and Qt then closes
// the listening socket; the window opens it again.
TEST(SingleInstanceTest, TheWindowListensAgainAfterRunningOutOfFileDescriptors)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());

    rlimit previous {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &previous), 0);
    std::vector<int> hogs;
    {
        // Every descriptor but one taken, then a client connects: its socket
        // takes the last one, and the server's accept finds none.
        rlimit tight = previous;
        tight.rlim_cur = static_cast<rlim_t>(QDir(QStringLiteral("/proc/self/fd")).count() + 16);
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        for (int fd = ::dup(0); fd >= 0; fd = ::dup(0)) {
            hogs.push_back(fd);
        }
        ASSERT_FALSE(hogs.empty());
        ::close(hogs.back());
        hogs.pop_back();
        const int client = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_GE(client, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(socketIn(dir));
        std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
        ASSERT_EQ(::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        QTest::qWait(200); // the server tries to accept, and fails
        ::close(client);
    }
    for (const int fd : hogs) {
        ::close(fd);
    }
    ::setrlimit(RLIMIT_NOFILE, &previous);

    QTest::qWait(SingleInstance::listenCheckMilliseconds + 500);
    QStringList received;
    EXPECT_TRUE(handOverFromAnotherThread(dir, first, { "/abs/studio.tlx" }, &received));
    EXPECT_EQ(received, QStringList { "/abs/studio.tlx" });
}
