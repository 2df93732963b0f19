#pragma once

#include "sources/ShotSource.h"
#include "sources/TslAddress.h"
#include "sources/TslDisplayTable.h"
#include "switchers/SenderAllowList.h"
#include "tsl/TslTallyEncoding.h"

#include <QElapsedTimer>
#include <QHash>
#include <QHostAddress>
#include <QSet>
#include <QTcpServer>
#include <QUdpSocket>

#include <chrono>
#include <functional>
#include <optional>

// Shots from a hardware switcher that drives TSL UMD displays: the program
// listens where the switcher sends (UDP datagrams, or TCP connections it
// accepts) and keeps what the switcher last said of every display index (see
// TslDisplayTable). Messages that are not whole and valid are counted and
// dropped.
//
// TSL carries no proof of who sent a message, so anyone on the network can
// send one. The listener can be limited to the switcher's addresses
// (setAllowedSenders); messages and connections from any other address are
// refused. Without a list, every sender is heard, as switchers are often
// moved between addresses. Either way, the status (and the system log) names
// each new sender the first time it is heard, so that an unexpected one
// shows, and names a sender the first time it names more displays than there
// is room for (the sender that names the most makes room with its own, so a
// switcher keeping to its displays is not pushed out).
//
// Whether the switcher is there, and for how long what it said holds:
// - Over TCP, a sender whose connection is open (and has brought a whole
//   message) is there, however long it stays silent: many switchers send
//   only when something changes. The connection is probed underneath, so a
//   switcher unplugged mid-show still ends it.
// - Over UDP, and once a sender's connection has closed, silence is all
//   there is to go by. A sender silent for the silence limit is gone: the
//   displays it spoke for last are forgotten, so a light cannot be held by
//   a message a stray or hostile sender sent once, or by a switcher that
//   has been unplugged. The limit is the user's choice; by default there is
//   none while an allow list keeps strangers out (the switcher's displays
//   stand until it changes them) and defaultSilenceLimit otherwise.
// - The switcher counts as there (isRunning) while a sender that is there
//   has lit a display (program or preview) within the limit, or while its
//   connection is open. A switcher always has a shot on program and says
//   so whenever it sends its state; a message that lights nothing (a spare
//   index, a broadcast, control data) proves nothing, so a device that
//   sends one every few seconds cannot keep a lost switcher looking present
//   and hold off the lost-switcher policy. (A sender that fakes a lit
//   display can; the allow list is the answer to that.)
class TslShotSource : public ShotSource {
    Q_OBJECT

public:
    using Transport = TslAddress::Transport;

    // Where to listen and for which version, from the source's address
    // (TslAddress), its host read as one of this computer's addresses.
    struct Listen {
        TslTallyEncoding::Version version = TslTallyEncoding::Version::v50;
        Transport transport = Transport::udp;
        QHostAddress address = QHostAddress(QHostAddress::Any);
        quint16 port = 0;

        QString toString() const;
    };

    // The silence limit without an allow list, unless the user chose
    // another: switchers that repeat their state do so every few seconds.
    static constexpr std::chrono::milliseconds defaultSilenceLimit { 5000 };
    // TCP connections open at once. At the limit, a new connection takes the
    // place of one that has not brought a whole message, else of the one
    // that has gone longest without one, so idle or dripping connections can
    // never lock the switcher out.
    static constexpr qsizetype maxConnections = 16;
    // A TCP connection that brings no whole message this long after it
    // opens is closed. Bytes of an unfinished message do not count, so a
    // partial frame cannot hold a connection open. After its first whole
    // message a connection stays as long as its sender keeps it.
    static constexpr std::chrono::milliseconds defaultIdleDeadline { 10000 };
    // Senders named in the status; beyond these, one line says so, so that
    // a flood of forged addresses cannot flood the log.
    static constexpr qsizetype maxNamedSenders = 32;
    // Senders whose displays are kept apart. At the limit a new sender is
    // refused until one goes quiet for silenceLimit: pushing out a sender
    // still heard would let anyone who sends from many addresses take the
    // switcher's displays away.
    static constexpr qsizetype maxSenders = 64;

    // Whether the source's address is one of the TSL schemes.
    static bool isTslAddress(const QString& source);
    // Where to listen, or nothing with the reason in problem: TslAddress's
    // reasons, or that the host is not a numeric address.
    static std::optional<Listen> parseAddress(const QString& source, QString* problem);

    // Milliseconds on a steady clock; tests pass their own.
    using Clock = std::function<qint64()>;

    explicit TslShotSource(Listen listen, Clock clock = {}, QObject* parent = nullptr);
    ~TslShotSource() override;

    // Starts listening; false with the reason in problem when the port
    // cannot be had (in use, not allowed).
    bool start(QString* problem);
    // Stops listening and closes every connection; start listens again.
    void stop();

    const Listen& listen() const { return m_listen; }
    // The port listened on, the one the system chose when asked for 0.
    quint16 localPort() const;
    // Datagrams, packets and messages dropped as not valid so far.
    int rejectedCount() const;
    // Datagrams and connections refused as not from an allowed sender, and
    // messages refused as from one sender too many.
    int refusedCount() const { return m_refused; }

    // Takes messages only from these senders from now on (empty: from
    // everyone); the displays of senders no longer allowed are forgotten and
    // their connections closed.
    void setAllowedSenders(const SenderAllowList& allowed);
    const SenderAllowList& allowedSenders() const { return m_allowed; }
    // Whether each new sender's line goes to standard error too, besides
    // the system log and the status (on unless turned off). tallyctl watch,
    // which prints every status line itself, turns it off so that the line
    // shows once.
    void setNamesSendersOnStandardError(bool on) { m_namesSendersOnStandardError = on; }
    // How long a new TCP connection may go without a whole message.
    void setIdleDeadline(std::chrono::milliseconds deadline) { m_idleDeadline = deadline; }

    // The user's silence limit, nothing for none, in place of the default.
    void chooseSilenceLimit(std::optional<std::chrono::milliseconds> limit);
    // Back to the default, which follows the allow list.
    void useDefaultSilenceLimit();
    // The silence limit in force; nothing: none.
    std::optional<std::chrono::milliseconds> silenceLimit() const;
    int openConnections() const { return int(m_connections.size()); }

    bool isRunning() override;
    ShotList queryShots() override;
    QString notRunningWarning() const override;
    Kind kind() const override { return Kind::tslUmd; }
    QString displayName() const override;
    // "TSL 5.0 on port 8900", when the last valid message came and from
    // where.
    Details details() const override;

private:
    class Connection;

    void readDatagrams();
    void acceptConnections();
    // Whether messages from the address are taken; names it the first time.
    bool admits(const QHostAddress& address);
    void nameSender(const QString& line);
    void takeDatagram(const QByteArray& datagram, const QString& sender);
    // Whether the packet was whole and valid.
    bool takePacket50(QByteArrayView packet, const QString& sender);
    void noteMessages(const QString& sender, TslDisplayTable::Outcome outcome);
    // Whether the sender has a place (it is known, or there is room).
    bool hearFrom(const QString& sender);
    void forgetQuietSenders();
    void replaceIdlestConnection();
    void noteClosedConnection();
    // Whether the sender has an open connection that brought a whole
    // message.
    bool isConnected(const QString& sender) const;
    // Whether the silence limit has passed since the moment, by now.
    bool isPast(qint64 since) const;
    bool isRunningNow() const;
    qint64 now() const;

    // What the listener knows of one sender that speaks for displays.
    struct Sender {
        qint64 heardAt = 0;
        // When it last spoke for a display it left lit.
        std::optional<qint64> litAt;
    };

    Listen m_listen;
    Clock m_clock;
    QElapsedTimer m_elapsed;
    QUdpSocket m_udp;
    QTcpServer m_server;
    QList<Connection*> m_connections;
    TslDisplayTable m_table;
    SenderAllowList m_allowed;
    std::chrono::milliseconds m_idleDeadline = defaultIdleDeadline;
    bool m_namesSendersOnStandardError = true;
    bool m_silenceChosen = false;
    std::optional<std::chrono::milliseconds> m_chosenSilence;
    // The senders that speak for displays, by address.
    QHash<QString, Sender> m_senders;
    QSet<QString> m_namedSenders;
    std::optional<qint64> m_lastMessageAt;
    // Who sent the last message the listener took, named as SenderAllowList
    // names senders (IPv4 even through a dual-stack socket), for the status
    // line.
    QString m_lastSender;
    int m_rejected = 0;
    int m_refused = 0;

    friend class Connection;
};
