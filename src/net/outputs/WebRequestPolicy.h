#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QStringList>

// Which requests the web tally page answers, against two attacks from an
// ordinary web site that someone on the studio network happens to open:
// - DNS rebinding: the site's own name made to point at this machine, so
//   that the browser counts the tally page as that site's. Such a request
//   carries the site's name in its Host header; the page answers only Host
//   values that are an IP address, "localhost", or a name of this machine.
// - Reading the state across sites: a WebSocket opened by another site's
//   script carries that site's Origin. The page's own script sends the
//   page's origin; programs that are not browsers send none. Anything else
//   is refused.
class WebRequestPolicy {
public:
    // The names this machine answers to; this machine's own by default.
    explicit WebRequestPolicy(QStringList ownNames = machineNames());

    // hostHeader: the Host header as sent, with or without a port; empty
    // when the request had none (not a browser).
    bool allowsHost(QByteArrayView hostHeader) const;
    // origin: the Origin header, empty when absent.
    bool allowsWebSocketOrigin(QByteArrayView origin, QByteArrayView hostHeader) const;

    // The host name, its ".local" form as phones resolve it, and the fully
    // qualified name where the machine has a domain, lower case.
    static QStringList machineNames();

    // The headers every answer of the page carries: never cached (a cached
    // colour may no longer be true), no guessing of types, nothing loaded
    // from or framed by anywhere else, and no address of the page handed on.
    static QList<QPair<QByteArray, QByteArray>> securityHeaders();

private:
    QStringList m_ownNames;
};
