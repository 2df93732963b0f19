#include "support/Eventually.h"
#include "support/NodeTsl.h"
#include "support/QtPrinters.h"
#include "switchers/TslShotSource.h"

#include <gtest/gtest.h>

// Names the transport in test output (and in the test names ctest lists).
static void PrintTo(TslShotSource::Transport transport, std::ostream* out)
{
    *out << (transport == TslShotSource::Transport::udp ? "udp" : "tcp");
}

namespace {

TslShotSource::Listen listenOn(TslShotSource::Transport transport)
{
    TslShotSource::Listen listen;
    listen.version = TslTallyEncoding::Version::v50;
    listen.transport = transport;
    listen.address = QHostAddress(QHostAddress::LocalHost);
    return listen;
}

QString transportName(TslShotSource::Transport transport)
{
    return transport == TslShotSource::Transport::udp ? QStringLiteral("udp") : QStringLiteral("tcp");
}

// Sends one display message with the npm package, as a switcher would, and
// waits for node to finish.
void sendWithNode(
    TslShotSource::Transport transport, quint16 port, int index, int rh, int textTally, int lh, const QString& text)
{
    QProcess node;
    NodeTsl::start(node, QStringLiteral("net/switchers/tsl_umd_v5_sender.js"),
        { transportName(transport), QStringLiteral("127.0.0.1"), QString::number(port), QString::number(index),
            QString::number(rh), QString::number(textTally), QString::number(lh), text });
    // The source lives on this thread: keep its events going while node runs.
    ASSERT_TRUE(eventually([&] { return node.state() == QProcess::NotRunning; }, 15000));
    EXPECT_EQ(node.exitCode(), 0) << node.readAllStandardError().toStdString();
}

class TslShotSourceInteropTest : public testing::TestWithParam<TslShotSource::Transport> { };

} // namespace

TEST_P(TslShotSourceInteropTest, ShotsFollowWhatTheNpmSenderSays)
{
    if (const std::optional<QString> why = NodeTsl::missing()) {
        GTEST_SKIP() << why->toStdString();
    }
    TslShotSource source(listenOn(GetParam()));
    QString problem;
    ASSERT_TRUE(source.start(&problem)) << problem.toStdString();

    sendWithNode(GetParam(), source.localPort(), 3, 1, 0, 0, QStringLiteral("Cam 3"));
    ASSERT_TRUE(eventually([&] { return source.queryShots().size() == 1; }, 5000));
    ShotList shots = source.queryShots();
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("3"));
    EXPECT_EQ(shots[0]->name, QStringLiteral("Cam 3"));
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_FALSE(shots[0]->isPreview);
    EXPECT_TRUE(source.isRunning());

    // Green on the left tally only: preview.
    sendWithNode(GetParam(), source.localPort(), 1, 0, 0, 2, QStringLiteral("Wide"));
    ASSERT_TRUE(eventually([&] { return source.queryShots().size() == 2; }, 5000));
    shots = source.queryShots();
    EXPECT_EQ(shots[0]->name, QStringLiteral("Wide"));
    EXPECT_TRUE(shots[0]->isPreview);
    EXPECT_FALSE(shots[0]->isLive);

    // A cut: 3 leaves program, 1 takes it.
    sendWithNode(GetParam(), source.localPort(), 3, 0, 0, 0, QStringLiteral("Cam 3"));
    sendWithNode(GetParam(), source.localPort(), 1, 1, 1, 1, QStringLiteral("Wide"));
    EXPECT_TRUE(eventually(
        [&] {
            shots = source.queryShots();
            return shots.size() == 2 && shots[0]->isLive && !shots[1]->isLive;
        },
        5000));
    EXPECT_EQ(source.rejectedCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Transports, TslShotSourceInteropTest,
    testing::Values(TslShotSource::Transport::udp, TslShotSource::Transport::tcp),
    [](const testing::TestParamInfo<TslShotSource::Transport>& info) {
        return info.param == TslShotSource::Transport::udp ? std::string("Udp") : std::string("Tcp");
    });
