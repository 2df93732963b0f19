#pragma once

#include "support/Eventually.h"

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

// The built stand-in, started as its own process with a private
// XDG_RUNTIME_DIR, so that its shots file is this test's alone.
class StandinProcess {
public:
    StandinProcess();
    ~StandinProcess();

    QString program() const;
    QString runtimeDirectory() const { return m_runtime.path(); }
    QString shotsPath() const;
    QProcessEnvironment environment() const;

    // Starts `mixdesk --headless` with these extra arguments and waits for
    // its first answer. False when it did not start or wrote no answer. The
    // stand-in starts with nothing on program or preview unless the
    // arguments say otherwise (studioStart()).
    bool start(const QStringList& arguments = {});
    // As a studio is found when the show is already running: the first shot
    // on program, the second in preview.
    static QStringList studioStart()
    {
        return { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("2") };
    }
    QProcess& process() { return m_process; }

    void send(const QByteArray& commands);
    // The answer file's contents, or an empty array while there is none.
    QByteArray answer() const;
    // Waits until the answer is `expected`; returns the last answer seen.
    QByteArray waitForAnswer(const QByteArray& expected);
    // Waits until the answer file is gone.
    bool waitForNoAnswer();
    bool waitForExit();

private:
    QTemporaryDir m_runtime;
    QProcess m_process;
};
