// One try at OBS Studio from the source dialog's Test button, against a
// websocket server in the test's own process: what it says when OBS
// accepts, refuses the password, or does not answer.

#include "switchers/ObsConnectionCheck.h"

#include "net/switchers/FakeObsServer.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QTcpServer>

#include <gtest/gtest.h>

#include <optional>

namespace {

using Outcome = ObsConnectionCheck::Outcome;

class ObsConnectionCheckTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.listening());
        server.scenes = { QStringLiteral("Wide") };
        server.inputs = { QStringLiteral("Camera 1") };
        server.items[QStringLiteral("Wide")] = { FakeObsServer::Item { 1, QStringLiteral("Camera 1") } };
        server.program = QStringLiteral("Wide");
    }

    // Runs a check of 127.0.0.1:port to its end; false if it never ended.
    bool check(quint16 port, const QString& password = {}, int timeoutMs = 4000)
    {
        ObsConnectionCheck::Settings settings;
        settings.address.host = QStringLiteral("127.0.0.1");
        settings.address.port = port;
        settings.password = password;
        settings.timeoutMs = timeoutMs;
        ObsConnectionCheck checking(settings);
        QObject::connect(&checking, &ObsConnectionCheck::finished, [this](Outcome outcome, const QString& words) {
            ++finishes;
            this->outcome = outcome;
            this->words = words;
        });
        // It has not finished before the event loop runs: nothing waits.
        EXPECT_FALSE(checking.isFinished());
        const bool ended = eventually([&] { return checking.isFinished(); }, 10000);
        // A late close or timer would say more: none may.
        QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
        return ended;
    }

    FakeObsServer server;
    std::optional<Outcome> outcome;
    QString words;
    int finishes = 0;
};

} // namespace

TEST_F(ObsConnectionCheckTest, AnOpenObsIsConnectedToOnceAndItsScenesRead)
{
    ASSERT_TRUE(check(server.port()));
    EXPECT_EQ(outcome, Outcome::connected);
    EXPECT_EQ(words, QStringLiteral("Connected to OBS Studio at 127.0.0.1:%1").arg(server.port()));
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(server.connections, 1);
    EXPECT_TRUE(server.requestTypes.contains(QStringLiteral("GetSceneList")));
}

TEST_F(ObsConnectionCheckTest, TheRightPasswordConnects)
{
    server.password = QStringLiteral("studio 7");
    ASSERT_TRUE(check(server.port(), QStringLiteral("studio 7")));
    EXPECT_EQ(outcome, Outcome::connected) << words.toStdString();
}

TEST_F(ObsConnectionCheckTest, AWrongPasswordIsSaidToBeRefused)
{
    server.password = QStringLiteral("studio 7");
    ASSERT_TRUE(check(server.port(), QStringLiteral("studio 8")));
    EXPECT_EQ(outcome, Outcome::passwordRefused);
    EXPECT_EQ(words, QStringLiteral("OBS Studio at 127.0.0.1:%1 refused the password").arg(server.port()));
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(server.connections, 1) << "one try, not a retry";
}

TEST_F(ObsConnectionCheckTest, NoPasswordWhereOneIsAskedForIsSaidSo)
{
    server.password = QStringLiteral("studio 7");
    ASSERT_TRUE(check(server.port()));
    EXPECT_EQ(outcome, Outcome::passwordRefused);
    EXPECT_EQ(words, QStringLiteral("OBS Studio at 127.0.0.1:%1 asks for a password").arg(server.port()));
}

TEST_F(ObsConnectionCheckTest, AClosedPortIsNoAnswerWithTheReason)
{
    const quint16 closed = freePort();
    ASSERT_TRUE(check(closed));
    EXPECT_EQ(outcome, Outcome::noAnswer);
    EXPECT_TRUE(words.startsWith(QStringLiteral("No answer from OBS Studio at 127.0.0.1:%1: ").arg(closed)))
        << words.toStdString();
    EXPECT_EQ(finishes, 1);
}

TEST_F(ObsConnectionCheckTest, AServerThatNeverSpeaksIsNoAnswerWhenTheTimeIsUp)
{
    server.silent = true;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(check(server.port(), {}, 500));
    EXPECT_GE(clock.elapsed(), 450);
    EXPECT_EQ(outcome, Outcome::noAnswer);
    EXPECT_EQ(words, QStringLiteral("No answer from OBS Studio at 127.0.0.1:%1 within 0.5 s").arg(server.port()));
    EXPECT_EQ(finishes, 1);
}

TEST_F(ObsConnectionCheckTest, SomethingThatIsNotObsIsRefusedNotFollowed)
{
    // A plain TCP server that accepts and then hangs up: no websocket at all.
    QTcpServer plain;
    ASSERT_TRUE(plain.listen(QHostAddress::LocalHost, 0));
    QObject::connect(&plain, &QTcpServer::newConnection, [&plain] {
        while (QTcpSocket* socket = plain.nextPendingConnection()) {
            socket->write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
            socket->disconnectFromHost();
        }
    });
    ASSERT_TRUE(check(plain.serverPort()));
    EXPECT_NE(outcome, Outcome::connected);
    EXPECT_FALSE(words.isEmpty());
    EXPECT_EQ(finishes, 1);
}
