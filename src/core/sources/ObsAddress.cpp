#include "sources/ObsAddress.h"

#include "sources/SwitcherAddress.h"

bool ObsAddress::looksLikeAddress(const QString& text)
{
    return SwitcherAddress::hasScheme(text, QStringLiteral("obs"));
}

std::optional<ObsAddress> ObsAddress::parse(const QString& text, QString* problem)
{
    const std::optional<SwitcherAddress::HostAndPort> parsed
        = SwitcherAddress::parse(text, QStringLiteral("obs"), defaultPort, QStringLiteral("OBS Studio"), problem);
    if (!parsed) {
        return std::nullopt;
    }
    ObsAddress address;
    address.host = parsed->host;
    address.port = parsed->port;
    return address;
}

QString ObsAddress::display() const
{
    return SwitcherAddress::display(host, port);
}

QString ObsAddress::webSocketUrl() const
{
    return QStringLiteral("ws://") + display();
}
