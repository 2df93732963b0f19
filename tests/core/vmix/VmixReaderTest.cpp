// How the bytes of vMix's TCP API are cut into messages: lines, data after
// a length, pieces of any size, and what is dropped or refused.

#include "vmix/VmixReader.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

QList<VmixReader::Message> messagesOf(const QList<VmixReader::Item>& items)
{
    QList<VmixReader::Message> messages;
    for (const VmixReader::Item& item : items) {
        if (item.message) {
            messages.append(*item.message);
        }
    }
    return messages;
}

QStringList problemsOf(const QList<VmixReader::Item>& items)
{
    QStringList problems;
    for (const VmixReader::Item& item : items) {
        if (!item.message) {
            problems.append(item.problem);
        }
    }
    return problems;
}

} // namespace

TEST(VmixReaderTest, ALineIsCutIntoCommandStatusAndText)
{
    VmixReader reader;
    const QList<VmixReader::Message> messages
        = messagesOf(reader.feed("SUBSCRIBE OK TALLY\r\nFUNCTION ER Input not found\r\nTALLY OK 0120\n"));
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(messages[0].command, "SUBSCRIBE");
    EXPECT_EQ(messages[0].status, "OK");
    EXPECT_EQ(messages[0].text, "TALLY");
    EXPECT_EQ(messages[1].status, "ER");
    EXPECT_EQ(messages[1].text, "Input not found");
    EXPECT_EQ(messages[2].command, "TALLY");
    EXPECT_EQ(messages[2].text, "0120");
    EXPECT_EQ(reader.pending(), 0);
}

TEST(VmixReaderTest, ALengthIsFollowedByThatManyBytesWhateverTheyHold)
{
    VmixReader reader;
    const QByteArray document = "<vmix>\r\nTALLY OK 1\r\n</vmix>\r\n";
    const QList<VmixReader::Message> messages
        = messagesOf(reader.feed("XML " + QByteArray::number(document.size()) + "\r\n" + document + "TALLY OK 21\r\n"));
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].command, "XML");
    EXPECT_EQ(messages[0].data, document);
    EXPECT_EQ(messages[1].text, "21");
}

TEST(VmixReaderTest, BytesMayComeOneAtATime)
{
    VmixReader reader;
    const QByteArray stream = "XML 7\r\n<vmix/>TALLY OK 012\r\n";
    QList<VmixReader::Message> messages;
    for (const char byte : stream) {
        messages += messagesOf(reader.feed(QByteArrayView(&byte, 1)));
    }
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].data, "<vmix/>");
    EXPECT_EQ(messages[1].text, "012");
}

TEST(VmixReaderTest, ALineOverTheLimitIsDroppedAndTheNextLineIsRead)
{
    VmixReader reader;
    const QByteArray huge(VmixReader::maxLineBytes + 10, 'A');
    const QList<VmixReader::Item> items = reader.feed(huge + "\r\nTALLY OK 1\r\n");
    EXPECT_EQ(problemsOf(items), QStringList { QStringLiteral("a line longer than 64 KB was dropped") });
    const QList<VmixReader::Message> messages = messagesOf(items);
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].text, "1");
}

TEST(VmixReaderTest, ALongLineWithoutAnEndIsDroppedAsSoonAsItPassesTheLimitAndHoldsNoMemory)
{
    VmixReader reader;
    QStringList problems;
    const QByteArray piece(16 * 1024, 'B');
    for (int i = 0; i < 100; ++i) {
        problems += problemsOf(reader.feed(piece));
        EXPECT_LE(reader.pending(), VmixReader::maxLineBytes + piece.size());
    }
    EXPECT_EQ(problems.size(), 1) << problems.join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(reader.pending(), 0);
    const QList<VmixReader::Message> messages = messagesOf(reader.feed("rest of it\r\nTALLY OK 2\r\n"));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].text, "2");
}

TEST(VmixReaderTest, DataLongerThanTheLimitBreaksTheStream)
{
    VmixReader reader;
    const QList<VmixReader::Item> items = reader.feed("XML 999999999999\r\nTALLY OK 1\r\n");
    ASSERT_EQ(problemsOf(items).size(), 1);
    EXPECT_TRUE(problemsOf(items).constFirst().contains(QStringLiteral("more than the 32 MB")))
        << items[0].problem.toStdString();
    EXPECT_TRUE(messagesOf(items).isEmpty());
    EXPECT_TRUE(reader.broken());
    EXPECT_TRUE(reader.feed("TALLY OK 1\r\n").isEmpty());
    reader.reset();
    EXPECT_FALSE(reader.broken());
    EXPECT_EQ(messagesOf(reader.feed("TALLY OK 1\r\n")).size(), 1);
}

TEST(VmixReaderTest, EmptyLinesAndALoneCommandAreTaken)
{
    VmixReader reader;
    const QList<VmixReader::Message> messages = messagesOf(reader.feed("\r\n\nQUIT\r\n"));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].command, "QUIT");
    EXPECT_TRUE(messages[0].status.isEmpty());
}

TEST(VmixReaderTest, OnlyACommandOfCapitalLettersAnnouncesData)
{
    VmixReader reader;
    const QList<VmixReader::Message> messages = messagesOf(reader.feed("HTTP/1.1 400 Bad Request\r\nTALLY OK 1\r\n"));
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].command, "HTTP/1.1");
    EXPECT_EQ(messages[0].status, "400");
    EXPECT_TRUE(messages[0].data.isEmpty());
    EXPECT_EQ(messages[1].command, "TALLY");
}
