#pragma once

#include "model/Shot.h"
#include "vmix/VmixReader.h"
#include "vmix/VmixState.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

// One connection to vMix's TCP API, without the socket: the owner hands in
// what arrives and the time, and sends what the session asks it to.
//
// On a new connection the session subscribes to tally events and reads the
// XML state (inputs, keys, titles, recording and streaming) and the tally.
// After that vMix sends "TALLY OK …" by itself at every change. The XML is
// read again every few seconds to follow renames, and at once when a tally
// has a different number of digits than there are inputs (an input added
// or removed moves the numbers). One request is out at a time, as the API
// asks; while nothing is out for a short while, a TALLY request serves as a
// keep-alive, so that a server gone silent is noticed: a request that
// brings nothing back within the answer timeout ends the connection.
//
// Bad answers (a TALLY of the wrong form, XML that does not parse or nests
// too deep, a line over the reader's limit) are dropped and said, and the
// picture stays as it was; data too long to take ends the connection.
class VmixSession {
public:
    struct Timing {
        // Idle this long, a TALLY request checks the server is there.
        int keepAliveMs = 400;
        // A request with nothing coming back this long: the server is gone.
        int answerTimeoutMs = 1200;
        // How often the XML is read again to follow renames.
        int xmlEveryMs = 3000;
    };

    struct Handlers {
        // Bytes for the socket.
        std::function<void(const QByteArray&)> send;
        // The shots changed (a cut, a rename, an input added); also called
        // once when the session becomes ready.
        std::function<void()> changed;
        // Something was dropped, and why: one line for the status.
        std::function<void(const QString&)> dropped;
        // The connection cannot go on, and why: the owner closes it. The
        // session is no longer ready from then on.
        std::function<void(const QString&)> lost;
    };

    VmixSession(Handlers handlers, Timing timing);

    // A new connection is open: forget the last one and start reading.
    void start(qint64 now);
    // The connection ended.
    void stop();
    // Bytes that arrived.
    void receive(QByteArrayView bytes, qint64 now);
    // Keep-alive, the periodic XML and the answer deadline; called often
    // (every 100 ms or so).
    void tick(qint64 now);

    // Connected, and both the XML and a tally are in.
    bool isReady() const;
    // The shots now, as new records; empty while not ready.
    ShotList shots() const;

    const std::optional<VmixState::Document>& document() const { return m_document; }
    const QList<VmixState::Tally>& tally() const { return m_tally; }

private:
    void request(const QByteArray& command, qint64 now);
    void sendNext(qint64 now);
    void take(const VmixReader::Message& message, qint64 now);
    void takeTally(const VmixReader::Message& message);
    void takeXml(const VmixReader::Message& message);
    bool isQueuedOrOut(const QByteArray& command) const;
    void notifyChange(bool wasReady);
    void giveUp(const QString& why);

    Handlers m_handlers;
    Timing m_timing;
    VmixReader m_reader;
    bool m_open = false;
    QList<QByteArray> m_queue; // requests waiting their turn
    std::optional<QByteArray> m_out; // the command word of the request out
    qint64 m_outSince = 0; // when it went, or when something last came
    qint64 m_lastSent = 0;
    qint64 m_lastXml = 0;
    std::optional<VmixState::Document> m_document;
    QList<VmixState::Tally> m_tally;
    bool m_hasTally = false;
};
