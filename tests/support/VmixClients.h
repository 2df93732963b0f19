#pragma once

// The two vMix clients written by others that the tests run with node: npm
// node-vmix (a TCP API connection) and vmix-js-utils (its tally and XML
// readers), installed into the build folder, and their scripts in
// tests/tools/vmix.

#include "support/Eventually.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QString>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

namespace VmixClients {

enum class Client {
    nodeVmix,
    vmixJsUtils,
};

inline std::string clientName(const testing::TestParamInfo<Client>& info)
{
    return info.param == Client::nodeVmix ? "NodeVmix" : "VmixJsUtils";
}

inline const QString scripts = QStringLiteral(TALLY_SOURCE_DIR "/tests/tools/vmix/");
inline const QString nodeModules = QStringLiteral(TALLY_BINARY_DIR "/npm/node_modules");

inline QString packageOf(Client client)
{
    return client == Client::nodeVmix ? QStringLiteral("node-vmix") : QStringLiteral("vmix-js-utils");
}

// Why the client cannot run here, or nothing when it can.
inline std::optional<QString> missing(Client client)
{
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty()) {
        return QStringLiteral("node is not installed, so %1 cannot run").arg(packageOf(client));
    }
    if (!QFileInfo::exists(nodeModules + QLatin1Char('/') + packageOf(client) + QStringLiteral("/package.json"))) {
        return QStringLiteral("the build could not install %1 with npm into %2").arg(packageOf(client), nodeModules);
    }
    return std::nullopt;
}

// What a client script prints: one JSON picture of what it reads a line.
// The latest picture is kept.
class ClientPictures {
public:
    // Whether, within patienceMs, the client's latest picture holds every key
    // of expected with the same value.
    bool reach(QProcess& client, const QJsonObject& expected, int patienceMs)
    {
        return eventually(
            [&] {
                m_pending += client.readAllStandardOutput();
                qsizetype end = 0;
                while ((end = m_pending.indexOf('\n')) >= 0) {
                    m_latest = QJsonDocument::fromJson(m_pending.left(end)).object();
                    m_pending.remove(0, end + 1);
                }
                for (auto key = expected.begin(); key != expected.end(); ++key) {
                    if (m_latest.value(key.key()) != key.value()) {
                        return false;
                    }
                }
                return true;
            },
            patienceMs);
    }

    // Whether, within patienceMs, any picture the client prints (not only
    // the latest) matches; the one that did is then the latest.
    bool sees(QProcess& client, const std::function<bool(const QJsonObject&)>& matches, int patienceMs)
    {
        return eventually(
            [&] {
                m_pending += client.readAllStandardOutput();
                qsizetype end = 0;
                while ((end = m_pending.indexOf('\n')) >= 0) {
                    m_latest = QJsonDocument::fromJson(m_pending.left(end)).object();
                    m_pending.remove(0, end + 1);
                    if (matches(m_latest)) {
                        return true;
                    }
                }
                return false;
            },
            patienceMs);
    }

    const QJsonObject& latest() const { return m_latest; }

private:
    QByteArray m_pending;
    QJsonObject m_latest;
};

} // namespace VmixClients
