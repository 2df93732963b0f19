// The vMix TCP API session without a socket: what it asks for and when,
// how it follows tally events and renames, what it drops and when it gives
// a connection up.

#include "vmix/VmixSession.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QByteArray xmlOf(const QStringList& titles, bool withOutputs = false, bool recording = false)
{
    QByteArray xml = "<vmix><inputs>";
    for (qsizetype i = 0; i < titles.size(); ++i) {
        xml += QStringLiteral("<input key=\"key-%1\" number=\"%1\" title=\"%2\"/>").arg(i + 1).arg(titles[i]).toUtf8();
    }
    xml += "</inputs>";
    if (withOutputs) {
        xml += recording ? "<recording>True</recording>" : "<recording>False</recording>";
        xml += "<streaming>False</streaming>";
    }
    return xml + "</vmix>";
}

QByteArray xmlAnswer(const QByteArray& xml)
{
    return "XML " + QByteArray::number(xml.size() + 2) + "\r\n" + xml + "\r\n";
}

class VmixSessionTest : public testing::Test {
protected:
    VmixSessionTest()
        : session(
            VmixSession::Handlers { [this](const QByteArray& bytes) { sent.append(bytes); }, [this] { ++changes; },
                [this](const QString& why) { dropped.append(why); }, [this](const QString& why) { lost.append(why); } },
            VmixSession::Timing {})
    {
    }

    // The request lines sent since the last call, without their ends.
    QList<QByteArray> takeSent()
    {
        QList<QByteArray> lines;
        for (const QByteArray& bytes : std::as_const(sent)) {
            EXPECT_TRUE(bytes.endsWith("\r\n")) << bytes.toStdString();
            lines.append(bytes.chopped(2));
        }
        sent.clear();
        return lines;
    }

    // Connects and answers the three opening requests.
    void open(const QStringList& titles, const QByteArray& tally)
    {
        session.start(now);
        ASSERT_EQ(takeSent(), QList<QByteArray> { "SUBSCRIBE TALLY" });
        session.receive("SUBSCRIBE OK TALLY\r\n", now);
        ASSERT_EQ(takeSent(), QList<QByteArray> { "XML" });
        session.receive(xmlAnswer(xmlOf(titles)), now);
        ASSERT_EQ(takeSent(), QList<QByteArray> { "TALLY" });
        session.receive("TALLY OK " + tally + "\r\n", now);
        ASSERT_TRUE(session.isReady());
    }

    QStringList liveNames() const
    {
        QStringList names;
        for (const ShotPtr& shot : session.shots()) {
            if (shot->isLive) {
                names.append(shot->name);
            }
        }
        return names;
    }

    qint64 now = 1000;
    QList<QByteArray> sent;
    int changes = 0;
    QStringList dropped;
    QStringList lost;
    VmixSession session;
};

} // namespace

TEST_F(VmixSessionTest, ItSubscribesReadsTheXmlAndTheTallyOneRequestAtATime)
{
    session.start(now);
    EXPECT_EQ(takeSent(), QList<QByteArray> { "SUBSCRIBE TALLY" });
    EXPECT_FALSE(session.isReady());
    EXPECT_TRUE(session.shots().isEmpty());
    session.receive("SUBSCRIBE OK TALLY\r\n", now);
    EXPECT_EQ(takeSent(), QList<QByteArray> { "XML" });
    session.receive(xmlAnswer(xmlOf({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") })), now);
    EXPECT_EQ(takeSent(), QList<QByteArray> { "TALLY" });
    EXPECT_FALSE(session.isReady());
    EXPECT_EQ(changes, 0);
    session.receive("TALLY OK 21\r\n", now);
    EXPECT_TRUE(session.isReady());
    EXPECT_EQ(changes, 1);
    const ShotList shots = session.shots();
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->shotId, QStringLiteral("key-1"));
    EXPECT_TRUE(shots[0]->isPreview);
    EXPECT_TRUE(shots[1]->isLive);
    EXPECT_TRUE(dropped.isEmpty());
    EXPECT_TRUE(lost.isEmpty());
}

TEST_F(VmixSessionTest, ATallyEventChangesTheShotsAtOnceAndTheSameTallyAgainChangesNothing)
{
    open({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }, "12");
    changes = 0;
    session.receive("TALLY OK 21\r\n", now);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(liveNames(), QStringList { QStringLiteral("Camera 2") });
    session.receive("TALLY OK 21\r\n", now);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(takeSent().isEmpty()) << "the same number of digits asks for nothing";
}

TEST_F(VmixSessionTest, WhenIdleAKeepAliveGoesAndTheXmlIsReadAgainEveryFewSecondsToFollowRenames)
{
    open({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }, "12");
    const VmixSession::Timing timing;
    now += timing.keepAliveMs - 1;
    session.tick(now);
    EXPECT_TRUE(takeSent().isEmpty());
    now += 1;
    session.tick(now);
    EXPECT_EQ(takeSent(), QList<QByteArray> { "TALLY" });
    session.receive("TALLY OK 12\r\n", now);
    // Answered keep-alives go on until the XML's time comes.
    QList<QByteArray> requests;
    for (qint64 end = now + timing.xmlEveryMs; now < end;) {
        now += 100;
        session.tick(now);
        for (const QByteArray& request : takeSent()) {
            requests.append(request);
            if (request == "XML") {
                session.receive(xmlAnswer(xmlOf({ QStringLiteral("Camera 1"), QStringLiteral("Close Up") })), now);
            } else {
                session.receive("TALLY OK 12\r\n", now);
            }
        }
    }
    EXPECT_TRUE(requests.contains("XML")) << requests.size();
    EXPECT_TRUE(requests.contains("TALLY"));
    ASSERT_EQ(session.shots().size(), 2);
    EXPECT_EQ(session.shots()[1]->name, QStringLiteral("Close Up"));
    EXPECT_EQ(session.shots()[1]->shotId, QStringLiteral("key-2")) << "the key stays across the rename";
    EXPECT_TRUE(lost.isEmpty());
}

TEST_F(VmixSessionTest, ATallyWithADifferentNumberOfDigitsThanInputsReadsTheXmlAtOnce)
{
    open({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }, "12");
    session.receive("TALLY OK 120\r\n", now);
    EXPECT_EQ(takeSent(), QList<QByteArray> { "XML" });
    session.receive(
        xmlAnswer(xmlOf({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Wide") })), now);
    EXPECT_EQ(session.shots().size(), 3);
}

TEST_F(VmixSessionTest, BadTalliesAndBadXmlAreDroppedAndThePictureStays)
{
    open({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }, "12");
    changes = 0;
    session.receive("TALLY OK 1x\r\nTALLY OK \r\nTALLY ER no\r\n", now);
    EXPECT_EQ(dropped.size(), 3) << dropped.join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(liveNames(), QStringList { QStringLiteral("Camera 1") });
    now += VmixSession::Timing {}.xmlEveryMs;
    session.tick(now);
    EXPECT_EQ(takeSent(), QList<QByteArray> { "XML" });
    session.receive(xmlAnswer("<vmix><inputs></vmix>"), now);
    ASSERT_EQ(dropped.size(), 4);
    EXPECT_TRUE(dropped.last().startsWith(QStringLiteral("the XML state was refused"))) << dropped.last().toStdString();
    EXPECT_EQ(session.shots().size(), 2);
    EXPECT_EQ(changes, 0);
    EXPECT_TRUE(lost.isEmpty());
    EXPECT_TRUE(session.isReady());
}

TEST_F(VmixSessionTest, AnOverlongLineIsDroppedAndTheNextTallyStillCounts)
{
    open({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }, "12");
    session.receive(QByteArray(VmixReader::maxLineBytes + 1, 'Z') + "\r\nTALLY OK 21\r\n", now);
    EXPECT_EQ(dropped, QStringList { QStringLiteral("a line longer than 64 KB was dropped") });
    EXPECT_EQ(liveNames(), QStringList { QStringLiteral("Camera 2") });
}

TEST_F(VmixSessionTest, ASilentServerIsGivenUpWithinTwoSeconds)
{
    open({ QStringLiteral("Camera 1") }, "1");
    const qint64 lastHeard = now;
    while (lost.isEmpty() && now < lastHeard + 5000) {
        now += 100;
        session.tick(now);
    }
    ASSERT_EQ(lost.size(), 1);
    EXPECT_LE(now - lastHeard, 2000);
    EXPECT_EQ(lost[0], QStringLiteral("vMix did not answer TALLY within 1200 ms"));
}

TEST_F(VmixSessionTest, AServerThatNeverAnswersTheSubscriptionIsGivenUp)
{
    session.start(now);
    now += 1300;
    session.tick(now);
    EXPECT_EQ(lost, QStringList { QStringLiteral("vMix did not answer SUBSCRIBE within 1200 ms") });
}

TEST_F(VmixSessionTest, ALongDocumentArrivingSlowlyIsNotTakenForSilence)
{
    open({ QStringLiteral("Camera 1") }, "1");
    now += VmixSession::Timing {}.xmlEveryMs;
    session.tick(now);
    ASSERT_EQ(takeSent(), QList<QByteArray> { "XML" });
    const QByteArray answer = xmlAnswer(xmlOf({ QStringLiteral("Camera 1") }));
    for (const char byte : answer) {
        now += 200;
        session.tick(now);
        session.receive(QByteArrayView(&byte, 1), now);
    }
    EXPECT_TRUE(lost.isEmpty()) << lost.join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(session.isReady());
}

TEST_F(VmixSessionTest, DataTooLongToTakeEndsTheConnection)
{
    open({ QStringLiteral("Camera 1") }, "1");
    session.receive("XML 99999999999\r\n", now);
    EXPECT_EQ(lost, QStringList { QStringLiteral("vMix sent more than can be read") });
}

TEST_F(VmixSessionTest, RecordingAndStreamingAreShotsWhenTheXmlTellsOfThem)
{
    open({ QStringLiteral("Camera 1") }, "1");
    now += VmixSession::Timing {}.xmlEveryMs;
    session.tick(now);
    ASSERT_EQ(takeSent(), QList<QByteArray> { "XML" });
    changes = 0;
    session.receive(xmlAnswer(xmlOf({ QStringLiteral("Camera 1") }, true, true)), now);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(liveNames(), (QStringList { QStringLiteral("Camera 1"), QStringLiteral("Recording") }));
    ASSERT_EQ(session.shots().size(), 3);
    EXPECT_EQ(session.shots()[2]->name, QStringLiteral("Streaming"));
}

TEST_F(VmixSessionTest, StoppingForgetsThePictureAndAnswersNothingMore)
{
    open({ QStringLiteral("Camera 1") }, "1");
    session.stop();
    EXPECT_FALSE(session.isReady());
    EXPECT_TRUE(session.shots().isEmpty());
    session.receive("TALLY OK 0\r\n", now);
    now += 5000;
    session.tick(now);
    EXPECT_TRUE(takeSent().isEmpty());
    EXPECT_TRUE(lost.isEmpty());
}

TEST_F(VmixSessionTest, AnHttpAnswerSaysThePortIsTheWebInterfacesNotTheApis)
{
    session.start(now);
    session.receive("HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n", now);
    EXPECT_EQ(lost,
        QStringList { QStringLiteral("the server answered in HTTP, as vMix's web interface (port 8088) does; the TCP "
                                     "API listens on port 8099") });
}
