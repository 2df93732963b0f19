#pragma once

// A plain UDP receiver of Art-Net on the loopback interface, written from the
// protocol's own layout rather than any library: an ArtDmx datagram opens
// with "Art-Net", NUL and the opcode 0x5000 (low byte first), and its levels
// start at byte 18.

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QStringList>
#include <QUdpSocket>

class ArtNetListener {
public:
    ArtNetListener() { m_socket.bind(QHostAddress::LocalHost, 0); }

    quint16 port() const { return m_socket.localPort(); }

    // The first count levels of the latest ArtDmx datagram, as "255 0 0 …";
    // empty before the first.
    QString latestLevels(int count)
    {
        while (m_socket.hasPendingDatagrams()) {
            const QByteArray packet = m_socket.receiveDatagram().data();
            if (packet.startsWith(QByteArrayLiteral("Art-Net\0\x00\x50")) && packet.size() >= firstLevel + count) {
                QStringList levels;
                for (int channel = 0; channel < count; ++channel) {
                    levels.append(QString::number(quint8(packet[firstLevel + channel])));
                }
                m_latest = levels.join(QLatin1Char(' '));
            }
        }
        return m_latest;
    }

private:
    static constexpr int firstLevel = 18;

    QUdpSocket m_socket;
    QString m_latest;
};
