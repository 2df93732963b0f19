#include "tally/TallyStatus.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

class TallyStatusTest : public testing::Test {
protected:
    QStringList logged;
    QStringList emitted;
    QDateTime now { QDate(2026, 3, 14), QTime(9, 30, 0) };
    TallyStatus status { [this](const QString& line) { logged.append(line); }, [this] { return now; } };

    void SetUp() override
    {
        QObject::connect(&status, &TallyStatus::changed, [this](const QString& text) { emitted.append(text); });
    }

    void runningWithShots() { status.noteTick(true, 3, QStringLiteral("Mixdesk"), QStringLiteral("unused")); }
};

} // namespace

TEST_F(TallyStatusTest, WithEverythingWorkingThereIsNothingToSayAndNothingIsLogged)
{
    runningWithShots();
    status.noteDevice(true, false);
    EXPECT_EQ(status.text(), QString());
    EXPECT_TRUE(logged.isEmpty());
    EXPECT_TRUE(emitted.isEmpty());
}

TEST_F(TallyStatusTest, AMissingSourceIsToldInItsOwnWords)
{
    status.noteTick(false, 0, QStringLiteral("Mixdesk"), QStringLiteral("Mixdesk is not running"));
    EXPECT_EQ(status.text(), QStringLiteral("Mixdesk is not running"));
}

TEST_F(TallyStatusTest, ARunningSourceWithNoShotsSaysTheQueryIsFailingAndTheLightsAreOff)
{
    status.noteTick(true, 0, QStringLiteral("Mixdesk"), QStringLiteral("unused"));
    EXPECT_EQ(status.text(),
        QStringLiteral("Mixdesk gives no shots (its query is failing or it has none): every light is off"));
}

TEST_F(TallyStatusTest, NoBoxAndARefusingBoxAreTold)
{
    runningWithShots();
    status.noteDevice(false, false);
    EXPECT_EQ(status.text(), QStringLiteral("No tally box attached"));
    status.noteDevice(true, true);
    EXPECT_EQ(status.text(), QStringLiteral("The tally box refuses the lights' bytes"));
}

TEST_F(TallyStatusTest, WithoutABoxWantedAnAbsentBoxIsNoProblemButARefusingOneStillIs)
{
    runningWithShots();
    status.noteDevice(false, false);
    EXPECT_EQ(status.text(), QStringLiteral("No tally box attached"));
    status.setTallyBoxWanted(false);
    EXPECT_EQ(status.text(), QString());
    status.noteDevice(false, false);
    EXPECT_EQ(status.text(), QString());
    // A box plugged in after all is driven, and its failures are told.
    status.noteDevice(true, true);
    EXPECT_EQ(status.text(), QStringLiteral("The tally box refuses the lights' bytes"));
    status.noteDevice(false, false);
    EXPECT_EQ(status.text(), QString());
    status.setTallyBoxWanted(true);
    EXPECT_EQ(status.text(), QStringLiteral("No tally box attached"));
}

TEST_F(TallyStatusTest, AFileFailureNamesTheFileAndStaysUntilAFileWorks)
{
    runningWithShots();
    status.noteDocumentFailure(
        QStringLiteral("open"), QStringLiteral("/shows/studio.tlx"), QStringLiteral("line 3 is bad"));
    EXPECT_EQ(status.text(), QStringLiteral("Could not open studio.tlx: line 3 is bad"));
    runningWithShots();
    EXPECT_EQ(status.text(), QStringLiteral("Could not open studio.tlx: line 3 is bad"));
    status.noteDocumentSuccess();
    EXPECT_EQ(status.text(), QString());
}

TEST_F(TallyStatusTest, SeveralProblemsAreToldTogetherSourceFirst)
{
    status.noteDevice(false, false);
    status.noteTick(false, 0, QStringLiteral("Mixdesk"), QStringLiteral("Mixdesk is not running"));
    EXPECT_EQ(status.text(), QStringLiteral("Mixdesk is not running · No tally box attached"));
}

TEST_F(TallyStatusTest, ALastingProblemIsLoggedOnceWithATimeAndItsEndOnceMore)
{
    for (int tick = 0; tick < 40; ++tick) {
        status.noteTick(false, 0, QStringLiteral("Mixdesk"), QStringLiteral("Mixdesk is not running"));
    }
    now = now.addSecs(60);
    runningWithShots();
    runningWithShots();
    EXPECT_EQ(logged,
        (QStringList { QStringLiteral("2026-03-14T09:30:00 Mixdesk is not running"),
            QStringLiteral("2026-03-14T09:31:00 Lights working again") }));
    EXPECT_EQ(emitted, (QStringList { QStringLiteral("Mixdesk is not running"), QString() }));
}

TEST_F(TallyStatusTest, AnOutputThatCouldNotStartIsToldAfterTheOtherProblemsUntilItIsCleared)
{
    runningWithShots();
    status.noteDevice(false, false);
    status.noteOutputs(QStringLiteral("The saved web tally page did not start: port in use"));
    EXPECT_EQ(
        status.text(), QStringLiteral("No tally box attached · The saved web tally page did not start: port in use"));
    status.noteOutputs(QString());
    EXPECT_EQ(status.text(), QStringLiteral("No tally box attached"));
    EXPECT_EQ(emitted.size(), 3);
}

TEST(TallyStatusReportTest, TestingLightsComesFirstAndGoesWithTheTest)
{
    QStringList logged;
    TallyStatus status([&logged](const QString& line) { logged.append(line); });
    status.noteDevice(false, false);
    TallySnapshot report;
    report.sourceRunning = true;
    report.underTest = true;
    status.noteLightReport(report);
    EXPECT_EQ(status.text(), QStringLiteral("Testing lights · No tally box attached"));
    report.underTest = false;
    status.noteLightReport(report);
    EXPECT_EQ(status.text(), QStringLiteral("No tally box attached"));
}

TEST(TallyStatusReportTest, AssignedShotsTheSourceLacksAreNamedWithTheirLights)
{
    TallyStatus status([](const QString&) {});
    TallySnapshot report;
    report.sourceRunning = true;
    report.lights = { {}, { TallyMode::off, { QStringLiteral("Wide") }, { QStringLiteral("Wide") } } };
    status.noteLightReport(report);
    EXPECT_EQ(status.text(), QStringLiteral("Assigned shots the source does not have: \"Wide\" (light 2)"));
}

TEST_F(TallyStatusTest, AProblemThatEndsWhileTheProgramSettlesIsShownButNeitherItNorItsEndIsLogged)
{
    // A switcher still connecting and a box not matched yet at the first
    // tick, both fine a second later.
    status.noteTick(false, 0, QStringLiteral("OBS Studio"), QStringLiteral("OBS Studio is not connected"));
    status.noteDevice(false, false);
    now = now.addMSecs(1000);
    runningWithShots();
    status.noteDevice(true, false);
    now = now.addSecs(60);
    runningWithShots();
    status.noteDevice(true, false);
    EXPECT_EQ(emitted,
        (QStringList { QStringLiteral("OBS Studio is not connected"),
            QStringLiteral("OBS Studio is not connected · No tally box attached"),
            QStringLiteral("No tally box attached"), QString() }));
    EXPECT_TRUE(logged.isEmpty()) << logged.join(u'\n').toStdString();
}

TEST_F(TallyStatusTest, AProblemFromTheStartThatOutlastsTheSettlingIsLoggedAsOfItsBeginningThenItsEnd)
{
    status.noteTick(false, 0, QStringLiteral("OBS Studio"), QStringLiteral("OBS Studio is not connected"));
    now = now.addMSecs(TallyStatus::settlingMs - 1);
    status.noteTick(false, 0, QStringLiteral("OBS Studio"), QStringLiteral("OBS Studio is not connected"));
    EXPECT_TRUE(logged.isEmpty()) << logged.join(u'\n').toStdString();
    now = now.addMSecs(1);
    status.noteTick(false, 0, QStringLiteral("OBS Studio"), QStringLiteral("OBS Studio is not connected"));
    EXPECT_EQ(logged, (QStringList { QStringLiteral("2026-03-14T09:30:00 OBS Studio is not connected") }));
    now = now.addSecs(10);
    runningWithShots();
    EXPECT_EQ(logged,
        (QStringList { QStringLiteral("2026-03-14T09:30:00 OBS Studio is not connected"),
            QStringLiteral("2026-03-14T09:30:15 Lights working again") }));
}

TEST_F(TallyStatusTest, AfterTheSettlingAProblemIsLoggedAtOnce)
{
    now = now.addSecs(10);
    runningWithShots();
    status.noteDevice(false, false);
    EXPECT_EQ(logged, (QStringList { QStringLiteral("2026-03-14T09:30:10 No tally box attached") }));
}
