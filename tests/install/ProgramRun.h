#pragma once

// Runs an installed program (or a packaging tool) to the end and collects
// what it said, for the installation and package tests.

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

struct ProgramRun {
    bool finished = false; // false: did not start, crashed or had to be killed
    int exitCode = -1;
    QString out;
    QString err;
    QString describe() const { return QStringLiteral("exit %1\nstdout: %2\nstderr: %3").arg(exitCode).arg(out, err); }
};

struct ProgramOptions {
    QByteArray input; // written to standard input, which is then closed
    QMap<QString, QString> environment; // on top of this process's environment
    QStringList unset; // removed from the environment
    int timeoutMs = 20000;
};

inline ProgramOptions withTimeout(int timeoutMs)
{
    ProgramOptions options;
    options.timeoutMs = timeoutMs;
    return options;
}

inline QProcessEnvironment programEnvironment(const ProgramOptions& options)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : options.unset) {
        environment.remove(name);
    }
    for (auto it = options.environment.cbegin(); it != options.environment.cend(); ++it) {
        environment.insert(it.key(), it.value());
    }
    return environment;
}

inline ProgramRun runProgram(const QString& program, const QStringList& arguments, const ProgramOptions& options = {})
{
    QProcess process;
    process.setProcessEnvironment(programEnvironment(options));
    process.start(program, arguments);
    ProgramRun run;
    if (!process.waitForStarted()) {
        run.err = process.errorString();
        return run;
    }
    process.write(options.input);
    process.closeWriteChannel();
    if (!process.waitForFinished(options.timeoutMs)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("killed after %1 ms\n").arg(options.timeoutMs)
            + QString::fromUtf8(process.readAllStandardError());
        return run;
    }
    run.finished = process.exitStatus() == QProcess::NormalExit;
    run.exitCode = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
