#pragma once

#include "obs/ObsSession.h"
#include "sources/ObsAddress.h"

#include <QObject>
#include <QTimer>

#include <memory>

class QWebSocket;

// One try at OBS Studio's websocket server, for an operator checking the
// address and password before following it: it connects once, gives the
// password, reads the scenes, and says how that went. Nothing is retried and
// nothing waits on the network: it runs on the event loop and finishes by
// itself, at the latest when the time allowed is up.
class ObsConnectionCheck : public QObject, private ObsSession::Connection {
    Q_OBJECT

public:
    enum class Outcome {
        // Connected, accepted and the scenes read: following it would work.
        connected,
        // OBS asked for a password and refused the one given (or none).
        passwordRefused,
        // Nothing answered in time, or the connection could not be made.
        noAnswer,
        // Something answered that the lights cannot follow (another
        // protocol version, not OBS at all).
        refused,
    };

    struct Settings {
        ObsAddress address;
        QString password; // empty: none
        int timeoutMs = 4000;
    };

    // Starts at once.
    explicit ObsConnectionCheck(const Settings& settings, QObject* parent = nullptr);
    ~ObsConnectionCheck() override;

    bool isFinished() const { return m_finished; }

Q_SIGNALS:
    // Once, with the outcome in the operator's words. The check may be let
    // go of from here with deleteLater.
    void finished(ObsConnectionCheck::Outcome outcome, const QString& words);

private:
    void onClosed();
    void finish(Outcome outcome, const QString& words);

    // What the session asks of the socket.
    void sendText(const QString& message) override;
    void readingStarted() override { }
    void readingFinished() override { }
    void becameReady() override;
    void pictureChanged() override { }
    void refuse(const QString& why) override;

    Settings m_settings;
    ObsSession m_session;
    std::unique_ptr<QWebSocket> m_socket;
    QTimer m_deadline;
    bool m_finished = false;
};
