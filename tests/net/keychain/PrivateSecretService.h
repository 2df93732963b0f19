#pragma once

// A Secret Service of the test's own: a GNOME Keyring daemon on a private
// session bus, its login keyring created in a temporary folder and unlocked
// with a test password, as a desktop session unlocks it at login. A test
// must never reach the user's own keyring. The bus is either the one
// on-private-session-bus.sh gave the test process (it ends with the test),
// or, for programs the test starts, one of its own, which this test process
// never joins (a process on a bus that goes away is ended by D-Bus) and
// which goes with this object. Where no bus or keyring can start, problem()
// says why.

#include "support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <memory>

class PrivateSecretService {
public:
    enum class Bus {
        ofThisTest, // the test process's own, from on-private-session-bus.sh
        forProgramsStarted, // a new one, for the programs the test starts
    };

    explicit PrivateSecretService(Bus bus = Bus::ofThisTest)
    {
        if (bus == Bus::forProgramsStarted) {
            if (!startBus()) {
                return;
            }
        } else if (qEnvironmentVariable("TALLY_PRIVATE_SESSION_BUS") != QLatin1String("1")) {
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
        for (QProcess* process : { m_keyring.get(), m_bus.get() }) {
            if (process && process->state() != QProcess::NotRunning) {
                process->kill();
                process->waitForFinished(3000);
            }
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
        if (!m_busAddress.isEmpty()) {
            environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_busAddress);
        }
        environment.insert(QStringLiteral("HOME"), m_home.path());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home.filePath(QStringLiteral("run")));
        return environment;
    }

    // The bus's address for programs the test starts: the test's own, or
    // the one started for them.
    QString busAddress() const
    {
        return m_busAddress.isEmpty() ? qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS") : m_busAddress;
    }

private:
    bool startBus()
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (program.isEmpty()) {
            m_problem = QStringLiteral("no dbus-daemon (Debian package dbus-daemon) to run a session bus on");
            return false;
        }
        m_bus = std::make_unique<QProcess>();
        m_bus->start(
            program, { QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1") });
        if (!m_bus->waitForStarted(5000)
            || !eventually([this] { return m_bus->canReadLine() || m_bus->state() == QProcess::NotRunning; }, 10000)
            || !m_bus->canReadLine()) {
            m_problem = QStringLiteral("the session bus did not start: %1")
                            .arg(QString::fromLocal8Bit(m_bus->readAllStandardError()).trimmed());
            return false;
        }
        m_busAddress = QString::fromLocal8Bit(m_bus->readLine()).trimmed();
        return true;
    }

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
        ask.setProcessEnvironment(environment());
        ask.start(QStringLiteral("dbus-send"),
            { QStringLiteral("--session"), QStringLiteral("--print-reply"),
                QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                QStringLiteral("string:org.freedesktop.secrets") });
        return ask.waitForFinished(3000) && ask.readAllStandardOutput().contains("boolean true");
    }

    QTemporaryDir m_home;
    std::unique_ptr<QProcess> m_bus;
    QString m_busAddress;
    std::unique_ptr<QProcess> m_keyring;
    QString m_problem;
};
