#include "sources/SwitcherAddress.h"

#include "base/Problem.h"

#include <QUrl>

namespace SwitcherAddress {

bool hasScheme(const QString& text, const QString& scheme)
{
    return text.startsWith(scheme + QStringLiteral("://"), Qt::CaseInsensitive);
}

std::optional<HostAndPort> parse(
    const QString& text, const QString& scheme, quint16 defaultPort, const QString& switcherName, QString* problem)
{
    const QString prefix = scheme + QStringLiteral("://");
    const auto fail = [&](const QString& why) -> std::optional<HostAndPort> {
        reportProblem(problem,
            QStringLiteral("bad %1 address '%2': %3 (expected %4HOST or %4HOST:PORT)")
                .arg(switcherName, text, why, prefix));
        return std::nullopt;
    };
    if (!hasScheme(text, scheme)) {
        return fail(QStringLiteral("it does not start with %1").arg(prefix));
    }
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid()) {
        return fail(url.errorString());
    }
    if (url.host().isEmpty()) {
        return fail(QStringLiteral("no host"));
    }
    if (!url.userInfo().isEmpty() || (!url.path().isEmpty() && url.path() != QLatin1String("/")) || url.hasQuery()
        || url.hasFragment()) {
        return fail(QStringLiteral("only a host and a port may follow %1").arg(prefix));
    }
    const int port = url.port(defaultPort);
    if (port < 1 || port > 65535) {
        return fail(QStringLiteral("the port must be between 1 and 65535"));
    }
    return HostAndPort { url.host(), static_cast<quint16>(port) };
}

QString display(const QString& host, quint16 port)
{
    const QString shownHost = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    return shownHost + QLatin1Char(':') + QString::number(port);
}

} // namespace SwitcherAddress
