#include "outputs/MosquittoClient.h"

#include <QFileInfo>
#include <QMetaObject>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mosquitto.h>
#include <mutex>
#include <optional>

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
// How long closing waits for the goodbye to go out, and then for the thread.
constexpr std::chrono::milliseconds closeWait { 1000 };

std::once_flag libraryInitialised;

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

} // namespace

struct MosquittoClient::Shared {
    Settings settings;
    QString host;
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

    // Written on the connection's thread only, by the library's callbacks.
    QString refusal;
    QString lastLibraryError;

    ~Shared()
    {
        if (handle) {
            mosquitto_destroy(handle);
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
        return withoutFullStop(mosquitto_strerror(result));
    }
};

void MosquittoClient::onConnect(mosquitto* /*handle*/, void* userData, int code)
{
    Shared* shared = static_cast<Shared*>(userData);
    if (code != 0) {
        shared->refusal = QStringLiteral("the broker refused the connection: %1")
                              .arg(withoutFullStop(mosquitto_connack_string(code)));
        return; // the loop ends with MOSQ_ERR_CONN_REFUSED, which says so
    }
    shared->post([](MosquittoClient& client) { Q_EMIT client.connected(); });
}

void MosquittoClient::onLog(mosquitto* /*handle*/, void* userData, int level, const char* text)
{
    if (level == MOSQ_LOG_ERR) {
        static_cast<Shared*>(userData)->lastLibraryError = QString::fromUtf8(text);
    }
}

MosquittoClient::MosquittoClient(const Settings& settings, QObject* parent)
    : MqttClient(parent)
    , m_shared(std::make_shared<Shared>())
{
    std::call_once(libraryInitialised, [] { mosquitto_lib_init(); });
    Shared& shared = *m_shared;
    shared.settings = settings;
    shared.host = settings.address.host;
    shared.receiver = this;
    shared.handle = mosquitto_new(settings.clientId.toUtf8().constData(), true, &shared);
    if (!shared.handle) {
        shared.setupProblem
            = QStringLiteral("the MQTT client could not be made: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    mosquitto_threaded_set(shared.handle, true);
    mosquitto_int_option(shared.handle, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    // A cut is a burst of small messages that matter now: Nagle's algorithm
    // would hold all but the first until the broker acknowledged it.
    mosquitto_int_option(shared.handle, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_connect_callback_set(shared.handle, onConnect);
    mosquitto_log_callback_set(shared.handle, onLog);
    const QByteArray willPayload = settings.will.payload;
    mosquitto_will_set(shared.handle, settings.will.topic.toUtf8().constData(), static_cast<int>(willPayload.size()),
        willPayload.constData(), stateQos, settings.will.retain);
    if (!settings.address.user.isEmpty()) {
        const QByteArray user = settings.address.user.toUtf8();
        const QByteArray password = settings.password.toUtf8();
        mosquitto_username_pw_set(
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
        mosquitto_int_option(shared.handle, MOSQ_OPT_TLS_USE_OS_CERTS, 1);
        return;
    }
    if (mosquitto_tls_set(shared.handle, file.isEmpty() ? nullptr : file.constData(),
            folder.isEmpty() ? nullptr : folder.constData(), nullptr, nullptr, nullptr)
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
    if (!m_shared->handle) {
        return false;
    }
    const QByteArray topic = message.topic.toUtf8();
    // In the threaded mode this only queues the packet and wakes the
    // connection's thread, which writes it.
    return mosquitto_publish(m_shared->handle, nullptr, topic.constData(), static_cast<int>(message.payload.size()),
               message.payload.constData(), stateQos, message.retain)
        == MOSQ_ERR_SUCCESS;
}

void MosquittoClient::close(const std::optional<MqttMessage>& last)
{
    if (m_shared->handle && !m_shared->stopping) {
        if (last) {
            publish(*last);
        }
        mosquitto_disconnect(m_shared->handle);
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
    const bool finished = m_shared->wake.wait_for(lock, closeWait * 2, [this] { return m_shared->finished; });
    lock.unlock();
    if (finished) {
        m_thread.join();
    } else {
        m_thread.detach();
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
        lock.unlock();
        shared->refusal.clear();
        shared->lastLibraryError.clear();
        int result = mosquitto_connect(shared->handle, host.constData(), port, keepAliveSeconds);
        int savedErrno = errno;
        if (result == MOSQ_ERR_SUCCESS) {
            shared->inConnection = true;
            using Clock = std::chrono::steady_clock;
            std::optional<Clock::time_point> closingSince;
            for (;;) {
                result = mosquitto_loop(shared->handle, closingSince ? 100 : loopWaitMilliseconds, 1);
                savedErrno = errno;
                if (result != MOSQ_ERR_SUCCESS) {
                    break;
                }
                // Closing: the goodbye and the disconnect are queued; the
                // loop writes them and then finds the socket closed.
                if (shared->stopping) {
                    if (!closingSince) {
                        closingSince = Clock::now();
                    } else if (Clock::now() - *closingSince > closeWait) {
                        break;
                    }
                }
            }
        }
        shared->inConnection = false;
        mosquitto_disconnect(shared->handle);
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
