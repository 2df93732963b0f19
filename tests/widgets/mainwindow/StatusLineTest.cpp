// The main window's status line: the problem of the moment in words, beside
// (not instead of) the lines on standard output.

#include "mainwindow/StatusLine.h"

#include "sources/MixdeskShotSource.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QStatusBar>

namespace {

class StatusLineTest : public MainWindowFixture {
protected:
    QString line() const { return main.statusLine->text(); }
};

} // namespace

TEST_F(StatusLineTest, WithShotsAndABoxTheLineSaysTheLightsFollowTheSwitcher)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    tick();
    EXPECT_EQ(line(), QStringLiteral("Lights follow Mixdesk"));
    EXPECT_FALSE(main.statusLine->showsProblem());
    EXPECT_TRUE(main.window->statusBar()->isAncestorOf(main.statusLine));
}

TEST_F(StatusLineTest, WithMixdeskAbsentTheLineSaysSo)
{
    platform->runningCount = 0;
    makeWindow();
    tick();
    EXPECT_EQ(line(), QStringLiteral("⚠ Mixdesk is not running"));
    EXPECT_TRUE(main.statusLine->showsProblem());
}

TEST_F(StatusLineTest, AFailingQueryIsToldAsNoShots)
{
    platform->answerWithError(QStringLiteral("Mixdesk got an error: no document"), -1728);
    makeWindow();
    tick();
    EXPECT_TRUE(line().startsWith(QStringLiteral("⚠ Mixdesk gives no shots"))) << line().toStdString();
}

TEST_F(StatusLineTest, WithoutABoxTheLineSaysNoneIsAttached)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    USBHIDAppDelegate::shared().setController(nullptr);
    tick();
    EXPECT_EQ(line(), QStringLiteral("⚠ No tally box attached"));
}

TEST_F(StatusLineTest, ABoxRefusingWritesIsTold)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    device->status = -1;
    tick();
    EXPECT_EQ(line(), QStringLiteral("⚠ The tally box refuses the lights' bytes"));
}

TEST_F(StatusLineTest, AFileThatCannotBeOpenedIsNamedUntilAnotherOpens)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    tick();
    controller->loadTallyMap(QUrl::fromLocalFile(directory.filePath(QStringLiteral("missing.tlx"))));
    EXPECT_TRUE(line().startsWith(QStringLiteral("⚠ Could not open missing.tlx: "))) << line().toStdString();

    const QString good = writeFile(QStringLiteral("good.tlx"), "0|Cam 1\r\n");
    controller->loadTallyMap(QUrl::fromLocalFile(good));
    EXPECT_EQ(line(), QStringLiteral("Lights follow Mixdesk"));
}

TEST_F(StatusLineTest, AFileThatCannotBeSavedIsNamed)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    tick();
    const QString unwritable = directory.filePath(QStringLiteral("no-such-folder/show.tlx"));
    controller->saveTallyMap(QUrl::fromLocalFile(unwritable));
    EXPECT_TRUE(line().startsWith(QStringLiteral("⚠ Could not save show.tlx: "))) << line().toStdString();
}

TEST_F(StatusLineTest, AnOpenRecentListThatCannotBeStoredIsNamedAndTheSaveStillCounts)
{
    answer({ { "1", "Cam 1", true, false } });
    // A folder cannot be made inside a regular file, for root as for anyone.
    const QString blocker = writeFile(QStringLiteral("not-a-folder"), "x");
    recentListPath = blocker + QStringLiteral("/recent-documents.json");
    makeWindow();
    tick();
    const QString path = directory.filePath(QStringLiteral("show.tlx"));
    controller->saveTallyMap(QUrl::fromLocalFile(path));

    EXPECT_TRUE(readFile(path).startsWith("0|"));
    EXPECT_EQ(controller->currentDocumentUrl(), QUrl::fromLocalFile(path));
    EXPECT_TRUE(line().startsWith(QStringLiteral("⚠ Could not update the Open Recent list in ") + recentListPath))
        << line().toStdString();
    // The menu still offers the map for the rest of the session.
    EXPECT_EQ(controller->document().recentDocuments().recentDocuments(),
        QStringList { QFileInfo(path).canonicalFilePath() });
}

TEST_F(StatusLineTest, TheSourcesNewsStandsBesideTheSwitchersNameWhileNothingIsWrong)
{
    FakeShotSource* source = makeWindowFollowingAFakeSwitcher();
    tick();
    EXPECT_EQ(line(), QStringLiteral("Lights follow Fake switcher"));
    Q_EMIT source->statusChanged(QStringLiteral("TSL messages from 10.0.0.2"));
    EXPECT_EQ(line(), QStringLiteral("Lights follow Fake switcher · TSL messages from 10.0.0.2"));
    source->running = false;
    tick();
    EXPECT_EQ(line(), QStringLiteral("⚠ Fake switcher is not connected"));
    source->running = true;
    tick();
    EXPECT_EQ(line(), QStringLiteral("Lights follow Fake switcher · TSL messages from 10.0.0.2"));
}

TEST_F(StatusLineTest, AnotherSourceIsNamedAndTheOldOnesNewsIsGone)
{
    FakeShotSource* source = makeWindowFollowingAFakeSwitcher();
    tick();
    Q_EMIT source->statusChanged(QStringLiteral("TSL messages from 10.0.0.2"));
    answer({ { "1", "Cam 1", true, false } });
    controller->setShotSource(std::make_unique<MixdeskShotSource>());
    tick();
    EXPECT_EQ(line(), QStringLiteral("Lights follow Mixdesk"));
}
