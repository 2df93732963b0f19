#include "switchers/SenderAllowList.h"

#include "base/Problem.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

int fullPrefix(const QHostAddress& address)
{
    return address.protocol() == QAbstractSocket::IPv4Protocol ? 32 : 128;
}

} // namespace

std::optional<SenderAllowList> SenderAllowList::parse(const QStringList& entries, QString* problem)
{
    static const QRegularExpression separators(QStringLiteral("[,\\s]+"));
    SenderAllowList list;
    for (const QString& entry : entries) {
        for (const QString& text : entry.split(separators, Qt::SkipEmptyParts)) {
            QPair<QHostAddress, int> network;
            if (text.contains(QLatin1Char('/'))) {
                network = QHostAddress::parseSubnet(text);
            } else {
                QString bare = text;
                if (bare.startsWith(QLatin1Char('[')) && bare.endsWith(QLatin1Char(']'))) {
                    bare = bare.mid(1, bare.size() - 2);
                }
                const QHostAddress address(bare);
                network = { address, address.isNull() ? -1 : fullPrefix(address) };
            }
            if (network.first.isNull() || network.second < 0) {
                reportProblem(problem,
                    QStringLiteral("'%1' is not an IP address or network (such as 10.0.0.5 or 10.0.0.0/24)").arg(text));
                return std::nullopt;
            }
            // An IPv4 network written the IPv6 way (::ffff:10.0.0.0/120) is
            // kept as the IPv4 network senders will be compared with.
            const QHostAddress asIPv4 = plain(network.first);
            if (asIPv4.protocol() != network.first.protocol()) {
                network = { asIPv4, std::max(network.second - 96, 0) };
            }
            list.m_networks.append(network);
        }
    }
    return list;
}

bool SenderAllowList::allows(const QHostAddress& sender) const
{
    if (m_networks.isEmpty()) {
        return true;
    }
    const QHostAddress address = plain(sender);
    for (const QPair<QHostAddress, int>& network : m_networks) {
        if (address.isInSubnet(network)) {
            return true;
        }
    }
    return false;
}

QStringList SenderAllowList::entries() const
{
    QStringList texts;
    for (const QPair<QHostAddress, int>& network : m_networks) {
        const QString address = network.first.toString();
        texts.append(network.second == fullPrefix(network.first)
                ? address
                : QStringLiteral("%1/%2").arg(address).arg(network.second));
    }
    return texts;
}

QHostAddress SenderAllowList::plain(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4) : address;
}
