#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <memory>

// One Mixdesk Tally per user drives the tally box. The first instance holds a
// lock file and listens on a user-only local socket; a later launch hands its
// file arguments (as absolute paths) to it and exits, so opening a tally map
// from the desktop while the program runs opens it in the running window.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    // directory: where the lock file and the socket live (the user's runtime
    // directory in the program; a temporary one in tests).
    explicit SingleInstance(QString directory, QObject* parent = nullptr);
    ~SingleInstance() override;

    // True when this process is the first instance (then it listens for
    // later launches). False when another instance holds the lock.
    bool becomePrimary();

    // Sends the paths to the running instance. Returns false, with a
    // description in error, when it cannot be reached.
    bool handOver(const QStringList& paths, QString* error);

    static QString defaultDirectory();

Q_SIGNALS:
    // A later launch handed over these absolute paths (possibly none: then
    // it only asked the running window to come to the front).
    void filesReceived(const QStringList& paths);

private:
    void readConnection(class QLocalSocket* socket);

    QString m_directory;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QLocalServer> m_server;
};
