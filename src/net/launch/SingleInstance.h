#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <memory>

// One Mixdesk Tally per user drives the tally box. The first instance holds a
// lock file and listens on a user-only local socket; a later launch hands its
// file arguments to it and exits, so opening a tally map from the desktop
// while the program runs opens it in the running window.
//
// The message is the sender's working folder on a line "folder:<path>", then
// the paths, one per line, closed by an empty line; a relative path is taken
// from the sender's folder, never from the window's. The window serves a few
// connections at a time, each for a short while and for a short message, so
// that nothing connecting to it (a stuck launch, a flood) can use up its
// files or its time; if the system ever closes the listening socket, it is
// opened again.
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
    bool handOver(const QStringList& paths, QString* problem);

    static QString defaultDirectory();

    static constexpr int maximumConnections = 8;
    static constexpr qsizetype maximumMessageBytes = 64 * 1024;
    static constexpr int connectionTimeLimitMilliseconds = 2000;
    // How often the listening socket is checked and, if closed, reopened.
    static constexpr int listenCheckMilliseconds = 1000;

Q_SIGNALS:
    // A later launch handed over these absolute paths (possibly none: then
    // it only asked the running window to come to the front).
    void filesReceived(const QStringList& paths);

private:
    void listen();
    void acceptConnections();
    void readConnection(class QLocalSocket* socket);

    QString m_directory;
    int m_connections = 0;
    class QTimer* m_listenCheck = nullptr;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QLocalServer> m_server;
};
