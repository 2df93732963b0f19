// What the vMix-compatible tally feed answers to each request, line by
// line, and how a client's bytes are cut into requests. The XML answers are
// read back with the program's own vMix reader, as a vMix source would.

#include "vmix/VmixFeedProtocol.h"

#include "support/QtPrinters.h"
#include "vmix/VmixReader.h"

#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace {

using VmixFeedProtocol::Effect;

TallySnapshot studio()
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = {
        { TallyMode::live, { QStringLiteral("Camera 1") } },
        { TallyMode::off, { QStringLiteral("Camera 2") } },
        { TallyMode::preview, { QStringLiteral("Wide"), QStringLiteral("Close & \"Up\" <1>") } },
        { TallyMode::off, {} },
    };
    return snapshot;
}

struct Input {
    QString number;
    QString key;
    QString title;
};

// The inputs of a vMix XML document, and its active and preview numbers.
struct ReadXml {
    QList<Input> inputs;
    QString active;
    QString preview;
};

ReadXml readXml(const QByteArray& document)
{
    ReadXml read;
    QXmlStreamReader xml(document);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("input")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            read.inputs.append({ attributes.value(QLatin1String("number")).toString(),
                attributes.value(QLatin1String("key")).toString(),
                attributes.value(QLatin1String("title")).toString() });
        } else if (xml.isStartElement() && xml.name() == QLatin1String("active")) {
            read.active = xml.readElementText();
        } else if (xml.isStartElement() && xml.name() == QLatin1String("preview")) {
            read.preview = xml.readElementText();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return read;
}

TEST(VmixFeedProtocolTest, TheDigitsAreOneALightInOrder)
{
    EXPECT_EQ(VmixFeedProtocol::tallyDigits(studio()), QByteArray("1020"));
    EXPECT_EQ(VmixFeedProtocol::tallyLine(studio()), QByteArray("TALLY OK 1020\r\n"));
    EXPECT_EQ(VmixFeedProtocol::tallyLine(TallySnapshot {}), QByteArray("TALLY OK \r\n"));
}

TEST(VmixFeedProtocolTest, TheDigitsFollowWhatTheBoxShowsWhileLostUnderTestAndAtQuit)
{
    // Lost with the lights kept: the box's frozen picture, as the lamps show.
    TallySnapshot lost = studio();
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 1000;
    EXPECT_EQ(VmixFeedProtocol::tallyDigits(lost), QByteArray("1020"));
    // Lost with the lights turned off: every light 0, never a stale live.
    for (LightState& light : lost.lights) {
        light.mode = TallyMode::off;
    }
    EXPECT_EQ(VmixFeedProtocol::tallyDigits(lost), QByteArray("0000"));
    // The test panel's picture, whatever the switcher has.
    TallySnapshot test = studio();
    test.underTest = true;
    test.lights[1].mode = TallyMode::live;
    EXPECT_EQ(VmixFeedProtocol::tallyDigits(test), QByteArray("1120"));
    TallySnapshot quit = lost;
    quit.turnedOffAtQuit = true;
    EXPECT_EQ(VmixFeedProtocol::answer("TALLY", quit).bytes, QByteArray("TALLY OK 0000\r\n"));
}

TEST(VmixFeedProtocolTest, TheFeedSpeaksOnlyWhileSomethingVouchesForTheLights)
{
    TallySnapshot running = studio();
    EXPECT_TRUE(VmixFeedProtocol::speaksForTheSwitcher(running));
    TallySnapshot lost = studio();
    lost.sourceRunning = false;
    lost.lostSinceMilliseconds = 1000;
    EXPECT_FALSE(VmixFeedProtocol::speaksForTheSwitcher(lost));
    // Before the first tick nothing is known either.
    EXPECT_FALSE(VmixFeedProtocol::speaksForTheSwitcher(TallySnapshot {}));
    TallySnapshot test = lost;
    test.underTest = true;
    EXPECT_TRUE(VmixFeedProtocol::speaksForTheSwitcher(test));
    TallySnapshot quit = lost;
    quit.turnedOffAtQuit = true;
    EXPECT_TRUE(VmixFeedProtocol::speaksForTheSwitcher(quit));
}

TEST(VmixFeedProtocolTest, SubscribeAndUnsubscribeAnswerAsVmixDoes)
{
    const VmixFeedProtocol::Answer subscribe = VmixFeedProtocol::answer("SUBSCRIBE TALLY", studio());
    EXPECT_EQ(subscribe.bytes, QByteArray("SUBSCRIBE OK TALLY\r\n"));
    EXPECT_EQ(subscribe.effect, Effect::subscribe);
    const VmixFeedProtocol::Answer unsubscribe = VmixFeedProtocol::answer("UNSUBSCRIBE TALLY", studio());
    EXPECT_EQ(unsubscribe.bytes, QByteArray("UNSUBSCRIBE OK TALLY\r\n"));
    EXPECT_EQ(unsubscribe.effect, Effect::unsubscribe);
    // Commands are taken in any case; the answer repeats the client's word.
    EXPECT_EQ(VmixFeedProtocol::answer("subscribe tally", studio()).effect, Effect::subscribe);
    const VmixFeedProtocol::Answer acts = VmixFeedProtocol::answer("SUBSCRIBE ACTS", studio());
    EXPECT_EQ(acts.bytes, QByteArray("SUBSCRIBE ER Only TALLY can be subscribed to here\r\n"));
    EXPECT_EQ(acts.effect, Effect::none);
    EXPECT_EQ(VmixFeedProtocol::answer("UNSUBSCRIBE", studio()).effect, Effect::none);
}

TEST(VmixFeedProtocolTest, TallyAnswersOnceAndQuitSaysGoodbye)
{
    const VmixFeedProtocol::Answer tally = VmixFeedProtocol::answer("TALLY", studio());
    EXPECT_EQ(tally.bytes, QByteArray("TALLY OK 1020\r\n"));
    EXPECT_EQ(tally.effect, Effect::none);
    const VmixFeedProtocol::Answer quit = VmixFeedProtocol::answer("QUIT", studio());
    EXPECT_EQ(quit.bytes, QByteArray("QUIT OK Bye\r\n"));
    EXPECT_EQ(quit.effect, Effect::quit);
}

TEST(VmixFeedProtocolTest, AnythingElseIsAnsweredWithVmixsErrorForm)
{
    EXPECT_EQ(VmixFeedProtocol::answer("FUNCTION Cut", studio()).bytes, QByteArray("FUNCTION ER Unknown command\r\n"));
    EXPECT_EQ(VmixFeedProtocol::answer("GET / HTTP/1.1", studio()).bytes, QByteArray("GET ER Unknown command\r\n"));
    // A long word is cut, so the answer stays a short line.
    const VmixFeedProtocol::Answer long_ = VmixFeedProtocol::answer(QByteArray(5000, 'A'), studio());
    EXPECT_EQ(long_.bytes, QByteArray(64, 'A') + " ER Unknown command\r\n");
    EXPECT_EQ(long_.effect, Effect::none);
}

TEST(VmixFeedProtocolTest, XmlCarriesItsLengthAndTheLightsAsInputsTitledByTheirShots)
{
    const QByteArray bytes = VmixFeedProtocol::answer("XML", studio()).bytes;
    ASSERT_TRUE(bytes.startsWith("XML "));
    VmixReader reader;
    const QList<VmixReader::Item> items = reader.feed(bytes);
    ASSERT_EQ(items.size(), 1);
    ASSERT_TRUE(items[0].message) << items[0].problem.toStdString();
    EXPECT_EQ(items[0].message->command, QByteArray("XML"));
    EXPECT_EQ(reader.pending(), 0);
    const ReadXml read = readXml(items[0].message->data);
    ASSERT_EQ(read.inputs.size(), 4);
    EXPECT_EQ(read.inputs[0].number, QStringLiteral("1"));
    EXPECT_EQ(read.inputs[0].key, QStringLiteral("light-1"));
    EXPECT_EQ(read.inputs[0].title, QStringLiteral("Camera 1"));
    EXPECT_EQ(read.inputs[2].number, QStringLiteral("3"));
    EXPECT_EQ(read.inputs[2].title, QStringLiteral("Wide + Close & \"Up\" <1>"));
    EXPECT_EQ(read.inputs[3].title, QStringLiteral("Light 4"));
    EXPECT_EQ(read.active, QStringLiteral("1"));
    EXPECT_EQ(read.preview, QStringLiteral("3"));
}

TEST(VmixFeedProtocolTest, LinesEndWithCrLfOrLfAndComeInAnyPieces)
{
    VmixFeedProtocol::LineReader reader;
    EXPECT_EQ(reader.feed("SUBSCRIBE TA"), QList<QByteArray> {});
    EXPECT_EQ(reader.feed("LLY\r\nTALLY\n\r\nX"), (QList<QByteArray> { "SUBSCRIBE TALLY", "TALLY" }));
    EXPECT_EQ(reader.feed("ML\r\n"), QList<QByteArray> { "XML" });
    EXPECT_FALSE(reader.overflowed());
}

TEST(VmixFeedProtocolTest, ALineOver64KilobytesStopsTheReader)
{
    VmixFeedProtocol::LineReader exact;
    const QByteArray longest(VmixFeedProtocol::LineReader::maxLineBytes, 'A');
    EXPECT_EQ(exact.feed(longest + "\r\n"), QList<QByteArray> { longest });
    EXPECT_FALSE(exact.overflowed());

    // Unended, the bytes are not kept beyond the limit.
    VmixFeedProtocol::LineReader unended;
    EXPECT_EQ(unended.feed(longest), QList<QByteArray> {});
    EXPECT_FALSE(unended.overflowed());
    EXPECT_EQ(unended.feed("A"), QList<QByteArray> {});
    EXPECT_TRUE(unended.overflowed());
    // The longest line's CR may come before its LF.
    VmixFeedProtocol::LineReader split;
    EXPECT_EQ(split.feed(longest + "\r"), QList<QByteArray> {});
    EXPECT_FALSE(split.overflowed());
    EXPECT_EQ(split.feed("\n"), QList<QByteArray> { longest });
    EXPECT_EQ(unended.feed("\r\nTALLY\r\n"), QList<QByteArray> {});

    // Ended in the same piece: the lines before it still count.
    VmixFeedProtocol::LineReader ended;
    EXPECT_EQ(ended.feed("TALLY\r\n" + longest + "A\r\nXML\r\n"), QList<QByteArray> { "TALLY" });
    EXPECT_TRUE(ended.overflowed());
}

} // namespace
