#include "sources/ObsAddress.h"

#include <QUrl>

bool ObsAddress::looksLikeAddress(const QString& text)
{
    return text.startsWith(QLatin1String("obs://"), Qt::CaseInsensitive);
}

std::optional<ObsAddress> ObsAddress::parse(const QString& text, QString* problem)
{
    const auto fail = [&](const QString& why) -> std::optional<ObsAddress> {
        if (problem) {
            *problem = QStringLiteral("bad OBS Studio address '%1': %2 (expected obs://HOST or obs://HOST:PORT)")
                           .arg(text, why);
        }
        return std::nullopt;
    };
    if (!looksLikeAddress(text)) {
        return fail(QStringLiteral("it does not start with obs://"));
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
        return fail(QStringLiteral("only a host and a port may follow obs://"));
    }
    ObsAddress address;
    address.host = url.host();
    const int port = url.port(defaultPort);
    if (port < 1 || port > 65535) {
        return fail(QStringLiteral("the port must be between 1 and 65535"));
    }
    address.port = static_cast<quint16>(port);
    return address;
}

QString ObsAddress::display() const
{
    const QString shownHost = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    return shownHost + QLatin1Char(':') + QString::number(port);
}

QString ObsAddress::webSocketUrl() const
{
    return QStringLiteral("ws://") + display();
}
