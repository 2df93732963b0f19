#pragma once

// A real Chromium without a window, driven over its DevTools protocol: open a
// page, read what it shows, take a picture of it. Used by the whole-process
// tests of the web tally page and by the latency measurement.

#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <QTemporaryDir>
#include <QWebSocket>

#include <functional>

class HeadlessChromium {
public:
    HeadlessChromium();
    ~HeadlessChromium();

    // Starts the browser and attaches to its page. False, with the reason in
    // problem, when there is no Chromium here or it does not start.
    bool start(QString* problem);

    // Loads url and waits until the page has run its scripts.
    bool navigate(const QString& url);
    // The value of a JavaScript expression in the page (awaited if a promise).
    QJsonValue evaluate(const QString& expression);
    // Clicks the middle of the first element the CSS selector finds, with
    // the mouse, as a user's tap: unlike a click() from script it counts as
    // a gesture, which a page needs to start a video. False when no
    // element is shown there.
    bool click(const QString& selector);
    // Sets the page's size as a phone's screen.
    void emulateScreen(int width, int height, double scale);
    // A PNG picture of the page.
    QByteArray screenshot();

    // Each protocol event the page sends (method, params), as it arrives.
    void onEvent(std::function<void(const QString&, const QJsonObject&)> handler)
    {
        m_eventHandler = std::move(handler);
    }

    // The browser program: /usr/bin/chromium, or one named on the PATH.
    static QString program();

    // One DevTools protocol command; its result.
    QJsonObject call(const QString& method, const QJsonObject& params = {});

private:
    bool attach(quint16 port, QString* problem);

    QTemporaryDir m_profile;
    QProcess m_process;
    QWebSocket m_page;
    int m_nextId = 1;
    QHash<int, QJsonObject> m_replies;
    std::function<void(const QString&, const QJsonObject&)> m_eventHandler;
};
