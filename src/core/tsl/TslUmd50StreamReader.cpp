#include "tsl/TslUmd50StreamReader.h"

#include "tsl/TslUmd50.h"

#include <QtEndian>

namespace {

constexpr qsizetype smallestPacket = 6;

} // namespace

QList<QByteArray> TslUmd50StreamReader::feed(QByteArrayView bytes)
{
    QList<QByteArray> packets;
    for (const char byte : bytes) {
        const bool isDle = static_cast<quint8>(byte) == TslUmd50::dle;
        if (!m_afterDle) {
            if (isDle) {
                m_afterDle = true;
            } else if (m_inPacket) {
                take(byte, packets);
            }
            continue; // outside a packet, anything but DLE is noise
        }
        m_afterDle = false;
        if (static_cast<quint8>(byte) == TslUmd50::stx) {
            if (m_inPacket) {
                reject(); // the packet under way was cut short
            }
            m_inPacket = true;
            m_packet.clear();
        } else if (isDle && m_inPacket) {
            take(byte, packets);
        } else if (m_inPacket) {
            reject();
        }
    }
    return packets;
}

void TslUmd50StreamReader::reject()
{
    ++m_rejected;
    m_inPacket = false;
    m_packet.clear();
}

void TslUmd50StreamReader::take(char byte, QList<QByteArray>& packets)
{
    m_packet.append(byte);
    if (m_packet.size() < 2) {
        return;
    }
    const qsizetype expected = qFromLittleEndian<quint16>(m_packet.constData()) + 2;
    if (expected < smallestPacket || expected > TslUmd50::maxPacketSize) {
        reject();
        return;
    }
    if (m_packet.size() == expected) {
        packets.append(m_packet);
        m_inPacket = false;
        m_packet.clear();
    }
}
