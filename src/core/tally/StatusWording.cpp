#include "tally/StatusWording.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>

namespace StatusWording {

namespace {

const QString separator = QStringLiteral(" · ");

QString tr(const char* text)
{
    return QCoreApplication::translate("StatusWording", text);
}

QString count(qsizetype n, const char* one, const char* many)
{
    return (n == 1 ? tr(one) : tr(many)).arg(n);
}

QString sourceState(const ShotSource::Details& details, bool running, qsizetype shotCount)
{
    if (details.listens) {
        if (!details.sinceLastMessageMs) {
            return tr("no message yet");
        }
        const QString ago = tr("last message %1 ago").arg(elapsed(*details.sinceLastMessageMs));
        return details.lastSender.isEmpty() ? ago : ago + tr(" from %1").arg(details.lastSender);
    }
    if (!details.link.isEmpty()) {
        return details.link;
    }
    if (!running) {
        return tr("not running");
    }
    return shotCount == 0 ? tr("no shots") : count(shotCount, "%1 shot", "%1 shots");
}

} // namespace

QString source(const ShotSource::Details& details, bool running, qsizetype shotCount)
{
    const QString what = (details.listens ? tr("Listening for %1") : tr("Following %1")).arg(details.followed);
    return what + separator + sourceState(details, running, shotCount);
}

QString outputs(const Outputs& outputs)
{
    QStringList parts;
    if (outputs.phonesConnected) {
        parts.append(tr("Phones: %1 connected").arg(*outputs.phonesConnected));
    }
    if (outputs.tslDestinations > 0) {
        parts.append(tr("TSL: ") + count(outputs.tslDestinations, "%1 destination", "%1 destinations"));
    }
    if (outputs.mqttBrokers == 1) {
        parts.append(outputs.mqttConnected == 1 ? tr("MQTT: connected") : tr("MQTT: not connected"));
    } else if (outputs.mqttBrokers > 1) {
        parts.append(tr("MQTT: %1 of %2 brokers connected").arg(outputs.mqttConnected).arg(outputs.mqttBrokers));
    }
    if (outputs.noTallyBox) {
        parts.append(tr("No box (phones, TSL and MQTT only)"));
    }
    return parts.join(separator);
}

QString situation(const QString& source, const QString& outputs)
{
    return outputs.isEmpty() ? source : source + separator + outputs;
}

QString elapsed(qint64 milliseconds)
{
    const qint64 ms = std::max<qint64>(0, milliseconds);
    if (ms < 10'000) {
        // Always a point, whatever the locale: the line is read at a glance.
        return QString::number(double(ms) / 1000.0, 'f', 1) + tr(" s");
    }
    if (ms < 60'000) {
        return QString::number(ms / 1000) + tr(" s");
    }
    return QString::number(ms / 60'000) + tr(" min");
}

} // namespace StatusWording
