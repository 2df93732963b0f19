#pragma once

#include <QLibrary>
#include <QString>

#include <memory>
#include <mosquitto.h>

// libmosquitto, opened when the first MQTT client is made instead of when
// the program starts. Most studios run no broker, yet a program linked to
// the library loads it and OpenSSL beside it at every launch, some 5 ms on a
// small machine before main() even runs, all of it ahead of the first tick.
//
// Each call is the library's function of the same name (mosquitto_new is
// newClient, `new` being taken); the header's types and constants are used
// as they are. Calls are valid only while isLoaded(), and from any thread:
// the functions are looked up once, in the constructor, and never change.
class MosquittoLibrary {
public:
    // The library the system's loader finds under its usual name (else in
    // the folder it was built against), loaded and initialised on first use
    // and kept for the life of the program.
    static const MosquittoLibrary& shared();

    // The library in fileName, as the loader finds it (a name or a path),
    // with the platform's prefix and suffix added as QLibrary does; of the
    // given major version when it is not negative.
    explicit MosquittoLibrary(const QString& fileName, int version = -1);
    ~MosquittoLibrary();
    MosquittoLibrary(const MosquittoLibrary&) = delete;
    MosquittoLibrary& operator=(const MosquittoLibrary&) = delete;

    bool isLoaded() const;
    // Why the library cannot be used, for the operator; empty when loaded.
    QString problem() const;

    int libInit() const;
    mosquitto* newClient(const char* id, bool cleanSession, void* userData) const;
    void destroy(mosquitto* handle) const;
    int threadedSet(mosquitto* handle, bool threaded) const;
    int intOption(mosquitto* handle, mosq_opt_t option, int value) const;
    void connectCallbackSet(mosquitto* handle, void (*onConnect)(mosquitto*, void*, int)) const;
    void publishCallbackSet(mosquitto* handle, void (*onPublish)(mosquitto*, void*, int)) const;
    void logCallbackSet(mosquitto* handle, void (*onLog)(mosquitto*, void*, int, const char*)) const;
    int willSet(
        mosquitto* handle, const char* topic, int payloadLength, const void* payload, int qos, bool retain) const;
    int usernamePwSet(mosquitto* handle, const char* user, const char* password) const;
    int tlsSet(mosquitto* handle, const char* caFile, const char* caFolder) const;
    int connect(mosquitto* handle, const char* host, int port, int keepAliveSeconds) const;
    int disconnect(mosquitto* handle) const;
    int loop(mosquitto* handle, int timeoutMilliseconds, int maximumPackets) const;
    int publishV5(mosquitto* handle, int* messageId, const char* topic, int payloadLength, const void* payload, int qos,
        bool retain, const mosquitto_property* properties) const;
    int propertyAddInt32(mosquitto_property** properties, int identifier, uint32_t value) const;
    void propertyFreeAll(mosquitto_property** properties) const;
    const char* strerror(int result) const;
    const char* connackString(int code) const;
    const char* reasonString(int code) const;

private:
    struct Functions;

    // Every function, or the name of the first one the library lacks.
    bool resolveAll(QString* missing);

    QLibrary m_library;
    QString m_problem;
    // Null until every function is found.
    std::unique_ptr<Functions> m_functions;
};
