// tallyctl watch following the ATEM stand-in and the vMix stand-in at once,
// as real processes, with the capture box: lights lit from both, a name
// both share told apart by the switcher's label, and one switcher killed
// while the other's cuts still reach the box.

#include "WatchProcessFixture.h"
#include "net/outputs/WebTallyClient.h"
#include "support/AtemStandinProcess.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/VmixStandinProcess.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

// Both stand-ins have a "Camera 1"; watch names the shot lighting a light. The ATEM starts with Camera 1 on
// program and Camera 2 on preview; the vMix with Clip on program and its
// Camera 1 on preview. Light 1 holds the ATEM's Camera 1, light 2 Camera 2
// (the ATEM's alone), light 3 Clip (the vMix's alone), light 4 the vMix's
// Camera 1.
class SeveralSwitchersWatchProcessTest : public SwitcherWatchFixture {
protected:
    SeveralSwitchersWatchProcessTest()
        : vmix(QStringLiteral("Clip,Graphics,Camera 1"))
    {
    }

    void SetUp() override
    {
        SwitcherWatchFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        QFile file(mapPath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("0|ATEM: Camera 1\r\n1|Camera 2\r\n2|Clip\r\n3|vMix: Camera 1\r\n");
        file.close();
        ASSERT_TRUE(atem.start());
        vmix.setOptions(
            { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("3") });
        ASSERT_TRUE(vmix.start());
    }

    // The first switcher; the fixture puts it after the first --source.
    QString sourceAddress() const override { return atem.address(); }

    void startBoth(const QStringList& more = {})
    {
        start(QStringList { QStringLiteral("--source"), vmix.address() } + more + QStringList { mapPath });
    }

    // The first four lights' bytes of the last whole tick the box got.
    QByteArray lastTick() const
    {
        const QList<QByteArray> ticks = capture.ticks();
        return ticks.isEmpty() ? QByteArray() : ticks.last().left(4 * 6 - 1);
    }

    // Waits until both switchers light the lights as they start.
    void waitForBothAtTheirStart()
    {
        ASSERT_TRUE(eventually([&] {
            return printedAll({ QStringLiteral("ATEM running"), QStringLiteral("vMix running"),
                QStringLiteral("Light 1: live (ATEM: Camera 1)"), QStringLiteral("Light 2: preview (Camera 2)"),
                QStringLiteral("Light 3: live (Clip)"), QStringLiteral("Light 4: preview (vMix: Camera 1)") });
        })) << printed.toStdString();
        ASSERT_TRUE(eventually([&] { return lastTick() == "b1 21 02 d2 b3 23 04 d4"; })) << lastTick().toStdString();
    }

    AtemStandinProcess atem;
    VmixStandinProcess vmix;
};

} // namespace

TEST_F(SeveralSwitchersWatchProcessTest, BothSwitchersLightTheLightsAndASharedNameIsToldApartByItsLabel)
{
    startBoth();
    waitForBothAtTheirStart();
    printed.clear();
    vmix.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 3: preview (Clip)"), QStringLiteral("Light 4: live (vMix: Camera 1)") });
    })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick() == "b1 21 02 d2 03 d3 b4 24"; })) << lastTick().toStdString();
    EXPECT_FALSE(printed.contains(QStringLiteral("Light 1:"))) << "the ATEM's Camera 1 is another camera";
    printed.clear();
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: preview (ATEM: Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
    })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick() == "01 d1 b2 22 03 d3 b4 24"; })) << lastTick().toStdString();
    EXPECT_FALSE(printed.contains(QStringLiteral("missing"))) << printed.toStdString();
}

TEST_F(SeveralSwitchersWatchProcessTest, AKilledSwitcherFreezesItsLightsWhileTheOthersCutsStillArrive)
{
    startBoth();
    waitForBothAtTheirStart();
    printed.clear();
    vmix.stop();
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("vMix not running") }); }, 5000))
        << printed.toStdString();
    EXPECT_FALSE(printed.contains(QStringLiteral("ATEM + vMix not running"))) << "the ATEM still runs";
    printed.clear();
    atem.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 1: preview (ATEM: Camera 1)"), QStringLiteral("Light 2: live (Camera 2)") });
    })) << printed.toStdString();
    // The vMix's lights keep their last state, as by default.
    EXPECT_TRUE(eventually([&] { return lastTick() == "01 d1 b2 22 b3 23 04 d4"; })) << lastTick().toStdString();

    ASSERT_TRUE(vmix.restart());
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("vMix running") }); }, 10000))
        << printed.toStdString();
    printed.clear();
    vmix.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 3: preview (Clip)"), QStringLiteral("Light 4: live (vMix: Camera 1)") });
    })) << printed.toStdString();
}

TEST_F(SeveralSwitchersWatchProcessTest, WithTheLightsOffWhenLostOnlyTheLostSwitchersLightsGoOut)
{
    startBoth({ QStringLiteral("--when-lost"), QStringLiteral("off") });
    waitForBothAtTheirStart();
    printed.clear();
    atem.stop();
    ASSERT_TRUE(eventually([&] { return printedAll({ QStringLiteral("ATEM not running") }); }, 5000))
        << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick() == "01 21 02 22 b3 23 04 d4"; })) << lastTick().toStdString();
    printed.clear();
    vmix.send("cut");
    EXPECT_TRUE(eventually([&] {
        return printedAll(
            { QStringLiteral("Light 3: preview (Clip)"), QStringLiteral("Light 4: live (vMix: Camera 1)") });
    })) << printed.toStdString();
    EXPECT_TRUE(eventually([&] { return lastTick() == "01 21 02 22 03 d3 b4 24"; })) << lastTick().toStdString();
}

namespace {

// Per light of the web page's state, its mode, and " lost" after it when
// the page is told the light rests on a lost switcher: "live", "off lost".
QStringList webLights(quint16 port)
{
    const HttpAnswer answer = httpGet(port, QStringLiteral("/api/lights"));
    QStringList shown;
    const QJsonArray lights = QJsonDocument::fromJson(answer.body).object().value(QStringLiteral("lights")).toArray();
    for (const QJsonValue& light : lights) {
        const QJsonObject object = light.toObject();
        shown.append(object.value(QStringLiteral("mode")).toString()
            + (object.value(QStringLiteral("lost")).toBool() ? QStringLiteral(" lost") : QString()));
    }
    return shown.mid(0, 4);
}

} // namespace

TEST_F(SeveralSwitchersWatchProcessTest, TheWebPageMarksOnlyTheLightsThatRestOnTheLostSwitcher)
{
    const quint16 webPort = freePort();
    startBoth({ QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(webPort) });
    waitForBothAtTheirStart();
    const QStringList atStart { QStringLiteral("live"), QStringLiteral("preview"), QStringLiteral("live"),
        QStringLiteral("preview") };
    ASSERT_TRUE(eventually([&] { return webLights(webPort) == atStart; }))
        << webLights(webPort).join(QLatin1Char(',')).toStdString();
    vmix.stop();
    const QStringList vmixLost { QStringLiteral("live"), QStringLiteral("preview"), QStringLiteral("live lost"),
        QStringLiteral("preview lost") };
    EXPECT_TRUE(eventually([&] { return webLights(webPort) == vmixLost; }, 5000))
        << webLights(webPort).join(QLatin1Char(',')).toStdString();
    atem.send("cut");
    const QStringList afterCut { QStringLiteral("preview"), QStringLiteral("live"), QStringLiteral("live lost"),
        QStringLiteral("preview lost") };
    EXPECT_TRUE(eventually([&] { return webLights(webPort) == afterCut; }))
        << webLights(webPort).join(QLatin1Char(',')).toStdString();
}

TEST_F(SeveralSwitchersWatchProcessTest, TwoSourcesWithOneLabelAreRefusedBeforeAnythingStarts)
{
    start({ QStringLiteral("--source"), QStringLiteral("ATEM=") + vmix.address(), mapPath });
    ASSERT_TRUE(watch.waitForFinished(10000));
    EXPECT_EQ(watch.exitCode(), 2) << "a usage mistake";
    const QString errors = QString::fromUtf8(watch.readAllStandardError());
    EXPECT_TRUE(errors.contains(QStringLiteral("two sources are labelled 'ATEM'"))) << errors.toStdString();
}

namespace {

// Whether watch --json has printed a running event for the whole (named
// after the first switcher, the ATEM, and running) that gives each
// switcher's label, kind and state as said.
bool hasRunningEvent(const QString& printed, bool atemRunning, bool vmixRunning)
{
    const QJsonArray expected {
        QJsonObject { { QStringLiteral("label"), QStringLiteral("ATEM") },
            { QStringLiteral("kind"), QStringLiteral("atem") }, { QStringLiteral("running"), atemRunning } },
        QJsonObject { { QStringLiteral("label"), QStringLiteral("vMix") },
            { QStringLiteral("kind"), QStringLiteral("vmix") }, { QStringLiteral("running"), vmixRunning } },
    };
    for (const QString& line : printed.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QJsonObject event = QJsonDocument::fromJson(line.toUtf8()).object();
        if (event.value(QStringLiteral("event")) == QStringLiteral("atem")
            && event.value(QStringLiteral("running")).toBool()
            && event.value(QStringLiteral("switchers")).toArray() == expected) {
            return true;
        }
    }
    return false;
}

} // namespace

TEST_F(SeveralSwitchersWatchProcessTest, JsonRunningEventsTellOfEachSwitcherAndOfOneLostWhileTheOtherRuns)
{
    startBoth({ QStringLiteral("--json") });
    ASSERT_TRUE(eventually([&] {
        printedAll({});
        return hasRunningEvent(printed, true, true);
    })) << printed.toStdString();
    printed.clear();
    vmix.stop();
    EXPECT_TRUE(eventually(
        [&] {
            printedAll({});
            return hasRunningEvent(printed, true, false);
        },
        5000))
        << printed.toStdString();
    printed.clear();
    ASSERT_TRUE(vmix.restart());
    EXPECT_TRUE(eventually(
        [&] {
            printedAll({});
            return hasRunningEvent(printed, true, true);
        },
        10000))
        << printed.toStdString();
}
