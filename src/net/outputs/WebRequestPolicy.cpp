#include "outputs/WebRequestPolicy.h"

#include <QHostAddress>
#include <QHostInfo>

namespace {

// The host part of a Host header: "[fe80::1]:8080" is "fe80::1",
// "studio:8080" is "studio". Lower case, without a trailing dot.
QString hostPart(QByteArrayView header)
{
    QString host = QString::fromLatin1(header).trimmed().toLower();
    if (host.startsWith(QLatin1Char('['))) {
        const qsizetype end = host.indexOf(QLatin1Char(']'));
        return end < 0 ? QString() : host.mid(1, end - 1);
    }
    const qsizetype colon = host.lastIndexOf(QLatin1Char(':'));
    if (colon >= 0) {
        bool isPort = false;
        host.mid(colon + 1).toUInt(&isPort);
        if (!isPort || host.indexOf(QLatin1Char(':')) != colon) {
            return {}; // an IPv6 address must be in brackets
        }
        host.truncate(colon);
    }
    if (host.endsWith(QLatin1Char('.'))) {
        host.chop(1);
    }
    return host;
}

} // namespace

WebRequestPolicy::WebRequestPolicy(QStringList ownNames)
    : m_ownNames(std::move(ownNames))
{
}

bool WebRequestPolicy::allowsHost(QByteArrayView hostHeader) const
{
    if (hostHeader.trimmed().isEmpty()) {
        return true;
    }
    const QString host = hostPart(hostHeader);
    if (host.isEmpty()) {
        return false;
    }
    return !QHostAddress(host).isNull() || host == QLatin1String("localhost") || m_ownNames.contains(host);
}

bool WebRequestPolicy::allowsWebSocketOrigin(QByteArrayView origin, QByteArrayView hostHeader) const
{
    if (origin.isEmpty()) {
        return true;
    }
    const QByteArray own = "http://" + hostHeader.trimmed().toByteArray().toLower();
    return !hostHeader.trimmed().isEmpty() && origin.toByteArray().toLower() == own;
}

QStringList WebRequestPolicy::machineNames()
{
    const QString name = QHostInfo::localHostName().toLower();
    if (name.isEmpty()) {
        return {};
    }
    QStringList names { name, name + QStringLiteral(".local") };
    const QString domain = QHostInfo::localDomainName().toLower();
    if (!domain.isEmpty()) {
        names.append(name + QLatin1Char('.') + domain);
    }
    return names;
}

QList<QPair<QByteArray, QByteArray>> WebRequestPolicy::securityHeaders()
{
    return {
        { "Cache-Control", "no-store" },
        { "X-Content-Type-Options", "nosniff" },
        { "Content-Security-Policy",
            "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
            "base-uri 'none'; form-action 'none'; frame-ancestors 'none'" },
        { "Referrer-Policy", "no-referrer" },
        { "X-Frame-Options", "DENY" },
    };
}
