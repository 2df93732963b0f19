#pragma once

// A built switcher stand-in (bin/atem-standin, bin/vmix-standin) as a
// process of the test's: it is started on a free port, told what to do one
// line at a time, can be frozen (a computer that hangs) and stopped and
// started again on the same port (a switcher switched off and on).

#include "support/Eventually.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <csignal>
#include <sys/types.h>

class SwitcherStandinProcess {
public:
    // What tells one stand-in from another.
    struct Kind {
        // The program in the build's bin folder.
        QString program;
        // How it says where it listens: "UDP" or "TCP".
        QString transport;
        // The scheme of its address for --source.
        QString scheme;
    };

    SwitcherStandinProcess(Kind kind, QString inputs)
        : m_kind(std::move(kind))
        , m_inputs(std::move(inputs))
    {
    }

    ~SwitcherStandinProcess() { stop(); }

    // Extra options for the next start, such as --no-tally-by-source or
    // --program 1.
    void setOptions(const QStringList& options) { m_options = options; }

    // Starts it on port (0: one the system chooses) and waits until it
    // listens.
    bool start(quint16 port = 0)
    {
        m_process.setProgram(QStringLiteral(TALLY_BINARY_DIR "/bin/") + m_kind.program);
        m_process.setArguments(
            QStringList { QStringLiteral("--port"), QString::number(port), QStringLiteral("--inputs"), m_inputs }
            + m_options);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start();
        if (!m_process.waitForStarted(10000)) {
            return false;
        }
        QByteArray printed;
        const QRegularExpression listening(QStringLiteral("listening on %1 port (\\d+)").arg(m_kind.transport));
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
        if (m_process.state() != QProcess::NotRunning) {
            resume();
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Freezes it (SIGSTOP) or lets it go on (SIGCONT): its connections stay
    // open but nothing is answered.
    void pause() { ::kill(pid_t(m_process.processId()), SIGSTOP); }
    void resume() { ::kill(pid_t(m_process.processId()), SIGCONT); }

    // Off and on again on the same port: every session it had is gone.
    bool restart()
    {
        stop();
        return start(m_port);
    }

    quint16 port() const { return m_port; }
    QString address() const { return QStringLiteral("%1://127.0.0.1:%2").arg(m_kind.scheme).arg(m_port); }
    QByteArray errors() { return m_process.readAllStandardError(); }

private:
    Kind m_kind;
    QString m_inputs;
    QStringList m_options;
    QProcess m_process;
    quint16 m_port = 0;
};
