// How long a cut in the ATEM stand-in takes to reach a DMX receiver:
// tallyctl watch follows the stand-in over the loopback network and sends
// the lights as Art-Net and as sACN to two UDP receivers of this program's,
// and each cut is timed from the moment it is written to the stand-in's
// standard input until each receiver has the datagram whose levels show it
// (light 1's red channel going to 255 or to 0).
// Usage: dmx_cut_latency [CUTS]   (default 200). Prints median, p99 and max
// for each protocol.

#include "Percentile.h"
#include "support/AtemStandinProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkDatagram>
#include <QTemporaryDir>
#include <QThread>
#include <QUdpSocket>

#include <algorithm>
#include <cstdio>

namespace {

// Where light 1's red level is in each protocol's datagram.
constexpr qsizetype artNetFirstLevel = 18;
constexpr qsizetype sacnFirstLevel = 126;

struct Receiver {
    QUdpSocket socket;
    qsizetype firstLevel = 0;
    std::vector<double> times;
    bool done = false;

    // Whether a datagram with light 1's red level at red has come.
    bool heard(char red)
    {
        while (socket.hasPendingDatagrams()) {
            const QByteArray data = socket.receiveDatagram().data();
            if (data.size() > firstLevel && data[firstLevel] == red) {
                return true;
            }
        }
        return false;
    }
};

int fail(const char* why)
{
    std::fprintf(stderr, "dmx_cut_latency: %s\n", why);
    return 1;
}

void print(const char* name, std::vector<double>& times)
{
    std::printf("%s: %zu cuts, stand-in cut to receiver: median %.2f ms, p99 %.2f ms, max %.2f ms\n", name,
        times.size(), percentile(times, 0.5), percentile(times, 0.99), *std::max_element(times.begin(), times.end()));
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int cuts = argc > 1 ? std::max(1, atoi(argv[1])) : 200;
    QTemporaryDir folder;
    const QString mapPath = folder.filePath(QStringLiteral("studio.tlx"));
    QFile map(mapPath);
    if (!map.open(QIODevice::WriteOnly)) {
        return fail("cannot write the tally map");
    }
    map.write("0|Camera 1\r\n1|Camera 2\r\n");
    map.close();

    Receiver artNet;
    artNet.firstLevel = artNetFirstLevel;
    Receiver sacn;
    sacn.firstLevel = sacnFirstLevel;
    if (!artNet.socket.bind(QHostAddress::LocalHost, 0) || !sacn.socket.bind(QHostAddress::LocalHost, 0)) {
        return fail("cannot listen for UDP on the loopback interface");
    }
    AtemStandinProcess atem;
    if (!atem.start()) {
        return fail("the stand-in did not start");
    }
    QProcess watch;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), folder.filePath(QStringLiteral("capture.hex")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath(QStringLiteral("config")));
    watch.setProcessEnvironment(environment);
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), atem.address(), QStringLiteral("--dmx"),
            QStringLiteral("artnet://127.0.0.1:%1/0").arg(artNet.socket.localPort()), QStringLiteral("--dmx"),
            QStringLiteral("sacn://127.0.0.1:%1/1").arg(sacn.socket.localPort()), mapPath });
    const bool ready = eventually([&] {
        return watch.readAllStandardOutput().contains("Light 1: live")
            || (artNet.heard(char(255)) && sacn.heard(char(255)));
    });
    if (!ready) {
        return fail("tallyctl watch did not follow the stand-in");
    }

    bool lightOneLive = true;
    for (int cut = 0; cut < cuts; ++cut) {
        // Between cuts, so that each is timed alone rather than merged with
        // the one before.
        QThread::msleep(60);
        artNet.heard(0x7f); // what came before the cut is not its answer
        sacn.heard(0x7f);
        lightOneLive = !lightOneLive;
        const char red = lightOneLive ? char(255) : char(0);
        artNet.done = false;
        sacn.done = false;
        QElapsedTimer sinceCut;
        sinceCut.start();
        atem.send("cut");
        while (!(artNet.done && sacn.done)) {
            if (sinceCut.elapsed() > 5000) {
                return fail("a cut did not reach the receivers within five seconds");
            }
            for (Receiver* receiver : { &artNet, &sacn }) {
                if (!receiver->done && receiver->heard(red)) {
                    receiver->done = true;
                    receiver->times.push_back(static_cast<double>(sinceCut.nsecsElapsed()) / 1e6);
                }
            }
            QThread::usleep(50);
        }
    }
    watch.kill();
    watch.waitForFinished();
    print("Art-Net", artNet.times);
    print("sACN", sacn.times);
    return 0;
}
