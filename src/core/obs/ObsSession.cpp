#include "obs/ObsSession.h"

#include "obs/ObsAuthentication.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

// The websocket protocol's message kinds.
enum OpCode {
    helloOp = 0,
    identifyOp = 1,
    identifiedOp = 2,
    eventOp = 5,
    requestOp = 6,
    requestResponseOp = 7,
};

// The event groups the picture needs: scenes (program, preview, names, the
// scene list), inputs (names, added, removed), outputs (recording,
// streaming, virtual camera), scene items (shown, hidden, added, removed)
// and the UI (studio mode).
constexpr int scenesEvents = 1 << 2;
constexpr int inputsEvents = 1 << 3;
constexpr int outputsEvents = 1 << 6;
constexpr int sceneItemsEvents = 1 << 7;
constexpr int uiEvents = 1 << 10;
constexpr int subscribedEvents = scenesEvents | inputsEvents | outputsEvents | sceneItemsEvents | uiEvents;

struct OutputMessages {
    OnAirShot::Output output;
    const char* stateEvent;
    const char* statusRequest;
};

constexpr OutputMessages outputMessages[] = {
    { OnAirShot::Output::recording, "RecordStateChanged", "GetRecordStatus" },
    { OnAirShot::Output::streaming, "StreamStateChanged", "GetStreamStatus" },
    { OnAirShot::Output::virtualCamera, "VirtualcamStateChanged", "GetVirtualCamStatus" },
};

// Whether an output's state event leaves it on air. Starting counts, so the
// light is on before the first frame goes out; stopping does not, so it goes
// off as soon as the operator stops. A state this list does not know is
// taken from OBS's own outputActive.
bool isOnAir(const QJsonObject& data)
{
    const QString state = data.value(QLatin1String("outputState")).toString();
    if (state == QLatin1String("OBS_WEBSOCKET_OUTPUT_STARTING")
        || state == QLatin1String("OBS_WEBSOCKET_OUTPUT_STARTED")
        || state == QLatin1String("OBS_WEBSOCKET_OUTPUT_RECONNECTING")
        || state == QLatin1String("OBS_WEBSOCKET_OUTPUT_RECONNECTED")
        || state == QLatin1String("OBS_WEBSOCKET_OUTPUT_PAUSED")
        || state == QLatin1String("OBS_WEBSOCKET_OUTPUT_RESUMED")) {
        return true;
    }
    if (state == QLatin1String("OBS_WEBSOCKET_OUTPUT_STOPPING")
        || state == QLatin1String("OBS_WEBSOCKET_OUTPUT_STOPPED")) {
        return false;
    }
    return data.value(QLatin1String("outputActive")).toBool();
}

QString textOf(const QJsonObject& data, const char* key)
{
    return data.value(QLatin1String(key)).toString();
}

const OutputMessages* outputMessagesFor(const QString& eventType)
{
    for (const OutputMessages& messages : outputMessages) {
        if (eventType == QLatin1String(messages.stateEvent)) {
            return &messages;
        }
    }
    return nullptr;
}

} // namespace

ObsSession::ObsSession(Connection& connection, std::optional<QString> password)
    : m_connection(connection)
    , m_password(std::move(password))
{
}

void ObsSession::restart()
{
    m_identified = false;
    m_ready = false;
    m_waitingChallenge.reset();
    m_handlers.clear();
    m_readingInProgress = false;
    m_readAgain = false;
}

void ObsSession::setPassword(const QString& password)
{
    m_password = password;
    if (m_waitingChallenge) {
        const QJsonObject challenge = *m_waitingChallenge;
        m_waitingChallenge.reset();
        answerHello(challenge);
    }
}

void ObsSession::receive(const QString& message)
{
    QJsonParseError parseError {};
    const QJsonDocument document = QJsonDocument::fromJson(message.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        return; // not a protocol message: nothing in it can be trusted
    }
    const QJsonObject envelope = document.object();
    const QJsonValue op = envelope.value(QLatin1String("op"));
    const QJsonObject data = envelope.value(QLatin1String("d")).toObject();
    if (!op.isDouble()) {
        return;
    }
    switch (op.toInt(-1)) {
    case helloOp:
        onHello(data);
        break;
    case identifiedOp:
        onIdentified();
        break;
    case eventOp:
        if (m_identified) {
            onEvent(textOf(data, "eventType"), data.value(QLatin1String("eventData")).toObject());
        }
        break;
    case requestResponseOp:
        onResponse(data);
        break;
    default:
        break;
    }
}

void ObsSession::onHello(const QJsonObject& data)
{
    if (m_identified) {
        return;
    }
    const QJsonObject challenge = data.value(QLatin1String("authentication")).toObject();
    if (!challenge.isEmpty() && awaitsPassword()) {
        // Answered when the password arrives; OBS waits for it as long as
        // the answer deadline allows.
        m_waitingChallenge = challenge;
        return;
    }
    answerHello(challenge);
}

void ObsSession::answerHello(const QJsonObject& challenge)
{
    QJsonObject identify {
        { QStringLiteral("rpcVersion"), rpcVersion },
        { QStringLiteral("eventSubscriptions"), subscribedEvents },
    };
    if (!challenge.isEmpty() && hasPassword()) {
        const QString salt = textOf(challenge, "salt");
        const QString nonce = textOf(challenge, "challenge");
        // Without a salt the answer is the password's plain hash, the same
        // on every server; without a challenge it is the same on every
        // connection and can be replayed. Either way it is not OBS asking.
        if (salt.isEmpty() || nonce.isEmpty()) {
            m_connection.refuse(QStringLiteral("the server sent an empty password %1; the password was not sent")
                                    .arg(salt.isEmpty() ? QStringLiteral("salt") : QStringLiteral("challenge")));
            return;
        }
        identify.insert(QStringLiteral("authentication"), obsAuthenticationResponse(*m_password, salt, nonce));
    }
    // Without a password OBS closes with its "authentication failed" code,
    // which says what is missing.
    send(identifyOp, identify);
}

void ObsSession::onIdentified()
{
    if (m_identified) {
        return;
    }
    m_identified = true;
    beginReading();
}

void ObsSession::onEvent(const QString& type, const QJsonObject& data)
{
    if (type == QLatin1String("CurrentProgramSceneChanged")) {
        const QString scene = textOf(data, "sceneName");
        applyToBoth([&](ObsSceneGraph& graph) { graph.setProgramScene(scene); });
    } else if (type == QLatin1String("CurrentPreviewSceneChanged")) {
        const QString scene = textOf(data, "sceneName");
        applyToBoth([&](ObsSceneGraph& graph) { graph.setPreviewScene(scene); });
    } else if (type == QLatin1String("StudioModeStateChanged")) {
        const bool enabled = data.value(QLatin1String("studioModeEnabled")).toBool();
        applyToBoth([&](ObsSceneGraph& graph) { graph.setStudioMode(enabled); });
        // Turning studio mode on puts a scene in preview without an event
        // of its own: read which.
        requestReadingIfIdle();
    } else if (type == QLatin1String("SceneItemEnableStateChanged")) {
        const QString scene = textOf(data, "sceneName");
        const qint64 itemId = data.value(QLatin1String("sceneItemId")).toInteger();
        const bool enabled = data.value(QLatin1String("sceneItemEnabled")).toBool();
        applyToBoth([&](ObsSceneGraph& graph) { graph.setItemEnabled(scene, itemId, enabled); });
    } else if (type == QLatin1String("SceneNameChanged") || type == QLatin1String("InputNameChanged")) {
        const bool isScene = type == QLatin1String("SceneNameChanged");
        const QString oldName = textOf(data, isScene ? "oldSceneName" : "oldInputName");
        const QString newName = textOf(data, isScene ? "sceneName" : "inputName");
        applyToBoth([&](ObsSceneGraph& graph) { graph.renameSource(oldName, newName); });
        requestReadingIfIdle();
    } else if (const OutputMessages* messages = outputMessagesFor(type)) {
        const bool onAir = isOnAir(data);
        applyToBoth([&](ObsSceneGraph& graph) { graph.setOutputActive(messages->output, onAir); });
    } else if (type == QLatin1String("SceneCreated") || type == QLatin1String("SceneRemoved")
        || type == QLatin1String("SceneListChanged") || type == QLatin1String("InputCreated")
        || type == QLatin1String("InputRemoved") || type == QLatin1String("SceneItemCreated")
        || type == QLatin1String("SceneItemRemoved") || type == QLatin1String("SceneItemListReindexed")) {
        // The structure changed: read it again rather than patch it.
        requestReadingIfIdle();
    }
}

void ObsSession::applyToBoth(const std::function<void(ObsSceneGraph&)>& change)
{
    change(m_graph);
    if (m_readingInProgress) {
        change(m_reading);
    }
    if (m_ready) {
        m_connection.pictureChanged();
    }
}

void ObsSession::onResponse(const QJsonObject& data)
{
    const auto handler = m_handlers.find(textOf(data, "requestId"));
    if (handler == m_handlers.end()) {
        return;
    }
    const ResponseHandler handle = handler.value();
    m_handlers.erase(handler);
    handle(data.value(QLatin1String("responseData")).toObject());
}

void ObsSession::send(int opCode, const QJsonObject& data)
{
    const QJsonObject envelope { { QStringLiteral("op"), opCode }, { QStringLiteral("d"), data } };
    m_connection.sendText(QString::fromUtf8(QJsonDocument(envelope).toJson(QJsonDocument::Compact)));
}

void ObsSession::request(const QString& type, const QJsonObject& data, ResponseHandler handler)
{
    const QString id = QString::number(++m_nextRequestId);
    QJsonObject envelope {
        { QStringLiteral("requestType"), type },
        { QStringLiteral("requestId"), id },
    };
    if (!data.isEmpty()) {
        envelope.insert(QStringLiteral("requestData"), data);
    }
    const quint64 generation = m_generation;
    ++m_outstanding;
    m_handlers.insert(id, [this, generation, handler = std::move(handler)](const QJsonObject& responseData) {
        if (generation != m_generation) {
            return; // an answer to a reading that has been given up
        }
        handler(responseData);
        if (--m_outstanding == 0) {
            finishReading();
        }
    });
    send(requestOp, envelope);
}

void ObsSession::requestReadingIfIdle()
{
    if (!m_identified) {
        return;
    }
    if (m_readingInProgress) {
        m_readAgain = true; // what it reads may already be out of date
        return;
    }
    beginReading();
}

void ObsSession::beginReading()
{
    ++m_generation;
    m_readingInProgress = true;
    m_readAgain = false;
    m_outstanding = 0;
    m_groupsAsked.clear();
    // Starts from the picture so that ids carried through renames survive.
    m_reading = m_graph;
    m_reading.clearContents();
    m_connection.readingStarted();

    request(QStringLiteral("GetSceneList"), {}, [this](const QJsonObject& data) { readSceneList(data); });
    request(QStringLiteral("GetStudioModeEnabled"), {}, [this](const QJsonObject& data) {
        m_reading.setStudioMode(data.value(QLatin1String("studioModeEnabled")).toBool());
    });
    request(QStringLiteral("GetInputList"), {}, [this](const QJsonObject& data) {
        QList<ObsSceneGraph::Input> inputs;
        for (const QJsonValue& value : data.value(QLatin1String("inputs")).toArray()) {
            const QJsonObject input = value.toObject();
            inputs.append({ textOf(input, "inputName"), textOf(input, "inputUuid") });
        }
        m_reading.setInputs(inputs);
    });
    // An output OBS cannot run here (a virtual camera without its driver)
    // answers with a failure and no data: off.
    for (const OutputMessages& messages : outputMessages) {
        const OnAirShot::Output output = messages.output;
        request(QLatin1String(messages.statusRequest), {}, [this, output](const QJsonObject& data) {
            m_reading.setOutputActive(output, data.value(QLatin1String("outputActive")).toBool());
        });
    }
}

void ObsSession::readSceneList(const QJsonObject& data)
{
    m_reading.setProgramScene(textOf(data, "currentProgramSceneName"));
    // Null while studio mode is off.
    m_reading.setPreviewScene(textOf(data, "currentPreviewSceneName"));
    // OBS lists its scenes bottom first, each with its place counted from
    // the bottom; the shots go top first, as the operator sees them.
    QList<QJsonObject> listed;
    for (const QJsonValue& value : data.value(QLatin1String("scenes")).toArray()) {
        listed.append(value.toObject());
    }
    std::stable_sort(listed.begin(), listed.end(), [](const QJsonObject& a, const QJsonObject& b) {
        return a.value(QLatin1String("sceneIndex")).toInteger() > b.value(QLatin1String("sceneIndex")).toInteger();
    });
    QList<ObsSceneGraph::Scene> scenes;
    for (const QJsonObject& scene : std::as_const(listed)) {
        scenes.append({ textOf(scene, "sceneName"), textOf(scene, "sceneUuid") });
    }
    m_reading.setScenes(scenes);
    for (const ObsSceneGraph::Scene& scene : std::as_const(scenes)) {
        const QString name = scene.name;
        request(QStringLiteral("GetSceneItemList"), { { QStringLiteral("sceneName"), name } },
            [this, name](const QJsonObject& items) { readItems(name, items); });
    }
}

void ObsSession::readItems(const QString& containerName, const QJsonObject& data)
{
    QList<ObsSceneGraph::Item> items;
    for (const QJsonValue& value : data.value(QLatin1String("sceneItems")).toArray()) {
        const QJsonObject item = value.toObject();
        const QString sourceName = textOf(item, "sourceName");
        items.append({ item.value(QLatin1String("sceneItemId")).toInteger(), sourceName,
            item.value(QLatin1String("sceneItemEnabled")).toBool(true) });
        // A group's items are asked of the group itself, once per reading.
        if (item.value(QLatin1String("isGroup")).toBool() && !m_groupsAsked.contains(sourceName)) {
            m_groupsAsked.insert(sourceName);
            request(QStringLiteral("GetGroupSceneItemList"), { { QStringLiteral("sceneName"), sourceName } },
                [this, sourceName](const QJsonObject& groupItems) { readItems(sourceName, groupItems); });
        }
    }
    m_reading.setItems(containerName, items);
}

void ObsSession::finishReading()
{
    m_readingInProgress = false;
    m_connection.readingFinished();
    m_graph = m_reading;
    if (!m_ready) {
        m_ready = true;
        m_connection.becameReady();
    }
    m_connection.pictureChanged();
    if (m_readAgain) {
        beginReading();
    }
}
