#pragma once

#include "sources/ObsAddress.h"
#include "sources/ObsSceneGraph.h"
#include "sources/ShotSource.h"

#include <QHash>
#include <QJsonObject>
#include <QSet>
#include <QTimer>

#include <functional>
#include <memory>

class QWebSocket;

// OBS Studio as the lights' switcher, over its websocket server (protocol
// version 5, RPC version 1). It keeps a picture of OBS's scenes and inputs:
// read whole by requests when it connects and after every change of
// structure, and kept current from OBS's events in between, so a cut reaches
// the lights as soon as OBS announces it. Everything happens on the thread's
// event loop: the tick asks isRunning() and queryShots() and gets the picture
// in hand at once, never waiting on the network.
//
// "Running" means connected, accepted and the picture read. When the
// connection goes, the lights freeze as they do when Mixdesk quits, and the
// source tries again by itself, waiting a little longer each time up to a few
// seconds.
class ObsShotSource : public ShotSource {
    Q_OBJECT

public:
    struct Settings {
        ObsAddress address;
        QString password; // empty: none
        // How long OBS may take to greet, accept and answer the first
        // reading before the connection counts as dead.
        int answerTimeoutMs = 5000;
        int firstRetryDelayMs = 250;
        int longestRetryDelayMs = 4000;
        // Larger messages are refused: a scene list of a big show is well
        // under a megabyte.
        quint64 maxMessageBytes = 16 * 1024 * 1024;
    };

    explicit ObsShotSource(Settings settings, QObject* parent = nullptr);
    ~ObsShotSource() override;

    bool isRunning() override;
    ShotList queryShots() override;
    QString notRunningWarning() const override;
    Kind kind() const override { return Kind::obsStudio; }
    QString displayName() const override;
    // "OBS Studio at HOST:PORT", connected, connecting, or not connected
    // and why while it waits to try again.
    Details details() const override;

    // The last status line, as statusChanged gave it.
    QString status() const { return m_status; }

private:
    using ResponseHandler = std::function<void(const QJsonObject& responseData)>;

    void connectToServer();
    void scheduleReconnect(const QString& why, bool longWait = false);
    void dropConnection(const QString& why);
    void onConnectionClosed();
    void onTextMessage(const QString& message);
    void onHello(const QJsonObject& data);
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
    void announceChange();
    void setStatus(const QString& status);

    Settings m_settings;
    std::unique_ptr<QWebSocket> m_socket;
    bool m_identified = false;
    bool m_ready = false;
    QString m_closeWhy; // why we ended the connection ourselves, if we did
    ObsSceneGraph m_graph;
    ObsSceneGraph m_reading;
    quint64 m_generation = 0;
    bool m_readingInProgress = false;
    bool m_readAgain = false;
    int m_outstanding = 0;
    QSet<QString> m_groupsAsked;
    quint64 m_nextRequestId = 0;
    QHash<QString, ResponseHandler> m_handlers;
    QTimer m_answerTimer;
    QTimer m_retryTimer;
    int m_retryDelayMs;
    QString m_status;
    // Why the last connection ended, while a new one is awaited.
    QString m_notConnectedWhy;
};
