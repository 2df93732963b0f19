#include "launch/HandOverRequest.h"

#include "launch/RunBuilder.h"
#include "launch/RunOptions.h"
#include "support/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// The request a second launch with these arguments (run in folder) hands
// over, or the reason it refuses them.
struct Launch {
    std::optional<HandOverRequest> request;
    QString problem;
};

Launch secondLaunch(QStringList arguments, const QString& folder = QStringLiteral("/home/operator/maps"))
{
    Launch launch;
    RunOptions options;
    if (!RunOptions::takeFrom(arguments, &options, &launch.problem)) {
        ADD_FAILURE() << "the options themselves were refused: " << launch.problem.toStdString();
        return launch;
    }
    launch.request = HandOverRequest::fromLaunch(options, arguments, folder, &launch.problem);
    return launch;
}

// The reason a second launch with these arguments is refused; empty, with a
// failure, when it is not.
QString refusalOf(const QStringList& arguments)
{
    const Launch launch = secondLaunch(arguments);
    EXPECT_FALSE(launch.request) << arguments.join(' ').toStdString();
    return launch.problem;
}

// What the window reads from line, or the reason it refuses it.
std::optional<QString> decodeProblem(const QByteArray& line)
{
    QString problem;
    if (HandOverRequest::decode(line, &problem)) {
        return std::nullopt;
    }
    return problem;
}

HandOverRequest everyChoice()
{
    HandOverRequest request;
    request.files = QStringList { "/home/operator/maps/studio.tlx", "/srv/other map.tlx" };
    request.source = HandOverRequest::Source { "tsl5://9900", "", { "10.0.0.5", "10.0.1.0/24" },
        QStringList { "Playback=vmix://10.0.0.6" } };
    request.webGiven = true;
    request.outputs.web = "127.0.0.1:8090";
    request.vmixFeedGiven = true;
    request.outputs.vmixFeed = "127.0.0.1:8100";
    request.tslGiven = true;
    request.outputs.tsl31Destinations = QStringList { "udp://10.0.0.9:8900" };
    request.outputs.tsl50Destinations = QStringList { "tcp://10.0.0.9:9000" };
    request.outputs.tslIndexOffset = 4;
    request.mqttGiven = true;
    request.outputs.mqttBrokers = QStringList { "mqtts://tally@broker:8883/studio" };
    request.outputs.mqttDiscovery = true;
    request.outputs.mqttPasswordFile = "/run/secrets/mqtt";
    request.outputs.mqttCaFile = "/etc/ca.pem";
    request.dmxGiven = true;
    request.outputs.dmxDestinations = QStringList { "artnet://10.0.0.20/3", "sacn://" };
    request.outputs.dmxStartChannel = 101;
    request.outputs.dmxLayout = "single";
    request.whenSourceLost = LostSourcePolicy::Action::blink;
    request.blinkAfterSeconds = 30;
    request.lightsOffAtQuit = true;
    return request;
}

} // namespace

TEST(HandOverRequestTest, EveryChoiceArrivesAsItWasSent)
{
    const HandOverRequest sent = everyChoice();
    const QByteArray line = sent.encode();
    EXPECT_TRUE(line.endsWith('\n'));
    EXPECT_EQ(line.count('\n'), 1) << "one line, whatever the paths hold";
    QString problem;
    const std::optional<HandOverRequest> received = HandOverRequest::decode(line, &problem);
    ASSERT_TRUE(received) << problem.toStdString();
    EXPECT_EQ(*received, sent);
}

TEST(HandOverRequestTest, AnObsPasswordAndAPathWithALineFeedStayInTheOneLine)
{
    HandOverRequest sent;
    sent.files = QStringList { "/maps/two\nlines.tlx" };
    sent.source = HandOverRequest::Source { "obs://studio:4455", "pa\"ss\nword", {}, std::nullopt };
    const QByteArray line = sent.encode();
    EXPECT_EQ(line.count('\n'), 1);
    const std::optional<HandOverRequest> received = HandOverRequest::decode(line, nullptr);
    ASSERT_TRUE(received);
    EXPECT_EQ(*received, sent);
}

TEST(HandOverRequestTest, AMapAloneChangesNoChoiceOfTheWindow)
{
    const std::optional<HandOverRequest> received
        = HandOverRequest::decode(R"({"version":1,"files":["/maps/studio.tlx"]})", nullptr);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->files, QStringList { "/maps/studio.tlx" });
    EXPECT_FALSE(received->source);
    EXPECT_FALSE(received->changesOutputs());
    EXPECT_FALSE(received->changesLostSourcePolicy());
}

TEST(HandOverRequestTest, FieldsTheWindowDoesNotKnowAreIgnored)
{
    const std::optional<HandOverRequest> received = HandOverRequest::decode(
        R"({"version":1,"files":["/maps/studio.tlx"],"colour":"red","web":"8090","extra":{"deep":[1,2]}})", nullptr);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->files, QStringList { "/maps/studio.tlx" });
    EXPECT_TRUE(received->webGiven);
    EXPECT_EQ(received->outputs.web, QStringLiteral("8090"));
}

TEST(HandOverRequestTest, AMessageOfAnotherVersionOrWithoutOneIsRefused)
{
    for (const QByteArray& line : { QByteArray(R"({"version":2,"files":["/maps/studio.tlx"]})"),
             QByteArray(R"({"version":"1","files":["/maps/studio.tlx"]})"),
             QByteArray(R"({"files":["/maps/studio.tlx"]})") }) {
        const std::optional<QString> problem = decodeProblem(line);
        ASSERT_TRUE(problem) << line.toStdString();
        EXPECT_TRUE(problem->contains(QStringLiteral("version 1 only"))) << problem->toStdString();
    }
}

TEST(HandOverRequestTest, JunkIsRefusedWithAReason)
{
    const QByteArray junk[] = {
        "",
        "\n",
        "folder:/home/operator\nstudio.tlx\n\n",
        "[1,2,3]",
        "{\"version\":1,",
        "\"version\"",
        QByteArray("\x00\xff\xfe{}", 5),
        QByteArray(100000, '['),
        QByteArray(2000, '[') + QByteArray(2000, ']'),
    };
    for (const QByteArray& line : junk) {
        const std::optional<QString> problem = decodeProblem(line);
        ASSERT_TRUE(problem) << line.left(40).toStdString();
        EXPECT_FALSE(problem->isEmpty());
    }
}

TEST(HandOverRequestTest, AFieldOfTheWrongKindIsRefusedAndNamed)
{
    const struct {
        QByteArray line;
        QString named;
    } cases[] = {
        { R"({"version":1,"files":"/maps/studio.tlx"})", "'files'" },
        { R"({"version":1,"files":["/maps/a.tlx",7]})", "'files'" },
        { R"({"version":1,"web":8090})", "'web'" },
        { R"({"version":1,"source":"obs://studio"})", "'source'" },
        { R"({"version":1,"source":{"password":"x"}})", "'address'" },
        { R"({"version":1,"source":{"address":"obs://studio","allowedSenders":"10.0.0.5"}})", "'allowedSenders'" },
        { R"({"version":1,"tsl":{"tsl31":["udp://h:1"],"offset":-1}})", "'offset'" },
        { R"({"version":1,"tsl":{"tsl31":["udp://h:1"],"offset":1.5}})", "'offset'" },
        { R"({"version":1,"tsl":{"tsl31":["udp://h:1"],"offset":1e300}})", "'offset'" },
        { R"({"version":1,"mqtt":{"brokers":["mqtt://b"],"discovery":"yes"}})", "'discovery'" },
        { R"({"version":1,"whenLost":"explode"})", "'whenLost'" },
        { R"({"version":1,"blinkAfter":-3})", "'blinkAfter'" },
        { R"({"version":1,"lightsOffAtQuit":1})", "'lightsOffAtQuit'" },
    };
    for (const auto& test : cases) {
        const std::optional<QString> problem = decodeProblem(test.line);
        ASSERT_TRUE(problem) << test.line.toStdString();
        EXPECT_TRUE(problem->contains(test.named)) << problem->toStdString();
    }
}

TEST(HandOverRequestTest, AFileWithoutItsAbsolutePathIsRefused)
{
    // The window's folder is not the launch's: a relative path would open
    // some other file.
    const std::optional<QString> problem = decodeProblem(R"({"version":1,"files":["/maps/a.tlx","studio.tlx"]})");
    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->contains(QStringLiteral("absolute path"))) << problem->toStdString();
}

TEST(HandOverRequestTest, AMessageLongerThanTheLimitIsRefused)
{
    HandOverRequest request;
    request.files = QStringList { QStringLiteral("/") + QString(HandOverRequest::maximumBytes, QLatin1Char('a')) };
    EXPECT_TRUE(decodeProblem(request.encode()));
}

TEST(HandOverRequestTest, AMapIsHandedOverWithItsPathTakenFromTheLaunchFolder)
{
    const Launch launch = secondLaunch({ "studio.tlx", "../other.tlx", "/abs/third.tlx" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_EQ(launch.request->files,
        (QStringList { "/home/operator/maps/studio.tlx", "/home/operator/other.tlx", "/abs/third.tlx" }));
    EXPECT_FALSE(launch.request->source);
    EXPECT_FALSE(launch.request->changesOutputs());
    EXPECT_FALSE(launch.request->changesLostSourcePolicy());
}

TEST(HandOverRequestTest, AnUnknownSourceIsRefusedByTheLaunch)
{
    EXPECT_TRUE(refusalOf({ "--source", "bogus://x" }).startsWith(QStringLiteral("unknown source 'bogus://x'")));
}

TEST(HandOverRequestTest, ABadSourceAddressIsRefusedByTheLaunch)
{
    EXPECT_FALSE(refusalOf({ "--source", "obs://studio:99999" }).isEmpty());
    EXPECT_FALSE(refusalOf({ "--source", "tsl://70000" }).isEmpty());
    EXPECT_FALSE(refusalOf({ "--source", "atem://" }).isEmpty());
}

TEST(HandOverRequestTest, TheAtemMixEffectIsTakenOnlyWhenTheWindowStarts)
{
    const QString problem = refusalOf({ "--source", "atem://10.0.0.7", "--atem-me", "2" });
    EXPECT_TRUE(problem.startsWith(QStringLiteral("--atem-me is taken only when Mixdesk Tally starts")))
        << problem.toStdString();
}

TEST(HandOverRequestTest, AnOptionThatOnlyQualifiesAnotherIsRefusedWithoutIt)
{
    EXPECT_TRUE(refusalOf({ "--tsl-allow", "10.0.0.5" }).startsWith(QStringLiteral("--tsl-allow goes with --source")));
    EXPECT_TRUE(
        refusalOf({ "--password-file", "/run/pw" }).startsWith(QStringLiteral("--password-file goes with --source")));
    EXPECT_TRUE(refusalOf({ "--tsl-offset", "4" }).startsWith(QStringLiteral("--tsl-offset goes with --tsl")));
    for (const QStringList& arguments :
        { QStringList { "--mqtt-discovery" }, QStringList { "--mqtt-ca-file", "/etc/ca.pem" } }) {
        EXPECT_TRUE(refusalOf(arguments).contains(QStringLiteral("go with --mqtt")));
    }
}

TEST(HandOverRequestTest, APasswordFileGoesOnlyWithAnObsSource)
{
    const QString problem = refusalOf({ "--source", "atem://10.0.0.7", "--password-file", "/run/pw" });
    EXPECT_TRUE(problem.contains(QStringLiteral("applies to an OBS Studio source"))) << problem.toStdString();
}

TEST(HandOverRequestTest, AnObsSourceCarriesThePasswordOfItsFile)
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("obs-password")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("s3cret\n");
    file.close();
    const Launch launch
        = secondLaunch({ "--source", "obs://studio:4455", "--password-file", "obs-password" }, folder.path());
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    ASSERT_TRUE(launch.request->source);
    EXPECT_EQ(*launch.request->source, (HandOverRequest::Source { "obs://studio:4455", "s3cret", {}, QStringList() }));
}

TEST(HandOverRequestTest, AnUnreadablePasswordFileIsRefusedByTheLaunch)
{
    EXPECT_TRUE(refusalOf({ "--source", "obs://studio", "--password-file", "/nonexistent/pw" })
                    .contains(QStringLiteral("cannot read the password file")));
}

TEST(HandOverRequestTest, ATslSourceCarriesTheSendersItHears)
{
    const Launch launch = secondLaunch({ "--source", "tsl://9900", "--tsl-allow", "10.0.0.5,10.0.1.0/24" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    ASSERT_TRUE(launch.request->source);
    EXPECT_EQ(*launch.request->source,
        (HandOverRequest::Source { "tsl://9900", "", { "10.0.0.5,10.0.1.0/24" }, QStringList() }));
}

TEST(HandOverRequestTest, TheWebPageAloneReplacesOnlyTheWindowsWebPage)
{
    const Launch launch = secondLaunch({ "--web", "8090" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_TRUE(launch.request->webGiven);
    EXPECT_FALSE(launch.request->tslGiven);
    EXPECT_FALSE(launch.request->mqttGiven);
    NetworkOutputChoices running;
    running.web = QStringLiteral("127.0.0.1:8080");
    running.tsl31Destinations = QStringList { "udp://10.0.0.9:8900" };
    running.mqttBrokers = QStringList { "mqtt://broker" };
    NetworkOutputChoices expected = running;
    expected.web = QStringLiteral("*:8090");
    EXPECT_EQ(launch.request->outputsOver(running), expected);
}

TEST(HandOverRequestTest, TslAndMqttEachReplaceTheirWholePart)
{
    const Launch launch
        = secondLaunch({ "--tsl5", "udp://10.0.0.9:9000", "--tsl-offset", "2", "--mqtt", "mqtt://other-broker" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    NetworkOutputChoices running;
    running.web = QStringLiteral("8080");
    running.tsl31Destinations = QStringList { "udp://10.0.0.9:8900" };
    running.mqttBrokers = QStringList { "mqtt://broker" };
    running.mqttDiscovery = true;
    NetworkOutputChoices expected;
    expected.web = QStringLiteral("8080");
    expected.tsl50Destinations = QStringList { "udp://10.0.0.9:9000" };
    expected.tslIndexOffset = 2;
    expected.mqttBrokers = QStringList { "mqtt://other-broker" };
    EXPECT_EQ(launch.request->outputsOver(running), expected);
}

TEST(HandOverRequestTest, DmxReplacesItsWholePartAndNothingElse)
{
    const Launch launch = secondLaunch({ "--dmx", "sacn:///2", "--dmx-layout", "single" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_TRUE(launch.request->changesOutputs());
    NetworkOutputChoices running;
    running.mqttBrokers = QStringList { "mqtt://broker" };
    running.dmxDestinations = QStringList { "artnet://10.0.0.20" };
    running.dmxStartChannel = 40;
    NetworkOutputChoices expected;
    expected.mqttBrokers = QStringList { "mqtt://broker" };
    expected.dmxDestinations = QStringList { "sacn:///2" };
    expected.dmxLayout = QStringLiteral("single");
    EXPECT_EQ(launch.request->outputsOver(running), expected);
    EXPECT_TRUE(launch.request->summary().contains(QStringLiteral("DMX to sacn:///2")));
}

TEST(HandOverRequestTest, TheVmixFeedReplacesItsAddressAndNothingElse)
{
    const Launch launch = secondLaunch({ "--vmix-feed", "127.0.0.1:8100" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_TRUE(launch.request->changesOutputs());
    NetworkOutputChoices running;
    running.web = QStringLiteral("8080");
    running.vmixFeed = QStringLiteral("8200");
    NetworkOutputChoices expected;
    expected.web = QStringLiteral("8080");
    expected.vmixFeed = QStringLiteral("127.0.0.1:8100");
    EXPECT_EQ(launch.request->outputsOver(running), expected);
    EXPECT_TRUE(launch.request->summary().contains(QStringLiteral("vMix tally feed on 127.0.0.1:8100")));
}

TEST(HandOverRequestTest, TheVmixFeedsAllowListGoesWithItsAddress)
{
    const Launch launch = secondLaunch({ "--vmix-feed", "8100", "--vmix-feed-allow", "10.0.0.0/24" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    NetworkOutputChoices running;
    running.vmixFeed = QStringLiteral("8100");
    running.vmixFeedAllowedClients = QStringLiteral("10.0.0.5");
    NetworkOutputChoices expected;
    expected.vmixFeed = QStringLiteral("0.0.0.0:8100");
    expected.vmixFeedAllowedClients = QStringLiteral("10.0.0.0/24");
    const NetworkOutputChoices next = launch.request->outputsOver(running);
    EXPECT_EQ(next.vmixFeedAllowedClients, expected.vmixFeedAllowedClients);
    // A feed handed over without a list answers everyone again.
    const Launch open = secondLaunch({ "--vmix-feed", "8100" });
    ASSERT_TRUE(open.request) << open.problem.toStdString();
    EXPECT_EQ(open.request->outputsOver(running).vmixFeedAllowedClients, QString());
}

TEST(HandOverRequestTest, DmxStartOrLayoutWithoutDmxIsRefusedAndABadDmxAddressToo)
{
    EXPECT_EQ(refusalOf({ "--dmx-start", "5" }),
        QStringLiteral("--dmx-start and --dmx-layout go with --dmx when handed to the running window"));
    EXPECT_TRUE(refusalOf({ "--dmx", "artnet://" }).startsWith(QStringLiteral("bad Art-Net address")));
}

TEST(HandOverRequestTest, TheMqttFilesAreHandedOverWithAbsolutePaths)
{
    QTemporaryDir folder;
    for (const QString& name : { QStringLiteral("mqtt-password"), QStringLiteral("ca.pem") }) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("x\n");
    }
    const Launch launch = secondLaunch({ "--mqtt", "mqtts://tally@broker", "--mqtt-password-file", "mqtt-password",
                                           "--mqtt-ca-file", "ca.pem", "--mqtt-discovery" },
        folder.path());
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_EQ(launch.request->outputs.mqttPasswordFile, folder.filePath(QStringLiteral("mqtt-password")));
    EXPECT_EQ(launch.request->outputs.mqttCaFile, folder.filePath(QStringLiteral("ca.pem")));
    EXPECT_TRUE(launch.request->outputs.mqttDiscovery);
}

TEST(HandOverRequestTest, ABadOutputIsRefusedByTheLaunch)
{
    EXPECT_FALSE(refusalOf({ "--tsl", "udp://nowhere" }).isEmpty());
    EXPECT_FALSE(refusalOf({ "--mqtt", "http://broker" }).isEmpty());
    EXPECT_TRUE(refusalOf({ "--mqtt", "mqtt://tally@broker", "--mqtt-password-file", "/nonexistent/pw" })
                    .contains(QStringLiteral("cannot read the password file")));
}

TEST(HandOverRequestTest, AnMqttPasswordInTheLaunchsEnvironmentIsRefusedSinceTheWindowCannotSeeIt)
{
    qputenv(mqttPasswordVariable.toUtf8(), "s3cret");
    const QString problem = refusalOf({ "--mqtt", "mqtt://tally@broker" });
    qunsetenv(mqttPasswordVariable.toUtf8());
    EXPECT_TRUE(problem.contains(QStringLiteral("give --mqtt-password-file"))) << problem.toStdString();
}

TEST(HandOverRequestTest, TheLostSwitcherChoicesGoOverTheWindowsPolicy)
{
    const Launch launch = secondLaunch({ "--when-lost", "blink", "--blink-after", "30", "--lights-off-at-quit" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_TRUE(launch.request->changesLostSourcePolicy());
    LostSourcePolicy running;
    running.action = LostSourcePolicy::Action::turnOff;
    const LostSourcePolicy after = launch.request->lostSourcePolicyOver(running);
    EXPECT_EQ(after.action, LostSourcePolicy::Action::blink);
    EXPECT_EQ(after.blinkAfterSeconds, 30);
    EXPECT_TRUE(after.turnOffAtQuit);
}

TEST(HandOverRequestTest, TheSummaryNamesWhatWasHandedOver)
{
    const Launch launch = secondLaunch({ "--source", "obs://studio:4455", "--web", "8090", "studio.tlx" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    EXPECT_EQ(launch.request->summary(),
        (QStringList { "source obs://studio:4455", "web tally page on *:8090", "map /home/operator/maps/studio.tlx" }));
    EXPECT_TRUE(secondLaunch({}).request->summary().isEmpty());
}

TEST(HandOverRequestTest, AnAnswerSaysTakenOrRefusedWithTheReason)
{
    const std::optional<HandOverAnswer> taken = HandOverAnswer::decode(HandOverAnswer { true, {} }.encode());
    ASSERT_TRUE(taken);
    EXPECT_TRUE(taken->taken);
    const std::optional<HandOverAnswer> refused
        = HandOverAnswer::decode(HandOverAnswer { false, QStringLiteral("port 8090 is in use") }.encode());
    ASSERT_TRUE(refused);
    EXPECT_FALSE(refused->taken);
    EXPECT_EQ(refused->problem, QStringLiteral("port 8090 is in use"));
}

TEST(HandOverRequestTest, TheAnswerOfAnEarlierWindowIsNotTakenForAnAnswer)
{
    EXPECT_FALSE(HandOverAnswer::decode("ok\n"));
    EXPECT_FALSE(HandOverAnswer::decode(R"({"version":1})"));
}

TEST(HandOverRequestTest, SeveralSourcesAreHandedOverInTheirOrderWithTheirLabels)
{
    const Launch launch = secondLaunch(
        { "--source", "atem://10.0.0.5", "--source", "Playback=vmix://10.0.0.6", "--source", "tsl5://9000" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    ASSERT_TRUE(launch.request->source);
    EXPECT_EQ(launch.request->source->address, QStringLiteral("atem://10.0.0.5"));
    EXPECT_EQ(launch.request->source->added,
        (QStringList { QStringLiteral("Playback=vmix://10.0.0.6"), QStringLiteral("tsl5://9000") }));
    QString problem;
    const std::optional<HandOverRequest> received = HandOverRequest::decode(launch.request->encode(), &problem);
    ASSERT_TRUE(received) << problem.toStdString();
    EXPECT_EQ(*received, *launch.request);
    EXPECT_EQ(received->summary(),
        (QStringList { QStringLiteral("source atem://10.0.0.5"), QStringLiteral("source Playback=vmix://10.0.0.6"),
            QStringLiteral("source tsl5://9000") }));
}

TEST(HandOverRequestTest, OneSourceHandsAnEmptyListSoTheWindowFollowsItAlone)
{
    const Launch launch = secondLaunch({ "--source", "atem://10.0.0.5" });
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    ASSERT_TRUE(launch.request->source);
    ASSERT_TRUE(launch.request->source->added.has_value());
    EXPECT_TRUE(launch.request->source->added->isEmpty());
    EXPECT_TRUE(launch.request->encode().contains("\"added\":[]")) << launch.request->encode().toStdString();
}

TEST(HandOverRequestTest, ASourceFromALaunchThatHandsOneOnlyLeavesTheAddedSwitchersUnsaid)
{
    QString problem;
    const std::optional<HandOverRequest> received
        = HandOverRequest::decode(R"({"version":1,"source":{"address":"atem://10.0.0.5"}})", &problem);
    ASSERT_TRUE(received) << problem.toStdString();
    ASSERT_TRUE(received->source);
    EXPECT_FALSE(received->source->added.has_value());
}

TEST(HandOverRequestTest, AnAddedListThatIsNotTextsIsRefused)
{
    const std::optional<QString> problem
        = decodeProblem(R"({"version":1,"source":{"address":"atem://10.0.0.5","added":[3]}})");
    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->contains(QStringLiteral("added"))) << problem->toStdString();
}

TEST(HandOverRequestTest, ALabelOnTheFirstSourceOrTwiceTheSameLabelIsRefusedByTheLaunch)
{
    EXPECT_TRUE(refusalOf({ "--source", "Cams=atem://10.0.0.5", "--source", "vmix://10.0.0.6" })
                    .contains(QStringLiteral("cannot take a label on the first --source")));
    EXPECT_TRUE(refusalOf({ "--source", "atem://10.0.0.5", "--source", "ATEM=vmix://10.0.0.6" })
                    .contains(QStringLiteral("two sources are labelled 'ATEM'")));
}

TEST(HandOverRequestTest, APasswordFileGoesWithAnAddedObsSourceToo)
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("obs-password")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("s3cret\n");
    file.close();
    const Launch launch = secondLaunch(
        { "--source", "atem://10.0.0.5", "--source", "obs://studio:4455", "--password-file", "obs-password" },
        folder.path());
    ASSERT_TRUE(launch.request) << launch.problem.toStdString();
    ASSERT_TRUE(launch.request->source);
    EXPECT_EQ(launch.request->source->password, QStringLiteral("s3cret"));
}
