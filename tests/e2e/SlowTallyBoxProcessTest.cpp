// A slow tally box must not hold up the phones: tallyctl watch following a
// TSL 5.0 switcher (which announces each cut, so the tick runs at once),
// serving the web tally page, with a capture file as tally box that takes
// 40 ms a report (sixteen reports a tick would be 640 ms of a frozen program
// if the box were written inside the tick).

#include "CaptureFile.h"
#include "TslSwitcherPacket.h"
#include "hardware/LightCommand.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "tsl/TslUmd50.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>
#include <QUdpSocket>
#include <QWebSocket>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <tuple>

namespace {

// Runs events as they come, without sleeping between them, until condition
// holds: a message is stamped when it arrives, not at the next poll.
bool runUntil(const std::function<bool()>& condition, int patienceMilliseconds)
{
    QTimer wakeUp; // keeps each wait for events short
    wakeUp.start(5);
    QDeadlineTimer deadline(patienceMilliseconds);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Light 1's mode in a state message of the page's WebSocket.
QString lightOneMode(const QString& message)
{
    const QJsonArray lights
        = QJsonDocument::fromJson(message.toUtf8()).object().value(QStringLiteral("lights")).toArray();
    return lights.isEmpty() ? QString() : lights.first().toObject().value(QStringLiteral("mode")).toString();
}

// Per light number (1 to 8), the last program-channel and preview-channel
// byte the box received; 0xFF for a channel never written.
QList<LightCommand::BytePair> lastBytesPerLight(const CaptureFile& capture)
{
    QList<LightCommand::BytePair> last(9, { 0xFF, 0xFF });
    for (const QByteArray& line : capture.lines()) {
        const auto byte = static_cast<quint8>(line.left(2).toUInt(nullptr, 16));
        const int light = byte & 0x0F;
        const int command = byte & 0xF0;
        if (light < 1 || light > 8) {
            continue;
        }
        if (command == LightCommand::programOn || command == LightCommand::programOff) {
            last[light].first = byte;
        } else if (command == LightCommand::previewOn || command == LightCommand::previewOff) {
            last[light].second = byte;
        }
    }
    return last;
}

bool boxShows(const CaptureFile& capture, TallyMode lightOne, TallyMode lightTwo)
{
    const QList<LightCommand::BytePair> last = lastBytesPerLight(capture);
    for (int light = 1; light <= 8; ++light) {
        const TallyMode mode = light == 1 ? lightOne : light == 2 ? lightTwo : TallyMode::off;
        const LightCommand::BytePair expected = LightCommand::bytesForMode(mode, light);
        if (last[light].first != expected.first || last[light].second != expected.second) {
            return false;
        }
    }
    return true;
}

} // namespace

TEST(SlowTallyBoxProcessTest, ACutReachesThePageWithinFiftyMillisecondsAndTheBoxEndsOnTheTruth)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString mapPath = folder.filePath(QStringLiteral("studio.tlx"));
    {
        QFile map(mapPath);
        ASSERT_TRUE(map.open(QIODevice::WriteOnly));
        map.write("0|Camera 1\r\n1|Camera 2\r\n");
    }
    const CaptureFile capture { folder.filePath(QStringLiteral("capture.hex")) };
    const quint16 port = freePort();
    const quint16 tslPort = freeUdpPort();
    ASSERT_NE(port, 0);
    ASSERT_NE(tslPort, 0);
    const QByteArray cameraOneLive = switcherPacket(TslUmd50::Colour::red, TslUmd50::Colour::green);
    const QByteArray cameraTwoLive = switcherPacket(TslUmd50::Colour::green, TslUmd50::Colour::red);
    QUdpSocket switcher;

    QProcess watch;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE_DELAY_MS"), QStringLiteral("40"));
    watch.setProcessEnvironment(environment);
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(tslPort),
            QStringLiteral("--web"), QStringLiteral("127.0.0.1:%1").arg(port), mapPath });
    ASSERT_TRUE(watch.waitForStarted(10000));

    QElapsedTimer clock;
    clock.start();
    QString mode;
    qint64 modeAt = 0;
    QWebSocket socket;
    QObject::connect(&socket, &QWebSocket::textMessageReceived, [&](const QString& message) {
        const QString now = lightOneMode(message);
        if (now != mode) {
            mode = now;
            modeAt = clock.elapsed();
        }
    });
    ASSERT_TRUE(eventually(
        [&] {
            if (socket.state() == QAbstractSocket::UnconnectedState) {
                socket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(port)));
            }
            // Again and again, as a switcher does, until watch listens.
            switcher.writeDatagram(cameraOneLive, QHostAddress::LocalHost, tslPort);
            return mode == QLatin1String("live");
        },
        30000))
        << watch.readAllStandardError().toStdString();

    QList<qint64> latencies;
    for (int cut = 0; cut < 21; ++cut) {
        const QString expected = cut % 2 == 0 ? QStringLiteral("preview") : QStringLiteral("live");
        const qint64 cutAt = clock.elapsed();
        switcher.writeDatagram(cut % 2 == 0 ? cameraTwoLive : cameraOneLive, QHostAddress::LocalHost, tslPort);
        ASSERT_TRUE(runUntil([&] { return mode == expected; }, 5000)) << "cut " << cut + 1;
        latencies.append(modeAt - cutAt);
        // The next cut at another point of the quarter-second tick, and far
        // enough from the last for the tick not to merge them.
        const qint64 pauseUntil = clock.elapsed() + 100 + QRandomGenerator::global()->bounded(250);
        runUntil([&] { return clock.elapsed() >= pauseUntil; }, 1000);
    }
    std::sort(latencies.begin(), latencies.end());
    const qint64 median = latencies[latencies.size() / 2];
    EXPECT_LT(median, 50) << "cut to page, sorted (ms): "
                          << QStringList([&] {
                                 QStringList texts;
                                 for (const qint64 latency : latencies) {
                                     texts.append(QString::number(latency));
                                 }
                                 return texts;
                             }())
                                 .join(QLatin1Char(' '))
                                 .toStdString();

    // 21 cuts from light 1 live: light 1 in preview, light 2 (Camera 2) live.
    EXPECT_TRUE(eventually([&] { return boxShows(capture, TallyMode::preview, TallyMode::live); }, 10000));

    watch.kill();
    watch.waitForFinished(10000);
}
