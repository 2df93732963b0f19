#pragma once

#include "mqtt/MqttBrokerAddress.h"
#include "outputs/MqttClient.h"

#include <memory>
#include <thread>

struct mosquitto;
class MosquittoLibrary;

// MqttClient on libmosquitto (Debian libmosquitto-dev), the C client of the
// Mosquitto project: small, on every distribution, and speaking TLS through
// OpenSSL with the system's certificate store. The library is opened when
// the first client is made (MosquittoLibrary); where it cannot be, the
// client says so as it would say a broker cannot be reached.
//
// The connection runs on a thread of its own, and the rest of the program
// never calls into the network. The alternative, the library's socket
// driven from Qt's event loop (a QSocketNotifier on mosquitto_socket and a
// timer for mosquitto_loop_misc), would leave the name look-up, the TCP
// connect and the TLS handshake of mosquitto_connect on the main thread:
// a broker whose name does not resolve or whose address drops packets would
// stop the tick for seconds. Here the thread makes the attempt, runs
// mosquitto_loop while connected, and hands each outcome to the main thread
// as a queued call. publish() only queues the packet inside the library and
// wakes the thread, so it costs microseconds whatever the broker does.
class MosquittoClient : public MqttClient {
    Q_OBJECT

public:
    struct Settings {
        MqttBrokerAddress address;
        // With a user in the address only.
        QString password;
        // For mqtts: a CA certificate file to trust besides the system's.
        QString caFile;
        QString clientId;
        // Published by the broker if the connection is cut.
        MqttMessage will;
    };

    explicit MosquittoClient(const Settings& settings, QObject* parent = nullptr);
    // On the given library, which outlives the client.
    MosquittoClient(const Settings& settings, const MosquittoLibrary& library, QObject* parent = nullptr);
    // Closes without a goodbye message if close() was not called.
    ~MosquittoClient() override;

    void connectToBroker() override;
    bool publish(const MqttMessage& message) override;
    void close(const QList<MqttMessage>& goodbye) override;

private:
    struct Shared;

    static void run(const std::shared_ptr<Shared>& shared);
    // One connection until it ends, or until closing has let the goodbye
    // out; the library's result, errno beside it.
    static int runConnection(Shared& shared, int* savedErrno);
    static void trustCertificates(Shared& shared, const QString& caFile);
    // The library's callbacks, on the connection's thread.
    static void onConnect(mosquitto* handle, void* userData, int code);
    static void onLog(mosquitto* handle, void* userData, int level, const char* text);
    static void onPublish(mosquitto* handle, void* userData, int messageId);
    // Queues message; the message's number in messageId when not null.
    bool send(const MqttMessage& message, int* messageId);
    void stopThread();

    std::shared_ptr<Shared> m_shared;
    std::thread m_thread;
};
