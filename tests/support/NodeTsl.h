#pragma once

// Runs the node scripts of the TSL interop tests against the npm package
// tsl-umd-v5 that the build installs into <build>/npm. Tests skip, saying
// why, only when node or the package is not there.

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QString>

#include <optional>

namespace NodeTsl {

inline QString nodeModules()
{
    return QStringLiteral(TALLY_BINARY_DIR "/npm/node_modules");
}

// Why the interop tests cannot run here, or nothing when they can.
inline std::optional<QString> missing()
{
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty()) {
        return QStringLiteral("node is not installed, so the tsl-umd-v5 decoder cannot run");
    }
    if (!QFileInfo::exists(nodeModules() + QStringLiteral("/tsl-umd-v5/index.js"))) {
        return QStringLiteral("the build could not install tsl-umd-v5 with npm into ") + nodeModules();
    }
    return std::nullopt;
}

// Starts node on a script of the test folder with the package on its path.
inline void start(QProcess& process, const QString& script, const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("NODE_PATH"), nodeModules());
    process.setProcessEnvironment(environment);
    process.setProgram(QStringLiteral("node"));
    process.setArguments(QStringList { QStringLiteral(TALLY_SOURCE_DIR "/tests/") + script } + arguments);
    process.start();
}

} // namespace NodeTsl
