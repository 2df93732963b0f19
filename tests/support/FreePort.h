#pragma once

// Ports on this machine that nothing listens on now: the system picks one
// and it is given back at once, for a server under test to listen on or for
// a connection that must be refused. 0 when the system gives none.

#include <QHostAddress>
#include <QTcpServer>
#include <QUdpSocket>

// A TCP port.
inline quint16 freePort()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0)) {
        return 0;
    }
    return probe.serverPort();
}

// A UDP port.
inline quint16 freeUdpPort()
{
    QUdpSocket probe;
    if (!probe.bind(QHostAddress::LocalHost, 0)) {
        return 0;
    }
    return probe.localPort();
}
