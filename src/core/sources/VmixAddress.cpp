#include "sources/VmixAddress.h"

#include "sources/SwitcherAddress.h"

bool VmixAddress::looksLikeAddress(const QString& text)
{
    return SwitcherAddress::hasScheme(text, QStringLiteral("vmix"));
}

std::optional<VmixAddress> VmixAddress::parse(const QString& text, QString* problem)
{
    const std::optional<SwitcherAddress::HostAndPort> parsed
        = SwitcherAddress::parse(text, QStringLiteral("vmix"), defaultPort, QStringLiteral("vMix"), problem);
    if (!parsed) {
        return std::nullopt;
    }
    VmixAddress address;
    address.host = parsed->host;
    address.port = parsed->port;
    return address;
}

QString VmixAddress::display() const
{
    return SwitcherAddress::display(host, port);
}

QString VmixAddress::toString() const
{
    return QStringLiteral("vmix://") + display();
}
