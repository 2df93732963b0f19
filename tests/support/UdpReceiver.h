#pragma once

// A UDP receiver on a port of the system's choosing on the loopback
// interface, for tests of what the outputs send.

#include "support/Eventually.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

class UdpReceiver {
public:
    UdpReceiver() { m_socket.bind(QHostAddress::LocalHost, 0); }

    quint16 port() const { return m_socket.localPort(); }
    // As a UDP destination is written on the command line.
    QString url() const { return QStringLiteral("udp://127.0.0.1:%1").arg(port()); }

    // Everything received so far.
    QList<QByteArray> take()
    {
        QList<QByteArray> datagrams;
        while (m_socket.hasPendingDatagrams()) {
            datagrams.append(m_socket.receiveDatagram().data());
        }
        return datagrams;
    }

    // Waits until count datagrams have come, or the patience runs out; what
    // came either way.
    QList<QByteArray> waitFor(qsizetype count, int patience = 5000)
    {
        QList<QByteArray> datagrams;
        eventually(
            [&] {
                datagrams += take();
                return datagrams.size() >= count;
            },
            patience);
        return datagrams;
    }

private:
    QUdpSocket m_socket;
};
