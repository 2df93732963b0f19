#include "sources/AtemAddress.h"

#include "sources/SwitcherAddress.h"

bool AtemAddress::looksLikeAddress(const QString& text)
{
    return SwitcherAddress::hasScheme(text, QStringLiteral("atem"));
}

std::optional<AtemAddress> AtemAddress::parse(const QString& text, QString* problem)
{
    const std::optional<SwitcherAddress::HostAndPort> parsed
        = SwitcherAddress::parse(text, QStringLiteral("atem"), defaultPort, QStringLiteral("ATEM"), problem);
    if (!parsed) {
        return std::nullopt;
    }
    AtemAddress address;
    address.host = parsed->host;
    address.port = parsed->port;
    return address;
}

QString AtemAddress::display() const
{
    return SwitcherAddress::display(host, port);
}

QString AtemAddress::toString() const
{
    return QStringLiteral("atem://") + display();
}
