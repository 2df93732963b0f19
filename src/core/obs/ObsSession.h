#pragma once

#include "obs/ObsSceneGraph.h"

#include <QHash>
#include <QJsonObject>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>

// One conversation with OBS Studio's websocket server (protocol version 5,
// RPC version 1), without the socket: it takes each text message the server
// sends, answers the greeting, reads the scenes, inputs and items by
// requests, and keeps an ObsSceneGraph current from the events in between;
// the state of OBS's outputs (recording, streaming, virtual camera) is read
// with the picture and followed by their events.
// What it sends and what the connection must do (arm or disarm the answer
// deadline, end the connection, tell the lights) goes to its Connection.
//
// Nothing a server sends can make it misbehave: a message that is not a
// protocol message is dropped, an answer to nothing is ignored, and a
// greeting whose password check cannot be trusted is refused. The socket,
// its deadlines and reconnecting belong to ObsShotSource.
class ObsSession {
public:
    // What the session asks of the connection it talks over.
    class Connection {
    public:
        virtual ~Connection() = default;
        virtual void sendText(const QString& message) = 0;
        // A reading of the whole picture began: its answers are now due.
        virtual void readingStarted() = 0;
        // The last answer of a reading is in.
        virtual void readingFinished() = 0;
        // The first reading of this connection is in: the shots can be used.
        virtual void becameReady() = 0;
        // The shots may have changed.
        virtual void pictureChanged() = 0;
        // The server said something the session cannot go on from; the
        // connection must end, for the reason given.
        virtual void refuse(const QString& why) = 0;
    };

    static constexpr int rpcVersion = 1;

    // An empty password: none. Nothing: the password is still being fetched
    // (from the desktop's secret store), and a greeting that asks for one
    // waits for setPassword.
    ObsSession(Connection& connection, std::optional<QString> password);

    // A connection begins: nothing of the last one is carried on but the
    // ids that renames have carried.
    void restart();
    // One text message from the server.
    void receive(const QString& message);

    // The password has arrived; a greeting that waited for it is answered.
    void setPassword(const QString& password);
    bool awaitsPassword() const { return !m_password.has_value(); }
    // A greeting asked for the password and waits for it.
    bool greetingWaitsForPassword() const { return m_waitingChallenge.has_value(); }
    bool hasPassword() const { return m_password.has_value() && !m_password->isEmpty(); }

    bool isIdentified() const { return m_identified; }
    // Identified and the first reading in.
    bool isReady() const { return m_ready; }
    // The shots as the last complete reading and the events since have them.
    ShotList shots() const { return m_graph.shots(); }
    const ObsSceneGraph& graph() const { return m_graph; }

private:
    using ResponseHandler = std::function<void(const QJsonObject& responseData)>;

    void onHello(const QJsonObject& data);
    void answerHello(const QJsonObject& challenge);
    void onIdentified();
    void onEvent(const QString& type, const QJsonObject& data);
    void onResponse(const QJsonObject& data);

    void send(int opCode, const QJsonObject& data);
    void request(const QString& type, const QJsonObject& data, ResponseHandler handler);

    // Reading the whole picture: a generation of requests whose answers fill
    // m_reading; when the last one is in, it becomes the picture.
    void beginReading();
    void requestReadingIfIdle();
    void readSceneList(const QJsonObject& data);
    void readItems(const QString& containerName, const QJsonObject& data);
    void finishReading();

    // A change OBS announced that applies to the picture and to a reading in
    // progress alike.
    void applyToBoth(const std::function<void(ObsSceneGraph&)>& change);

    Connection& m_connection;
    std::optional<QString> m_password;
    // The greeting's challenge, kept while the password is still coming.
    std::optional<QJsonObject> m_waitingChallenge;
    bool m_identified = false;
    bool m_ready = false;
    ObsSceneGraph m_graph;
    ObsSceneGraph m_reading;
    quint64 m_generation = 0;
    bool m_readingInProgress = false;
    bool m_readAgain = false;
    int m_outstanding = 0;
    QSet<QString> m_groupsAsked;
    quint64 m_nextRequestId = 0;
    QHash<QString, ResponseHandler> m_handlers;
};
