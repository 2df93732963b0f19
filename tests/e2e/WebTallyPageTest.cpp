// The web tally page in a real headless Chromium, served by tallyctl watch
// beside the built stand-in, as real processes.

#include "WindowHome.h"
#include "support/FreePort.h"
#include "support/HeadlessChromium.h"
#include "support/QrReader.h"
#include "support/QtPrinters.h"
#include "tools/StandinProcess.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QWebSocket>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <memory>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The colours of tally.css as the browser reports them.
const QString red = QStringLiteral("rgb(209, 0, 0)");
const QString green = QStringLiteral("rgb(0, 168, 59)");
const QString grey = QStringLiteral("rgb(43, 43, 43)");

struct PageLook {
    QString colour;
    QString text;
};

class WebTallyPageTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        mapPath = folder.write(QStringLiteral("studio.tlx"), "0|Camera 1\r\n1|Camera 2\r\n2|Camera 1|Camera 2\r\n");
        port = freePort();
        ASSERT_NE(port, 0);
    }

    void TearDown() override { stopWatch(); }

    void startWatch()
    {
        watch = std::make_unique<QProcess>();
        QProcessEnvironment environment = standin.environment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), folder.filePath(QStringLiteral("capture.hex")));
        watch->setProcessEnvironment(environment);
        watch->start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            { QStringLiteral("watch"), QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port), mapPath });
        ASSERT_TRUE(watch->waitForStarted(10000));
        ASSERT_TRUE(eventually([this] { return serving(); })) << watch->readAllStandardError().toStdString();
    }

    void stopWatch()
    {
        if (watch && watch->state() != QProcess::NotRunning) {
            watch->kill();
            watch->waitForFinished(10000);
        }
    }

    bool serving() { return !lights().isEmpty(); }

    // The body of /api/lights, or nothing while it is not served.
    QByteArray lights()
    {
        QNetworkAccessManager manager;
        std::unique_ptr<QNetworkReply> reply(
            manager.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/api/lights").arg(port)))));
        eventually([&] { return reply->isFinished(); }, 2000);
        return reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
    }

    // The window, offscreen, with a home and runtime folder of its own.
    void launchWindow(QProcess& process, const QStringList& arguments)
    {
        WindowHome::launch(process, folder.environment(standin.environment()), arguments);
    }

    void startBrowser()
    {
        QString problem;
        if (!browser.start(&problem)) {
            GTEST_SKIP() << "cannot run the page in Chromium: " << problem.toStdString();
        }
    }

    QString url(const QString& path) const { return QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path); }

    PageLook look()
    {
        return { browser.evaluate(QStringLiteral("getComputedStyle(document.body).backgroundColor")).toString(),
            browser.evaluate(QStringLiteral("document.body.innerText")).toString() };
    }

    // Waits until the page shows colour and a text containing every word.
    ::testing::AssertionResult shows(const QString& colour, const QStringList& words, int patience = 15000)
    {
        PageLook seen;
        const bool matched = eventually(
            [&] {
                seen = look();
                if (seen.colour != colour) {
                    return false;
                }
                for (const QString& word : words) {
                    if (!seen.text.contains(word)) {
                        return false;
                    }
                }
                return true;
            },
            patience);
        if (matched) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
            << "the page shows " << seen.colour.toStdString() << " with text \"" << seen.text.toStdString() << "\"";
    }

    WindowHome folder;
    QString mapPath;
    quint16 port = 0;
    StandinProcess standin;
    std::unique_ptr<QProcess> watch;
    HeadlessChromium browser;
};

} // namespace

TEST_F(WebTallyPageTest, ALightPageFollowsACutShowsNoSignalWhenTheServerDiesAndRecoversWhenItReturns)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/light/1"))));
    EXPECT_TRUE(shows(red, { QStringLiteral("1"), QStringLiteral("LIVE"), QStringLiteral("Camera 1") }));

    standin.send("cut\n");
    EXPECT_TRUE(shows(green, { QStringLiteral("PREVIEW"), QStringLiteral("Camera 1") }));
    EXPECT_FALSE(look().text.contains(QStringLiteral("LIVE")));

    stopWatch();
    EXPECT_TRUE(shows(grey, { QStringLiteral("NO SIGNAL") }));
    EXPECT_FALSE(look().text.contains(QStringLiteral("PREVIEW"))) << "never the stale state";

    startWatch();
    EXPECT_TRUE(shows(green, { QStringLiteral("PREVIEW"), QStringLiteral("Camera 1") }))
        << "the page reconnects by itself";
}

TEST_F(WebTallyPageTest, ALightPageShowsNoSignalWhenTheServerFallsSilentWithTheConnectionOpen)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/light/1"))));
    EXPECT_TRUE(shows(red, { QStringLiteral("LIVE") }));

    // A frozen server (or a phone out of Wi-Fi range) closes nothing: the page
    // must notice the silence by itself.
    ASSERT_EQ(::kill(static_cast<pid_t>(watch->processId()), SIGSTOP), 0);
    EXPECT_TRUE(shows(grey, { QStringLiteral("NO SIGNAL") }));
    ASSERT_EQ(::kill(static_cast<pid_t>(watch->processId()), SIGCONT), 0);
    EXPECT_TRUE(shows(red, { QStringLiteral("LIVE"), QStringLiteral("Camera 1") }));
}

TEST_F(WebTallyPageTest, ALightPageShowsNoSignalWhenTheSwitcherIsGone)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/light/2"))));
    EXPECT_TRUE(shows(green, { QStringLiteral("2"), QStringLiteral("PREVIEW"), QStringLiteral("Camera 2") }));

    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    EXPECT_TRUE(shows(grey, { QStringLiteral("NO SIGNAL") }));
    EXPECT_FALSE(look().text.contains(QStringLiteral("PREVIEW")));
}

TEST_F(WebTallyPageTest, AnUnassignedLightIsDarkAndTheListLinksEveryLight)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/light/4"))));
    EXPECT_TRUE(shows(QStringLiteral("rgb(0, 0, 0)"), { QStringLiteral("4") }));
    EXPECT_FALSE(look().text.contains(QStringLiteral("NO SIGNAL")));

    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/"))));
    EXPECT_TRUE(eventually([&] {
        return browser.evaluate(QStringLiteral("document.querySelector('[data-light=\"3\"] .mode').textContent"))
                   .toString()
            == QLatin1String("LIVE");
    }));
    EXPECT_EQ(browser.evaluate(QStringLiteral("document.querySelectorAll('a[href^=\"/light/\"]').length")).toInt(), 8);
    EXPECT_EQ(
        browser.evaluate(QStringLiteral("document.querySelector('[data-light=\"3\"] .shots').textContent")).toString(),
        QStringLiteral("Camera 1, Camera 2"));
}

TEST_F(WebTallyPageTest, APictureOfLightOneReadsAsATally)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    browser.emulateScreen(390, 844, 2);
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/light/1"))));
    ASSERT_TRUE(shows(red, { QStringLiteral("LIVE"), QStringLiteral("Camera 1") }));
    const QByteArray picture = browser.screenshot();
    ASSERT_TRUE(picture.startsWith("\x89PNG")) << "a PNG picture";
    // Kept for the README; the build tree is the place for generated files.
    QDir().mkpath(QStringLiteral(TALLY_BINARY_DIR "/screenshots"));
    QFile file(QStringLiteral(TALLY_BINARY_DIR "/screenshots/web-light-1.png"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(picture);
}

TEST_F(WebTallyPageTest, TheListOfLightsGivesAPhoneBigTapTargets)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    browser.emulateScreen(390, 844, 3);
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/"))));
    // Each light is one link across the screen, at least 72 CSS pixels high
    // (about two centimetres on a phone), and the eight fit one screen.
    const QJsonValue boxes = browser.evaluate(
        QStringLiteral("JSON.stringify(Array.from(document.querySelectorAll('a[data-light]')).map(function (a) {"
                       "  var box = a.getBoundingClientRect(); return [box.width, box.height, box.bottom]; }))"));
    const QJsonArray sizes = QJsonDocument::fromJson(boxes.toString().toUtf8()).array();
    ASSERT_EQ(sizes.size(), 8) << boxes.toString().toStdString();
    for (const QJsonValue& size : sizes) {
        EXPECT_GE(size[0].toDouble(), 390 * 0.85) << boxes.toString().toStdString();
        EXPECT_GE(size[1].toDouble(), 72) << boxes.toString().toStdString();
    }
    EXPECT_LE(sizes.last()[2].toDouble(), 844) << boxes.toString().toStdString();
    const QByteArray picture = browser.screenshot();
    QDir().mkpath(QStringLiteral(TALLY_BINARY_DIR "/screenshots"));
    QFile file(QStringLiteral(TALLY_BINARY_DIR "/screenshots/web-lights.png"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(picture);
}

TEST_F(WebTallyPageTest, TallyctlWatchNamesEveryPhoneLinkAtStartAndDrawsNoCodeIntoAPipe)
{
    startWatch();
    const QString root = url(QStringLiteral("/"));
    QString printed;
    ASSERT_TRUE(eventually([&] {
        printed += QString::fromUtf8(watch->readAllStandardOutput());
        return printed.contains(root + QStringLiteral("light/8"));
    })) << printed.toStdString();
    const QStringList lines = printed.split(QLatin1Char('\n'));
    const qsizetype heading = lines.indexOf(QStringLiteral("Phones can open the tally page at:"));
    ASSERT_GE(heading, 0) << printed.toStdString();
    EXPECT_EQ(lines.value(heading + 1), QStringLiteral("  %1         All lights").arg(root));
    for (int light = 1; light <= 8; ++light) {
        EXPECT_EQ(lines.value(heading + 1 + light), QStringLiteral("  %1light/%2  Light %2").arg(root).arg(light));
    }
    EXPECT_FALSE(printed.contains(QChar(0x2580)));
}

TEST_F(WebTallyPageTest, PhonesHangingUpMidHandshakeLeaveStandardErrorQuietAndThePageServing)
{
    startWatch();
    const QByteArray upgrade = QStringLiteral("GET /ws HTTP/1.1\r\nHost: 127.0.0.1:%1\r\nUpgrade: websocket\r\n"
                                              "Connection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                                              "Sec-WebSocket-Version: 13\r\n\r\n")
                                   .arg(port)
                                   .toLatin1();
    // Qt's WebSocket server warned once for about one in four of these,
    // peeking at a socket already gone.
    for (int i = 0; i < 300; ++i) {
        // A plain socket: the request and the hang-up leave together, as a
        // phone's browser killed mid-handshake sends them.
        const int phone = ::socket(AF_INET, SOCK_STREAM, 0);
        ASSERT_GE(phone, 0);
        sockaddr_in server {};
        server.sin_family = AF_INET;
        server.sin_port = htons(port);
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::connect(phone, reinterpret_cast<const sockaddr*>(&server), sizeof server), 0);
        EXPECT_EQ(::send(phone, upgrade.constData(), static_cast<size_t>(upgrade.size()), 0), upgrade.size());
        ::close(phone);
    }
    EXPECT_TRUE(serving());
    const QByteArray errors = watch->readAllStandardError();
    EXPECT_FALSE(errors.contains("QIODevice")) << errors.toStdString();
}

TEST_F(WebTallyPageTest, AtATerminalTallyctlWatchDrawsACodeAPhoneCanScan)
{
    if (QrReader::program().isEmpty()) {
        GTEST_SKIP() << QrReader::notInstalled;
    }
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty()) {
        GTEST_SKIP() << "script (Debian util-linux) is not installed to give tallyctl a terminal";
    }
    // script runs tallyctl on a terminal of its own and copies what it shows.
    QProcess terminal;
    QProcessEnvironment environment = standin.environment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), folder.filePath(QStringLiteral("capture.hex")));
    terminal.setProcessEnvironment(environment);
    const QString command = QStringLiteral("'%1' watch --ticks 2 --web 127.0.0.1:%2 '%3'")
                                .arg(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"))
                                .arg(port)
                                .arg(mapPath);
    terminal.start(script,
        { QStringLiteral("-q"), QStringLiteral("-e"), QStringLiteral("-c"), command, QStringLiteral("/dev/null") });
    ASSERT_TRUE(terminal.waitForFinished(20000));
    const QString shown = QString::fromUtf8(terminal.readAllStandardOutput()).remove(QLatin1Char('\r'));
    // On a terminal every line is stamped with the time by default; the code
    // stays whole, each of its rows after a stamp of the same width.
    static const QRegularExpression stamp(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}([+-]\\d\\d:\\d\\d|Z) "));
    QStringList lines = shown.split(QLatin1Char('\n'));
    for (QString& line : lines) {
        line.remove(stamp);
    }
    const QString root = url(QStringLiteral("/"));
    const qsizetype caption = lines.indexOf(root);
    ASSERT_GE(caption, 0) << shown.toStdString();
    QStringList picture;
    for (qsizetype index = caption + 1;
         index < lines.size() && lines.at(index).startsWith(QStringLiteral("\x1b[30;47m")); ++index) {
        picture.append(lines.at(index));
    }
    const QrReader::TerminalModules modules(picture.join(QLatin1Char('\n')));
    ASSERT_GT(modules.side(), 20) << shown.toStdString();
    const QString path = folder.filePath(QStringLiteral("terminal-code.pgm"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QrReader::pgm(modules.side(), 6, [&modules](int x, int y) { return modules.isDark(x, y); }));
    file.close();
    QString problem;
    EXPECT_EQ(QrReader::read(path, &problem), root) << problem.toStdString();
}

TEST_F(WebTallyPageTest, ABusyPortIsAClearErrorAndNotACrash)
{
    QTcpServer occupant;
    ASSERT_TRUE(occupant.listen(QHostAddress::LocalHost, port));
    QProcess process;
    process.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port), mapPath });
    ASSERT_TRUE(process.waitForFinished(15000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(QString::fromUtf8(process.readAllStandardError()),
        QStringLiteral("tallyctl watch: cannot serve the web tally page on 127.0.0.1:%1: The bound address is already "
                       "in use\n")
            .arg(port));
}

TEST_F(WebTallyPageTest, TheWindowServesThePageForItsOpenMap)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    QProcess window;
    launchWindow(window, { QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port), mapPath });
    QByteArray state;
    EXPECT_TRUE(eventually([&] {
        state = lights();
        return state.contains(
            "{\"light\":1,\"litBy\":[\"Camera 1\"],\"missing\":[],\"mode\":\"live\",\"shots\":[\"Camera 1\"]}");
    })) << state.toStdString();
    EXPECT_TRUE(state.contains("\"sourceRunning\":true"));
    window.kill();
    window.waitForFinished();
}

TEST_F(WebTallyPageTest, TheWindowWithABusyPortSaysSoAndDoesNotStart)
{
    QTcpServer occupant;
    ASSERT_TRUE(occupant.listen(QHostAddress::LocalHost, port));
    QProcess window;
    launchWindow(window, { QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port) });
    ASSERT_TRUE(window.waitForFinished(15000));
    EXPECT_EQ(window.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(window.exitCode(), 1);
    EXPECT_TRUE(window.readAllStandardError().contains(
        QStringLiteral("mixdesk-tally: cannot serve the web tally page on 127.0.0.1:%1: The bound address is "
                       "already in use\n")
            .arg(port)
            .toUtf8()));
}

TEST_F(WebTallyPageTest, TheWindowWithABadTslDestinationBesideThePageIsAUsageErrorAndServesNothing)
{
    QProcess window;
    launchWindow(window,
        { QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port), QStringLiteral("--tsl5"),
            QStringLiteral("ftp://studio:21") });
    ASSERT_TRUE(window.waitForFinished(15000));
    EXPECT_EQ(window.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(window.exitCode(), 2);
    EXPECT_TRUE(window.readAllStandardError().startsWith("mixdesk-tally: bad TSL destination 'ftp://studio:21'"));
    QTcpServer free;
    EXPECT_TRUE(free.listen(QHostAddress::LocalHost, port)) << "the page never listened";
}

TEST_F(WebTallyPageTest, APageAndAPlainWebSocketStayConnectedForAMinuteWhileTheStudioIsSteady)
{
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    startWatch();
    startBrowser();
    ASSERT_TRUE(browser.navigate(url(QStringLiteral("/light/1"))));
    ASSERT_TRUE(shows(red, { QStringLiteral("LIVE"), QStringLiteral("Camera 1") }));
    // Counted inside the page: a NO SIGNAL that flashes for a quarter of a
    // second between two looks from here would go unseen otherwise.
    browser.evaluate(
        QStringLiteral("window.noSignalSeen = 0; new MutationObserver(() => {"
                       "  if (document.body.innerText.includes('NO SIGNAL')) window.noSignalSeen++;"
                       "}).observe(document.body, {subtree: true, childList: true, characterData: true}); true"));
    QWebSocket plain;
    int plainClosed = 0;
    QObject::connect(&plain, &QWebSocket::disconnected, [&plainClosed] { ++plainClosed; });
    plain.open(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(port)));
    ASSERT_TRUE(eventually([&] { return plain.state() == QAbstractSocket::ConnectedState; }, 5000));

    eventually([] { return false; }, 62000);

    EXPECT_EQ(browser.evaluate(QStringLiteral("window.noSignalSeen")).toInt(-1), 0);
    EXPECT_TRUE(shows(red, { QStringLiteral("LIVE"), QStringLiteral("Camera 1") }, 1000));
    EXPECT_EQ(plainClosed, 0);
    EXPECT_EQ(plain.state(), QAbstractSocket::ConnectedState);
    plain.disconnect();
}
