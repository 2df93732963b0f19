// The ATEM stand-in against two ATEM clients written by others, so that the
// stand-in's reading of the protocol is not checked only against the
// program's own: the npm package atem-connection and Debian's
// python3-pyatem. Each client prints what it reads as JSON lines (see
// atem_connection_client.js and pyatem_client.py); each test drives the
// stand-in and waits until the client's picture is the one it set.

#include "support/AtemStandinProcess.h"
#include "support/Eventually.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <optional>

namespace {

enum class Client {
    atemConnection,
    pyatem,
};

std::string clientName(const testing::TestParamInfo<Client>& info)
{
    return info.param == Client::atemConnection ? "AtemConnection" : "Pyatem";
}

const QString scripts = QStringLiteral(TALLY_SOURCE_DIR "/tests/tools/atem/");
const QString nodeModules = QStringLiteral(TALLY_BINARY_DIR "/npm/node_modules");
// Debian's package is installed for Debian's python, whatever else is first
// on the command path.
const QString debianPython = QStringLiteral("/usr/bin/python3");

// Why the client cannot run here, or nothing when it can.
std::optional<QString> missing(Client client)
{
    if (client == Client::atemConnection) {
        if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty()) {
            return QStringLiteral("node is not installed, so atem-connection cannot run");
        }
        if (!QFileInfo::exists(nodeModules + QStringLiteral("/atem-connection/package.json"))) {
            return QStringLiteral("the build could not install atem-connection with npm into ") + nodeModules;
        }
        return std::nullopt;
    }
    QProcess probe;
    probe.start(debianPython, { QStringLiteral("-c"), QStringLiteral("import pyatem.protocol") });
    if (!probe.waitForFinished(20000) || probe.exitStatus() != QProcess::NormalExit || probe.exitCode() != 0) {
        return QStringLiteral("python3-pyatem is not installed (scripts/install-deps.sh installs it)");
    }
    return std::nullopt;
}

class AtemStandinInteropTest : public testing::TestWithParam<Client> {
protected:
    void SetUp() override
    {
        if (const std::optional<QString> why = missing(GetParam())) {
            GTEST_SKIP() << why->toStdString();
        }
        ASSERT_TRUE(standin.start());
        startClient();
    }

    void TearDown() override
    {
        if (client.state() != QProcess::NotRunning) {
            client.kill();
            client.waitForFinished(5000);
        }
    }

    void startClient()
    {
        const QStringList arguments { QStringLiteral("127.0.0.1"), QString::number(standin.port()) };
        if (GetParam() == Client::atemConnection) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("NODE_PATH"), nodeModules);
            client.setProcessEnvironment(environment);
            client.start(QStringLiteral("node"),
                QStringList { scripts + QStringLiteral("atem_connection_client.js") } + arguments);
        } else {
            client.start(debianPython, QStringList { scripts + QStringLiteral("pyatem_client.py") } + arguments);
        }
        ASSERT_TRUE(client.waitForStarted(10000));
    }

    // Waits until the client's latest picture holds every key of expected
    // with the same value; the last picture seen goes into the failure.
    void expectPicture(const QJsonObject& expected, int patienceMs = 10000)
    {
        QJsonObject& last = latest;
        const bool reached = eventually(
            [&] {
                pending += client.readAllStandardOutput();
                qsizetype end = 0;
                while ((end = pending.indexOf('\n')) >= 0) {
                    last = QJsonDocument::fromJson(pending.left(end)).object();
                    pending.remove(0, end + 1);
                }
                for (auto key = expected.begin(); key != expected.end(); ++key) {
                    if (last.value(key.key()) != key.value()) {
                        return false;
                    }
                }
                return true;
            },
            patienceMs);
        EXPECT_TRUE(reached) << "expected " << QJsonDocument(expected).toJson(QJsonDocument::Compact).toStdString()
                             << "\nlast seen " << QJsonDocument(last).toJson(QJsonDocument::Compact).toStdString()
                             << "\nclient said " << client.readAllStandardError().toStdString();
    }

    static QJsonObject tally(const char* one, const char* two, const char* three)
    {
        return QJsonObject { { QStringLiteral("1"), QLatin1String(one) }, { QStringLiteral("2"), QLatin1String(two) },
            { QStringLiteral("3"), QLatin1String(three) } };
    }

    static QJsonObject names(const char* one, const char* two, const char* three) { return tally(one, two, three); }

    AtemStandinProcess standin;
    QProcess client;
    QByteArray pending;
    QJsonObject latest;
};

} // namespace

TEST_P(AtemStandinInteropTest, TheClientReadsNamesBusesAndTallyThroughCutsTransitionsKeyersAndRenames)
{
    expectPicture({ { "connected", true }, { "inputs", names("Camera 1", "Camera 2", "Wide") }, { "program", 1 },
        { "preview", 2 }, { "tally", tally("program", "preview", "off") } });
    standin.send("preview 3");
    standin.send("cut");
    expectPicture({ { "program", 3 }, { "preview", 1 }, { "tally", tally("preview", "off", "program") } });
    standin.send("rename 2 Close Up");
    expectPicture({ { "inputs", names("Camera 1", "Close Up", "Wide") } });
    standin.send("auto 300");
    // Mid-transition both inputs are on air, as the switcher's tally shows.
    expectPicture({ { "tally", tally("program+preview", "off", "program") } });
    expectPicture({ { "program", 1 }, { "preview", 3 }, { "tally", tally("program", "off", "preview") } });
    standin.send("keyer on 2");
    expectPicture({ { "tally", tally("program", "program", "preview") } });
    standin.send("keyer off");
    expectPicture({ { "tally", tally("program", "off", "preview") } });
}

TEST_P(AtemStandinInteropTest, TheClientKeepsUpThroughPacketLossAndAStandinRestart)
{
    expectPicture({ { "connected", true }, { "program", 1 } });
    standin.send("drop 30");
    standin.send("rename 1 Host");
    standin.send("program 2");
    standin.send("preview 3");
    standin.send("keyer on 1");
    standin.send("drop 0");
    standin.send("cut");
    expectPicture({ { "inputs", names("Host", "Camera 2", "Wide") }, { "program", 3 }, { "preview", 2 },
        { "tally", tally("program", "preview", "program") } });

    ASSERT_TRUE(standin.restart());
    // A new stand-in starts from its own picture; the client must notice the
    // old session is gone and read the new one whole.
    expectPicture({ { "connected", true }, { "inputs", names("Camera 1", "Camera 2", "Wide") }, { "program", 1 },
                      { "preview", 2 }, { "tally", tally("program", "preview", "off") } },
        15000);
    standin.send("cut");
    expectPicture({ { "program", 2 }, { "tally", tally("preview", "program", "off") } });
}

TEST_P(AtemStandinInteropTest, TheClientReadsTheRecorderAndTheStreamTheStandinSet)
{
    // Both idle from the start: stated, not merely unknown.
    expectPicture({ { "connected", true }, { "recording", false }, { "streaming", false } });
    standin.send("record on");
    expectPicture({ { "recording", true }, { "streaming", false } });
    standin.send("stream on");
    expectPicture({ { "recording", true }, { "streaming", true } });
    standin.send("record off");
    expectPicture({ { "recording", false }, { "streaming", true } });
    // A cut restates the whole picture; the stream stays on air.
    standin.send("cut");
    expectPicture({ { "program", 2 }, { "recording", false }, { "streaming", true } });
    standin.send("stream off");
    expectPicture({ { "recording", false }, { "streaming", false } });
}

INSTANTIATE_TEST_SUITE_P(
    Clients, AtemStandinInteropTest, testing::Values(Client::atemConnection, Client::pyatem), clientName);

TEST(AtemStandinOptionsTest, AStartingInputThatIsNotThereIsRefusedWithStatusTwo)
{
    QProcess standin;
    standin.start(QStringLiteral(TALLY_BINARY_DIR "/bin/atem-standin"),
        { QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--inputs"), QStringLiteral("Camera 1,Wide"),
            QStringLiteral("--program"), QStringLiteral("3") });
    ASSERT_TRUE(standin.waitForFinished(10000));
    EXPECT_EQ(standin.exitCode(), 2);
    EXPECT_EQ(QString::fromUtf8(standin.readAllStandardError()),
        QStringLiteral("atem-standin: --program 3 names no input: there are 2\n"));
}

TEST(AtemStandinOptionsTest, ItsUsageSaysNothingIsOnTheBusesUnlessTold)
{
    QProcess standin;
    standin.start(QStringLiteral(TALLY_BINARY_DIR "/bin/atem-standin"), { QStringLiteral("--help") });
    ASSERT_TRUE(standin.waitForFinished(10000));
    const QString usage = QString::fromUtf8(standin.readAllStandardOutput());
    EXPECT_TRUE(usage.contains(QStringLiteral("[--program N] [--preview N]"))) << usage.toStdString();
    EXPECT_TRUE(usage.contains(QStringLiteral("nothing on program or preview unless told"))) << usage.toStdString();
}
