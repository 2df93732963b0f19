#include "dmx/DmxAddress.h"

#include "base/Problem.h"
#include "base/Text.h"

#include <QRegularExpression>
#include <QUrl>

namespace {

struct Scheme {
    DmxAddress::Protocol protocol;
    QString prefix;
    QString name;
    QString form;
    quint16 port;
    int defaultUniverse;
    int minUniverse;
    int maxUniverse;
};

const Scheme schemes[] = {
    { DmxAddress::Protocol::artNet, QStringLiteral("artnet://"), QStringLiteral("Art-Net"),
        QStringLiteral("artnet://HOST[:PORT][/UNIVERSE]"), DmxAddress::artNetPort, 0, 0,
        DmxAddress::maxArtNetUniverse },
    { DmxAddress::Protocol::sacn, QStringLiteral("sacn://"), QStringLiteral("sACN"),
        QStringLiteral("sacn://[HOST][:PORT][/UNIVERSE]"), DmxAddress::sacnPort, 1, DmxAddress::minSacnUniverse,
        DmxAddress::maxSacnUniverse },
};

const Scheme* schemeOf(const QString& text)
{
    for (const Scheme& scheme : schemes) {
        if (text.startsWith(scheme.prefix, Qt::CaseInsensitive)) {
            return &scheme;
        }
    }
    return nullptr;
}

// The address as quoted in a refusal.
QString quoted(const QString& text, qsizetype longest = 120)
{
    return Text::middleElided(text, longest);
}

// A part of the address as named in the reason, shorter still.
QString quotedPart(const QString& part)
{
    return quoted(part, 40);
}

bool isWholeNumber(const QString& text)
{
    static const QRegularExpression digits(QStringLiteral("^[0-9]+$"));
    return digits.match(text).hasMatch();
}

// The port after the host, or why it cannot be one.
std::optional<quint16> parsePort(const QString& text, QString* why)
{
    if (!isWholeNumber(text)) {
        reportProblem(why, QStringLiteral("the port '%1' is not a number").arg(quotedPart(text)));
        return std::nullopt;
    }
    bool fits = false;
    const qulonglong number = text.toULongLong(&fits);
    if (!fits || number < 1 || number > 65535) {
        reportProblem(
            why, QStringLiteral("the port %1 is out of range; it must be between 1 and 65535").arg(quotedPart(text)));
        return std::nullopt;
    }
    return static_cast<quint16>(number);
}

// The host as written (an IPv6 one without its brackets), checked the way
// URLs check hosts; empty when none is written.
std::optional<QString> parseHost(const QString& written, QString* why)
{
    if (written.isEmpty()) {
        return QString();
    }
    const bool bracketed = written.startsWith(QLatin1Char('['));
    if (bracketed != written.endsWith(QLatin1Char(']'))) {
        reportProblem(why, QStringLiteral("the host '%1' has an unclosed bracket").arg(quotedPart(written)));
        return std::nullopt;
    }
    QUrl url;
    url.setHost(bracketed ? written.mid(1, written.size() - 2) : written, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty()) {
        reportProblem(
            why, QStringLiteral("the host '%1' is not a host name or an IP address").arg(quotedPart(written)));
        return std::nullopt;
    }
    return url.host();
}

// The host and the port written between the scheme and the universe.
bool parseAuthority(const QString& authority, const Scheme& scheme, DmxAddress* address, QString* why)
{
    if (authority.contains(QLatin1Char('@'))) {
        return reportProblem(why, QStringLiteral("a user name does not go in a DMX address"));
    }
    QString host = authority;
    std::optional<QString> port;
    const qsizetype close = authority.lastIndexOf(QLatin1Char(']'));
    const qsizetype colon = authority.lastIndexOf(QLatin1Char(':'));
    if (authority.startsWith(QLatin1Char('[')) && close < 0) {
        return reportProblem(why, QStringLiteral("the host '%1' has an unclosed bracket").arg(quotedPart(authority)));
    }
    const bool ipv6WithoutBrackets = close < 0 && authority.count(QLatin1Char(':')) > 1;
    if (ipv6WithoutBrackets) {
        return reportProblem(why, QStringLiteral("an IPv6 host goes in brackets, such as [::1]"));
    }
    if (colon > close) {
        host = authority.left(colon);
        port = authority.mid(colon + 1);
    }
    const std::optional<QString> parsedHost = parseHost(host, why);
    if (!parsedHost) {
        return false;
    }
    address->host = *parsedHost;
    address->port = scheme.port;
    if (port) {
        const std::optional<quint16> parsedPort = parsePort(*port, why);
        if (!parsedPort) {
            return false;
        }
        address->port = *parsedPort;
    }
    if (address->host.isEmpty() && scheme.protocol == DmxAddress::Protocol::artNet) {
        return reportProblem(why,
            QStringLiteral("no host; Art-Net needs a node's address or a broadcast address such as "
                           "2.255.255.255"));
    }
    return true;
}

bool parseUniverse(const QString& path, const Scheme& scheme, DmxAddress* address, QString* why)
{
    address->universe = scheme.defaultUniverse;
    if (path.isEmpty()) {
        return true;
    }
    if (!isWholeNumber(path)) {
        return reportProblem(why, QStringLiteral("the universe '%1' is not a number").arg(quotedPart(path)));
    }
    bool fits = false;
    const qulonglong number = path.toULongLong(&fits);
    if (!fits || number < qulonglong(scheme.minUniverse) || number > qulonglong(scheme.maxUniverse)) {
        return reportProblem(why,
            QStringLiteral("the universe %1 is out of range; an %2 universe runs from %3 to %4")
                .arg(quotedPart(path), scheme.name)
                .arg(scheme.minUniverse)
                .arg(scheme.maxUniverse));
    }
    address->universe = static_cast<int>(number);
    return true;
}

} // namespace

bool DmxAddress::looksLikeAddress(const QString& text)
{
    return schemeOf(text) != nullptr;
}

std::optional<DmxAddress> DmxAddress::parse(const QString& text, QString* problem)
{
    const Scheme* scheme = schemeOf(text);
    if (scheme == nullptr) {
        reportProblem(problem,
            QStringLiteral("bad DMX address '%1': it does not start with artnet:// or sacn:// (expected "
                           "artnet://HOST[:PORT][/UNIVERSE] or sacn://[HOST][:PORT][/UNIVERSE])")
                .arg(quoted(text)));
        return std::nullopt;
    }
    const auto refuse = [&](const QString& why) -> std::optional<DmxAddress> {
        reportProblem(problem,
            QStringLiteral("bad %1 address '%2': %3 (expected %4)").arg(scheme->name, quoted(text), why, scheme->form));
        return std::nullopt;
    };
    const QString rest = text.mid(scheme->prefix.size());
    if (rest.contains(QLatin1Char('?')) || rest.contains(QLatin1Char('#'))) {
        return refuse(QStringLiteral("only a host, a port and a universe may follow %1").arg(scheme->prefix));
    }
    const qsizetype slash = rest.indexOf(QLatin1Char('/'));
    const QString authority = slash < 0 ? rest : rest.left(slash);
    const QString path = slash < 0 ? QString() : rest.mid(slash + 1);
    if (path.contains(QLatin1Char('/'))) {
        return refuse(QStringLiteral("only a universe may follow the host, such as /1"));
    }
    DmxAddress address;
    address.protocol = scheme->protocol;
    QString why;
    if (!parseAuthority(authority, *scheme, &address, &why) || !parseUniverse(path, *scheme, &address, &why)) {
        return refuse(why);
    }
    return address;
}

QString DmxAddress::destinationHost() const
{
    if (!isMulticast()) {
        return host;
    }
    return QStringLiteral("239.255.%1.%2").arg(universe >> 8).arg(universe & 0xff);
}

QString DmxAddress::toString() const
{
    const QString shownHost = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    const QString scheme = protocol == Protocol::artNet ? QStringLiteral("artnet://") : QStringLiteral("sacn://");
    return scheme + shownHost + QLatin1Char(':') + QString::number(port) + QLatin1Char('/') + QString::number(universe);
}
