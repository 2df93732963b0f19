#pragma once

#include <QString>

#include <optional>

// The host and port of a switcher reached over the network, written as
// "SCHEME://HOST" or "SCHEME://HOST:PORT" (IPv6 hosts in brackets). OBS
// Studio (obs://), ATEM switchers (atem://) and vMix (vmix://) are written
// this way; each
// address type adds its own scheme, default port and name for messages.
namespace SwitcherAddress {

struct HostAndPort {
    QString host;
    quint16 port = 0;
};

// Whether text starts with "SCHEME://", whatever its case, so that a wrong
// address gets a message about addresses, not about unknown sources.
bool hasScheme(const QString& text, const QString& scheme);

// The host and port of text, or nothing with the reason in problem, which
// names the switcher ("bad ATEM address '…': no host (expected …)").
std::optional<HostAndPort> parse(
    const QString& text, const QString& scheme, quint16 defaultPort, const QString& switcherName, QString* problem);

// "HOST:PORT" for messages and URLs, an IPv6 host in brackets.
QString display(const QString& host, quint16 port);

} // namespace SwitcherAddress
