#include "sources/SwitcherAddress.h"

#include "base/Problem.h"

#include <QRegularExpression>
#include <QUrl>

namespace {

// The port as written after the host, if the address has one. QUrl refuses
// a port it cannot take with a message about the whole URL (and an empty
// host), so the port is looked at first, to be named as the mistake.
std::optional<QString> writtenPort(const QString& afterScheme)
{
    QString authority = afterScheme.left(afterScheme.indexOf(QRegularExpression(QStringLiteral("[/?#]"))));
    authority = authority.mid(authority.lastIndexOf(QLatin1Char('@')) + 1);
    qsizetype colon = -1;
    if (authority.startsWith(QLatin1Char('['))) {
        const qsizetype close = authority.indexOf(QLatin1Char(']'));
        if (close >= 0 && authority.size() > close + 1 && authority.at(close + 1) == QLatin1Char(':')) {
            colon = close + 1;
        }
    } else if (authority.count(QLatin1Char(':')) == 1) {
        colon = authority.indexOf(QLatin1Char(':'));
    }
    if (colon < 0) {
        return std::nullopt;
    }
    return authority.mid(colon + 1);
}

// Why the written port cannot be used, or nothing when it can (or is left
// out, for the default).
std::optional<QString> portProblem(const QString& afterScheme)
{
    const std::optional<QString> port = writtenPort(afterScheme);
    if (!port || port->isEmpty()) {
        return std::nullopt;
    }
    if (!QRegularExpression(QStringLiteral("^[0-9]+$")).match(*port).hasMatch()) {
        return QStringLiteral("the port '%1' is not a number").arg(*port);
    }
    bool fits = false;
    const qulonglong number = port->toULongLong(&fits);
    if (!fits || number < 1 || number > 65535) {
        return QStringLiteral("the port %1 is out of range; it must be between 1 and 65535").arg(*port);
    }
    return std::nullopt;
}

} // namespace

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
    if (const std::optional<QString> why = portProblem(text.mid(prefix.size()))) {
        return fail(*why);
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
