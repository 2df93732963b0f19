#include "outputs/TslSender.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/NodeTsl.h"
#include "support/QtPrinters.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUdpSocket>

#include <gtest/gtest.h>

namespace {

// The independent decoder, listening on UDP, and what it printed.
class NodeReceiver {
public:
    explicit NodeReceiver(quint16 port, const QString& transport = QStringLiteral("udp"))
    {
        NodeTsl::start(
            m_process, QStringLiteral("net/outputs/tsl_umd_v5_receiver.js"), { transport, QString::number(port) });
    }

    ~NodeReceiver()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }

    // The last message decoded for the display index, once one has come.
    std::optional<QJsonObject> lastFor(int index)
    {
        while (m_process.canReadLine()) {
            const QJsonObject line = QJsonDocument::fromJson(m_process.readLine()).object();
            if (line.contains(QStringLiteral("index"))) {
                m_last[line.value(QStringLiteral("index")).toInt()] = line;
            }
        }
        const auto found = m_last.find(index);
        return found == m_last.end() ? std::nullopt : std::optional<QJsonObject>(found->second);
    }

    QString errors() { return QString::fromUtf8(m_process.readAllStandardError()); }

private:
    QProcess m_process;
    std::map<int, QJsonObject> m_last;
};

// The package reads the text as single bytes whatever the flags say, so
// UTF-16LE text comes out with a NUL after every ASCII character.
QString asSingleBytes(const QString& text)
{
    QString spread;
    for (const QChar character : text) {
        spread.append(character);
        spread.append(QChar(0));
    }
    return spread;
}

// A TSL 5.0 destination on this machine, as the decoder reads it.
TslDestination loopback(quint16 port, TslDestination::Transport transport = TslDestination::Transport::udp)
{
    TslDestination destination;
    destination.version = TslTallyEncoding::Version::v50;
    destination.transport = transport;
    destination.host = QStringLiteral("127.0.0.1");
    destination.port = port;
    return destination;
}

TallySnapshot studio()
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = { { TallyMode::live, { QStringLiteral("Cam 1") } },
        { TallyMode::preview, { QStringLiteral("Wide"), QStringLiteral("Jib") } } };
    for (int i = 2; i < 8; ++i) {
        snapshot.lights.append({ TallyMode::off, {} });
    }
    return snapshot;
}

} // namespace

TEST(TslSenderInteropTest, TheNpmDecoderReadsProgramPreviewAndNamesFromTheSender)
{
    if (const std::optional<QString> why = NodeTsl::missing()) {
        GTEST_SKIP() << why->toStdString();
    }
    const quint16 port = freeUdpPort();
    NodeReceiver receiver(port);
    const TslDestination destination = loopback(port);
    // Refreshing quickly: the receiver may not be listening yet when the
    // first change goes out.
    TslSender sender({ destination }, 0, std::chrono::milliseconds(200));
    sender.publish(studio());

    std::optional<QJsonObject> live;
    std::optional<QJsonObject> preview;
    std::optional<QJsonObject> off;
    ASSERT_TRUE(eventually(
        [&] {
            live = receiver.lastFor(1);
            preview = receiver.lastFor(2);
            off = receiver.lastFor(8);
            return live && preview && off;
        },
        15000))
        << receiver.errors().toStdString();

    EXPECT_EQ(live->value(QStringLiteral("screen")).toInt(), 0);
    EXPECT_EQ(live->value(QStringLiteral("rh_tally")).toInt(), 1);
    EXPECT_EQ(live->value(QStringLiteral("text_tally")).toInt(), 1);
    EXPECT_EQ(live->value(QStringLiteral("lh_tally")).toInt(), 1);
    EXPECT_EQ(live->value(QStringLiteral("brightness")).toInt(), 3);
    EXPECT_EQ(live->value(QStringLiteral("length")).toInt(), 10);
    EXPECT_EQ(live->value(QStringLiteral("text")).toString(), asSingleBytes(QStringLiteral("Cam 1")));

    EXPECT_EQ(preview->value(QStringLiteral("rh_tally")).toInt(), 2);
    EXPECT_EQ(preview->value(QStringLiteral("text_tally")).toInt(), 2);
    EXPECT_EQ(preview->value(QStringLiteral("lh_tally")).toInt(), 2);
    EXPECT_EQ(preview->value(QStringLiteral("text")).toString(), asSingleBytes(QStringLiteral("Wide + Jib")));

    EXPECT_EQ(off->value(QStringLiteral("rh_tally")).toInt(), 0);
    EXPECT_EQ(off->value(QStringLiteral("lh_tally")).toInt(), 0);
    EXPECT_EQ(off->value(QStringLiteral("text")).toString(), QString());
}

TEST(TslSenderInteropTest, TheNpmDecoderFollowsACut)
{
    if (const std::optional<QString> why = NodeTsl::missing()) {
        GTEST_SKIP() << why->toStdString();
    }
    const quint16 port = freeUdpPort();
    NodeReceiver receiver(port);
    const TslDestination destination = loopback(port);
    TslSender sender({ destination }, 0, std::chrono::milliseconds(200));
    TallySnapshot snapshot = studio();
    sender.publish(snapshot);
    ASSERT_TRUE(eventually([&] { return receiver.lastFor(1).has_value(); }, 15000)) << receiver.errors().toStdString();
    std::swap(snapshot.lights[0].mode, snapshot.lights[1].mode);
    sender.publish(snapshot);
    EXPECT_TRUE(eventually(
        [&] {
            const std::optional<QJsonObject> first = receiver.lastFor(1);
            const std::optional<QJsonObject> second = receiver.lastFor(2);
            return first && second && first->value(QStringLiteral("rh_tally")).toInt() == 2
                && second->value(QStringLiteral("rh_tally")).toInt() == 1;
        },
        15000));
}

TEST(TslSenderInteropTest, TheNpmDecoderReadsWhichShotsAreMissing)
{
    if (const std::optional<QString> why = NodeTsl::missing()) {
        GTEST_SKIP() << why->toStdString();
    }
    const quint16 port = freeUdpPort();
    NodeReceiver receiver(port);
    const TslDestination destination = loopback(port);
    TslSender sender({ destination }, 0, std::chrono::milliseconds(200));
    TallySnapshot snapshot = studio();
    snapshot.lights[2] = { TallyMode::off, { QStringLiteral("Cam 9") }, { QStringLiteral("Cam 9") } };
    sender.publish(snapshot);
    std::optional<QJsonObject> missing;
    ASSERT_TRUE(eventually(
        [&] {
            missing = receiver.lastFor(3);
            return missing.has_value();
        },
        15000))
        << receiver.errors().toStdString();
    EXPECT_EQ(missing->value(QStringLiteral("text")).toString(), asSingleBytes(QStringLiteral("MISSING Cam 9")));
    EXPECT_EQ(missing->value(QStringLiteral("rh_tally")).toInt(), 0);
    // A light whose shots are all there keeps its names.
    ASSERT_TRUE(receiver.lastFor(1).has_value());
    EXPECT_EQ(receiver.lastFor(1)->value(QStringLiteral("text")).toString(), asSingleBytes(QStringLiteral("Cam 1")));
}

// Over TCP the decoder strips DLE STX from the front of what it reads. It
// reads each chunk the connection delivers as one packet, and the sender's
// packets come back to back, so only the first of a chunk is read whole and
// its text runs on into the packets after it. The decoder drops both bytes
// of a doubled DLE rather than one, so the packets here hold no DLE (0xFE);
// the stuffing itself is checked byte for byte in the codec's tests.
TEST(TslSenderInteropTest, TheNpmDecoderReadsTheSendersTcpFrames)
{
    if (const std::optional<QString> why = NodeTsl::missing()) {
        GTEST_SKIP() << why->toStdString();
    }
    const quint16 port = freePort();
    NodeReceiver receiver(port, QStringLiteral("tcp"));
    const TslDestination destination = loopback(port, TslDestination::Transport::tcp);
    TslSender sender({ destination }, 0, std::chrono::milliseconds(200));
    sender.publish(studio());

    std::optional<QJsonObject> first;
    ASSERT_TRUE(eventually(
        [&] {
            first = receiver.lastFor(1);
            return first.has_value();
        },
        15000))
        << receiver.errors().toStdString();
    EXPECT_EQ(first->value(QStringLiteral("rh_tally")).toInt(), 1);
    EXPECT_EQ(first->value(QStringLiteral("text_tally")).toInt(), 1);
    EXPECT_EQ(first->value(QStringLiteral("lh_tally")).toInt(), 1);
    EXPECT_EQ(first->value(QStringLiteral("length")).toInt(), 10);
    EXPECT_TRUE(first->value(QStringLiteral("text")).toString().startsWith(asSingleBytes(QStringLiteral("Cam 1"))));
}
