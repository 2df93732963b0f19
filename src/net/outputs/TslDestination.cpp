#include "outputs/TslDestination.h"

#include "base/Problem.h"
QString TslDestination::toString() const
{
    const QString scheme = transport == Transport::udp ? QStringLiteral("udp") : QStringLiteral("tcp");
    const QString shownHost = host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(host) : host;
    return QStringLiteral("%1://%2:%3").arg(scheme, shownHost).arg(port);
}

std::optional<TslDestination> TslDestination::parse(
    TslTallyEncoding::Version version, const QString& text, QString* problem)
{
    const auto fail = [&](const QString& why) -> std::optional<TslDestination> {
        reportProblem(problem, QStringLiteral("bad TSL destination '%1': %2").arg(text, why));
        return std::nullopt;
    };
    TslDestination destination;
    destination.version = version;
    QString rest;
    if (text.startsWith(QLatin1String("udp://"))) {
        destination.transport = Transport::udp;
        rest = text.mid(6);
    } else if (text.startsWith(QLatin1String("tcp://"))) {
        destination.transport = Transport::tcp;
        rest = text.mid(6);
    } else {
        return fail(QStringLiteral("expected udp://HOST:PORT or tcp://HOST:PORT"));
    }
    const qsizetype colon = rest.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0) {
        return fail(QStringLiteral("expected HOST:PORT after the scheme"));
    }
    destination.host = rest.left(colon);
    if (destination.host.startsWith(QLatin1Char('[')) && destination.host.endsWith(QLatin1Char(']'))) {
        destination.host = destination.host.mid(1, destination.host.size() - 2);
    }
    bool isNumber = false;
    const uint port = rest.mid(colon + 1).toUInt(&isNumber);
    if (destination.host.isEmpty() || destination.host.contains(QLatin1Char('/'))) {
        return fail(QStringLiteral("expected a host name or address"));
    }
    if (!isNumber || port < 1 || port > 65535) {
        return fail(QStringLiteral("the port must be a number from 1 to 65535"));
    }
    destination.port = static_cast<quint16>(port);
    return destination;
}
