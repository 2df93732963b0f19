#include "outputs/MosquittoClient.h"

#include "outputs/MosquittoLibrary.h"

#include <QFileInfo>
#include <QMetaObject>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <map>
#include <mqtt_protocol.h>
#include <mutex>
#include <optional>
#include <set>

namespace {

// Every state message is sent with QoS 1: the broker acknowledges it, and a
// lamp that subscribes with QoS 1 is sure to get each change.
constexpr int stateQos = 1;
// A connection that says nothing for this long gets a ping; a broker that
// does not answer it within half as long again is taken for gone.
constexpr int keepAliveSeconds = 10;
// How long a loop waits for the socket when nothing is sent; a publish wakes
// it at once.
constexpr int loopWaitMilliseconds = 1000;
// How long closing waits for the broker: to take the goodbye, then to be
// told the connection ends. A broker that stopped answering must not hold
// up a program that quits.
constexpr std::chrono::milliseconds closeWait { 500 };
constexpr std::chrono::milliseconds goodbyeWait { 400 };
// How long a loop waits for the socket while closing.
constexpr int closingLoopWaitMilliseconds = 10;

// Where the system keeps the certificates it trusts, as a folder of hashed
// names (Debian's ca-certificates); empty where there is none.
QByteArray systemCertificateFolder()
{
    const QString folder = QStringLiteral("/etc/ssl/certs");
    return QFileInfo(folder).isDir() ? folder.toUtf8() : QByteArray();
}

// The library's own sentences end in a full stop; ours go on after them.
QString withoutFullStop(const char* text)
{
    QString sentence = QString::fromUtf8(text);
    while (sentence.endsWith(QLatin1Char('.'))) {
        sentence.chop(1);
    }
    return sentence;
}

bool refusesProtocol(int code)
{
    return code == CONNACK_REFUSED_PROTOCOL_VERSION || code == MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION;
}

// A refusal in the words of MQTT 3.1.1 where it has them, so that the
// operator reads the same sentence whichever version the broker speaks.
QString refusalText(const MosquittoLibrary& library, int code)
{
    switch (code) {
    case MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION:
        return withoutFullStop(library.connackString(CONNACK_REFUSED_PROTOCOL_VERSION));
    case MQTT_RC_CLIENTID_NOT_VALID:
        return withoutFullStop(library.connackString(CONNACK_REFUSED_IDENTIFIER_REJECTED));
    case MQTT_RC_SERVER_UNAVAILABLE:
        return withoutFullStop(library.connackString(CONNACK_REFUSED_SERVER_UNAVAILABLE));
    case MQTT_RC_BAD_USERNAME_OR_PASSWORD:
        return withoutFullStop(library.connackString(CONNACK_REFUSED_BAD_USERNAME_PASSWORD));
    case MQTT_RC_NOT_AUTHORIZED:
        return withoutFullStop(library.connackString(CONNACK_REFUSED_NOT_AUTHORIZED));
    default:
        break;
    }
    return withoutFullStop(code < 128 ? library.connackString(code) : library.reasonString(code));
}

} // namespace

struct MosquittoClient::Shared {
    Settings settings;
    QString host;
    const MosquittoLibrary* library = nullptr;
    mosquitto* handle = nullptr;
    // Why the client cannot work at all (its settings); empty when it can.
    QString setupProblem;

    std::mutex mutex;
    std::condition_variable wake;
    bool connectRequested = false;
    bool finished = false;
    // Nulled, under the mutex, when the client goes: from then on nothing
    // is handed to the main thread.
    MosquittoClient* receiver = nullptr;
    std::atomic<bool> stopping { false };
    // Whether the thread is in a connection (not in an attempt or waiting):
    // only then is there a goodbye to let out before it ends.
    std::atomic<bool> inConnection { false };
    // MQTT 5 until a broker refuses it: only MQTT 5 lets a retained message
    // expire. Read by publish() on the main thread.
    std::atomic<bool> mqtt5 { true };
    // The goodbye messages the broker has not acknowledged yet, under the
    // mutex.
    std::set<int> unacknowledged;
    // The topic of each message of this connection that the broker has not
    // acknowledged yet, by its number, under the mutex. Forgotten with each
    // new connection: what the library sends again of the last one is not
    // what the publisher waits for.
    std::map<int, QString> awaitedTopics;

    // Written on the connection's thread only, by the library's callbacks.
    QString refusal;
    QString lastLibraryError;

    ~Shared()
    {
        if (handle) {
            library->destroy(handle);
        }
    }

    // Runs call on the main thread, unless the client has gone.
    void post(std::function<void(MosquittoClient&)> call)
    {
        const std::lock_guard lock(mutex);
        if (!receiver) {
            return;
        }
        MosquittoClient* target = receiver;
        QMetaObject::invokeMethod(
            target, [target, call = std::move(call)] { call(*target); }, Qt::QueuedConnection);
    }

    // The library's result code in words for the operator.
    QString describe(int result, int savedErrno) const
    {
        // What the broker said, when it said why, whatever the library
        // made of it.
        if (!refusal.isEmpty()) {
            return refusal;
        }
        switch (result) {
        case MOSQ_ERR_ERRNO:
            return QString::fromLocal8Bit(std::strerror(savedErrno));
        case MOSQ_ERR_EAI:
            return QStringLiteral("cannot find the host %1").arg(host);
        case MOSQ_ERR_CONN_LOST:
            return QStringLiteral("the broker closed the connection");
        case MOSQ_ERR_KEEPALIVE:
            return QStringLiteral("the broker stopped answering");
        case MOSQ_ERR_CONN_REFUSED:
        case MOSQ_ERR_AUTH:
            return refusal.isEmpty() ? QStringLiteral("the broker refused the login") : refusal;
        case MOSQ_ERR_TLS:
        case MOSQ_ERR_TLS_HANDSHAKE:
            return lastLibraryError.isEmpty() ? QStringLiteral("the TLS handshake failed")
                                              : QStringLiteral("the TLS handshake failed (%1)").arg(lastLibraryError);
        default:
            break;
        }
        return withoutFullStop(library->strerror(result));
    }
};

void MosquittoClient::onConnect(mosquitto* /*handle*/, void* userData, int code)
{
    Shared* shared = static_cast<Shared*>(userData);
    if (code != 0 && refusesProtocol(code) && shared->mqtt5) {
        // An MQTT 3.1.1 broker: the next attempt speaks its version.
        shared->mqtt5 = false;
        shared->refusal = QStringLiteral("the broker does not speak MQTT 5; going on with MQTT 3.1.1, with which "
                                         "the lights' state stays at the broker if the program is killed");
        return;
    }
    if (code != 0) {
        shared->refusal
            = QStringLiteral("the broker refused the connection: %1").arg(refusalText(*shared->library, code));
        return; // the loop ends with MOSQ_ERR_CONN_REFUSED, which says so
    }
    shared->post([](MosquittoClient& client) { Q_EMIT client.connected(); });
}

void MosquittoClient::onPublish(mosquitto* /*handle*/, void* userData, int messageId)
{
    Shared* shared = static_cast<Shared*>(userData);
    QString topic;
    {
        const std::lock_guard lock(shared->mutex);
        shared->unacknowledged.erase(messageId);
        const auto awaited = shared->awaitedTopics.find(messageId);
        if (awaited == shared->awaitedTopics.end()) {
            return;
        }
        topic = awaited->second;
        shared->awaitedTopics.erase(awaited);
    }
    shared->post([topic](MosquittoClient& client) { Q_EMIT client.acknowledged(topic); });
}

void MosquittoClient::onLog(mosquitto* /*handle*/, void* userData, int level, const char* text)
{
    if (level == MOSQ_LOG_ERR) {
        static_cast<Shared*>(userData)->lastLibraryError = QString::fromUtf8(text);
    }
}

MosquittoClient::MosquittoClient(const Settings& settings, QObject* parent)
    : MosquittoClient(settings, MosquittoLibrary::shared(), parent)
{
}

MosquittoClient::MosquittoClient(const Settings& settings, const MosquittoLibrary& library, QObject* parent)
    : MqttClient(parent)
    , m_shared(std::make_shared<Shared>())
{
    Shared& shared = *m_shared;
    shared.settings = settings;
    shared.host = settings.address.host;
    shared.receiver = this;
    shared.library = &library;
    if (!library.isLoaded()) {
        shared.setupProblem = library.problem();
        return;
    }
    shared.handle = library.newClient(settings.clientId.toUtf8().constData(), true, &shared);
    if (!shared.handle) {
        shared.setupProblem
            = QStringLiteral("the MQTT client could not be made: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    library.threadedSet(shared.handle, true);
    // A cut is a burst of small messages that matter now: Nagle's algorithm
    // would hold all but the first until the broker acknowledged it.
    library.intOption(shared.handle, MOSQ_OPT_TCP_NODELAY, 1);
    library.connectCallbackSet(shared.handle, onConnect);
    library.publishCallbackSet(shared.handle, onPublish);
    library.logCallbackSet(shared.handle, onLog);
    const QByteArray willPayload = settings.will.payload;
    library.willSet(shared.handle, settings.will.topic.toUtf8().constData(), static_cast<int>(willPayload.size()),
        willPayload.constData(), stateQos, settings.will.retain);
    if (!settings.address.user.isEmpty()) {
        const QByteArray user = settings.address.user.toUtf8();
        const QByteArray password = settings.password.toUtf8();
        library.usernamePwSet(
            shared.handle, user.constData(), settings.password.isEmpty() ? nullptr : password.constData());
    }
    if (settings.address.tls) {
        trustCertificates(shared, settings.caFile);
    }
    m_thread = std::thread(&MosquittoClient::run, m_shared);
}

MosquittoClient::~MosquittoClient()
{
    stopThread();
}

void MosquittoClient::trustCertificates(Shared& shared, const QString& caFile)
{
    // The system's folder is named rather than left to the library's "use
    // the system's certificates" option: with that option alone, libmosquitto
    // 2.0 refuses every attempt after the first (it finds its TLS context
    // made already without a CA file or folder).
    const QByteArray folder = systemCertificateFolder();
    const QByteArray file = caFile.isEmpty() ? QByteArray() : QFileInfo(caFile).absoluteFilePath().toUtf8();
    if (folder.isEmpty() && file.isEmpty()) {
        shared.library->intOption(shared.handle, MOSQ_OPT_TLS_USE_OS_CERTS, 1);
        return;
    }
    if (shared.library->tlsSet(
            shared.handle, file.isEmpty() ? nullptr : file.constData(), folder.isEmpty() ? nullptr : folder.constData())
        != MOSQ_ERR_SUCCESS) {
        shared.setupProblem = QStringLiteral("cannot use the CA file '%1'").arg(caFile);
    }
}

void MosquittoClient::connectToBroker()
{
    if (!m_shared->setupProblem.isEmpty()) {
        m_shared->post(
            [problem = m_shared->setupProblem](MosquittoClient& client) { Q_EMIT client.disconnected(problem); });
        return;
    }
    {
        const std::lock_guard lock(m_shared->mutex);
        m_shared->connectRequested = true;
    }
    m_shared->wake.notify_all();
}

bool MosquittoClient::publish(const MqttMessage& message)
{
    // Under the mutex: the acknowledgement may come before the number is
    // noted otherwise.
    const std::lock_guard lock(m_shared->mutex);
    int messageId = 0;
    if (!send(message, &messageId)) {
        return false;
    }
    m_shared->awaitedTopics[messageId] = message.topic;
    return true;
}

bool MosquittoClient::send(const MqttMessage& message, int* messageId)
{
    if (!m_shared->handle) {
        return false;
    }
    const QByteArray topic = message.topic.toUtf8();
    // Without MQTT 5 nothing expires: the message goes without.
    mosquitto_property* properties = nullptr;
    if (message.expires() && m_shared->mqtt5) {
        m_shared->library->propertyAddInt32(
            &properties, MQTT_PROP_MESSAGE_EXPIRY_INTERVAL, static_cast<uint32_t>(message.expiry.count()));
    }
    // In the threaded mode this only queues the packet and wakes the
    // connection's thread, which writes it.
    const int result = m_shared->library->publishV5(m_shared->handle, messageId, topic.constData(),
        static_cast<int>(message.payload.size()), message.payload.constData(), stateQos, message.retain, properties);
    m_shared->library->propertyFreeAll(&properties);
    return result == MOSQ_ERR_SUCCESS;
}

void MosquittoClient::close(const QList<MqttMessage>& goodbye)
{
    if (m_shared->handle && m_shared->inConnection && !m_shared->stopping) {
        // Under the mutex: the acknowledgement of one may come before its
        // number is noted.
        const std::lock_guard lock(m_shared->mutex);
        for (const MqttMessage& message : goodbye) {
            int messageId = 0;
            if (send(message, &messageId)) {
                m_shared->unacknowledged.insert(messageId);
            }
        }
        // Nothing to wait for: the disconnect goes at once, and wakes the
        // connection's thread as a message would.
        if (m_shared->unacknowledged.empty()) {
            m_shared->library->disconnect(m_shared->handle);
        }
    }
    stopThread();
}

void MosquittoClient::stopThread()
{
    if (!m_thread.joinable()) {
        return;
    }
    std::unique_lock lock(m_shared->mutex);
    m_shared->receiver = nullptr;
    m_shared->stopping = true;
    m_shared->wake.notify_all();
    // A connection gets a moment to send the goodbye. A thread still inside
    // a connection attempt (a host that drops packets, a name that does not
    // resolve) may take the system's time to give up; the program does not
    // wait for it: the thread owns its share of the state and ends on its
    // own.
    const bool finished = m_shared->wake.wait_for(lock, closeWait, [this] { return m_shared->finished; });
    lock.unlock();
    if (finished) {
        m_thread.join();
    } else {
        m_thread.detach();
    }
}

int MosquittoClient::runConnection(Shared& shared, int* savedErrno)
{
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> closingSince;
    bool disconnecting = false;
    for (;;) {
        const int result
            = shared.library->loop(shared.handle, closingSince ? closingLoopWaitMilliseconds : loopWaitMilliseconds, 1);
        *savedErrno = errno;
        if (result != MOSQ_ERR_SUCCESS) {
            // Once the disconnect is written the library closes the socket.
            return result;
        }
        if (!shared.stopping) {
            continue;
        }
        // Closing: the goodbye is queued. The disconnect follows once the
        // broker has taken it, since a socket closed while the broker's
        // acknowledgements wait unread is reset, and the broker may drop
        // what it had not read yet.
        const Clock::time_point now = Clock::now();
        if (!closingSince) {
            closingSince = now;
        }
        if (!disconnecting) {
            bool acknowledged = false;
            {
                const std::lock_guard lock(shared.mutex);
                acknowledged = shared.unacknowledged.empty();
            }
            if (acknowledged || now - *closingSince > goodbyeWait) {
                shared.library->disconnect(shared.handle);
                disconnecting = true;
            }
        } else if (now - *closingSince > closeWait) {
            return MOSQ_ERR_SUCCESS;
        }
    }
}

void MosquittoClient::run(const std::shared_ptr<Shared>& shared)
{
    const QByteArray host = shared->settings.address.host.toUtf8();
    const int port = shared->settings.address.port;
    std::unique_lock lock(shared->mutex);
    for (;;) {
        shared->wake.wait(lock, [&] { return shared->connectRequested || shared->stopping; });
        if (shared->stopping) {
            break;
        }
        shared->connectRequested = false;
        shared->awaitedTopics.clear();
        lock.unlock();
        shared->refusal.clear();
        shared->lastLibraryError.clear();
        shared->library->intOption(
            shared->handle, MOSQ_OPT_PROTOCOL_VERSION, shared->mqtt5 ? MQTT_PROTOCOL_V5 : MQTT_PROTOCOL_V311);
        int result = shared->library->connect(shared->handle, host.constData(), port, keepAliveSeconds);
        int savedErrno = errno;
        if (result == MOSQ_ERR_SUCCESS) {
            shared->inConnection = true;
            result = runConnection(*shared, &savedErrno);
        }
        shared->inConnection = false;
        shared->library->disconnect(shared->handle);
        const QString reason = shared->describe(result, savedErrno);
        lock.lock();
        if (shared->stopping) {
            break;
        }
        lock.unlock();
        shared->post([reason](MosquittoClient& client) { Q_EMIT client.disconnected(reason); });
        lock.lock();
    }
    shared->finished = true;
    shared->wake.notify_all();
}
