// Plays a conversation to the OBS Studio session as a server on the network
// (or anyone who can pose as one) might hold it: the input is a run of text
// messages, one per line, fed in order. The session answers its greeting,
// makes its requests (numbered 1, 2, 3... so that a line can answer them),
// applies events to its scene graph and reads whole pictures. Nothing may
// crash or hang, and whatever it accepted must hold together: nothing is in
// preview while studio mode is off, a live shot is the program scene or seen
// through it, and a session is never ready without having been accepted.
// A line holding only byte 1 restarts the connection, byte 2 brings the
// password, as happen in the program.

#include "obs/ObsSceneGraph.h"
#include "obs/ObsSession.h"

#include <QByteArrayView>
#include <QSet>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

class CountingConnection : public ObsSession::Connection {
public:
    int sent = 0;
    int refusals = 0;
    int readingsStarted = 0;
    int readingsFinished = 0;

    void sendText(const QString& message) override
    {
        if (message.isEmpty()) {
            fail("an empty message was sent");
        }
        ++sent;
    }
    void readingStarted() override { ++readingsStarted; }
    void readingFinished() override { ++readingsFinished; }
    void becameReady() override { }
    void pictureChanged() override { }
    void refuse(const QString& why) override
    {
        if (why.isEmpty()) {
            fail("a refusal without a reason");
        }
        ++refusals;
    }
};

void checkShots(const ObsSession& session)
{
    const ObsSceneGraph& graph = session.graph();
    const QSet<QString> onProgram = graph.visibleSources(graph.programScene());
    for (const ShotPtr& shot : session.shots()) {
        if (!shot) {
            fail("a shot list holds nothing");
        }
        if (shot->isPreview && !graph.studioMode()) {
            fail("a shot in preview while studio mode is off");
        }
        if (shot->isLive && shot->name != graph.programScene() && !onProgram.contains(shot->name)) {
            fail("a live shot that cannot be seen on program");
        }
    }
}

// A line of one control byte does something to the connection instead of
// being a message.
void control(char command, ObsSession& session)
{
    switch (command) {
    case '\x01':
        session.restart();
        break;
    case '\x02':
        session.setPassword(QStringLiteral("stage door"));
        break;
    default:
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    CountingConnection connection;
    // Starts waiting for its password, as the window's session does.
    ObsSession session(connection, std::nullopt);
    qsizetype start = 0;
    while (start <= input.size()) {
        qsizetype end = input.indexOf('\n', start);
        if (end < 0) {
            end = input.size();
        }
        const QByteArrayView line = input.sliced(start, end - start);
        if (line.size() == 1 && (line[0] == '\x01' || line[0] == '\x02')) {
            control(line[0], session);
        } else {
            session.receive(QString::fromUtf8(line));
        }
        start = end + 1;
    }
    checkShots(session);
    if (session.isReady() && !session.isIdentified()) {
        fail("ready without being accepted");
    }
    if (connection.readingsFinished > connection.readingsStarted) {
        fail("more readings finished than started");
    }
    return 0;
}
