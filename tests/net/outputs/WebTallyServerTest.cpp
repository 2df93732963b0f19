#include "outputs/WebTallyServer.h"

#include "net/outputs/WebTallyClient.h"
#include "support/QtPrinters.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TallySnapshot studio(TallyMode first, bool running = true)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = running;
    snapshot.lights.resize(8);
    snapshot.lights[0] = { first, { QStringLiteral("Camera 1") } };
    snapshot.lights[1] = { TallyMode::preview, { QStringLiteral("Camera 2") } };
    return snapshot;
}

QJsonObject parsed(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

QString lightMode(const QJsonObject& state, int index)
{
    return state.value(QStringLiteral("lights")).toArray()[index].toObject().value(QStringLiteral("mode")).toString();
}

WebListenAddress loopback(quint16 port = 0)
{
    return { QHostAddress(QHostAddress::LocalHost), port };
}

class WebTallyServerTest : public testing::Test {
protected:
    // A keep-alive slow enough that no test sees one unless it asks for it.
    static WebTallyServer::Limits quietLimits()
    {
        WebTallyServer::Limits limits;
        limits.keepAliveMilliseconds = 600000;
        return limits;
    }

    void start(WebTallyServer::Limits limits = quietLimits())
    {
        server = std::make_unique<WebTallyServer>(limits);
        QString problem;
        ASSERT_TRUE(server->listen(loopback(), &problem)) << problem.toStdString();
        port = server->port();
        ASSERT_NE(port, 0);
    }

    // What a raw client hears before the server closes the connection.
    QByteArray sendRaw(const QByteArray& bytes, bool* closed)
    {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        EXPECT_TRUE(socket.waitForConnected(5000));
        socket.write(bytes);
        QByteArray heard;
        *closed = eventually(
            [&] {
                heard += socket.readAll();
                return socket.state() == QAbstractSocket::UnconnectedState;
            },
            5000);
        return heard;
    }

    std::unique_ptr<WebTallyServer> server;
    quint16 port = 0;
};

} // namespace

TEST_F(WebTallyServerTest, TheListPageNamesEveryLightWithItsShotsAndLinksToItsPage)
{
    start();
    server->publish(studio(TallyMode::live));
    const HttpAnswer answer = httpGet(port, QStringLiteral("/"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.contentType, QByteArray("text/html; charset=utf-8"));
    for (int light = 1; light <= 8; ++light) {
        EXPECT_TRUE(answer.body.contains(QStringLiteral("href=\"/light/%1\"").arg(light).toUtf8())) << light;
    }
    EXPECT_TRUE(answer.body.contains("<span class=\"mode\">LIVE</span><span class=\"shots\">Camera 1</span>"));
    EXPECT_TRUE(answer.body.contains("<span class=\"mode\">PREVIEW</span><span class=\"shots\">Camera 2</span>"));
}

TEST_F(WebTallyServerTest, EachOfTheEightLightsHasAPageOfItsOwn)
{
    start();
    for (int light = 1; light <= 8; ++light) {
        const HttpAnswer answer = httpGet(port, QStringLiteral("/light/%1").arg(light));
        EXPECT_EQ(answer.status, 200) << light;
        EXPECT_TRUE(answer.body.contains(QStringLiteral("data-light=\"%1\"").arg(light).toUtf8())) << light;
        EXPECT_TRUE(answer.body.contains("<script src=\"/assets/tally.js\"></script>"));
    }
}

TEST_F(WebTallyServerTest, LightsOutsideOneToEightAndUnknownPathsAreNotFound)
{
    start();
    for (const QString& path : { QStringLiteral("/light/0"), QStringLiteral("/light/9"), QStringLiteral("/light/01"),
             QStringLiteral("/light/x"), QStringLiteral("/light/1/more"), QStringLiteral("/light"),
             QStringLiteral("/nothing"), QStringLiteral("/assets/other.js"), QStringLiteral("/api/lights/1") }) {
        EXPECT_EQ(httpGet(port, path).status, 404) << path.toStdString();
    }
}

TEST_F(WebTallyServerTest, ALightsAddressWithATrailingSlashLeadsToTheLight)
{
    start();
    const HttpAnswer slash = httpGet(port, QStringLiteral("/light/3/"));
    EXPECT_EQ(slash.status, 301);
    EXPECT_EQ(slash.location, QByteArray("/light/3"));
    for (const QString& path : { QStringLiteral("/light/9/"), QStringLiteral("/light/x/"), QStringLiteral("/light/01/"),
             QStringLiteral("/light//") }) {
        const HttpAnswer answer = httpGet(port, path);
        EXPECT_EQ(answer.status, 404) << path.toStdString();
        EXPECT_TRUE(answer.location.isEmpty()) << path.toStdString();
    }
}

TEST_F(WebTallyServerTest, TheFaviconIsASmallIconOfTheProgramsOwn)
{
    start();
    const HttpAnswer icon = httpGet(port, QStringLiteral("/favicon.ico"));
    EXPECT_EQ(icon.status, 200);
    EXPECT_EQ(icon.contentType, QByteArray("image/x-icon"));
    // An icon file (reserved 0, type 1) holding one picture, kept small.
    EXPECT_TRUE(icon.body.startsWith(QByteArray("\0\0\1\0\1\0", 6))) << icon.body.toHex().toStdString();
    EXPECT_LT(icon.body.size(), 4096);
}

TEST_F(WebTallyServerTest, ThePageScriptAndStyleComeFromTheProgramAndNothingFromElsewhere)
{
    start();
    const HttpAnswer script = httpGet(port, QStringLiteral("/assets/tally.js"));
    EXPECT_EQ(script.status, 200);
    EXPECT_EQ(script.contentType, QByteArray("text/javascript; charset=utf-8"));
    EXPECT_TRUE(script.body.contains("new WebSocket("));
    const HttpAnswer style = httpGet(port, QStringLiteral("/assets/tally.css"));
    EXPECT_EQ(style.status, 200);
    EXPECT_TRUE(style.body.contains(".nosignal"));
    for (const QByteArray& body : { script.body, style.body, httpGet(port, QStringLiteral("/")).body,
             httpGet(port, QStringLiteral("/light/1")).body }) {
        EXPECT_FALSE(body.contains("http://")) << body.toStdString();
        EXPECT_FALSE(body.contains("https://")) << body.toStdString();
        EXPECT_FALSE(body.contains("@import"));
    }
}

TEST_F(WebTallyServerTest, BeforeTheFirstTickTheStateIsEightDarkLightsAndNoSource)
{
    start();
    const HttpAnswer answer = httpGet(port, QStringLiteral("/api/lights"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.contentType, QByteArray("application/json"));
    const QJsonObject state = parsed(answer.body);
    EXPECT_FALSE(state.value(QStringLiteral("sourceRunning")).toBool(true));
    EXPECT_EQ(state.value(QStringLiteral("lights")).toArray().size(), 8);
    EXPECT_EQ(lightMode(state, 7), QStringLiteral("off"));
}

TEST_F(WebTallyServerTest, TheApiAnswersTheLastPublishedLights)
{
    start();
    server->publish(studio(TallyMode::live));
    const QJsonObject state = parsed(httpGet(port, QStringLiteral("/api/lights")).body);
    EXPECT_TRUE(state.value(QStringLiteral("sourceRunning")).toBool());
    EXPECT_EQ(lightMode(state, 0), QStringLiteral("live"));
    EXPECT_EQ(lightMode(state, 1), QStringLiteral("preview"));
    EXPECT_EQ(state.value(QStringLiteral("lights")).toArray()[0].toObject().value(QStringLiteral("shots")).toArray(),
        (QJsonArray { QStringLiteral("Camera 1") }));
}

TEST_F(WebTallyServerTest, AnOpenedWebSocketHearsTheWholeStateAtOnce)
{
    start();
    server->publish(studio(TallyMode::live));
    PageSocket page(port);
    ASSERT_TRUE(page.heard(1));
    EXPECT_EQ(page.messages.first(), httpGet(port, QStringLiteral("/api/lights")).body);
}

TEST_F(WebTallyServerTest, AChangeIsPushedAtOnceAndTheSamePictureIsNotSentAgain)
{
    start();
    server->publish(studio(TallyMode::live));
    PageSocket page(port);
    ASSERT_TRUE(page.heard(1));
    server->publish(studio(TallyMode::live));
    server->publish(studio(TallyMode::preview));
    ASSERT_TRUE(page.heard(2));
    EXPECT_EQ(lightMode(parsed(page.messages[1]), 0), QStringLiteral("preview"));
    server->publish(studio(TallyMode::preview));
    QCoreApplication::processEvents();
    eventually([] { return false; }, 200);
    EXPECT_EQ(page.messages.size(), 2);
}

TEST_F(WebTallyServerTest, ALostSourceIsPushedSoThatPagesStopShowingColours)
{
    start();
    server->publish(studio(TallyMode::live));
    PageSocket page(port);
    ASSERT_TRUE(page.heard(1));
    server->publish(studio(TallyMode::live, false));
    ASSERT_TRUE(page.heard(2));
    EXPECT_FALSE(parsed(page.messages[1]).value(QStringLiteral("sourceRunning")).toBool(true));
}

TEST_F(WebTallyServerTest, PagesHearTheStateAgainWhileNothingChanges)
{
    WebTallyServer::Limits limits;
    limits.keepAliveMilliseconds = 50;
    start(limits);
    server->publish(studio(TallyMode::live));
    PageSocket page(port);
    ASSERT_TRUE(page.heard(4));
    EXPECT_EQ(page.messages[3], page.messages[0]);
}

TEST_F(WebTallyServerTest, WebSocketsBeyondTheLimitAreClosed)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.maxWebSockets = 2;
    start(limits);
    PageSocket first(port);
    PageSocket second(port);
    ASSERT_TRUE(first.heard(1));
    ASSERT_TRUE(second.heard(1));
    PageSocket third(port);
    EXPECT_TRUE(third.closed());
    EXPECT_TRUE(third.messages.isEmpty());
    EXPECT_EQ(third.socket.closeCode(), QWebSocketProtocol::CloseCodePolicyViolated);
    EXPECT_EQ(server->webSocketCount(), 2);
    first.socket.close();
    ASSERT_TRUE(eventually([&] { return server->webSocketCount() == 1; }));
    PageSocket fourth(port);
    EXPECT_TRUE(fourth.heard(1)) << "a closed page frees its place";
}

TEST_F(WebTallyServerTest, AWebSocketOnAnotherPathIsClosed)
{
    start();
    PageSocket page(port, QStringLiteral("/elsewhere"));
    EXPECT_TRUE(page.closed());
    EXPECT_TRUE(page.messages.isEmpty());
    EXPECT_EQ(server->webSocketCount(), 0);
}

TEST_F(WebTallyServerTest, WhatAPageSendsChangesNothingAndAnOversizedMessageClosesIt)
{
    start();
    server->publish(studio(TallyMode::live));
    PageSocket page(port);
    ASSERT_TRUE(page.heard(1));
    page.socket.sendTextMessage(QStringLiteral("{\"light\":1,\"mode\":\"off\"}"));
    page.socket.sendTextMessage(QStringLiteral("cut"));
    eventually([] { return false; }, 200);
    EXPECT_EQ(page.socket.state(), QAbstractSocket::ConnectedState);
    EXPECT_EQ(lightMode(parsed(httpGet(port, QStringLiteral("/api/lights")).body), 0), QStringLiteral("live"));
    page.socket.sendTextMessage(QString(4096, QLatin1Char('x')));
    EXPECT_TRUE(page.closed());
    EXPECT_EQ(page.messages.size(), 1);
}

TEST_F(WebTallyServerTest, OtherMethodsThanGetAreNotServed)
{
    start();
    server->publish(studio(TallyMode::live));
    bool closed = false;
    const QByteArray heard
        = sendRaw("POST /api/lights HTTP/1.1\r\nHost: x\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}", &closed);
    EXPECT_TRUE(heard.startsWith("HTTP/1.1 404")) << heard.toStdString();
    EXPECT_EQ(lightMode(parsed(httpGet(port, QStringLiteral("/api/lights")).body), 0), QStringLiteral("live"));
}

TEST_F(WebTallyServerTest, AnOversizedRequestIsCutOffUnanswered)
{
    start();
    bool closed = false;
    const QByteArray heard
        = sendRaw("GET / HTTP/1.1\r\nHost: x\r\nX-Padding: " + QByteArray(64 * 1024, 'a') + "\r\n\r\n", &closed);
    EXPECT_TRUE(closed);
    EXPECT_TRUE(heard.isEmpty()) << heard.left(200).toStdString();
    EXPECT_EQ(httpGet(port, QStringLiteral("/light/1")).status, 200) << "the page is still served";
}

TEST_F(WebTallyServerTest, ARequestThatNeverEndsIsCutOffAfterTheDeadline)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.answerDeadlineMilliseconds = 200;
    start(limits);
    bool closed = false;
    const QByteArray heard = sendRaw("GET / HTTP/1.1\r\nHost: x\r\n", &closed);
    EXPECT_TRUE(closed);
    EXPECT_TRUE(heard.isEmpty());
}

TEST_F(WebTallyServerTest, AtTheLimitANewConnectionTakesThePlaceOfTheQuietestOne)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.maxConnections = 3;
    start(limits);
    QList<std::shared_ptr<QTcpSocket>> held;
    for (int i = 0; i < 3; ++i) {
        held.append(std::make_shared<QTcpSocket>());
        held.last()->connectToHost(QHostAddress::LocalHost, port);
        ASSERT_TRUE(held.last()->waitForConnected(5000));
        eventually([] { return false; }, 50); // a clear order of quiet
    }
    QTcpSocket phone;
    phone.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(phone.waitForConnected(5000));
    EXPECT_TRUE(eventually([&] { return held.first()->state() == QAbstractSocket::UnconnectedState; }, 5000))
        << "the connection quiet the longest makes room";
    phone.write("GET /api/lights HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    QByteArray heard;
    EXPECT_TRUE(eventually([&] {
        heard += phone.readAll();
        return heard.contains("\"lights\"");
    }));
    EXPECT_TRUE(heard.startsWith("HTTP/1.1 200")) << heard.toStdString();
    EXPECT_EQ(held[1]->state(), QAbstractSocket::ConnectedState);
    EXPECT_EQ(held[2]->state(), QAbstractSocket::ConnectedState);
}

TEST_F(WebTallyServerTest, ManyIdleConnectionsCannotLockANewPhoneOut)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.maxConnections = 8;
    limits.connections.answerDeadlineMilliseconds = 300;
    start(limits);
    QList<std::shared_ptr<QTcpSocket>> idle;
    for (int i = 0; i < 8; ++i) {
        idle.append(std::make_shared<QTcpSocket>());
        idle.last()->connectToHost(QHostAddress::LocalHost, port);
        ASSERT_TRUE(idle.last()->waitForConnected(5000));
    }
    // Never a byte from them: the deadline runs from the moment they opened.
    EXPECT_TRUE(eventually([&] {
        return std::all_of(idle.begin(), idle.end(),
            [](const std::shared_ptr<QTcpSocket>& s) { return s->state() == QAbstractSocket::UnconnectedState; });
    }));
    EXPECT_EQ(httpGet(port, QStringLiteral("/light/1")).status, 200);
}

TEST_F(WebTallyServerTest, ADrippingRequestIsCutOffAtTheDeadlineFromItsFirstByte)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.answerDeadlineMilliseconds = 400;
    start(limits);
    QTcpSocket drip;
    drip.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(drip.waitForConnected(5000));
    QElapsedTimer opened;
    opened.start();
    const QByteArray request = "GET / HTTP/1.1\r\nHost: x\r\nX-Slow: aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";
    qsizetype sent = 0;
    const bool cut = eventually(
        [&] {
            if (sent < request.size()) {
                drip.write(request.mid(sent++, 1));
            }
            return drip.state() == QAbstractSocket::UnconnectedState;
        },
        5000);
    EXPECT_TRUE(cut);
    EXPECT_LT(opened.elapsed(), 2000);
}

TEST_F(WebTallyServerTest, APortInUseIsAProblemInWordsNotACrash)
{
    QTcpServer occupant;
    ASSERT_TRUE(occupant.listen(QHostAddress::LocalHost));
    WebTallyServer web;
    QString problem;
    EXPECT_FALSE(web.listen(loopback(occupant.serverPort()), &problem));
    EXPECT_EQ(problem,
        QStringLiteral("cannot serve the web tally page on 127.0.0.1:%1: The bound address is already in use")
            .arg(occupant.serverPort()));
    EXPECT_EQ(web.port(), 0);
}

TEST_F(WebTallyServerTest, AnOpenWebSocketOutlivesTheRequestDeadline)
{
    WebTallyServer::Limits limits;
    limits.connections.answerDeadlineMilliseconds = 300;
    limits.keepAliveMilliseconds = 100;
    start(limits);
    PageSocket page(port);
    ASSERT_TRUE(page.connected());
    const QMetaObject::Connection watch = QObject::connect(&page.socket, &QWebSocket::disconnected, [&page] {
        ADD_FAILURE() << "the page's WebSocket was closed: " << page.socket.closeCode() << " "
                      << page.socket.closeReason().toStdString();
    });
    eventually([] { return false; }, 2000);
    EXPECT_EQ(page.socket.state(), QAbstractSocket::ConnectedState);
    EXPECT_GE(page.messages.size(), 10);
    QObject::disconnect(watch); // the page closing its own socket at the end is no failure
}

TEST_F(WebTallyServerTest, AQuietWebSocketOutlivesTheRequestDeadline)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.answerDeadlineMilliseconds = 300;
    start(limits);
    PageSocket page(port);
    ASSERT_TRUE(page.connected());
    eventually([] { return false; }, 1500);
    EXPECT_EQ(page.socket.state(), QAbstractSocket::ConnectedState);
}

TEST_F(WebTallyServerTest, ARequestUnderAnotherSitesNameIsRefused)
{
    start();
    server->publish(studio(TallyMode::live));
    bool closed = false;
    const QByteArray heard
        = sendRaw("GET /api/lights HTTP/1.1\r\nHost: evil.example:8080\r\nConnection: close\r\n\r\n", &closed);
    EXPECT_TRUE(heard.startsWith("HTTP/1.1 403")) << heard.toStdString();
    EXPECT_FALSE(heard.contains("lights")) << heard.toStdString();
}

TEST_F(WebTallyServerTest, AWebSocketOpenedByAnotherSiteHearsNothing)
{
    start();
    QWebSocket socket;
    QList<QString> heard;
    QObject::connect(&socket, &QWebSocket::textMessageReceived, [&heard](const QString& text) { heard.append(text); });
    QNetworkRequest request(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(port)));
    request.setRawHeader("Origin", "http://evil.example");
    socket.open(request);
    eventually([&] { return socket.state() == QAbstractSocket::UnconnectedState && socket.error() != -1; }, 3000);
    eventually([] { return false; }, 300);
    EXPECT_TRUE(heard.isEmpty());
    EXPECT_NE(socket.state(), QAbstractSocket::ConnectedState);
    EXPECT_EQ(server->webSocketCount(), 0);
}

TEST_F(WebTallyServerTest, AWebSocketFromThePageItselfIsServed)
{
    start();
    QWebSocket socket;
    QList<QString> heard;
    QObject::connect(&socket, &QWebSocket::textMessageReceived, [&heard](const QString& text) { heard.append(text); });
    QNetworkRequest request(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(port)));
    request.setRawHeader("Origin", QStringLiteral("http://127.0.0.1:%1").arg(port).toLatin1());
    socket.open(request);
    EXPECT_TRUE(eventually([&] { return !heard.isEmpty(); }, 5000));
}

TEST_F(WebTallyServerTest, NotFoundIsNeitherCachedNorSniffed)
{
    start();
    bool closed = false;
    const QByteArray heard
        = sendRaw("GET /nothing-here HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n", &closed);
    EXPECT_TRUE(heard.startsWith("HTTP/1.1 404")) << heard.toStdString();
    EXPECT_TRUE(heard.contains("\r\nX-Content-Type-Options: nosniff\r\n")) << heard.toStdString();
    EXPECT_TRUE(heard.contains("\r\nCache-Control: no-store\r\n")) << heard.toStdString();
}

TEST_F(WebTallyServerTest, PagesLoadNothingFromElsewhereAndHandOnNoAddress)
{
    start();
    bool closed = false;
    const QByteArray heard = sendRaw("GET /light/1 HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n", &closed);
    ASSERT_TRUE(heard.startsWith("HTTP/1.1 200")) << heard.toStdString();
    EXPECT_TRUE(heard.contains("\r\nContent-Security-Policy: default-src 'none'; script-src 'self'"))
        << heard.toStdString();
    EXPECT_TRUE(heard.contains("frame-ancestors 'none'")) << heard.toStdString();
    EXPECT_TRUE(heard.contains("\r\nReferrer-Policy: no-referrer\r\n")) << heard.toStdString();
}

TEST_F(WebTallyServerTest, HeadIsAnsweredWithTheHeadersAlone)
{
    start();
    bool closed = false;
    const QByteArray heard
        = sendRaw("HEAD /api/lights HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n", &closed);
    ASSERT_TRUE(heard.startsWith("HTTP/1.1 200")) << heard.toStdString();
    EXPECT_TRUE(heard.contains("application/json")) << heard.toStdString();
    EXPECT_TRUE(heard.endsWith("\r\n\r\n")) << "no body: " << heard.toStdString();
}

TEST_F(WebTallyServerTest, ThePageSaysWhereAPhoneFindsIt)
{
    EXPECT_TRUE(WebTallyServer().pageUrls().isEmpty()) << "not listening";
    start();
    EXPECT_EQ(server->pageUrls(), QStringList { QStringLiteral("http://127.0.0.1:%1/").arg(port) });
}

TEST_F(WebTallyServerTest, PhonesThatCameAndWentLeaveRoomForTheNextOnes)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.maxConnections = 4;
    start(limits);
    server->publish(studio(TallyMode::live));
    // Twice as many pages as the connection limit, one after another, each
    // gone before the next: a phone reloading, sleeping, waking.
    for (int visit = 0; visit < 8; ++visit) {
        PageSocket page(port);
        ASSERT_TRUE(page.heard(1)) << "visit " << visit;
        page.socket.close();
        ASSERT_TRUE(eventually([&] { return server->webSocketCount() == 0; })) << "visit " << visit;
    }
    EXPECT_EQ(httpGet(port, QStringLiteral("/light/1")).status, 200);
    PageSocket next(port);
    EXPECT_TRUE(next.heard(1));
}

namespace {

// One answer, read as far as its headers say it goes (a HEAD answer: the
// headers, then a moment more to hear any body sent wrongly), without
// waiting for the server to close.
QByteArray oneAnswer(quint16 port, const QByteArray& method, const QByteArray& path)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    EXPECT_TRUE(socket.waitForConnected(5000));
    socket.write(method + ' ' + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    QByteArray heard;
    eventually(
        [&] {
            heard += socket.readAll();
            const qsizetype end = heard.indexOf("\r\n\r\n");
            if (end < 0) {
                return false;
            }
            if (method == "HEAD") {
                return true;
            }
            const qsizetype field = heard.toLower().indexOf("\r\ncontent-length: ");
            const qsizetype length
                = field < 0 ? 0 : heard.mid(field + 18, heard.indexOf("\r\n", field + 2) - field - 18).toLongLong();
            return heard.size() >= end + 4 + length;
        },
        5000);
    if (method == "HEAD") {
        eventually([] { return false; }, 100);
        heard += socket.readAll();
    }
    return heard;
}

} // namespace

TEST_F(WebTallyServerTest, EveryAnswerGETOrHEADFoundOrNotCarriesTheSecurityHeaders)
{
    start();
    server->publish(studio(TallyMode::live));
    const QByteArrayList headers { "\r\nCache-Control: no-store\r\n", "\r\nX-Content-Type-Options: nosniff\r\n",
        "\r\nContent-Security-Policy: default-src 'none';", "\r\nReferrer-Policy: no-referrer\r\n" };
    for (const QByteArray& method : { QByteArray("GET"), QByteArray("HEAD") }) {
        for (const QByteArray& path :
            { QByteArray("/"), QByteArray("/light/1"), QByteArray("/light/9"), QByteArray("/api/lights"),
                QByteArray("/assets/tally.css"), QByteArray("/assets/tally.js"), QByteArray("/nothing-here") }) {
            const QByteArray heard = oneAnswer(port, method, path);
            const std::string request = (method + ' ' + path).toStdString();
            ASSERT_TRUE(heard.startsWith("HTTP/1.1 200") || heard.startsWith("HTTP/1.1 404"))
                << request << ": " << heard.toStdString();
            for (const QByteArray& header : headers) {
                EXPECT_TRUE(heard.contains(header)) << request << " lacks " << header.trimmed().toStdString();
            }
            if (method == "HEAD") {
                EXPECT_TRUE(heard.endsWith("\r\n\r\n")) << request << " sent a body: " << heard.toStdString();
            }
        }
    }
}

TEST_F(WebTallyServerTest, RefusedWebSocketsLeaveTheirPlaceAndThePageKeepsLoading)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.maxConnections = 4;
    limits.maxWebSockets = 1;
    start(limits);
    server->publish(studio(TallyMode::live));
    PageSocket held(port);
    ASSERT_TRUE(held.heard(1));
    // Many more refusals than places: a page beyond the cap that keeps
    // retrying, as a browser does.
    for (int refusal = 0; refusal < 12; ++refusal) {
        PageSocket refused(port);
        ASSERT_TRUE(refused.closed()) << "refusal " << refusal;
        EXPECT_EQ(refused.socket.closeCode(), QWebSocketProtocol::CloseCodePolicyViolated);
    }
    EXPECT_EQ(httpGet(port, QStringLiteral("/")).status, 200);
    held.socket.close();
    ASSERT_TRUE(eventually([&] { return server->webSocketCount() == 0; }));
    PageSocket next(port);
    EXPECT_TRUE(next.heard(1)) << "a new page is served after every refusal";
    EXPECT_EQ(httpGet(port, QStringLiteral("/light/1")).status, 200);
}

TEST_F(WebTallyServerTest, WebSocketsRefusedForTheirPathOrOriginLeaveTheirPlaceToo)
{
    WebTallyServer::Limits limits = quietLimits();
    limits.connections.maxConnections = 2;
    start(limits);
    for (int refusal = 0; refusal < 6; ++refusal) {
        PageSocket elsewhere(port, QStringLiteral("/elsewhere"));
        ASSERT_TRUE(elsewhere.closed()) << "refusal " << refusal;
    }
    EXPECT_EQ(httpGet(port, QStringLiteral("/")).status, 200);
    PageSocket page(port);
    EXPECT_TRUE(page.heard(1));
}
