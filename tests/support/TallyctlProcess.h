#pragma once

// Runs the built tallyctl as a user would, for end-to-end tests of its
// commands.

#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <gtest/gtest.h>

struct TallyctlRun {
    int exitCode = -1; // -2 when it crashed or had to be killed
    QString out;
    QString err;
};

struct TallyctlOptions {
    QByteArray input; // written to standard input, which is then closed
    QMap<QString, QString> environment; // added to this process's environment
    int timeoutMs = 10000;
};

inline TallyctlRun runTallyctl(const QStringList& arguments, const TallyctlOptions& options = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = options.environment.cbegin(); it != options.environment.cend(); ++it) {
        environment.insert(it.key(), it.value());
    }
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"), arguments);
    if (!process.waitForStarted()) {
        ADD_FAILURE() << "tallyctl did not start: " << process.errorString().toStdString();
        return {};
    }
    process.write(options.input);
    process.closeWriteChannel();
    TallyctlRun run;
    if (!process.waitForFinished(options.timeoutMs)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "tallyctl did not finish within " << options.timeoutMs << " ms";
        run.exitCode = -2;
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
