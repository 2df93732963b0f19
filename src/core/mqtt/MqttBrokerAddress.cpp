#include "mqtt/MqttBrokerAddress.h"

#include "base/Problem.h"
#include "base/Text.h"
#include "model/LightCount.h"
#include "mqtt/MqttTallyTopics.h"

#include <QUrl>

namespace {

const QString expected = QStringLiteral("expected mqtt://[USER@]HOST[:PORT][/PREFIX] or mqtts://...");

// The address as quoted in a refusal.
QString quoted(const QString& text)
{
    return Text::middleElided(text, 120);
}

std::optional<MqttBrokerAddress> refuse(const QString& text, const QString& why, QString* problem)
{
    reportProblem(problem, QStringLiteral("bad MQTT broker '%1': %2").arg(quoted(text), why));
    return std::nullopt;
}

// What a topic may hold at most, in UTF-8 bytes: its length goes in two.
constexpr qsizetype topicLimit = 65535;

// The prefix as the broker will see it, read after the percent-escapes are
// decoded: %23 is as much a wildcard as #, and %00 would end the topic where
// the library reads it as a C string. An empty level would make the topics
// differ from what the operator reads in it; a leading $ names the broker's
// own topics, which take no publishing.
std::optional<QString> prefixProblem(const QString& prefix)
{
    if (prefix.contains(QLatin1Char('+')) || prefix.contains(QLatin1Char('#'))) {
        return QStringLiteral("the topic prefix may not contain + or #");
    }
    if (prefix.contains(QChar(0))) {
        return QStringLiteral("the topic prefix may not contain a NUL character (%00)");
    }
    if (prefix.startsWith(QLatin1Char('$'))) {
        return QStringLiteral("the topic prefix may not start with $, which marks the broker's own topics");
    }
    if (prefix.split(QLatin1Char('/')).contains(QString())) {
        return QStringLiteral("the topic prefix has an empty level (//)");
    }
    // The longest topic under the prefix is the last light's state word.
    const qsizetype suffix = MqttTallyTopics::lightState(QString(), static_cast<int>(tallyLightCount)).toUtf8().size();
    const qsizetype bytes = prefix.toUtf8().size();
    if (bytes + suffix > topicLimit) {
        return QStringLiteral("the topic prefix is %1 bytes long; it may be at most %2")
            .arg(QString::number(bytes), QString::number(topicLimit - suffix));
    }
    return std::nullopt;
}

// The user name is no topic, so + and # are its own business; a NUL would
// cut it short where the library reads it.
std::optional<QString> userProblem(const QString& user)
{
    if (user.contains(QChar(0))) {
        return QStringLiteral("the user name may not contain a NUL character (%00)");
    }
    return std::nullopt;
}

} // namespace

bool MqttBrokerAddress::looksLikeAddress(const QString& text)
{
    return text.startsWith(QLatin1String("mqtt://")) || text.startsWith(QLatin1String("mqtts://"));
}

std::optional<MqttBrokerAddress> MqttBrokerAddress::parse(const QString& text, QString* problem)
{
    if (!looksLikeAddress(text)) {
        return refuse(text, expected, problem);
    }
    // Before the URL is read: '#' would end it, and what follows would be
    // taken for a fragment rather than seen as a wildcard in the prefix.
    if (text.contains(QLatin1Char('#'))) {
        return refuse(text, QStringLiteral("the topic prefix may not contain + or #"), problem);
    }
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid()) {
        return refuse(text, expected, problem);
    }
    if (!url.password().isEmpty()) {
        return refuse(text,
            QStringLiteral("a password does not go in the address; give it in a file or the environment"), problem);
    }
    if (url.host().isEmpty()) {
        return refuse(text, QStringLiteral("no host; ") + expected, problem);
    }
    if (url.hasQuery() || url.hasFragment()) {
        return refuse(text, expected, problem);
    }
    MqttBrokerAddress address;
    address.tls = url.scheme() == QLatin1String("mqtts");
    address.user = url.userName(QUrl::FullyDecoded);
    if (const std::optional<QString> bad = userProblem(address.user)) {
        return refuse(text, *bad, problem);
    }
    address.host = url.host();
    const int port = url.port(address.tls ? tlsPort : plainPort);
    if (port <= 0) {
        return refuse(text, QStringLiteral("the port must be 1 to 65535"), problem);
    }
    address.port = static_cast<quint16>(port);
    QString path = url.path(QUrl::FullyDecoded);
    while (path.startsWith(QLatin1Char('/'))) {
        path.remove(0, 1);
    }
    while (path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    if (!path.isEmpty()) {
        if (const std::optional<QString> bad = prefixProblem(path)) {
            return refuse(text, *bad, problem);
        }
    }
    address.prefix = path;
    return address;
}

QString MqttBrokerAddress::topicPrefix(const QString& instance) const
{
    return prefix.isEmpty() ? QStringLiteral("mixdesk-tally/") + instance : prefix;
}

QString MqttBrokerAddress::toString() const
{
    QString text = tls ? QStringLiteral("mqtts://") : QStringLiteral("mqtt://");
    if (!user.isEmpty()) {
        text += user + QLatin1Char('@');
    }
    text += host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    text += QLatin1Char(':') + QString::number(port);
    if (!prefix.isEmpty()) {
        text += QLatin1Char('/') + prefix;
    }
    return text;
}

QString mqttInstanceName(const QString& hostName)
{
    QString name = hostName.trimmed();
    for (QChar& c : name) {
        if (c == QLatin1Char('/') || c == QLatin1Char('+') || c == QLatin1Char('#') || c.isSpace()) {
            c = QLatin1Char('-');
        }
    }
    return name.isEmpty() ? QStringLiteral("studio") : name;
}
