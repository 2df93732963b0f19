// The vMix stand-in against two vMix clients written by others, so that the
// stand-in's reading of the TCP API is not checked only against the
// program's own: the npm package node-vmix (its connection frames the
// messages) and the npm package vmix-js-utils (its tally and XML readers,
// over a plain socket). Each client prints what it reads as JSON lines (see
// node_vmix_client.js and vmix_js_utils_client.js); each test drives the
// stand-in and waits until the client's picture is the one it set.

#include "support/Eventually.h"
#include "support/VmixClients.h"
#include "support/VmixStandinProcess.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <optional>

namespace {

using VmixClients::Client;
using VmixClients::clientName;
using VmixClients::missing;
using VmixClients::nodeModules;
using VmixClients::packageOf;
using VmixClients::scripts;

class VmixStandinInteropTest : public testing::TestWithParam<Client> {
protected:
    void SetUp() override
    {
        if (const std::optional<QString> why = missing(GetParam())) {
            GTEST_SKIP() << why->toStdString();
        }
        ASSERT_TRUE(standin.start());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NODE_PATH"), nodeModules);
        client.setProcessEnvironment(environment);
        const QString script = GetParam() == Client::nodeVmix ? QStringLiteral("node_vmix_client.js")
                                                              : QStringLiteral("vmix_js_utils_client.js");
        client.start(
            QStringLiteral("node"), { scripts + script, QStringLiteral("127.0.0.1"), QString::number(standin.port()) });
        ASSERT_TRUE(client.waitForStarted(10000));
    }

    void TearDown() override
    {
        if (client.state() != QProcess::NotRunning) {
            client.kill();
            client.waitForFinished(5000);
        }
    }

    // Waits until the client's latest picture holds every key of expected
    // with the same value; the last picture seen goes into the failure.
    void expectPicture(const QJsonObject& expected, int patienceMs = 10000)
    {
        const bool reached = pictures.reach(client, expected, patienceMs);
        EXPECT_TRUE(reached) << "expected " << QJsonDocument(expected).toJson(QJsonDocument::Compact).toStdString()
                             << "\nlast seen "
                             << QJsonDocument(pictures.latest()).toJson(QJsonDocument::Compact).toStdString()
                             << "\nclient said " << client.readAllStandardError().toStdString();
    }

    static QJsonObject three(const char* one, const char* two, const char* three)
    {
        return QJsonObject { { QStringLiteral("1"), QLatin1String(one) }, { QStringLiteral("2"), QLatin1String(two) },
            { QStringLiteral("3"), QLatin1String(three) } };
    }

    VmixStandinProcess standin;
    QProcess client;
    VmixClients::ClientPictures pictures;
};

} // namespace

TEST_P(VmixStandinInteropTest, TheClientReadsTitlesAndTallyThroughCutsAndRenames)
{
    // A new stand-in has nothing on program or preview.
    expectPicture({ { "connected", true }, { "inputs", three("Camera 1", "Camera 2", "Wide") },
        { "tally", three("off", "off", "off") }, { "recording", false }, { "streaming", false } });
    standin.send("program 1");
    standin.send("preview 2");
    expectPicture({ { "tally", three("program", "preview", "off") } });
    standin.send("cut");
    expectPicture({ { "tally", three("preview", "program", "off") } });
    standin.send("rename 3 Close & \"Up\" <1>");
    expectPicture({ { "inputs", three("Camera 1", "Camera 2", "Close & \"Up\" <1>") } });
    standin.send("preview 3");
    standin.send("cut");
    expectPicture({ { "tally", three("off", "preview", "program") } });
}

TEST_P(VmixStandinInteropTest, TheClientReadsRecordingAndStreaming)
{
    expectPicture({ { "connected", true }, { "recording", false }, { "streaming", false } });
    standin.send("record on");
    expectPicture({ { "recording", true }, { "streaming", false } });
    standin.send("stream on");
    standin.send("record off");
    expectPicture({ { "recording", false }, { "streaming", true } });
}

TEST_P(VmixStandinInteropTest, TheClientKeepsUpThroughADropAndAStandinRestart)
{
    expectPicture({ { "connected", true }, { "tally", three("off", "off", "off") } });
    standin.send("rename 1 Host");
    standin.send("program 1");
    expectPicture({ { "inputs", three("Host", "Camera 2", "Wide") }, { "tally", three("program", "off", "off") } });
    standin.send("drop");
    // The client sees the connection end and comes back to the same picture.
    expectPicture({ { "connected", false } });
    expectPicture({ { "connected", true }, { "inputs", three("Host", "Camera 2", "Wide") },
        { "tally", three("program", "off", "off") } });

    ASSERT_TRUE(standin.restart());
    // A new stand-in starts from its own picture.
    expectPicture({ { "connected", true }, { "inputs", three("Camera 1", "Camera 2", "Wide") },
                      { "tally", three("off", "off", "off") } },
        15000);
    standin.send("program 2");
    standin.send("preview 3");
    expectPicture({ { "tally", three("off", "program", "preview") } });
}

INSTANTIATE_TEST_SUITE_P(
    Clients, VmixStandinInteropTest, testing::Values(Client::nodeVmix, Client::vmixJsUtils), clientName);
