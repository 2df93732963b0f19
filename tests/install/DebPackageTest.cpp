// The Debian package, built with CPack from this build tree: what it holds,
// and (only where the test may change the system) that it installs, works
// and removes cleanly.

#include "ProgramRun.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

constexpr int packagingTimeoutMs = 240000;

// Builds the package into its own directory; the package file, or an empty
// text with the failure reported.
QString buildPackage(const QTemporaryDir& output)
{
    const ProgramRun run = runProgram(QStringLiteral(TALLY_CPACK_COMMAND),
        { QStringLiteral("-G"), QStringLiteral("DEB"), QStringLiteral("--config"),
            QStringLiteral(TALLY_BINARY_DIR "/CPackConfig.cmake"), QStringLiteral("-B"), output.path() },
        withTimeout(packagingTimeoutMs));
    if (!run.finished || run.exitCode != 0) {
        ADD_FAILURE() << "cpack failed: " << run.describe().toStdString();
        return {};
    }
    const QStringList packages = QDir(output.path()).entryList({ QStringLiteral("*.deb") }, QDir::Files);
    if (packages.size() != 1) {
        ADD_FAILURE() << "expected one package, found: " << packages.join(QLatin1Char(' ')).toStdString();
        return {};
    }
    return QDir(output.path()).filePath(packages.first());
}

// The paths dpkg-deb lists, without the leading "." and trailing "/".
QStringList packagedPaths(const QString& package)
{
    const ProgramRun run = runProgram(QStringLiteral("dpkg-deb"), { QStringLiteral("-c"), package });
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    QStringList paths;
    static const QRegularExpression entry(QStringLiteral("\\s\\.(/\\S*?)/?(\\s->\\s.*)?$"));
    for (const QString& line : run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch match = entry.match(line);
        if (match.hasMatch()) {
            paths.append(match.captured(1));
        }
    }
    return paths;
}

QString packageField(const QString& package, const QString& field)
{
    const ProgramRun run = runProgram(QStringLiteral("dpkg-deb"), { QStringLiteral("-f"), package, field });
    return run.out.trimmed();
}

bool builtInThisTree(const char* program)
{
    return QFileInfo::exists(QStringLiteral(TALLY_BINARY_DIR "/bin/") + QString::fromLatin1(program));
}

} // namespace

TEST(DebPackageTest, PackageHoldsTheProgramsResourcesAndDesktopFilesUnderUsr)
{
    QTemporaryDir output;
    ASSERT_TRUE(output.isValid());
    const QString package = buildPackage(output);
    ASSERT_FALSE(package.isEmpty());

    EXPECT_EQ(packageField(package, QStringLiteral("Package")), QStringLiteral("mixdesk-tally"));
    EXPECT_FALSE(packageField(package, QStringLiteral("Depends")).isEmpty())
        << "the shared libraries the programs link should make the dependencies";

    const QStringList paths = packagedPaths(package);
    QStringList expected { QStringLiteral("/usr/bin/tallyctl"), QStringLiteral("/usr/bin/mixdesk"),
        QStringLiteral("/usr/share/mixdesk-tally/query_shots"),
        QStringLiteral("/usr/share/applications/mixdesk-tally.desktop"),
        QStringLiteral("/usr/share/mime/packages/mixdesk-tally.xml"),
        QStringLiteral("/usr/share/icons/hicolor/scalable/apps/mixdesk-tally.svg"),
        QStringLiteral("/usr/share/icons/hicolor/scalable/mimetypes/application-x-mixdesk-tally-map.svg"),
        QStringLiteral("/usr/lib/udev/rules.d/70-mixdesk-tally.rules") };
    if (builtInThisTree("mixdesk-tally")) {
        expected.append(QStringLiteral("/usr/bin/mixdesk-tally"));
    }
    for (const QString& path : expected) {
        EXPECT_TRUE(paths.contains(path)) << path.toStdString() << " missing from\n"
                                          << paths.join(QLatin1Char('\n')).toStdString();
    }
    // Everything lives under /usr; nothing of the build tree leaks in.
    for (const QString& path : paths) {
        EXPECT_TRUE(path == QStringLiteral("/usr") || path.startsWith(QStringLiteral("/usr/"))) << path.toStdString();
        EXPECT_FALSE(path.contains(QStringLiteral("/include/")) || path.endsWith(QStringLiteral(".a")))
            << path.toStdString();
    }
}

TEST(DebPackageTest, PackageInstallsRunsAndRemovesCleanly)
{
    if (::geteuid() != 0 || qEnvironmentVariable("MIXDESK_TALLY_DPKG_TEST") != QStringLiteral("1")) {
        GTEST_SKIP() << "installs into the running system: runs only as root with MIXDESK_TALLY_DPKG_TEST=1";
    }
    if (QFileInfo::exists(QStringLiteral("/usr/bin/tallyctl"))) {
        GTEST_SKIP() << "/usr/bin/tallyctl is already there; not replacing an existing installation";
    }
    QTemporaryDir output;
    const QString package = buildPackage(output);
    ASSERT_FALSE(package.isEmpty());

    const ProgramRun install
        = runProgram(QStringLiteral("dpkg"), { QStringLiteral("-i"), package }, withTimeout(packagingTimeoutMs));
    ASSERT_EQ(install.exitCode, 0) << install.describe().toStdString();

    const ProgramRun help = runProgram(QStringLiteral("/usr/bin/tallyctl"), { QStringLiteral("--help") });
    EXPECT_EQ(help.exitCode, 0) << help.describe().toStdString();
    EXPECT_TRUE(help.out.contains(QStringLiteral("decode")));
    EXPECT_TRUE(QFileInfo(QStringLiteral("/usr/share/mixdesk-tally/query_shots")).isExecutable());

    const ProgramRun remove = runProgram(QStringLiteral("dpkg"),
        { QStringLiteral("-r"), QStringLiteral("mixdesk-tally") }, withTimeout(packagingTimeoutMs));
    EXPECT_EQ(remove.exitCode, 0) << remove.describe().toStdString();
    for (const char* path : { "/usr/bin/tallyctl", "/usr/bin/mixdesk", "/usr/share/mixdesk-tally/query_shots",
             "/usr/share/applications/mixdesk-tally.desktop", "/usr/lib/udev/rules.d/70-mixdesk-tally.rules" }) {
        EXPECT_FALSE(QFileInfo::exists(QString::fromLatin1(path))) << path;
    }
    const ProgramRun status = runProgram(QStringLiteral("dpkg-query"),
        { QStringLiteral("-W"), QStringLiteral("-f=${Status}"), QStringLiteral("mixdesk-tally") });
    EXPECT_FALSE(status.out.contains(QStringLiteral("install ok installed"))) << status.out.toStdString();
}
