#include "SingleInstance.h"

#include "base/Problem.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QLocalSocket>
#include <QPointer>
#include <QStandardPaths>
#include <QTimer>

namespace {

constexpr int handOverTimeoutMs = 2000;
// Taking a request may start servers or open a map: a little longer.
constexpr int answerTimeoutMs = 5000;

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
    // The request is one line; until its end has come, wait for more, but
    // never for more than one message's worth.
    const qsizetype end = socket->peek(maximumMessageBytes).indexOf('\n');
    if (end < 0) {
        if (socket->bytesAvailable() >= maximumMessageBytes) {
            socket->abort();
            socket->deleteLater();
        }
        return;
    }
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
    const QByteArray message = socket->read(end + 1);
    // Taking the request may run the event loop (a box, a dialog's own):
    // the connection's time limit may close the socket meanwhile.
    const QPointer<QLocalSocket> connection(socket);
    const HandOverAnswer reply = answer(message);
    if (!connection) {
        return;
    }
    connection->write(reply.encode());
    connection->flush();
    connection->disconnectFromServer();
}

HandOverAnswer SingleInstance::answer(QByteArrayView message)
{
    HandOverAnswer reply;
    const std::optional<HandOverRequest> request = HandOverRequest::decode(message, &reply.problem);
    if (!request) {
        return reply;
    }
    if (!m_receiver) {
        reply.problem = QStringLiteral("the window is not ready for hand-overs yet");
        return reply;
    }
    reply.taken = m_receiver(*request, &reply.problem);
    return reply;
}

bool SingleInstance::handOver(const HandOverRequest& request, QString* problem)
{
    const QByteArray message = request.encode();
    if (message.size() > maximumMessageBytes) {
        return reportProblem(problem,
            QStringLiteral("too much to hand to the running Mixdesk Tally (at most %1 KiB)")
                .arg(maximumMessageBytes / 1024));
    }
    QLocalSocket socket;
    socket.connectToServer(socketPath(m_directory));
    if (!socket.waitForConnected(handOverTimeoutMs)) {
        return reportProblem(
            problem, QStringLiteral("cannot reach the running Mixdesk Tally: %1").arg(socket.errorString()));
    }
    socket.write(message);
    if (!socket.waitForBytesWritten(handOverTimeoutMs)) {
        return reportProblem(
            problem, QStringLiteral("the running Mixdesk Tally did not answer: %1").arg(socket.errorString()));
    }
    QDeadlineTimer deadline(answerTimeoutMs);
    while (!socket.canReadLine() && socket.bytesAvailable() < maximumMessageBytes
        && socket.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) { }
    if (!socket.canReadLine()) {
        return reportProblem(
            problem, QStringLiteral("the running Mixdesk Tally did not answer: %1").arg(socket.errorString()));
    }
    const std::optional<HandOverAnswer> answer = HandOverAnswer::decode(socket.readLine(maximumMessageBytes));
    socket.disconnectFromServer();
    if (!answer) {
        // A window of an earlier release reads only files, and answers
        // otherwise.
        return reportProblem(problem,
            QStringLiteral("the running Mixdesk Tally did not understand the hand-over (an earlier version?): quit "
                           "it and launch again"));
    }
    if (!answer->taken) {
        return reportProblem(problem, QStringLiteral("the running Mixdesk Tally refused: ") + answer->problem);
    }
    return true;
}
