// The main window's status line: what the window follows and how that is,
// the outputs that run, and the problem of the moment in words, beside (not
// instead of) the lines on standard output.

#include "mainwindow/StatusLine.h"

#include "net/outputs/WebTallyClient.h"
#include "net/switchers/FakeObsServer.h"
#include "outputs/WebTallyServer.h"
#include "sources/MixdeskShotSource.h"
#include "support/FreePort.h"
#include "support/QtPrinters.h"
#include "switchers/ObsShotSource.h"
#include "switchers/TslShotSource.h"
#include "tsl/TslUmd50.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QFontMetrics>
#include <QLabel>
#include <QStatusBar>
#include <QUdpSocket>

namespace {

class StatusLineTest : public MainWindowFixture {
protected:
    QString line() const { return main.statusLine->text(); }

    QLabel* part(const char* name) const { return main.statusLine->findChild<QLabel*>(QLatin1String(name)); }

    int windowMinimumWidth() const
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        return std::max(main.window->minimumWidth(), main.window->minimumSizeHint().width());
    }

    void resizeWindow(int width) const
    {
        main.window->resize(width, main.window->height());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        QCoreApplication::processEvents();
    }

    // The part shows no more than its width holds and lies inside the window.
    void expectFits(const QLabel& label) const
    {
        const QString shown = label.text();
        EXPECT_LE(QFontMetrics(label.font()).horizontalAdvance(shown), label.contentsRect().width())
            << label.objectName().toStdString() << ": " << shown.toStdString() << " at " << main.window->width();
        const QPoint rightEnd = label.mapTo(main.window.get(), QPoint(label.width(), 0));
        EXPECT_LE(rightEnd.x(), main.window->width()) << label.objectName().toStdString();
    }
};

// What a studio saw at start with OBS Studio not there yet and outputs
// running.
const QString longProblems = QStringLiteral("OBS Studio is not connected · No tally box attached · The saved web "
                                            "tally page did not start: The address is already in use");
const QString longSituation = QStringLiteral(
    "Following OBS Studio at 192.168.100.200:4465 · not connected (Connection refused), trying again · Phones: 0 "
    "connected · TSL: 2 destinations · MQTT: 0 of 2 brokers connected");

} // namespace

TEST_F(StatusLineTest, WithShotsAndABoxTheLineSaysTheLightsFollowTheSwitcher)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    tick();
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots"));
    EXPECT_FALSE(main.statusLine->showsProblem());
    EXPECT_TRUE(main.window->statusBar()->isAncestorOf(main.statusLine));
}

TEST_F(StatusLineTest, WithMixdeskAbsentTheLineSaysSo)
{
    platform->runningCount = 0;
    makeWindow();
    tick();
    EXPECT_EQ(line(), QStringLiteral("⚠ Mixdesk is not running  Following Mixdesk · not running"));
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
    EXPECT_EQ(line(), QStringLiteral("⚠ No tally box attached  Following Mixdesk · 2 shots"));
}

TEST_F(StatusLineTest, NoTallyBoxIsOffByDefaultAndKeepsTheWarning)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    ASSERT_NE(main.menu->noTallyBoxAction(), nullptr);
    EXPECT_TRUE(main.menu->noTallyBoxAction()->isCheckable());
    EXPECT_FALSE(main.menu->noTallyBoxAction()->isChecked());
    USBHIDAppDelegate::shared().setController(nullptr);
    tick();
    EXPECT_TRUE(main.statusLine->showsProblem());
}

TEST_F(StatusLineTest, WithNoTallyBoxChosenAnAbsentBoxIsNoProblemAndTheLineSaysWhereTheLightsGo)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
    USBHIDAppDelegate::shared().setController(nullptr);
    tick();
    ASSERT_TRUE(main.statusLine->showsProblem());
    main.menu->noTallyBoxAction()->trigger();
    EXPECT_FALSE(main.statusLine->showsProblem()) << line().toStdString();
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots · No box (phones, TSL and MQTT only)"));
    tick();
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots · No box (phones, TSL and MQTT only)"));
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::noTallyBox));

    // A box plugged in all the same is driven, and the line no longer says
    // there is none.
    device->reports.clear();
    USBHIDAppDelegate::shared().setController(device);
    tick();
    EXPECT_FALSE(device->commandBytes().isEmpty());
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots"));
}

TEST_F(StatusLineTest, NoTallyBoxIsRememberedForTheNextWindow)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::noTallyBox, true);
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    EXPECT_TRUE(main.menu->noTallyBoxAction()->isChecked());
    USBHIDAppDelegate::shared().setController(nullptr);
    tick();
    EXPECT_FALSE(main.statusLine->showsProblem());
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots · No box (phones, TSL and MQTT only)"));
    main.menu->noTallyBoxAction()->trigger();
    EXPECT_EQ(line(), QStringLiteral("⚠ No tally box attached  Following Mixdesk · 2 shots"));
    EXPECT_FALSE(UserDefaults::standardUserDefaults().boolForKey(Preferences::noTallyBox));
}

TEST_F(StatusLineTest, ABoxRefusingWritesIsTold)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    device->status = -1;
    tick();
    EXPECT_EQ(line(), QStringLiteral("⚠ The tally box refuses the lights' bytes  Following Mixdesk · 2 shots"));
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
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots"));
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

TEST_F(StatusLineTest, AListenersNewsStandsAfterTheSituationWhileNothingIsWrong)
{
    FakeShotSource* source = makeWindowFollowingAFakeSwitcher();
    source->listens = true;
    tick();
    const QString situation = line();
    EXPECT_TRUE(situation.startsWith(QStringLiteral("Listening for Fake switcher"))) << situation.toStdString();
    Q_EMIT source->statusChanged(QStringLiteral("TSL messages from 10.0.0.2"));
    EXPECT_EQ(line(), situation + QStringLiteral(" · TSL messages from 10.0.0.2"));
    source->running = false;
    tick();
    EXPECT_TRUE(line().startsWith(QStringLiteral("⚠ Fake switcher is not connected"))) << line().toStdString();
    source->running = true;
    tick();
    EXPECT_EQ(line(), situation + QStringLiteral(" · TSL messages from 10.0.0.2"));
}

TEST_F(StatusLineTest, AConnectingSourcesNewsIsNotRepeatedBesideItsLinkState)
{
    FakeShotSource* source = makeWindowFollowingAFakeSwitcher();
    tick();
    const QString situation = line();
    Q_EMIT source->statusChanged(QStringLiteral("Fake switcher: connected"));
    EXPECT_EQ(line(), situation);
}

TEST_F(StatusLineTest, AnotherSourceIsNamedAndTheOldOnesNewsIsGone)
{
    FakeShotSource* source = makeWindowFollowingAFakeSwitcher();
    source->listens = true;
    tick();
    Q_EMIT source->statusChanged(QStringLiteral("TSL messages from 10.0.0.2"));
    answer({ { "1", "Cam 1", true, false } });
    controller->setShotSource(std::make_unique<MixdeskShotSource>());
    tick();
    EXPECT_TRUE(line().startsWith(QStringLiteral("Following Mixdesk"))) << line().toStdString();
    EXPECT_FALSE(line().contains(QStringLiteral("TSL messages from"))) << line().toStdString();
}

TEST_F(StatusLineTest, TheLineNamesTheOutputsThatRunAndCountsThePhones)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    const quint16 port = freePort();
    NetworkOutputChoices choices;
    choices.web = QStringLiteral("127.0.0.1:%1").arg(port);
    choices.tsl50Destinations = { QStringLiteral("udp://127.0.0.1:9"), QStringLiteral("udp://127.0.0.1:10") };
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(choices, nullptr));
    tick();
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots · Phones: 0 connected · TSL: 2 destinations"));

    PageSocket phone(port);
    ASSERT_TRUE(phone.connected());
    ASSERT_TRUE(eventually([&] { return controller->networkOutputs().webServer()->webSocketCount() == 1; }, 5000));
    tick();
    EXPECT_EQ(line(), QStringLiteral("Following Mixdesk · 2 shots · Phones: 1 connected · TSL: 2 destinations"));
}

TEST_F(StatusLineTest, ATslListenerSaysWhereItListensAndWhenAndFromWhereItLastHeard)
{
    TslShotSource::Listen listen;
    listen.address = QHostAddress(QHostAddress::LocalHost);
    auto owned = std::make_unique<TslShotSource>(listen);
    TslShotSource* source = owned.get();
    ASSERT_TRUE(source->start(nullptr));
    makeWindow(std::move(owned));
    tick();
    const QString listening = QStringLiteral("Listening for TSL 5.0 on 127.0.0.1 port %1").arg(source->localPort());
    EXPECT_EQ(line(), QStringLiteral("⚠ No TSL messages received  ") + listening + QStringLiteral(" · no message yet"));

    TslUmd50::Display display;
    display.index = 1;
    // A lit display: the listener counts the switcher as there only while
    // its tally is refreshed.
    display.leftTally = TslUmd50::Colour::red;
    display.text = QStringLiteral("Cam 1");
    TslUmd50::Packet packet;
    packet.displays.append(display);
    QUdpSocket sender;
    sender.writeDatagram(TslUmd50::encode(packet), QHostAddress::LocalHost, source->localPort());
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }, 5000));
    tick();
    EXPECT_TRUE(line().startsWith(listening + QStringLiteral(" · last message "))) << line().toStdString();
    EXPECT_TRUE(line().contains(QStringLiteral(" s ago from 127.0.0.1 · "))) << line().toStdString();
    // The first message from a sender names it once, after the situation.
    EXPECT_TRUE(line().endsWith(QStringLiteral(" · TSL messages from 127.0.0.1"))) << line().toStdString();
    EXPECT_FALSE(main.statusLine->showsProblem());
}

TEST_F(StatusLineTest, FollowingObsStudioTheLineNamesItsAddressAndSaysWhenItIsConnected)
{
    FakeObsServer server;
    ASSERT_TRUE(server.listening());
    server.scenes = { QStringLiteral("Wide") };
    server.inputs = { QStringLiteral("Camera 1") };
    server.items[QStringLiteral("Wide")] = { FakeObsServer::Item { 1, QStringLiteral("Camera 1") } };
    server.program = QStringLiteral("Wide");
    ObsShotSource::Settings settings;
    settings.address.host = QStringLiteral("127.0.0.1");
    settings.address.port = server.port();
    auto owned = std::make_unique<ObsShotSource>(settings);
    ObsShotSource* source = owned.get();
    makeWindow(std::move(owned));
    const QString following = QStringLiteral("Following OBS Studio at 127.0.0.1:%1").arg(server.port());
    EXPECT_TRUE(line().contains(following + QStringLiteral(" · connecting"))) << line().toStdString();
    ASSERT_TRUE(eventually([&] { return source->isRunning(); }, 5000));
    tick();
    EXPECT_EQ(line(), following + QStringLiteral(" · connected"));
}

TEST_F(StatusLineTest, StatusLineFitsANarrowWindowAndItsTooltipsHoldTheWholeText)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    main.statusLine->hide();
    const int minimumWithoutLine = windowMinimumWidth();
    main.statusLine->show();
    main.statusLine->showProblems(longProblems);
    main.statusLine->showSituation(longSituation);

    // Long texts do not make the window any wider than it can be without them.
    EXPECT_EQ(windowMinimumWidth(), minimumWithoutLine);
    QLabel* problems = part("statusProblems");
    QLabel* situation = part("statusSituation");
    ASSERT_NE(problems, nullptr);
    ASSERT_NE(situation, nullptr);
    for (const int width : { windowMinimumWidth(), 920 }) {
        resizeWindow(width);
        ASSERT_EQ(main.window->width(), width);
        expectFits(*problems);
        expectFits(*situation);
        EXPECT_TRUE(problems->text().startsWith(QStringLiteral("⚠ OBS Studio is not")))
            << problems->text().toStdString();
        EXPECT_NE(situation->text(), longSituation) << "too long for " << width << " px, yet shown whole";
        EXPECT_EQ(problems->toolTip(), QStringLiteral("⚠ ") + longProblems);
        EXPECT_EQ(situation->toolTip(), longSituation);
    }

    // A text that changes in a window already narrow fits as well.
    main.statusLine->showProblems(QString());
    main.statusLine->showSourceStatus(QStringLiteral("TSL messages from 10.0.0.2"));
    expectFits(*situation);
    EXPECT_TRUE(situation->text().startsWith(QStringLiteral("Following OBS Studio at 192.168.100.200:4465")))
        << situation->text().toStdString();
    EXPECT_EQ(situation->toolTip(), longSituation + QStringLiteral(" · TSL messages from 10.0.0.2"));
    EXPECT_EQ(line(), longSituation + QStringLiteral(" · TSL messages from 10.0.0.2"));
}

TEST_F(StatusLineTest, AShortLineIsShownWhole)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    resizeWindow(920);
    main.statusLine->showProblems(QStringLiteral("No tally box attached"));
    main.statusLine->showSituation(QStringLiteral("Following Mixdesk · 2 shots"));
    EXPECT_EQ(part("statusProblems")->text(), QStringLiteral("⚠ No tally box attached"));
    EXPECT_EQ(part("statusSituation")->text(), QStringLiteral("Following Mixdesk · 2 shots"));
    EXPECT_EQ(line(), QStringLiteral("⚠ No tally box attached  Following Mixdesk · 2 shots"));
}
