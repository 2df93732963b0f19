#pragma once

// The built ATEM stand-in (bin/atem-standin) as a process of the test's: it
// is started on a free UDP port, told what to do one line at a time, and can
// be stopped and started again on the same port, as a switcher that is
// switched off and on.

#include "support/Eventually.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

class AtemStandinProcess {
public:
    explicit AtemStandinProcess(QString inputs = QStringLiteral("Camera 1,Camera 2,Wide"))
        : m_inputs(std::move(inputs))
    {
    }

    // Extra options for the next start, such as --no-tally-by-source.
    void setOptions(const QStringList& options) { m_options = options; }

    ~AtemStandinProcess() { stop(); }

    // Starts it on port (0: one the system chooses) and waits until it
    // listens.
    bool start(quint16 port = 0)
    {
        m_process.setProgram(QStringLiteral(TALLY_BINARY_DIR "/bin/atem-standin"));
        m_process.setArguments(
            QStringList { QStringLiteral("--port"), QString::number(port), QStringLiteral("--inputs"), m_inputs }
            + m_options);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start();
        if (!m_process.waitForStarted(10000)) {
            return false;
        }
        QByteArray printed;
        const QRegularExpression listening(QStringLiteral("listening on UDP port (\\d+)"));
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
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Off and on again on the same port: every session it had is gone.
    bool restart()
    {
        stop();
        return start(m_port);
    }

    quint16 port() const { return m_port; }
    QString address() const { return QStringLiteral("atem://127.0.0.1:%1").arg(m_port); }
    QByteArray errors() { return m_process.readAllStandardError(); }

private:
    QString m_inputs;
    QStringList m_options;
    QProcess m_process;
    quint16 m_port = 0;
};
