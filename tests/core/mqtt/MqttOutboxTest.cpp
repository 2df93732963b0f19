#include "mqtt/MqttOutbox.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

MqttMessage message(const char* topic, const char* payload, bool retain = true)
{
    return { QString::fromLatin1(topic), QByteArray(payload), retain };
}

} // namespace

TEST(MqttOutboxTest, ALaterMessageForATopicReplacesTheOneStillWaiting)
{
    MqttOutbox outbox;
    for (int cut = 0; cut < 1000; ++cut) {
        outbox.put(message("p/light/1/state", cut % 2 ? "live" : "preview"));
        outbox.put(message("p/lights", QByteArray::number(cut).constData()));
    }
    EXPECT_EQ(outbox.pendingCount(), 2);
    const QList<MqttMessage> pending = outbox.takePending();
    ASSERT_EQ(pending.size(), 2);
    EXPECT_EQ(pending[0], message("p/light/1/state", "live"));
    EXPECT_EQ(pending[1], message("p/lights", "999"));
    EXPECT_TRUE(outbox.takePending().isEmpty());
}

TEST(MqttOutboxTest, PendingMessagesGoInTheOrderTheirTopicsFirstCame)
{
    MqttOutbox outbox;
    outbox.put(message("a", "1"));
    outbox.put(message("b", "1"));
    outbox.takePending();
    outbox.settleAll();
    outbox.put(message("b", "2"));
    outbox.put(message("a", "2"));
    const QList<MqttMessage> pending = outbox.takePending();
    ASSERT_EQ(pending.size(), 2);
    EXPECT_EQ(pending[0].topic, QStringLiteral("a"));
    EXPECT_EQ(pending[1].topic, QStringLiteral("b"));
}

TEST(MqttOutboxTest, ANewConnectionGetsEveryRetainedMessageAgainButNoPassingOne)
{
    MqttOutbox outbox;
    outbox.put(message("a", "1"));
    outbox.put(message("event", "x", false));
    outbox.put(message("b", "2"));
    outbox.takePending();
    outbox.settleAll();
    outbox.markAllPending();
    const QList<MqttMessage> again = outbox.takePending();
    ASSERT_EQ(again.size(), 2);
    EXPECT_EQ(again[0], message("a", "1"));
    EXPECT_EQ(again[1], message("b", "2"));
}

TEST(MqttOutboxTest, ARefreshMarksTheExpiringMessagesAgainAndLeavesTheLastingOnesAlone)
{
    MqttOutbox outbox;
    outbox.put(message("p/status", "online"));
    outbox.put({ QStringLiteral("p/light/1/state"), "live", true, 15s });
    outbox.put({ QStringLiteral("p/lights"), "{}", true, 15s });
    outbox.takePending();
    outbox.settleAll();
    outbox.markExpiringPending();
    const QList<MqttMessage> again = outbox.takePending();
    ASSERT_EQ(again.size(), 2);
    EXPECT_EQ(again[0], (MqttMessage { QStringLiteral("p/light/1/state"), "live", true, 15s }));
    EXPECT_EQ(again[1].topic, QStringLiteral("p/lights"));
    // One still waiting is not marked twice.
    outbox.put({ QStringLiteral("p/lights"), "{\"new\":1}", true, 15s });
    outbox.markExpiringPending();
    EXPECT_EQ(outbox.pendingCount(), 2);
}

TEST(MqttOutboxTest, WhileATopicsMessageIsInFlightOnlyItsLatestWaitsAndTheOtherTopicsGo)
{
    MqttOutbox outbox;
    outbox.put(message("p/light/1/state", "live"));
    outbox.put(message("p/light/2/state", "off"));
    ASSERT_EQ(outbox.takePending().size(), 2);
    EXPECT_TRUE(outbox.isInFlight(QStringLiteral("p/light/1/state")));
    outbox.settle(QStringLiteral("p/light/2/state"));
    for (int cut = 0; cut < 20; ++cut) {
        outbox.put(message("p/light/1/state", cut % 2 ? "live" : "preview"));
        outbox.put(message("p/light/2/state", cut % 2 ? "preview" : "live"));
    }
    // Light 2's broker took its last one: its latest goes. Light 1's waits.
    EXPECT_EQ(outbox.takePending(), QList<MqttMessage> { message("p/light/2/state", "preview") });
    EXPECT_TRUE(outbox.takePending().isEmpty());
    EXPECT_EQ(outbox.pendingCount(), 1);
    outbox.settle(QStringLiteral("p/light/1/state"));
    EXPECT_EQ(outbox.takePending(), QList<MqttMessage> { message("p/light/1/state", "live") });
    EXPECT_TRUE(outbox.takePending().isEmpty());
}

TEST(MqttOutboxTest, ANewConnectionForgetsWhatWasInFlight)
{
    MqttOutbox outbox;
    outbox.put(message("a", "1"));
    outbox.takePending();
    outbox.put(message("a", "2"));
    EXPECT_TRUE(outbox.takePending().isEmpty());
    outbox.settleAll();
    outbox.markAllPending();
    EXPECT_EQ(outbox.takePending(), QList<MqttMessage> { message("a", "2") });
}
