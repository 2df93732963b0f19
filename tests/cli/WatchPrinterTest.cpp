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
    WatchPrinter printer(WatchPrinter::Style style)
    {
        return WatchPrinter(
            8, style, [] { return fixedTime(); }, [this](const QString& line) { lines.append(line); });
    }

    QStringList lines;
};

} // namespace

TEST_F(WatchPrinterTest, PlainLinesSayWhatChangedAndNothingMore)
{
    WatchPrinter plain = printer(WatchPrinter::Style::Plain);
    plain.setMixdeskWarningHidden(true);
    plain.showLightMode(0, TallyMode::live);
    plain.showLightMode(0, TallyMode::live);
    plain.showLightMode(2, TallyMode::preview);
    plain.refreshAssignmentTitles();
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral("Mixdesk running"), QStringLiteral("Light 1: live"),
            QStringLiteral("Light 3: preview"), QStringLiteral("Assigned shots renamed in Mixdesk") }));
}

TEST_F(WatchPrinterTest, JsonIsOneObjectPerChangeWithItsEventAndTime)
{
    WatchPrinter json = printer(WatchPrinter::Style::Json);
    json.setMixdeskWarningHidden(true);
    json.showLightMode(1, TallyMode::preview);
    json.refreshAssignmentTitles();
    json.setTallyBoxAttached(false);
    EXPECT_EQ(lines,
        QStringList({ QStringLiteral(
                          "{\"event\":\"mixdesk\",\"running\":true,\"time\":\"2026-11-23T12:04:05.678+01:00\"}"),
            QStringLiteral(
                "{\"event\":\"light\",\"light\":2,\"mode\":\"preview\",\"time\":\"2026-11-23T12:04:05.678+01:00\"}"),
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
