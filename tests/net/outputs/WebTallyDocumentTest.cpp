#include "outputs/WebTallyDocument.h"

#include "support/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

TallySnapshot studio(bool running)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = running;
    snapshot.lights = {
        { TallyMode::live, { QStringLiteral("Camera 1") } },
        { TallyMode::preview, { QStringLiteral("Camera 2"), QStringLiteral("Wide <2>") } },
        { TallyMode::off, {} },
    };
    return snapshot;
}

} // namespace

TEST(WebTallyDocumentTest, TheStateNumbersLightsFromOneAndNamesModesAndShots)
{
    const QJsonObject state = QJsonDocument::fromJson(WebTallyDocument::stateJson(studio(true))).object();
    EXPECT_TRUE(state.value(QStringLiteral("sourceRunning")).toBool());
    const QJsonArray lights = state.value(QStringLiteral("lights")).toArray();
    ASSERT_EQ(lights.size(), 3);
    EXPECT_EQ(lights[0].toObject().value(QStringLiteral("light")).toInt(), 1);
    EXPECT_EQ(lights[0].toObject().value(QStringLiteral("mode")).toString(), QStringLiteral("live"));
    EXPECT_EQ(lights[1].toObject().value(QStringLiteral("mode")).toString(), QStringLiteral("preview"));
    EXPECT_EQ(lights[1].toObject().value(QStringLiteral("shots")).toArray().toVariantList(),
        (QVariantList { QStringLiteral("Camera 2"), QStringLiteral("Wide <2>") }));
    EXPECT_EQ(lights[2].toObject().value(QStringLiteral("light")).toInt(), 3);
    EXPECT_EQ(lights[2].toObject().value(QStringLiteral("mode")).toString(), QStringLiteral("off"));
    EXPECT_TRUE(lights[2].toObject().value(QStringLiteral("shots")).toArray().isEmpty());
}

TEST(WebTallyDocumentTest, TheStateSaysWhenTheSourceIsLost)
{
    const QJsonObject state = QJsonDocument::fromJson(WebTallyDocument::stateJson(studio(false))).object();
    ASSERT_TRUE(state.contains(QStringLiteral("sourceRunning")));
    EXPECT_FALSE(state.value(QStringLiteral("sourceRunning")).toBool());
}

TEST(WebTallyDocumentTest, TheListLinksEachLightWithItsModeAndEscapedShotNames)
{
    const QString page = QString::fromUtf8(
        WebTallyDocument::indexPage(QStringLiteral("<body class=\"x@SIGNAL@\">@LIGHTS@</body>"), studio(true)));
    EXPECT_TRUE(page.startsWith(QStringLiteral("<body class=\"x\">"))) << page.toStdString();
    EXPECT_TRUE(
        page.contains(QStringLiteral("<a href=\"/light/1\" data-light=\"1\" class=\"live\">"
                                     "<span class=\"number\">1</span><span class=\"mode\">LIVE</span>"
                                     "<span class=\"shots\">Camera 1</span><span class=\"missing\"></span></a>")))
        << page.toStdString();
    EXPECT_TRUE(page.contains(QStringLiteral("<span class=\"shots\">Camera 2, Wide &lt;2&gt;</span>")));
    EXPECT_TRUE(page.contains(QStringLiteral("href=\"/light/3\" data-light=\"3\" class=\"off\"")));
}

TEST(WebTallyDocumentTest, TheListSaysALightWithNoShotsHasNone)
{
    const QString page = QString::fromUtf8(
        WebTallyDocument::indexPage(QStringLiteral("<body class=\"x@SIGNAL@\">@LIGHTS@</body>"), studio(true)));
    // Light 3 has no shots: said in words, not left blank.
    EXPECT_TRUE(page.contains(QStringLiteral("<span class=\"number\">3</span><span class=\"mode\">OFF</span>"
                                             "<span class=\"shots noshots\">No shots assigned</span>")))
        << page.toStdString();
    EXPECT_EQ(page.count(QStringLiteral("No shots assigned")), 1) << page.toStdString();
}

TEST(WebTallyDocumentTest, TheListShowsNoSignalRatherThanStaleModesWhileTheSourceIsLost)
{
    const QString page = QString::fromUtf8(
        WebTallyDocument::indexPage(QStringLiteral("<body class=\"x@SIGNAL@\">@LIGHTS@</body>"), studio(false)));
    EXPECT_TRUE(page.startsWith(QStringLiteral("<body class=\"x nosignal\">")));
    EXPECT_FALSE(page.contains(QStringLiteral("LIVE")));
    EXPECT_EQ(page.count(QStringLiteral("NO SIGNAL")), 3);
}

TEST(WebTallyDocumentTest, ALightPageCarriesItsNumber)
{
    EXPECT_EQ(WebTallyDocument::lightPage(QStringLiteral("<title>Light @LIGHT@</title><b>@LIGHT@</b>"), 4),
        QByteArray("<title>Light 4</title><b>4</b>"));
}

TEST(WebTallyDocumentTest, OnlyTheNumbersOfExistingLightsNameALightPage)
{
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("1"), 8), 1);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("8"), 8), 8);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("0"), 8), 0);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("9"), 8), 0);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("01"), 8), 0);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("+1"), 8), 0);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("-1"), 8), 0);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QStringLiteral("one"), 8), 0);
    EXPECT_EQ(WebTallyDocument::lightNumberFromPath(QString(), 8), 0);
}

TEST(WebTallyDocumentTest, TheStateNamesEachLightsMissingShots)
{
    TallySnapshot snapshot = studio(true);
    snapshot.lights[1].missingShots = { QStringLiteral("Wide <2>") };
    const QJsonObject state = QJsonDocument::fromJson(WebTallyDocument::stateJson(snapshot)).object();
    const QJsonArray lights = state.value(QStringLiteral("lights")).toArray();
    EXPECT_TRUE(lights[0].toObject().value(QStringLiteral("missing")).toArray().isEmpty());
    EXPECT_EQ(lights[1].toObject().value(QStringLiteral("missing")).toArray().toVariantList(),
        (QVariantList { QStringLiteral("Wide <2>") }));
    const QString page = QString::fromUtf8(
        WebTallyDocument::indexPage(QStringLiteral("<body class=\"x@SIGNAL@\">@LIGHTS@</body>"), snapshot));
    EXPECT_TRUE(page.contains(QStringLiteral("<span class=\"missing\">Missing: Wide &lt;2&gt;</span>")))
        << page.toStdString();
}

TEST(WebTallyDocumentTest, UnderTestTheListShowsTheBoxsColoursMarkedTestEvenWithTheSourceLost)
{
    TallySnapshot snapshot = studio(false);
    snapshot.underTest = true;
    const QJsonObject state = QJsonDocument::fromJson(WebTallyDocument::stateJson(snapshot)).object();
    EXPECT_TRUE(state.value(QStringLiteral("test")).toBool());
    const QString page = QString::fromUtf8(
        WebTallyDocument::indexPage(QStringLiteral("<body class=\"x@SIGNAL@\">@LIGHTS@</body>"), snapshot));
    EXPECT_TRUE(page.startsWith(QStringLiteral("<body class=\"x\">"))) << page.toStdString();
    EXPECT_TRUE(page.contains(QStringLiteral("class=\"live test\"><span class=\"number\">1</span>"
                                             "<span class=\"mode\">TEST LIVE</span>")))
        << page.toStdString();
    EXPECT_TRUE(page.contains(QStringLiteral("<span class=\"mode\">TEST OFF</span>"))) << page.toStdString();
}

TEST(WebTallyDocumentTest, OutsideATestTheStateSaysItIsNoTest)
{
    const QJsonObject state = QJsonDocument::fromJson(WebTallyDocument::stateJson(studio(true))).object();
    ASSERT_TRUE(state.contains(QStringLiteral("test")));
    EXPECT_FALSE(state.value(QStringLiteral("test")).toBool());
}

TEST(WebTallyDocumentTest, ALightOnASwitcherLostWhileOthersRunSaysNoSignalAlone)
{
    TallySnapshot snapshot = studio(true);
    snapshot.lights[0].sourceLost = true;
    const QJsonObject state = QJsonDocument::fromJson(WebTallyDocument::stateJson(snapshot)).object();
    EXPECT_TRUE(state.value(QStringLiteral("sourceRunning")).toBool());
    const QJsonArray lights = state.value(QStringLiteral("lights")).toArray();
    ASSERT_EQ(lights.size(), 3);
    EXPECT_TRUE(lights[0].toObject().value(QStringLiteral("lost")).toBool());
    EXPECT_FALSE(lights[1].toObject().contains(QStringLiteral("lost"))) << "said only when true";
    const QString page = QString::fromUtf8(
        WebTallyDocument::indexPage(QStringLiteral("<body class=\"x@SIGNAL@\">@LIGHTS@</body>"), snapshot));
    EXPECT_TRUE(page.startsWith(QStringLiteral("<body class=\"x\">"))) << page.toStdString();
    EXPECT_TRUE(page.contains(QStringLiteral("data-light=\"1\" class=\"nosignal\">"
                                             "<span class=\"number\">1</span><span class=\"mode\">NO SIGNAL</span>")))
        << page.toStdString();
    EXPECT_TRUE(page.contains(QStringLiteral("data-light=\"2\" class=\"preview\">"))) << page.toStdString();
}
