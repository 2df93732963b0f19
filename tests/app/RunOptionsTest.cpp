#include "app/RunOptions.h"

#include "outputs/WebTallyServer.h"
#include "support/QtPrinters.h"

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

TEST(RunOptionsTest, TheWebTallyPageIsOffUnlessAsked)
{
    QStringList arguments { QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    EXPECT_FALSE(options.web);
    QString problem;
    EXPECT_EQ(startWebTally(options, &problem), nullptr);
    EXPECT_TRUE(problem.isEmpty());
}

TEST(RunOptionsTest, WebTakesAnAddressAndPortOrAPortAlone)
{
    QStringList arguments { QStringLiteral("--web"), QStringLiteral("127.0.0.1:8080"), QStringLiteral("map.tlx") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), std::nullopt);
    ASSERT_TRUE(options.web);
    EXPECT_EQ(options.web->address, QHostAddress(QHostAddress::LocalHost));
    EXPECT_EQ(options.web->port, 8080);
    EXPECT_EQ(arguments, QStringList { QStringLiteral("map.tlx") });

    QStringList portOnly { QStringLiteral("--web=9000") };
    EXPECT_EQ(RunOptions::takeFrom(portOnly, &options), std::nullopt);
    EXPECT_EQ(options.web->address, QHostAddress(QHostAddress::Any));
    EXPECT_EQ(options.web->port, 9000);
}

TEST(RunOptionsTest, ABadWebAddressIsAUsageProblem)
{
    QStringList arguments { QStringLiteral("--web"), QStringLiteral("studio:80") };
    RunOptions options;
    EXPECT_EQ(RunOptions::takeFrom(arguments, &options), QStringLiteral("--web: 'studio' is not an IP address"));
    QStringList missing { QStringLiteral("--web") };
    EXPECT_EQ(RunOptions::takeFrom(missing, &options), QStringLiteral("--web needs a value"));
}
