#include "support/HeadlessChromium.h"

#include "support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStandardPaths>

#include <memory>

HeadlessChromium::HeadlessChromium()
{
    QObject::connect(&m_page, &QWebSocket::textMessageReceived, [this](const QString& message) {
        const QJsonObject object = QJsonDocument::fromJson(message.toUtf8()).object();
        if (object.contains(QStringLiteral("id"))) {
            m_replies.insert(object.value(QStringLiteral("id")).toInt(), object);
        } else if (m_eventHandler) {
            m_eventHandler(
                object.value(QStringLiteral("method")).toString(), object.value(QStringLiteral("params")).toObject());
        }
    });
}

HeadlessChromium::~HeadlessChromium()
{
    m_page.abort();
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    // The browser's helpers may still be writing to the profile for a moment.
    eventually([this] { return QDir(m_profile.path()).removeRecursively(); }, 3000);
}

QString HeadlessChromium::program()
{
    if (QFile::exists(QStringLiteral("/usr/bin/chromium"))) {
        return QStringLiteral("/usr/bin/chromium");
    }
    for (const QString& name : { QStringLiteral("chromium"), QStringLiteral("chromium-browser") }) {
        const QString found = QStandardPaths::findExecutable(name);
        if (!found.isEmpty()) {
            return found;
        }
    }
    return {};
}

bool HeadlessChromium::start(QString* problem)
{
    const QString browser = program();
    if (browser.isEmpty()) {
        *problem = QStringLiteral("no chromium on this machine (scripts/install-deps.sh installs it)");
        return false;
    }
    // Nothing that reaches beyond this machine: the tests run offline.
    // Its complaints about a missing desktop bus and the like are noise here.
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(browser,
        { QStringLiteral("--headless"), QStringLiteral("--no-sandbox"), QStringLiteral("--disable-gpu"),
            QStringLiteral("--disable-quic"), QStringLiteral("--no-first-run"),
            QStringLiteral("--disable-background-networking"), QStringLiteral("--disable-component-update"),
            QStringLiteral("--disable-sync"), QStringLiteral("--disable-dev-shm-usage"),
            QStringLiteral("--user-data-dir=") + m_profile.path(), QStringLiteral("--remote-debugging-port=0"),
            QStringLiteral("about:blank") });
    if (!m_process.waitForStarted(10000)) {
        *problem = QStringLiteral("%1 did not start: %2").arg(browser, m_process.errorString());
        return false;
    }
    // The browser writes the port it chose into its profile.
    QFile portFile(m_profile.filePath(QStringLiteral("DevToolsActivePort")));
    if (!eventually([&] { return portFile.exists() && portFile.size() > 0; }, 30000)) {
        *problem = QStringLiteral("%1 started but opened no DevTools port").arg(browser);
        return false;
    }
    portFile.open(QIODevice::ReadOnly);
    const quint16 port = static_cast<quint16>(portFile.readLine().trimmed().toUInt());
    return attach(port, problem);
}

bool HeadlessChromium::attach(quint16 port, QString* problem)
{
    QNetworkAccessManager manager;
    QString pageAddress;
    eventually(
        [&] {
            std::unique_ptr<QNetworkReply> reply(
                manager.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/json/list").arg(port)))));
            eventually([&] { return reply->isFinished(); }, 5000);
            for (const QJsonValue& target : QJsonDocument::fromJson(reply->readAll()).array()) {
                if (target[QStringLiteral("type")].toString() == QLatin1String("page")) {
                    pageAddress = target[QStringLiteral("webSocketDebuggerUrl")].toString();
                }
            }
            return !pageAddress.isEmpty();
        },
        15000);
    if (pageAddress.isEmpty()) {
        *problem = QStringLiteral("chromium shows no page to drive");
        return false;
    }
    m_page.open(QUrl(pageAddress));
    if (!eventually([this] { return m_page.state() == QAbstractSocket::ConnectedState; }, 10000)) {
        *problem = QStringLiteral("cannot attach to chromium's page: %1").arg(m_page.errorString());
        return false;
    }
    call(QStringLiteral("Page.enable"));
    return true;
}

QJsonObject HeadlessChromium::call(const QString& method, const QJsonObject& params)
{
    const int id = m_nextId++;
    const QJsonObject message {
        { QStringLiteral("id"), id },
        { QStringLiteral("method"), method },
        { QStringLiteral("params"), params },
    };
    m_page.sendTextMessage(QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
    eventually([&] { return m_replies.contains(id) || m_page.state() != QAbstractSocket::ConnectedState; }, 15000);
    return m_replies.take(id).value(QStringLiteral("result")).toObject();
}

bool HeadlessChromium::navigate(const QString& url)
{
    call(QStringLiteral("Page.navigate"), { { QStringLiteral("url"), url } });
    return eventually([&] {
        return evaluate(QStringLiteral("document.readyState === 'complete' && location.href === '%1'").arg(url))
            .toBool();
    });
}

QJsonValue HeadlessChromium::evaluate(const QString& expression)
{
    const QJsonObject result = call(QStringLiteral("Runtime.evaluate"),
        {
            { QStringLiteral("expression"), expression },
            { QStringLiteral("returnByValue"), true },
            { QStringLiteral("awaitPromise"), true },
        });
    return result.value(QStringLiteral("result")).toObject().value(QStringLiteral("value"));
}

bool HeadlessChromium::click(const QString& selector)
{
    const QJsonValue middle = evaluate(
        QStringLiteral("(function () { var element = document.querySelector('%1');"
                       " if (!element) { return null; } var box = element.getBoundingClientRect();"
                       " return box.width > 0 && box.height > 0 ? [box.left + box.width / 2, box.top + box.height / 2]"
                       " : null; })()")
            .arg(selector));
    if (!middle.isArray()) {
        return false;
    }
    for (const char* type : { "mousePressed", "mouseReleased" }) {
        call(QStringLiteral("Input.dispatchMouseEvent"),
            {
                { QStringLiteral("type"), QLatin1String(type) },
                { QStringLiteral("x"), middle.toArray().at(0).toDouble() },
                { QStringLiteral("y"), middle.toArray().at(1).toDouble() },
                { QStringLiteral("button"), QStringLiteral("left") },
                { QStringLiteral("clickCount"), 1 },
            });
    }
    return true;
}

void HeadlessChromium::emulateScreen(int width, int height, double scale)
{
    call(QStringLiteral("Emulation.setDeviceMetricsOverride"),
        {
            { QStringLiteral("width"), width },
            { QStringLiteral("height"), height },
            { QStringLiteral("deviceScaleFactor"), scale },
            { QStringLiteral("mobile"), true },
        });
}

QByteArray HeadlessChromium::screenshot()
{
    const QJsonObject result = call(QStringLiteral("Page.captureScreenshot"), { { QStringLiteral("format"), "png" } });
    return QByteArray::fromBase64(result.value(QStringLiteral("data")).toString().toLatin1());
}
