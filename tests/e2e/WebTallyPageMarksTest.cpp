// The web tally page in a real headless Chromium, fed by a page server in
// this process: how a phone shows lights under test and shots the switcher
// does not have.

#include "net/outputs/WebTallyClient.h"
#include "outputs/WebListenAddress.h"
#include "outputs/WebTallyServer.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/HeadlessChromium.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace {

class WebTallyPageMarksTest : public testing::Test {
protected:
    void SetUp() override
    {
        QString problem;
        if (!browser.start(&problem)) {
            GTEST_SKIP() << "cannot run the page in Chromium: " << problem.toStdString();
        }
        serve(WebTallyServer::Limits {});
    }

    void serve(const WebTallyServer::Limits& limits)
    {
        QString problem;
        const std::optional<WebListenAddress> where
            = WebListenAddress::parse(QStringLiteral("127.0.0.1:%1").arg(freePort()), &problem);
        ASSERT_TRUE(where) << problem.toStdString();
        server = std::make_unique<WebTallyServer>(limits);
        ASSERT_TRUE(server->listen(*where, &problem)) << problem.toStdString();
    }

    void publish(bool running, bool underTest, QList<LightState> lights)
    {
        TallySnapshot snapshot;
        snapshot.sourceRunning = running;
        snapshot.underTest = underTest;
        snapshot.lights = std::move(lights);
        server->publish(snapshot);
    }

    void open(const QString& path)
    {
        ASSERT_TRUE(browser.navigate(QStringLiteral("http://127.0.0.1:%1%2").arg(server->port()).arg(path)));
    }

    // Waits until the expression reads expected; the last reading otherwise.
    ::testing::AssertionResult reads(const QString& expression, const QString& expected)
    {
        QString seen;
        if (eventually([&] {
                seen = browser.evaluate(expression).toString();
                return seen == expected;
            })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << expression.toStdString() << " reads \"" << seen.toStdString() << '"';
    }

    std::unique_ptr<WebTallyServer> server;
    HeadlessChromium browser;
};

const QString stateText = QStringLiteral("document.getElementById('state').textContent");
const QString bodyClasses = QStringLiteral("document.body.className");

} // namespace

TEST_F(WebTallyPageMarksTest, ALightPageSaysTestInTheBoxsColourAndGoesBackToTheSwitcherWhenTheTestEnds)
{
    publish(true, false, { { TallyMode::off, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QString()));
    publish(true, true, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QStringLiteral("TEST LIVE")));
    EXPECT_TRUE(reads(bodyClasses, QStringLiteral("light-page live test")));
    EXPECT_TRUE(reads(QStringLiteral("document.title"), QStringLiteral("1 TEST LIVE")));
    publish(true, false, { { TallyMode::off, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QString()));
    EXPECT_TRUE(reads(bodyClasses, QStringLiteral("light-page off")));
}

TEST_F(WebTallyPageMarksTest, UnderTestTheLightsShowEvenWithTheSwitcherLostAndNoSignalComesBackAfter)
{
    publish(false, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("NO SIGNAL")));
    publish(false, true, { { TallyMode::preview, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QStringLiteral("TEST PREVIEW")));
    publish(false, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QStringLiteral("NO SIGNAL")));
}

TEST_F(WebTallyPageMarksTest, TheListAndALightPageNameAShotTheSwitcherDoesNotHave)
{
    publish(true, false,
        { { TallyMode::off, { QStringLiteral("Camera 1") } },
            { TallyMode::off, { QStringLiteral("Wide") }, { QStringLiteral("Wide") } } });
    open(QStringLiteral("/light/2"));
    EXPECT_TRUE(
        reads(QStringLiteral("document.getElementById('missing').textContent"), QStringLiteral("Missing: Wide")));
    open(QStringLiteral("/"));
    EXPECT_TRUE(reads(QStringLiteral("document.querySelector('[data-light=\"2\"] .missing').textContent"),
        QStringLiteral("Missing: Wide")));
    EXPECT_TRUE(reads(QStringLiteral("document.querySelector('[data-light=\"1\"] .missing').textContent"), QString()));
    publish(true, true,
        { { TallyMode::live, { QStringLiteral("Camera 1") } },
            { TallyMode::off, { QStringLiteral("Wide") }, { QStringLiteral("Wide") } } });
    EXPECT_TRUE(reads(
        QStringLiteral("document.querySelector('[data-light=\"1\"] .mode').textContent"), QStringLiteral("TEST LIVE")));
    EXPECT_TRUE(reads(
        QStringLiteral("document.querySelector('[data-light=\"2\"] .mode').textContent"), QStringLiteral("TEST OFF")));
}

TEST_F(WebTallyPageMarksTest, APageBeyondTheCapRetryingForAMinuteNeverLocksThePhonesOut)
{
    WebTallyServer::Limits limits;
    limits.connections.maxConnections = 4;
    limits.maxWebSockets = 1;
    serve(limits);
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    // Another phone holds the only place; the browser's page is refused and
    // retries, as a phone beyond the cap does, for a minute.
    PageSocket holder(server->port());
    ASSERT_TRUE(holder.heard(1));
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("NO SIGNAL")));
    QElapsedTimer minute;
    minute.start();
    while (minute.elapsed() < 60'000) {
        eventually([] { return false; }, 1000);
        ASSERT_EQ(httpGet(server->port(), QStringLiteral("/")).status, 200)
            << "after " << minute.elapsed() << " ms of refusals";
    }
    EXPECT_EQ(server->webSocketCount(), 1);
    // The place freed, the page that kept trying gets it and shows the light.
    holder.socket.close();
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    EXPECT_EQ(httpGet(server->port(), QStringLiteral("/light/1")).status, 200);
}
