#pragma once

// A Secret Service of the test's own: a GNOME Keyring daemon on the private
// session bus that on-private-session-bus.sh gave the test (the bus ends
// with the test; a test must never reach the user's own keyring), its login
// keyring created in a temporary folder and unlocked with a test password,
// as a desktop session unlocks it at login. Where no bus or keyring can
// start, problem() says why.

#include "support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <memory>

class PrivateSecretService {
public:
    PrivateSecretService()
    {
        if (qEnvironmentVariable("TALLY_PRIVATE_SESSION_BUS") != QLatin1String("1")) {
            m_problem = QStringLiteral("no session bus of the test's own: dbus-run-session (Debian package "
                                       "dbus-daemon) is missing, or the test was not run through "
                                       "on-private-session-bus.sh");
            return;
        }
        const QString keyringProgram = QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon"));
        if (keyringProgram.isEmpty()) {
            m_problem = QStringLiteral("no gnome-keyring-daemon (Debian package gnome-keyring) to act as Secret "
                                       "Service");
            return;
        }
        if (!m_home.isValid() || !QDir(m_home.path()).mkpath(QStringLiteral("run"))
            || !QFile::setPermissions(m_home.filePath(QStringLiteral("run")),
                QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner)) {
            m_problem = QStringLiteral("no temporary folder for the keyring");
            return;
        }
        startKeyring(keyringProgram);
    }

    ~PrivateSecretService()
    {
        if (m_keyring && m_keyring->state() != QProcess::NotRunning) {
            m_keyring->kill();
            m_keyring->waitForFinished(3000);
        }
    }

    PrivateSecretService(const PrivateSecretService&) = delete;
    PrivateSecretService& operator=(const PrivateSecretService&) = delete;

    // Empty when the service runs.
    const QString& problem() const { return m_problem; }

    // The environment of a program that should see this service.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_home.path());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home.filePath(QStringLiteral("run")));
        return environment;
    }

private:
    void startKeyring(const QString& program)
    {
        m_keyring = std::make_unique<QProcess>();
        m_keyring->setProgram(program);
        // --unlock reads the login keyring's password on standard input and
        // creates that keyring, unlocked, when there is none.
        m_keyring->setArguments(
            { QStringLiteral("--foreground"), QStringLiteral("--unlock"), QStringLiteral("--components=secrets") });
        m_keyring->setProcessEnvironment(environment());
        m_keyring->start();
        if (!m_keyring->waitForStarted(5000)) {
            m_problem = QStringLiteral("gnome-keyring-daemon did not start: %1").arg(m_keyring->errorString());
            return;
        }
        m_keyring->write("test keyring password");
        m_keyring->closeWriteChannel();
        if (!eventually([this] { return serviceIsOnTheBus() || m_keyring->state() == QProcess::NotRunning; }, 10000)
            || !serviceIsOnTheBus()) {
            m_problem = QStringLiteral("gnome-keyring-daemon never offered the Secret Service on the bus: %1")
                            .arg(QString::fromLocal8Bit(m_keyring->readAllStandardError()).trimmed());
        }
    }

    // Asked without starting anything: the bus's own "who owns this name".
    bool serviceIsOnTheBus() const
    {
        QProcess ask;
        ask.start(QStringLiteral("dbus-send"),
            { QStringLiteral("--session"), QStringLiteral("--print-reply"),
                QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                QStringLiteral("string:org.freedesktop.secrets") });
        return ask.waitForFinished(3000) && ask.readAllStandardOutput().contains("boolean true");
    }

    QTemporaryDir m_home;
    std::unique_ptr<QProcess> m_keyring;
    QString m_problem;
};
