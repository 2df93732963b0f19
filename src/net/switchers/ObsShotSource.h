#pragma once

#include "obs/ObsSession.h"
#include "sources/ObsAddress.h"
#include "sources/ShotSource.h"

#include <QTimer>

#include <memory>

class QWebSocket;

// OBS Studio as the lights' switcher, over its websocket server (protocol
// version 5, RPC version 1). Its ObsSession keeps a picture of OBS's scenes
// and inputs: read whole by requests when it connects and after every change
// of structure, and kept current from OBS's events in between, so a cut
// reaches the lights as soon as OBS announces it. This class owns the socket,
// the answer deadline and reconnecting. Everything happens on the thread's
// event loop: the tick asks isRunning() and queryShots() and gets the picture
// in hand at once, never waiting on the network.
//
// "Running" means connected, accepted and the picture read. When the
// connection goes, the lights freeze as they do when Mixdesk quits, and the
// source tries again by itself, waiting a little longer each time up to a few
// seconds.
class ObsShotSource : public ShotSource, private ObsSession::Connection {
    Q_OBJECT

public:
    struct Settings {
        ObsAddress address;
        QString password; // empty: none
        // The password is fetched after start (from the desktop's secret
        // store) and given with setPassword; until then a greeting that asks
        // for one waits, while one that does not is answered at once.
        bool passwordComesLater = false;
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

    // The password that was to come later; a greeting waiting for it is
    // answered now.
    void setPassword(const QString& password);
    bool awaitsPassword() const { return m_session.awaitsPassword(); }

    // Every OBS Studio that source follows (it alone, or among the switchers
    // it combines) still waiting for its password: the ones a password
    // fetched from the secret store is for, looked up again when it comes,
    // since the operator may have chosen another source meanwhile.
    static QList<ObsShotSource*> awaitingPassword(ShotSource& source);

    // Where OBS Studio is followed.
    const ObsAddress& address() const { return m_settings.address; }

private:
    void connectToServer();
    void scheduleReconnect(const QString& why, bool longWait = false);
    void dropConnection(const QString& why);
    void onConnectionClosed();

    // What the session asks of the socket.
    void sendText(const QString& message) override;
    void readingStarted() override;
    void readingFinished() override;
    void becameReady() override;
    void pictureChanged() override;
    void refuse(const QString& why) override;

    Settings m_settings;
    ObsSession m_session;
    std::unique_ptr<QWebSocket> m_socket;
    QString m_closeWhy; // why we ended the connection ourselves, if we did
    QTimer m_answerTimer;
    QTimer m_retryTimer;
    int m_retryDelayMs;
    // Why the last connection ended, while a new one is awaited.
    QString m_notConnectedWhy;
};
