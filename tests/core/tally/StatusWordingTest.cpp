#include "tally/StatusWording.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

ShotSource::Details followed(const QString& what, const QString& link = {})
{
    return { what, false, link, std::nullopt, {} };
}

ShotSource::Details listener(const QString& what, std::optional<qint64> since = std::nullopt, const QString& from = {})
{
    return { what, true, {}, since, from };
}

} // namespace

TEST(StatusWordingTest, ASourceWithALinkSaysHowTheLinkIs)
{
    EXPECT_EQ(StatusWording::source(
                  followed(QStringLiteral("OBS Studio at 10.0.0.5:4455"), QStringLiteral("connected")), true, 12),
        QStringLiteral("Following OBS Studio at 10.0.0.5:4455 · connected"));
    EXPECT_EQ(StatusWording::source(
                  followed(QStringLiteral("OBS Studio at 10.0.0.5:4455"), QStringLiteral("connecting")), false, 0),
        QStringLiteral("Following OBS Studio at 10.0.0.5:4455 · connecting"));
}

TEST(StatusWordingTest, AListenerSaysWhenItLastHeardAndFromWhom)
{
    EXPECT_EQ(StatusWording::source(
                  listener(QStringLiteral("TSL 5.0 on port 8900"), 400, QStringLiteral("10.0.0.7")), true, 8),
        QStringLiteral("Listening for TSL 5.0 on port 8900 · last message 0.4 s ago from 10.0.0.7"));
    EXPECT_EQ(StatusWording::source(listener(QStringLiteral("TSL 3.1 on port 4003"), 75'000), false, 8),
        QStringLiteral("Listening for TSL 3.1 on port 4003 · last message 1 min ago"));
    EXPECT_EQ(StatusWording::source(listener(QStringLiteral("TSL 5.0 on port 8900")), false, 0),
        QStringLiteral("Listening for TSL 5.0 on port 8900 · no message yet"));
}

TEST(StatusWordingTest, MixdesksQuerySaysWhetherItRunsAndHowManyShotsItGives)
{
    const ShotSource::Details mixdesk = followed(QStringLiteral("Mixdesk"));
    EXPECT_EQ(StatusWording::source(mixdesk, true, 5), QStringLiteral("Following Mixdesk · 5 shots"));
    EXPECT_EQ(StatusWording::source(mixdesk, true, 1), QStringLiteral("Following Mixdesk · 1 shot"));
    EXPECT_EQ(StatusWording::source(mixdesk, true, 0), QStringLiteral("Following Mixdesk · no shots"));
    EXPECT_EQ(StatusWording::source(mixdesk, false, 5), QStringLiteral("Following Mixdesk · not running"));
}

TEST(StatusWordingTest, AStudioWithoutABoxSaysWhereItsLightsGoAfterTheOutputs)
{
    StatusWording::Outputs alone;
    alone.noTallyBox = true;
    EXPECT_EQ(StatusWording::outputs(alone), QStringLiteral("No box (phones, TSL and MQTT only)"));

    StatusWording::Outputs withPhones;
    withPhones.phonesConnected = 2;
    withPhones.noTallyBox = true;
    EXPECT_EQ(
        StatusWording::outputs(withPhones), QStringLiteral("Phones: 2 connected · No box (phones, TSL and MQTT only)"));
    withPhones.noTallyBox = false;
    EXPECT_EQ(StatusWording::outputs(withPhones), QStringLiteral("Phones: 2 connected"));
}

TEST(StatusWordingTest, TheOutputsThatRunAreCountedAndTheOthersLeftOut)
{
    StatusWording::Outputs both;
    both.phonesConnected = 3;
    both.tslDestinations = 2;
    EXPECT_EQ(StatusWording::outputs(both), QStringLiteral("Phones: 3 connected · TSL: 2 destinations"));

    StatusWording::Outputs pageAlone;
    pageAlone.phonesConnected = 0;
    EXPECT_EQ(StatusWording::outputs(pageAlone), QStringLiteral("Phones: 0 connected"));

    StatusWording::Outputs oneDestination;
    oneDestination.tslDestinations = 1;
    EXPECT_EQ(StatusWording::outputs(oneDestination), QStringLiteral("TSL: 1 destination"));

    EXPECT_EQ(StatusWording::outputs({}), QString());
}

TEST(StatusWordingTest, MqttSaysWhetherItsBrokerIsConnectedOrHowManyOfThemAre)
{
    StatusWording::Outputs one;
    one.mqttBrokers = 1;
    EXPECT_EQ(StatusWording::outputs(one), QStringLiteral("MQTT: not connected"));
    one.mqttConnected = 1;
    EXPECT_EQ(StatusWording::outputs(one), QStringLiteral("MQTT: connected"));
    StatusWording::Outputs two;
    two.tslDestinations = 2;
    two.mqttBrokers = 2;
    two.mqttConnected = 1;
    EXPECT_EQ(StatusWording::outputs(two), QStringLiteral("TSL: 2 destinations · MQTT: 1 of 2 brokers connected"));
}

TEST(StatusWordingTest, TheSituationIsTheSourceThenTheOutputs)
{
    EXPECT_EQ(StatusWording::situation(QStringLiteral("Following Mixdesk · 5 shots"), QString()),
        QStringLiteral("Following Mixdesk · 5 shots"));
    EXPECT_EQ(
        StatusWording::situation(QStringLiteral("Following Mixdesk · 5 shots"), QStringLiteral("TSL: 1 destination")),
        QStringLiteral("Following Mixdesk · 5 shots · TSL: 1 destination"));
}

TEST(StatusWordingTest, ElapsedTimeIsAsShortAsReadsWell)
{
    EXPECT_EQ(StatusWording::elapsed(0), QStringLiteral("0.0 s"));
    EXPECT_EQ(StatusWording::elapsed(449), QStringLiteral("0.4 s"));
    EXPECT_EQ(StatusWording::elapsed(9'940), QStringLiteral("9.9 s"));
    EXPECT_EQ(StatusWording::elapsed(10'000), QStringLiteral("10 s"));
    EXPECT_EQ(StatusWording::elapsed(59'999), QStringLiteral("59 s"));
    EXPECT_EQ(StatusWording::elapsed(60'000), QStringLiteral("1 min"));
    EXPECT_EQ(StatusWording::elapsed(-5), QStringLiteral("0.0 s"));
}
