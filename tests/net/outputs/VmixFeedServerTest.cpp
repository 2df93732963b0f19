// The vMix-compatible tally feed over real loopback connections: a receiver
// subscribes and hears every change, a poller asks once, and the limits
// keep strangers (an over-long line, a client that never reads, too many
// subscribers, a silent connection) from costing the others anything.

#include "outputs/VmixFeedServer.h"

#include "support/Eventually.h"
#include "support/QtPrinters.h"
#include "switchers/SenderAllowList.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <memory>

namespace {

TallySnapshot studio(TallyMode first, TallyMode second)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = { { first, { QStringLiteral("Camera 1") } }, { second, { QStringLiteral("Camera 2") } },
        { TallyMode::off, { QStringLiteral("Wide") } } };
    return snapshot;
}

// A client that keeps every line it is sent.
class Receiver {
public:
    // From 127.0.0.1, or from another loopback address given.
    explicit Receiver(quint16 port, const QHostAddress& from = {})
    {
        if (!from.isNull()) {
            EXPECT_TRUE(m_socket.bind(from, 0)) << m_socket.errorString().toStdString();
        }
        m_socket.connectToHost(QHostAddress::LocalHost, port);
        EXPECT_TRUE(m_socket.waitForConnected(5000));
    }

    void send(const QByteArray& bytes)
    {
        m_socket.write(bytes);
        m_socket.flush();
    }

    // Waits for the next line; empty when none came in time.
    QByteArray nextLine(int patienceMs = 5000)
    {
        QByteArray line;
        eventually(
            [&] {
                m_pending += m_socket.readAll();
                const qsizetype end = m_pending.indexOf("\r\n");
                if (end < 0) {
                    return false;
                }
                line = m_pending.left(end);
                m_pending.remove(0, end + 2);
                return true;
            },
            patienceMs);
        return line;
    }

    // Waits for count bytes of data after a line.
    QByteArray nextData(qsizetype count)
    {
        eventually([&] {
            m_pending += m_socket.readAll();
            return m_pending.size() >= count;
        });
        const QByteArray data = m_pending.left(count);
        m_pending.remove(0, count);
        return data;
    }

    bool closedByServer(int patienceMs = 5000)
    {
        return eventually(
            [&] {
                m_socket.readAll();
                return m_socket.state() == QAbstractSocket::UnconnectedState;
            },
            patienceMs);
    }

    QTcpSocket& socket() { return m_socket; }

private:
    QTcpSocket m_socket;
    QByteArray m_pending;
};

class VmixFeedServerTest : public testing::Test {
protected:
    void start(VmixFeedServer::Limits limits = {})
    {
        server = std::make_unique<VmixFeedServer>(limits);
        QString problem;
        ASSERT_TRUE(server->listen({ QHostAddress(QHostAddress::LocalHost), 0 }, &problem)) << problem.toStdString();
        port = server->port();
        ASSERT_NE(port, 0);
        server->publish(studio(TallyMode::live, TallyMode::preview));
    }

    std::unique_ptr<VmixFeedServer> server;
    quint16 port = 0;
};

TEST_F(VmixFeedServerTest, ASubscriberHearsTheTallyAtOnceAndOnEveryChange)
{
    start();
    Receiver receiver(port);
    receiver.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 120"));
    ASSERT_TRUE(eventually([&] { return server->subscriberCount() == 1; }));

    // A cut.
    server->publish(studio(TallyMode::preview, TallyMode::live));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 210"));
    // The same picture again (a title may change) sends nothing.
    TallySnapshot renamed = studio(TallyMode::preview, TallyMode::live);
    renamed.lights[2].shotNames = QStringList { QStringLiteral("Close") };
    server->publish(renamed);
    server->publish(studio(TallyMode::off, TallyMode::off));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 000"));

    receiver.send("UNSUBSCRIBE TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("UNSUBSCRIBE OK TALLY"));
    server->publish(studio(TallyMode::live, TallyMode::off));
    receiver.send("TALLY\r\n");
    // Only the answer to the question: no event came after unsubscribing.
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 100"));
    EXPECT_EQ(server->subscriberCount(), 0);
}

TEST_F(VmixFeedServerTest, ALostSwitcherWithTheLightsTurnedOffEndsEveryReceiverDarkAndDisconnected)
{
    start();
    Receiver subscriber(port);
    subscriber.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(subscriber.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 120"));
    Receiver poller(port);
    poller.send("TALLY\r\n");
    EXPECT_EQ(poller.nextLine(), QByteArray("TALLY OK 120"));

    // Lost, with the lights chosen to go off: the box goes dark, and so does
    // a receiver that keeps its last digits; then nobody is told more.
    TallySnapshot lost = studio(TallyMode::off, TallyMode::off);
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 1000;
    server->publish(lost);
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 000"));
    EXPECT_TRUE(subscriber.closedByServer());
    EXPECT_TRUE(poller.closedByServer());
    EXPECT_EQ(server->subscriberCount(), 0);
}

TEST_F(VmixFeedServerTest, ALostSwitcherWithTheLightsKeptClosesWithoutAnotherLine)
{
    start();
    Receiver subscriber(port);
    subscriber.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(subscriber.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 120"));

    // The box keeps the last picture; a receiver must not go on showing it
    // as the switcher's.
    TallySnapshot lost = studio(TallyMode::live, TallyMode::preview);
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 1000;
    server->publish(lost);
    EXPECT_TRUE(subscriber.closedByServer());
    EXPECT_TRUE(subscriber.socket().readAll().isEmpty());
}

TEST_F(VmixFeedServerTest, WhileTheSwitcherIsLostTheFeedRefusesConnectionsUntilItIsBack)
{
    start();
    TallySnapshot lost = studio(TallyMode::live, TallyMode::preview);
    lost.sourceRunning = false;
    server->publish(lost);

    QTcpSocket early;
    early.connectToHost(QHostAddress::LocalHost, port);
    EXPECT_FALSE(early.waitForConnected(5000));
    EXPECT_EQ(early.error(), QAbstractSocket::ConnectionRefusedError) << early.errorString().toStdString();
    EXPECT_EQ(server->port(), port);

    // Back: the feed serves again, on the same port.
    server->publish(studio(TallyMode::preview, TallyMode::live));
    Receiver later(port);
    later.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(later.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(later.nextLine(), QByteArray("TALLY OK 210"));
}

TEST_F(VmixFeedServerTest, OneOfSeveralSwitchersLostLeavesTheFeedTellingWhatTheBoxShows)
{
    start();
    Receiver subscriber(port);
    subscriber.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(subscriber.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 120"));
    // Light 2 rests on a lost switcher and the box keeps it on preview;
    // another switcher runs, so the feed stays and says what the box says,
    // having no word for one light's loss.
    TallySnapshot partly = studio(TallyMode::preview, TallyMode::preview);
    partly.lights[1].sourceLost = true;
    server->publish(partly);
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 220"));
    EXPECT_EQ(server->subscriberCount(), 1);
}

TEST_F(VmixFeedServerTest, UnderTestWithTheSwitcherLostTheFeedTellsWhatTheTestLights)
{
    start();
    TallySnapshot test = studio(TallyMode::preview, TallyMode::preview);
    test.sourceRunning = false;
    test.underTest = true;
    server->publish(test);
    Receiver receiver(port);
    receiver.send("TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 220"));
}

SenderAllowList only(const char* entries)
{
    QString problem;
    const std::optional<SenderAllowList> list = SenderAllowList::parse({ QString::fromLatin1(entries) }, &problem);
    EXPECT_TRUE(list) << problem.toStdString();
    return list.value_or(SenderAllowList {});
}

TEST_F(VmixFeedServerTest, AStrangerIsClosedBeforeItCanTakeTheSlotOfAnAllowedReceiver)
{
    VmixFeedServer::Limits limits;
    limits.connections.maxConnections = 1;
    start(limits);
    server->setAllowedClients(only("127.0.0.2"));
    const QHostAddress studio(QStringLiteral("127.0.0.2"));
    Receiver receiver(port, studio);
    receiver.send("TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 120"));

    // At the limit a new connection would push out the quiet one, unless
    // it comes from an address the feed does not answer.
    Receiver stranger(port);
    stranger.send("SUBSCRIBE TALLY\r\n");
    EXPECT_TRUE(stranger.closedByServer());
    EXPECT_TRUE(stranger.socket().readAll().isEmpty());
    EXPECT_EQ(server->subscriberCount(), 0);
    receiver.send("TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 120"));
}

TEST_F(VmixFeedServerTest, NarrowingWhomTheFeedAnswersClosesStrangersAlreadyConnected)
{
    start();
    Receiver stranger(port);
    stranger.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(stranger.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    Receiver receiver(port, QHostAddress(QStringLiteral("127.0.0.3")));
    receiver.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 120"));

    server->setAllowedClients(only("127.0.0.3/32"));
    EXPECT_TRUE(stranger.closedByServer());
    server->publish(studio(TallyMode::off, TallyMode::live));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 010"));
}

TEST_F(VmixFeedServerTest, MovingToEveryInterfaceOnTheSamePortKeepsItsSubscribers)
{
    start();
    Receiver receiver(port);
    receiver.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 120"));

    QString problem;
    ASSERT_TRUE(server->moveTo({ QHostAddress(QHostAddress::Any), port }, &problem)) << problem.toStdString();
    EXPECT_EQ(server->address().address, QHostAddress(QHostAddress::Any));
    server->publish(studio(TallyMode::off, TallyMode::live));
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 010"));
    Receiver newcomer(port, QHostAddress(QStringLiteral("127.0.0.4")));
    newcomer.send("TALLY\r\n");
    EXPECT_EQ(newcomer.nextLine(), QByteArray("TALLY OK 010"));
}

TEST_F(VmixFeedServerTest, AMoveThatCannotListenSaysWhyAndLeavesTheFeedWhereItWas)
{
    start();
    // A port another program holds.
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress::LocalHost, 0));
    QString problem;
    EXPECT_FALSE(server->moveTo({ QHostAddress(QHostAddress::LocalHost), other.serverPort() }, &problem));
    EXPECT_TRUE(problem.startsWith(
        QStringLiteral("the vMix tally feed cannot listen on 127.0.0.1:%1: ").arg(other.serverPort())))
        << problem.toStdString();
    EXPECT_EQ(server->port(), port);
    Receiver receiver(port);
    receiver.send("TALLY\r\n");
    EXPECT_EQ(receiver.nextLine(), QByteArray("TALLY OK 120"));
}

TEST_F(VmixFeedServerTest, APollerGetsTallyXmlAndErrorsAndQuitCloses)
{
    start();
    Receiver poller(port);
    poller.send("TALLY\r\nXML\nFUNCTION Cut\r\n");
    EXPECT_EQ(poller.nextLine(), QByteArray("TALLY OK 120"));
    const QByteArray xmlLine = poller.nextLine();
    ASSERT_TRUE(xmlLine.startsWith("XML ")) << xmlLine.toStdString();
    const QByteArray document = poller.nextData(xmlLine.mid(4).toLongLong());
    EXPECT_TRUE(document.contains("title=\"Camera 2\"")) << document.toStdString();
    EXPECT_TRUE(document.endsWith("</vmix>\r\n")) << document.toStdString();
    EXPECT_EQ(poller.nextLine(), QByteArray("FUNCTION ER Unknown command"));
    poller.send("QUIT\r\n");
    EXPECT_EQ(poller.nextLine(), QByteArray("QUIT OK Bye"));
    EXPECT_TRUE(poller.closedByServer());
}

TEST_F(VmixFeedServerTest, ALineOver64KilobytesClosesItsConnectionOnly)
{
    start();
    Receiver subscriber(port);
    subscriber.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(subscriber.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 120"));

    Receiver stranger(port);
    stranger.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(stranger.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(stranger.nextLine(), QByteArray("TALLY OK 120"));
    // Subscribed, it is free of the answer deadline, not of the line limit.
    stranger.send(QByteArray(64 * 1024 + 10, 'A'));
    EXPECT_TRUE(stranger.closedByServer());
    EXPECT_TRUE(eventually([&] { return server->subscriberCount() == 1; }));

    server->publish(studio(TallyMode::off, TallyMode::live));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 010"));
}

TEST_F(VmixFeedServerTest, AClientThatNeverReadsIsDroppedAndTheOthersKeepUp)
{
    VmixFeedServer::Limits limits;
    limits.maxUnsentBytes = 32 * 1024;
    limits.socketSendBufferBytes = 8 * 1024;
    start(limits);
    Receiver reader(port);
    reader.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(reader.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(reader.nextLine(), QByteArray("TALLY OK 120"));

    // The stalled one asks for the XML again and again and reads nothing.
    QTcpSocket stalled;
    stalled.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4096);
    stalled.setReadBufferSize(1);
    stalled.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(stalled.waitForConnected(5000));
    // Subscribed, it is free of the answer deadline and the pending-request
    // limit: only the unsent bytes can let it go.
    stalled.write("SUBSCRIBE TALLY\r\n");
    ASSERT_TRUE(eventually([&] { return server->subscriberCount() == 2; }));
    QByteArray requests;
    for (int i = 0; i < 2000; ++i) {
        requests += "XML\r\n";
    }
    bool dropped = false;
    for (int round = 0; round < 20 && !dropped; ++round) {
        stalled.write(requests);
        dropped = eventually([&] { return stalled.state() == QAbstractSocket::UnconnectedState; }, 500);
    }
    EXPECT_TRUE(dropped) << "the stalled client was never let go";

    server->publish(studio(TallyMode::preview, TallyMode::live));
    EXPECT_EQ(reader.nextLine(), QByteArray("TALLY OK 210"));
}

TEST_F(VmixFeedServerTest, SubscribersBeyondTheLimitAreRefused)
{
    VmixFeedServer::Limits limits;
    limits.maxSubscribers = 2;
    start(limits);
    std::vector<std::unique_ptr<Receiver>> receivers;
    for (int i = 0; i < 2; ++i) {
        receivers.push_back(std::make_unique<Receiver>(port));
        receivers.back()->send("SUBSCRIBE TALLY\r\n");
        EXPECT_EQ(receivers.back()->nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    }
    Receiver third(port);
    third.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(third.nextLine(), QByteArray("SUBSCRIBE ER Too many subscribers"));
    EXPECT_EQ(server->subscriberCount(), 2);

    // One leaves; its place is free again.
    receivers.front()->socket().disconnectFromHost();
    ASSERT_TRUE(eventually([&] { return server->subscriberCount() == 1; }));
    third.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(third.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    EXPECT_EQ(third.nextLine(), QByteArray("TALLY OK 120"));
}

TEST_F(VmixFeedServerTest, ASilentConnectionIsCutAfterTheDeadlineButASubscriberStays)
{
    VmixFeedServer::Limits limits;
    limits.connections.answerDeadlineMilliseconds = 300;
    start(limits);
    Receiver subscriber(port);
    subscriber.send("SUBSCRIBE TALLY\r\n");
    EXPECT_EQ(subscriber.nextLine(), QByteArray("SUBSCRIBE OK TALLY"));
    Receiver silent(port);
    EXPECT_TRUE(silent.closedByServer(3000));
    EXPECT_EQ(subscriber.socket().state(), QAbstractSocket::ConnectedState);
    server->publish(studio(TallyMode::off, TallyMode::live));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 120"));
    EXPECT_EQ(subscriber.nextLine(), QByteArray("TALLY OK 010"));
}

TEST_F(VmixFeedServerTest, APortInUseIsAProblemInWords)
{
    start();
    VmixFeedServer second;
    QString problem;
    EXPECT_FALSE(second.listen({ QHostAddress(QHostAddress::LocalHost), port }, &problem));
    EXPECT_TRUE(problem.startsWith(QStringLiteral("the vMix tally feed cannot listen on 127.0.0.1:")))
        << problem.toStdString();
}

} // namespace
