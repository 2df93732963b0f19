#pragma once

// Receivers of DMX written by others, for the whole-process DMX tests: the
// npm packages sacn and dmxnet under node, Debian's olad read back over its
// web API, and a private network namespace for them all to meet in.

#include "support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>
#include <optional>
#include <pwd.h>
#include <sched.h>
#include <unistd.h>

namespace DmxReceivers {

// Lets milliseconds pass with this process's events running, so that what
// the receivers print meanwhile is read.
inline void runEventsFor(int milliseconds)
{
    QDeadlineTimer deadline(milliseconds);
    while (!deadline.hasExpired()) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
}

// Runs a short command to its end; nothing when it succeeded, else why not.
inline std::optional<QString> run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(20000)) {
        process.kill();
        process.waitForFinished();
        return QStringLiteral("%1 %2 did not finish").arg(program, arguments.join(QLatin1Char(' ')));
    }
    const QByteArray printed = process.readAll();
    if (output != nullptr) {
        *output = printed;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return QStringLiteral("%1 %2 failed: %3")
            .arg(program, arguments.join(QLatin1Char(' ')), QString::fromUtf8(printed).trimmed());
    }
    return std::nullopt;
}

// Moves this test's process (and every process it starts from now on) into
// a network namespace of its own with only a loopback interface, so that
// the standard ports are free and multicast never leaves by the machine's
// network card. Each test runs in a process of its own. Nothing, or why
// this cannot be done here.
inline std::optional<QString> enterPrivateNetwork()
{
    if (::unshare(CLONE_NEWNET) != 0) {
        return QStringLiteral("cannot make a private network namespace (unshare: %1); it takes root or "
                              "CAP_SYS_ADMIN")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    }
    return run(QStringLiteral("ip"),
        { QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("lo"), QStringLiteral("up") });
}

// The address of the veth made by addVeth: sACN receivers that will not
// use the loopback interface listen there, and the multicast groups are
// routed through it.
inline const QString vethAddress = QStringLiteral("198.51.100.1");

inline std::optional<QString> addVeth()
{
    const QList<QStringList> steps = {
        { QStringLiteral("link"), QStringLiteral("add"), QStringLiteral("v0"), QStringLiteral("type"),
            QStringLiteral("veth"), QStringLiteral("peer"), QStringLiteral("name"), QStringLiteral("v1") },
        { QStringLiteral("addr"), QStringLiteral("add"), vethAddress + QStringLiteral("/24"), QStringLiteral("dev"),
            QStringLiteral("v0") },
        { QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("v0"), QStringLiteral("multicast"),
            QStringLiteral("on") },
        { QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("v0"), QStringLiteral("up") },
        { QStringLiteral("link"), QStringLiteral("set"), QStringLiteral("v1"), QStringLiteral("up") },
        { QStringLiteral("route"), QStringLiteral("add"), QStringLiteral("239.0.0.0/8"), QStringLiteral("dev"),
            QStringLiteral("v0") },
    };
    for (const QStringList& step : steps) {
        if (const std::optional<QString> why = run(QStringLiteral("ip"), step)) {
            return QStringLiteral("cannot make a veth in the private network namespace: ") + *why;
        }
    }
    return std::nullopt;
}

inline const QString nodeModules = QStringLiteral(TALLY_BINARY_DIR "/npm/node_modules");

// Why the npm package cannot run here, or nothing when it can.
inline std::optional<QString> npmPackageMissing(const QString& package)
{
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty()) {
        return QStringLiteral("node is not installed, so %1 cannot run").arg(package);
    }
    if (!QFileInfo::exists(nodeModules + QLatin1Char('/') + package + QStringLiteral("/package.json"))) {
        return QStringLiteral("the build could not install %1 with npm into %2").arg(package, nodeModules);
    }
    return std::nullopt;
}

// tests/e2e/dmx_receiver.js under node: the npm sacn or dmxnet package
// receiving, each datagram printed as a JSON object.
class NodeReceiver {
public:
    ~NodeReceiver()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

    bool start(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NODE_PATH"), nodeModules);
        m_process.setProcessEnvironment(environment);
        m_process.start(QStringLiteral("node"),
            QStringList { QStringLiteral(TALLY_SOURCE_DIR "/tests/e2e/dmx_receiver.js") } + arguments);
        if (!m_process.waitForStarted(10000)) {
            return false;
        }
        return eventually([&] {
            read();
            return m_ready;
        });
    }

    // Every object printed since the start.
    const QList<QJsonObject>& packets()
    {
        read();
        return m_packets;
    }

    // The levels of the last datagram, channels first to first + count - 1.
    QList<int> lastLevels(int first, int count)
    {
        read();
        QList<int> levels;
        if (m_packets.isEmpty()) {
            return levels;
        }
        const QJsonArray all = m_packets.constLast().value(QStringLiteral("levels")).toArray();
        for (int channel = first; channel < first + count && channel - 1 < all.size(); ++channel) {
            levels.append(all[channel - 1].toInt());
        }
        return levels;
    }

    // Waits until the last datagram holds levels from channel first on.
    bool reads(int first, const QList<int>& levels, int patience = 15000)
    {
        return eventually([&] { return lastLevels(first, int(levels.size())) == levels; }, patience);
    }

    QString printed() const { return QString::fromUtf8(m_printed); }

private:
    void read()
    {
        m_buffer += m_process.readAllStandardOutput();
        m_printed += m_process.readAllStandardError();
        qsizetype end = 0;
        while ((end = m_buffer.indexOf('\n')) >= 0) {
            const QByteArray line = m_buffer.left(end);
            m_buffer.remove(0, end + 1);
            m_printed += line + '\n';
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            if (object.value(QStringLiteral("ready")).toBool()) {
                m_ready = true;
            } else if (object.contains(QStringLiteral("levels"))) {
                m_packets.append(object);
            }
        }
    }

    QProcess m_process;
    QByteArray m_buffer;
    QByteArray m_printed;
    bool m_ready = false;
    QList<QJsonObject> m_packets;
};

// Debian's olad with one plugin, run as its own user (it refuses root) with
// a configuration folder of its own; universe 1 patched to the plugin's
// first input port, its levels read back over olad's web API.
class Olad {
public:
    enum class Plugin { artNet, e131 };

    ~Olad()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished();
            }
        }
    }

    // Nothing once universe 1 listens, or why olad cannot run here.
    std::optional<QString> start(Plugin plugin, const QString& address)
    {
        if (QStandardPaths::findExecutable(QStringLiteral("olad")).isEmpty()) {
            return QStringLiteral("olad is not installed (Debian's ola; scripts/install-deps.sh installs it)");
        }
        if (QStandardPaths::findExecutable(QStringLiteral("curl")).isEmpty()) {
            return QStringLiteral("curl is not installed, so olad's levels cannot be read back");
        }
        const passwd* user = ::getpwnam("olad");
        if (user == nullptr) {
            return QStringLiteral("there is no olad user to run olad as");
        }
        if (!m_folder.isValid() || ::chown(QFile::encodeName(m_folder.path()).constData(), user->pw_uid, 0) != 0) {
            return QStringLiteral("cannot give olad a configuration folder of its own");
        }
        writeConfiguration(plugin, address);
        QStringList command { QStringLiteral("olad"), QStringLiteral("-c"), m_folder.path(), QStringLiteral("-l"),
            QStringLiteral("3"), QStringLiteral("--no-register-with-dns-sd") };
        if (::geteuid() == 0) {
            command = QStringList {
                QStringLiteral("--reuid=olad"), QStringLiteral("--regid=nogroup"), QStringLiteral("--clear-groups")
            } + command;
            command.prepend(QStringLiteral("setpriv"));
        }
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(command.takeFirst(), command);
        if (!m_process.waitForStarted(10000)) {
            return QStringLiteral("olad did not start: ") + m_process.errorString();
        }
        std::optional<QString> patchProblem;
        const bool patched = eventually([&] {
            patchProblem = run(QStringLiteral("ola_patch"),
                { QStringLiteral("-d"), QStringLiteral("1"), QStringLiteral("-p"), QStringLiteral("0"),
                    QStringLiteral("-i"), QStringLiteral("-u"), QStringLiteral("1") });
            return !patchProblem;
        });
        if (!patched) {
            return QStringLiteral("olad's universe 1 could not be patched: %1; olad said: %2")
                .arg(patchProblem.value_or(QString()), QString::fromUtf8(m_process.readAll()));
        }
        return std::nullopt;
    }

    // The levels of universe 1 from first on, as olad's web API gives them.
    QList<int> levels(int first, int count)
    {
        QByteArray answer;
        if (run(QStringLiteral("curl"), { QStringLiteral("-s"), QStringLiteral("http://127.0.0.1:9090/get_dmx?u=1") },
                &answer)) {
            return {};
        }
        const QJsonArray all = QJsonDocument::fromJson(answer).object().value(QStringLiteral("dmx")).toArray();
        QList<int> levels;
        for (int channel = first; channel < first + count && channel - 1 < all.size(); ++channel) {
            levels.append(all[channel - 1].toInt());
        }
        return levels;
    }

    bool reads(int first, const QList<int>& expected, int patience = 15000)
    {
        return eventually([&] { return levels(first, int(expected.size())) == expected; }, patience);
    }

private:
    // Every plugin olad has off but the one wanted: they would look for
    // hardware, or take ports.
    void writeConfiguration(Plugin plugin, const QString& address)
    {
        const QStringList plugins { QStringLiteral("artnet"), QStringLiteral("dummy"), QStringLiteral("e131"),
            QStringLiteral("espnet"), QStringLiteral("ftdidmx"), QStringLiteral("gpio"), QStringLiteral("karate"),
            QStringLiteral("kinet"), QStringLiteral("milinst"), QStringLiteral("opendmx"),
            QStringLiteral("openpixelcontrol"), QStringLiteral("osc"), QStringLiteral("pathport"),
            QStringLiteral("renard"), QStringLiteral("sandnet"), QStringLiteral("shownet"), QStringLiteral("spi"),
            QStringLiteral("stageprofi"), QStringLiteral("uartdmx"), QStringLiteral("usbdmx"),
            QStringLiteral("usbserial") };
        const QString wanted = plugin == Plugin::artNet ? QStringLiteral("artnet") : QStringLiteral("e131");
        for (const QString& name : plugins) {
            QFile file(m_folder.filePath(QStringLiteral("ola-%1.conf").arg(name)));
            if (!file.open(QIODevice::WriteOnly)) {
                continue;
            }
            if (name != wanted) {
                file.write("enabled = false\n");
            } else if (plugin == Plugin::artNet) {
                // olad hears Art-Net on the loopback interface only when told.
                file.write("enabled = true\nip = " + address.toUtf8() + "\nuse_loopback = true\n");
            } else {
                file.write("enabled = true\nip = " + address.toUtf8() + "\n");
            }
            file.close();
            const passwd* user = ::getpwnam("olad");
            if (user != nullptr) {
                [[maybe_unused]] const int ignored
                    = ::chown(QFile::encodeName(file.fileName()).constData(), user->pw_uid, 0);
            }
        }
    }

    QTemporaryDir m_folder;
    QProcess m_process;
};

} // namespace DmxReceivers
