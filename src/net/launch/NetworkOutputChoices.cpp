#include "launch/NetworkOutputChoices.h"

#include "base/Problem.h"
#include "base/UserDefaults.h"
#include "dmx/DmxAddress.h"
#include "dmx/DmxLayout.h"
#include "launch/RunOptions.h"
#include "model/LightCount.h"
#include "mqtt/MqttBrokerAddress.h"
#include "outputs/TslDestination.h"
#include "switchers/SenderAllowList.h"
#include "tsl/TslTallyEncoding.h"

namespace {

struct DestinationGroup {
    const QStringList& texts;
    TslTallyEncoding::Version version;
    QString name;
};

bool checkWeb(const QString& text, QString* problem)
{
    if (text.trimmed().isEmpty()) {
        return reportProblem(
            problem, QStringLiteral("The web tally page needs a port to listen on: [ADDRESS:]PORT, such as 8080"));
    }
    QString why;
    if (!WebListenAddress::parse(text.trimmed(), &why)) {
        return reportProblem(problem, QStringLiteral("Web tally page: ") + why);
    }
    return true;
}

bool checkVmixFeed(const QString& text, const QString& allowedClients, QString* problem)
{
    QString notAllowed;
    if (!SenderAllowList::parse({ allowedClients }, &notAllowed)) {
        return reportProblem(problem, QStringLiteral("vMix tally feed: only from: ") + notAllowed);
    }
    if (text.trimmed().isEmpty()) {
        return reportProblem(problem,
            QStringLiteral("The vMix tally feed needs a port to listen on: [ADDRESS:]PORT, such as 8100 (vMix itself "
                           "uses 8099)"));
    }
    QString why;
    if (!WebListenAddress::parse(text.trimmed(), &why)) {
        return reportProblem(problem, QStringLiteral("vMix tally feed: ") + why);
    }
    return true;
}

bool checkGroup(const DestinationGroup& group, int offset, QString* problem)
{
    for (const QString& text : group.texts) {
        QString why;
        if (!TslDestination::parse(group.version, text, &why)) {
            return reportProblem(problem, group.name + QStringLiteral(": ") + why);
        }
    }
    const int maxOffset = TslTallyEncoding::maxOffset(group.version, tallyLightCount);
    if (!group.texts.isEmpty() && offset > maxOffset) {
        return reportProblem(problem,
            QStringLiteral("The display index offset %1 is too large for %2: display indexes end at %3, so the "
                           "offset can be at most %4")
                .arg(offset)
                .arg(group.name)
                .arg(maxOffset + tallyLightCount)
                .arg(maxOffset));
    }
    return true;
}

// A list as the settings file hands it back: a single value comes back as
// text, an empty list as nothing or one empty text.
QStringList storedList(const UserDefaults& defaults, const QString& key)
{
    QStringList list;
    for (const QString& entry : defaults.objectForKey(key).toStringList()) {
        if (!entry.trimmed().isEmpty()) {
            list.append(entry.trimmed());
        }
    }
    return list;
}

} // namespace

void NetworkOutputChoices::takeTslFrom(const NetworkOutputChoices& other)
{
    tsl31Destinations = other.tsl31Destinations;
    tsl50Destinations = other.tsl50Destinations;
    tslIndexOffset = other.tslIndexOffset;
}

void NetworkOutputChoices::takeMqttFrom(const NetworkOutputChoices& other)
{
    mqttBrokers = other.mqttBrokers;
    mqttDiscovery = other.mqttDiscovery;
    mqttPasswordFile = other.mqttPasswordFile;
    mqttCaFile = other.mqttCaFile;
}

bool NetworkOutputChoices::sameMqttAs(const NetworkOutputChoices& other) const
{
    return mqttBrokers == other.mqttBrokers && mqttDiscovery == other.mqttDiscovery
        && mqttPasswordFile == other.mqttPasswordFile && mqttCaFile == other.mqttCaFile;
}

void NetworkOutputChoices::takeDmxFrom(const NetworkOutputChoices& other)
{
    dmxDestinations = other.dmxDestinations;
    dmxStartChannel = other.dmxStartChannel;
    dmxLayout = other.dmxLayout;
}

bool NetworkOutputChoices::sameDmxAs(const NetworkOutputChoices& other) const
{
    return dmxDestinations == other.dmxDestinations && dmxStartChannel == other.dmxStartChannel
        && dmxLayout == other.dmxLayout;
}

bool NetworkOutputChoices::check(QString* problem) const
{
    if (web && !checkWeb(*web, problem)) {
        return false;
    }
    if (vmixFeed && !checkVmixFeed(*vmixFeed, vmixFeedAllowedClients, problem)) {
        return false;
    }
    if (tslIndexOffset < 0) {
        return reportProblem(
            problem, QStringLiteral("The display index offset must be 0 or more, not %1").arg(tslIndexOffset));
    }
    const DestinationGroup groups[] = {
        { tsl31Destinations, TslTallyEncoding::Version::v31, QStringLiteral("TSL 3.1") },
        { tsl50Destinations, TslTallyEncoding::Version::v50, QStringLiteral("TSL 5.0") },
    };
    for (const DestinationGroup& group : groups) {
        if (!checkGroup(group, tslIndexOffset, problem)) {
            return false;
        }
    }
    for (const QString& broker : mqttBrokers) {
        QString why;
        if (!MqttBrokerAddress::parse(broker, &why)) {
            return reportProblem(problem, QStringLiteral("MQTT: ") + why);
        }
    }
    return checkDmx(problem);
}

bool NetworkOutputChoices::checkDmx(QString* problem) const
{
    for (const QString& destination : dmxDestinations) {
        QString why;
        if (!DmxAddress::parse(destination, &why)) {
            return reportProblem(problem, QStringLiteral("DMX: ") + why);
        }
    }
    const std::optional<DmxLayout::Kind> kind = DmxLayout::kindNamed(dmxLayout);
    if (!kind) {
        return reportProblem(problem,
            QStringLiteral("DMX: the layout is %1, not '%2'")
                .arg(DmxLayout::kindNames().join(QStringLiteral(" or ")), dmxLayout));
    }
    QString why;
    if (!dmxDestinations.isEmpty() && !DmxLayout::make(*kind, dmxStartChannel, int(tallyLightCount), &why)) {
        return reportProblem(problem, QStringLiteral("DMX: ") + why);
    }
    return true;
}

RunOptions NetworkOutputChoices::runOptions() const
{
    RunOptions options;
    if (web) {
        QString ignored; // problem() has said there is none
        options.web = WebListenAddress::parse(web->trimmed(), &ignored);
    }
    if (vmixFeed) {
        QString ignored; // problem() has said there is none
        options.vmixFeed = WebListenAddress::parse(vmixFeed->trimmed(), &ignored);
        if (!vmixFeedAllowedClients.trimmed().isEmpty()) {
            options.vmixFeedAllowedClients = QStringList { vmixFeedAllowedClients.trimmed() };
        }
    }
    options.tsl31Destinations = tsl31Destinations;
    options.tsl50Destinations = tsl50Destinations;
    options.tslIndexOffset = tslIndexOffset;
    options.tslGiven = sendsTsl();
    options.mqttBrokers = mqttBrokers;
    options.mqttDiscovery = mqttDiscovery;
    options.mqttPasswordFile = mqttPasswordFile;
    options.mqttCaFile = mqttCaFile;
    options.mqttGiven = !mqttBrokers.isEmpty();
    options.dmxDestinations = dmxDestinations;
    options.dmxStartChannel = dmxStartChannel;
    options.dmxLayout = dmxLayout;
    options.dmxGiven = !dmxDestinations.isEmpty();
    return options;
}

NetworkOutputChoices NetworkOutputChoices::of(const RunOptions& options)
{
    NetworkOutputChoices choices;
    if (options.web) {
        choices.web = options.web->toString();
    }
    if (options.vmixFeed) {
        choices.vmixFeed = options.vmixFeed->toString();
        choices.vmixFeedAllowedClients = options.vmixFeedAllowedClients.join(QStringLiteral(", "));
    }
    choices.tsl31Destinations = options.tsl31Destinations;
    choices.tsl50Destinations = options.tsl50Destinations;
    choices.tslIndexOffset = options.tslIndexOffset;
    choices.mqttBrokers = options.mqttBrokers;
    choices.mqttDiscovery = options.mqttDiscovery;
    choices.mqttPasswordFile = options.mqttPasswordFile;
    choices.mqttCaFile = options.mqttCaFile;
    choices.dmxDestinations = options.dmxDestinations;
    choices.dmxStartChannel = options.dmxStartChannel;
    choices.dmxLayout = options.dmxLayout;
    return choices;
}

NetworkOutputChoices NetworkOutputChoices::saved(const UserDefaults& defaults)
{
    NetworkOutputChoices choices;
    const QString web = defaults.objectForKey(Preferences::webTally).toString().trimmed();
    if (!web.isEmpty()) {
        choices.web = web;
    }
    const QString vmixFeed = defaults.objectForKey(Preferences::vmixFeed).toString().trimmed();
    if (!vmixFeed.isEmpty()) {
        choices.vmixFeed = vmixFeed;
    }
    choices.vmixFeedAllowedClients = defaults.objectForKey(Preferences::vmixFeedAllowedClients).toString().trimmed();
    choices.tsl31Destinations = storedList(defaults, Preferences::tsl31Destinations);
    choices.tsl50Destinations = storedList(defaults, Preferences::tsl50Destinations);
    choices.tslIndexOffset = defaults.objectForKey(Preferences::tslIndexOffset).toInt();
    choices.mqttBrokers = storedList(defaults, Preferences::mqttBrokers);
    choices.mqttDiscovery = defaults.objectForKey(Preferences::mqttDiscovery).toBool();
    choices.mqttPasswordFile = defaults.objectForKey(Preferences::mqttPasswordFile).toString().trimmed();
    choices.mqttCaFile = defaults.objectForKey(Preferences::mqttCaFile).toString().trimmed();
    choices.dmxDestinations = storedList(defaults, Preferences::dmxDestinations);
    const QVariant start = defaults.objectForKey(Preferences::dmxStartChannel);
    choices.dmxStartChannel = start.isValid() ? start.toInt() : 1;
    const QString layout = defaults.objectForKey(Preferences::dmxLayout).toString().trimmed();
    choices.dmxLayout = layout.isEmpty() ? QStringLiteral("rgb") : layout;
    return choices;
}

void NetworkOutputChoices::save(UserDefaults& defaults) const
{
    defaults.setObject(Preferences::webTally, web.value_or(QString()));
    defaults.setObject(Preferences::vmixFeed, vmixFeed.value_or(QString()));
    defaults.setObject(Preferences::vmixFeedAllowedClients, vmixFeedAllowedClients);
    defaults.setObject(Preferences::tsl31Destinations, tsl31Destinations);
    defaults.setObject(Preferences::tsl50Destinations, tsl50Destinations);
    defaults.setObject(Preferences::tslIndexOffset, tslIndexOffset);
    defaults.setObject(Preferences::mqttBrokers, mqttBrokers);
    defaults.setObject(Preferences::mqttDiscovery, mqttDiscovery);
    defaults.setObject(Preferences::mqttPasswordFile, mqttPasswordFile);
    defaults.setObject(Preferences::mqttCaFile, mqttCaFile);
    defaults.setObject(Preferences::dmxDestinations, dmxDestinations);
    defaults.setObject(Preferences::dmxStartChannel, dmxStartChannel);
    defaults.setObject(Preferences::dmxLayout, dmxLayout);
}
