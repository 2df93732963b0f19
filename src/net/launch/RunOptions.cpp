#include "launch/RunOptions.h"

#include "model/LightCount.h"
#include "mqtt/MqttTallyTopics.h"
#include "outputs/MosquittoClient.h"
#include "outputs/MqttPublisher.h"
#include "outputs/TslSender.h"
#include "outputs/WebTallyServer.h"
#include "sources/MixdeskShotSource.h"
#include "sources/ObsShotSource.h"
#include "sources/TslShotSource.h"
#include "tally/TallyCycle.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QSysInfo>

namespace {

// The value of option name at arguments[index] ("--name VALUE" or
// "--name=VALUE"), removing what it used. Nothing when arguments[index] is
// another argument; a usage problem when the value is missing.
struct TakenValue {
    bool matched = false;
    QString value;
    std::optional<QString> problem;
};

TakenValue takeValue(QStringList& arguments, qsizetype index, const QString& name)
{
    TakenValue taken;
    const QString& argument = arguments[index];
    const QString withEquals = name + QLatin1Char('=');
    if (argument == name) {
        taken.matched = true;
        if (index + 1 >= arguments.size()) {
            taken.problem = QStringLiteral("%1 needs a value").arg(name);
            arguments.removeAt(index);
            return taken;
        }
        taken.value = arguments[index + 1];
        arguments.remove(index, 2);
    } else if (argument.startsWith(withEquals)) {
        taken.matched = true;
        taken.value = argument.mid(withEquals.size());
        arguments.removeAt(index);
    }
    if (taken.matched && taken.value.isEmpty() && !taken.problem) {
        taken.problem = QStringLiteral("%1 needs a value").arg(name);
    }
    return taken;
}

// The options that may be given more than once, each adding a value.
// Each marks its kind of output as given on the command line.
struct RepeatableOption {
    QString name;
    QStringList RunOptions::*field;
    bool RunOptions::*given;
};

const RepeatableOption repeatableOptions[] = {
    { QStringLiteral("--tsl"), &RunOptions::tsl31Destinations, &RunOptions::tslGiven },
    { QStringLiteral("--tsl5"), &RunOptions::tsl50Destinations, &RunOptions::tslGiven },
    { QStringLiteral("--mqtt"), &RunOptions::mqttBrokers, &RunOptions::mqttGiven },
};

// Whole-number options and the smallest value each takes.
struct NumberOption {
    QString name;
    int RunOptions::*field;
    int minimum;
};

const NumberOption numberOptions[] = {
    { QStringLiteral("--tsl-offset"), &RunOptions::tslIndexOffset, 0 },
};

// Takes a repeatable or a number option at arguments[index] into options,
// marking the kind of output it belongs to as given.
TakenValue takeOtherOption(QStringList& arguments, qsizetype index, RunOptions* options)
{
    for (const RepeatableOption& option : repeatableOptions) {
        TakenValue taken = takeValue(arguments, index, option.name);
        if (taken.matched) {
            if (!taken.problem) {
                (options->*option.field).append(taken.value);
                options->*option.given = true;
            }
            return taken;
        }
    }
    for (const NumberOption& option : numberOptions) {
        TakenValue taken = takeValue(arguments, index, option.name);
        if (taken.matched) {
            bool isNumber = false;
            const int number = taken.value.toInt(&isNumber);
            if (!taken.problem && (!isNumber || number < option.minimum)) {
                taken.problem = QStringLiteral("%1 needs a whole number of at least %2, not '%3'")
                                    .arg(option.name)
                                    .arg(option.minimum)
                                    .arg(taken.value);
            }
            options->*option.field = number;
            options->tslGiven = true;
            return taken;
        }
    }
    return {};
}

// A TSL listener on the address, listening already, or nothing with the
// reason (a bad address, a port in use).
std::unique_ptr<ShotSource> makeTslShotSource(const QString& address, QString* problem)
{
    const std::optional<TslShotSource::Listen> listen = TslShotSource::parseAddress(address, problem);
    if (!listen) {
        return nullptr;
    }
    auto source = std::make_unique<TslShotSource>(*listen);
    if (!source->start(problem)) {
        return nullptr;
    }
    return source;
}

// --web's value, checked as it is taken so that a bad address is a usage
// problem before anything starts.
std::optional<QString> takeWebOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched)
{
    TakenValue taken = takeValue(arguments, index, QStringLiteral("--web"));
    *matched = taken.matched;
    if (!taken.matched || taken.problem) {
        return taken.problem;
    }
    QString problem;
    options->web = WebListenAddress::parse(taken.value, &problem);
    if (!options->web) {
        return QStringLiteral("--web: ") + problem;
    }
    return std::nullopt;
}

// Checks and stores the values of the lost-source options.
std::optional<QString> applyLostSourceValue(const QString& name, const QString& value, RunOptions* options)
{
    if (name == QLatin1String("--when-lost")) {
        options->whenSourceLost = LostSourcePolicy::actionNamed(value);
        if (!options->whenSourceLost) {
            return QStringLiteral("--when-lost takes %1, not '%2'")
                .arg(LostSourcePolicy::actionNames().join(QStringLiteral(", ")), value);
        }
        return std::nullopt;
    }
    bool isNumber = false;
    const int seconds = value.toInt(&isNumber);
    if (!isNumber || seconds < 0) {
        return QStringLiteral("--blink-after takes a whole number of seconds, not '%1'").arg(value);
    }
    options->blinkAfterSeconds = seconds;
    return std::nullopt;
}

} // namespace

LostSourcePolicy RunOptions::lostSourcePolicy(LostSourcePolicy base) const
{
    if (whenSourceLost) {
        base.action = *whenSourceLost;
    }
    if (blinkAfterSeconds) {
        base.blinkAfterSeconds = *blinkAfterSeconds;
    }
    if (lightsOffAtQuit) {
        base.turnOffAtQuit = true;
    }
    return base;
}

std::optional<QString> RunOptions::takeFrom(QStringList& arguments, RunOptions* options)
{
    const struct {
        QString name;
        QString RunOptions::*field; // null: checked by applyLostSourceValue
    } known[] = {
        { QStringLiteral("--source"), &RunOptions::source },
        { QStringLiteral("--password-file"), &RunOptions::passwordFile },
        { QStringLiteral("--mqtt-password-file"), &RunOptions::mqttPasswordFile },
        { QStringLiteral("--mqtt-ca-file"), &RunOptions::mqttCaFile },
        { QStringLiteral("--when-lost"), nullptr },
        { QStringLiteral("--blink-after"), nullptr },
    };
    qsizetype index = 0;
    while (index < arguments.size()) {
        if (arguments[index] == QLatin1String("--")) {
            break; // what follows are files, whatever their names
        }
        if (arguments[index] == QLatin1String("--lights-off-at-quit")) {
            options->lightsOffAtQuit = true;
            arguments.removeAt(index);
            continue;
        }
        if (arguments[index] == QLatin1String("--mqtt-discovery")) {
            options->mqttDiscovery = true;
            options->mqttGiven = true;
            arguments.removeAt(index);
            continue;
        }
        bool matched = false;
        for (const auto& option : known) {
            TakenValue taken = takeValue(arguments, index, option.name);
            if (taken.problem) {
                return taken.problem;
            }
            if (taken.matched && option.field == nullptr) {
                if (std::optional<QString> problem = applyLostSourceValue(option.name, taken.value, options)) {
                    return problem;
                }
                matched = true;
                break;
            }
            if (taken.matched) {
                options->*option.field = taken.value;
                if (option.field == &RunOptions::source) {
                    options->sourceGiven = true;
                }
                if (option.field == &RunOptions::mqttPasswordFile || option.field == &RunOptions::mqttCaFile) {
                    options->mqttGiven = true;
                }
                matched = true;
                break;
            }
        }
        if (!matched) {
            if (std::optional<QString> problem = takeWebOption(arguments, index, options, &matched)) {
                return problem;
            }
        }
        if (!matched) {
            TakenValue taken = takeOtherOption(arguments, index, options);
            if (taken.problem) {
                return taken.problem;
            }
            matched = taken.matched;
        }
        if (!matched) {
            ++index;
        }
    }
    return std::nullopt;
}

QStringList RunOptions::helpLines()
{
    return {
        QStringLiteral("  --source SOURCE       where the shots come from: mixdesk (the default),"),
        QStringLiteral("                        obs://HOST[:PORT] for OBS Studio (port 4455 by default), or TSL"),
        QStringLiteral("                        UMD from a switcher: tsl://[ADDRESS:]PORT (3.1) or"),
        QStringLiteral("                        tsl5://[ADDRESS:]PORT (5.0) over UDP, tsl+tcp:// or tsl5+tcp://"),
        QStringLiteral("  --password-file FILE  the switcher's password, on the file's first line"),
        QStringLiteral("                        (else from MIXDESK_TALLY_OBS_PASSWORD)"),
        QStringLiteral("  --tsl URL             send the lights as TSL UMD 3.1 to udp://HOST:PORT (repeatable)"),
        QStringLiteral("  --tsl5 URL            send the lights as TSL UMD 5.0 to udp:// or tcp://HOST:PORT"),
        QStringLiteral("                        (repeatable)"),
        QStringLiteral("  --tsl-offset N        light N is TSL display index N + offset (default 0)"),
        QStringLiteral("  --web [ADDRESS:]PORT  serve the web tally page for phones (every interface if no ADDRESS)"),
        QStringLiteral("  --mqtt URL            publish the lights to an MQTT broker:"),
        QStringLiteral("                        mqtt://[USER@]HOST[:PORT][/PREFIX], mqtts:// for TLS (repeatable;"),
        QStringLiteral("                        topics under mixdesk-tally/<host name> unless PREFIX is given)"),
        QStringLiteral("  --mqtt-password-file  FILE whose first line is the brokers' password"),
        QStringLiteral("                        (else from MIXDESK_TALLY_MQTT_PASSWORD)"),
        QStringLiteral("  --mqtt-ca-file FILE   for mqtts://: a CA certificate to trust besides the system's"),
        QStringLiteral("  --mqtt-discovery      announce every light to Home Assistant (MQTT discovery)"),
        QStringLiteral("  --when-lost ACTION    while the switcher is lost: keep the lights (keep, the"),
        QStringLiteral("                        default), turn them off (off), or blink them (blink)"),
        QStringLiteral("  --blink-after N       with --when-lost blink: N seconds of keeping the lights"),
        QStringLiteral("                        before they blink (default 10)"),
        QStringLiteral("  --lights-off-at-quit  turn every light off when the program ends"),
    };
}

namespace {

// The first line of a password file, without its line end (editors add
// one); nothing, with the reason, when it cannot be read.
std::optional<QString> firstLineOf(const QString& path, QString* problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (problem) {
            *problem = QStringLiteral("cannot read the password file '%1': %2").arg(path, file.errorString());
        }
        return std::nullopt;
    }
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

} // namespace

std::optional<QString> readSwitcherPassword(const RunOptions& options, QString* problem)
{
    if (options.passwordFile.isEmpty()) {
        const QString fromEnvironment = QProcessEnvironment::systemEnvironment().value(obsPasswordVariable);
        return fromEnvironment.isEmpty() ? options.savedPassword : fromEnvironment;
    }
    return firstLineOf(options.passwordFile, problem);
}

std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem)
{
    if (options.source == QLatin1String("mixdesk")) {
        return std::make_unique<MixdeskShotSource>();
    }
    if (TslShotSource::isTslAddress(options.source)) {
        return makeTslShotSource(options.source, problem);
    }
    if (ObsAddress::looksLikeAddress(options.source)) {
        const std::optional<ObsAddress> address = ObsAddress::parse(options.source, problem);
        if (!address) {
            return nullptr;
        }
        const std::optional<QString> password = readSwitcherPassword(options, problem);
        if (!password) {
            return nullptr;
        }
        ObsShotSource::Settings settings;
        settings.address = *address;
        settings.password = *password;
        return std::make_unique<ObsShotSource>(settings);
    }
    if (problem) {
        *problem = QStringLiteral("unknown source '%1' (expected mixdesk, obs://HOST[:PORT], tsl://[ADDRESS:]PORT or "
                                  "tsl5://[ADDRESS:]PORT)")
                       .arg(options.source);
    }
    return nullptr;
}

std::unique_ptr<TslSender> makeTslSender(const RunOptions& options, QString* problem)
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
                return nullptr;
            }
            destinations.append(*destination);
        }
        const int maxOffset = TslTallyEncoding::maxOffset(group.version, tallyLightCount);
        if (!group.texts.isEmpty() && options.tslIndexOffset > maxOffset) {
            if (problem) {
                *problem = QStringLiteral("--tsl-offset %1 is too large for %2: display indexes end at %3, so "
                                          "the offset can be at most %4")
                               .arg(options.tslIndexOffset)
                               .arg(group.option)
                               .arg(maxOffset + tallyLightCount)
                               .arg(maxOffset);
            }
            return nullptr;
        }
    }
    if (destinations.isEmpty()) {
        return nullptr;
    }
    return std::make_unique<TslSender>(destinations, options.tslIndexOffset);
}

std::vector<std::unique_ptr<MqttPublisher>> makeMqttPublishers(const RunOptions& options, QString* problem)
{
    QList<MqttBrokerAddress> addresses;
    bool anyUser = false;
    for (const QString& text : options.mqttBrokers) {
        const std::optional<MqttBrokerAddress> address = MqttBrokerAddress::parse(text, problem);
        if (!address) {
            return {};
        }
        anyUser = anyUser || !address->user.isEmpty();
        addresses.append(*address);
    }
    if (addresses.isEmpty()) {
        return {};
    }
    QString password;
    if (!options.mqttPasswordFile.isEmpty()) {
        const std::optional<QString> fromFile = firstLineOf(options.mqttPasswordFile, problem);
        if (!fromFile) {
            return {};
        }
        password = *fromFile;
    } else if (anyUser) {
        password = QProcessEnvironment::systemEnvironment().value(mqttPasswordVariable);
    }
    if (!options.mqttCaFile.isEmpty() && !QFileInfo(options.mqttCaFile).isReadable()) {
        if (problem) {
            *problem = QStringLiteral("cannot read the MQTT CA file '%1'").arg(options.mqttCaFile);
        }
        return {};
    }
    const QString instance = mqttInstanceName(QSysInfo::machineHostName());
    std::vector<std::unique_ptr<MqttPublisher>> publishers;
    for (const MqttBrokerAddress& address : addresses) {
        MosquittoClient::Settings client;
        client.address = address;
        client.password = password;
        client.caFile = options.mqttCaFile;
        // The process id keeps two programs on one machine from taking each
        // other's session at the broker.
        client.clientId = QStringLiteral("mixdesk-tally-%1-%2").arg(instance).arg(QCoreApplication::applicationPid());
        client.will = { MqttTallyTopics::status(address.topicPrefix(instance)), MqttTallyTopics::offline, true };
        MqttPublisher::Settings settings;
        settings.address = address;
        settings.instance = instance;
        settings.discovery = options.mqttDiscovery;
        publishers.push_back(std::make_unique<MqttPublisher>(settings, std::make_unique<MosquittoClient>(client)));
    }
    return publishers;
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
}

void StartedOutputs::removeFrom(TallyCycle& cycle) const
{
    cycle.removeOutput(tsl.get());
    cycle.removeOutput(web.get());
    for (const std::unique_ptr<MqttPublisher>& publisher : mqtt) {
        cycle.removeOutput(publisher.get());
    }
}

std::optional<StartedOutputs> startOutputs(const RunOptions& options, OutputsProblem* problem)
{
    StartedOutputs outputs;
    QString reason;
    outputs.tsl = makeTslSender(options, &reason);
    if (!outputs.tsl && !reason.isEmpty()) {
        *problem = { reason, true };
        return std::nullopt;
    }
    outputs.mqtt = makeMqttPublishers(options, &reason);
    if (outputs.mqtt.empty() && !reason.isEmpty()) {
        *problem = { reason, true };
        return std::nullopt;
    }
    outputs.web = startWebTally(options, &reason);
    if (options.web && !outputs.web) {
        *problem = { reason, false };
        return std::nullopt;
    }
    return outputs;
}
