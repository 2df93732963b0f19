// What tallyctl watch prints for each change, in its two styles, with a
// fixed clock.

#include "WatchPrinter.h"

#include "support/QtPrinters.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

// 2026-11-23 12:04:05.678 at one hour east of UTC.
QDateTime fixedTime()
{
    return QDateTime(QDate(2026, 11, 23), QTime(12, 4, 5, 678), Qt::OffsetFromUTC, 3600);
}

class WatchPrinterTest : public testing::Test {
protected:
    WatchPrinter printer(WatchPrinter::Style style, qsizetype lightCount = 8)
    {
        return WatchPrinter(
            lightCount, style, [] { return fixedTime(); }, [this](const QString& line) { lines.append(line); });
    }

    // One tick as the cycle makes it: every light's indicator, then the
    // snapshot.
    static void tick(WatchPrinter& printer, const QList<LightState>& lights)
    {
        TallySnapshot snapshot;
        snapshot.sourceRunning = true;
        snapshot.lights = lights;
        for (qsizetype index = 0; index < lights.size(); ++index) {
            printer.showLightMode(index, lights[index].mode);
        }
        printer.publish(snapshot);
    }

    QStringList lines;
};

} // namespace

TEST_F(WatchPrinterTest, PlainLinesSayWhatChangedAndNothingMore)
{
    const QStringList camera1 { QStringLiteral("Camera 1") };
    const QStringList wideAndClose { QStringLiteral("Wide"), QStringLiteral("Close") };
    WatchPrinter plain = printer(WatchPrinter::Style::Plain, 3);
    plain.setMixdeskWarningHidden(true);
    tick(plain, { { TallyMode::live, camera1, {}, camera1 }, {}, {} });
    tick(plain, { { TallyMode::live, camera1, {}, camera1 }, {}, {} });
    plain.refreshAssignmentTitles();
    tick(plain,
        { { TallyMode::live, camera1, {}, camera1 }, {}, { TallyMode::preview, wideAndClose, {}, wideAndClose } });
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral("Mixdesk running"), QStringLiteral("Light 1: live (Camera 1)"),
            QStringLiteral("Light 2: off"), QStringLiteral("Light 3: off"),
            QStringLiteral("Assigned shots renamed in Mixdesk"), QStringLiteral("Light 3: preview (Wide, Close)") }));
}

TEST_F(WatchPrinterTest, ALightLitByAnotherOfItsShotsIsSaidAgain)
{
    const QStringList cameras { QStringLiteral("Camera 1"), QStringLiteral("Camera 2") };
    WatchPrinter plain = printer(WatchPrinter::Style::Plain, 1);
    tick(plain, { { TallyMode::live, cameras, {}, { QStringLiteral("Camera 1") } } });
    tick(plain, { { TallyMode::live, cameras, {}, { QStringLiteral("Camera 2") } } });
    tick(plain, { { TallyMode::live, cameras, {}, cameras } });
    tick(plain, { { TallyMode::off, cameras } });
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral("Light 1: live (Camera 1)"), QStringLiteral("Light 1: live (Camera 2)"),
            QStringLiteral("Light 1: live (Camera 1, Camera 2)"), QStringLiteral("Light 1: off") }));
}

TEST_F(WatchPrinterTest, ALightSetWithoutAShotIsNamedByItsModeAlone)
{
    // The test panel's modes, and a light kept while the switcher is lost
    // that no shot lit before.
    WatchPrinter plain = printer(WatchPrinter::Style::Plain, 1);
    tick(plain, { { TallyMode::preview, { QStringLiteral("Camera 1") } } });
    EXPECT_EQ(lines, QStringList({ QStringLiteral("Light 1: preview") }));
}

TEST_F(WatchPrinterTest, ALightTheCycleHasNotShownIsNotPrinted)
{
    // A switcher lost from the start: the snapshots come, the indicators
    // are never set, and the lights have nothing to say yet.
    WatchPrinter plain = printer(WatchPrinter::Style::Plain, 2);
    TallySnapshot lost;
    lost.lights = { {}, {} };
    plain.publish(lost);
    EXPECT_TRUE(lines.isEmpty()) << lines.join(u'\n').toStdString();
}

TEST_F(WatchPrinterTest, AJsonLightEventIsTheSharedLightWithItsEventAndTime)
{
    WatchPrinter json = printer(WatchPrinter::Style::Json, 1);
    tick(json,
        { { TallyMode::live, { QStringLiteral("Camera 1"), QStringLiteral("Wide") }, { QStringLiteral("Wide") },
            { QStringLiteral("Camera 1") } } });
    ASSERT_EQ(lines.size(), 2) << lines.join(u'\n').toStdString();
    EXPECT_EQ(lines[0],
        QStringLiteral(
            "{\"event\":\"light\",\"light\":1,\"litBy\":[\"Camera 1\"],\"missing\":[\"Wide\"],\"mode\":\"live\","
            "\"shots\":[\"Camera 1\",\"Wide\"],\"time\":\"2026-11-23T12:04:05.678+01:00\"}"));
    // The light comes first, then the shot it lacks.
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("{\"event\":\"missingShot\","))) << lines[1].toStdString();
}

TEST_F(WatchPrinterTest, JsonIsOneObjectPerChangeWithItsEventAndTime)
{
    WatchPrinter json = printer(WatchPrinter::Style::Json, 2);
    json.setMixdeskWarningHidden(true);
    tick(json, { {}, { TallyMode::preview, { QStringLiteral("Close") }, {}, { QStringLiteral("Close") } } });
    json.refreshAssignmentTitles();
    json.setTallyBoxAttached(false);
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral(
                          "{\"event\":\"mixdesk\",\"running\":true,\"time\":\"2026-11-23T12:04:05.678+01:00\"}"),
            QStringLiteral("{\"event\":\"light\",\"light\":1,\"litBy\":[],\"missing\":[],\"mode\":\"off\",\"shots\":[],"
                           "\"time\":\"2026-11-23T12:04:05.678+01:00\"}"),
            QStringLiteral("{\"event\":\"light\",\"light\":2,\"litBy\":[\"Close\"],\"missing\":[],\"mode\":\"preview\","
                           "\"shots\":[\"Close\"],\"time\":\"2026-11-23T12:04:05.678+01:00\"}"),
            QStringLiteral("{\"event\":\"renamed\",\"time\":\"2026-11-23T12:04:05.678+01:00\"}"),
            QStringLiteral(
                "{\"attached\":false,\"event\":\"tallyBox\",\"time\":\"2026-11-23T12:04:05.678+01:00\"}") }));
    for (const QString& line : lines) {
        QJsonParseError error;
        EXPECT_TRUE(QJsonDocument::fromJson(line.toUtf8(), &error).isObject()) << error.errorString().toStdString();
    }
}

TEST_F(WatchPrinterTest, ATallyBoxThereFromTheStartIsNotMentioned)
{
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setTallyBoxAttached(true);
    plain.setTallyBoxAttached(true);
    EXPECT_TRUE(lines.isEmpty()) << lines.join(u'\n').toStdString();
}

TEST_F(WatchPrinterTest, NoTallyBoxIsSaidOnceAndItsComingAndGoingEachTime)
{
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setTallyBoxAttached(false);
    plain.setTallyBoxAttached(false);
    plain.setTallyBoxAttached(true);
    plain.setTallyBoxAttached(true);
    plain.setTallyBoxAttached(false);
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral("No tally box attached: the lights are shown here only"),
            QStringLiteral("Tally box attached"),
            QStringLiteral("No tally box attached: the lights are shown here only") }));
}

TEST_F(WatchPrinterTest, ABoxThatGoesAfterStartIsSaid)
{
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setTallyBoxAttached(true);
    plain.setTallyBoxAttached(false);
    EXPECT_EQ(lines, QStringList({ QStringLiteral("No tally box attached: the lights are shown here only") }));
}

TEST_F(WatchPrinterTest, AMissingShotIsNamedOnceWhenItGoesAndOnceWhenItIsBack)
{
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setSource(QStringLiteral("Blackmagic ATEM"), ShotSource::Kind::atem);
    TallySnapshot report;
    report.sourceRunning = true;
    report.lights = { { TallyMode::off, { QStringLiteral("Camera 9") }, { QStringLiteral("Camera 9") } } };
    plain.publish(report);
    plain.publish(report);
    report.lights[0].missingShots.clear();
    plain.publish(report);
    EXPECT_EQ(lines,
        (QStringList { QStringLiteral("Light 1: shot \"Camera 9\" missing from Blackmagic ATEM: it cannot light this "
                                      "light"),
            QStringLiteral("Light 1: shot \"Camera 9\" found in Blackmagic ATEM again") }));
}

TEST_F(WatchPrinterTest, AMissingShotInJsonNamesItsLightAndShot)
{
    WatchPrinter json = printer(WatchPrinter::Style::Json);
    TallySnapshot report;
    report.sourceRunning = true;
    report.lights = { {}, { TallyMode::off, { QStringLiteral("Wide") }, { QStringLiteral("Wide") } } };
    json.publish(report);
    ASSERT_EQ(lines.size(), 1);
    const QJsonObject object = QJsonDocument::fromJson(lines[0].toUtf8()).object();
    EXPECT_EQ(object.value("event").toString(), QStringLiteral("missingShot"));
    EXPECT_EQ(object.value("light").toInt(), 2);
    EXPECT_EQ(object.value("shot").toString(), QStringLiteral("Wide"));
    EXPECT_TRUE(object.value("missing").toBool());
}

TEST_F(WatchPrinterTest, AJsonRunningEventNamesTheKindOfSwitcherFollowed)
{
    const QList<std::pair<ShotSource::Kind, QString>> kinds { { ShotSource::Kind::atem, QStringLiteral("atem") },
        { ShotSource::Kind::obsStudio, QStringLiteral("obs") }, { ShotSource::Kind::tslUmd, QStringLiteral("tsl") },
        { ShotSource::Kind::mixdesk, QStringLiteral("mixdesk") }, { ShotSource::Kind::vmix, QStringLiteral("vmix") } };
    for (const auto& [kind, event] : kinds) {
        lines.clear();
        WatchPrinter json = printer(WatchPrinter::Style::Json);
        json.setSource(QStringLiteral("Some switcher"), kind);
        json.setMixdeskWarningHidden(false);
        json.setMixdeskWarningHidden(true);
        EXPECT_EQ(lines,
            QStringList(
                { QStringLiteral("{\"event\":\"%1\",\"running\":false,\"time\":\"2026-11-23T12:04:05.678+01:00\"}")
                        .arg(event),
                    QStringLiteral("{\"event\":\"%1\",\"running\":true,\"time\":\"2026-11-23T12:04:05.678+01:00\"}")
                        .arg(event) }));
    }
}

TEST_F(WatchPrinterTest, PlainRunningLinesNameTheSwitcherFollowed)
{
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setSource(QStringLiteral("Blackmagic ATEM"), ShotSource::Kind::atem);
    plain.setMixdeskWarningHidden(true);
    plain.refreshAssignmentTitles();
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral("Blackmagic ATEM running"),
            QStringLiteral("Assigned shots renamed in Blackmagic ATEM") }));
}

TEST_F(WatchPrinterTest, WithSeveralSwitchersAJsonRunningEventCarriesEachOneAndComesWhenOneIsLost)
{
    QList<WatchPrinter::SwitcherState> states { { QStringLiteral("ATEM"), ShotSource::Kind::atem, true },
        { QStringLiteral("Playback"), ShotSource::Kind::vmix, true } };
    WatchPrinter json = printer(WatchPrinter::Style::Json);
    json.setSource(QStringLiteral("ATEM + Playback"), ShotSource::Kind::atem);
    json.setSwitchers([&states] { return states; });
    json.setMixdeskWarningHidden(true);
    json.setMixdeskWarningHidden(true);
    states[1].running = false; // vMix lost, the ATEM goes on: the whole still runs
    json.setMixdeskWarningHidden(true);
    json.setMixdeskWarningHidden(true);
    ASSERT_EQ(lines.size(), 2) << lines.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(lines[0],
        QStringLiteral("{\"event\":\"atem\",\"running\":true,\"switchers\":["
                       "{\"kind\":\"atem\",\"label\":\"ATEM\",\"running\":true},"
                       "{\"kind\":\"vmix\",\"label\":\"Playback\",\"running\":true}],"
                       "\"time\":\"2026-11-23T12:04:05.678+01:00\"}"));
    EXPECT_EQ(lines[1],
        QStringLiteral("{\"event\":\"atem\",\"running\":true,\"switchers\":["
                       "{\"kind\":\"atem\",\"label\":\"ATEM\",\"running\":true},"
                       "{\"kind\":\"vmix\",\"label\":\"Playback\",\"running\":false}],"
                       "\"time\":\"2026-11-23T12:04:05.678+01:00\"}"));
}

TEST_F(WatchPrinterTest, PlainRunningLinesOfSeveralSwitchersStayAboutTheWhole)
{
    QList<WatchPrinter::SwitcherState> states { { QStringLiteral("ATEM"), ShotSource::Kind::atem, true },
        { QStringLiteral("vMix"), ShotSource::Kind::vmix, true } };
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setSource(QStringLiteral("ATEM + vMix"), ShotSource::Kind::atem);
    plain.setSwitchers([&states] { return states; });
    plain.setMixdeskWarningHidden(true);
    states[1].running = false;
    plain.setMixdeskWarningHidden(true);
    EXPECT_EQ(lines, QStringList { QStringLiteral("ATEM + vMix running") });
}
