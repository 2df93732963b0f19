#include "outputs/WebListenAddress.h"

#include "base/Problem.h"
namespace {

std::optional<quint16> parsePort(const QString& text)
{
    bool isNumber = false;
    const uint port = text.toUInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535 || text.startsWith(QLatin1Char('+'))) {
        return std::nullopt;
    }
    return static_cast<quint16>(port);
}

std::optional<QHostAddress> parseHost(const QString& text)
{
    if (text == QLatin1String("localhost")) {
        return QHostAddress(QHostAddress::LocalHost);
    }
    if (text == QLatin1String("*")) {
        return QHostAddress(QHostAddress::Any);
    }
    QHostAddress address;
    if (!address.setAddress(text)) {
        return std::nullopt;
    }
    return address;
}

} // namespace

std::optional<WebListenAddress> WebListenAddress::parse(const QString& text, QString* problem)
{
    QString hostText;
    QString portText = text;
    if (text.startsWith(QLatin1Char('['))) {
        // An IPv6 address keeps its colons inside the brackets.
        const qsizetype close = text.indexOf(QLatin1String("]:"));
        if (close < 0) {
            reportProblem(problem, QStringLiteral("'%1' is not [ADDRESS:]PORT").arg(text));
            return std::nullopt;
        }
        hostText = text.mid(1, close - 1);
        portText = text.mid(close + 2);
    } else if (const qsizetype colon = text.lastIndexOf(QLatin1Char(':')); colon >= 0) {
        hostText = text.left(colon);
        portText = text.mid(colon + 1);
    }
    WebListenAddress result;
    const std::optional<quint16> port = parsePort(portText);
    if (!port) {
        reportProblem(problem, QStringLiteral("'%1' is not a port from 1 to 65535").arg(portText));
        return std::nullopt;
    }
    result.port = *port;
    if (!hostText.isNull()) {
        const std::optional<QHostAddress> host = parseHost(hostText);
        if (!host) {
            reportProblem(problem, QStringLiteral("'%1' is not an IP address").arg(hostText));
            return std::nullopt;
        }
        result.address = *host;
    }
    return result;
}

QString WebListenAddress::toString() const
{
    if (address == QHostAddress(QHostAddress::Any)) {
        return QStringLiteral("*:%1").arg(port);
    }
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        return QStringLiteral("[%1]:%2").arg(address.toString()).arg(port);
    }
    return QStringLiteral("%1:%2").arg(address.toString()).arg(port);
}

namespace {

QString pageUrl(const QHostAddress& address, quint16 port)
{
    const QString host = address.protocol() == QAbstractSocket::IPv6Protocol
        ? QStringLiteral("[%1]").arg(address.toString())
        : address.toString();
    return QStringLiteral("http://%1:%2/").arg(host).arg(port);
}

bool reachableFromAnotherDevice(const QHostAddress& address)
{
    return !address.isLoopback() && !address.isLinkLocal() && !address.isMulticast() && !address.isNull()
        && !(address.protocol() == QAbstractSocket::IPv6Protocol && address.scopeId() != QString());
}

} // namespace

QStringList WebListenAddress::pageUrls(quint16 listeningPort, const QList<QHostAddress>& machineAddresses) const
{
    const bool everyInterface = address == QHostAddress(QHostAddress::Any)
        || address == QHostAddress(QHostAddress::AnyIPv4) || address == QHostAddress(QHostAddress::AnyIPv6);
    if (!everyInterface) {
        return { pageUrl(address, listeningPort) };
    }
    QStringList v4;
    QStringList v6;
    for (const QHostAddress& candidate : machineAddresses) {
        if (!reachableFromAnotherDevice(candidate)) {
            continue;
        }
        const bool isV4 = candidate.protocol() == QAbstractSocket::IPv4Protocol;
        if (address == QHostAddress(QHostAddress::AnyIPv4) && !isV4) {
            continue;
        }
        QStringList& list = isV4 ? v4 : v6;
        const QString url = pageUrl(candidate, listeningPort);
        if (!list.contains(url)) {
            list.append(url);
        }
    }
    const QStringList urls = v4 + v6;
    return urls.isEmpty() ? QStringList { pageUrl(QHostAddress(QHostAddress::LocalHost), listeningPort) } : urls;
}
