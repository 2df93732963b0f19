#pragma once

#include "outputs/BoundedTcpServer.h"
#include "outputs/WebListenAddress.h"
#include "tally/TallyOutput.h"

#include <QObject>
#include <QPointer>

#include <memory>

class QTcpSocket;

// The lights as vMix's TCP API tells its tally, for receivers made for vMix
// (wireless camera lamps, little ESP32 lights): they connect, send
// SUBSCRIBE TALLY, and light up from the TALLY OK lines that follow, one
// digit a light (see VmixFeedProtocol for the lines, and why the feed
// closes its connections while the source is lost). Read-only: nothing a client sends changes the
// program.
//
// The same limits as the web page keep a stranger from wearing the program
// down (see BoundedTcpServer): a connection that has not subscribed must
// send a whole request within the answer deadline, and at the connection
// limit the quietest one makes room. A subscribed receiver stays for as long
// as it likes (tally changes can be hours apart) and counts against
// maxSubscribers instead. A request line over 64 KB closes its connection,
// and so does a client that lets more than maxUnsentBytes of answers pile
// up unread: sending never waits, so one stalled reader cannot hold back
// the others. An allow list keeps the feed to the studio's own receivers.
class VmixFeedServer : public QObject, public TallyOutput {
    Q_OBJECT
public:
    struct Limits {
        BoundedTcpServer::Limits connections { 64, 64 * 1024 + 2, 30000 };
        int maxSubscribers = 64;
        qint64 maxUnsentBytes = 256 * 1024;
        // The system's own send buffer for each connection, kept small so
        // that a stalled reader shows in maxUnsentBytes soon rather than
        // after megabytes sit in the system.
        int socketSendBufferBytes = 64 * 1024;
    };

    explicit VmixFeedServer(Limits limits, QObject* parent = nullptr);
    explicit VmixFeedServer(QObject* parent = nullptr);
    ~VmixFeedServer() override;

    // Starts listening. False, with the reason in words, when the address
    // cannot be bound (a port in use, an address not on this machine).
    bool listen(const WebListenAddress& where, QString* problem);
    // Listens at another address instead, keeping every connection and
    // subscriber. False, with the reason, when it cannot; it then goes on
    // where it was.
    bool moveTo(const WebListenAddress& where, QString* problem);
    // The port listened on (useful after listening on port 0).
    quint16 port() const;
    const WebListenAddress& address() const { return m_where; }

    // Whom the feed answers from now on, also when listening already;
    // empty: everyone. Connections open from elsewhere are closed.
    void setAllowedClients(const SenderAllowList& allowed);
    const SenderAllowList& allowedClients() const { return m_allowed; }

    void publish(const TallySnapshot& snapshot) override;

    // Connections subscribed to the tally now.
    int subscriberCount() const;

private:
    class Client;

    static bool cannotListen(const WebListenAddress& where, const QString& why, QString* problem);
    void accept();
    void answer(Client& client, const QByteArray& request);
    // Calls act with every client still connected.
    template<typename Act> void forEachClient(Act act);
    // Cuts the client off at once, whatever it was still to be sent.
    void drop(Client& client);
    // Sends bytes, or drops the client when too much is already waiting.
    void send(Client& client, const QByteArray& bytes);
    void subscribe(Client& client);
    void tellSubscribers(const QByteArray& line);
    // While the switcher is lost (see VmixFeedProtocol): every connection
    // ends once what it was told last has gone out, and the port refuses
    // new ones until the switcher is back.
    void standDown();
    void listenAgain();
    void closeEveryConnection();
    void close(Client& client);

    Limits m_limits;
    std::unique_ptr<BoundedTcpServer> m_server;
    WebListenAddress m_where;
    SenderAllowList m_allowed;
    TallySnapshot m_snapshot;
    QByteArray m_tallyLine;
    QList<QPointer<Client>> m_clients;
};
