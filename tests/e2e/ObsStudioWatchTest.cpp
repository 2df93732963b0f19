// tallyctl watch following a real OBS Studio: OBS runs on a display of its
// own, the test plays the operator through OBS's websocket server, and the
// tally box is the capture device.

#include "ObsStudioProcess.h"
#include "WindowHome.h"
#include "net/keychain/PrivateSecretService.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/ObsTestClient.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QThread>

#include <gtest/gtest.h>

#include <optional>

namespace {

class ObsStudioWatchTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        if (!obs.start()) {
            if (!obs.unavailableReason().isEmpty()) {
                GTEST_SKIP() << obs.unavailableReason().toStdString();
            }
            FAIL() << obs.failure().toStdString();
        }
        ASSERT_TRUE(operatorDesk.logIn(obs.webSocketUrl(), obs.password()));
        mapPath = folder.write(QStringLiteral("studio.tlx"), "0|Wide\r\n1|Close\r\n2|Camera 1\r\n3|Camera 2\r\n");
    }

    void TearDown() override
    {
        for (QProcess* process : { &watch, &window }) {
            if (process->state() != QProcess::NotRunning) {
                process->terminate();
                if (!process->waitForFinished(5000)) {
                    process->kill();
                    process->waitForFinished();
                }
            }
        }
        obs.stop();
    }

    void call(const QString& type, const QJsonObject& data = {})
    {
        const ObsTestClient::Answer answer = operatorDesk.call(type, data);
        ASSERT_TRUE(answer.ok) << type.toStdString() << ": " << answer.comment.toStdString();
    }

    // Two scenes, "Wide" showing Camera 1 and "Close" showing Camera 2 and,
    // nested, the whole of Wide. Cuts are immediate.
    void buildStudio()
    {
        call(QStringLiteral("SetCurrentSceneTransition"),
            { { QStringLiteral("transitionName"), QStringLiteral("Cut") } });
        call(QStringLiteral("CreateScene"), { { QStringLiteral("sceneName"), QStringLiteral("Wide") } });
        call(QStringLiteral("CreateScene"), { { QStringLiteral("sceneName"), QStringLiteral("Close") } });
        addCamera(QStringLiteral("Wide"), QStringLiteral("Camera 1"));
        addCamera(QStringLiteral("Close"), QStringLiteral("Camera 2"));
        const ObsTestClient::Answer nested = operatorDesk.call(QStringLiteral("CreateSceneItem"),
            { { QStringLiteral("sceneName"), QStringLiteral("Close") },
                { QStringLiteral("sourceName"), QStringLiteral("Wide") } });
        ASSERT_TRUE(nested.ok) << nested.comment.toStdString();
        nestedWideItem = nested.data.value(QLatin1String("sceneItemId")).toInteger();
        call(QStringLiteral("SetCurrentProgramScene"), { { QStringLiteral("sceneName"), QStringLiteral("Wide") } });
        call(QStringLiteral("SetCurrentPreviewScene"), { { QStringLiteral("sceneName"), QStringLiteral("Close") } });
    }

    void addCamera(const QString& scene, const QString& name)
    {
        call(QStringLiteral("CreateInput"),
            { { QStringLiteral("sceneName"), scene }, { QStringLiteral("inputName"), name },
                { QStringLiteral("inputKind"), QStringLiteral("color_source_v3") } });
    }

    void startWatch(const QString& password)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        environment.insert(QStringLiteral("MIXDESK_TALLY_OBS_PASSWORD"), password);
        watch.setProcessEnvironment(environment);
        watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            { QStringLiteral("watch"), QStringLiteral("--source"), obs.address(), mapPath });
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    // The window, offscreen, with a home and settings of its own.
    void startWindow(const QStringList& arguments, const QString& password)
    {
        QProcessEnvironment environment = folder.environment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.privateRuntimeFolder());
        environment.insert(QStringLiteral("MIXDESK_TALLY_OBS_PASSWORD"), password);
        // A session bus where nothing listens, unless the test gives one with
        // a keyring of its own: the window never reaches the user's own
        // keyring, and without one keeps its password in its private file.
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
            sessionBus.isEmpty() ? QStringLiteral("unix:path=") + folder.filePath(QStringLiteral("no-bus"))
                                 : sessionBus);
        environment.remove(QStringLiteral("DISPLAY"));
        WindowHome::launch(window, environment, arguments);
    }

    // Waits until watch has printed line; true when it did.
    bool printed(const QString& line, int patienceMs = 10000)
    {
        return eventually(
            [&] {
                output += QString::fromUtf8(watch.readAllStandardOutput());
                return output.split(QLatin1Char('\n')).contains(line);
            },
            patienceMs);
    }

    // Waits until watch has printed line at least times times.
    bool printedTimes(const QString& line, qsizetype times, int patienceMs = 10000)
    {
        return eventually(
            [&] {
                output += QString::fromUtf8(watch.readAllStandardOutput());
                return output.split(QLatin1Char('\n')).count(line) >= times;
            },
            patienceMs);
    }

    // Waits until the last complete tick at the box is bytes.
    bool boxShows(const QByteArray& bytes, int patienceMs = 10000)
    {
        return eventually(
            [&] {
                const QList<QByteArray> ticks = capture.ticks();
                return !ticks.isEmpty() && ticks.last() == bytes;
            },
            patienceMs);
    }

    QByteArray lastTick() const
    {
        const QList<QByteArray> ticks = capture.ticks();
        return ticks.isEmpty() ? QByteArray("<none>") : ticks.last();
    }

    WindowHome folder;
    ObsStudioProcess obs;
    ObsTestClient operatorDesk;
    const CaptureFile& capture = folder.capture();
    QString mapPath;
    QProcess watch;
    QProcess window;
    // The window's session bus; empty for one where nothing listens.
    QString sessionBus;
    QString output;
    qint64 nestedWideItem = 0;
};

// Lights 1-4: Wide, Close, Camera 1, Camera 2; 5-8 off.
const QByteArray wideLiveCloseInPreview = "b1 21 02 d2 b3 23 04 d4 05 25 06 26 07 27 08 28";
const QByteArray closeLiveWideInPreview = "01 d1 b2 22 b3 23 b4 24 05 25 06 26 07 27 08 28";

} // namespace

TEST_F(ObsStudioWatchTest, WatchFollowsProgramAndPreviewThroughCutsAndTransitions)
{
    ASSERT_NO_FATAL_FAILURE(buildStudio());
    ASSERT_NO_FATAL_FAILURE(startWatch(obs.password()));
    ASSERT_TRUE(printed(QStringLiteral("OBS Studio running"))) << output.toStdString();
    ASSERT_TRUE(printed(QStringLiteral("Light 1: live (Wide)"))) << output.toStdString() << obs.logTail().toStdString();
    ASSERT_TRUE(boxShows(wideLiveCloseInPreview)) << lastTick().toStdString();
    EXPECT_TRUE(printed(QStringLiteral("Light 2: preview (Close)"))) << output.toStdString();
    EXPECT_TRUE(printed(QStringLiteral("Light 3: live (Camera 1)"))) << output.toStdString();
    EXPECT_TRUE(printed(QStringLiteral("Light 4: preview (Camera 2)"))) << output.toStdString();

    // The studio-mode transition swaps program and preview. Camera 1 stays
    // live: Close carries Wide nested in it.
    call(QStringLiteral("TriggerStudioModeTransition"));
    ASSERT_TRUE(boxShows(closeLiveWideInPreview)) << lastTick().toStdString();
    EXPECT_TRUE(printed(QStringLiteral("Light 2: live (Close)"))) << output.toStdString();
    EXPECT_TRUE(printed(QStringLiteral("Light 4: live (Camera 2)"))) << output.toStdString();

    // Hiding the nested Wide on program takes Camera 1 off air.
    call(QStringLiteral("SetSceneItemEnabled"),
        { { QStringLiteral("sceneName"), QStringLiteral("Close") }, { QStringLiteral("sceneItemId"), nestedWideItem },
            { QStringLiteral("sceneItemEnabled"), false } });
    ASSERT_TRUE(boxShows("01 d1 b2 22 03 d3 b4 24 05 25 06 26 07 27 08 28")) << lastTick().toStdString();
    EXPECT_TRUE(printed(QStringLiteral("Light 3: preview (Camera 1)"))) << output.toStdString();
}

TEST_F(ObsStudioWatchTest, WatchFollowsARenamedCameraAndANewScene)
{
    ASSERT_NO_FATAL_FAILURE(buildStudio());
    ASSERT_NO_FATAL_FAILURE(startWatch(obs.password()));
    ASSERT_TRUE(boxShows(wideLiveCloseInPreview)) << lastTick().toStdString();
    call(QStringLiteral("SetInputName"),
        { { QStringLiteral("inputName"), QStringLiteral("Camera 1") },
            { QStringLiteral("newInputName"), QStringLiteral("Cam 1") } });
    ASSERT_TRUE(printed(QStringLiteral("Assigned shots renamed in OBS Studio"))) << output.toStdString();
    // A scene made after the start is followed too.
    call(QStringLiteral("CreateScene"), { { QStringLiteral("sceneName"), QStringLiteral("Titles") } });
    call(QStringLiteral("SetCurrentPreviewScene"), { { QStringLiteral("sceneName"), QStringLiteral("Titles") } });
    call(QStringLiteral("TriggerStudioModeTransition"));
    // Titles is on program, Wide (with the renamed camera) in preview.
    ASSERT_TRUE(boxShows("01 d1 02 22 03 d3 04 24 05 25 06 26 07 27 08 28")) << lastTick().toStdString();
}

TEST_F(ObsStudioWatchTest, AWrongPasswordIsReportedAndTheBoxStaysDark)
{
    ASSERT_NO_FATAL_FAILURE(startWatch(QStringLiteral("not the password")));
    ASSERT_TRUE(printed(QStringLiteral("OBS Studio at 127.0.0.1:%1: not connected (OBS Studio refused the password); "
                                       "reconnecting")
                            .arg(obs.port())))
        << output.toStdString();
    EXPECT_TRUE(printed(QStringLiteral("OBS Studio not running"))) << output.toStdString();
    EXPECT_TRUE(capture.lines().isEmpty());
}

TEST_F(ObsStudioWatchTest, WhenOBSQuitsTheLightsFreezeAndWatchSaysSo)
{
    ASSERT_NO_FATAL_FAILURE(buildStudio());
    ASSERT_NO_FATAL_FAILURE(startWatch(obs.password()));
    ASSERT_TRUE(boxShows(wideLiveCloseInPreview)) << lastTick().toStdString();
    ASSERT_TRUE(printed(QStringLiteral("OBS Studio running"))) << output.toStdString();
    // The first tick, before the connection, said "not running" once already.
    const qsizetype notRunningBefore = output.split(QLatin1Char('\n')).count(QStringLiteral("OBS Studio not running"));
    obs.quitObs();
    ASSERT_TRUE(printedTimes(QStringLiteral("OBS Studio not running"), notRunningBefore + 1)) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("OBS Studio at 127.0.0.1:%1: not connected (").arg(obs.port())))
        << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("); reconnecting"))) << output.toStdString();
    // Nothing more goes to the box: it keeps showing the last state.
    const qsizetype reports = capture.lines().size();
    QThread::msleep(800);
    EXPECT_EQ(capture.lines().size(), reports);
    EXPECT_EQ(lastTick(), wideLiveCloseInPreview);
    EXPECT_EQ(watch.state(), QProcess::Running);
}

TEST_F(ObsStudioWatchTest, TheWindowFollowsOBSStudioToo)
{
    ASSERT_NO_FATAL_FAILURE(buildStudio());
    ASSERT_NO_FATAL_FAILURE(startWindow({ QStringLiteral("--source"), obs.address(), mapPath }, obs.password()));
    ASSERT_TRUE(boxShows(wideLiveCloseInPreview, 20000)) << lastTick().toStdString();
    call(QStringLiteral("TriggerStudioModeTransition"));
    ASSERT_TRUE(boxShows(closeLiveWideInPreview)) << lastTick().toStdString();
}

TEST_F(ObsStudioWatchTest, TheWindowStartsWithTheSourceChosenInItLastTime)
{
    ASSERT_NO_FATAL_FAILURE(buildStudio());
    QFile settings(folder.writeSettings(
        QStringLiteral("[General]\nShotSource=%1\nObsPassword=%2\n").arg(obs.address(), obs.password()).toUtf8()));
    ASSERT_NO_FATAL_FAILURE(startWindow({ mapPath }, QString()));
    ASSERT_TRUE(boxShows(wideLiveCloseInPreview, 20000)) << lastTick().toStdString();
    // The password an earlier version wrote in plain text has left the
    // settings file for the private file, there being no secret store here.
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    const QByteArray after = settings.readAll();
    EXPECT_TRUE(after.contains(obs.address().toUtf8())) << after.toStdString();
    EXPECT_FALSE(after.contains(obs.password().toUtf8())) << after.toStdString();
    const QString secrets = folder.filePath(QStringLiteral("config/Mixdesk/secrets.json"));
    EXPECT_EQ(QFile::permissions(secrets) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    QFile secretFile(secrets);
    ASSERT_TRUE(secretFile.open(QIODevice::ReadOnly));
    EXPECT_TRUE(secretFile.readAll().contains(obs.password().toUtf8()));
}

TEST_F(ObsStudioWatchTest, TheWindowKeepsThePasswordInTheSecretServiceAndStartsFromItNextTime)
{
    PrivateSecretService keyring(PrivateSecretService::Bus::forProgramsStarted);
    if (!keyring.problem().isEmpty()) {
        GTEST_SKIP() << "no Secret Service can run here: " << keyring.problem().toStdString();
    }
    sessionBus = keyring.busAddress();
    ASSERT_NO_FATAL_FAILURE(buildStudio());
    QFile settings(folder.writeSettings(
        QStringLiteral("[General]\nShotSource=%1\nObsPassword=%2\n").arg(obs.address(), obs.password()).toUtf8()));

    // First start: the plain-text password moves to the keyring.
    ASSERT_NO_FATAL_FAILURE(startWindow({ mapPath }, QString()));
    ASSERT_TRUE(boxShows(wideLiveCloseInPreview, 20000)) << lastTick().toStdString();
    QProcess lookup;
    lookup.setProcessEnvironment(keyring.environment());
    ASSERT_TRUE(eventually(
        [&] {
            lookup.start(QStringLiteral("secret-tool"),
                { QStringLiteral("lookup"), QStringLiteral("server"), QStringLiteral("Mixdesk Tally"),
                    QStringLiteral("user"), QStringLiteral("ObsPassword") });
            lookup.waitForFinished(5000);
            return lookup.readAllStandardOutput() == obs.password().toUtf8();
        },
        10000))
        << "the keyring does not hold the password";
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    EXPECT_FALSE(settings.readAll().contains(obs.password().toUtf8()));
    settings.close();
    EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("config/Mixdesk/secrets.json"))));

    // Second start: the password comes from the keyring alone.
    window.terminate();
    ASSERT_TRUE(window.waitForFinished(5000));
    QFile::remove(capture.path);
    ASSERT_NO_FATAL_FAILURE(startWindow({ mapPath }, QString()));
    EXPECT_TRUE(boxShows(wideLiveCloseInPreview, 20000)) << lastTick().toStdString();
}

namespace {

// OBS Studio's outputs as lights: light 1 "Recording", light 2 "Streaming",
// light 3 "Virtual Camera". The canvas is small and slow so that the
// encoder costs little.
class ObsStudioOnAirTest : public ObsStudioWatchTest {
protected:
    void SetUp() override
    {
        ObsStudioWatchTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        mapPath = folder.write(QStringLiteral("on-air.tlx"), "0|Recording\r\n1|Streaming\r\n2|Virtual Camera\r\n");
        call(QStringLiteral("SetVideoSettings"),
            { { QStringLiteral("baseWidth"), 320 }, { QStringLiteral("baseHeight"), 180 },
                { QStringLiteral("outputWidth"), 320 }, { QStringLiteral("outputHeight"), 180 },
                { QStringLiteral("fpsNumerator"), 10 }, { QStringLiteral("fpsDenominator"), 1 } });
        call(QStringLiteral("CreateInput"),
            { { QStringLiteral("sceneName"), QStringLiteral("Scene") },
                { QStringLiteral("inputName"), QStringLiteral("Camera 1") },
                { QStringLiteral("inputKind"), QStringLiteral("color_source_v3") } });
    }

    void TearDown() override
    {
        if (rtmp.state() != QProcess::NotRunning) {
            rtmp.terminate();
            if (!rtmp.waitForFinished(5000)) {
                rtmp.kill();
                rtmp.waitForFinished();
            }
        }
        ObsStudioWatchTest::TearDown();
    }

    // Starts watch and waits until it follows OBS with every light off.
    void watchWithLightsOff()
    {
        ASSERT_NO_FATAL_FAILURE(startWatch(obs.password()));
        ASSERT_TRUE(printed(QStringLiteral("OBS Studio running"), 20000)) << output.toStdString();
        ASSERT_TRUE(boxShows(allOff)) << lastTick().toStdString();
        EXPECT_FALSE(output.contains(QStringLiteral("missing"))) << output.toStdString();
    }

    // Why node-media-server cannot run here, or nothing once it listens on
    // rtmpPort.
    std::optional<QString> startRtmpReceiver()
    {
        const QString modules = QStringLiteral(TALLY_BINARY_DIR "/npm/node_modules");
        if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty()) {
            return QStringLiteral("node is not installed, so node-media-server cannot receive the stream");
        }
        if (!QFileInfo::exists(modules + QStringLiteral("/node-media-server/package.json"))) {
            return QStringLiteral("the build could not install node-media-server with npm into ") + modules;
        }
        rtmpPort = freePort();
        // Its own folders, loopback only, no admin page; the secure ports
        // its sample configuration opens are left out.
        const QJsonObject config {
            { QStringLiteral("bind"), QStringLiteral("127.0.0.1") },
            { QStringLiteral("notify"), QJsonObject { { QStringLiteral("url"), QString() } } },
            { QStringLiteral("store"),
                QJsonObject { { QStringLiteral("path"), folder.filePath(QStringLiteral("rtmp-data")) },
                    { QStringLiteral("maxHistory"), 10 } } },
            { QStringLiteral("auth"),
                QJsonObject { { QStringLiteral("play"), false }, { QStringLiteral("publish"), false },
                    { QStringLiteral("secret"), QString() } } },
            { QStringLiteral("rtmp"), QJsonObject { { QStringLiteral("port"), rtmpPort } } },
            { QStringLiteral("http"), QJsonObject { { QStringLiteral("port"), freePort() } } },
            { QStringLiteral("webadmin"), QJsonObject { { QStringLiteral("enable"), false } } },
            { QStringLiteral("record"),
                QJsonObject { { QStringLiteral("auto"), false },
                    { QStringLiteral("path"), folder.filePath(QStringLiteral("rtmp-record")) } } },
        };
        const QString configPath
            = folder.write(QStringLiteral("node-media-server.json"), QJsonDocument(config).toJson());
        rtmp.setProcessChannelMode(QProcess::MergedChannels);
        rtmp.start(QStringLiteral("node"),
            { modules + QStringLiteral("/node-media-server/bin/app.js"), QStringLiteral("-c"), configPath });
        if (!rtmp.waitForStarted(10000)) {
            return QStringLiteral("node did not start: ") + rtmp.errorString();
        }
        const bool listening = eventually(
            [&] {
                QTcpSocket socket;
                socket.connectToHost(QHostAddress::LocalHost, rtmpPort);
                return socket.waitForConnected(200);
            },
            15000);
        if (!listening) {
            ADD_FAILURE() << "node-media-server did not listen: " << rtmp.readAll().toStdString();
        }
        return std::nullopt;
    }

    // Waits until watch has printed line after its last earlier line, so
    // that "Light 1: off" from before recording is not taken for the one
    // after it.
    bool printedAfter(const QString& earlier, const QString& line, int patienceMs = 10000)
    {
        return eventually(
            [&] {
                output += QString::fromUtf8(watch.readAllStandardOutput());
                const QStringList lines = output.split(QLatin1Char('\n'));
                const qsizetype from = lines.lastIndexOf(earlier);
                return from >= 0 && lines.indexOf(line, from + 1) > from;
            },
            patienceMs);
    }

    // Waits until OBS says the output runs: it refuses to stop one that is
    // still starting.
    bool outputActive(const QString& statusRequest)
    {
        return eventually(
            [&] { return operatorDesk.call(statusRequest).data.value(QLatin1String("outputActive")).toBool(); });
    }

    static inline const QByteArray allOff = "01 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28";
    QProcess rtmp;
    quint16 rtmpPort = 0;
};

} // namespace

TEST_F(ObsStudioOnAirTest, RecordingToAFileLightsTheRecordingLightUntilItStops)
{
    const QString recordings = folder.filePath(QStringLiteral("recordings"));
    ASSERT_TRUE(QDir().mkpath(recordings));
    call(QStringLiteral("SetProfileParameter"),
        { { QStringLiteral("parameterCategory"), QStringLiteral("SimpleOutput") },
            { QStringLiteral("parameterName"), QStringLiteral("FilePath") },
            { QStringLiteral("parameterValue"), recordings } });
    ASSERT_NO_FATAL_FAILURE(watchWithLightsOff());

    call(QStringLiteral("StartRecord"));
    ASSERT_TRUE(printed(QStringLiteral("Light 1: live (Recording)")))
        << output.toStdString() << obs.logTail().toStdString();
    ASSERT_TRUE(boxShows("b1 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28")) << lastTick().toStdString();
    ASSERT_TRUE(outputActive(QStringLiteral("GetRecordStatus"))) << obs.logTail().toStdString();
    QThread::msleep(2000);
    call(QStringLiteral("StopRecord"));
    ASSERT_TRUE(printedAfter(QStringLiteral("Light 1: live (Recording)"), QStringLiteral("Light 1: off")))
        << output.toStdString();
    EXPECT_TRUE(boxShows(allOff)) << lastTick().toStdString();
    // OBS did record: the file is there, with something in it.
    EXPECT_TRUE(eventually([&] {
        const QFileInfoList files = QDir(recordings).entryInfoList(QDir::Files);
        return !files.isEmpty() && files.first().size() > 0;
    })) << "nothing recorded in "
        << recordings.toStdString();
    EXPECT_FALSE(output.contains(QStringLiteral("Light 2: live"))) << output.toStdString();
}

TEST_F(ObsStudioOnAirTest, StreamingToALocalReceiverLightsTheStreamingLightUntilItStops)
{
    const std::optional<QString> missing = startRtmpReceiver();
    if (missing) {
        GTEST_SKIP() << missing->toStdString();
    }
    ASSERT_FALSE(HasFailure());
    call(QStringLiteral("SetStreamServiceSettings"),
        { { QStringLiteral("streamServiceType"), QStringLiteral("rtmp_custom") },
            { QStringLiteral("streamServiceSettings"),
                QJsonObject { { QStringLiteral("server"), QStringLiteral("rtmp://127.0.0.1:%1/live").arg(rtmpPort) },
                    { QStringLiteral("key"), QStringLiteral("stage") } } } });
    ASSERT_NO_FATAL_FAILURE(watchWithLightsOff());

    call(QStringLiteral("StartStream"));
    ASSERT_TRUE(printed(QStringLiteral("Light 2: live (Streaming)")))
        << output.toStdString() << obs.logTail().toStdString();
    ASSERT_TRUE(boxShows("01 21 b2 22 03 23 04 24 05 25 06 26 07 27 08 28")) << lastTick().toStdString();
    // OBS does stream: the receiver took the connection.
    ASSERT_TRUE(outputActive(QStringLiteral("GetStreamStatus"))) << obs.logTail().toStdString();
    QThread::msleep(1000);
    call(QStringLiteral("StopStream"));
    ASSERT_TRUE(printedAfter(QStringLiteral("Light 2: live (Streaming)"), QStringLiteral("Light 2: off")))
        << output.toStdString();
    EXPECT_TRUE(boxShows(allOff)) << lastTick().toStdString();
}

TEST_F(ObsStudioOnAirTest, AVirtualCameraOBSRefusesLeavesItsLightOff)
{
    ASSERT_NO_FATAL_FAILURE(watchWithLightsOff());
    const ObsTestClient::Answer started = operatorDesk.call(QStringLiteral("StartVirtualCam"));
    if (started.ok) {
        // A machine with the virtual camera's driver: then it must light.
        EXPECT_TRUE(printed(QStringLiteral("Light 3: live (Virtual Camera)"))) << output.toStdString();
        operatorDesk.call(QStringLiteral("StopVirtualCam"));
        EXPECT_TRUE(printedAfter(QStringLiteral("Light 3: live (Virtual Camera)"), QStringLiteral("Light 3: off")))
            << output.toStdString();
        return;
    }
    EXPECT_FALSE(started.comment.isEmpty()) << "OBS refused without saying why";
    // Recording meanwhile shows that watch is still following OBS's outputs.
    const QString recordings = folder.filePath(QStringLiteral("recordings"));
    ASSERT_TRUE(QDir().mkpath(recordings));
    call(QStringLiteral("SetProfileParameter"),
        { { QStringLiteral("parameterCategory"), QStringLiteral("SimpleOutput") },
            { QStringLiteral("parameterName"), QStringLiteral("FilePath") },
            { QStringLiteral("parameterValue"), recordings } });
    call(QStringLiteral("StartRecord"));
    ASSERT_TRUE(printed(QStringLiteral("Light 1: live (Recording)")))
        << output.toStdString() << obs.logTail().toStdString();
    EXPECT_TRUE(boxShows("b1 21 02 22 03 23 04 24 05 25 06 26 07 27 08 28")) << lastTick().toStdString();
    ASSERT_TRUE(outputActive(QStringLiteral("GetRecordStatus"))) << obs.logTail().toStdString();
    call(QStringLiteral("StopRecord"));
    ASSERT_TRUE(printedAfter(QStringLiteral("Light 1: live (Recording)"), QStringLiteral("Light 1: off")))
        << output.toStdString();
    EXPECT_FALSE(output.contains(QStringLiteral("Light 3: live"))) << output.toStdString();
    for (const QByteArray& tick : capture.ticks()) {
        EXPECT_TRUE(tick.startsWith("01 21 02 22 03 23") || tick.startsWith("b1 21 02 22 03 23")) << tick.toStdString();
    }
}
