#include "SingleInstance.h"

#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
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

TEST(SingleInstanceTest, HandOverWithoutARunningInstanceFailsClearly)
{
    QTemporaryDir dir;
    SingleInstance lonely(dir.path());
    QString error;
    HandOverRequest request;
    request.files = QStringList { QStringLiteral("/maps/a.tlx") };
    EXPECT_FALSE(lonely.handOver(request, &error));
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

// Hands the request over from another thread, as a second launch would,
// while this thread's event loop serves the first instance: whether it was
// taken, and if not, why.
bool handOverFromAnotherThread(const QTemporaryDir& dir, const HandOverRequest& request, QString* problem)
{
    std::atomic<bool> done = false;
    bool handedOver = false;
    std::thread launch([&] {
        SingleInstance second(dir.path());
        handedOver = second.handOver(request, problem);
        done = true;
    });
    const bool finished = QTest::qWaitFor([&] { return done.load(); }, 10000);
    launch.join();
    EXPECT_TRUE(finished);
    return handedOver;
}

// The requests a first instance has taken, and what it answers them.
struct RecordingReceiver {
    QList<HandOverRequest> taken;
    QString refusal;

    SingleInstance::Receiver receiver()
    {
        return [this](const HandOverRequest& request, QString* problem) {
            taken.append(request);
            if (!refusal.isEmpty()) {
                *problem = refusal;
                return false;
            }
            return true;
        };
    }
};

HandOverRequest mapAndWebPage()
{
    HandOverRequest request;
    request.files = QStringList { QStringLiteral("/home/operator/maps/studio.tlx") };
    request.webGiven = true;
    request.outputs.web = QStringLiteral("8090");
    return request;
}

// What the first instance answers to message, written straight onto its
// socket as any local program could.
QByteArray answerToRawMessage(const QTemporaryDir& dir, const QByteArray& message)
{
    QLocalSocket sender;
    sender.connectToServer(socketIn(dir));
    EXPECT_TRUE(sender.waitForConnected(1000));
    sender.write(message);
    sender.flush();
    EXPECT_TRUE(QTest::qWaitFor([&] { return sender.canReadLine(); }, 3000)) << message.toStdString();
    return sender.readLine();
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

TEST(SingleInstanceTest, ASecondLaunchHandsItsRequestOverAndLearnsItWasTaken)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    RecordingReceiver window;
    first.setReceiver(window.receiver());
    QString problem;
    EXPECT_TRUE(handOverFromAnotherThread(dir, mapAndWebPage(), &problem)) << problem.toStdString();
    ASSERT_EQ(window.taken.size(), 1);
    EXPECT_EQ(window.taken.first(), mapAndWebPage());
}

TEST(SingleInstanceTest, AWindowThatRefusesTellsTheLaunchWhy)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    RecordingReceiver window;
    window.refusal = QStringLiteral("Web tally page: port 8090 is in use");
    first.setReceiver(window.receiver());
    QString problem;
    EXPECT_FALSE(handOverFromAnotherThread(dir, mapAndWebPage(), &problem));
    EXPECT_EQ(problem, QStringLiteral("the running Mixdesk Tally refused: Web tally page: port 8090 is in use"));
}

TEST(SingleInstanceTest, AMessageThatNeverEndsIsCutOffAtTheSizeLimit)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    RecordingReceiver window;
    first.setReceiver(window.receiver());
    QLocalSocket flood;
    flood.connectToServer(socketIn(dir));
    ASSERT_TRUE(flood.waitForConnected(1000));
    const QByteArray chunk(1000, 'a'); // never a line end
    for (qsizetype sent = 0;
         sent <= 2 * SingleInstance::maximumMessageBytes && flood.state() == QLocalSocket::ConnectedState;
         sent += chunk.size()) {
        flood.write(chunk);
        flood.flush();
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return flood.state() == QLocalSocket::UnconnectedState; }, 1000));
    EXPECT_TRUE(window.taken.isEmpty());
}

TEST(SingleInstanceTest, JunkOnTheSocketIsRefusedAndTheWindowTakesTheNextRequest)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    RecordingReceiver window;
    first.setReceiver(window.receiver());
    for (const QByteArray& junk :
        { QByteArray("folder:/home/operator\nstudio.tlx\n\n"), QByteArray("{\"version\":1,\"files\":\"/x\"}\n"),
            QByteArray("\x00\x01\x02\xff\n", 5), QByteArray("{\"version\":99}\n") }) {
        const std::optional<HandOverAnswer> answer = HandOverAnswer::decode(answerToRawMessage(dir, junk));
        ASSERT_TRUE(answer) << junk.toStdString();
        EXPECT_FALSE(answer->taken);
        EXPECT_FALSE(answer->problem.isEmpty());
    }
    EXPECT_TRUE(window.taken.isEmpty());
    QString problem;
    EXPECT_TRUE(handOverFromAnotherThread(dir, mapAndWebPage(), &problem)) << problem.toStdString();
    EXPECT_EQ(window.taken.size(), 1);
}

TEST(SingleInstanceTest, AWindowWithoutAReceiverYetRefuses)
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    ASSERT_TRUE(first.becomePrimary());
    QString problem;
    EXPECT_FALSE(handOverFromAnotherThread(dir, mapAndWebPage(), &problem));
    EXPECT_TRUE(problem.startsWith(QStringLiteral("the running Mixdesk Tally refused"))) << problem.toStdString();
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
    RecordingReceiver window;
    first.setReceiver(window.receiver());
    QString problem;
    EXPECT_TRUE(handOverFromAnotherThread(dir, mapAndWebPage(), &problem)) << problem.toStdString();
    EXPECT_EQ(window.taken.size(), 1);
}
