#include "launch/HandOverRequest.h"

#include "base/Problem.h"
#include "launch/RunBuilder.h"
#include "launch/RunOptions.h"
#include "mqtt/MqttBrokerAddress.h"
#include "tally/CombinedShotSource.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>

#include <climits>
#include <cmath>

namespace {

namespace Key {
const QString version = QStringLiteral("version");
const QString files = QStringLiteral("files");
const QString source = QStringLiteral("source");
const QString address = QStringLiteral("address");
const QString password = QStringLiteral("password");
const QString allowedSenders = QStringLiteral("allowedSenders");
const QString added = QStringLiteral("added");
const QString web = QStringLiteral("web");
const QString vmixFeed = QStringLiteral("vmixFeed");
const QString vmixFeedAllow = QStringLiteral("vmixFeedAllow");
const QString tsl = QStringLiteral("tsl");
const QString tsl31 = QStringLiteral("tsl31");
const QString tsl50 = QStringLiteral("tsl50");
const QString offset = QStringLiteral("offset");
const QString mqtt = QStringLiteral("mqtt");
const QString brokers = QStringLiteral("brokers");
const QString discovery = QStringLiteral("discovery");
const QString passwordFile = QStringLiteral("passwordFile");
const QString caFile = QStringLiteral("caFile");
const QString dmx = QStringLiteral("dmx");
const QString destinations = QStringLiteral("destinations");
const QString startChannel = QStringLiteral("startChannel");
const QString layout = QStringLiteral("layout");
const QString whenLost = QStringLiteral("whenLost");
const QString blinkAfter = QStringLiteral("blinkAfter");
const QString lightsOffAtQuit = QStringLiteral("lightsOffAtQuit");
const QString taken = QStringLiteral("taken");
const QString problem = QStringLiteral("problem");
} // namespace Key

QString absoluteIn(const QString& folder, const QString& path)
{
    return path.isEmpty() ? path : QDir::cleanPath(QDir(folder).absoluteFilePath(path));
}

// The options a launch can give only when the window starts, and those that
// only qualify another option: handed over without it, they would change
// either nothing the operator can see or more than was asked for.
bool checkHandedOptions(const RunOptions& options, QString* problem)
{
    // The Source menu has no mix effect to choose, and the window keeps no
    // other: only a fresh start follows another one.
    if (options.atemMixEffect != 1) {
        return reportProblem(problem,
            QStringLiteral("--atem-me is taken only when Mixdesk Tally starts: quit the running window to use it"));
    }
    if (!options.sourceGiven && !options.tslAllowedSenders.isEmpty()) {
        return reportProblem(
            problem, QStringLiteral("--tsl-allow goes with --source tsl://… when handed to the running window"));
    }
    if (!options.sourceGiven && !options.passwordFile.isEmpty()) {
        return reportProblem(
            problem, QStringLiteral("--password-file goes with --source obs://… when handed to the running window"));
    }
    if (options.tslGiven && options.tsl31Destinations.isEmpty() && options.tsl50Destinations.isEmpty()) {
        return reportProblem(
            problem, QStringLiteral("--tsl-offset goes with --tsl or --tsl5 when handed to the running window"));
    }
    if (options.mqttGiven && options.mqttBrokers.isEmpty()) {
        return reportProblem(problem,
            QStringLiteral("--mqtt-password-file, --mqtt-ca-file and --mqtt-discovery go with --mqtt when handed to "
                           "the running window"));
    }
    if (options.dmxGiven && options.dmxDestinations.isEmpty()) {
        return reportProblem(
            problem, QStringLiteral("--dmx-start and --dmx-layout go with --dmx when handed to the running window"));
    }
    return true;
}

std::optional<HandOverRequest::Source> sourceOf(const RunOptions& options, QString* problem)
{
    if (!checkShotSource(options, problem)) {
        return std::nullopt;
    }
    // The window's Source menu ticks its chosen source by kind and keeps
    // labels for the switchers added beside it only.
    const CombinedShotSource::LabelledAddress first = CombinedShotSource::splitLabel(options.source);
    if (!first.label.isEmpty()) {
        reportProblem(problem,
            QStringLiteral("the running window cannot take a label on the first --source ('%1'); label the "
                           "others only")
                .arg(options.source));
        return std::nullopt;
    }
    HandOverRequest::Source source;
    source.address = first.address;
    source.allowedSenders = options.tslAllowedSenders;
    source.added = options.additionalSources;
    bool followsObs = false;
    for (const QString& text : options.sources()) {
        const auto kind = shotSourceKindOf(CombinedShotSource::splitLabel(text).address);
        followsObs = followsObs || kind == ShotSource::Kind::obsStudio;
    }
    if (!followsObs) {
        if (!options.passwordFile.isEmpty()) {
            reportProblem(problem,
                QStringLiteral("--password-file applies to an OBS Studio source (obs://…), not to '%1'")
                    .arg(options.sources().join(QStringLiteral("', '"))));
            return std::nullopt;
        }
        return source;
    }
    const std::optional<QString> password = readSwitcherPassword(options, problem);
    if (!password) {
        return std::nullopt;
    }
    source.password = *password;
    return source;
}

bool anyBrokerWithUser(const QStringList& brokers)
{
    for (const QString& text : brokers) {
        const std::optional<MqttBrokerAddress> address = MqttBrokerAddress::parse(text, nullptr);
        if (address && !address->user.isEmpty()) {
            return true;
        }
    }
    return false;
}

bool takeOutputs(const RunOptions& options, HandOverRequest* request, QString* problem)
{
    if (!checkOutputs(options, problem)) {
        return false;
    }
    // The window reads the brokers' password from its own environment, not
    // from this launch's: a password given there would silently not count.
    if (options.mqttGiven && options.mqttPasswordFile.isEmpty() && anyBrokerWithUser(options.mqttBrokers)
        && !QProcessEnvironment::systemEnvironment().value(mqttPasswordVariable).isEmpty()) {
        return reportProblem(problem,
            QStringLiteral("the running window cannot take %1 from this launch: give --mqtt-password-file instead")
                .arg(mqttPasswordVariable));
    }
    request->outputs = NetworkOutputChoices::of(options);
    request->webGiven = options.web.has_value();
    request->vmixFeedGiven = options.vmixFeed.has_value();
    request->tslGiven = options.tslGiven;
    request->mqttGiven = options.mqttGiven;
    request->dmxGiven = options.dmxGiven;
    return true;
}

// Reads the fields of one JSON object, each checked for its type. Absent
// fields are empty; the first of a wrong type stops the reading, with its
// name in the problem.
class FieldReader {
public:
    explicit FieldReader(const QJsonObject& object)
        : m_object(object)
    {
    }

    bool ok() const { return m_problem.isEmpty(); }
    const QString& problem() const { return m_problem; }

    bool has(const QString& key) const { return m_object.contains(key); }

    QString text(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (!value.isUndefined() && !value.isString()) {
            fail(key, QStringLiteral("text"));
        }
        return value.toString();
    }

    QStringList texts(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined()) {
            return {};
        }
        QStringList list;
        for (const QJsonValue& entry : value.toArray()) {
            if (!entry.isString()) {
                break;
            }
            list.append(entry.toString());
        }
        if (!value.isArray() || list.size() != value.toArray().size()) {
            fail(key, QStringLiteral("a list of texts"));
        }
        return list;
    }

    std::optional<int> number(const QString& key, int minimum)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined()) {
            return std::nullopt;
        }
        const double number = value.toDouble(-1.0);
        if (!value.isDouble() || number != std::floor(number) || number < minimum || number > INT_MAX) {
            fail(key, QStringLiteral("a whole number of at least %1").arg(minimum));
            return std::nullopt;
        }
        return static_cast<int>(number);
    }

    bool flag(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (!value.isUndefined() && !value.isBool()) {
            fail(key, QStringLiteral("true or false"));
        }
        return value.toBool();
    }

    QJsonObject object(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (!value.isUndefined() && !value.isObject()) {
            fail(key, QStringLiteral("an object"));
        }
        return value.toObject();
    }

    // A field of another reader failed, or a value read here is not one the
    // program takes.
    void fail(const QString& problem)
    {
        if (m_problem.isEmpty()) {
            m_problem = problem;
        }
    }

private:
    void fail(const QString& key, const QString& expected)
    {
        fail(QStringLiteral("'%1' must be %2").arg(key, expected));
    }

    const QJsonObject& m_object;
    QString m_problem;
};

void readSource(FieldReader& fields, HandOverRequest* request)
{
    if (!fields.has(Key::source)) {
        return;
    }
    const QJsonObject object = fields.object(Key::source);
    FieldReader source(object);
    HandOverRequest::Source read;
    read.address = source.text(Key::address);
    read.password = source.text(Key::password);
    read.allowedSenders = source.texts(Key::allowedSenders);
    if (source.has(Key::added)) {
        read.added = source.texts(Key::added);
    }
    if (read.address.isEmpty()) {
        source.fail(QStringLiteral("'address' must name the source"));
    }
    fields.fail(source.problem());
    request->source = read;
}

void readOutputs(FieldReader& fields, HandOverRequest* request)
{
    NetworkOutputChoices& outputs = request->outputs;
    if (fields.has(Key::web)) {
        request->webGiven = true;
        outputs.web = fields.text(Key::web);
    }
    if (fields.has(Key::vmixFeed)) {
        request->vmixFeedGiven = true;
        outputs.vmixFeed = fields.text(Key::vmixFeed);
        if (fields.has(Key::vmixFeedAllow)) {
            outputs.vmixFeedAllowedClients = fields.text(Key::vmixFeedAllow);
        }
    }
    if (fields.has(Key::tsl)) {
        request->tslGiven = true;
        const QJsonObject object = fields.object(Key::tsl);
        FieldReader tsl(object);
        outputs.tsl31Destinations = tsl.texts(Key::tsl31);
        outputs.tsl50Destinations = tsl.texts(Key::tsl50);
        outputs.tslIndexOffset = tsl.number(Key::offset, 0).value_or(0);
        fields.fail(tsl.problem());
    }
    if (fields.has(Key::mqtt)) {
        request->mqttGiven = true;
        const QJsonObject object = fields.object(Key::mqtt);
        FieldReader mqtt(object);
        outputs.mqttBrokers = mqtt.texts(Key::brokers);
        outputs.mqttDiscovery = mqtt.flag(Key::discovery);
        outputs.mqttPasswordFile = mqtt.text(Key::passwordFile);
        outputs.mqttCaFile = mqtt.text(Key::caFile);
        fields.fail(mqtt.problem());
    }
    if (fields.has(Key::dmx)) {
        request->dmxGiven = true;
        const QJsonObject object = fields.object(Key::dmx);
        FieldReader dmx(object);
        outputs.dmxDestinations = dmx.texts(Key::destinations);
        outputs.dmxStartChannel = dmx.number(Key::startChannel, 1).value_or(1);
        const QString layout = dmx.text(Key::layout);
        outputs.dmxLayout = layout.isEmpty() ? QStringLiteral("rgb") : layout;
        fields.fail(dmx.problem());
    }
}

void readLostSourceChoices(FieldReader& fields, HandOverRequest* request)
{
    if (fields.has(Key::whenLost)) {
        request->whenSourceLost = LostSourcePolicy::actionNamed(fields.text(Key::whenLost));
        if (!request->whenSourceLost) {
            fields.fail(QStringLiteral("'whenLost' must be one of %1")
                            .arg(LostSourcePolicy::actionNames().join(QStringLiteral(", "))));
        }
    }
    request->blinkAfterSeconds = fields.number(Key::blinkAfter, 0);
    request->lightsOffAtQuit = fields.flag(Key::lightsOffAtQuit);
}

void readFiles(FieldReader& fields, HandOverRequest* request)
{
    for (const QString& file : fields.texts(Key::files)) {
        // The window's folder is not the sender's: a relative path would
        // name some other file.
        if (!QDir::isAbsolutePath(file)) {
            fields.fail(QStringLiteral("a file must be given with its absolute path, not as '%1'").arg(file));
            return;
        }
        request->files.append(QDir::cleanPath(file));
    }
}

QJsonObject sourceObject(const HandOverRequest::Source& source)
{
    QJsonObject object { { Key::address, source.address } };
    if (!source.password.isEmpty()) {
        object.insert(Key::password, source.password);
    }
    if (!source.allowedSenders.isEmpty()) {
        object.insert(Key::allowedSenders, QJsonArray::fromStringList(source.allowedSenders));
    }
    if (source.added) {
        object.insert(Key::added, QJsonArray::fromStringList(*source.added));
    }
    return object;
}

void putOutputs(const HandOverRequest& request, QJsonObject* root)
{
    const NetworkOutputChoices& outputs = request.outputs;
    if (request.webGiven) {
        root->insert(Key::web, outputs.web.value_or(QString()));
    }
    if (request.vmixFeedGiven) {
        root->insert(Key::vmixFeed, outputs.vmixFeed.value_or(QString()));
        root->insert(Key::vmixFeedAllow, outputs.vmixFeedAllowedClients);
    }
    if (request.tslGiven) {
        root->insert(Key::tsl,
            QJsonObject {
                { Key::tsl31, QJsonArray::fromStringList(outputs.tsl31Destinations) },
                { Key::tsl50, QJsonArray::fromStringList(outputs.tsl50Destinations) },
                { Key::offset, outputs.tslIndexOffset },
            });
    }
    if (request.mqttGiven) {
        root->insert(Key::mqtt,
            QJsonObject {
                { Key::brokers, QJsonArray::fromStringList(outputs.mqttBrokers) },
                { Key::discovery, outputs.mqttDiscovery },
                { Key::passwordFile, outputs.mqttPasswordFile },
                { Key::caFile, outputs.mqttCaFile },
            });
    }
    if (request.dmxGiven) {
        root->insert(Key::dmx,
            QJsonObject {
                { Key::destinations, QJsonArray::fromStringList(outputs.dmxDestinations) },
                { Key::startChannel, outputs.dmxStartChannel },
                { Key::layout, outputs.dmxLayout },
            });
    }
}

std::optional<QJsonObject> objectOfLine(QByteArrayView line)
{
    if (line.size() > HandOverRequest::maximumBytes) {
        return std::nullopt;
    }
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(line.trimmed().toByteArray(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}

} // namespace

std::optional<HandOverRequest> HandOverRequest::fromLaunch(
    const RunOptions& given, const QStringList& files, const QString& folder, QString* problem)
{
    // Files are read here from the launch's folder, and later by the
    // window from its own.
    RunOptions options = given;
    for (QString* path : { &options.passwordFile, &options.mqttPasswordFile, &options.mqttCaFile }) {
        *path = absoluteIn(folder, *path);
    }
    if (!checkHandedOptions(options, problem)) {
        return std::nullopt;
    }
    HandOverRequest request;
    for (const QString& file : files) {
        request.files.append(absoluteIn(folder, file));
    }
    if (options.sourceGiven) {
        request.source = sourceOf(options, problem);
        if (!request.source) {
            return std::nullopt;
        }
    }
    if (!takeOutputs(options, &request, problem)) {
        return std::nullopt;
    }
    request.whenSourceLost = options.whenSourceLost;
    request.blinkAfterSeconds = options.blinkAfterSeconds;
    request.lightsOffAtQuit = options.lightsOffAtQuit;
    if (request.encode().size() > maximumBytes) {
        reportProblem(problem,
            QStringLiteral("too much to hand to the running window (at most %1 KiB)").arg(maximumBytes / 1024));
        return std::nullopt;
    }
    return request;
}

NetworkOutputChoices HandOverRequest::outputsOver(const NetworkOutputChoices& current) const
{
    NetworkOutputChoices next = current;
    if (webGiven) {
        next.web = outputs.web;
    }
    if (vmixFeedGiven) {
        next.vmixFeed = outputs.vmixFeed;
        next.vmixFeedAllowedClients = outputs.vmixFeedAllowedClients;
    }
    if (tslGiven) {
        next.takeTslFrom(outputs);
    }
    if (mqttGiven) {
        next.takeMqttFrom(outputs);
    }
    if (dmxGiven) {
        next.takeDmxFrom(outputs);
    }
    return next;
}

LostSourcePolicy HandOverRequest::lostSourcePolicyOver(LostSourcePolicy base) const
{
    return base.overriddenBy(whenSourceLost, blinkAfterSeconds, lightsOffAtQuit);
}

QStringList HandOverRequest::summary() const
{
    QStringList parts;
    if (source) {
        parts.append(QStringLiteral("source ") + source->address);
        for (const QString& added : source->added.value_or(QStringList())) {
            parts.append(QStringLiteral("source ") + added);
        }
    }
    if (webGiven) {
        parts.append(QStringLiteral("web tally page on ") + outputs.web.value_or(QString()));
    }
    if (vmixFeedGiven) {
        parts.append(QStringLiteral("vMix tally feed on ") + outputs.vmixFeed.value_or(QString()));
    }
    if (tslGiven) {
        parts.append(QStringLiteral("TSL to ")
            + (outputs.tsl31Destinations + outputs.tsl50Destinations).join(QStringLiteral(", ")));
    }
    if (mqttGiven) {
        parts.append(QStringLiteral("MQTT to ") + outputs.mqttBrokers.join(QStringLiteral(", ")));
    }
    if (dmxGiven) {
        parts.append(QStringLiteral("DMX to ") + outputs.dmxDestinations.join(QStringLiteral(", ")));
    }
    if (whenSourceLost) {
        parts.append(QStringLiteral("when lost: ") + LostSourcePolicy::nameOf(*whenSourceLost));
    }
    if (blinkAfterSeconds) {
        parts.append(QStringLiteral("blink after %1 s").arg(*blinkAfterSeconds));
    }
    if (lightsOffAtQuit) {
        parts.append(QStringLiteral("lights off at quit"));
    }
    for (const QString& file : files) {
        parts.append(QStringLiteral("map ") + file);
    }
    return parts;
}

QByteArray HandOverRequest::encode() const
{
    QJsonObject root { { Key::version, version } };
    if (!files.isEmpty()) {
        root.insert(Key::files, QJsonArray::fromStringList(files));
    }
    if (source) {
        root.insert(Key::source, sourceObject(*source));
    }
    putOutputs(*this, &root);
    if (whenSourceLost) {
        root.insert(Key::whenLost, LostSourcePolicy::nameOf(*whenSourceLost));
    }
    if (blinkAfterSeconds) {
        root.insert(Key::blinkAfter, *blinkAfterSeconds);
    }
    if (lightsOffAtQuit) {
        root.insert(Key::lightsOffAtQuit, true);
    }
    return QJsonDocument(root).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<HandOverRequest> HandOverRequest::decode(QByteArrayView line, QString* problem)
{
    const std::optional<QJsonObject> root = objectOfLine(line);
    if (!root) {
        reportProblem(problem,
            QStringLiteral("the hand-over is not a JSON object of at most %1 KiB on one line")
                .arg(maximumBytes / 1024));
        return std::nullopt;
    }
    const QJsonValue sentVersion = root->value(Key::version);
    if (!sentVersion.isDouble() || sentVersion.toDouble() != version) {
        reportProblem(problem,
            QStringLiteral("this window reads hand-overs of version %1 only: quit it to hand it this launch's "
                           "choices")
                .arg(version));
        return std::nullopt;
    }
    FieldReader fields(*root);
    HandOverRequest request;
    readFiles(fields, &request);
    readSource(fields, &request);
    readOutputs(fields, &request);
    readLostSourceChoices(fields, &request);
    if (!fields.ok()) {
        reportProblem(problem, QStringLiteral("bad hand-over: ") + fields.problem());
        return std::nullopt;
    }
    return request;
}

QByteArray HandOverAnswer::encode() const
{
    QJsonObject root { { Key::version, HandOverRequest::version }, { Key::taken, taken } };
    if (!taken) {
        root.insert(Key::problem, problem);
    }
    return QJsonDocument(root).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<HandOverAnswer> HandOverAnswer::decode(QByteArrayView line)
{
    const std::optional<QJsonObject> root = objectOfLine(line);
    if (!root || root->value(Key::version).toDouble() != HandOverRequest::version
        || !root->value(Key::taken).isBool()) {
        return std::nullopt;
    }
    HandOverAnswer answer;
    answer.taken = root->value(Key::taken).toBool();
    answer.problem = root->value(Key::problem).toString();
    return answer;
}
