// tallyctl watch publishing the lights to a real Mosquitto broker beside the
// built stand-in, checked by an independent subscriber (mosquitto_sub):
// retained state, every cut, a lost switcher, the last will, a broker that
// restarts, a login, TLS and Home Assistant discovery, and what a lamp
// that connects after the program has gone reads.

#include "MosquittoBroker.h"
#include "MqttSubscriber.h"
#include "WatchProcessFixture.h"
#include "WindowHome.h"
#include "support/Eventually.h"
#include "support/FreePort.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>

namespace {

class MqttWatchProcessTest : public WatchProcessFixture {
protected:
    void SetUp() override
    {
        WatchProcessFixture::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        if (const QString missing = MosquittoBroker::missing(); !missing.isEmpty()) {
            GTEST_SKIP() << missing.toStdString();
        }
    }

    void start(const QStringList& arguments, const QMap<QString, QString>& extraEnvironment = {})
    {
        QProcessEnvironment environment = standin.environment();
        environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture.path);
        for (auto it = extraEnvironment.cbegin(); it != extraEnvironment.cend(); ++it) {
            environment.insert(it.key(), it.value());
        }
        watch.setProcessEnvironment(environment);
        watch.start(QStringLiteral(TALLY_BINARY_DIR "/bin/tallyctl"),
            QStringList { QStringLiteral("watch") } + arguments + QStringList { mapPath });
        ASSERT_TRUE(watch.waitForStarted(10000));
    }

    QString broker(const QString& scheme = QStringLiteral("mqtt"), const QString& user = {}) const
    {
        const QString login = user.isEmpty() ? QString() : user + QLatin1Char('@');
        return scheme + QStringLiteral("://") + login + QStringLiteral("127.0.0.1:%1/studio").arg(mosquitto.port());
    }

    // Whether tallyctl has said text on standard error by now.
    bool said(const QString& text)
    {
        errors += QString::fromUtf8(watch.readAllStandardError());
        return errors.contains(text);
    }

    // Waits until the broker holds the program's whole picture, so that a
    // subscriber that comes now is a late one.
    bool stateAtBroker(const QStringList& login = {})
    {
        MqttSubscriber probe;
        return probe.start(mosquitto.port(), QStringLiteral("studio/lights"), login) && eventually([&] {
            return probe.sawStart(QStringLiteral("0 studio/lights "))
                || probe.sawStart(QStringLiteral("1 studio/lights "));
        });
    }

    // What the broker holds under studio/ now, as a lamp that connects now
    // would read it.
    QStringList retained() const { return MqttSubscriber::retainedAt(mosquitto.port(), QStringLiteral("studio")); }

    // Waits until this tallyctl is connected and the broker holds light 1
    // live, then ends tallyctl with signalNumber and waits for it to be gone.
    void endWhileLive(int signalNumber)
    {
        ASSERT_TRUE(eventually([&] { return said(QStringLiteral("connected, topics under studio/")); }))
            << errors.toStdString();
        ASSERT_TRUE(eventually([&] { return retained().contains(QStringLiteral("studio/light/1/state live")); }))
            << errors.toStdString();
        ASSERT_EQ(::kill(static_cast<pid_t>(watch.processId()), signalNumber), 0);
        ASSERT_TRUE(watch.waitForFinished(10000));
        said(QString());
    }

    // The state word of every light as held at the broker, in its plain
    // topic, its JSON and the whole picture.
    static QStringList stateWords(const QStringList& held)
    {
        QStringList words;
        for (const QString& line : held) {
            const QString topic = line.section(QLatin1Char(' '), 0, 0);
            const QByteArray payload = line.section(QLatin1Char(' '), 1).toUtf8();
            if (topic.startsWith(QStringLiteral("studio/light/")) && topic.endsWith(QStringLiteral("/state"))) {
                words.append(QString::fromUtf8(payload));
            } else if (topic.startsWith(QStringLiteral("studio/light/"))) {
                words.append(QJsonDocument::fromJson(payload).object().value(QStringLiteral("state")).toString());
            } else if (topic == QStringLiteral("studio/lights")) {
                for (const QJsonValue& light :
                    QJsonDocument::fromJson(payload).object().value(QStringLiteral("lights")).toArray()) {
                    words.append(light.toObject().value(QStringLiteral("state")).toString());
                }
            }
        }
        return words;
    }

    // Makes a test CA and a certificate for 127.0.0.1 signed by it.
    bool makeCertificates()
    {
        const QString dir = mosquitto.folder();
        const auto run = [&](const QStringList& arguments) {
            QProcess openssl;
            openssl.setWorkingDirectory(dir);
            openssl.start(QStringLiteral("openssl"), arguments);
            return openssl.waitForFinished(20000) && openssl.exitCode() == 0;
        };
        QFile extensions(dir + QStringLiteral("/server.ext"));
        if (!extensions.open(QIODevice::WriteOnly)) {
            return false;
        }
        extensions.write("subjectAltName=IP:127.0.0.1,DNS:localhost\n");
        extensions.close();
        const QStringList ec { QStringLiteral("-newkey"), QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
            QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes") };
        return run(QStringList { QStringLiteral("req"), QStringLiteral("-x509") } + ec
                   + QStringList { QStringLiteral("-keyout"), QStringLiteral("ca.key"), QStringLiteral("-out"),
                       QStringLiteral("ca.pem"), QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"),
                       QStringLiteral("/CN=Tally Test CA") })
            && run(QStringList { QStringLiteral("req") } + ec
                + QStringList { QStringLiteral("-keyout"), QStringLiteral("server.key"), QStringLiteral("-out"),
                    QStringLiteral("server.csr"), QStringLiteral("-subj"), QStringLiteral("/CN=localhost") })
            && run({ QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"),
                QStringLiteral("server.csr"), QStringLiteral("-CA"), QStringLiteral("ca.pem"), QStringLiteral("-CAkey"),
                QStringLiteral("ca.key"), QStringLiteral("-CAcreateserial"), QStringLiteral("-out"),
                QStringLiteral("server.pem"), QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-extfile"),
                QStringLiteral("server.ext") });
    }

    MosquittoBroker mosquitto;
    MqttSubscriber subscriber;
    QString errors;
};

} // namespace

TEST_F(MqttWatchProcessTest, ALateSubscriberGetsTheRetainedStateAndThenEveryCut)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), broker() });
    ASSERT_TRUE(stateAtBroker()) << errors.toStdString();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/#")));
    EXPECT_TRUE(eventually([&] {
        return subscriber.saw(QStringLiteral("1 studio/status online"))
            && subscriber.saw(QStringLiteral("1 studio/light/1/state live"))
            && subscriber.saw(QStringLiteral("1 studio/light/2/state preview"))
            && subscriber.saw(QStringLiteral("1 studio/light/3/state live"))
            && subscriber.saw(QStringLiteral("1 studio/light/8/state off"));
    })) << subscriber.everything().toStdString();
    EXPECT_TRUE(subscriber.sawStart(QStringLiteral("1 studio/lights {")));

    subscriber.clear();
    standin.send("cut\n");
    EXPECT_TRUE(eventually([&] {
        return subscriber.saw(QStringLiteral("0 studio/light/1/state preview"))
            && subscriber.saw(QStringLiteral("0 studio/light/2/state live"));
    })) << subscriber.everything().toStdString();
    // Light 3 has both cameras and stays live, now for Camera 2: its word
    // never changes, and its JSON says which camera lights it now.
    EXPECT_TRUE(eventually([&] {
        return subscriber.sawStart(QStringLiteral("0 studio/light/3 {\"light\":3,\"litBy\":[\"Camera 2\"]"));
    })) << subscriber.everything().toStdString();
    for (const QString& line : subscriber.lines()) {
        if (line.startsWith(QStringLiteral("0 studio/light/3/state "))) {
            EXPECT_EQ(line, QStringLiteral("0 studio/light/3/state live"));
        } else if (line.startsWith(QStringLiteral("0 studio/light/3 "))) {
            const QJsonObject light = QJsonDocument::fromJson(line.section(QLatin1Char(' '), 2).toUtf8()).object();
            EXPECT_EQ(light.value(QStringLiteral("mode")).toString(), QStringLiteral("live")) << line.toStdString();
        }
    }
    subscriber.clear();
    standin.send("cut\n");
    // The plain state and the JSON are two messages: the JSON may come a
    // moment after the state.
    EXPECT_TRUE(eventually([&] {
        return subscriber.saw(QStringLiteral("0 studio/light/1/state live"))
            && subscriber.sawStart(QStringLiteral("0 studio/light/1 {"));
    })) << subscriber.everything().toStdString();
    // The JSON of a light tells its mode, shots and how new it is.
    QJsonObject light;
    for (const QString& line : subscriber.lines()) {
        if (line.startsWith(QStringLiteral("0 studio/light/1 "))) {
            light = QJsonDocument::fromJson(line.section(QLatin1Char(' '), 2).toUtf8()).object();
        }
    }
    EXPECT_EQ(light.value(QStringLiteral("mode")).toString(), QStringLiteral("live"));
    EXPECT_EQ(
        light.value(QStringLiteral("shots")).toVariant().toStringList(), QStringList { QStringLiteral("Camera 1") });
    EXPECT_TRUE(light.value(QStringLiteral("sourceRunning")).toBool());
    EXPECT_EQ(light.value(QStringLiteral("sequence")).toInt(), 3);
    EXPECT_FALSE(light.value(QStringLiteral("timestamp")).toString().isEmpty());
}

TEST_F(MqttWatchProcessTest, ALostSwitcherIsUnknownAndAKilledProgramIsOfflineThroughTheLastWill)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), broker() });
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/#")));
    ASSERT_TRUE(eventually([&] { return subscriber.saw(QStringLiteral("0 studio/light/1/state live")); }))
        << subscriber.everything().toStdString() << errors.toStdString();
    standin.send("quit\n");
    ASSERT_TRUE(standin.waitForExit());
    EXPECT_TRUE(eventually([&] {
        return subscriber.saw(QStringLiteral("0 studio/light/1/state unknown"))
            && subscriber.saw(QStringLiteral("0 studio/light/8/state unknown"));
    })) << subscriber.everything().toStdString();

    watch.kill(); // SIGKILL: no goodbye, the broker sends the will
    ASSERT_TRUE(watch.waitForFinished(5000));
    EXPECT_TRUE(eventually([&] { return subscriber.saw(QStringLiteral("0 studio/status offline")); }, 20000))
        << subscriber.everything().toStdString();
    MqttSubscriber late;
    ASSERT_TRUE(late.start(mosquitto.port(), QStringLiteral("studio/status")));
    EXPECT_TRUE(eventually([&] { return late.saw(QStringLiteral("1 studio/status offline")); }))
        << late.everything().toStdString();
}

TEST_F(MqttWatchProcessTest, ABrokerThatDiesAndComesBackGetsTheWholeStateAgainWhileTheBoxGoesOn)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), broker() });
    ASSERT_TRUE(stateAtBroker()) << errors.toStdString();

    mosquitto.stop();
    ASSERT_TRUE(eventually([&] {
        return said(QStringLiteral("the broker closed the connection; trying again in 1 s"));
    })) << errors.toStdString();
    // The box is not held up: cuts reach it while the broker is away.
    standin.send("cut\n");
    EXPECT_TRUE(eventually([&] {
        const QList<QByteArray> ticks = capture.ticks();
        return !ticks.isEmpty() && ticks.last().startsWith("01 d1");
    })) << capture.ticks().size();

    ASSERT_TRUE(mosquitto.restart()) << mosquitto.output().toStdString();
    ASSERT_TRUE(stateAtBroker()) << errors.toStdString();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/#")));
    // Restarted without persistence, the broker holds only what the program
    // publishes again, and that is the state after the cut.
    EXPECT_TRUE(eventually([&] {
        return subscriber.saw(QStringLiteral("1 studio/light/1/state preview"))
            && subscriber.saw(QStringLiteral("1 studio/light/2/state live"))
            && subscriber.saw(QStringLiteral("1 studio/status online"));
    })) << subscriber.everything().toStdString()
        << errors.toStdString();
    EXPECT_TRUE(said(QStringLiteral("connected, topics under studio/")));
}

TEST_F(MqttWatchProcessTest, ABrokerThatHangsIsNotSentEveryCutItMissedWhenItWakes)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    // The state is not said again during the test: each message seen is a
    // cut's.
    start({ QStringLiteral("--mqtt"), broker() },
        { { QStringLiteral("MIXDESK_TALLY_MQTT_STATE_EXPIRY"), QStringLiteral("600") } });
    ASSERT_TRUE(stateAtBroker()) << errors.toStdString();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/light/1/state")));
    ASSERT_TRUE(eventually([&] { return subscriber.saw(QStringLiteral("1 studio/light/1/state live")); }))
        << subscriber.everything().toStdString();
    subscriber.clear();

    // Ten cuts while the broker hangs with the connection open, each seen
    // by the box: light 1 goes preview, live, ... and ends live.
    ASSERT_TRUE(mosquitto.freeze());
    const int cuts = 10;
    for (int cut = 0; cut < cuts; ++cut) {
        const qsizetype before = capture.ticks().size();
        standin.send("cut\n");
        ASSERT_TRUE(eventually([&] { return capture.ticks().size() > before; })) << "cut " << cut;
        QTest::qWait(100);
    }
    ASSERT_TRUE(mosquitto.thaw());

    // The broker wakes to at most the one message that was on its way when
    // it hung, then the state of now; not the ten it missed.
    ASSERT_TRUE(eventually([&] { return subscriber.saw(QStringLiteral("0 studio/light/1/state live")); }))
        << subscriber.everything().toStdString() << errors.toStdString();
    QTest::qWait(1000);
    const QStringList lines = subscriber.lines();
    EXPECT_LE(lines.size(), 2) << subscriber.everything().toStdString();
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines.last(), QStringLiteral("0 studio/light/1/state live")) << subscriber.everything().toStdString();
}

TEST_F(MqttWatchProcessTest, ABrokerAwayLongGetsTheStateWithinTwoSecondsOfComingBack)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), broker() });
    ASSERT_TRUE(stateAtBroker()) << errors.toStdString();

    // Long enough for several failed attempts, each waited for longer.
    mosquitto.stop();
    QTest::qWait(8000);
    ASSERT_TRUE(mosquitto.restart()) << mosquitto.output().toStdString();
    QElapsedTimer since;
    since.start();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/light/1/state")));
    // Retained (1) when the state came before the subscription, else not.
    ASSERT_TRUE(eventually(
        [&] {
            return subscriber.saw(QStringLiteral("1 studio/light/1/state live"))
                || subscriber.saw(QStringLiteral("0 studio/light/1/state live"));
        },
        5000))
        << subscriber.everything().toStdString() << errors.toStdString();
    EXPECT_LT(since.elapsed(), 2000) << errors.toStdString();
}

TEST_F(MqttWatchProcessTest, ABrokerThatNeverAnswersIsSaidWithinSecondsAndDoesNotHoldUpQuitting)
{
    // Takes the connection and never says a word, like a broker that hung.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    QElapsedTimer since;
    since.start();
    start({ QStringLiteral("--mqtt"), QStringLiteral("mqtt://127.0.0.1:%1/studio").arg(silent.serverPort()) });
    ASSERT_TRUE(
        eventually([&] { return said(QStringLiteral("no answer from the broker within 3 s; still trying")); }, 5000))
        << errors.toStdString();
    EXPECT_LT(since.elapsed(), 5000);

    since.restart();
    ASSERT_EQ(::kill(static_cast<pid_t>(watch.processId()), SIGTERM), 0);
    ASSERT_TRUE(watch.waitForFinished(5000));
    const qint64 quitting = since.elapsed();
    EXPECT_LT(quitting, 1500) << "quitting took " << quitting << " ms";
}

TEST_F(MqttWatchProcessTest, ALoginWithAPasswordFromAFileOrTheEnvironmentAndARefusedOneIsSaid)
{
    const QString passwords = mosquitto.folder() + QStringLiteral("/passwords");
    QProcess passwd;
    passwd.start(QStringLiteral("mosquitto_passwd"),
        { QStringLiteral("-c"), QStringLiteral("-b"), passwords, QStringLiteral("tally"), QStringLiteral("s3cret") });
    ASSERT_TRUE(passwd.waitForFinished(10000) && passwd.exitCode() == 0) << passwd.readAllStandardError().toStdString();
    MosquittoBroker::Options options;
    options.passwordFile = passwords;
    ASSERT_TRUE(mosquitto.start(options)) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));

    // A wrong password: refused, said, tried again later; the box goes on.
    start({ QStringLiteral("--mqtt"), broker(QStringLiteral("mqtt"), QStringLiteral("tally")) },
        { { QStringLiteral("MIXDESK_TALLY_MQTT_PASSWORD"), QStringLiteral("wrong") } });
    EXPECT_TRUE(eventually([&] { return said(QStringLiteral("the broker refused the connection: ")); }))
        << errors.toStdString();
    EXPECT_TRUE(said(QStringLiteral("trying again in 1 s"))) << errors.toStdString();
    EXPECT_TRUE(eventually([&] { return !capture.ticks().isEmpty(); }));
    watch.kill();
    watch.waitForFinished();
    errors.clear();

    const QString passwordFile = folder.filePath(QStringLiteral("mqtt-password"));
    QFile file(passwordFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("s3cret\n");
    file.close();
    start({ QStringLiteral("--mqtt"), broker(QStringLiteral("mqtt"), QStringLiteral("tally")),
        QStringLiteral("--mqtt-password-file"), passwordFile });
    const QStringList login { QStringLiteral("-u"), QStringLiteral("tally"), QStringLiteral("-P"),
        QStringLiteral("s3cret") };
    ASSERT_TRUE(stateAtBroker(login)) << errors.toStdString();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/light/1/state"), login));
    EXPECT_TRUE(eventually([&] { return subscriber.saw(QStringLiteral("1 studio/light/1/state live")); }))
        << subscriber.everything().toStdString() << errors.toStdString();
}

TEST_F(MqttWatchProcessTest, TlsWithTheTestsOwnCaAndAnUntrustedCertificateIsSaid)
{
    ASSERT_TRUE(makeCertificates());
    MosquittoBroker::Options options;
    options.certFile = mosquitto.folder() + QStringLiteral("/server.pem");
    options.keyFile = mosquitto.folder() + QStringLiteral("/server.key");
    ASSERT_TRUE(mosquitto.start(options)) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    const QString caFile = mosquitto.folder() + QStringLiteral("/ca.pem");

    // Without the test CA the system's store does not trust the broker.
    start({ QStringLiteral("--mqtt"), broker(QStringLiteral("mqtts")) });
    EXPECT_TRUE(eventually([&] { return said(QStringLiteral("the TLS handshake failed")); })) << errors.toStdString();
    EXPECT_TRUE(said(QStringLiteral("certificate verify failed"))) << errors.toStdString();
    // And so is the next attempt: each one starts afresh.
    EXPECT_TRUE(eventually([&] {
        said(QString());
        return errors.count(QStringLiteral("certificate verify failed")) >= 2;
    })) << errors.toStdString();
    watch.kill();
    watch.waitForFinished();
    errors.clear();

    start({ QStringLiteral("--mqtt"), broker(QStringLiteral("mqtts")), QStringLiteral("--mqtt-ca-file"), caFile });
    const QStringList trust { QStringLiteral("--cafile"), caFile };
    ASSERT_TRUE(stateAtBroker(trust)) << errors.toStdString();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("studio/light/2/state"), trust));
    EXPECT_TRUE(eventually([&] { return subscriber.saw(QStringLiteral("1 studio/light/2/state preview")); }))
        << subscriber.everything().toStdString() << errors.toStdString();

    // A TLS connection comes back after the broker restarts, as a plain one.
    ASSERT_TRUE(mosquitto.restart()) << mosquitto.output().toStdString();
    EXPECT_TRUE(eventually([&] {
        return said(QStringLiteral("trying again in 1 s"))
            && errors.count(QStringLiteral("connected, topics under studio/")) == 2;
    })) << errors.toStdString();
}

TEST_F(MqttWatchProcessTest, DiscoveryAnnouncesEveryLightToHomeAssistant)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), broker(), QStringLiteral("--mqtt-discovery") });
    ASSERT_TRUE(eventually([&] { return said(QStringLiteral("connected, topics under studio/")); }))
        << errors.toStdString();
    ASSERT_TRUE(subscriber.start(mosquitto.port(), QStringLiteral("homeassistant/sensor/+/+/config")));
    EXPECT_TRUE(eventually([&] { return subscriber.lines().size() == 8; })) << subscriber.everything().toStdString();
    QJsonObject config;
    for (const QString& line : subscriber.lines()) {
        EXPECT_TRUE(line.startsWith(QStringLiteral("1 homeassistant/sensor/"))) << line.toStdString();
        if (line.section(QLatin1Char(' '), 1, 1).endsWith(QStringLiteral("/light3/config"))) {
            config = QJsonDocument::fromJson(line.section(QLatin1Char(' '), 2).toUtf8()).object();
        }
    }
    EXPECT_EQ(config.value(QStringLiteral("state_topic")).toString(), QStringLiteral("studio/light/3/state"));
    EXPECT_EQ(config.value(QStringLiteral("availability_topic")).toString(), QStringLiteral("studio/status"));
    EXPECT_EQ(config.value(QStringLiteral("name")).toString(), QStringLiteral("Tally light 3"));
}

TEST_F(MqttWatchProcessTest, ABadBrokerAddressIsAUsageErrorAndAnAbsentBrokerDoesNotStopTheBox)
{
    start({ QStringLiteral("--mqtt"), QStringLiteral("broker.studio:1883") });
    ASSERT_TRUE(watch.waitForFinished(15000));
    EXPECT_EQ(watch.exitCode(), 2);
    EXPECT_TRUE(said(QStringLiteral(
        "bad MQTT broker 'broker.studio:1883': expected mqtt://[USER@]HOST[:PORT][/PREFIX] or mqtts://...")))
        << errors.toStdString();
    errors.clear();

    // Nothing listens on the broker's port: said, and the box is lit.
    const quint16 closedPort = freePort();
    ASSERT_NE(closedPort, 0);
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), QStringLiteral("mqtt://127.0.0.1:%1").arg(closedPort) });
    EXPECT_TRUE(eventually([&] { return said(QStringLiteral("Connection refused; trying again in 1 s")); }))
        << errors.toStdString();
    EXPECT_TRUE(eventually([&] { return capture.ticks().size() >= 2; })) << errors.toStdString();
}

TEST_F(MqttWatchProcessTest, AfterSigtermOrCtrlCNoLightReadsLiveOrPreviewButUnknown)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    for (const int signalNumber : { SIGTERM, SIGINT }) {
        SCOPED_TRACE(signalNumber == SIGTERM ? "SIGTERM" : "SIGINT");
        start({ QStringLiteral("--mqtt"), broker() });
        endWhileLive(signalNumber);
        EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(watch.exitCode(), 0) << errors.toStdString();
        const QStringList held = retained();
        EXPECT_TRUE(held.contains(QStringLiteral("studio/status offline"))) << held.join('\n').toStdString();
        EXPECT_TRUE(held.contains(QStringLiteral("studio/light/1/state unknown"))) << held.join('\n').toStdString();
        EXPECT_TRUE(held.contains(QStringLiteral("studio/light/2/state unknown"))) << held.join('\n').toStdString();
        EXPECT_TRUE(held.contains(QStringLiteral("studio/light/8/state unknown"))) << held.join('\n').toStdString();
        // Eight plain words, eight JSON lights and eight in the whole picture.
        const QStringList words = stateWords(held);
        EXPECT_EQ(words.size(), 24) << held.join('\n').toStdString();
        EXPECT_EQ(words.count(QStringLiteral("unknown")), words.size()) << held.join('\n').toStdString();
        errors.clear();
    }
}

TEST_F(MqttWatchProcessTest, WithLightsOffAtQuitEveryLightReadsOffAfterTheExit)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    start({ QStringLiteral("--mqtt"), broker(), QStringLiteral("--lights-off-at-quit") });
    endWhileLive(SIGTERM);
    EXPECT_EQ(watch.exitCode(), 0) << errors.toStdString();
    const QStringList held = retained();
    EXPECT_TRUE(held.contains(QStringLiteral("studio/status offline"))) << held.join('\n').toStdString();
    EXPECT_TRUE(held.contains(QStringLiteral("studio/light/1/state off"))) << held.join('\n').toStdString();
    EXPECT_TRUE(held.contains(QStringLiteral("studio/light/2/state off"))) << held.join('\n').toStdString();
    const QStringList words = stateWords(held);
    EXPECT_EQ(words.size(), 24) << held.join('\n').toStdString();
    EXPECT_EQ(words.count(QStringLiteral("off")), words.size()) << held.join('\n').toStdString();
    // The box heard the same: every light off after the last tick.
    const QList<QByteArray> ticks = capture.ticks();
    ASSERT_FALSE(ticks.isEmpty());
    EXPECT_TRUE(ticks.last().startsWith("01 21")) << ticks.last().toStdString();
}

TEST_F(MqttWatchProcessTest, AfterAKillALampThatConnectsOnceTheStateExpiredDoesNotReadLive)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    // The lights' state lasts two seconds at the broker instead of fifteen.
    start({ QStringLiteral("--mqtt"), broker() },
        { { QStringLiteral("MIXDESK_TALLY_MQTT_STATE_EXPIRY"), QStringLiteral("2") } });
    ASSERT_TRUE(eventually([&] { return retained().contains(QStringLiteral("studio/light/1/state live")); }))
        << errors.toStdString();
    // While the program runs it says the state again before it expires.
    QElapsedTimer running;
    running.start();
    while (running.elapsed() < 3000) {
        EXPECT_TRUE(retained().contains(QStringLiteral("studio/light/1/state live"))) << running.elapsed();
    }

    watch.kill(); // SIGKILL: no goodbye
    ASSERT_TRUE(watch.waitForFinished(5000));
    QElapsedTimer sinceKill;
    sinceKill.start();
    QStringList held;
    EXPECT_TRUE(eventually(
        [&] {
            held = retained();
            return held.contains(QStringLiteral("studio/status offline"))
                && !held.contains(QStringLiteral("studio/light/1/state live"));
        },
        10000))
        << held.join('\n').toStdString();
    EXPECT_LT(sinceKill.elapsed(), 5000);
    EXPECT_EQ(stateWords(held).count(QStringLiteral("live")), 0) << held.join('\n').toStdString();
}

TEST_F(MqttWatchProcessTest, TheWindowEndedBySigtermLeavesEveryLightUnknown)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    WindowHome home;
    ASSERT_TRUE(home.isValid());
    QProcess window;
    WindowHome::launch(
        window, home.environment(standin.environment()), { QStringLiteral("--mqtt"), broker(), mapPath });
    ASSERT_TRUE(eventually([&] { return retained().contains(QStringLiteral("studio/light/1/state live")); }))
        << window.readAllStandardError().toStdString();
    ASSERT_EQ(::kill(static_cast<pid_t>(window.processId()), SIGTERM), 0);
    ASSERT_TRUE(window.waitForFinished(10000));
    EXPECT_EQ(window.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(window.exitCode(), 0);
    const QStringList held = retained();
    EXPECT_TRUE(held.contains(QStringLiteral("studio/status offline"))) << held.join('\n').toStdString();
    EXPECT_TRUE(held.contains(QStringLiteral("studio/light/1/state unknown"))) << held.join('\n').toStdString();
    const QStringList words = stateWords(held);
    EXPECT_EQ(words.size(), 24) << held.join('\n').toStdString();
    EXPECT_EQ(words.count(QStringLiteral("unknown")), words.size()) << held.join('\n').toStdString();
}

namespace {

// Whether the running process has the MQTT client library loaded.
bool hasMqttLibraryLoaded(const QProcess& process)
{
    QFile maps(QStringLiteral("/proc/%1/maps").arg(process.processId()));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("/libmosquitto.so");
}

} // namespace

// Loading the library and OpenSSL with it would add to every start, before
// the first tick; a program asked for no MQTT output never loads it.
TEST_F(MqttWatchProcessTest, TheMqttLibraryIsLoadedOnlyWhenAnMqttOutputIsAsked)
{
    ASSERT_TRUE(mosquitto.start()) << mosquitto.output().toStdString();
    ASSERT_TRUE(standin.start(StandinProcess::studioStart()));
    WindowHome home;
    ASSERT_TRUE(home.isValid());
    QProcess window;
    WindowHome::launch(window, home.environment(standin.environment()), { mapPath });
    ASSERT_TRUE(eventually([&] { return !home.capture().ticks().isEmpty(); }))
        << window.readAllStandardError().toStdString();
    EXPECT_FALSE(hasMqttLibraryLoaded(window));
    start({});
    ASSERT_TRUE(eventually([&] { return !capture.ticks().isEmpty(); })) << errors.toStdString();
    EXPECT_FALSE(hasMqttLibraryLoaded(watch));
    window.terminate();
    ASSERT_TRUE(window.waitForFinished(10000));
    watch.terminate();
    ASSERT_TRUE(watch.waitForFinished(10000));

    start({ QStringLiteral("--mqtt"), broker() });
    ASSERT_TRUE(stateAtBroker()) << errors.toStdString();
    EXPECT_TRUE(hasMqttLibraryLoaded(watch));
}
