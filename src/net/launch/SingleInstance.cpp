#include "launch/SingleInstance.h"

#include "base/Problem.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QTimer>

namespace {

constexpr int handOverTimeoutMs = 2000;
const QString folderPrefix = QStringLiteral("folder:");

QString lockPath(const QString& directory)
{
    return QDir(directory).filePath(QStringLiteral("mixdesk-tally.lock"));
}

QString socketPath(const QString& directory)
{
    return QDir(directory).filePath(QStringLiteral("mixdesk-tally.socket"));
}

} // namespace

SingleInstance::SingleInstance(QString directory, QObject* parent)
    : QObject(parent)
    , m_directory(std::move(directory))
{
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultDirectory()
{
    QString directory = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (directory.isEmpty()) {
        directory = QDir::tempPath();
    }
    return directory;
}

bool SingleInstance::becomePrimary()
{
    QDir().mkpath(m_directory);
    m_lock = std::make_unique<QLockFile>(lockPath(m_directory));
    // A lock left by a crashed instance is taken over: QLockFile checks
    // whether its process still lives.
    if (!m_lock->tryLock(0)) {
        m_lock.reset();
        return false;
    }
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server.get(), &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    listen();
    // Qt closes a listening socket for good when accepting fails (no file
    // descriptor left, say): the window would then take no hand-over until
    // it is restarted.
    m_listenCheck = new QTimer(this);
    m_listenCheck->setInterval(listenCheckMilliseconds);
    connect(m_listenCheck, &QTimer::timeout, this, [this] {
        if (!m_server->isListening()) {
            listen();
        }
    });
    m_listenCheck->start();
    return true;
}

void SingleInstance::listen()
{
    const QString path = socketPath(m_directory);
    QLocalServer::removeServer(path);
    m_server->listen(path);
}

void SingleInstance::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        if (m_connections >= maximumConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        ++m_connections;
        connect(socket, &QObject::destroyed, this, [this] { --m_connections; });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readConnection(socket); });
        QTimer::singleShot(connectionTimeLimitMilliseconds, socket, [socket] {
            socket->abort();
            socket->deleteLater();
        });
    }
}

void SingleInstance::readConnection(QLocalSocket* socket)
{
    if (socket->bytesAvailable() > maximumMessageBytes) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    // Wait until the closing empty line has arrived.
    const QByteArray pending = socket->peek(socket->bytesAvailable());
    if (!pending.startsWith('\n') && !pending.contains("\n\n")) {
        return;
    }
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
    QString folder;
    QStringList paths;
    while (socket->canReadLine()) {
        const QString line = QString::fromUtf8(socket->readLine()).chopped(1);
        if (line.isEmpty()) {
            break;
        }
        if (line.startsWith(folderPrefix) && folder.isEmpty() && paths.isEmpty()) {
            folder = line.mid(folderPrefix.size());
            continue;
        }
        if (QDir::isAbsolutePath(line)) {
            paths.append(QDir::cleanPath(line));
        } else if (QDir::isAbsolutePath(folder)) {
            paths.append(QDir::cleanPath(QDir(folder).absoluteFilePath(line)));
        }
        // A relative path from a sender that gave no folder names nothing
        // the window can know.
    }
    socket->write("ok\n");
    socket->flush();
    Q_EMIT filesReceived(paths);
}

bool SingleInstance::handOver(const QStringList& paths, QString* problem)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath(m_directory));
    if (!socket.waitForConnected(handOverTimeoutMs)) {
        return reportProblem(
            problem, QStringLiteral("cannot reach the running Mixdesk Tally: %1").arg(socket.errorString()));
    }
    QByteArray message = (folderPrefix + QDir::currentPath()).toUtf8() + '\n';
    for (const QString& path : paths) {
        message += path.toUtf8() + '\n';
    }
    message += '\n';
    socket.write(message);
    if (!socket.waitForBytesWritten(handOverTimeoutMs) || !socket.waitForReadyRead(handOverTimeoutMs)) {
        return reportProblem(
            problem, QStringLiteral("the running Mixdesk Tally did not answer: %1").arg(socket.errorString()));
    }
    socket.disconnectFromServer();
    return true;
}
