#include "mqtt/MqttBackoff.h"

#include <gtest/gtest.h>

#include <algorithm>

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

TEST(MqttBackoffTest, ABrokerAwayLongIsTriedAgainAtLeastEveryTwoSeconds)
{
    MqttBackoff backoff;
    std::chrono::milliseconds longest {};
    for (int attempt = 0; attempt < 100; ++attempt) {
        longest = std::max(longest, backoff.next());
    }
    EXPECT_LT(longest, 2s);
    EXPECT_GT(longest, 0ms);
}
