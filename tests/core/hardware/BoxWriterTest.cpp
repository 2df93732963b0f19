#include "hardware/BoxWriter.h"

#include "core/hardware/HardwareFakes.h"
#include "hardware/USBHIDAppDelegate.h"

#include <QList>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

using namespace std::chrono_literals;

LightCommand::BytePair pair(quint8 first, quint8 second)
{
    return { first, second };
}

// A box that records every byte with the thread that wrote it. While held,
// its first write waits until the test lets it go, so that the test knows
// exactly what was handed in while the device was busy.
class RecordingBox {
public:
    explicit RecordingBox(std::chrono::milliseconds perByte = 0ms)
        : m_perByte(perByte)
    {
    }

    BoxWriter::WriteByte writer()
    {
        return [this](quint8 byte) { write(byte); };
    }

    void holdFirstWrite()
    {
        const std::lock_guard lock(m_mutex);
        m_holding = true;
    }

    // Waits until the first write is under way (and held).
    void waitForFirstWrite()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_started > 0; });
    }

    void release()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_holding = false;
        }
        m_changed.notify_all();
    }

    QList<quint8> bytes() const
    {
        const std::lock_guard lock(m_mutex);
        return m_bytes;
    }

    QList<std::thread::id> threads() const
    {
        const std::lock_guard lock(m_mutex);
        return m_threads;
    }

private:
    void write(quint8 byte)
    {
        std::unique_lock lock(m_mutex);
        ++m_started;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_holding; });
        lock.unlock();
        if (m_perByte.count() > 0) {
            std::this_thread::sleep_for(m_perByte);
        }
        lock.lock();
        m_bytes.append(byte);
        m_threads.append(std::this_thread::get_id());
    }

    const std::chrono::milliseconds m_perByte;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_holding = false;
    int m_started = 0;
    QList<quint8> m_bytes;
    QList<std::thread::id> m_threads;
};

// One light's pair in a tick, made from the tick's number so that ticks
// can be told apart.
LightCommand::BytePair tickPair(quint8 tick, qsizetype light)
{
    return pair(quint8(tick * 16 + light), quint8(0x80 + light));
}

// The lights of one tick of eight, left for the writer until the caller
// starts it.
void handInRound(BoxWriter& writer, quint8 tick)
{
    for (qsizetype light = 0; light < 8; ++light) {
        writer.handInLight(light, tickPair(tick, light));
    }
}

// One tick as the program hands it in: the round, then the writer started.
void handInTick(BoxWriter& writer, quint8 tick)
{
    handInRound(writer, tick);
    writer.startWriting();
}

QList<quint8> tickBytes(quint8 tick)
{
    QList<quint8> bytes;
    for (qsizetype light = 0; light < 8; ++light) {
        const LightCommand::BytePair bytesOfLight = tickPair(tick, light);
        bytes << bytesOfLight.first << bytesOfLight.second;
    }
    return bytes;
}

} // namespace

TEST(BoxWriterTest, ABoxThatKeepsUpGetsEveryByteInTheOrderHandedIn)
{
    RecordingBox box;
    BoxWriter writer(box.writer());

    QList<quint8> expected;
    for (quint8 tick = 0; tick < 3; ++tick) {
        handInTick(writer, tick);
        writer.waitUntilWritten();
        expected += tickBytes(tick);
    }

    EXPECT_EQ(box.bytes(), expected);
}

TEST(BoxWriterTest, TheBytesAreWrittenOnAThreadOtherThanTheCallers)
{
    RecordingBox box;
    BoxWriter writer(box.writer());

    writer.handInLight(0, pair(0xB1, 0x21));
    writer.waitUntilWritten();

    ASSERT_EQ(box.threads().size(), 2);
    EXPECT_NE(box.threads().first(), std::this_thread::get_id());
}

TEST(BoxWriterTest, HandingInNeverWaitsForABusyDevice)
{
    RecordingBox box;
    box.holdFirstWrite();
    BoxWriter writer(box.writer());

    writer.handInLight(0, pair(0xB1, 0x21));
    writer.startWriting();
    box.waitForFirstWrite();
    // The device is stuck in its first write; a tick still returns.
    for (quint8 tick = 1; tick < 100; ++tick) {
        handInTick(writer, tick % 16);
    }

    EXPECT_TRUE(box.bytes().isEmpty());
    box.release();
}

TEST(BoxWriterTest, ALightHandedInAgainBeforeItsPairWentOutReplacesThatPairWhereItStands)
{
    RecordingBox box;
    box.holdFirstWrite();
    BoxWriter writer(box.writer());

    writer.handInLight(0, pair(0x01, 0x21));
    writer.startWriting();
    box.waitForFirstWrite();
    writer.handInLight(1, pair(0x02, 0x22));
    writer.handInLight(2, pair(0x03, 0x23));
    writer.handInLight(1, pair(0xB2, 0x22));
    writer.startWriting();
    box.release();
    writer.waitUntilWritten();

    EXPECT_EQ(box.bytes(), QList<quint8>({ 0x01, 0x21, 0xB2, 0x22, 0x03, 0x23 }));
}

TEST(BoxWriterTest, ADeviceThatFellBehindGetsTheLatestTickNotABacklog)
{
    RecordingBox box;
    box.holdFirstWrite();
    BoxWriter writer(box.writer());

    handInTick(writer, 0);
    box.waitForFirstWrite();
    for (quint8 tick = 1; tick < 16; ++tick) {
        handInTick(writer, tick);
    }
    box.release();
    writer.waitUntilWritten();

    // Light 1 of the first tick was already on its way; then the last tick's
    // pair of every light, the lights in turn from where the box was (light
    // 1 again last), and nothing of the fourteen ticks between.
    const QList<quint8> last = tickBytes(15);
    EXPECT_EQ(box.bytes(), QList<quint8>({ 0x00, 0x80 }) + last.mid(2) + last.mid(0, 2));
}

TEST(BoxWriterTest, ASlowDeviceEndsOnTheLastStateWithFarFewerWritesThanHandedIn)
{
    RecordingBox box(2ms);
    BoxWriter writer(box.writer());

    constexpr int ticks = 40;
    for (int tick = 0; tick < ticks; ++tick) {
        handInTick(writer, quint8(tick % 16));
        std::this_thread::sleep_for(1ms);
    }
    writer.waitUntilWritten();

    // What each light was told last, by its preview byte (0x80 + light).
    const QList<quint8> bytes = box.bytes();
    ASSERT_EQ(bytes.size() % 2, 0);
    QList<int> lastFirstByte(8, -1);
    for (qsizetype at = 0; at < bytes.size(); at += 2) {
        lastFirstByte[bytes[at + 1] - 0x80] = bytes[at];
    }
    const QList<quint8> last = tickBytes((ticks - 1) % 16);
    for (int light = 0; light < 8; ++light) {
        EXPECT_EQ(lastFirstByte[light], last[light * 2]) << "light " << light + 1;
    }
    // Every tick written whole would be 640 bytes taking 1.3 s; a writer
    // that skips stale pairs writes a fraction of that.
    EXPECT_LT(bytes.size(), ticks * 16 / 2);
}

TEST(BoxWriterTest, SingleBytesAreNeverMergedAndNoPairMovesPastOne)
{
    RecordingBox box;
    box.holdFirstWrite();
    BoxWriter writer(box.writer());

    writer.handInLight(0, pair(0x01, 0x21));
    writer.startWriting();
    box.waitForFirstWrite();
    writer.sendByte(0xB0);
    writer.handInLight(1, pair(0x02, 0x22));
    writer.sendByte(0xB0);
    writer.handInLight(1, pair(0xB2, 0x22));
    writer.handInLight(2, pair(0x03, 0x23));
    writer.handInLight(1, pair(0x02, 0xD2));
    writer.startWriting();
    box.release();
    writer.waitUntilWritten();

    EXPECT_EQ(box.bytes(), QList<quint8>({ 0x01, 0x21, 0xB0, 0x02, 0x22, 0xB0, 0x02, 0xD2, 0x03, 0x23 }));
}

TEST(BoxWriterTest, EndingTheWriterWritesEverythingStillWaitingFirst)
{
    RecordingBox box(2ms);
    {
        BoxWriter writer(box.writer());
        // The lights off at quit, handed in just before the program ends.
        for (qsizetype light = 0; light < 8; ++light) {
            writer.handInLight(light, pair(quint8(light + 1), quint8(0x20 + light + 1)));
        }
        writer.sendByte(0xB0);
    }

    QList<quint8> expected;
    for (int light = 0; light < 8; ++light) {
        expected << quint8(light + 1) << quint8(0x20 + light + 1);
    }
    expected << 0xB0;
    EXPECT_EQ(box.bytes(), expected);
}

TEST(BoxWriterTest, OnTheCallersThreadEveryByteIsWrittenBeforeTheCallReturns)
{
    RecordingBox box;
    BoxWriter writer(box.writer(), BoxWriter::Threading::callersThread);

    writer.handInLight(3, pair(0xB4, 0x24));
    EXPECT_EQ(box.bytes(), QList<quint8>({ 0xB4, 0x24 }));
    writer.sendByte(0xD0);
    EXPECT_EQ(box.bytes(), QList<quint8>({ 0xB4, 0x24, 0xD0 }));
    EXPECT_EQ(box.threads().first(), std::this_thread::get_id());
}

TEST(BoxWriterTest, ABoxPluggedInBetweenTwoTicksGetsTheWholeStateOfTheNextOne)
{
    auto* backend = new FakeBackend;
    USBHIDAppDelegate box { std::unique_ptr<HidBackend>(backend) };
    BoxWriter writer([&box](quint8 byte) { box.sendControl(byte); });

    handInTick(writer, 1); // no box yet: dropped
    writer.waitUntilWritten();
    auto device = std::make_shared<FakeDevice>();
    backend->plug(device);
    handInTick(writer, 2);
    writer.waitUntilWritten();
    backend->unplug(device);
    handInTick(writer, 3); // gone again: dropped
    writer.waitUntilWritten();

    EXPECT_EQ(device->commandBytes(), tickBytes(2));
}

TEST(BoxWriterTest, ARoundHandedInWaitsForTheWriterToBeStartedAndThenGoesOutWhole)
{
    RecordingBox box;
    BoxWriter writer(box.writer());
    // The tick before: once it is written, the writer sleeps. (A writer that
    // has not yet slept at all takes whatever waits, woken or not.)
    handInTick(writer, 1);
    writer.waitUntilWritten();

    handInRound(writer, 2);
    // Time enough for a writer woken by the first light to have written it.
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(box.bytes(), tickBytes(1));
    writer.startWriting();
    writer.waitUntilWritten();

    EXPECT_EQ(box.bytes(), tickBytes(1) + tickBytes(2));
}

TEST(BoxWriterTest, ARoundNobodyStartedIsWrittenByWaitingForItOrByEndingTheWriter)
{
    RecordingBox box;
    {
        BoxWriter writer(box.writer());
        handInRound(writer, 1);
        writer.waitUntilWritten();
        EXPECT_EQ(box.bytes(), tickBytes(1));
        // The lights at quit, handed in as the program ends.
        handInRound(writer, 2);
    }

    EXPECT_EQ(box.bytes(), tickBytes(1) + tickBytes(2));
}

TEST(BoxWriterTest, ASingleByteStartsTheRoundHandedInBeforeIt)
{
    RecordingBox box;
    BoxWriter writer(box.writer());

    handInRound(writer, 1);
    writer.sendByte(0xB0);
    // Not waitUntilWritten, which would start the writer itself.
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (box.bytes().size() < 17 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }

    EXPECT_EQ(box.bytes(), tickBytes(1) + QList<quint8>({ 0xB0 }));
}
