#pragma once

// How long a cut in a switcher stand-in takes to reach the tally box:
// tallyctl watch follows the stand-in over the loopback network with the
// capture device as box, and each cut is timed from the moment it is written
// to the stand-in's standard input until the tally box has received all
// sixteen reports of the tick that shows it. There is no video frame to wait
// for, so this is the program's own delay (and the stand-in's).
//
// measureCutsToTheBox runs the whole measurement for a started stand-in
// with Camera 1 on program and Camera 2 on preview, and prints median, p99
// and max; the programs around it only choose the stand-in.

#include "Percentile.h"
#include "support/SwitcherStandinProcess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace StandinCutLatency {

// Waits until the capture file holds, past offset, a report starting with
// firstByte (light 1's new state) and the fifteen reports after it.
inline bool waitForTick(QFile& capture, qint64 offset, const QByteArray& firstByte, const QElapsedTimer& sinceCut)
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

inline int fail(const char* name, const char* why)
{
    std::fprintf(stderr, "%s: %s\n", name, why);
    return 1;
}

// name: the program's, for its messages. standin: started, Camera 1 on
// program and Camera 2 on preview.
inline int measureCutsToTheBox(const char* name, SwitcherStandinProcess& standin, int cuts)
{
    QTemporaryDir folder;
    const QString capturePath = folder.filePath(QStringLiteral("capture.hex"));
    const QString mapPath = folder.filePath(QStringLiteral("studio.tlx"));
    QFile map(mapPath);
    if (!map.open(QIODevice::WriteOnly)) {
        return fail(name, "cannot write the tally map");
    }
    map.write("0|Camera 1\r\n1|Camera 2\r\n");
    map.close();

    QProcess watch;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capturePath);
    watch.setProcessEnvironment(environment);
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), standin.address(), mapPath });
    QFile capture(capturePath);
    const bool ready = eventually([&] {
        if (!capture.isOpen() && !capture.open(QIODevice::ReadOnly)) {
            return false;
        }
        return watch.readAllStandardOutput().contains("Light 1: live");
    });
    if (!ready) {
        return fail(name, "tallyctl watch did not follow the stand-in");
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
        standin.send("cut");
        if (!waitForTick(capture, offset, lightOneLive ? "b1" : "01", sinceCut)) {
            return fail(name, "a cut did not reach the box within five seconds");
        }
        atBox.push_back(static_cast<double>(sinceCut.nsecsElapsed()) / 1e6);
    }
    watch.kill();
    watch.waitForFinished();
    std::printf("%d cuts, stand-in cut to sixteen reports at the box: median %.2f ms, p99 %.2f ms, max %.2f ms\n", cuts,
        percentile(atBox, 0.5), percentile(atBox, 0.99), *std::max_element(atBox.begin(), atBox.end()));
    return 0;
}

} // namespace StandinCutLatency
