// VmixShotSource against a scripted TCP server on the loopback network:
// connecting and reading the picture, a tally event ticking at once, a
// closed connection and a server that stops answering both counted as lost,
// and trying again.

#include "switchers/VmixShotSource.h"

#include "support/Eventually.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <memory>

namespace {

// A server that answers the three opening requests from its picture and
// can stop answering.
class ScriptedVmix {
public:
    ScriptedVmix() { server.listen(QHostAddress::LocalHost, 0); }

    // Takes the next connection and answers its requests until told not to.
    void serve()
    {
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* next = server.nextPendingConnection()) {
                ++connections;
                socket.reset(next);
                QObject::connect(next, &QTcpSocket::readyRead, [this, next] { answer(next); });
            }
        });
    }

    void answer(QTcpSocket* from)
    {
        pending += from->readAll();
        qsizetype end = 0;
        while ((end = pending.indexOf("\r\n")) >= 0) {
            const QByteArray request = pending.left(end);
            pending.remove(0, end + 2);
            if (!answering) {
                continue;
            }
            if (request == "SUBSCRIBE TALLY") {
                from->write("SUBSCRIBE OK TALLY\r\n");
            } else if (request == "XML") {
                from->write("XML " + QByteArray::number(xml.size()) + "\r\n" + xml);
            } else if (request == "TALLY") {
                from->write("TALLY OK " + tally + "\r\n");
            }
        }
    }

    QTcpServer server;
    std::unique_ptr<QTcpSocket> socket;
    QByteArray pending;
    QByteArray xml = "<vmix><inputs><input key=\"k1\" number=\"1\" title=\"Camera 1\"/>"
                     "<input key=\"k2\" number=\"2\" title=\"Camera 2\"/></inputs></vmix>";
    QByteArray tally = "12";
    bool answering = true;
    int connections = 0;
};

VmixShotSource::Settings settingsFor(quint16 port)
{
    VmixShotSource::Settings settings;
    settings.address.host = QStringLiteral("127.0.0.1");
    settings.address.port = port;
    settings.firstRetryDelayMs = 50;
    return settings;
}

} // namespace

TEST(VmixShotSourceTest, ItConnectsReadsThePictureAndATallyEventTicksAtOnce)
{
    ScriptedVmix vmix;
    vmix.serve();
    VmixShotSource source(settingsFor(vmix.server.serverPort()));
    EXPECT_EQ(source.kind(), ShotSource::Kind::vmix);
    EXPECT_FALSE(source.isRunning());
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000)) << source.status().toStdString();
    EXPECT_EQ(source.status(), QStringLiteral("vMix at 127.0.0.1:%1: connected").arg(vmix.server.serverPort()));
    EXPECT_EQ(source.details().link, QStringLiteral("connected"));
    ShotList shots = source.queryShots();
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("k1"));
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_TRUE(shots[1]->isPreview);

    QSignalSpy changed(&source, &ShotSource::shotsChanged);
    vmix.socket->write("TALLY OK 21\r\n");
    ASSERT_TRUE(eventually([&] { return changed.count() > 0; }, 2000));
    shots = source.queryShots();
    EXPECT_TRUE(shots[0]->isPreview);
    EXPECT_TRUE(shots[1]->isLive);
}

TEST(VmixShotSourceTest, AClosedConnectionIsLostAtOnceAndTriedAgain)
{
    ScriptedVmix vmix;
    vmix.serve();
    VmixShotSource source(settingsFor(vmix.server.serverPort()));
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    QSignalSpy changed(&source, &ShotSource::shotsChanged);
    vmix.socket->disconnectFromHost();
    ASSERT_TRUE(eventually([&] { return !source.isRunning(); }, 1000));
    EXPECT_GE(changed.count(), 1) << "the lights hear of it without waiting for a tick";
    EXPECT_TRUE(source.status().contains(QStringLiteral("not connected"))) << source.status().toStdString();
    EXPECT_TRUE(eventually([&] { return source.isRunning(); }, 5000)) << source.status().toStdString();
    EXPECT_EQ(vmix.connections, 2);
}

TEST(VmixShotSourceTest, AServerThatStopsAnsweringIsLostWithinTwoSeconds)
{
    ScriptedVmix vmix;
    vmix.serve();
    VmixShotSource source(settingsFor(vmix.server.serverPort()));
    ASSERT_TRUE(eventually([&] { return source.isRunning(); }, 5000));
    vmix.answering = false;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(eventually([&] { return !source.isRunning(); }, 5000));
    EXPECT_LT(clock.elapsed(), 2000);
    EXPECT_TRUE(source.status().contains(QStringLiteral("did not answer"))) << source.status().toStdString();
}

TEST(VmixShotSourceTest, NobodyListeningIsSaidAndTriedAgain)
{
    quint16 port = 0;
    {
        QTcpServer closed;
        ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
        port = closed.serverPort();
    }
    VmixShotSource source(settingsFor(port));
    EXPECT_TRUE(eventually([&] { return source.status().contains(QStringLiteral("reconnecting")); }, 5000))
        << source.status().toStdString();
    EXPECT_FALSE(source.isRunning());
    EXPECT_EQ(source.notRunningWarning(), QStringLiteral("vMix is not connected"));
}
