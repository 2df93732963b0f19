#include "outputs/VmixFeedServer.h"

#include "base/Problem.h"
#include "vmix/VmixFeedProtocol.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

// One client's connection and what it asked for; a child of its socket, so
// it goes with it.
class VmixFeedServer::Client : public QObject {
public:
    explicit Client(QTcpSocket& socket)
        : QObject(&socket)
        , socket(socket)
    {
    }

    QTcpSocket& socket;
    VmixFeedProtocol::LineReader reader;
    bool subscribed = false;
    bool dropped = false;
};

VmixFeedServer::VmixFeedServer(Limits limits, QObject* parent)
    : QObject(parent)
    , m_limits(limits)
    , m_tallyLine(VmixFeedProtocol::tallyLine(m_snapshot))
{
}

VmixFeedServer::VmixFeedServer(QObject* parent)
    : VmixFeedServer(Limits {}, parent)
{
}

template<typename Act> void VmixFeedServer::forEachClient(Act act)
{
    // On a copy: what act does (a send that drops its client) changes the
    // list.
    m_clients.removeAll(nullptr);
    const QList<QPointer<Client>> clients = m_clients;
    for (const QPointer<Client>& client : clients) {
        if (client) {
            act(*client);
        }
    }
}

VmixFeedServer::~VmixFeedServer()
{
    // The sockets go with the server. The last lines (the lights turned
    // off at quit) are handed to the system first, as far as it takes them
    // without waiting.
    for (const QPointer<Client>& client : std::as_const(m_clients)) {
        if (client) {
            client->socket.disconnect(this);
            client->socket.flush();
        }
    }
}

bool VmixFeedServer::listen(const WebListenAddress& where, QString* problem)
{
    auto server = std::make_unique<BoundedTcpServer>(m_limits.connections);
    server->setAllowedPeers(m_allowed);
    if (!server->listen(where.address, where.port)) {
        return cannotListen(where, server->errorString(), problem);
    }
    connect(server.get(), &QTcpServer::newConnection, this, &VmixFeedServer::accept);
    m_server = std::move(server);
    m_where = where;
    m_where.port = m_server->serverPort();
    return true;
}

bool VmixFeedServer::moveTo(const WebListenAddress& where, QString* problem)
{
    if (!m_server) {
        return listen(where, problem);
    }
    // The new address may need the port held now: let go of it first.
    m_server->close();
    if (m_server->listen(where.address, where.port)) {
        m_where = where;
        m_where.port = m_server->serverPort();
        return true;
    }
    const QString why = m_server->errorString();
    m_server->listen(m_where.address, m_where.port);
    return cannotListen(where, why, problem);
}

bool VmixFeedServer::cannotListen(const WebListenAddress& where, const QString& why, QString* problem)
{
    return reportProblem(
        problem, QStringLiteral("the vMix tally feed cannot listen on %1: %2").arg(where.toString(), why));
}

void VmixFeedServer::setAllowedClients(const SenderAllowList& allowed)
{
    m_allowed = allowed;
    if (m_server) {
        m_server->setAllowedPeers(allowed);
    }
    if (allowed.isEmpty()) {
        return;
    }
    forEachClient([this, &allowed](Client& client) {
        if (!allowed.allows(client.socket.peerAddress())) {
            drop(client);
        }
    });
}

quint16 VmixFeedServer::port() const
{
    return m_server ? m_where.port : 0;
}

void VmixFeedServer::publish(const TallySnapshot& snapshot)
{
    m_snapshot = snapshot;
    tellSubscribers(VmixFeedProtocol::tallyLine(snapshot));
    if (VmixFeedProtocol::speaksForTheSwitcher(snapshot)) {
        listenAgain();
    } else {
        standDown();
    }
}

void VmixFeedServer::tellSubscribers(const QByteArray& line)
{
    if (line == m_tallyLine) {
        return; // a title may have changed: receivers read those with XML
    }
    m_tallyLine = line;
    forEachClient([this](Client& client) {
        if (client.subscribed) {
            send(client, m_tallyLine);
        }
    });
}

void VmixFeedServer::standDown()
{
    closeEveryConnection();
    // Refused at once, a receiver knows it has no feed; a connection
    // accepted only to be closed would look connected for a moment, and
    // some receivers trip over the reset that follows.
    if (m_server && m_server->isListening()) {
        m_server->close();
    }
}

void VmixFeedServer::listenAgain()
{
    if (!m_server || m_server->isListening()) {
        return;
    }
    // Should another program have taken the port meanwhile, the next tick
    // tries again.
    m_server->listen(m_where.address, m_where.port);
}

void VmixFeedServer::closeEveryConnection()
{
    forEachClient([this](Client& client) { close(client); });
}

void VmixFeedServer::close(Client& client)
{
    if (client.dropped) {
        return;
    }
    // What was told last (the lost-source choice's picture) goes out first.
    client.dropped = true;
    client.subscribed = false;
    client.socket.disconnectFromHost();
}

void VmixFeedServer::accept()
{
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, m_limits.socketSendBufferBytes);
        auto* client = new Client(*socket);
        m_clients.removeAll(nullptr);
        m_clients.append(client);
        connect(socket, &QTcpSocket::disconnected, client, [client] {
            client->subscribed = false;
            client->socket.deleteLater();
        });
        if (!VmixFeedProtocol::speaksForTheSwitcher(m_snapshot)) {
            close(*client); // nothing true to tell until the switcher is back
            continue;
        }
        connect(socket, &QTcpSocket::readyRead, client, [this, client] {
            const QList<QByteArray> requests = client->reader.feed(client->socket.readAll());
            for (const QByteArray& request : requests) {
                if (client->dropped) {
                    return;
                }
                answer(*client, request);
            }
            if (client->reader.overflowed() && !client->dropped) {
                // No request is that long: whatever sends it is not a
                // receiver, and its bytes are not worth holding.
                client->dropped = true;
                QTimer::singleShot(0, &client->socket, [socket = &client->socket] { socket->abort(); });
            }
        });
    }
}

void VmixFeedServer::answer(Client& client, const QByteArray& request)
{
    VmixFeedProtocol::Answer reply = VmixFeedProtocol::answer(request, m_snapshot);
    switch (reply.effect) {
    case VmixFeedProtocol::Effect::subscribe:
        if (!client.subscribed && subscriberCount() >= m_limits.maxSubscribers) {
            send(client, QByteArrayLiteral("SUBSCRIBE ER Too many subscribers\r\n"));
            return;
        }
        send(client, reply.bytes);
        if (!client.dropped) {
            subscribe(client);
            // vMix tells a new subscriber where things stand at once.
            send(client, m_tallyLine);
        }
        return;
    case VmixFeedProtocol::Effect::unsubscribe:
        client.subscribed = false;
        break;
    case VmixFeedProtocol::Effect::quit:
        send(client, reply.bytes);
        // What follows QUIT in the same bytes goes unanswered.
        client.dropped = true;
        client.socket.disconnectFromHost();
        return;
    case VmixFeedProtocol::Effect::none:
        break;
    }
    send(client, reply.bytes);
}

int VmixFeedServer::subscriberCount() const
{
    return int(std::count_if(m_clients.cbegin(), m_clients.cend(),
        [](const QPointer<Client>& client) { return client && client->subscribed; }));
}

void VmixFeedServer::subscribe(Client& client)
{
    if (client.subscribed) {
        return;
    }
    client.subscribed = true;
    // From now on the receiver may be silent for hours between tally
    // changes: it leaves the answer deadline and the connection count, and
    // is bounded by maxSubscribers and by the line and unsent limits here.
    m_server->releaseUpgradedConnection(client.socket.peerAddress(), client.socket.peerPort());
}

void VmixFeedServer::send(Client& client, const QByteArray& bytes)
{
    if (client.dropped) {
        return;
    }
    if (client.socket.bytesToWrite() + bytes.size() > m_limits.maxUnsentBytes) {
        // It does not read what it is sent: let it go rather than keep an
        // ever longer queue for it.
        drop(client);
        return;
    }
    client.socket.write(bytes);
}

void VmixFeedServer::drop(Client& client)
{
    client.dropped = true;
    client.socket.abort();
}
