#include "app/RunOptions.h"

#include "sources/ObsAddress.h"
#include "support/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(RunOptionsTest, WithNoOptionsTheSourceIsMixdeskAndEveryArgumentStays)
{
    QStringList arguments { QStringLiteral("studio.tlx"), QStringLiteral("other.tlx") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("mixdesk"));
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("studio.tlx"), QStringLiteral("other.tlx") }));
}

TEST(RunOptionsTest, KnownOptionsAreTakenInBothSpellingsAndTheRestIsLeft)
{
    QStringList arguments { QStringLiteral("--source"), QStringLiteral("obs://studio:4455"), QStringLiteral("map.tlx"),
        QStringLiteral("--password-file=/run/secret"), QStringLiteral("--json") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(options.source, QStringLiteral("obs://studio:4455"));
    EXPECT_EQ(options.passwordFile, QStringLiteral("/run/secret"));
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("map.tlx"), QStringLiteral("--json") }));
}

TEST(RunOptionsTest, AnOptionWithoutItsValueIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("map.tlx"), QStringLiteral("--source") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), QStringLiteral("--source needs a value"));
    QStringList empty { QStringLiteral("--password-file=") };
    EXPECT_EQ(RunOptions::takeFrom(empty, &options), QStringLiteral("--password-file needs a value"));
}

TEST(RunOptionsTest, ADoubleDashEndsTheOptions)
{
    QStringList arguments { QStringLiteral("--"), QStringLiteral("--source") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_EQ(arguments, (QStringList { QStringLiteral("--"), QStringLiteral("--source") }));
}

TEST(RunOptionsTest, TheDefaultSourceIsMixdesksQuery)
{
    QString problem;
    const std::unique_ptr<ShotSource> source = makeShotSource(RunOptions {}, &problem);
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->notRunningWarning(), QStringLiteral("Mixdesk is not running"));
}

TEST(RunOptionsTest, AnUnknownSourceIsRefusedWithItsName)
{
    RunOptions options;
    options.source = QStringLiteral("vmix://studio");
    QString problem;
    EXPECT_EQ(makeShotSource(options, &problem), nullptr);
    EXPECT_TRUE(problem.contains(QStringLiteral("vmix://studio"))) << problem.toStdString();
}

TEST(RunOptionsTest, AnObsAddressChoosesOBSStudio)
{
    RunOptions options;
    options.source = QStringLiteral("obs://127.0.0.1:1");
    QString problem;
    const std::unique_ptr<ShotSource> source = makeShotSource(options, &problem);
    ASSERT_NE(source, nullptr) << problem.toStdString();
    EXPECT_EQ(source->displayName(), QStringLiteral("OBS Studio"));
    EXPECT_EQ(source->notRunningWarning(), QStringLiteral("OBS Studio is not connected"));
    EXPECT_FALSE(source->isRunning());
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

TEST(RunOptionsTest, AMalformedObsAddressIsRefusedSayingWhatIsExpected)
{
    for (const char* text :
        { "obs://", "obs://host:0", "obs://host:99999", "obs://host:port", "obs://host/path", "obs://user@host" }) {
        RunOptions options;
        options.source = QString::fromLatin1(text);
        QString problem;
        EXPECT_EQ(makeShotSource(options, &problem), nullptr) << text;
        EXPECT_TRUE(problem.contains(QStringLiteral("obs://HOST:PORT"))) << text << ": " << problem.toStdString();
        EXPECT_TRUE(problem.contains(options.source)) << problem.toStdString();
    }
}

TEST(RunOptionsTest, AnUnreadablePasswordFileIsRefusedWithItsName)
{
    RunOptions options;
    options.source = QStringLiteral("obs://127.0.0.1:1");
    options.passwordFile = QStringLiteral("/nonexistent/obs-password");
    QString problem;
    EXPECT_EQ(makeShotSource(options, &problem), nullptr);
    EXPECT_TRUE(problem.contains(QStringLiteral("/nonexistent/obs-password"))) << problem.toStdString();
}

TEST(RunOptionsTest, ThePasswordIsTheFirstLineOfTheFileWithoutItsLineEnd)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    QFile file(folder.filePath(QStringLiteral("password")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("s3cret words\r\nsecond line\n");
    file.close();
    RunOptions options;
    options.passwordFile = file.fileName();
    QString problem;
    EXPECT_EQ(readSwitcherPassword(options, &problem), QStringLiteral("s3cret words"));
}

TEST(RunOptionsTest, WithoutAPasswordFileThePasswordComesFromTheEnvironment)
{
    qputenv("MIXDESK_TALLY_OBS_PASSWORD", "from the environment");
    QString problem;
    EXPECT_EQ(readSwitcherPassword(RunOptions {}, &problem), QStringLiteral("from the environment"));
    qunsetenv("MIXDESK_TALLY_OBS_PASSWORD");
    EXPECT_EQ(readSwitcherPassword(RunOptions {}, &problem), QString());
}

TEST(RunOptionsTest, OnlyASourceOnTheCommandLineCountsAsGiven)
{
    QStringList arguments { QStringLiteral("studio.tlx") };
    RunOptions options;
    ASSERT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_FALSE(options.sourceGiven);
    arguments = QStringList { QStringLiteral("--source=mixdesk") };
    ASSERT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_TRUE(options.sourceGiven);
}

TEST(RunOptionsTest, TheSavedPasswordServesOnlyWhenNeitherFileNorEnvironmentGiveOne)
{
    qunsetenv("MIXDESK_TALLY_OBS_PASSWORD");
    RunOptions options;
    options.savedPassword = QStringLiteral("saved");
    QString problem;
    EXPECT_EQ(readSwitcherPassword(options, &problem), QStringLiteral("saved"));
    qputenv("MIXDESK_TALLY_OBS_PASSWORD", "from the environment");
    EXPECT_EQ(readSwitcherPassword(options, &problem), QStringLiteral("from the environment"));
    qunsetenv("MIXDESK_TALLY_OBS_PASSWORD");
}
