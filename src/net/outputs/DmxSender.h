#pragma once

#include "dmx/DmxAddress.h"
#include "dmx/DmxLayout.h"
#include "dmx/E131Packet.h"
#include "tally/TallyOutput.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <vector>

// Sends the lights as DMX levels to Art-Net nodes and sACN receivers, for
// lighting desks, LED bars and tally lamps on a lighting network. The levels
// are the modes the tally box shows: while the source is lost they follow
// the lost-source choice, under test the test panel, and at quit, when the
// lights are turned off, they go dark.
//
// A change goes out at once; while nothing changes the same levels go again
// every refresh interval (under a second), as sACN receivers drop a source
// silent for 2.5 s and Art-Net nodes expect a frame about once a second.
// Every datagram carries a full universe of 512 levels and a sequence number
// of its own stream. When the sender goes (the program quits), each sACN
// stream is ended with the stream-terminated option, so that receivers let
// go of the program's levels at once rather than holding them until their
// timeout. Never waits: a host name is looked up in the background and the
// levels go once it is known.
class DmxSender : public QObject, public TallyOutput {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds refreshInterval { 800 };
    // How many stream-terminated packets end an sACN stream: a datagram can
    // be lost, and a receiver that misses them all waits for its timeout.
    static constexpr int terminationPackets = 3;

    // Tests pass a refresh interval of their own.
    DmxSender(const QList<DmxAddress>& destinations, const DmxLayout& layout, const E131Packet::Source& source,
        std::chrono::milliseconds refresh = refreshInterval, QObject* parent = nullptr);
    // Ends the sACN streams.
    ~DmxSender() override;

    void publish(const TallySnapshot& snapshot) override;

    const DmxLayout& layout() const { return m_layout; }
    QList<DmxAddress> destinations() const;

private:
    class Link;

    void sendAll();

    std::vector<std::unique_ptr<Link>> m_links;
    DmxLayout m_layout;
    E131Packet::Source m_source;
    // The levels of the last snapshot; empty until the first one.
    QByteArray m_levels;
    QTimer m_refreshTimer;
};
