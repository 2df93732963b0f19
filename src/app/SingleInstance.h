#pragma once

#include "launch/HandOverRequest.h"

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

// One Mixdesk Tally per user drives the tally box. The first instance holds a
// lock file and listens on a user-only local socket; a later launch hands
// what it was asked (a map to open, a source, network outputs…) to it and
// exits, so opening a tally map from the desktop while the program runs opens
// it in the running window.
//
// A hand-over is one HandOverRequest line; the window answers with one
// HandOverAnswer line (taken, or refused with the reason) and closes the
// connection. The window serves a few connections at a time, each for a
// short while and for a short message, so that nothing connecting to it (a
// stuck launch, a flood, junk) can use up its files or its time; if the
// system ever closes the listening socket, it is opened again.
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

    // Hands the request to the running instance and waits for its answer.
    // False, with the reason, when it cannot be reached, does not answer, or
    // refuses the request.
    bool handOver(const HandOverRequest& request, QString* problem);

    // What the first instance does with a hand-over: false, with the reason
    // the launch is told, when it refuses it. Until one is set every
    // hand-over is refused.
    using Receiver = std::function<bool(const HandOverRequest& request, QString* problem)>;
    void setReceiver(Receiver receiver) { m_receiver = std::move(receiver); }

    static QString defaultDirectory();

    static constexpr int maximumConnections = 8;
    static constexpr qsizetype maximumMessageBytes = HandOverRequest::maximumBytes;
    static constexpr int connectionTimeLimitMilliseconds = 2000;
    // How often the listening socket is checked and, if closed, reopened.
    static constexpr int listenCheckMilliseconds = 1000;

private:
    void listen();
    void acceptConnections();
    void readConnection(class QLocalSocket* socket);
    HandOverAnswer answer(QByteArrayView message);

    QString m_directory;
    int m_connections = 0;
    class QTimer* m_listenCheck = nullptr;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QLocalServer> m_server;
    Receiver m_receiver;
};
