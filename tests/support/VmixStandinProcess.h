#pragma once

// The built vMix stand-in (bin/vmix-standin) as a process of the test's: it
// is started on a free TCP port, told what to do one line at a time, and can
// be stopped and started again on the same port, as vMix closed and opened
// again.

#include "support/Eventually.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <csignal>
#include <sys/types.h>

class VmixStandinProcess {
public:
    explicit VmixStandinProcess(QString inputs = QStringLiteral("Camera 1,Camera 2,Wide"))
        : m_inputs(std::move(inputs))
    {
    }

    ~VmixStandinProcess() { stop(); }

    // Extra options for the next start, such as --program 1.
    void setOptions(const QStringList& options) { m_options = options; }

    // Starts it on port (0: one the system chooses) and waits until it
    // listens.
    bool start(quint16 port = 0)
    {
        m_process.setProgram(QStringLiteral(TALLY_BINARY_DIR "/bin/vmix-standin"));
        m_process.setArguments(
            QStringList { QStringLiteral("--port"), QString::number(port), QStringLiteral("--inputs"), m_inputs }
            + m_options);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start();
        if (!m_process.waitForStarted(10000)) {
            return false;
        }
        QByteArray printed;
        const QRegularExpression listening(QStringLiteral("listening on TCP port (\\d+)"));
        return eventually([&] {
            printed += m_process.readAllStandardOutput();
            const QRegularExpressionMatch match = listening.match(QString::fromUtf8(printed));
            if (match.hasMatch()) {
                m_port = static_cast<quint16>(match.captured(1).toUInt());
            }
            return match.hasMatch();
        });
    }

    void send(const QByteArray& line)
    {
        m_process.write(line.endsWith('\n') ? line : line + '\n');
        m_process.waitForBytesWritten(1000);
    }

    void stop()
    {
        resume();
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Freezes it (SIGSTOP) or lets it go on (SIGCONT): connections stay
    // open but nothing is answered, as a computer that hangs.
    void pause() { ::kill(pid_t(m_process.processId()), SIGSTOP); }
    void resume() { ::kill(pid_t(m_process.processId()), SIGCONT); }

    // Off and on again on the same port: every connection it had is gone.
    bool restart()
    {
        stop();
        return start(m_port);
    }

    quint16 port() const { return m_port; }
    QString address() const { return QStringLiteral("vmix://127.0.0.1:%1").arg(m_port); }
    QByteArray errors() { return m_process.readAllStandardError(); }

private:
    QString m_inputs;
    QStringList m_options;
    QProcess m_process;
    quint16 m_port = 0;
};
