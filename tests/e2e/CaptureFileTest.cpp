// The tests' reader of the capture box: whole ticks are found by their light
// numbers, so a pair the box skipped while behind costs one tick, not every
// tick after it.

#include "CaptureFile.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// One report line as the capture box writes it: the command byte, then
// zeros to 64 bytes.
QByteArray report(const char* commandHex)
{
    return QByteArray(commandHex) + QByteArray(126, '0') + '\n';
}

QByteArray reports(const QList<const char*>& commands)
{
    QByteArray text;
    for (const char* command : commands) {
        text += report(command);
    }
    return text;
}

const QList<const char*> allOff { "01", "21", "02", "22", "03", "23", "04", "24", "05", "25", "06", "26", "07", "27",
    "08", "28" };
const QList<const char*> firstLive { "b1", "21", "02", "22", "03", "23", "04", "24", "05", "25", "06", "26", "07", "27",
    "08", "28" };

class CaptureFileTest : public ::testing::Test {
protected:
    CaptureFile write(const QByteArray& text)
    {
        QFile file(folder.filePath(QStringLiteral("capture%1").arg(++written)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return CaptureFile { file.fileName() };
    }

    QTemporaryDir folder;
    int written = 0;
};

} // namespace

TEST_F(CaptureFileTest, TicksThatFollowOneAnotherAreReadInOrder)
{
    const CaptureFile capture = write(reports(allOff) + reports(firstLive));
    EXPECT_EQ(capture.ticks(),
        (QList<QByteArray> {
            "01 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28", "b1 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28" }));
    EXPECT_TRUE(capture.endsOnWholeTick());
}

TEST_F(CaptureFileTest, PairsSkippedByABoxThatFellBehindDoNotShiftTheTicksAfterThem)
{
    // Behind while writing light 1, the box took the next tick's lights 2-8
    // in place of the waiting ones: a lone pair of light 1 follows.
    const CaptureFile lonePair = write(reports(allOff) + reports(firstLive.mid(0, 2)) + reports(firstLive));
    EXPECT_EQ(lonePair.ticks(),
        (QList<QByteArray> {
            "01 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28", "b1 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28" }));

    // Lights 1-5 of a tick alone, then a whole tick: counting sixteen from
    // the start would read that tick rotated, from light 6.
    const CaptureFile cutShort = write(reports(allOff.mid(0, 10)) + reports(firstLive));
    EXPECT_EQ(cutShort.ticks(), (QList<QByteArray> { "b1 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28" }));
    EXPECT_TRUE(cutShort.endsOnWholeTick());
}

TEST_F(CaptureFileTest, ABoxLeftHalfwayThroughATickDoesNotEndOnAWholeTick)
{
    const CaptureFile capture = write(reports(allOff) + reports(firstLive.mid(0, 6)));
    EXPECT_EQ(capture.ticks().size(), 1);
    EXPECT_FALSE(capture.endsOnWholeTick());
}

TEST_F(CaptureFileTest, TheTestPanelsSingleBytesAreNoTick)
{
    const CaptureFile capture = write(reports({ "b0", "d0", "00", "20" }) + reports(allOff) + reports({ "b3" }));
    EXPECT_EQ(capture.ticks(), (QList<QByteArray> { "01 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28" }));
    EXPECT_FALSE(capture.endsOnWholeTick());
}
