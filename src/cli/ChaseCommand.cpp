#include "ChaseCommand.h"

#include "DeviceWait.h"
#include "DeviceWrites.h"
#include "base/StandardOutput.h"
#include "hardware/TestSequenceRunner.h"

#include <QEventLoop>

namespace {

using CommandLine::Command;

int runChase(const QStringList& arguments);

// Built on first use: main's command table is itself a static, and the order
// in which statics of different files are made is not fixed.
const Command& command()
{
    static const Command definition {
        QStringLiteral("chase"),
        QStringLiteral("chase"),
        QStringLiteral("Run the 21-step light test chase, one step every 0.5 s, printing each step's bytes"),
        runChase,
        {},
        CommandLine::captureVariablesHelp(),
    };
    return definition;
}

QString stepLine(qint64 step, const QList<quint8>& bytes)
{
    QStringList hex;
    for (const quint8 byte : bytes) {
        hex.append(QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0')));
    }
    return QStringLiteral("step %1: %2").arg(step + 1).arg(hex.join(QLatin1Char(' ')));
}

int runChase(const QStringList& arguments)
{
    if (!arguments.isEmpty()) {
        return CommandLine::usageError(command(), QStringLiteral("takes no arguments"));
    }
    if (!DeviceWait::waitForDevice()) {
        return CommandLine::exitFailure;
    }
    // No window, so no modal panel: the chase steps on every tick.
    DeviceWrites writes;
    TestSequenceRunner runner(writes.sender(), TestSequenceRunner::StepPolicy::always);
    QEventLoop loop;
    QObject::connect(&runner, &TestSequenceRunner::stepPerformed,
        [](qint64 step, const QList<quint8>& bytes) { printLine(stepLine(step, bytes)); });
    QObject::connect(&runner, &TestSequenceRunner::timerInvalidated, &loop, &QEventLoop::quit);
    runner.testAll();
    loop.exec();
    return writes.exitStatus(command().name);
}

} // namespace

Command chaseCommand()
{
    return command();
}
