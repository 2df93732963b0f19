#pragma once

#include "sources/ShotSource.h"
#include "sources/TslDisplayTable.h"
#include "tsl/TslTallyEncoding.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QTcpServer>
#include <QUdpSocket>

#include <chrono>
#include <functional>
#include <optional>

// Shots from a hardware switcher that drives TSL UMD displays: the program
// listens where the switcher sends (UDP datagrams, or TCP connections it
// accepts) and keeps what the switcher last said of every display index (see
// TslDisplayTable). The switcher counts as there while a valid message has
// arrived in the last five seconds; switchers repeat their state at least
// that often. Messages that are not whole and valid are counted and dropped.
class TslShotSource : public ShotSource {
    Q_OBJECT

public:
    enum class Transport {
        udp,
        tcp,
    };

    // Where to listen and for which version, from the source's address:
    //   tsl://[ADDRESS:]PORT, tsl+udp://… or tsl+tcp://…    TSL UMD 3.1
    //   tsl5://[ADDRESS:]PORT, tsl5+udp://… or tsl5+tcp://… TSL UMD 5.0
    // Without an address, every interface.
    struct Listen {
        TslTallyEncoding::Version version = TslTallyEncoding::Version::v50;
        Transport transport = Transport::udp;
        QHostAddress address = QHostAddress(QHostAddress::Any);
        quint16 port = 0;

        QString toString() const;
    };

    static constexpr std::chrono::milliseconds silenceLimit { 5000 };
    // Connections beyond this many at once are closed at once.
    static constexpr qsizetype maxConnections = 16;

    // Whether the source's address is one of the TSL schemes.
    static bool isTslAddress(const QString& source);
    static std::optional<Listen> parseAddress(const QString& source, QString* problem);

    // Milliseconds on a steady clock; tests pass their own.
    using Clock = std::function<qint64()>;

    explicit TslShotSource(Listen listen, Clock clock = {}, QObject* parent = nullptr);
    ~TslShotSource() override;

    // Starts listening; false with the reason in problem when the port
    // cannot be had (in use, not allowed).
    bool start(QString* problem);

    // The port listened on, the one the system chose when asked for 0.
    quint16 localPort() const;
    // Datagrams, packets and messages dropped as not valid so far.
    int rejectedCount() const;

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
    void takeDatagram(const QByteArray& datagram);
    void takePacket50(QByteArrayView packet);
    void noteMessages(bool changed);
    qint64 now() const;

    Listen m_listen;
    Clock m_clock;
    QElapsedTimer m_elapsed;
    QUdpSocket m_udp;
    QTcpServer m_server;
    QList<Connection*> m_connections;
    TslDisplayTable m_table;
    std::optional<qint64> m_lastMessageAt;
    // Who sent what is being read now, and the last valid message.
    QHostAddress m_currentSender;
    QHostAddress m_lastSender;
    int m_rejected = 0;

    friend class Connection;
};
