#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Where the web tally page listens, from "[ADDRESS:]PORT": "8080",
// "127.0.0.1:8080", "[::1]:8080", "localhost:8080". Without an address the
// page listens on every interface, so that phones on the studio network reach
// it.
struct WebListenAddress {
    QHostAddress address { QHostAddress::Any };
    quint16 port = 0;

    // The address, or nothing with the reason in problem.
    static std::optional<WebListenAddress> parse(const QString& text, QString* problem);

    // "127.0.0.1:8080", "[::1]:8080", or "*:8080" for every interface.
    QString toString() const;

    // The addresses of the page a phone can open, "http://ADDRESS:PORT/",
    // for a page listening here on port: the one address it listens on or,
    // on every interface, each of the machine's addresses that another
    // device can reach (IPv4 first; loopback, link-local IPv6 and the like
    // left out). Loopback alone, when that is all there is to offer.
    QStringList pageUrls(quint16 listeningPort, const QList<QHostAddress>& machineAddresses) const;

    friend bool operator==(const WebListenAddress&, const WebListenAddress&) = default;
};
