// How long a cut in a real OBS Studio takes to reach the tally box: OBS runs
// on a display of its own, tallyctl watch follows it with the capture device
// as box, and each cut is timed from the moment it is sent to OBS until the
// tally box has received all sixteen reports of the tick that shows it.
// Usage: obs_cut_latency [CUTS [FPS]]   (default 200 cuts, OBS's own frame
// rate). Prints median, p99 and max, and the same for OBS's own announcement
// of the cut to a client, which is the part of the delay that lies in OBS.

#include "Percentile.h"
#include "e2e/ObsStudioProcess.h"
#include "support/ObsTestClient.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

constexpr qsizetype reportLineBytes = 129; // 128 hex digits and a line end
constexpr int scenesEvents = 1 << 2;

struct CutTimes {
    double announcedMs = -1; // OBS's own event reached a client
    double atBoxMs = -1; // the tick showing the cut is complete at the box
};

// Waits until the capture file holds, past offset, a report starting with
// firstByte (light 1's new state) and the fifteen reports after it, noting
// meanwhile when OBS announced the cut to its clients.
bool waitForTick(QFile& capture, qint64 offset, const QByteArray& firstByte, ObsTestClient& desk,
    const QElapsedTimer& sinceCut, CutTimes* times)
{
    QByteArray seen;
    while (sinceCut.elapsed() < 5000) {
        if (times->announcedMs < 0 && desk.takeEvent(QStringLiteral("CurrentProgramSceneChanged"))) {
            times->announcedMs = static_cast<double>(sinceCut.nsecsElapsed()) / 1e6;
        }
        capture.seek(offset + seen.size());
        seen += capture.readAll();
        const QList<QByteArray> lines = seen.split('\n');
        for (qsizetype i = 0; i + 1 < lines.size(); ++i) {
            if (lines[i].startsWith(firstByte) && lines.size() - 1 - i >= 16) {
                times->atBoxMs = static_cast<double>(sinceCut.nsecsElapsed()) / 1e6;
                return true;
            }
        }
        // The cut request goes out and OBS's answers come in through the
        // event loop.
        QCoreApplication::processEvents();
        QThread::usleep(100);
    }
    return false;
}

bool fail(const QString& why)
{
    std::fprintf(stderr, "obs_cut_latency: %s\n", qPrintable(why));
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int cuts = argc > 1 ? std::max(10, std::atoi(argv[1])) : 200;
    // OBS changes its program scene on its next video frame, so its frame
    // rate bounds how soon it can announce a cut; 0 keeps its own (30).
    const int framesPerSecond = argc > 2 ? std::atoi(argv[2]) : 0;
    QTemporaryDir folder;
    ObsStudioProcess obs;
    if (!obs.start()) {
        fail(obs.unavailableReason().isEmpty() ? obs.failure() : obs.unavailableReason());
        return 1;
    }
    ObsTestClient desk;
    if (!desk.logIn(obs.webSocketUrl(), obs.password(), scenesEvents)) {
        fail(QStringLiteral("cannot log in to OBS Studio"));
        return 1;
    }
    // Studio mode off and the Cut transition: a program change is the cut
    // itself, not the start of a fade.
    desk.call(
        QStringLiteral("SetCurrentSceneTransition"), { { QStringLiteral("transitionName"), QStringLiteral("Cut") } });
    desk.call(QStringLiteral("SetStudioModeEnabled"), { { QStringLiteral("studioModeEnabled"), false } });
    if (framesPerSecond > 0) {
        const ObsTestClient::Answer video = desk.call(QStringLiteral("SetVideoSettings"),
            { { QStringLiteral("fpsNumerator"), framesPerSecond }, { QStringLiteral("fpsDenominator"), 1 } });
        if (!video.ok) {
            fail(QStringLiteral("OBS Studio refused %1 frames per second: %2").arg(framesPerSecond).arg(video.comment));
            return 1;
        }
    }
    for (const char* scene : { "Wide", "Close" }) {
        desk.call(QStringLiteral("CreateScene"), { { QStringLiteral("sceneName"), QString::fromLatin1(scene) } });
    }
    desk.call(QStringLiteral("SetCurrentProgramScene"), { { QStringLiteral("sceneName"), QStringLiteral("Close") } });

    const QString mapPath = folder.filePath(QStringLiteral("map.tlx"));
    const QString capturePath = folder.filePath(QStringLiteral("capture.hex"));
    QFile map(mapPath);
    if (!map.open(QIODevice::WriteOnly) || map.write("0|Wide\r\n1|Close\r\n") <= 0) {
        return 1;
    }
    map.close();
    QProcess watch;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capturePath);
    environment.insert(QStringLiteral("MIXDESK_TALLY_OBS_PASSWORD"), obs.password());
    watch.setProcessEnvironment(environment);
    watch.setStandardOutputFile(QProcess::nullDevice());
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), obs.address(), mapPath });
    QFile capture(capturePath);
    if (!eventually([&] { return capture.exists() && capture.size() >= 16 * reportLineBytes; }, 20000)
        || !capture.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("tallyctl watch never drove the capture device"));
        return 1;
    }

    QList<double> latenciesMs;
    QList<double> announcedMs;
    QList<double> afterAnnouncementMs;
    bool wideLive = false;
    for (int cut = 0; cut < cuts; ++cut) {
        // Off the 0.25 s cadence, so that the regular ticks neither help nor
        // hide anything.
        QThread::msleep(120 + QRandomGenerator::global()->bounded(120));
        QCoreApplication::processEvents();
        wideLive = !wideLive;
        const qint64 offset = capture.size();
        QElapsedTimer timer;
        timer.start();
        desk.send(6,
            { { QStringLiteral("requestType"), QStringLiteral("SetCurrentProgramScene") },
                { QStringLiteral("requestId"), QStringLiteral("cut-%1").arg(cut) },
                { QStringLiteral("requestData"),
                    QJsonObject { { QStringLiteral("sceneName"),
                        wideLive ? QStringLiteral("Wide") : QStringLiteral("Close") } } } });
        CutTimes times;
        if (!waitForTick(capture, offset, wideLive ? "b1" : "01", desk, timer, &times)) {
            fail(QStringLiteral("cut %1 never reached the tally box").arg(cut + 1));
            return 1;
        }
        // OBS's announcement to the other client may come in just after
        // the box has the cut.
        while (times.announcedMs < 0 && timer.elapsed() < 2000) {
            QCoreApplication::processEvents();
            if (desk.takeEvent(QStringLiteral("CurrentProgramSceneChanged"))) {
                times.announcedMs = static_cast<double>(timer.nsecsElapsed()) / 1e6;
            }
            QThread::usleep(100);
        }
        latenciesMs.append(times.atBoxMs);
        if (times.announcedMs >= 0) {
            announcedMs.append(times.announcedMs);
            afterAnnouncementMs.append(times.atBoxMs - times.announcedMs);
        }
        // Drain what came in after the tick, so the next cut starts clean.
        QCoreApplication::processEvents();
        while (desk.takeEvent(QStringLiteral("CurrentProgramSceneChanged"))) { }
    }
    watch.terminate();
    watch.waitForFinished(5000);
    obs.stop();

    const auto report = [](const char* what, QList<double> values) {
        if (values.isEmpty()) {
            return;
        }
        std::printf("%s (%lld cuts): median %.2f ms, p99 %.2f ms, max %.2f ms\n", what,
            static_cast<long long>(values.size()), percentile(values, 0.5), percentile(values, 0.99),
            *std::max_element(values.begin(), values.end()));
    };
    report("cut request to the sixteen reports at the box", latenciesMs);
    report("cut request to OBS's own event at a client", announcedMs);
    report("box minus OBS's event (may be negative: both race)", afterAnnouncementMs);
    return 0;
}
