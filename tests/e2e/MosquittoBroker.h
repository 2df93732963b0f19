#pragma once

// A real Mosquitto broker (Debian mosquitto) for whole-process tests: on a
// port of its own, with a configuration written into a folder of its own,
// anonymous or with a password file, plain or TLS with a CA the test made.
// It keeps nothing on disk, so a restart forgets every retained message and
// whatever is retained afterwards came from a publisher anew.

#include "support/Eventually.h"
#include "support/FreePort.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <csignal>
#include <pwd.h>
#include <unistd.h>

class MosquittoBroker {
public:
    struct Options {
        // A file made by mosquitto_passwd; empty: anonymous clients.
        QString passwordFile;
        // TLS on the listener with these PEM files.
        QString certFile;
        QString keyFile;
    };

    ~MosquittoBroker() { stop(); }

    // Why the broker's programs cannot run here; empty when they can.
    static QString missing()
    {
        for (const char* program : { "mosquitto", "mosquitto_sub", "mosquitto_passwd" }) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty()
                && QStandardPaths::findExecutable(QString::fromLatin1(program), { QStringLiteral("/usr/sbin") })
                       .isEmpty()) {
                return QStringLiteral("%1 is not installed (Debian mosquitto and mosquitto-clients; "
                                      "scripts/install-deps.sh installs them)")
                    .arg(QString::fromLatin1(program));
            }
        }
        return {};
    }

    // Starts on a free port (the same one again after stop), and waits
    // until it accepts connections.
    bool start(const Options& options = {})
    {
        m_options = options;
        if (m_port == 0) {
            m_port = freePort();
        }
        const QString config = m_folder.filePath(QStringLiteral("mosquitto.conf"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly)) {
            return false;
        }
        // The log goes to a file: a pipe nobody reads while a test or the
        // bench waits would fill up and stop the broker.
        QByteArray text = "persistence false\nlog_dest file " + logPath().toUtf8() + "\n";
        // Run as root (as on CI) it would change to the mosquitto user, who
        // cannot read this test's private folder.
        if (const passwd* user = getpwuid(getuid())) {
            text += "user " + QByteArray(user->pw_name) + "\n";
        }
        text += "listener " + QByteArray::number(m_port) + " 127.0.0.1\n";
        if (options.passwordFile.isEmpty()) {
            text += "allow_anonymous true\n";
        } else {
            text += "allow_anonymous false\npassword_file " + options.passwordFile.toUtf8() + "\n";
        }
        if (!options.certFile.isEmpty()) {
            text += "certfile " + options.certFile.toUtf8() + "\nkeyfile " + options.keyFile.toUtf8() + "\n";
        }
        file.write(text);
        file.close();
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(program(), { QStringLiteral("-c"), config });
        if (!m_process.waitForStarted(5000)) {
            return false;
        }
        return eventually(
            [this] {
                QTcpSocket probe;
                probe.connectToHost(QHostAddress::LocalHost, m_port);
                return probe.waitForConnected(200);
            },
            5000);
    }

    // Killed at once, as a crash or a pulled cable would end it.
    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Stopped where it is (SIGSTOP), as a broker that hangs: its
    // connections stay open and nothing it is sent is read or answered.
    bool freeze() { return signal(SIGSTOP); }
    // Going on from where freeze left it (SIGCONT).
    bool thaw() { return signal(SIGCONT); }

    bool restart()
    {
        stop();
        return start(m_options);
    }

    quint16 port() const { return m_port; }
    QString folder() const { return m_folder.path(); }
    // What the broker logged so far.
    QString output() const
    {
        QFile log(logPath());
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    }

private:
    bool signal(int signalNumber)
    {
        return m_process.state() == QProcess::Running
            && ::kill(static_cast<pid_t>(m_process.processId()), signalNumber) == 0;
    }

    QString logPath() const { return m_folder.filePath(QStringLiteral("mosquitto.log")); }

    static QString program()
    {
        const QString inPath = QStandardPaths::findExecutable(QStringLiteral("mosquitto"));
        return inPath.isEmpty()
            ? QStandardPaths::findExecutable(QStringLiteral("mosquitto"), { QStringLiteral("/usr/sbin") })
            : inPath;
    }

    QTemporaryDir m_folder;
    QProcess m_process;
    Options m_options;
    quint16 m_port = 0;
};
