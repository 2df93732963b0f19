// How long after a cut a lamp subscribed to a real Mosquitto broker hears
// it: tallyctl watch follows a switcher that speaks TSL UMD 5.0 (a source
// that pushes each cut, so no polling tick stands in between) and publishes
// to the broker; a subscriber in this process, on libmosquitto, waits on
// PREFIX/light/1/state. Each of 200 cuts is one UDP datagram to watch, timed
// from the send to the subscriber's callback on the same clock. Run once
// with the subscriber alone and once with 500 more subscribers connected to
// the broker on the same topic: the broker fans the message out, and the
// publisher's share (its CPU time per cut, from /proc) should not change.
// Reported as median and 99th percentile in milliseconds.

#include "Percentile.h"
#include "e2e/MosquittoBroker.h"
#include "support/FreePort.h"
#include "tsl/TslUmd50.h"

#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QUdpSocket>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mosquitto.h>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// The lamp being timed: remembers the last payload on its topic and when
// it came.
struct TimedLamp {
    std::mutex mutex;
    std::condition_variable heard;
    QByteArray payload;
    Clock::time_point at;

    static void onMessage(mosquitto*, void* self, const mosquitto_message* message)
    {
        auto* lamp = static_cast<TimedLamp*>(self);
        const Clock::time_point now = Clock::now();
        {
            const std::lock_guard lock(lamp->mutex);
            lamp->payload = QByteArray(static_cast<const char*>(message->payload), message->payloadlen);
            lamp->at = now;
        }
        lamp->heard.notify_all();
    }

    // Waits, without spinning (the machine may have two cores), until the
    // payload is expected; when it came goes to at.
    bool waitFor(const QByteArray& expected, Clock::time_point* when, std::chrono::milliseconds patience)
    {
        std::unique_lock lock(mutex);
        if (!heard.wait_for(lock, patience, [&] { return payload == expected; })) {
            return false;
        }
        *when = at;
        return true;
    }
};

mosquitto* subscribe(quint16 port, const char* topic, void* userData)
{
    mosquitto* client = mosquitto_new(nullptr, true, userData);
    if (!client || mosquitto_connect(client, "127.0.0.1", port, 600) != MOSQ_ERR_SUCCESS) {
        return client;
    }
    mosquitto_subscribe(client, nullptr, topic, 0);
    return client;
}

// One of the crowd: a plain socket that says CONNECT (MQTT 3.1.1, no keep
// alive) and SUBSCRIBE to topic, and then reads nothing more, so 500 of them
// cost the bench one descriptor each and no thread (libmosquitto's loop
// uses select(), which takes no descriptor past 1023). What the broker
// sends them waits in their sockets. -1 when the broker did not take it.
int crowdSubscriber(quint16 port, const QByteArray& topic)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        return -1;
    }
    // CONNECT: "MQTT" level 4, clean session, keep alive 0, an empty client
    // id (the broker makes one up).
    const QByteArray connectPacket = QByteArray::fromHex("100c00044d515454040200000000");
    // SUBSCRIBE, packet id 1, topic at QoS 0.
    const QByteArray subscribe = QByteArray::fromHex("82") + QByteArray(1, char(2 + 2 + topic.size() + 1))
        + QByteArray::fromHex("0001") + QByteArray(1, char(topic.size() >> 8))
        + QByteArray(1, char(topic.size() & 0xff)) + topic + QByteArray(1, 0);
    char answer[16];
    const QByteArray both = connectPacket + subscribe;
    if (::send(fd, both.constData(), static_cast<size_t>(both.size()), 0) != both.size()
        || ::recv(fd, answer, 4, MSG_WAITALL) != 4 || answer[0] != 0x20 || answer[3] != 0
        || ::recv(fd, answer, 5, MSG_WAITALL) != 5 || answer[0] != char(0x90)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// CPU time of a process so far (user and system), in milliseconds.
double cpuMilliseconds(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QList<QByteArray> fields = stat.readAll().split(' ');
    if (fields.size() < 15) {
        return 0;
    }
    return (fields[13].toDouble() + fields[14].toDouble()) * 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

QByteArray cut(int number)
{
    // Odd cuts put Camera 1 on program, even ones on preview.
    TslUmd50::Packet packet;
    for (const auto& [index, name] : { std::pair { 1, "Camera 1" }, std::pair { 2, "Camera 2" } }) {
        TslUmd50::Display display;
        display.index = index;
        const bool camera1Live = number % 2 == 1;
        display.leftTally = (index == 1) == camera1Live ? TslUmd50::Colour::red : TslUmd50::Colour::green;
        display.text = QString::fromLatin1(name);
        packet.displays.append(display);
    }
    return TslUmd50::encode(packet);
}

void cutToSubscriber(benchmark::State& state)
{
    const auto extraSubscribers = static_cast<int>(state.range(0));
    mosquitto_lib_init();
    MosquittoBroker broker;
    if (const QString missing = MosquittoBroker::missing(); !missing.isEmpty() || !broker.start()) {
        state.SkipWithError(missing.isEmpty() ? "the broker did not start" : missing.toStdString().c_str());
        return;
    }
    QTemporaryDir folder;
    const QString mapPath = folder.filePath(QStringLiteral("studio.tlx"));
    QFile map(mapPath);
    map.open(QIODevice::WriteOnly);
    map.write("0|Camera 1\r\n1|Camera 2\r\n");
    map.close();
    QUdpSocket sender;
    const quint16 tslPort = freeUdpPort();

    TimedLamp lamp;
    mosquitto* timed = subscribe(broker.port(), "bench/light/1/state", &lamp);
    mosquitto_message_callback_set(timed, &TimedLamp::onMessage);
    mosquitto_loop_start(timed);
    std::vector<int> crowd;
    const auto cleanUp = qScopeGuard([&] {
        mosquitto_loop_stop(timed, true);
        mosquitto_destroy(timed);
        for (int fd : crowd) {
            ::close(fd);
        }
    });
    for (int i = 0; i < extraSubscribers; ++i) {
        const int fd = crowdSubscriber(broker.port(), QByteArrayLiteral("bench/light/1/state"));
        if (fd < 0) {
            state.SkipWithError("the broker did not take a subscriber of the crowd");
            return;
        }
        crowd.push_back(fd);
    }

    QProcess watch;
    watch.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), folder.filePath(QStringLiteral("capture.hex")));
    watch.setProcessEnvironment(environment);
    watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
        { QStringLiteral("watch"), QStringLiteral("--source"), QStringLiteral("tsl5://127.0.0.1:%1").arg(tslPort),
            QStringLiteral("--mqtt"), QStringLiteral("mqtt://127.0.0.1:%1/bench").arg(broker.port()), mapPath });
    const auto stopWatch = qScopeGuard([&watch] {
        watch.kill();
        watch.waitForFinished();
    });
    // The lamp hears a first state once watch listens and is connected.
    int number = 0;
    Clock::time_point heard;
    bool ready = false;
    for (int attempt = 0; attempt < 50 && !ready; ++attempt) {
        sender.writeDatagram(cut(++number), QHostAddress::LocalHost, tslPort);
        ready = lamp.waitFor(number % 2 ? "live" : "preview", &heard, std::chrono::milliseconds(200));
    }
    if (!ready) {
        state.SkipWithError(("the lamp never heard a state: " + broker.output().toStdString()).c_str());
        return;
    }

    std::vector<double> latencies;
    const double cpuBefore = cpuMilliseconds(watch.processId());
    for (auto _ : state) {
        ++number;
        const QByteArray expected = number % 2 ? "live" : "preview";
        const QByteArray datagram = cut(number);
        const Clock::time_point sent = Clock::now();
        sender.writeDatagram(datagram, QHostAddress::LocalHost, tslPort);
        if (!lamp.waitFor(expected, &heard, std::chrono::milliseconds(5000))) {
            state.SkipWithError("a cut did not reach the lamp");
            return;
        }
        const double milliseconds = std::chrono::duration<double, std::milli>(heard - sent).count();
        latencies.push_back(milliseconds);
        state.SetIterationTime(milliseconds / 1000.0);
        // The next cut after a pause longer than the window in which the tick
        // merges changes (40 ms), so that each cut is timed on its own.
        QThread::msleep(60 + QRandomGenerator::global()->bounded(50));
    }
    const double cpuAfter = cpuMilliseconds(watch.processId());
    state.counters["subscribers"] = extraSubscribers + 1;
    state.counters["cut_to_lamp_median_ms"] = percentile(latencies, 0.5);
    state.counters["cut_to_lamp_p99_ms"] = percentile(latencies, 0.99);
    state.counters["watch_cpu_ms_per_cut"] = (cpuAfter - cpuBefore) / static_cast<double>(latencies.size());
}
BENCHMARK(cutToSubscriber)->Arg(0)->Arg(500)->Iterations(200)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace
