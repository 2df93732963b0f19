#pragma once

#include "outputs/TslDestination.h"
#include "tally/TallyOutput.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <vector>

// Sends the lights to TSL UMD displays and multiviewers: at once when a
// light changes, and every second regardless, so a display switched on or
// plugged in late is right within a second. Never waits: UDP goes out as
// datagrams; a TCP destination connects in the background, reconnects every
// second while it is away, and while it cannot take more the state is
// dropped rather than queued (the next refresh carries it anyway).
class TslSender : public QObject, public TallyOutput {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds refreshInterval { 1000 };

    // Tests pass a refresh interval of their own.
    TslSender(const QList<TslDestination>& destinations, int indexOffset,
        std::chrono::milliseconds refresh = refreshInterval, QObject* parent = nullptr);
    ~TslSender() override;

    void publish(const TallySnapshot& snapshot) override;

private:
    class Link;

    void sendAll();

    std::vector<std::unique_ptr<Link>> m_links;
    int m_indexOffset = 0;
    TallySnapshot m_snapshot;
    bool m_havePublished = false;
    QTimer m_refreshTimer;
};
