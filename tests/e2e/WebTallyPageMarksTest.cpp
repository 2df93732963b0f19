// The web tally page in a real headless Chromium, fed by a page server in
// this process: how a phone shows lights under test, shots the switcher
// does not have, an off or empty light, why there is no signal, the way
// back to the list, and a screen it cannot keep on, which a tap keeps awake
// with a video.

#include "net/outputs/WebTallyClient.h"
#include "outputs/WebListenAddress.h"
#include "outputs/WebTallyServer.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/HeadlessChromium.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QHostInfo>

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

    void open(const QString& path, const QString& host = QStringLiteral("127.0.0.1"))
    {
        ASSERT_TRUE(browser.navigate(QStringLiteral("http://%1:%2%3").arg(host).arg(server->port()).arg(path)));
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
const QString shotsText = QStringLiteral("document.getElementById('shots').textContent");
const QString reasonText = QStringLiteral("document.getElementById('reason').textContent");
const QString awakeNote = QStringLiteral("(function () { var note = document.getElementById('awake');"
                                         " return note.hidden ? '' : note.textContent; })()");
// The video that keeps the screen awake, as "playing muted loop inline", or
// "none" while the page has made none.
const QString awakeVideo
    = QStringLiteral("(function () { var video = document.getElementById('awake-video'); if (!video) { return 'none'; }"
                     " return [video.paused ? 'paused' : 'playing', video.muted ? 'muted' : 'sound',"
                     " video.loop ? 'loop' : 'once', video.hasAttribute('playsinline') ? 'inline' : 'full']"
                     ".join(' '); })()");
const QString playingNote
    = QStringLiteral("Keeping this screen awake with a tiny silent video while this page is in front. If it still "
                     "turns off, set the screen to stay on (the longest screen timeout, or stay awake while "
                     "charging). Tap to hide.");

// A browser that refuses the wake lock even on this computer, as a battery
// saver makes it, from before the page's own script runs.
const QString refusingWakeLock = QStringLiteral(
    "window.wakeLockAsked = 0; Object.defineProperty(navigator, 'wakeLock', { value: { request: function () {"
    " window.wakeLockAsked += 1; return Promise.reject(new DOMException('battery saver', 'NotAllowedError')); } } });");

} // namespace

TEST_F(WebTallyPageMarksTest, ALightPageSaysTestInTheBoxsColourAndGoesBackToTheSwitcherWhenTheTestEnds)
{
    publish(true, false, { { TallyMode::off, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("OFF")));
    publish(true, true, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QStringLiteral("TEST LIVE")));
    EXPECT_TRUE(reads(bodyClasses, QStringLiteral("light-page live test")));
    EXPECT_TRUE(reads(QStringLiteral("document.title"), QStringLiteral("1 TEST LIVE")));
    publish(true, false, { { TallyMode::off, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QStringLiteral("OFF")));
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

TEST_F(WebTallyPageMarksTest, AnOffLightSaysOffAndALightWithoutShotsSaysSo)
{
    publish(true, false, { { TallyMode::off, { QStringLiteral("Camera 1") } }, { TallyMode::off, {} } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("OFF")));
    EXPECT_TRUE(reads(shotsText, QStringLiteral("Camera 1")));
    EXPECT_TRUE(reads(QStringLiteral("document.title"), QStringLiteral("1 OFF")));
    open(QStringLiteral("/light/2"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("OFF")));
    EXPECT_TRUE(reads(shotsText, QStringLiteral("No shots assigned")));
    // A shot assigned later replaces the words.
    publish(true, false,
        { { TallyMode::off, { QStringLiteral("Camera 1") } }, { TallyMode::live, { QStringLiteral("Wide") } } });
    EXPECT_TRUE(reads(shotsText, QStringLiteral("Wide")));
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    publish(true, false, { { TallyMode::off, { QStringLiteral("Camera 1") } }, { TallyMode::off, {} } });
    open(QStringLiteral("/"));
    EXPECT_TRUE(reads(QStringLiteral("document.querySelector('[data-light=\"2\"] .shots').textContent"),
        QStringLiteral("No shots assigned")));
    EXPECT_TRUE(reads(
        QStringLiteral("document.querySelector('[data-light=\"1\"] .shots').textContent"), QStringLiteral("Camera 1")));
    EXPECT_TRUE(
        reads(QStringLiteral("document.querySelector('[data-light=\"2\"] .mode').textContent"), QStringLiteral("OFF")));
}

TEST_F(WebTallyPageMarksTest, ALightPageLeadsBackToTheListOfLights)
{
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } }, { TallyMode::off, {} } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    EXPECT_TRUE(reads(QStringLiteral("document.getElementById('back').textContent"), QStringLiteral("All lights")));
    browser.evaluate(QStringLiteral("document.getElementById('back').click()"));
    EXPECT_TRUE(reads(QStringLiteral("location.pathname"), QStringLiteral("/")));
    EXPECT_TRUE(
        reads(QStringLiteral("String(document.querySelectorAll('a[data-light]').length)"), QStringLiteral("2")));
    EXPECT_TRUE(reads(
        QStringLiteral("document.querySelector('[data-light=\"1\"] .mode').textContent"), QStringLiteral("LIVE")));
}

TEST_F(WebTallyPageMarksTest, ATrailingSlashOpensTheLightAndThePageHasAnIcon)
{
    publish(true, false, { { TallyMode::preview, { QStringLiteral("Camera 1") } } });
    // Sent on, the browser ends at another address than it was given.
    browser.call(QStringLiteral("Page.navigate"),
        { { QStringLiteral("url"), QStringLiteral("http://127.0.0.1:%1/light/1/").arg(server->port()) } });
    EXPECT_TRUE(reads(QStringLiteral("location.pathname"), QStringLiteral("/light/1")));
    EXPECT_TRUE(reads(stateText, QStringLiteral("PREVIEW")));
    // The icon the browser asks for by itself loads as a picture, under the
    // page's own security policy.
    EXPECT_TRUE(
        reads(QStringLiteral("new Promise(function (done) { var icon = new Image();"
                             " icon.onload = function () { done(icon.naturalWidth + 'x' + icon.naturalHeight); };"
                             " icon.onerror = function () { done('failed'); };"
                             " icon.src = '/favicon.ico'; })"),
            QStringLiteral("32x32")));
}

TEST_F(WebTallyPageMarksTest, NoSignalSaysWhetherTheSwitcherOrTheProgramIsGone)
{
    publish(false, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("NO SIGNAL")));
    EXPECT_TRUE(reads(reasonText,
        QStringLiteral("The tally program runs, but has lost the switcher: the lights cannot be trusted until it is "
                       "back.")));
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    EXPECT_TRUE(reads(reasonText, QString()));

    open(QStringLiteral("/"));
    publish(false, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    EXPECT_TRUE(reads(reasonText,
        QStringLiteral("The tally program runs, but has lost the switcher: the lights cannot be trusted until it is "
                       "back.")));
    // The program gone: the page can no longer hear it at all.
    server.reset();
    const QString programGone = QStringLiteral("No connection to the tally program: it has stopped, or the network "
                                               "between it and this device is down. Trying again\u2026");
    EXPECT_TRUE(reads(reasonText, programGone));
    EXPECT_TRUE(
        reads(QStringLiteral("getComputedStyle(document.getElementById('signal')).display"), QStringLiteral("block")));
}

TEST_F(WebTallyPageMarksTest, TheLightPageSaysWhyNoSignalWhenTheProgramStops)
{
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    server.reset();
    EXPECT_TRUE(reads(stateText, QStringLiteral("NO SIGNAL")));
    EXPECT_TRUE(reads(reasonText,
        QStringLiteral("No connection to the tally program: it has stopped, or the network between it and this "
                       "device is down. Trying again\u2026")));
}

TEST_F(WebTallyPageMarksTest, OverPlainHttpFromAnotherNameThePageSaysTheScreenMayTurnOff)
{
    // The machine's own name is no secure origin, as a studio address is
    // not: the browser gives the page no wake lock there.
    const QString name = QHostInfo::localHostName().toLower();
    const QHostInfo found = QHostInfo::fromName(name);
    if (name.isEmpty() || found.error() != QHostInfo::NoError || found.addresses().isEmpty()
        || !found.addresses().first().isLoopback()) {
        GTEST_SKIP() << "the machine's name does not lead back to it here";
    }
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"), name);
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    EXPECT_EQ(browser.evaluate(QStringLiteral("String(window.isSecureContext)")).toString(), QStringLiteral("false"));
    EXPECT_TRUE(reads(awakeNote,
        QStringLiteral("This screen may turn off: opened over plain http from another computer, the browser does not "
                       "let the page keep it on. Tap here to keep it awake with a tiny silent video (most phones stay "
                       "on while it plays, with this page in front), or set the screen to stay on (the longest screen "
                       "timeout, or stay awake while charging).")));
    EXPECT_EQ(browser.evaluate(awakeVideo).toString(), QStringLiteral("none")) << "no video before a tap";

    // A tap on the note starts a tiny, silent, looping video that plays on,
    // and the note says so.
    ASSERT_TRUE(browser.click(QStringLiteral("#awake")));
    EXPECT_TRUE(reads(awakeVideo, QStringLiteral("playing muted loop inline")));
    EXPECT_TRUE(reads(awakeNote, playingNote));
    EXPECT_TRUE(
        reads(QStringLiteral("String(document.getElementById('awake-video').currentTime > 0)"), QStringLiteral("true")))
        << "the video does not advance";
    EXPECT_TRUE(reads(QStringLiteral("String(document.querySelectorAll('video').length)"), QStringLiteral("1")));

    // A tap puts the note away for good; the video and the light stay.
    ASSERT_TRUE(browser.click(QStringLiteral("#awake")));
    EXPECT_TRUE(reads(awakeNote, QString()));
    ASSERT_TRUE(browser.click(QStringLiteral("#state")));
    EXPECT_TRUE(reads(awakeNote, QString()));
    EXPECT_TRUE(reads(awakeVideo, QStringLiteral("playing muted loop inline")));
    EXPECT_TRUE(reads(QStringLiteral("String(document.querySelectorAll('video').length)"), QStringLiteral("1")));
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
}

TEST_F(WebTallyPageMarksTest, AWakeLockRefusedOnThisComputerIsMadeUpForByTheVideoAfterATap)
{
    browser.call(
        QStringLiteral("Page.addScriptToEvaluateOnNewDocument"), { { QStringLiteral("source"), refusingWakeLock } });
    publish(true, false, { { TallyMode::preview, { QStringLiteral("Camera 2") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("PREVIEW")));
    EXPECT_TRUE(reads(awakeNote,
        QStringLiteral("This screen may turn off: the browser refused to keep it on (a battery saver does that). Tap "
                       "here to keep it awake with a tiny silent video, or set the screen to stay on while this is a "
                       "tally.")));
    EXPECT_EQ(browser.evaluate(awakeVideo).toString(), QStringLiteral("none"));
    ASSERT_TRUE(browser.click(QStringLiteral("#awake")));
    EXPECT_TRUE(reads(awakeVideo, QStringLiteral("playing muted loop inline")));
    EXPECT_TRUE(reads(awakeNote, playingNote));
    EXPECT_TRUE(reads(stateText, QStringLiteral("PREVIEW")));
}

TEST_F(WebTallyPageMarksTest, ABrowserThatCannotMakeTheVideoIsToldOnlyOfThePhonesSetting)
{
    browser.call(QStringLiteral("Page.addScriptToEvaluateOnNewDocument"),
        { { QStringLiteral("source"),
            refusingWakeLock + QStringLiteral(" delete HTMLCanvasElement.prototype.captureStream;") } });
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(awakeNote,
        QStringLiteral("This screen may turn off: the browser refused to keep it on (a battery saver does that). Tap "
                       "to try again, or set the screen to stay on while this is a tally.")));
    EXPECT_TRUE(reads(QStringLiteral("String(window.wakeLockAsked)"), QStringLiteral("1")));
    ASSERT_TRUE(browser.click(QStringLiteral("#awake")));
    // The lock is asked again, refused again: the note comes back, and no
    // video is made.
    EXPECT_TRUE(reads(QStringLiteral("String(window.wakeLockAsked)"), QStringLiteral("2")));
    EXPECT_TRUE(reads(awakeNote,
        QStringLiteral("This screen may turn off: the browser refused to keep it on (a battery saver does that). Tap "
                       "to try again, or set the screen to stay on while this is a tally.")));
    EXPECT_EQ(browser.evaluate(awakeVideo).toString(), QStringLiteral("none"));
}

TEST_F(WebTallyPageMarksTest, OnThisComputerThePageNeverBlamesPlainHttp)
{
    publish(true, false, { { TallyMode::live, { QStringLiteral("Camera 1") } } });
    open(QStringLiteral("/light/1"));
    EXPECT_TRUE(reads(stateText, QStringLiteral("LIVE")));
    EXPECT_EQ(browser.evaluate(QStringLiteral("String(window.isSecureContext)")).toString(), QStringLiteral("true"));
    EXPECT_FALSE(browser.evaluate(awakeNote).toString().contains(QStringLiteral("plain http")));
    // The list has no note: only a light's page must stay lit.
    open(QStringLiteral("/"));
    EXPECT_TRUE(reads(QStringLiteral("String(document.getElementById('awake'))"), QStringLiteral("null")));
}
