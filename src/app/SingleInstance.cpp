#include "app/SingleInstance.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QStandardPaths>

namespace {

constexpr int handOverTimeoutMs = 2000;

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
    const QString path = socketPath(m_directory);
    QLocalServer::removeServer(path);
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    m_server->listen(path);
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readConnection(socket); });
        }
    });
    return true;
}

void SingleInstance::readConnection(QLocalSocket* socket)
{
    // The message is the paths, one per line, closed by an empty line; wait
    // until all of it has arrived.
    const QByteArray pending = socket->peek(socket->bytesAvailable());
    if (!pending.startsWith('\n') && !pending.contains("\n\n")) {
        return;
    }
    QStringList paths;
    while (socket->canReadLine()) {
        const QString line = QString::fromUtf8(socket->readLine()).chopped(1);
        if (line.isEmpty()) {
            break;
        }
        paths.append(line);
    }
    socket->write("ok\n");
    socket->flush();
    Q_EMIT filesReceived(paths);
}

bool SingleInstance::handOver(const QStringList& paths, QString* error)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath(m_directory));
    if (!socket.waitForConnected(handOverTimeoutMs)) {
        *error = QStringLiteral("cannot reach the running Mixdesk Tally: %1").arg(socket.errorString());
        return false;
    }
    QByteArray message;
    for (const QString& path : paths) {
        message += QFileInfo(path).absoluteFilePath().toUtf8() + '\n';
    }
    message += '\n';
    socket.write(message);
    if (!socket.waitForBytesWritten(handOverTimeoutMs) || !socket.waitForReadyRead(handOverTimeoutMs)) {
        *error = QStringLiteral("the running Mixdesk Tally did not answer: %1").arg(socket.errorString());
        return false;
    }
    socket.disconnectFromServer();
    return true;
}
