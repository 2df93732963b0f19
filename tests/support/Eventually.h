#pragma once

// Waits for something another process does, running this process's events
// meanwhile. Generous by default: sanitizer builds start processes slowly.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <functional>

inline bool eventually(const std::function<bool()>& condition, int patienceMilliseconds = 15000)
{
    QDeadlineTimer deadline(patienceMilliseconds);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
    return true;
}
