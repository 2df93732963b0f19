// How long after the tally box a phone's page shows a cut: tallyctl watch
// beside the headless stand-in serves the web tally page, a real headless
// Chromium shows /light/1, and each of 100 cuts is timed three ways: cut to
// the box (tallyctl prints the light's change in the tick that hands its
// bytes to the box's writer), cut to the page's repaint (the animation frame after the page
// changed its colour, stamped by the page's own clock), and box to page.
// Reported as median and 99th percentile in milliseconds. The argument is
// how long each report to the tally box (a capture file) takes: 0, or 40 ms
// for a slow box, which must not hold up the page.

#include "Percentile.h"
#include "support/FreePort.h"
#include "support/HeadlessChromium.h"
#include "tools/StandinProcess.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

double nowMilliseconds()
{
    using namespace std::chrono;
    return duration<double, std::milli>(system_clock::now().time_since_epoch()).count();
}

// Runs events, without sleeping between them, until condition holds.
bool runUntil(const std::function<bool()>& condition, int patienceMilliseconds)
{
    QTimer wakeUp; // keeps the wait for events short
    wakeUp.start(5);
    const double deadline = nowMilliseconds() + patienceMilliseconds;
    while (!condition()) {
        if (nowMilliseconds() > deadline) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Reports each repaint after the page changes its look, with the page's
// own time (milliseconds since the epoch, as on this machine).
const char* const paintProbe = R"(
new MutationObserver(function () {
  var look = document.body.className;
  requestAnimationFrame(function () {
    reportPaint(JSON.stringify({ look: look, at: performance.timeOrigin + performance.now() }));
  });
}).observe(document.body, { attributes: true, attributeFilter: ['class'] });
true
)";

void cutToPageRepaint(benchmark::State& state)
{
    QTemporaryDir folder;
    StandinProcess standin;
    if (!standin.start(StandinProcess::studioStart())) {
        state.SkipWithError("the stand-in did not start");
        return;
    }
    const QString mapPath = folder.filePath(QStringLiteral("studio.tlx"));
    QFile map(mapPath);
    map.open(QIODevice::WriteOnly);
    map.write("0|Camera 1\r\n1|Camera 2\r\n");
    map.close();
    const quint16 port = freePort();

    QProcess watch;
    const auto stopWatch = qScopeGuard([&watch] {
        watch.kill();
        watch.waitForFinished();
    });
    QProcessEnvironment environment = standin.environment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), folder.filePath(QStringLiteral("capture.hex")));
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE_DELAY_MS"), QString::number(state.range(0)));
    watch.setProcessEnvironment(environment);
    double boxAt = 0;
    QByteArray printed;
    QObject::connect(&watch, &QProcess::readyReadStandardOutput, [&] {
        const double at = nowMilliseconds();
        printed += watch.readAllStandardOutput();
        if (printed.contains("Light 1: ")) {
            boxAt = at;
            printed.clear();
        }
    });
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port), mapPath });

    HeadlessChromium browser;
    QString problem;
    if (!browser.start(&problem)) {
        state.SkipWithError(problem.toStdString().c_str());
        return;
    }
    double pageAt = 0;
    QString expected;
    browser.onEvent([&](const QString& method, const QJsonObject& params) {
        if (method == QLatin1String("Runtime.bindingCalled")) {
            const QJsonObject paint
                = QJsonDocument::fromJson(params.value(QStringLiteral("payload")).toString().toUtf8()).object();
            if (pageAt == 0 && paint.value(QStringLiteral("look")).toString().contains(expected)) {
                pageAt = paint.value(QStringLiteral("at")).toDouble();
            }
        }
    });
    browser.call(QStringLiteral("Runtime.enable"));
    browser.call(QStringLiteral("Runtime.addBinding"), { { QStringLiteral("name"), QStringLiteral("reportPaint") } });
    if (!browser.navigate(QStringLiteral("http://127.0.0.1:%1/light/1").arg(port))
        || !runUntil(
            [&] {
                return browser.evaluate(QStringLiteral("document.body.className"))
                    .toString()
                    .contains(QStringLiteral("live"));
            },
            30000)) {
        state.SkipWithError("the page did not show light 1");
        return;
    }
    browser.evaluate(QString::fromLatin1(paintProbe));

    QList<double> cutToBox;
    QList<double> cutToPage;
    QList<double> boxToPage;
    for (auto _ : state) {
        boxAt = 0;
        pageAt = 0;
        expected = cutToPage.size() % 2 == 0 ? QStringLiteral("preview") : QStringLiteral("live");
        const double cutAt = nowMilliseconds();
        standin.send("cut\n");
        if (!runUntil([&] { return boxAt > 0 && pageAt > 0; }, 5000)) {
            const std::string reason = boxAt > 0 ? "a cut reached the box but not the page"
                : pageAt > 0                     ? "a cut reached the page but not the box"
                                                 : "a cut reached neither the box nor the page";
            state.SkipWithError(reason.c_str());
            return;
        }
        cutToBox.append(boxAt - cutAt);
        cutToPage.append(pageAt - cutAt);
        boxToPage.append(pageAt - boxAt);
        state.SetIterationTime((pageAt - cutAt) / 1000.0);
        // The next cut at a random point of the 0.25 s tick.
        const double pauseUntil = nowMilliseconds() + 100 + QRandomGenerator::global()->bounded(250);
        runUntil([&] { return nowMilliseconds() >= pauseUntil; }, 1000);
    }
    state.counters["cut_to_box_median_ms"] = percentile(cutToBox, 0.5);
    state.counters["cut_to_box_p99_ms"] = percentile(cutToBox, 0.99);
    state.counters["cut_to_page_median_ms"] = percentile(cutToPage, 0.5);
    state.counters["cut_to_page_p99_ms"] = percentile(cutToPage, 0.99);
    state.counters["box_to_page_median_ms"] = percentile(boxToPage, 0.5);
    state.counters["box_to_page_p99_ms"] = percentile(boxToPage, 0.99);
}
BENCHMARK(cutToPageRepaint)->Arg(0)->Arg(40)->Iterations(100)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace
