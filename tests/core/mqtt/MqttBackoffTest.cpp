#include "mqtt/MqttBackoff.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(MqttBackoffTest, TheWaitDoublesUpToTheCeilingAndStartsAgainAfterASuccess)
{
    MqttBackoff backoff(1s, 30s);
    EXPECT_EQ(backoff.next(), 1s);
    EXPECT_EQ(backoff.next(), 2s);
    EXPECT_EQ(backoff.next(), 4s);
    EXPECT_EQ(backoff.next(), 8s);
    EXPECT_EQ(backoff.next(), 16s);
    EXPECT_EQ(backoff.next(), 30s);
    EXPECT_EQ(backoff.next(), 30s);
    backoff.reset();
    EXPECT_EQ(backoff.next(), 1s);
}

TEST(MqttBackoffTest, ACeilingBelowTheFirstWaitIsTheFirstWait)
{
    MqttBackoff backoff(5s, 1s);
    EXPECT_EQ(backoff.next(), 5s);
    EXPECT_EQ(backoff.next(), 5s);
}
