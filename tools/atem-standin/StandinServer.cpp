#include "StandinServer.h"

namespace {

// Commands are packed into packets of about this many bytes, as switchers
// do, well under what the length field allows.
constexpr qsizetype packetBudget = 1300;

QList<QByteArray> packPayloads(const QList<AtemCommand>& commands)
{
    QList<QByteArray> payloads;
    QByteArray current;
    for (const AtemCommand& command : commands) {
        const QByteArray bytes = command.encode();
        if (!current.isEmpty() && current.size() + bytes.size() > packetBudget) {
            payloads.append(current);
            current.clear();
        }
        current.append(bytes);
    }
    if (!current.isEmpty()) {
        payloads.append(current);
    }
    return payloads;
}

} // namespace

StandinServer::StandinServer(PictureSource picture, Timing timing, QObject* parent)
    : QObject(parent)
    , m_picture(std::move(picture))
    , m_timing(timing)
{
    m_clock.start();
    connect(&m_socket, &QUdpSocket::readyRead, this, &StandinServer::read);
    m_ticker.setInterval(m_timing.tickMs);
    connect(&m_ticker, &QTimer::timeout, this, &StandinServer::tick);
}

bool StandinServer::listen(quint16 port, QString* problem)
{
    if (!m_socket.bind(QHostAddress::Any, port)) {
        if (problem) {
            *problem = m_socket.errorString();
        }
        return false;
    }
    m_ticker.start();
    return true;
}

void StandinServer::setDropPercent(int percent)
{
    m_dropPercent = std::clamp(percent, 0, 100);
}

void StandinServer::setReorderPercent(int percent)
{
    m_reorderPercent = std::clamp(percent, 0, 100);
}

int StandinServer::clientCount() const
{
    int live = 0;
    for (const Client& client : m_clients) {
        live += client.live ? 1 : 0;
    }
    return live;
}

void StandinServer::read()
{
    while (m_socket.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket.receiveDatagram(AtemPacket::maxSize + 1);
        const std::optional<AtemPacket> packet = AtemPacket::decode(datagram.data());
        if (packet) {
            take(*packet, datagram.senderAddress(), static_cast<quint16>(datagram.senderPort()));
        }
    }
}

void StandinServer::take(const AtemPacket& packet, const QHostAddress& address, quint16 port)
{
    if (packet.has(AtemPacket::hello)) {
        greet(packet, address, port);
        return;
    }
    for (Client& client : m_clients) {
        if (client.address != address || client.port != port) {
            continue;
        }
        const bool inSession = packet.sessionId == client.session || packet.sessionId == client.helloSession;
        if (!inSession) {
            return;
        }
        client.lastHeard = now();
        if (!client.live) {
            // The third step of the handshake: the picture follows.
            if (packet.has(AtemPacket::ack)) {
                client.live = true;
                sendPicture(client);
            }
            return;
        }
        if (packet.has(AtemPacket::ack)) {
            for (auto sent = client.unacknowledged.begin(); sent != client.unacknowledged.end();) {
                if (!AtemPacket::isAfter(sent.key(), packet.ackedId)) {
                    sent = client.unacknowledged.erase(sent);
                } else {
                    ++sent;
                }
            }
        }
        if (packet.has(AtemPacket::resendRequest)) {
            for (auto sent = client.unacknowledged.cbegin(); sent != client.unacknowledged.cend(); ++sent) {
                if (!AtemPacket::isAfter(packet.resendId, sent.key())) {
                    sendAgain(client, sent.key());
                }
            }
        }
        if (packet.has(AtemPacket::reliable)) {
            acknowledge(client, packet.packetId);
        }
        return;
    }
}

void StandinServer::greet(const AtemPacket& packet, const QHostAddress& address, quint16 port)
{
    m_clients.removeIf([&](const Client& client) { return client.address == address && client.port == port; });
    Client client;
    client.address = address;
    client.port = port;
    client.helloSession = packet.sessionId;
    client.session = m_nextSession;
    m_nextSession = m_nextSession == 0xffff ? 0x8001 : static_cast<quint16>(m_nextSession + 1);
    client.lastHeard = now();
    AtemPacket answer;
    answer.flags = AtemPacket::hello;
    answer.sessionId = packet.sessionId;
    answer.payload = QByteArray(8, '\0');
    answer.payload[0] = static_cast<char>(AtemPacket::helloAccepted);
    m_clients.append(client);
    write(m_clients.back(), answer);
}

void StandinServer::sendPicture(Client& client)
{
    for (const QByteArray& payload : packPayloads(m_picture())) {
        sendReliable(client, payload);
    }
    // Clients start acknowledging at the first empty packet.
    sendReliable(client, QByteArray());
}

void StandinServer::broadcast(const QList<AtemCommand>& commands)
{
    const QList<QByteArray> payloads = packPayloads(commands);
    for (Client& client : m_clients) {
        if (!client.live) {
            continue;
        }
        for (const QByteArray& payload : payloads) {
            sendReliable(client, payload);
        }
    }
}

void StandinServer::sendReliable(Client& client, const QByteArray& payload)
{
    client.lastId = AtemPacket::nextId(client.lastId);
    client.unacknowledged.insert(client.lastId, Sent { payload, now() });
    AtemPacket packet;
    packet.flags = AtemPacket::reliable;
    packet.sessionId = client.session;
    packet.packetId = client.lastId;
    packet.payload = payload;
    write(client, packet);
}

void StandinServer::sendAgain(Client& client, quint16 id)
{
    Sent& sent = client.unacknowledged[id];
    sent.sentAt = now();
    AtemPacket packet;
    packet.flags = AtemPacket::reliable | AtemPacket::retransmission;
    packet.sessionId = client.session;
    packet.packetId = id;
    packet.payload = sent.payload;
    write(client, packet);
}

void StandinServer::acknowledge(Client& client, quint16 ackedId)
{
    AtemPacket packet;
    packet.flags = AtemPacket::ack;
    packet.sessionId = client.session;
    packet.ackedId = ackedId;
    write(client, packet);
}

void StandinServer::write(Client& client, const AtemPacket& packet)
{
    client.lastSent = now();
    if (m_dropPercent > 0 && int(m_random.bounded(100)) < m_dropPercent) {
        return; // lost on the way
    }
    QNetworkDatagram datagram(packet.encode(), client.address, client.port);
    if (!m_heldBack && m_reorderPercent > 0 && int(m_random.bounded(100)) < m_reorderPercent) {
        m_heldBack = datagram;
        return;
    }
    m_socket.writeDatagram(datagram);
    if (m_heldBack) {
        m_socket.writeDatagram(*std::exchange(m_heldBack, std::nullopt));
    }
}

void StandinServer::tick()
{
    const qint64 time = now();
    // Nothing came after the held-back datagram: it goes now, late.
    if (m_heldBack) {
        m_socket.writeDatagram(*std::exchange(m_heldBack, std::nullopt));
    }
    m_clients.removeIf([&](const Client& client) { return time - client.lastHeard > m_timing.forgetAfterMs; });
    for (Client& client : m_clients) {
        if (!client.live) {
            continue;
        }
        const QList<quint16> waiting = client.unacknowledged.keys();
        for (const quint16 id : waiting) {
            if (time - client.unacknowledged.value(id).sentAt >= m_timing.resendAfterMs) {
                sendAgain(client, id);
            }
        }
        if (time - client.lastSent >= m_timing.pingAfterMs) {
            sendReliable(client, QByteArray());
        }
    }
}
