#include "sources/ObsShotSource.h"

#include "sources/ObsAuthentication.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QWebSocket>

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

constexpr int rpcVersion = 1;

// The event groups the picture needs: scenes (program, preview, names, the
// scene list), inputs (names, added, removed), scene items (shown, hidden,
// added, removed) and the UI (studio mode).
constexpr int scenesEvents = 1 << 2;
constexpr int inputsEvents = 1 << 3;
constexpr int sceneItemsEvents = 1 << 7;
constexpr int uiEvents = 1 << 10;
constexpr int subscribedEvents = scenesEvents | inputsEvents | sceneItemsEvents | uiEvents;

// Close codes OBS uses to say why it ended a session.
constexpr int authenticationFailedCode = 4009;
constexpr int unsupportedRpcVersionCode = 4010;

QString textOf(const QJsonObject& data, const char* key)
{
    return data.value(QLatin1String(key)).toString();
}

} // namespace

ObsShotSource::ObsShotSource(Settings settings, QObject* parent)
    : ShotSource(parent)
    , m_settings(std::move(settings))
    , m_retryDelayMs(m_settings.firstRetryDelayMs)
{
    m_answerTimer.setSingleShot(true);
    connect(&m_answerTimer, &QTimer::timeout, this,
        [this] { dropConnection(QStringLiteral("OBS Studio did not answer")); });
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &ObsShotSource::connectToServer);
    connectToServer();
}

ObsShotSource::~ObsShotSource()
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

bool ObsShotSource::isRunning()
{
    return m_ready;
}

ShotList ObsShotSource::queryShots()
{
    return m_ready ? m_graph.shots() : ShotList();
}

QString ObsShotSource::notRunningWarning() const
{
    return QStringLiteral("OBS Studio is not connected");
}

QString ObsShotSource::displayName() const
{
    return QStringLiteral("OBS Studio");
}

void ObsShotSource::connectToServer()
{
    if (m_socket) {
        // The old socket may still be inside one of its own signals.
        m_socket->disconnect(this);
        m_socket->abort();
        m_socket.release()->deleteLater();
    }
    m_identified = false;
    m_closeWhy.clear();
    m_handlers.clear();
    m_readingInProgress = false;
    m_readAgain = false;
    m_socket = std::make_unique<QWebSocket>();
    m_socket->setMaxAllowedIncomingMessageSize(m_settings.maxMessageBytes);
    m_socket->setMaxAllowedIncomingFrameSize(m_settings.maxMessageBytes);
    connect(m_socket.get(), &QWebSocket::textMessageReceived, this, &ObsShotSource::onTextMessage);
    connect(m_socket.get(), &QWebSocket::disconnected, this, &ObsShotSource::onConnectionClosed);
    connect(m_socket.get(), qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this,
        [this](QAbstractSocket::SocketError) {
            // A refused or failed connection may never have been open, so no
            // disconnected() follows; the retry is scheduled either way, once.
            if (m_socket && m_socket->state() == QAbstractSocket::UnconnectedState) {
                onConnectionClosed();
            }
        });
    m_answerTimer.start(m_settings.answerTimeoutMs);
    m_socket->open(QUrl(m_settings.address.webSocketUrl()));
}

void ObsShotSource::dropConnection(const QString& why)
{
    m_closeWhy = why;
    if (m_socket && m_socket->state() != QAbstractSocket::UnconnectedState) {
        m_socket->abort();
    }
    // abort() may or may not have announced the close; make sure it counts.
    onConnectionClosed();
}

void ObsShotSource::onConnectionClosed()
{
    if (m_retryTimer.isActive()) {
        return; // this connection's end is already handled
    }
    m_answerTimer.stop();
    const bool wasReady = m_ready;
    m_ready = false;
    m_identified = false;
    m_handlers.clear();
    m_readingInProgress = false;

    QString why = m_closeWhy;
    bool longWait = false;
    const int code = m_socket ? static_cast<int>(m_socket->closeCode()) : 0;
    if (code == authenticationFailedCode) {
        why = m_settings.password.isEmpty() ? QStringLiteral("OBS Studio asks for a password and none was given")
                                            : QStringLiteral("OBS Studio refused the password");
        longWait = true;
    } else if (code == unsupportedRpcVersionCode) {
        why = QStringLiteral("OBS Studio does not speak version %1 of its websocket protocol").arg(rpcVersion);
        longWait = true;
    } else if (why.isEmpty() && m_socket && m_socket->error() != QAbstractSocket::UnknownSocketError) {
        why = m_socket->errorString();
    } else if (why.isEmpty()) {
        why = QStringLiteral("connection closed");
    }
    scheduleReconnect(why, longWait);
    if (wasReady) {
        // The lights freeze and the warning shows at once, not at the next
        // tick.
        announceChange();
    }
}

void ObsShotSource::scheduleReconnect(const QString& why, bool longWait)
{
    const int delay = longWait ? m_settings.longestRetryDelayMs : m_retryDelayMs;
    m_retryDelayMs = std::min(m_retryDelayMs * 2, m_settings.longestRetryDelayMs);
    m_notConnectedWhy = why;
    setStatus(
        QStringLiteral("OBS Studio at %1: not connected (%2); reconnecting").arg(m_settings.address.display(), why));
    m_retryTimer.start(delay);
}

void ObsShotSource::onTextMessage(const QString& message)
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

void ObsShotSource::onHello(const QJsonObject& data)
{
    if (m_identified) {
        return;
    }
    QJsonObject identify {
        { QStringLiteral("rpcVersion"), rpcVersion },
        { QStringLiteral("eventSubscriptions"), subscribedEvents },
    };
    const QJsonObject challenge = data.value(QLatin1String("authentication")).toObject();
    if (!challenge.isEmpty() && !m_settings.password.isEmpty()) {
        identify.insert(QStringLiteral("authentication"),
            obsAuthenticationResponse(m_settings.password, textOf(challenge, "salt"), textOf(challenge, "challenge")));
    }
    // Without a password OBS closes with its "authentication failed" code,
    // which says what is missing.
    send(identifyOp, identify);
}

void ObsShotSource::onIdentified()
{
    if (m_identified) {
        return;
    }
    m_identified = true;
    m_retryDelayMs = m_settings.firstRetryDelayMs;
    beginReading();
}

void ObsShotSource::onEvent(const QString& type, const QJsonObject& data)
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
    } else if (type == QLatin1String("SceneCreated") || type == QLatin1String("SceneRemoved")
        || type == QLatin1String("SceneListChanged") || type == QLatin1String("InputCreated")
        || type == QLatin1String("InputRemoved") || type == QLatin1String("SceneItemCreated")
        || type == QLatin1String("SceneItemRemoved") || type == QLatin1String("SceneItemListReindexed")) {
        // The structure changed: read it again rather than patch it.
        requestReadingIfIdle();
    }
}

void ObsShotSource::applyToBoth(const std::function<void(ObsSceneGraph&)>& change)
{
    change(m_graph);
    if (m_readingInProgress) {
        change(m_reading);
    }
    if (m_ready) {
        announceChange();
    }
}

void ObsShotSource::announceChange()
{
    Q_EMIT shotsChanged();
}

void ObsShotSource::onResponse(const QJsonObject& data)
{
    const auto handler = m_handlers.find(textOf(data, "requestId"));
    if (handler == m_handlers.end()) {
        return;
    }
    const ResponseHandler handle = handler.value();
    m_handlers.erase(handler);
    handle(data.value(QLatin1String("responseData")).toObject());
}

void ObsShotSource::send(int opCode, const QJsonObject& data)
{
    if (!m_socket) {
        return;
    }
    const QJsonObject envelope { { QStringLiteral("op"), opCode }, { QStringLiteral("d"), data } };
    m_socket->sendTextMessage(QString::fromUtf8(QJsonDocument(envelope).toJson(QJsonDocument::Compact)));
}

void ObsShotSource::request(const QString& type, const QJsonObject& data, ResponseHandler handler)
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

void ObsShotSource::requestReadingIfIdle()
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

void ObsShotSource::beginReading()
{
    ++m_generation;
    m_readingInProgress = true;
    m_readAgain = false;
    m_outstanding = 0;
    m_groupsAsked.clear();
    // Starts from the picture so that ids carried through renames survive.
    m_reading = m_graph;
    m_reading.clearContents();
    m_answerTimer.start(m_settings.answerTimeoutMs);

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
}

void ObsShotSource::readSceneList(const QJsonObject& data)
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

void ObsShotSource::readItems(const QString& containerName, const QJsonObject& data)
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

void ObsShotSource::finishReading()
{
    m_readingInProgress = false;
    m_answerTimer.stop();
    m_graph = m_reading;
    if (!m_ready) {
        m_ready = true;
        setStatus(QStringLiteral("OBS Studio at %1: connected").arg(m_settings.address.display()));
    }
    announceChange();
    if (m_readAgain) {
        beginReading();
    }
}

ShotSource::Details ObsShotSource::details() const
{
    Details details;
    details.followed = QStringLiteral("OBS Studio at %1").arg(m_settings.address.display());
    if (m_ready) {
        details.link = tr("connected");
    } else if (m_retryTimer.isActive()) {
        details.link = tr("not connected (%1), trying again").arg(m_notConnectedWhy);
    } else {
        details.link = tr("connecting");
    }
    return details;
}

void ObsShotSource::setStatus(const QString& status)
{
    if (status == m_status) {
        return; // the same trouble again is not news
    }
    m_status = status;
    Q_EMIT statusChanged(status);
}
