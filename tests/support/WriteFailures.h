#pragma once

// Two ways of making a write fail, for tests of what a failed save leaves:
// - FileSizeLimit: while it lives, no file of this process may grow past a
//   few bytes (the system refuses the rest of a write, as a full disk would);
//   needs no privilege.
// - FullFileSystem: a small memory file system mounted over a temporary
//   folder and filled up; mounting needs root, and skipReason() says so when
//   it cannot be done.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        // Beyond the limit a write fails with EFBIG instead of ending the
        // process with SIGXFSZ.
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limited = m_previous;
        limited.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_previous {};
    void (*m_previousHandler)(int) = SIG_DFL;
};

class FullFileSystem {
public:
    FullFileSystem()
    {
        if (::getuid() != 0) {
            m_skipReason = "mounting a small file system to fill up needs root";
            return;
        }
        const int status = QProcess::execute(QStringLiteral("mount"),
            { QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"), QStringLiteral("size=64k"),
                QStringLiteral("tmpfs"), m_folder.path() });
        if (status != 0) {
            m_skipReason = "mount -t tmpfs failed here (no permission to mount in this container)";
            return;
        }
        m_mounted = true;
    }
    ~FullFileSystem()
    {
        if (m_mounted) {
            QProcess::execute(QStringLiteral("umount"), { m_folder.path() });
        }
    }
    FullFileSystem(const FullFileSystem&) = delete;
    FullFileSystem& operator=(const FullFileSystem&) = delete;

    // Empty when the file system is there.
    const std::string& skipReason() const { return m_skipReason; }
    QString filePath(const QString& name) const { return m_folder.filePath(name); }

    // Takes every block that is left.
    void fill()
    {
        QFile filler(filePath(QStringLiteral(".filler")));
        if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            return;
        }
        const QByteArray block(4096, 'f');
        while (filler.write(block) == block.size()) { }
        // Whatever is smaller than a block.
        while (filler.write("f", 1) == 1) { }
    }

private:
    QTemporaryDir m_folder;
    bool m_mounted = false;
    std::string m_skipReason;
};
