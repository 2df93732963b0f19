#include "sources/AtemAddress.h"

#include <QUrl>

bool AtemAddress::looksLikeAddress(const QString& text)
{
    return text.startsWith(QLatin1String("atem://"), Qt::CaseInsensitive);
}

std::optional<AtemAddress> AtemAddress::parse(const QString& text, QString* problem)
{
    const auto fail = [&](const QString& why) -> std::optional<AtemAddress> {
        if (problem) {
            *problem
                = QStringLiteral("bad ATEM address '%1': %2 (expected atem://HOST or atem://HOST:PORT)").arg(text, why);
        }
        return std::nullopt;
    };
    if (!looksLikeAddress(text)) {
        return fail(QStringLiteral("it does not start with atem://"));
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
        return fail(QStringLiteral("only a host and a port may follow atem://"));
    }
    const int port = url.port(defaultPort);
    if (port < 1 || port > 65535) {
        return fail(QStringLiteral("the port must be between 1 and 65535"));
    }
    AtemAddress address;
    address.host = url.host();
    address.port = static_cast<quint16>(port);
    return address;
}

QString AtemAddress::display() const
{
    const QString shownHost = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    return shownHost + QLatin1Char(':') + QString::number(port);
}

QString AtemAddress::toString() const
{
    return QStringLiteral("atem://") + display();
}
