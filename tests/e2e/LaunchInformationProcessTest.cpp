// The built mixdesk-tally asked for help or its version with no display at
// all: it must print and leave without ever looking for a window system.

#include "support/QtPrinters.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

namespace {

struct ProcessRun {
    int exitCode = -1;
    QString standardOutput;
    QString standardError;
};

ProcessRun runWithoutDisplay(const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // No display and the default platform plugin: a QApplication made here
    // would abort for want of a display.
    for (const char* name : { "DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM" }) {
        environment.remove(QString::fromLatin1(name));
    }
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TALLY_BINARY_DIR "/bin/mixdesk-tally"), arguments);
    ProcessRun run;
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    run.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    run.standardError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

} // namespace

TEST(LaunchInformationProcessTest, HelpPrintsTheOptionsAndExitsWithoutADisplay)
{
    const ProcessRun run = runWithoutDisplay({ QStringLiteral("--help") });
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_TRUE(run.standardOutput.startsWith(QStringLiteral("usage: mixdesk-tally")));
    EXPECT_TRUE(run.standardOutput.contains(QStringLiteral("--source")));
    EXPECT_TRUE(run.standardError.isEmpty()) << run.standardError.toStdString();
}

TEST(LaunchInformationProcessTest, VersionPrintsOneLineAndExitsWithoutADisplay)
{
    const ProcessRun run = runWithoutDisplay({ QStringLiteral("--version") });
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_EQ(run.standardOutput, QStringLiteral("mixdesk-tally " TALLY_VERSION "\n"));
}
