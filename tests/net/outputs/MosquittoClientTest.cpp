#include "outputs/MosquittoClient.h"

#include "outputs/MosquittoLibrary.h"
#include "support/Eventually.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

// A broker that speaks MQTT 3.1.1 only, as older and smaller brokers do: it
// refuses a connection of any other protocol level with the 3.1.1 answer
// "unacceptable protocol version", takes a 3.1.1 one, and keeps the first
// byte of every packet that comes after.
class Mqtt311OnlyBroker {
public:
    Mqtt311OnlyBroker()
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { read(*socket); });
            }
        });
    }

    quint16 port() const { return m_server.serverPort(); }
    // The protocol level of every CONNECT, in order.
    const QList<int>& levels() const { return m_levels; }
    // The first byte of every packet after an accepted CONNECT.
    const QList<quint8>& packetTypes() const { return m_packetTypes; }

private:
    void read(QTcpSocket& socket)
    {
        QByteArray& pending = m_pending[&socket];
        pending += socket.readAll();
        for (;;) {
            // Fixed header: the type byte, then the remaining length in at
            // most four bytes of seven bits each.
            qsizetype index = 1;
            qsizetype length = 0;
            int shift = 0;
            bool complete = false;
            while (index < pending.size() && index <= 4) {
                const auto byte = static_cast<quint8>(pending[index++]);
                length |= qsizetype(byte & 0x7f) << shift;
                shift += 7;
                if ((byte & 0x80) == 0) {
                    complete = true;
                    break;
                }
            }
            if (!complete || pending.size() < index + length) {
                return;
            }
            const QByteArray packet = pending.left(index + length);
            pending.remove(0, index + length);
            const auto type = static_cast<quint8>(packet[0]);
            if ((type & 0xf0) != 0x10) {
                m_packetTypes.append(type);
                continue;
            }
            // CONNECT: protocol name "MQTT" (two bytes of length, four
            // letters), then the level.
            const int level = static_cast<quint8>(packet[index + 6]);
            m_levels.append(level);
            const char refused[] = { 0x20, 0x02, 0x00, 0x01 };
            const char accepted[] = { 0x20, 0x02, 0x00, 0x00 };
            socket.write(level == 4 ? accepted : refused, 4);
            if (level != 4) {
                socket.disconnectFromHost();
                return;
            }
        }
    }

    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_pending;
    QList<int> m_levels;
    QList<quint8> m_packetTypes;
};

} // namespace

TEST(MosquittoClientTest, ABrokerWithoutMqtt5IsSaidAndTheNextAttemptSpeaksMqtt311WithoutExpiry)
{
    Mqtt311OnlyBroker broker;
    ASSERT_NE(broker.port(), 0);
    MosquittoClient::Settings settings;
    QString problem;
    settings.address
        = *MqttBrokerAddress::parse(QStringLiteral("mqtt://127.0.0.1:%1/studio").arg(broker.port()), &problem);
    settings.clientId = QStringLiteral("mosquitto-client-test");
    settings.will = { QStringLiteral("studio/status"), "offline", true };
    MosquittoClient client(settings);
    QSignalSpy connected(&client, &MqttClient::connected);
    QSignalSpy disconnected(&client, &MqttClient::disconnected);

    client.connectToBroker();
    ASSERT_TRUE(eventually([&] { return !disconnected.isEmpty() || !connected.isEmpty(); }, 10000));
    ASSERT_EQ(disconnected.size(), 1);
    EXPECT_EQ(disconnected.first().first().toString(),
        QStringLiteral("the broker does not speak MQTT 5; going on with MQTT 3.1.1, with which the lights' state "
                       "stays at the broker if the program is killed"));
    EXPECT_EQ(broker.levels(), QList<int> { 5 });

    client.connectToBroker();
    ASSERT_TRUE(eventually([&] { return !connected.isEmpty(); }, 10000))
        << disconnected.last().first().toString().toStdString();
    EXPECT_EQ(broker.levels(), (QList<int> { 5, 4 }));
    // A message meant to expire still goes, without the expiry MQTT 3.1.1
    // cannot carry: retained, QoS 1.
    EXPECT_TRUE(client.publish({ QStringLiteral("studio/light/1/state"), "live", true, 15s }));
    EXPECT_TRUE(eventually([&] { return broker.packetTypes().contains(0x33); }, 10000));
    client.close({});
}

TEST(MosquittoClientTest, WithoutItsLibraryTheClientSaysWhyAtEachAttemptAndSendsNothing)
{
    const MosquittoLibrary missing(QStringLiteral("mosquitto-not-installed"), 1);
    MosquittoClient::Settings settings;
    QString problem;
    settings.address = *MqttBrokerAddress::parse(QStringLiteral("mqtt://127.0.0.1:1883/studio"), &problem);
    settings.clientId = QStringLiteral("mosquitto-client-test");
    MosquittoClient client(settings, missing);
    QSignalSpy disconnected(&client, &MqttClient::disconnected);

    client.connectToBroker();
    ASSERT_TRUE(eventually([&] { return !disconnected.isEmpty(); }, 5000));
    EXPECT_EQ(disconnected.first().first().toString(), missing.problem());
    EXPECT_FALSE(client.publish({ QStringLiteral("studio/light/1/state"), "live", true, 15s }));
    client.connectToBroker();
    EXPECT_TRUE(eventually([&] { return disconnected.size() == 2; }, 5000));
    client.close({});
}
