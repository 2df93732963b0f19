#include "app/SingleInstance.h"

#include "support/QtPrinters.h"

#include <QFileInfo>
#include <QLocalServer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <thread>

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
