#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// Cuts a TSL UMD 5.0 byte stream (TCP) into packets: each starts with DLE
// STX, every DLE inside it is doubled, and its own byte count says where it
// ends, so a packet is handed on as soon as its last byte arrives. Broken
// framing (a DLE before anything but DLE or STX, a new DLE STX before the
// packet is whole, a byte count beyond 2048) drops the packet under way and
// waits for the next DLE STX; what it drops is counted, never kept, so a
// hostile peer cannot make the reader grow.
class TslUmd50StreamReader {
public:
    // The whole packets the bytes complete, unstuffed, in order.
    QList<QByteArray> feed(QByteArrayView bytes);

    // How many packets were dropped for broken framing so far.
    int rejectedCount() const { return m_rejected; }

private:
    void reject();
    void take(char byte, QList<QByteArray>& packets);

    bool m_inPacket = false;
    bool m_afterDle = false;
    QByteArray m_packet;
    int m_rejected = 0;
};
