#pragma once

#include "atem/AtemSession.h"
#include "atem/AtemSwitcherState.h"
#include "sources/AtemAddress.h"
#include "sources/ShotSource.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QTimer>
#include <QUdpSocket>

// A Blackmagic ATEM switcher as the lights' switcher, over its UDP control
// protocol (AtemSession), holding one connection however many lights,
// phones and TSL displays follow it. The switcher's whole picture is read
// at every connection and kept current from the changes it sends
// (AtemSwitcherState), so the tick asks isRunning() and queryShots() and
// has the answer at once, never waiting on the network; a change ticks at
// once through shotsChanged.
//
// "Running" means the session is up: the switcher answered, accepted and
// sent its whole picture, and it has the mix effect asked for. One it does
// not have would read as nothing on air; instead the source is not
// running, and its status, warning and details name the mix effects the
// switcher has, so the lights follow the lost-source choice until the
// setting is put right. When it goes silent the lights freeze as they do
// when Mixdesk quits, and the source tries again by itself, waiting a
// little longer each time up to a few seconds. Datagrams from any other
// address, and any that are not packets of the connection, are dropped.
class AtemShotSource : public ShotSource {
    Q_OBJECT

public:
    struct Settings {
        AtemAddress address;
        // The mix effect (from 0) whose program and preview decide the
        // lights when the switcher sends no tally by source.
        int mixEffect = 0;
        AtemSession::Timing timing;
        int tickMs = 100;
    };

    explicit AtemShotSource(Settings settings, QObject* parent = nullptr);
    ~AtemShotSource() override;

    bool isRunning() override;
    ShotList queryShots() override;
    QString notRunningWarning() const override;
    Kind kind() const override { return Kind::atem; }
    QString displayName() const override;
    const Settings& settings() const { return m_settings; }
    Details details() const override;

    // Datagrams dropped so far: from elsewhere, or not packets of the
    // connection.
    int rejectedCount() const;

private:
    void lookUpHost();
    void begin(const QHostAddress& peer);
    void readDatagrams();
    void tick();
    void takeCommands(const QList<AtemCommand>& commands);
    qint64 now() const { return m_clock.elapsed(); }

    Settings m_settings;
    QUdpSocket m_socket;
    QHostAddress m_peer;
    QTimer m_ticker;
    QTimer m_lookupRetry;
    QElapsedTimer m_clock;
    AtemSession m_session;
    AtemSwitcherState m_state;
    int m_foreign = 0;
};
