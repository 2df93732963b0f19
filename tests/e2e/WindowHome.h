#pragma once

// A home of a test's own for whole runs of the built mixdesk-tally: HOME and
// the settings folder inside one temporary folder, the offscreen platform and
// the capture tally box, so that no run touches the user's settings, desktop
// or tally box. The runtime folder (where the single-instance socket and the
// stand-in's shots file live) comes from the base environment, or from
// privateRuntimeFolder() for a window that follows no stand-in.

#include "CaptureFile.h"
#include "WindowEnvironment.h"
#include "support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <utility>

class WindowHome {
public:
    WindowHome() { m_capture.path = filePath(QStringLiteral("capture.hex")); }

    bool isValid() const { return m_folder.isValid(); }
    QString path() const { return m_folder.path(); }
    QString filePath(const QString& name) const { return m_folder.filePath(name); }
    const CaptureFile& capture() const { return m_capture; }

    // Writes a file into the home and gives its path; a write that fails
    // fails the test.
    QString write(const QString& name, const QByteArray& contents) const
    {
        const QString path = filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
        EXPECT_EQ(file.write(contents), contents.size()) << path.toStdString();
        return path;
    }

    // The window's settings file, as a saved run would have left it; its
    // path.
    QString writeSettings(const QByteArray& contents) const
    {
        EXPECT_TRUE(QDir().mkpath(filePath(QStringLiteral("config/Mixdesk"))));
        return write(QStringLiteral("config/Mixdesk/Mixdesk Tally.conf"), contents);
    }

    // A runtime folder inside the home, readable by its owner only, as the
    // single-instance socket requires.
    QString privateRuntimeFolder() const
    {
        const QString runtime = filePath(QStringLiteral("runtime"));
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return runtime;
    }

    // base with the home's variables put over it.
    QProcessEnvironment environment(QProcessEnvironment base = QProcessEnvironment::systemEnvironment()) const
    {
        return windowEnvironment(std::move(base), path(), filePath(QStringLiteral("config")), m_capture.path);
    }

    // Starts the built window in environment; a start that fails fails the
    // test.
    static void launch(QProcess& process, const QProcessEnvironment& environment, const QStringList& arguments)
    {
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TALLY_BINARY_DIR "/bin/mixdesk-tally"), arguments);
        ASSERT_TRUE(process.waitForStarted(10000));
    }

    // Whether the box's last complete tick is, or soon becomes, expected.
    bool lastTickIs(const QByteArray& expected) const
    {
        return eventually([&] {
            const QList<QByteArray> ticks = m_capture.ticks();
            return !ticks.isEmpty() && ticks.last() == expected;
        });
    }

private:
    QTemporaryDir m_folder;
    CaptureFile m_capture;
};
