#include "outputs/MosquittoLibrary.h"

#include <QDir>

struct MosquittoLibrary::Functions {
    decltype(&::mosquitto_lib_init) libInit = nullptr;
    decltype(&::mosquitto_new) newClient = nullptr;
    decltype(&::mosquitto_destroy) destroy = nullptr;
    decltype(&::mosquitto_threaded_set) threadedSet = nullptr;
    decltype(&::mosquitto_int_option) intOption = nullptr;
    decltype(&::mosquitto_connect_callback_set) connectCallbackSet = nullptr;
    decltype(&::mosquitto_publish_callback_set) publishCallbackSet = nullptr;
    decltype(&::mosquitto_log_callback_set) logCallbackSet = nullptr;
    decltype(&::mosquitto_will_set) willSet = nullptr;
    decltype(&::mosquitto_username_pw_set) usernamePwSet = nullptr;
    decltype(&::mosquitto_tls_set) tlsSet = nullptr;
    decltype(&::mosquitto_connect) connect = nullptr;
    decltype(&::mosquitto_disconnect) disconnect = nullptr;
    decltype(&::mosquitto_loop) loop = nullptr;
    decltype(&::mosquitto_publish_v5) publishV5 = nullptr;
    decltype(&::mosquitto_property_add_int32) propertyAddInt32 = nullptr;
    decltype(&::mosquitto_property_free_all) propertyFreeAll = nullptr;
    decltype(&::mosquitto_strerror) strerror = nullptr;
    decltype(&::mosquitto_connack_string) connackString = nullptr;
    decltype(&::mosquitto_reason_string) reasonString = nullptr;
};

namespace {

// The version in the library's file name (libmosquitto.so.1): that of its
// binary interface, which has stayed 1 while the library went on to 2.x.
constexpr int interfaceVersion = 1;

template<typename Function> bool resolve(QLibrary& library, const char* name, Function* function, QString* missing)
{
    *function = reinterpret_cast<Function>(library.resolve(name));
    if (!*function && missing->isEmpty()) {
        *missing = QString::fromLatin1(name);
    }
    return *function != nullptr;
}

} // namespace

const MosquittoLibrary& MosquittoLibrary::shared()
{
    // Never unloaded: a connection thread left to give up on its own (a
    // broker that does not answer) may still be inside it as the program
    // ends.
    static const MosquittoLibrary* const library = [] {
        auto* found = new MosquittoLibrary(QStringLiteral("mosquitto"), interfaceVersion);
        // Where the loader does not look by itself (Homebrew's folder on a
        // Mac), the folder the program was built against.
        if (!found->isLoaded()) {
            delete found;
            found = new MosquittoLibrary(
                QDir(QStringLiteral(TALLY_MOSQUITTO_LIBDIR)).filePath(QStringLiteral("mosquitto")), interfaceVersion);
        }
        if (found->isLoaded()) {
            found->libInit();
        }
        return found;
    }();
    return *library;
}

MosquittoLibrary::MosquittoLibrary(const QString& fileName, int version)
    : m_library(fileName, version)
{
    if (!m_library.load()) {
        m_problem = QStringLiteral("MQTT needs the library libmosquitto, which cannot be loaded: %1")
                        .arg(m_library.errorString());
        return;
    }
    QString missing;
    if (!resolveAll(&missing)) {
        m_problem = QStringLiteral("MQTT needs the library libmosquitto, and %1 lacks its function %2")
                        .arg(m_library.fileName(), missing);
        m_library.unload();
    }
}

MosquittoLibrary::~MosquittoLibrary() = default;

bool MosquittoLibrary::resolveAll(QString* missing)
{
    auto functions = std::make_unique<Functions>();
    Functions& f = *functions;
    // Every one is looked up, so that the first missing one is named.
    const bool all = resolve(m_library, "mosquitto_lib_init", &f.libInit, missing)
        & resolve(m_library, "mosquitto_new", &f.newClient, missing)
        & resolve(m_library, "mosquitto_destroy", &f.destroy, missing)
        & resolve(m_library, "mosquitto_threaded_set", &f.threadedSet, missing)
        & resolve(m_library, "mosquitto_int_option", &f.intOption, missing)
        & resolve(m_library, "mosquitto_connect_callback_set", &f.connectCallbackSet, missing)
        & resolve(m_library, "mosquitto_publish_callback_set", &f.publishCallbackSet, missing)
        & resolve(m_library, "mosquitto_log_callback_set", &f.logCallbackSet, missing)
        & resolve(m_library, "mosquitto_will_set", &f.willSet, missing)
        & resolve(m_library, "mosquitto_username_pw_set", &f.usernamePwSet, missing)
        & resolve(m_library, "mosquitto_tls_set", &f.tlsSet, missing)
        & resolve(m_library, "mosquitto_connect", &f.connect, missing)
        & resolve(m_library, "mosquitto_disconnect", &f.disconnect, missing)
        & resolve(m_library, "mosquitto_loop", &f.loop, missing)
        & resolve(m_library, "mosquitto_publish_v5", &f.publishV5, missing)
        & resolve(m_library, "mosquitto_property_add_int32", &f.propertyAddInt32, missing)
        & resolve(m_library, "mosquitto_property_free_all", &f.propertyFreeAll, missing)
        & resolve(m_library, "mosquitto_strerror", &f.strerror, missing)
        & resolve(m_library, "mosquitto_connack_string", &f.connackString, missing)
        & resolve(m_library, "mosquitto_reason_string", &f.reasonString, missing);
    if (all) {
        m_functions = std::move(functions);
    }
    return all;
}

bool MosquittoLibrary::isLoaded() const
{
    return m_functions != nullptr;
}

QString MosquittoLibrary::problem() const
{
    return m_problem;
}

int MosquittoLibrary::libInit() const
{
    return m_functions->libInit();
}

mosquitto* MosquittoLibrary::newClient(const char* id, bool cleanSession, void* userData) const
{
    return m_functions->newClient(id, cleanSession, userData);
}

void MosquittoLibrary::destroy(mosquitto* handle) const
{
    m_functions->destroy(handle);
}

int MosquittoLibrary::threadedSet(mosquitto* handle, bool threaded) const
{
    return m_functions->threadedSet(handle, threaded);
}

int MosquittoLibrary::intOption(mosquitto* handle, mosq_opt_t option, int value) const
{
    return m_functions->intOption(handle, option, value);
}

void MosquittoLibrary::connectCallbackSet(mosquitto* handle, void (*onConnect)(mosquitto*, void*, int)) const
{
    m_functions->connectCallbackSet(handle, onConnect);
}

void MosquittoLibrary::publishCallbackSet(mosquitto* handle, void (*onPublish)(mosquitto*, void*, int)) const
{
    m_functions->publishCallbackSet(handle, onPublish);
}

void MosquittoLibrary::logCallbackSet(mosquitto* handle, void (*onLog)(mosquitto*, void*, int, const char*)) const
{
    m_functions->logCallbackSet(handle, onLog);
}

int MosquittoLibrary::willSet(
    mosquitto* handle, const char* topic, int payloadLength, const void* payload, int qos, bool retain) const
{
    return m_functions->willSet(handle, topic, payloadLength, payload, qos, retain);
}

int MosquittoLibrary::usernamePwSet(mosquitto* handle, const char* user, const char* password) const
{
    return m_functions->usernamePwSet(handle, user, password);
}

int MosquittoLibrary::tlsSet(mosquitto* handle, const char* caFile, const char* caFolder) const
{
    return m_functions->tlsSet(handle, caFile, caFolder, nullptr, nullptr, nullptr);
}

int MosquittoLibrary::connect(mosquitto* handle, const char* host, int port, int keepAliveSeconds) const
{
    return m_functions->connect(handle, host, port, keepAliveSeconds);
}

int MosquittoLibrary::disconnect(mosquitto* handle) const
{
    return m_functions->disconnect(handle);
}

int MosquittoLibrary::loop(mosquitto* handle, int timeoutMilliseconds, int maximumPackets) const
{
    return m_functions->loop(handle, timeoutMilliseconds, maximumPackets);
}

int MosquittoLibrary::publishV5(mosquitto* handle, int* messageId, const char* topic, int payloadLength,
    const void* payload, int qos, bool retain, const mosquitto_property* properties) const
{
    return m_functions->publishV5(handle, messageId, topic, payloadLength, payload, qos, retain, properties);
}

int MosquittoLibrary::propertyAddInt32(mosquitto_property** properties, int identifier, uint32_t value) const
{
    return m_functions->propertyAddInt32(properties, identifier, value);
}

void MosquittoLibrary::propertyFreeAll(mosquitto_property** properties) const
{
    m_functions->propertyFreeAll(properties);
}

const char* MosquittoLibrary::strerror(int result) const
{
    return m_functions->strerror(result);
}

const char* MosquittoLibrary::connackString(int code) const
{
    return m_functions->connackString(code);
}

const char* MosquittoLibrary::reasonString(int code) const
{
    return m_functions->reasonString(code);
}
