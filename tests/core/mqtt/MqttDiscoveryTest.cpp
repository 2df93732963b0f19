#include "mqtt/MqttDiscovery.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

TEST(MqttDiscoveryTest, OneRetainedSensorConfigPerLightTiedToTheStatusTopic)
{
    const QList<MqttMessage> configs
        = MqttDiscovery::messages(QStringLiteral("mixdesk-tally/desk.a"), QStringLiteral("desk.a"), 8);
    ASSERT_EQ(configs.size(), 8);
    EXPECT_EQ(configs[2].topic, QStringLiteral("homeassistant/sensor/desk_a/light3/config"));
    EXPECT_TRUE(configs[2].retain);
    const QJsonObject config = QJsonDocument::fromJson(configs[2].payload).object();
    EXPECT_EQ(config.value("name").toString(), QStringLiteral("Tally light 3"));
    EXPECT_EQ(config.value("unique_id").toString(), QStringLiteral("mixdesk-tally_desk_a_light3"));
    EXPECT_EQ(config.value("state_topic").toString(), QStringLiteral("mixdesk-tally/desk.a/light/3/state"));
    EXPECT_EQ(config.value("json_attributes_topic").toString(), QStringLiteral("mixdesk-tally/desk.a/light/3"));
    EXPECT_EQ(config.value("availability_topic").toString(), QStringLiteral("mixdesk-tally/desk.a/status"));
    EXPECT_EQ(config.value("payload_available").toString(), QStringLiteral("online"));
    EXPECT_EQ(config.value("payload_not_available").toString(), QStringLiteral("offline"));
    EXPECT_EQ(config.value("device_class").toString(), QStringLiteral("enum"));
    EXPECT_EQ(config.value("options").toArray().size(), 4);
    EXPECT_EQ(config.value("device").toObject().value("identifiers").toArray().first().toString(),
        QStringLiteral("mixdesk-tally_desk_a"));
}

TEST(MqttDiscoveryTest, TheNodeIdKeepsOnlyWhatHomeAssistantAllows)
{
    EXPECT_EQ(MqttDiscovery::nodeId(QStringLiteral("Desk A.local_1-2")), QStringLiteral("Desk_A_local_1-2"));
}
