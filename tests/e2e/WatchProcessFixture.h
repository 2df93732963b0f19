#pragma once

// What the whole-process tests of tallyctl watch share: a folder of their
// own with a three-light tally map and a capture file for the tally box, the
// stand-in, and the watch process, which is ended if a test leaves it
// running.

#include "CaptureFile.h"
#include "tools/StandinProcess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

class WatchProcessFixture : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        capture.path = folder.filePath(QStringLiteral("capture.hex"));
        mapPath = folder.filePath(QStringLiteral("studio.tlx"));
        QFile file(mapPath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("0|Camera 1\r\n1|Camera 2\r\n2|Camera 1|Camera 2\r\n");
    }

    void TearDown() override
    {
        if (watch.state() != QProcess::NotRunning) {
            watch.kill();
            watch.waitForFinished();
        }
    }

    QTemporaryDir folder;
    QString mapPath;
    StandinProcess standin;
    CaptureFile capture;
    QProcess watch;
};

// tallyctl watch following a network switcher's stand-in at sourceAddress,
// with the capture box, and what it has printed.
class SwitcherWatchFixture : public WatchProcessFixture {
protected:
    virtual QString sourceAddress() const = 0;

    void start(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        watch.setProcessEnvironment(environment);
        watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            QStringList { QStringLiteral("watch"), QStringLiteral("--no-timestamps"), QStringLiteral("--source"),
                sourceAddress() }
                + arguments);
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    // Whether watch has printed every line since the last clear().
    bool printedAll(const QStringList& lines)
    {
        printed += QString::fromUtf8(watch.readAllStandardOutput());
        for (const QString& line : lines) {
            if (!printed.contains(line + QLatin1Char('\n'))) {
                return false;
            }
        }
        return true;
    }

    QString printed;
};
