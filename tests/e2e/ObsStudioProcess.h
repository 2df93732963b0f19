#pragma once

// A real OBS Studio for whole-process tests and measurements: its own
// display (Xvfb), its own home with settings written before it starts (the
// websocket server on a free port with a password, no first-run wizard), and
// an end by its process id. OBS only draws with OpenGL; where none can be
// had, it cannot run at all, and start() says so in unavailableReason().

#include "support/FreePort.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>

class ObsStudioProcess {
public:
    ObsStudioProcess() = default;
    ObsStudioProcess(const ObsStudioProcess&) = delete;
    ObsStudioProcess& operator=(const ObsStudioProcess&) = delete;
    ~ObsStudioProcess() { stop(); }

    QString password() const { return QStringLiteral("light-board-7"); }
    quint16 port() const { return m_port; }
    QString address() const { return QStringLiteral("obs://127.0.0.1:%1").arg(m_port); }
    QString webSocketUrl() const { return QStringLiteral("ws://127.0.0.1:%1").arg(m_port); }
    // Why OBS could not run here (no OpenGL), when start() found that.
    QString unavailableReason() const { return m_unavailable; }
    // What went wrong otherwise.
    QString failure() const { return m_failure; }

    // Starts the display and OBS and waits until the websocket server
    // listens. False with failure() or unavailableReason() set otherwise.
    bool start(int patienceMs = 90000)
    {
        if (!m_home.isValid()) {
            return fail(QStringLiteral("no temporary home"));
        }
        m_port = freePort();
        if (!writeSettings()) {
            return fail(QStringLiteral("cannot write OBS Studio's settings"));
        }
        if (!startDisplay()) {
            return false;
        }
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_home.path());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral(".config")));
        environment.insert(QStringLiteral("DISPLAY"), m_display);
        environment.insert(QStringLiteral("LIBGL_ALWAYS_SOFTWARE"), QStringLiteral("1"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        m_obs.setProcessEnvironment(environment);
        m_obs.setWorkingDirectory(m_home.path());
        m_obs.setProcessChannelMode(QProcess::MergedChannels);
        m_obs.setStandardOutputFile(logPath());
        // --multi: another OBS on the machine (another test's, the user's)
        // would otherwise stop this one at a "already running" question
        // nobody can answer, and its websocket would never open.
        m_obs.start(QStringLiteral("obs"),
            { QStringLiteral("--disable-updater"), QStringLiteral("--disable-shutdown-check"),
                QStringLiteral("--studio-mode"), QStringLiteral("--multi") });
        if (!m_obs.waitForStarted(10000)) {
            return fail(QStringLiteral("obs did not start: ") + m_obs.errorString());
        }
        QDeadlineTimer deadline(patienceMs);
        while (!listening()) {
            if (m_obs.state() == QProcess::NotRunning) {
                return endedEarly();
            }
            if (deadline.hasExpired()) {
                return fail(QStringLiteral("OBS Studio's websocket server did not open within %1 s; its log:\n%2")
                                .arg(patienceMs / 1000)
                                .arg(logTail()));
            }
            QThread::msleep(100);
        }
        return true;
    }

    // Ends OBS (SIGTERM, then SIGKILL after a few seconds) and the display.
    void stop()
    {
        endProcess(m_obs);
        endProcess(m_xvfb);
    }

    // Ends OBS alone, as an operator quitting it would.
    void quitObs() { endProcess(m_obs); }

    QString logTail() const
    {
        QFile file(logPath());
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        const QByteArray all = file.readAll();
        return QString::fromUtf8(all.right(3000));
    }

private:
    QString logPath() const { return m_home.filePath(QStringLiteral("obs-output.log")); }

    bool writeSettings()
    {
        const QString folder = m_home.filePath(QStringLiteral(".config/obs-studio"));
        if (!QDir().mkpath(folder)) {
            return false;
        }
        QFile file(folder + QStringLiteral("/global.ini"));
        if (!file.open(QIODevice::WriteOnly)) {
            return false;
        }
        // FirstRun=true is what OBS itself writes once it has run: with
        // false, a first start in a new home leaves recording and streaming
        // silently refused (StartRecord answers yes and nothing starts).
        const QString text = QStringLiteral("[General]\nFirstRun=true\nEnableAutoUpdates=false\nConfirmOnExit=false\n\n"
                                            "[OBSWebSocket]\nFirstLoad=false\nServerEnabled=true\nServerPort=%1\n"
                                            "AlertsEnabled=false\nAuthRequired=true\nServerPassword=%2\n")
                                 .arg(m_port)
                                 .arg(password());
        return file.write(text.toUtf8()) > 0;
    }

    bool startDisplay()
    {
        // Xvfb picks a free display itself and prints its number.
        m_xvfb.start(QStringLiteral("Xvfb"),
            { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp") });
        if (!m_xvfb.waitForStarted(10000)) {
            return fail(QStringLiteral("Xvfb did not start: ") + m_xvfb.errorString());
        }
        QDeadlineTimer deadline(15000);
        QByteArray printed;
        while (!printed.contains('\n')) {
            if (deadline.hasExpired() || m_xvfb.state() == QProcess::NotRunning) {
                return fail(
                    QStringLiteral("Xvfb gave no display: ") + QString::fromUtf8(m_xvfb.readAllStandardError()));
            }
            m_xvfb.waitForReadyRead(100);
            printed += m_xvfb.readAllStandardOutput();
        }
        m_display = QLatin1Char(':') + QString::fromLatin1(printed.trimmed());
        return true;
    }

    bool listening() const
    {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_port);
        return socket.waitForConnected(200);
    }

    bool endedEarly()
    {
        const QString log = logTail();
        // OBS cannot run at all without OpenGL: that is a missing capability
        // of the machine, not a failure of the program under test.
        bool glFailed = false;
        for (const QString& line : log.split(QLatin1Char('\n'))) {
            // OBS's own words when it cannot set up its graphics, or an
            // error-level line about OpenGL/EGL/GLX failing.
            glFailed = glFailed || line.contains(QStringLiteral("Failed to initialize video"))
                || (line.startsWith(QStringLiteral("error:")) && line.contains(QStringLiteral("GL"))
                    && line.contains(QStringLiteral("fail"), Qt::CaseInsensitive));
        }
        if (glFailed) {
            m_unavailable = QStringLiteral("OBS Studio cannot start here without OpenGL; its log:\n") + log;
            return false;
        }
        return fail(QStringLiteral("OBS Studio ended before its websocket server opened; its log:\n") + log);
    }

    bool fail(const QString& why)
    {
        m_failure = why;
        return false;
    }

    static void endProcess(QProcess& process)
    {
        if (process.state() == QProcess::NotRunning) {
            return;
        }
        process.terminate(); // SIGTERM: OBS saves and quits
        if (!process.waitForFinished(8000)) {
            process.kill();
            process.waitForFinished(3000);
        }
    }

    QTemporaryDir m_home;
    QProcess m_xvfb;
    QProcess m_obs;
    QString m_display;
    quint16 m_port = 0;
    QString m_unavailable;
    QString m_failure;
};
