#include "launch/RunOptions.h"

#include "net/launch/TakingOptions.h"
#include "outputs/MqttPublisher.h"
#include "outputs/TslSender.h"
#include "outputs/WebTallyServer.h"
#include "sources/AtemAddress.h"
#include "sources/ObsAddress.h"
#include "support/QtPrinters.h"
#include "switchers/ObsShotSource.h"

#include <QFile>
#include <QSysInfo>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QUdpSocket>

#include <gtest/gtest.h>

TEST(RunOptionsTest, WithNoOptionsTheSourceIsMixdeskAndEveryArgumentStays)
{
    QStringList arguments { QStringLiteral("studio.tlx"), QStringLiteral("other.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("mixdesk"));
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("studio.tlx"), QStringLiteral("other.tlx") }));
}

TEST(RunOptionsTest, KnownOptionsAreTakenInBothSpellingsAndTheRestIsLeft)
{
    QStringList arguments { QStringLiteral("--source"), QStringLiteral("obs://studio:4455"), QStringLiteral("map.tlx"),
        QStringLiteral("--password-file=/run/secret"), QStringLiteral("--json") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("obs://studio:4455"));
    EXPECT_EQ(options.passwordFile, QStringLiteral("/run/secret"));
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("map.tlx"), QStringLiteral("--json") }));
}

TEST(RunOptionsTest, AnOptionWithoutItsValueIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("map.tlx"), QStringLiteral("--source") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), QStringLiteral("--source needs a value"));
    QStringList empty { QStringLiteral("--password-file=") };
    EXPECT_EQ(takingOptions(empty, &options), QStringLiteral("--password-file needs a value"));
}

TEST(RunOptionsTest, ADoubleDashEndsTheOptions)
{
    QStringList arguments { QStringLiteral("--"), QStringLiteral("--source") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("--"), QStringLiteral("--source") }));
}

TEST(RunOptionsTest, TslDestinationsMayBeGivenMoreThanOnce)
{
    QStringList arguments { QStringLiteral("--tsl5"), QStringLiteral("udp://10.0.0.2:8900"), QStringLiteral("map.tlx"),
        QStringLiteral("--tsl5=tcp://10.0.0.3:9000"), QStringLiteral("--tsl"), QStringLiteral("udp://10.0.0.4:4003"),
        QStringLiteral("--tsl-offset=10") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.tsl50Destinations,
        (QStringList { QStringLiteral("udp://10.0.0.2:8900"), QStringLiteral("tcp://10.0.0.3:9000") }));
    EXPECT_EQ(options.tsl31Destinations, QStringList { QStringLiteral("udp://10.0.0.4:4003") });
    EXPECT_EQ(options.tslIndexOffset, 10);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
}

TEST(RunOptionsTest, AnyTslOptionMarksTslAsGivenOnTheCommandLine)
{
    const QStringList each[] = {
        { QStringLiteral("--tsl"), QStringLiteral("udp://10.0.0.4:4003") },
        { QStringLiteral("--tsl5=tcp://10.0.0.3:9000") },
        { QStringLiteral("--tsl-offset"), QStringLiteral("0") },
    };
    for (QStringList arguments : each) {
        const QString shown = arguments.join(QLatin1Char(' '));
        RunOptions options;
        ASSERT_EQ(takingOptions(arguments, &options), std::nullopt) << shown.toStdString();
        EXPECT_TRUE(options.tslGiven) << shown.toStdString();
    }
    QStringList others { QStringLiteral("--web"), QStringLiteral("8080"), QStringLiteral("map.tlx") };
    RunOptions options;
    ASSERT_EQ(takingOptions(others, &options), std::nullopt);
    EXPECT_FALSE(options.tslGiven);
}

TEST(RunOptionsTest, ATslOffsetThatIsNotANumberIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("--tsl-offset"), QStringLiteral("-1") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options),
        QStringLiteral("--tsl-offset needs a whole number of at least 0, not '-1'"));
    QStringList words { QStringLiteral("--tsl-offset=ten") };
    EXPECT_EQ(
        takingOptions(words, &options), QStringLiteral("--tsl-offset needs a whole number of at least 0, not 'ten'"));
}

TEST(RunOptionsTest, WebTakesAnAddressAndPortOrAPortAlone)
{
    QStringList arguments { QStringLiteral("--web"), QStringLiteral("127.0.0.1:8080"), QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    ASSERT_TRUE(options.web);
    EXPECT_EQ(options.web->address, QHostAddress(QHostAddress::LocalHost));
    EXPECT_EQ(options.web->port, 8080);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });

    QStringList portOnly { QStringLiteral("--web=9000") };
    EXPECT_EQ(takingOptions(portOnly, &options), std::nullopt);
    EXPECT_EQ(options.web->address, QHostAddress(QHostAddress::Any));
    EXPECT_EQ(options.web->port, 9000);
}

TEST(RunOptionsTest, VmixFeedTakesAnAddressAndPortOrAPortAlone)
{
    QStringList arguments { QStringLiteral("--vmix-feed"), QStringLiteral("127.0.0.1:8199"),
        QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    ASSERT_TRUE(options.vmixFeed);
    EXPECT_EQ(options.vmixFeed->address, QHostAddress(QHostAddress::LocalHost));
    EXPECT_EQ(options.vmixFeed->port, 8199);
    EXPECT_FALSE(options.web);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });

    QStringList portOnly { QStringLiteral("--vmix-feed=8100") };
    EXPECT_EQ(takingOptions(portOnly, &options), std::nullopt);
    EXPECT_EQ(options.vmixFeed->address, QHostAddress(QHostAddress::Any));
    EXPECT_EQ(options.vmixFeed->port, 8100);

    QStringList bad { QStringLiteral("--vmix-feed"), QStringLiteral("studio:8100") };
    EXPECT_EQ(takingOptions(bad, &options), QStringLiteral("--vmix-feed: 'studio' is not an IP address"));
}

TEST(RunOptionsTest, VmixFeedAllowTakesAddressesAndNetworksAndNeedsTheFeed)
{
    QStringList arguments { QStringLiteral("--vmix-feed"), QStringLiteral("8100"), QStringLiteral("--vmix-feed-allow"),
        QStringLiteral("10.0.0.5,10.0.1.0/24"), QStringLiteral("--vmix-feed-allow=fd00::5") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.vmixFeedAllowedClients,
        (QStringList { QStringLiteral("10.0.0.5,10.0.1.0/24"), QStringLiteral("fd00::5") }));

    QStringList bad { QStringLiteral("--vmix-feed"), QStringLiteral("8100"), QStringLiteral("--vmix-feed-allow"),
        QStringLiteral("studio") };
    RunOptions badOptions;
    const std::optional<QString> refusal = takingOptions(bad, &badOptions);
    ASSERT_TRUE(refusal);
    EXPECT_TRUE(refusal->startsWith(QStringLiteral("--vmix-feed-allow: "))) << refusal->toStdString();

    QStringList alone { QStringLiteral("--vmix-feed-allow"), QStringLiteral("10.0.0.5") };
    RunOptions aloneOptions;
    EXPECT_EQ(
        takingOptions(alone, &aloneOptions), QStringLiteral("--vmix-feed-allow needs --vmix-feed [ADDRESS:]PORT"));
}

TEST(RunOptionsTest, ABadWebAddressIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("--web"), QStringLiteral("studio:80") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), QStringLiteral("--web: 'studio' is not an IP address"));
    QStringList missing { QStringLiteral("--web") };
    EXPECT_EQ(takingOptions(missing, &options), QStringLiteral("--web needs a value"));
}

TEST(RunOptionsTest, AnObsAddressWithoutPortMeansPort4455)
{
    QString problem;
    const std::optional<ObsAddress> address = ObsAddress::parse(QStringLiteral("obs://studio.local"), &problem);
    ASSERT_TRUE(address.has_value()) << problem.toStdString();
    EXPECT_EQ(address->host, QStringLiteral("studio.local"));
    EXPECT_EQ(address->port, 4455);
    EXPECT_EQ(address->webSocketUrl(), QStringLiteral("ws://studio.local:4455"));
}

TEST(RunOptionsTest, AnIPv6ObsAddressKeepsItsBrackets)
{
    QString problem;
    const std::optional<ObsAddress> address = ObsAddress::parse(QStringLiteral("obs://[::1]:4460"), &problem);
    ASSERT_TRUE(address.has_value()) << problem.toStdString();
    EXPECT_EQ(address->webSocketUrl(), QStringLiteral("ws://[::1]:4460"));
}

TEST(RunOptionsTest, OnlyASourceOnTheCommandLineCountsAsGiven)
{
    QStringList arguments { QStringLiteral("studio.tlx") };
    RunOptions options;
    ASSERT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_FALSE(options.sourceGiven);
    arguments = QStringList { QStringLiteral("--source=mixdesk") };
    ASSERT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_TRUE(options.sourceGiven);
}

TEST(RunOptionsTest, WithoutLostSourceOptionsThePolicyGivenStaysAsItIs)
{
    QStringList arguments { QStringLiteral("map.tlx") };
    RunOptions options;
    ASSERT_EQ(takingOptions(arguments, &options), std::nullopt);
    const LostSourcePolicy saved { LostSourcePolicy::Action::blink, 4, true };
    EXPECT_EQ(options.lostSourcePolicy(saved), saved);
    EXPECT_EQ(options.lostSourcePolicy(), LostSourcePolicy {});
}

TEST(RunOptionsTest, LostSourceOptionsAreTakenAndPutOverThePolicy)
{
    QStringList arguments { QStringLiteral("--when-lost"), QStringLiteral("blink"), QStringLiteral("--blink-after=3"),
        QStringLiteral("--lights-off-at-quit"), QStringLiteral("map.tlx") };
    RunOptions options;
    ASSERT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
    EXPECT_EQ(options.lostSourcePolicy(), (LostSourcePolicy { LostSourcePolicy::Action::blink, 3, true }));
}

TEST(RunOptionsTest, AnUnknownLostSourceActionIsAUsageProblemNamingTheChoices)
{
    QStringList arguments { QStringLiteral("--when-lost=dim") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), QStringLiteral("--when-lost takes keep, off, blink, not 'dim'"));
}

TEST(RunOptionsTest, ABlinkDelayThatIsNotAWholeNumberOfSecondsIsAUsageProblem)
{
    for (const QString& value : { QStringLiteral("-1"), QStringLiteral("soon"), QStringLiteral("1.5") }) {
        QStringList arguments { QStringLiteral("--blink-after"), value };
        RunOptions options;
        EXPECT_EQ(takingOptions(arguments, &options),
            QStringLiteral("--blink-after takes a whole number of seconds, not '%1'").arg(value));
    }
}

TEST(RunOptionsTest, TslAllowTakesAddressesAndNetworksAndMayBeRepeated)
{
    QStringList arguments { QStringLiteral("--tsl-allow"), QStringLiteral("10.0.0.5,10.0.1.0/24"),
        QStringLiteral("map.tlx"), QStringLiteral("--tsl-allow=fd00::7") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
    EXPECT_EQ(
        options.tslAllowedSenders, (QStringList { QStringLiteral("10.0.0.5,10.0.1.0/24"), QStringLiteral("fd00::7") }));
    // Whom the source hears is not where the lights go.
    EXPECT_FALSE(options.tslGiven);
}

TEST(RunOptionsTest, ATslAllowEntryThatIsNotAnAddressIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("--tsl-allow"), QStringLiteral("10.0.0.5,switcher") };
    RunOptions options;
    const std::optional<QString> problem = takingOptions(arguments, &options);
    ASSERT_TRUE(problem.has_value());
    EXPECT_TRUE(problem->startsWith(QStringLiteral("--tsl-allow: 'switcher' is not an IP address")))
        << problem->toStdString();
}

TEST(RunOptionsTest, TslSilenceTakesWholeSecondsWithZeroForNoLimit)
{
    RunOptions defaults;
    EXPECT_EQ(defaults.tslSilenceSeconds, std::nullopt);
    QStringList arguments { QStringLiteral("--tsl-silence"), QStringLiteral("30"), QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.tslSilenceSeconds, 30);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
    EXPECT_FALSE(options.tslGiven) << "how long the source listens is not where the lights go";
    QStringList none { QStringLiteral("--tsl-silence=0") };
    EXPECT_EQ(takingOptions(none, &options), std::nullopt);
    EXPECT_EQ(options.tslSilenceSeconds, 0);
    for (const QString& value : { QStringLiteral("-1"), QStringLiteral("5s"), QStringLiteral("86401") }) {
        QStringList bad { QStringLiteral("--tsl-silence"), value };
        EXPECT_EQ(takingOptions(bad, &options),
            QStringLiteral("--tsl-silence: takes whole seconds from 0 (no limit) to 86400, not '%1'").arg(value));
    }
}

TEST(RunOptionsTest, TheAtemMixEffectIsOneUnlessChosenAndIsNoTslOption)
{
    RunOptions defaults;
    EXPECT_EQ(defaults.atemMixEffect, 1);
    QStringList arguments { QStringLiteral("--atem-me"), QStringLiteral("2"), QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.atemMixEffect, 2);
    EXPECT_FALSE(options.tslGiven);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
    QStringList zero { QStringLiteral("--atem-me=0") };
    EXPECT_EQ(takingOptions(zero, &options), QStringLiteral("--atem-me needs a whole number of at least 1, not '0'"));
}

TEST(RunOptionsTest, MqttBrokersMayBeGivenMoreThanOnceWithTheirFilesAndDiscovery)
{
    QStringList arguments { QStringLiteral("--mqtt"), QStringLiteral("mqtt://a"), QStringLiteral("map.tlx"),
        QStringLiteral("--mqtt=mqtts://tally@b/studio"), QStringLiteral("--mqtt-password-file"),
        QStringLiteral("/run/mqtt"), QStringLiteral("--mqtt-ca-file=ca.pem"), QStringLiteral("--mqtt-discovery") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(
        options.mqttBrokers, (QStringList { QStringLiteral("mqtt://a"), QStringLiteral("mqtts://tally@b/studio") }));
    EXPECT_EQ(options.mqttPasswordFile, QStringLiteral("/run/mqtt"));
    EXPECT_EQ(options.mqttCaFile, QStringLiteral("ca.pem"));
    EXPECT_TRUE(options.mqttDiscovery);
    EXPECT_TRUE(options.mqttGiven);
    EXPECT_FALSE(options.tslGiven);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
}

TEST(RunOptionsTest, DmxDestinationsMayBeGivenMoreThanOnceWithTheStartAndTheLayout)
{
    QStringList arguments { QStringLiteral("--dmx"), QStringLiteral("artnet://10.0.0.5/2"), QStringLiteral("map.tlx"),
        QStringLiteral("--dmx=sacn://"), QStringLiteral("--dmx-start"), QStringLiteral("17"),
        QStringLiteral("--dmx-layout=single") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(
        options.dmxDestinations, (QStringList { QStringLiteral("artnet://10.0.0.5/2"), QStringLiteral("sacn://") }));
    EXPECT_EQ(options.dmxStartChannel, 17);
    EXPECT_EQ(options.dmxLayout, QStringLiteral("single"));
    EXPECT_TRUE(options.dmxGiven);
    EXPECT_FALSE(options.mqttGiven);
    EXPECT_FALSE(options.tslGiven);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
}

TEST(RunOptionsTest, WithoutDmxOptionsTheLayoutIsRgbFromChannelOne)
{
    QStringList arguments { QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_TRUE(options.dmxDestinations.isEmpty());
    EXPECT_EQ(options.dmxStartChannel, 1);
    EXPECT_EQ(options.dmxLayout, QStringLiteral("rgb"));
    EXPECT_FALSE(options.dmxGiven);
}

TEST(RunOptionsTest, AnUnknownDmxLayoutOrAStartBelowOneIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("--dmx-layout"), QStringLiteral("rgbw") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), QStringLiteral("--dmx-layout: takes rgb or single, not 'rgbw'"));
    QStringList start { QStringLiteral("--dmx-start=0") };
    EXPECT_EQ(
        takingOptions(start, &options), QStringLiteral("--dmx-start needs a whole number of at least 1, not '0'"));
}

TEST(RunOptionsTest, SourceSaidAgainAddsASwitcherToFollowBesidesTheFirst)
{
    QStringList arguments { QStringLiteral("--source"), QStringLiteral("atem://10.0.0.5"),
        QStringLiteral("--source=Playback=vmix://10.0.0.6"), QStringLiteral("--source"), QStringLiteral("tsl://8900"),
        QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(takingOptions(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("atem://10.0.0.5"));
    EXPECT_EQ(options.additionalSources,
        (QStringList { QStringLiteral("Playback=vmix://10.0.0.6"), QStringLiteral("tsl://8900") }));
    EXPECT_EQ(options.sources(),
        (QStringList { QStringLiteral("atem://10.0.0.5"), QStringLiteral("Playback=vmix://10.0.0.6"),
            QStringLiteral("tsl://8900") }));
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });
}
