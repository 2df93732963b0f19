#pragma once

#include <QHostAddress>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <optional>

// The addresses a listener takes messages from: single addresses
// ("10.0.0.5", "fd00::5") and networks ("10.0.0.0/24"). An empty list takes
// every sender. An IPv4 sender that reaches an IPv6 socket (::ffff:10.0.0.5)
// counts as its IPv4 address.
class SenderAllowList {
public:
    SenderAllowList() = default;

    // From the addresses as written, each entry possibly holding several
    // separated by commas or spaces ("10.0.0.5,10.0.0.6"). Nothing, with
    // the first bad entry named in problem, when one is not an address.
    static std::optional<SenderAllowList> parse(const QStringList& entries, QString* problem);

    bool isEmpty() const { return m_networks.isEmpty(); }
    bool allows(const QHostAddress& sender) const;
    // The entries as written back: "10.0.0.5", "10.0.0.0/24".
    QStringList entries() const;

    // The address as this listener names it: IPv4 for an IPv4 sender even
    // when it reached an IPv6 socket.
    static QHostAddress plain(const QHostAddress& address);

private:
    QList<QPair<QHostAddress, int>> m_networks;
};
