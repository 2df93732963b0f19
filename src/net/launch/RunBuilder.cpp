#include "launch/RunBuilder.h"

#include "base/Problem.h"
#include "base/StandardOutput.h"
#include "base/UserDefaults.h"
#include "dmx/SacnSourceId.h"
#include "model/LightCount.h"
#include "mqtt/MqttTallyTopics.h"
#include "outputs/DmxSender.h"
#include "outputs/MosquittoClient.h"
#include "outputs/MqttPublisher.h"
#include "outputs/TslSender.h"
#include "outputs/VmixFeedServer.h"
#include "outputs/WebTallyServer.h"
#include "sources/MixdeskShotSource.h"
#include "switchers/AtemShotSource.h"
#include "switchers/ObsShotSource.h"
#include "switchers/SenderAllowList.h"
#include "switchers/TslShotSource.h"
#include "switchers/VmixShotSource.h"
#include "tally/CombinedShotSource.h"
#include "tally/TallyCycle.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QSysInfo>

#include <algorithm>

namespace {

// The senders a TSL source takes messages from, or nothing with the reason.
std::optional<SenderAllowList> allowedTslSenders(const RunOptions& options, QString* problem)
{
    QString why;
    std::optional<SenderAllowList> allowed = SenderAllowList::parse(options.tslAllowedSenders, &why);
    if (!allowed && problem) {
        reportProblem(problem, QStringLiteral("--tsl-allow: ") + why);
    }
    return allowed;
}

// A TSL listener on the options' source address, taking messages from the
// senders they allow, listening already; or nothing with the reason (a bad
// address, a port in use).
std::unique_ptr<ShotSource> makeTslShotSource(const RunOptions& options, QString* problem)
{
    const std::optional<TslShotSource::Listen> listen = TslShotSource::parseAddress(options.source, problem);
    if (!listen) {
        return nullptr;
    }
    const std::optional<SenderAllowList> allowed = allowedTslSenders(options, problem);
    if (!allowed) {
        return nullptr;
    }
    auto source = std::make_unique<TslShotSource>(*listen);
    source->setAllowedSenders(*allowed);
    if (options.tslSilenceSeconds) {
        source->chooseSilenceLimit(tslSilenceLimit(*options.tslSilenceSeconds));
    }
    if (!source->start(problem)) {
        return nullptr;
    }
    return source;
}

// The first line of a password file, without its line end (editors add
// one); nothing, with the reason, when it cannot be read.
std::optional<QString> firstLineOf(const QString& path, QString* problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        reportProblem(problem, QStringLiteral("cannot read the password file '%1': %2").arg(path, file.errorString()));
        return std::nullopt;
    }
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

// Whether a password file is said to be readable by others when it is read.
enum class SharedFileWarning { quiet, said };

// The broker's password from its file: an empty one is a mistake (the
// login would go without one and be refused for a reason the operator
// cannot see). A file others may read is used, but said, as ssh says of a
// key: the password is as safe as the file.
std::optional<QString> mqttPasswordFrom(const QString& path, SharedFileWarning warning, QString* problem)
{
    const std::optional<QString> password = firstLineOf(path, problem);
    if (!password) {
        return std::nullopt;
    }
    if (password->isEmpty()) {
        reportProblem(problem,
            QStringLiteral("the MQTT password file '%1' is empty; write the password on its first line").arg(path));
        return std::nullopt;
    }
    const QFileDevice::Permissions readableByOthers = QFileDevice::ReadGroup | QFileDevice::ReadOther;
    if (warning == SharedFileWarning::said && (QFile::permissions(path) & readableByOthers)) {
        printErrorLine(
            QStringLiteral("warning: the MQTT password file '%1' is readable by others; keep it to yourself: "
                           "chmod 600 %1")
                .arg(path));
    }
    return password;
}

} // namespace

std::optional<std::chrono::milliseconds> tslSilenceLimit(int seconds)
{
    if (seconds <= 0) {
        return std::nullopt;
    }
    return std::chrono::seconds(seconds);
}

std::optional<QString> readSwitcherPassword(const RunOptions& options, QString* problem)
{
    if (options.passwordFile.isEmpty()) {
        const QString fromEnvironment = QProcessEnvironment::systemEnvironment().value(obsPasswordVariable);
        return fromEnvironment;
    }
    return firstLineOf(options.passwordFile, problem);
}

std::optional<ShotSource::Kind> shotSourceKindOf(const QString& source)
{
    if (source == QLatin1String("mixdesk")) {
        return ShotSource::Kind::mixdesk;
    }
    if (TslShotSource::isTslAddress(source)) {
        return ShotSource::Kind::tslUmd;
    }
    if (AtemAddress::looksLikeAddress(source)) {
        return ShotSource::Kind::atem;
    }
    if (VmixAddress::looksLikeAddress(source)) {
        return ShotSource::Kind::vmix;
    }
    if (ObsAddress::looksLikeAddress(source)) {
        return ShotSource::Kind::obsStudio;
    }
    return std::nullopt;
}

namespace {

// Whether the options follow several switchers, or one under a label of its
// own: both go through the combined source.
bool followsSeveral(const RunOptions& options)
{
    return !options.additionalSources.isEmpty() || !CombinedShotSource::splitLabel(options.source).label.isEmpty();
}

// The options for each switcher the options follow, in order, with its
// address alone as the source and only the options of its kind (the TSL
// senders for a TSL listener, the password for OBS Studio); and the label
// each goes by. Nothing, with
// the reason, when an address is unknown, two labels are the same, or a
// kind's option has no switcher of that kind.
std::optional<std::vector<RunOptions>> optionsPerSource(
    const RunOptions& options, QStringList* labels, QString* problem)
{
    std::vector<RunOptions> perSource;
    QList<ShotSource::Kind> kinds;
    QStringList givenLabels;
    for (const QString& text : options.sources()) {
        const CombinedShotSource::LabelledAddress labelled = CombinedShotSource::splitLabel(text);
        RunOptions one = options;
        one.source = labelled.address;
        one.additionalSources.clear();
        const std::optional<ShotSource::Kind> kind = shotSourceKindOf(one.source);
        if (kind != ShotSource::Kind::tslUmd) {
            one.tslAllowedSenders.clear();
            one.tslSilenceSeconds.reset();
        }
        if (kind != ShotSource::Kind::obsStudio) {
            one.passwordFile.clear();
        }
        if (!checkShotSource(one, problem)) {
            return std::nullopt;
        }
        perSource.push_back(one);
        kinds.append(*kind);
        givenLabels.append(labelled.label);
    }
    // Said where no switcher of the kind is followed, an option would seem
    // to do what it does not.
    const struct {
        bool given;
        ShotSource::Kind kind;
        QString option;
        QString applies;
    } kindOptions[] = {
        { !options.tslAllowedSenders.isEmpty(), ShotSource::Kind::tslUmd, QStringLiteral("--tsl-allow"),
            QStringLiteral("a TSL source (tsl://, tsl5://…)") },
        { options.tslSilenceSeconds.has_value(), ShotSource::Kind::tslUmd, QStringLiteral("--tsl-silence"),
            QStringLiteral("a TSL source (tsl://, tsl5://…)") },
    };
    for (const auto& kindOption : kindOptions) {
        if (kindOption.given && !kinds.contains(kindOption.kind)) {
            reportProblem(problem,
                QStringLiteral("%1 applies to %2, and none of the sources is one")
                    .arg(kindOption.option, kindOption.applies));
            return std::nullopt;
        }
    }
    if (!CombinedShotSource::chooseLabels(kinds, givenLabels, labels, problem)) {
        return std::nullopt;
    }
    return perSource;
}

} // namespace

bool checkShotSource(const RunOptions& options, QString* problem)
{
    if (followsSeveral(options)) {
        return optionsPerSource(options, nullptr, problem).has_value();
    }
    const std::optional<ShotSource::Kind> kind = shotSourceKindOf(options.source);
    // Said to a source that cannot use it, the list would protect nothing
    // while looking as if it did.
    if (!options.tslAllowedSenders.isEmpty() && kind != ShotSource::Kind::tslUmd) {
        return reportProblem(problem,
            QStringLiteral("--tsl-allow applies to a TSL source (tsl://, tsl5://…), not to '%1'").arg(options.source));
    }
    if (options.tslSilenceSeconds && kind != ShotSource::Kind::tslUmd) {
        return reportProblem(problem,
            QStringLiteral("--tsl-silence applies to a TSL source (tsl://, tsl5://…), not to '%1'")
                .arg(options.source));
    }
    if (!kind) {
        return reportProblem(problem,
            QStringLiteral("unknown source '%1' (expected mixdesk, obs://HOST[:PORT], atem://HOST[:PORT], "
                           "vmix://HOST[:PORT], tsl://[ADDRESS:]PORT or tsl5://[ADDRESS:]PORT)")
                .arg(options.source));
    }
    switch (*kind) {
    case ShotSource::Kind::mixdesk:
        return true;
    case ShotSource::Kind::tslUmd:
        return TslShotSource::parseAddress(options.source, problem) && allowedTslSenders(options, problem);
    case ShotSource::Kind::atem:
        return AtemAddress::parse(options.source, problem).has_value();
    case ShotSource::Kind::vmix:
        return VmixAddress::parse(options.source, problem).has_value();
    case ShotSource::Kind::obsStudio:
        return ObsAddress::parse(options.source, problem).has_value();
    }
    return false;
}

std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem)
{
    if (followsSeveral(options)) {
        QStringList labels;
        const std::optional<std::vector<RunOptions>> perSource = optionsPerSource(options, &labels, problem);
        if (!perSource) {
            return nullptr;
        }
        // A label names shots apart from another switcher's; alone, a
        // switcher is followed as it always was.
        if (perSource->size() == 1) {
            return makeShotSource(perSource->front(), problem);
        }
        std::vector<CombinedShotSource::Member> members;
        for (size_t index = 0; index < perSource->size(); ++index) {
            std::unique_ptr<ShotSource> member = makeShotSource((*perSource)[index], problem);
            if (!member) {
                return nullptr;
            }
            members.push_back({ std::move(member), labels.value(qsizetype(index)) });
        }
        return std::make_unique<CombinedShotSource>(std::move(members));
    }
    if (!checkShotSource(options, problem)) {
        return nullptr;
    }
    switch (*shotSourceKindOf(options.source)) {
    case ShotSource::Kind::mixdesk:
        return std::make_unique<MixdeskShotSource>();
    case ShotSource::Kind::tslUmd:
        return makeTslShotSource(options, problem);
    case ShotSource::Kind::atem: {
        AtemShotSource::Settings settings;
        settings.address = *AtemAddress::parse(options.source, problem);
        settings.mixEffect = options.atemMixEffect - 1;
        return std::make_unique<AtemShotSource>(settings);
    }
    case ShotSource::Kind::vmix: {
        VmixShotSource::Settings settings;
        settings.address = *VmixAddress::parse(options.source, problem);
        return std::make_unique<VmixShotSource>(settings);
    }
    case ShotSource::Kind::obsStudio: {
        const std::optional<QString> password = readSwitcherPassword(options, problem);
        if (!password) {
            return nullptr;
        }
        ObsShotSource::Settings settings;
        settings.address = *ObsAddress::parse(options.source, problem);
        settings.password = *password;
        settings.passwordComesLater = password->isEmpty() && options.passwordFromSecretStore;
        return std::make_unique<ObsShotSource>(settings);
    }
    }
    return nullptr;
}

bool followsSameSwitcher(ShotSource& running, const RunOptions& options)
{
    const std::optional<ShotSource::Kind> kind = shotSourceKindOf(options.source);
    if (!kind || running.kind() != *kind) {
        return false;
    }
    switch (*kind) {
    case ShotSource::Kind::mixdesk:
        return true;
    case ShotSource::Kind::tslUmd: {
        const auto* listener = qobject_cast<TslShotSource*>(&running);
        const std::optional<TslShotSource::Listen> listen = TslShotSource::parseAddress(options.source, nullptr);
        return listener && listen && listener->listen().toString() == listen->toString();
    }
    case ShotSource::Kind::atem: {
        const auto* atem = qobject_cast<AtemShotSource*>(&running);
        const std::optional<AtemAddress> address = AtemAddress::parse(options.source, nullptr);
        return atem && address && atem->settings().address.toString() == address->toString()
            && atem->settings().mixEffect == options.atemMixEffect - 1;
    }
    case ShotSource::Kind::vmix: {
        const auto* vmix = qobject_cast<VmixShotSource*>(&running);
        const std::optional<VmixAddress> address = VmixAddress::parse(options.source, nullptr);
        return vmix && address && vmix->address().toString() == address->toString();
    }
    case ShotSource::Kind::obsStudio: {
        const auto* obs = qobject_cast<ObsShotSource*>(&running);
        const std::optional<ObsAddress> address = ObsAddress::parse(options.source, nullptr);
        return obs && address && obs->address().display() == address->display();
    }
    }
    return false;
}

namespace {

// The TSL destinations the options name, checked against the offset; nothing,
// with the problem, when a destination or the offset is bad.
std::optional<QList<TslDestination>> tslDestinations(const RunOptions& options, QString* problem)
{
    QList<TslDestination> destinations;
    const struct {
        const QStringList& texts;
        TslTallyEncoding::Version version;
        QString option;
    } groups[] = {
        { options.tsl31Destinations, TslTallyEncoding::Version::v31, QStringLiteral("--tsl") },
        { options.tsl50Destinations, TslTallyEncoding::Version::v50, QStringLiteral("--tsl5") },
    };
    for (const auto& group : groups) {
        for (const QString& text : group.texts) {
            std::optional<TslDestination> destination = TslDestination::parse(group.version, text, problem);
            if (!destination) {
                return std::nullopt;
            }
            destinations.append(*destination);
        }
        const int maxOffset = TslTallyEncoding::maxOffset(group.version, tallyLightCount);
        if (!group.texts.isEmpty() && options.tslIndexOffset > maxOffset) {
            reportProblem(problem,
                QStringLiteral("--tsl-offset %1 is too large for %2: display indexes end at %3, so the offset can "
                               "be at most %4")
                    .arg(options.tslIndexOffset)
                    .arg(group.option)
                    .arg(maxOffset + tallyLightCount)
                    .arg(maxOffset));
            return std::nullopt;
        }
    }
    return destinations;
}

// What every MQTT publisher the options ask for shares: the brokers, the
// password and the CA file.
struct MqttSettings {
    QList<MqttBrokerAddress> addresses;
    QString password;
};

// Nothing, with the problem, when an address is bad, the password or CA
// file cannot be read or the password file is empty. warning: whether a
// password file others can read is said (once, when the outputs start).
std::optional<MqttSettings> mqttSettings(const RunOptions& options, SharedFileWarning warning, QString* problem)
{
    MqttSettings settings;
    bool anyUser = false;
    for (const QString& text : options.mqttBrokers) {
        const std::optional<MqttBrokerAddress> address = MqttBrokerAddress::parse(text, problem);
        if (!address) {
            return std::nullopt;
        }
        anyUser = anyUser || !address->user.isEmpty();
        settings.addresses.append(*address);
    }
    if (settings.addresses.isEmpty()) {
        return settings;
    }
    if (!options.mqttPasswordFile.isEmpty()) {
        const std::optional<QString> fromFile = mqttPasswordFrom(options.mqttPasswordFile, warning, problem);
        if (!fromFile) {
            return std::nullopt;
        }
        settings.password = *fromFile;
    } else if (anyUser) {
        settings.password = QProcessEnvironment::systemEnvironment().value(mqttPasswordVariable);
    }
    if (!options.mqttCaFile.isEmpty() && !QFileInfo(options.mqttCaFile).isReadable()) {
        reportProblem(problem, QStringLiteral("cannot read the MQTT CA file '%1'").arg(options.mqttCaFile));
        return std::nullopt;
    }
    return settings;
}

// The sender for checked destinations; none when there are none.
std::unique_ptr<TslSender> tslSenderFor(const QList<TslDestination>& destinations, const RunOptions& options)
{
    if (destinations.isEmpty()) {
        return nullptr;
    }
    return std::make_unique<TslSender>(destinations, options.tslIndexOffset);
}

// The expiry of the lights' state at the brokers: the environment's, when it
// holds a whole number of seconds above zero.
std::chrono::seconds mqttStateExpiry()
{
    bool isNumber = false;
    const int seconds = QProcessEnvironment::systemEnvironment().value(mqttStateExpiryVariable).toInt(&isNumber);
    return isNumber && seconds > 0 ? std::chrono::seconds(seconds) : MqttTallyState::defaultStateExpiry;
}

// One publisher, connecting in the background, per broker of checked
// settings.
std::vector<std::unique_ptr<MqttPublisher>> mqttPublishersFor(const MqttSettings& shared, const RunOptions& options)
{
    const QString instance = mqttInstanceName(QSysInfo::machineHostName());
    std::vector<std::unique_ptr<MqttPublisher>> publishers;
    for (const MqttBrokerAddress& address : shared.addresses) {
        MosquittoClient::Settings client;
        client.address = address;
        client.password = shared.password;
        client.caFile = options.mqttCaFile;
        // The process id keeps two programs on one machine from taking each
        // other's session at the broker.
        client.clientId = QStringLiteral("mixdesk-tally-%1-%2").arg(instance).arg(QCoreApplication::applicationPid());
        client.will = { MqttTallyTopics::status(address.topicPrefix(instance)), MqttTallyTopics::offline, true };
        MqttPublisher::Settings settings;
        settings.address = address;
        settings.instance = instance;
        settings.discovery = options.mqttDiscovery;
        settings.stateExpiry = mqttStateExpiry();
        publishers.push_back(std::make_unique<MqttPublisher>(settings, std::make_unique<MosquittoClient>(client)));
    }
    return publishers;
}

// What a DMX sender needs, checked: the destinations and the layout.
struct DmxSettings {
    QList<DmxAddress> destinations;
    std::optional<DmxLayout> layout;
};

std::optional<DmxSettings> dmxSettings(const RunOptions& options, QString* problem)
{
    DmxSettings settings;
    for (const QString& text : options.dmxDestinations) {
        const std::optional<DmxAddress> address = DmxAddress::parse(text, problem);
        if (!address) {
            return std::nullopt;
        }
        settings.destinations.append(*address);
    }
    const std::optional<DmxLayout::Kind> kind = DmxLayout::kindNamed(options.dmxLayout);
    if (!kind) {
        reportProblem(problem,
            QStringLiteral("--dmx-layout takes %1, not '%2'")
                .arg(DmxLayout::kindNames().join(QStringLiteral(" or ")), options.dmxLayout));
        return std::nullopt;
    }
    QString why;
    settings.layout = DmxLayout::make(*kind, options.dmxStartChannel, int(tallyLightCount), &why);
    if (!settings.layout) {
        reportProblem(problem, QStringLiteral("--dmx-start: ") + why);
        return std::nullopt;
    }
    return settings;
}

// The sender for checked settings; none when there is no destination.
std::unique_ptr<DmxSender> dmxSenderFor(const DmxSettings& settings)
{
    if (settings.destinations.isEmpty()) {
        return nullptr;
    }
    E131Packet::Source source;
    const bool anySacn = std::any_of(settings.destinations.begin(), settings.destinations.end(),
        [](const DmxAddress& address) { return address.protocol == DmxAddress::Protocol::sacn; });
    if (anySacn) {
        source.cid = sacnSourceId(UserDefaults::standardUserDefaults());
    }
    return std::make_unique<DmxSender>(settings.destinations, *settings.layout, source);
}

} // namespace

bool checkOutputs(const RunOptions& options, QString* problem)
{
    return tslDestinations(options, problem) && mqttSettings(options, SharedFileWarning::quiet, problem)
        && dmxSettings(options, problem);
}

std::unique_ptr<DmxSender> makeDmxSender(const RunOptions& options, QString* problem)
{
    const std::optional<DmxSettings> settings = dmxSettings(options, problem);
    return settings ? dmxSenderFor(*settings) : nullptr;
}

std::unique_ptr<TslSender> makeTslSender(const RunOptions& options, QString* problem)
{
    const std::optional<QList<TslDestination>> destinations = tslDestinations(options, problem);
    return destinations ? tslSenderFor(*destinations, options) : nullptr;
}

std::vector<std::unique_ptr<MqttPublisher>> makeMqttPublishers(const RunOptions& options, QString* problem)
{
    const std::optional<MqttSettings> shared = mqttSettings(options, SharedFileWarning::said, problem);
    if (!shared) {
        return {};
    }
    return mqttPublishersFor(*shared, options);
}

std::unique_ptr<WebTallyServer> startWebTally(const RunOptions& options, QString* problem)
{
    if (!options.web) {
        return nullptr;
    }
    auto server = std::make_unique<WebTallyServer>();
    if (!server->listen(*options.web, problem)) {
        return nullptr;
    }
    return server;
}

std::optional<SenderAllowList> vmixFeedAllowList(const RunOptions& options, QString* problem)
{
    QString why;
    std::optional<SenderAllowList> allowed = SenderAllowList::parse(options.vmixFeedAllowedClients, &why);
    if (!allowed) {
        reportProblem(problem, QStringLiteral("--vmix-feed-allow: ") + why);
    }
    return allowed;
}

std::unique_ptr<VmixFeedServer> startVmixFeed(const RunOptions& options, QString* problem)
{
    if (!options.vmixFeed) {
        return nullptr;
    }
    auto server = std::make_unique<VmixFeedServer>();
    const std::optional<SenderAllowList> allowed = vmixFeedAllowList(options, problem);
    if (!allowed) {
        return nullptr;
    }
    server->setAllowedClients(*allowed);
    if (!server->listen(*options.vmixFeed, problem)) {
        return nullptr;
    }
    return server;
}

StartedOutputs::StartedOutputs() = default;
StartedOutputs::StartedOutputs(StartedOutputs&&) noexcept = default;
StartedOutputs& StartedOutputs::operator=(StartedOutputs&&) noexcept = default;
StartedOutputs::~StartedOutputs() = default;

void StartedOutputs::addTo(TallyCycle& cycle) const
{
    cycle.addOutput(tsl.get());
    cycle.addOutput(web.get());
    for (const std::unique_ptr<MqttPublisher>& publisher : mqtt) {
        cycle.addOutput(publisher.get());
    }
    cycle.addOutput(dmx.get());
    cycle.addOutput(vmixFeed.get());
}

void StartedOutputs::removeFrom(TallyCycle& cycle) const
{
    cycle.removeOutput(tsl.get());
    cycle.removeOutput(web.get());
    for (const std::unique_ptr<MqttPublisher>& publisher : mqtt) {
        cycle.removeOutput(publisher.get());
    }
    cycle.removeOutput(dmx.get());
    cycle.removeOutput(vmixFeed.get());
}

std::optional<StartedOutputs> startOutputs(const RunOptions& options, QString* problem)
{
    // Every check first (each file read once), so that a bad choice starts
    // nothing at all.
    const std::optional<QList<TslDestination>> destinations = tslDestinations(options, problem);
    const std::optional<MqttSettings> mqtt
        = destinations ? mqttSettings(options, SharedFileWarning::said, problem) : std::nullopt;
    const std::optional<DmxSettings> dmx = mqtt ? dmxSettings(options, problem) : std::nullopt;
    if (!dmx) {
        return std::nullopt;
    }
    StartedOutputs outputs;
    outputs.tsl = tslSenderFor(*destinations, options);
    outputs.dmx = dmxSenderFor(*dmx);
    outputs.mqtt = mqttPublishersFor(*mqtt, options);
    outputs.web = startWebTally(options, problem);
    if (options.web && !outputs.web) {
        return std::nullopt;
    }
    outputs.vmixFeed = startVmixFeed(options, problem);
    if (options.vmixFeed && !outputs.vmixFeed) {
        return std::nullopt;
    }
    return outputs;
}
