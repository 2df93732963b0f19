#pragma once

// The running check counts every process named mixdesk on the machine, not
// only the test's own stand-in: a test that needs Mixdesk absent checks that
// no other one (another test run, a person's stand-in) is up.

#include <QDir>
#include <QFile>

inline bool anyMixdeskRunning()
{
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        QFile comm(QStringLiteral("/proc/%1/comm").arg(entry));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == "mixdesk") {
            return true;
        }
    }
    return false;
}
