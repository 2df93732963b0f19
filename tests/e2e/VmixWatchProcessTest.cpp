// tallyctl watch following the vMix stand-in, as real processes: a cut in
// the stand-in lights the tally box, a rename keeps a light on its input,
// recording is a light of its own, and a stand-in that is killed or hangs
// counts as lost within two seconds and is followed again once it is back.

#include "WatchProcessFixture.h"
#include "support/Eventually.h"
#include "support/VmixStandinProcess.h"

#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

namespace {

class VmixWatchProcessTest : public SwitcherWatchFixture {
protected:
    void SetUp() override
    {
        SwitcherWatchFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        vmix.setOptions(
            { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("2") });
        ASSERT_TRUE(vmix.start());
    }

    QString sourceAddress() const override { return vmix.address(); }

    // The light bytes of the last whole tick the box got, as "b1 21 …".
    QByteArray lastTick() const
    {
        const QList<QByteArray> ticks = capture.ticks();
        return ticks.isEmpty() ? QByteArray() : ticks.last();
    }

    // How long until watch prints line, at most patienceMs.
    qint64 msUntilPrinted(const QString& line, int patienceMs)
    {
        QElapsedTimer clock;
        clock.start();
        if (!eventually([&] { return printedAll({ line }); }, patienceMs)) {
            return -1;
        }
        return clock.elapsed();
    }

    VmixStandinProcess vmix;
};

} // namespace

TEST_F(VmixWatchProcessTest, ACutInTheStandinLightsTheBoxAndARenameKeepsTheLightOnItsInput)
{
    start({ mapPath });
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("vMix running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: preview (Camera 2)"), QStringLiteral("Light 3: live (Camera 1)") });
    })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick().startsWith("b1 21 02 d2 b3 23"); })) << lastTick().toStdString();
    printed.clear();
    vmix.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("Light 1: preview (Camera 1)"), QStringLiteral("Light 2: live (Camera 2)"),
            QStringLiteral("Light 3: live (Camera 2)") });
    })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick().startsWith("01 d1 b2 22 b3 23"); })) << lastTick().toStdString();
    // The light follows the input by its key, whatever its title becomes.
    printed.clear();
    vmix.send("rename 2 Close Up");
    vmix.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: live (Camera 1)"), QStringLiteral("Light 2: preview (Close Up)") });
    })) << printed.toStdString();
}

TEST_F(VmixWatchProcessTest, RecordingIsALightOfItsOwnLiveWhileVmixRecords)
{
    QFile file(mapPath);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("0|Recording\r\n1|Streaming\r\n");
    file.close();
    start({ mapPath });
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("vMix running"), QStringLiteral("Light 1: off"), QStringLiteral("Light 2: off") });
    })) << printed.toStdString();
    printed.clear();
    vmix.send("record on");
    // The XML, where recording shows, is read every few seconds.
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 1: live (Recording)") }); }, 8000))
        << printed.toStdString();
    EXPECT_FALSE(printed.contains(QStringLiteral("Light 2: live"))) << printed.toStdString();
    printed.clear();
    vmix.send("record off");
    EXPECT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 1: off") }); }, 8000))
        << printed.toStdString();
}

TEST_F(VmixWatchProcessTest, AKilledStandinIsLostWithinTwoSecondsAndFollowedAgainWhenBack)
{
    start({ mapPath });
    ASSERT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("vMix running"), QStringLiteral("Light 1: live (Camera 1)") });
    })) << printed.toStdString();
    vmix.send("cut");
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("Light 2: live (Camera 2)") }); }))
        << printed.toStdString();
    printed.clear();
    vmix.stop();
    const qint64 lostAfter = msUntilPrinted(QStringLiteral("vMix not running"), 5000);
    EXPECT_GE(lostAfter, 0) << printed.toStdString();
    EXPECT_LT(lostAfter, 2000) << printed.toStdString();
    // Frozen: the box keeps the last lights (light 1 preview, 2 and 3 live).
    EXPECT_TRUE(lastTick().startsWith("01 d1 b2 22 b3 23")) << lastTick().toStdString();

    // Back with its own picture: Camera 1 on program, Camera 2 on preview.
    ASSERT_TRUE(vmix.restart());
    printed.clear();
    EXPECT_TRUE(eventually(
        [&] {
            return printedAll({ QStringLiteral("vMix running"), QStringLiteral("Light 1: live (Camera 1)"),
                QStringLiteral("Light 2: preview (Camera 2)") });
        },
        10000))
        << printed.toStdString();
    printed.clear();
    vmix.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: preview (Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
    })) << printed.toStdString();
}

TEST_F(VmixWatchProcessTest, AStandinThatHangsIsLostWithinTwoSecondsAndFollowedWhenItWakes)
{
    start({ mapPath });
    ASSERT_TRUE(eventually([&] {
        return printedAll({ QStringLiteral("vMix running"), QStringLiteral("Light 1: live (Camera 1)") });
    })) << printed.toStdString();
    printed.clear();
    vmix.pause();
    const qint64 lostAfter = msUntilPrinted(QStringLiteral("vMix not running"), 5000);
    EXPECT_GE(lostAfter, 0) << printed.toStdString();
    EXPECT_LT(lostAfter, 2000) << printed.toStdString();
    EXPECT_TRUE(printed.contains(QStringLiteral("did not answer"))) << printed.toStdString();
    vmix.resume();
    printed.clear();
    vmix.send("cut");
    EXPECT_TRUE(eventually(
        [&] {
            return printedAll({ QStringLiteral("vMix running"), QStringLiteral("Light 1: preview (Camera 1)"),
                QStringLiteral("Light 2: live (Camera 2)") });
        },
        10000))
        << printed.toStdString();
}
