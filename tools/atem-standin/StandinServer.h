#pragma once

#include "atem/AtemCommand.h"
#include "atem/AtemPacket.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QNetworkDatagram>
#include <QObject>
#include <QRandomGenerator>
#include <QTimer>
#include <QUdpSocket>

#include <functional>
#include <optional>

// The switcher's side of the ATEM UDP control protocol, for the stand-in:
// it answers hellos, assigns each client a session, sends the client the
// whole picture (then an empty packet, after which clients acknowledge),
// keeps every reliable packet until it is acknowledged (an acknowledgement
// covers the packets before it), sends unacknowledged ones again after a
// while and on request, pings idle clients, acknowledges what clients send
// reliably and forgets clients that have gone quiet.
//
// setDropPercent makes it lose that share of the datagrams it sends, at
// random, and setReorderPercent hold that share back until after the next
// one, to show how clients cope with a poor network.
class StandinServer : public QObject {
    Q_OBJECT

public:
    struct Timing {
        int tickMs = 20;
        int resendAfterMs = 150;
        int pingAfterMs = 400;
        int forgetAfterMs = 3000;
    };

    using PictureSource = std::function<QList<AtemCommand>()>;

    // picture: the commands a newly connected client gets.
    StandinServer(PictureSource picture, Timing timing, QObject* parent = nullptr);

    bool listen(quint16 port, QString* problem);
    quint16 port() const { return m_socket.localPort(); }

    // Sends commands to every connected client, as one reliable packet or a
    // few.
    void broadcast(const QList<AtemCommand>& commands);
    void setDropPercent(int percent);
    void setReorderPercent(int percent);
    int clientCount() const;

private:
    struct Sent {
        QByteArray payload;
        qint64 sentAt = 0;
    };
    struct Client {
        QHostAddress address;
        quint16 port = 0;
        quint16 helloSession = 0;
        quint16 session = 0;
        bool live = false;
        quint16 lastId = 0;
        QMap<quint16, Sent> unacknowledged;
        qint64 lastHeard = 0;
        qint64 lastSent = 0;
    };

    void read();
    void take(const AtemPacket& packet, const QHostAddress& address, quint16 port);
    void greet(const AtemPacket& packet, const QHostAddress& address, quint16 port);
    void sendPicture(Client& client);
    void sendReliable(Client& client, const QByteArray& payload);
    void sendAgain(Client& client, quint16 id);
    void acknowledge(Client& client, quint16 ackedId);
    void write(Client& client, const AtemPacket& packet);
    void tick();
    qint64 now() const { return m_clock.elapsed(); }

    PictureSource m_picture;
    Timing m_timing;
    QUdpSocket m_socket;
    QTimer m_ticker;
    QElapsedTimer m_clock;
    QList<Client> m_clients;
    quint16 m_nextSession = 0x8001;
    int m_dropPercent = 0;
    int m_reorderPercent = 0;
    // A datagram held back, to go after the next one, and where to.
    std::optional<QNetworkDatagram> m_heldBack;
    QRandomGenerator m_random { 9910 };
};
