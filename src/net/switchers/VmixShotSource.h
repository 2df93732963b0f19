#pragma once

#include "sources/ShotSource.h"
#include "sources/VmixAddress.h"
#include "vmix/VmixSession.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTimer>

// vMix as the lights' switcher, over its TCP API (port 8099). The
// VmixSession reads the inputs and the tally and keeps them current from
// vMix's tally events; this class owns the socket, the clock and
// reconnecting. Everything happens on the thread's event loop: the tick
// asks isRunning() and queryShots() and has the answer at once, and a cut
// ticks at once through shotsChanged.
//
// "Running" means connected with the inputs and the tally read. When the
// connection closes, or vMix stops answering the keep-alive, the lights
// freeze as they do when Mixdesk quits (within two seconds of the silence),
// and the source tries again by itself, waiting a little longer each time
// up to a few seconds.
class VmixShotSource : public ShotSource {
    Q_OBJECT

public:
    struct Settings {
        VmixAddress address;
        VmixSession::Timing timing;
        // How often the session's clock is looked at.
        int tickMs = 100;
        // A connection not made within this long is given up and tried again.
        int connectTimeoutMs = 2000;
        int firstRetryDelayMs = 250;
        int longestRetryDelayMs = 4000;
    };

    explicit VmixShotSource(Settings settings, QObject* parent = nullptr);
    ~VmixShotSource() override;

    bool isRunning() override;
    ShotList queryShots() override;
    QString notRunningWarning() const override;
    Kind kind() const override { return Kind::vmix; }
    QString displayName() const override;
    Details details() const override;

    const VmixAddress& address() const { return m_settings.address; }

private:
    void connectToServer();
    void onConnected();
    void onClosed(const QString& why);
    void dropConnection(const QString& why);
    QString notConnectedStatus(const QString& why) const;
    qint64 now() const { return m_clock.elapsed(); }

    Settings m_settings;
    QTcpSocket m_socket;
    QElapsedTimer m_clock;
    QTimer m_ticker;
    QTimer m_connectTimer;
    QTimer m_retryTimer;
    VmixSession m_session;
    int m_retryDelayMs;
    QString m_closeWhy; // why we ended the connection ourselves, if we did
    // Why the last connection ended, while a new one is awaited.
    QString m_notConnectedWhy;
};
