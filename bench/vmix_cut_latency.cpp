// How long a cut in the vMix stand-in takes to reach the tally box:
// tallyctl watch follows the stand-in's TCP API over the loopback network
// (the cut comes as a tally event) with the
// capture device as box, and each cut is timed from the moment it is written
// to the stand-in's standard input until the tally box has received all
// sixteen reports of the tick that shows it. There is no video frame to wait
// for, so this is the program's own delay (and the stand-in's).
// Usage: vmix_cut_latency [CUTS]   (default 200). Prints median, p99 and max.

#include "Percentile.h"
#include "support/VmixStandinProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>

namespace {

// Waits until the capture file holds, past offset, a report starting with
// firstByte (light 1's new state) and the fifteen reports after it.
bool waitForTick(QFile& capture, qint64 offset, const QByteArray& firstByte, const QElapsedTimer& sinceCut)
{
    QByteArray seen;
    while (sinceCut.elapsed() < 5000) {
        capture.seek(offset + seen.size());
        seen += capture.readAll();
        const QList<QByteArray> lines = seen.split('\n');
        for (qsizetype i = 0; i + 1 < lines.size(); ++i) {
            if (lines[i].startsWith(firstByte) && lines.size() - 1 - i >= 16) {
                return true;
            }
        }
        QThread::usleep(50);
    }
    return false;
}

int fail(const char* why)
{
    std::fprintf(stderr, "vmix_cut_latency: %s\n", why);
    return 1;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int cuts = argc > 1 ? std::max(1, atoi(argv[1])) : 200;
    QTemporaryDir folder;
    const QString capturePath = folder.filePath(QStringLiteral("capture.hex"));
    const QString mapPath = folder.filePath(QStringLiteral("studio.tlx"));
    QFile map(mapPath);
    if (!map.open(QIODevice::WriteOnly)) {
        return fail("cannot write the tally map");
    }
    map.write("0|Camera 1\r\n1|Camera 2\r\n");
    map.close();

    VmixStandinProcess vmix;
    // Camera 1 on program and Camera 2 on preview, so that every cut swaps
    // light 1 between live and preview.
    vmix.setOptions(
        { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("2") });
    if (!vmix.start()) {
        return fail("the stand-in did not start");
    }
    QProcess watch;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capturePath);
    watch.setProcessEnvironment(environment);
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), vmix.address(), mapPath });
    QFile capture(capturePath);
    const bool ready = eventually([&] {
        if (!capture.isOpen() && !capture.open(QIODevice::ReadOnly)) {
            return false;
        }
        return watch.readAllStandardOutput().contains("Light 1: live");
    });
    if (!ready) {
        return fail("tallyctl watch did not follow the stand-in");
    }

    std::vector<double> atBox;
    bool lightOneLive = true;
    for (int cut = 0; cut < cuts; ++cut) {
        // Between cuts, so that each is timed alone rather than merged with
        // the one before.
        QThread::msleep(60);
        capture.seek(0);
        const qint64 offset = capture.size();
        lightOneLive = !lightOneLive;
        QElapsedTimer sinceCut;
        sinceCut.start();
        vmix.send("cut");
        if (!waitForTick(capture, offset, lightOneLive ? "b1" : "01", sinceCut)) {
            return fail("a cut did not reach the box within five seconds");
        }
        atBox.push_back(static_cast<double>(sinceCut.nsecsElapsed()) / 1e6);
    }
    watch.kill();
    watch.waitForFinished();
    std::printf("%d cuts, stand-in cut to sixteen reports at the box: median %.2f ms, p99 %.2f ms, max %.2f ms\n", cuts,
        percentile(atBox, 0.5), percentile(atBox, 0.99), *std::max_element(atBox.begin(), atBox.end()));
    return 0;
}
