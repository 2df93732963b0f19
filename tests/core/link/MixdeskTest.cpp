#include "link/Mixdesk.h"

#include "link/linux/LinuxMixdeskPlatform.h"
#include "support/FakeMixdeskPlatform.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

const QString twoShots = QStringLiteral("{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, "
                                        "{shotId:\"2\", shotName:\"Cam 2\", isLive:false, isPreview:true}}");

class MixdeskTest : public testing::Test {
protected:
    std::shared_ptr<FakeMixdeskPlatform> platform = std::make_shared<FakeMixdeskPlatform>();
    Mixdesk mixdesk { platform };

    ShotList query(std::string& output)
    {
        testing::internal::CaptureStdout();
        ShotList shots = mixdesk.queryShots();
        output = testing::internal::GetCapturedStdout();
        return shots;
    }
};

} // namespace

TEST_F(MixdeskTest, NotRunningGivesEmptyListPrintsNothingAndLeavesAuthorizationUnchecked)
{
    platform->runningCount = 0;
    platform->answerWithNotation(twoShots);
    std::string output;
    EXPECT_TRUE(query(output).isEmpty());
    EXPECT_EQ(output, "");
    EXPECT_FALSE(mixdesk.authorizationChecked);
    EXPECT_EQ(platform->sipChecks, 0);
    EXPECT_EQ(platform->resourceLookups, 0);
    EXPECT_EQ(platform->loads, 0);
}

TEST_F(MixdeskTest, FirstQueryWithPermissionRefusedPrintsSipNotEnabledAndTheNextRunsTheScriptWithoutChecking)
{
    platform->sipResult = sipCheckResultForStatus(-1743, mixdeskBundleIdentifier);
    platform->answerWithNotation(twoShots);
    std::string output;
    EXPECT_TRUE(query(output).isEmpty());
    EXPECT_EQ(output, "error: SIP not enabled\n");
    EXPECT_TRUE(mixdesk.authorizationChecked);
    EXPECT_EQ(platform->sipChecks, 1);
    EXPECT_EQ(platform->runs, 0);

    EXPECT_EQ(query(output).size(), 2);
    EXPECT_EQ(output, "");
    EXPECT_EQ(platform->sipChecks, 1);
    EXPECT_EQ(platform->runs, 1);
}

TEST_F(MixdeskTest, PermissionIsCheckedOnceWithTheMixdeskIdentifierOnTheFirstRunningQuery)
{
    platform->runningCount = 0;
    mixdesk.queryShots();
    platform->runningCount = 2;
    mixdesk.queryShots();
    mixdesk.queryShots();
    EXPECT_EQ(platform->sipChecks, 1);
    EXPECT_EQ(platform->sipCheckedIdentifiers, QStringList({ "com.mixdesk.Mixdesk" }));
    EXPECT_EQ(mixdesk.mixdeskIdentifier, mixdeskBundleIdentifier);
}

TEST_F(MixdeskTest, PermissionIsNotCheckedAgainWhenTheApplicationQuitsAndStartsAgain)
{
    mixdesk.queryShots();
    platform->runningCount = 0;
    mixdesk.queryShots();
    platform->runningCount = 1;
    mixdesk.queryShots();
    EXPECT_EQ(platform->sipChecks, 1);
    EXPECT_TRUE(mixdesk.authorizationChecked);
}

TEST_F(MixdeskTest, TwoQueriesInARowLoadTheScriptFileTwice)
{
    platform->answerWithNotation(twoShots);
    mixdesk.queryShots();
    mixdesk.queryShots();
    EXPECT_EQ(platform->loads, 2);
    EXPECT_EQ(platform->runs, 2);
    EXPECT_EQ(platform->loadedFiles, QStringList({ "/fake/resources/query_shots", "/fake/resources/query_shots" }));
}

TEST_F(MixdeskTest, ScriptReturningExactlyOneShotRecordYieldsTheEmptyList)
{
    platform->answerWithNotation("{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}}");
    std::string output;
    EXPECT_TRUE(query(output).isEmpty());
    EXPECT_EQ(output, "");
    EXPECT_EQ(platform->runs, 1);
}

TEST_F(MixdeskTest, ScriptRunErrorYieldsTheEmptyListAndOneErrorLinePerQuery)
{
    platform->answerWithError("Mixdesk got an error: Can’t get \"shot\" 1.", -1728);
    const std::string expected
        = "error: {NSAppleScriptErrorMessage = \"Mixdesk got an error: Can’t get \\\"shot\\\" 1.\"; "
          "NSAppleScriptErrorNumber = -1728;}\n";
    std::string output;
    EXPECT_TRUE(query(output).isEmpty());
    EXPECT_EQ(output, expected);
    EXPECT_TRUE(query(output).isEmpty());
    EXPECT_EQ(output, expected);
}

TEST_F(MixdeskTest, ScriptThatCannotBeLoadedYieldsTheEmptyListSilently)
{
    platform->scriptLoads = false;
    std::string output;
    EXPECT_TRUE(query(output).isEmpty());
    EXPECT_EQ(output, "");
    EXPECT_EQ(platform->loads, 1);
    EXPECT_EQ(platform->runs, 0);
}

TEST_F(MixdeskTest, SuccessfulQueryReturnsTheDecodedShotsUnchanged)
{
    platform->answerWithNotation(twoShots);
    std::string output;
    const ShotList shots = query(output);
    ASSERT_EQ(shots.size(), 2);
    EXPECT_EQ(shots[0]->shotId, "1");
    EXPECT_EQ(shots[0]->name, "Cam 1");
    EXPECT_TRUE(shots[0]->isLive);
    EXPECT_TRUE(shots[1]->isPreview);
    EXPECT_EQ(output, "");
}

TEST_F(MixdeskTest, EachQueryRunsTheScriptAnewAndSeesItsCurrentAnswer)
{
    platform->queueNotation(twoShots);
    platform->queueNotation("{{shotId:\"5\"}, {shotId:\"6\"}, {shotId:\"7\"}}");
    EXPECT_EQ(mixdesk.queryShots().size(), 2);
    EXPECT_EQ(mixdesk.queryShots().size(), 3);
}

TEST_F(MixdeskTest, RunningApplicationCountAsksThePlatformByBundleIdentifier)
{
    platform->runningCount = 3;
    EXPECT_EQ(mixdesk.runningApplicationCount(), 3);
    EXPECT_EQ(platform->runningCountQueries, 1);
}

TEST_F(MixdeskTest, SetPlatformReplacesThePlatform)
{
    auto other = std::make_shared<FakeMixdeskPlatform>();
    other->runningCount = 0;
    mixdesk.setPlatform(other);
    EXPECT_EQ(&mixdesk.platform(), other.get());
    EXPECT_TRUE(mixdesk.queryShots().isEmpty());
    EXPECT_EQ(other->runningCountQueries, 1);
    EXPECT_EQ(platform->runningCountQueries, 0);
}

TEST(MixdeskSharedTest, SharedIsOneInstanceOverTheHostPlatformEvenUnderConcurrentFirstUse)
{
    std::vector<Mixdesk*> seen(8, nullptr);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&seen, i] { seen[i] = &Mixdesk::shared(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (Mixdesk* instance : seen) {
        EXPECT_EQ(instance, &Mixdesk::shared());
    }
    EXPECT_NE(dynamic_cast<LinuxMixdeskPlatform*>(&Mixdesk::shared().platform()), nullptr);
    EXPECT_EQ(Mixdesk::shared().mixdeskIdentifier, "com.mixdesk.Mixdesk");
}

TEST(MixdeskDeathTest, MissingScriptResourceStopsTheProgram)
{
    auto platform = std::make_shared<FakeMixdeskPlatform>();
    platform->resourceFile.reset();
    Mixdesk mixdesk(platform);
    EXPECT_DEATH(mixdesk.queryShots(), "fatal error: resource query_shots missing from /fake/resources");
}
