// The Debian package, built with CPack from this build tree: what it holds,
// and (only where the test may change the system) that it installs, works
// and removes cleanly.

#include "ProgramRun.h"
#include "SourcesAndOutputs.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <iostream>
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
    QStringList expected { QStringLiteral("/usr/bin/tallyctl"), QStringLiteral("/usr/bin/mixdesk-standin"),
        QStringLiteral("/usr/libexec/mixdesk-tally/mixdesk"), QStringLiteral("/usr/share/man/man1/tallyctl.1.gz"),
        QStringLiteral("/usr/share/man/man1/mixdesk-tally.1.gz"),
        QStringLiteral("/usr/share/man/man1/mixdesk-standin.1.gz"), QStringLiteral("/usr/bin/atem-standin"),
        QStringLiteral("/usr/share/man/man1/atem-standin.1.gz"), QStringLiteral("/usr/bin/vmix-standin"),
        QStringLiteral("/usr/share/man/man1/vmix-standin.1.gz"),
        QStringLiteral("/usr/share/doc/mixdesk-tally/copyright"),
        QStringLiteral("/usr/share/doc/mixdesk-tally/changelog.gz"),
        QStringLiteral("/usr/share/metainfo/io.github.mixdesktally.MixdeskTally.metainfo.xml"),
        QStringLiteral("/usr/share/bash-completion/completions/tallyctl"),
        QStringLiteral("/usr/share/mixdesk-tally/query_shots"),
        QStringLiteral("/usr/share/applications/io.github.mixdesktally.MixdeskTally.desktop"),
        QStringLiteral("/usr/share/mime/packages/mixdesk-tally.xml"),
        QStringLiteral("/usr/share/icons/hicolor/scalable/apps/io.github.mixdesktally.MixdeskTally.svg"),
        QStringLiteral("/usr/share/icons/hicolor/scalable/mimetypes/application-x-mixdesk-tally-map.svg"),
        QStringLiteral("/usr/lib/udev/rules.d/70-mixdesk-tally.rules") };
    if (builtInThisTree("mixdesk-tally")) {
        expected.append(QStringLiteral("/usr/bin/mixdesk-tally"));
    }
    for (const QString& path : expected) {
        EXPECT_TRUE(paths.contains(path)) << path.toStdString() << " missing from\n"
                                          << paths.join(QLatin1Char('\n')).toStdString();
    }
    // A real program named mixdesk on the system is left alone.
    EXPECT_FALSE(paths.contains(QStringLiteral("/usr/bin/mixdesk")));
    // Everything lives under /usr; nothing of the build tree leaks in.
    for (const QString& path : paths) {
        EXPECT_TRUE(path == QStringLiteral("/usr") || path.startsWith(QStringLiteral("/usr/"))) << path.toStdString();
        EXPECT_FALSE(path.contains(QStringLiteral("/include/")) || path.endsWith(QStringLiteral(".a")))
            << path.toStdString();
    }
}

namespace {

// Warnings lintian may report on this package, each with the reason it is
// accepted. Anything else it reports, error or warning, fails the test.
const QMap<QString, QString> acceptedLintianTags {};

struct LintianTag {
    QChar severity; // E, W, I, P, X, O, N
    QString name;
    QString line;
};

QList<LintianTag> lintianTags(const QString& output)
{
    QList<LintianTag> tags;
    // "E: mixdesk-tally: tag-name [detail]"
    static const QRegularExpression tagLine(QStringLiteral("^([EWIPXON]): [^:]+: (\\S+)"));
    for (const QString& line : output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch match = tagLine.match(line);
        if (match.hasMatch()) {
            tags.append({ match.captured(1).at(0), match.captured(2), line });
        }
    }
    return tags;
}

} // namespace

TEST(DebPackageTest, TheDescriptionNamesEverySwitcherAndEveryOutput)
{
    QTemporaryDir output;
    ASSERT_TRUE(output.isValid());
    const QString package = buildPackage(output);
    ASSERT_FALSE(package.isEmpty());
    // Debian folds the long description; a name may be broken across lines.
    const QString description = packageField(package, QStringLiteral("Description")).simplified();
    for (const QString& name : sourcesAndOutputs) {
        EXPECT_TRUE(description.contains(name)) << name.toStdString() << " not in: " << description.toStdString();
    }
}

TEST(DebPackageTest, LintianReportsNoErrorsAndNoWarningsBeyondTheAcceptedOnes)
{
    QTemporaryDir output;
    ASSERT_TRUE(output.isValid());
    const QString package = buildPackage(output);
    ASSERT_FALSE(package.isEmpty());
    // As root (CI) lintian wants to be told that this is intended.
    const ProgramRun run = runProgram(QStringLiteral("lintian"),
        { QStringLiteral("--allow-root"), QStringLiteral("--tag-display-limit"), QStringLiteral("0"),
            QStringLiteral("--display-info"), package },
        withTimeout(packagingTimeoutMs));
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    // lintian exits 2 when it could not check at all; 1 when it found errors.
    ASSERT_NE(run.exitCode, 2) << run.describe().toStdString();
    const QList<LintianTag> tags = lintianTags(run.out);
    for (const LintianTag& tag : tags) {
        if (tag.severity == u'E') {
            ADD_FAILURE() << "lintian error: " << tag.line.toStdString();
        } else if (tag.severity == u'W' && !acceptedLintianTags.contains(tag.name)) {
            ADD_FAILURE() << "lintian warning not accepted: " << tag.line.toStdString();
        }
    }
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    std::cout << "lintian said:\n" << run.out.toStdString() << run.err.toStdString();
}

TEST(DebPackageTest, LintianTagLinesAreReadWithTheirSeverity)
{
    const QList<LintianTag> tags
        = lintianTags(QStringLiteral("E: mixdesk-tally: unstripped-binary-or-object [usr/bin/tallyctl]\n"
                                     "W: mixdesk-tally: binary-without-manpage [usr/bin/tallyctl]\n"
                                     "N: some explanation\n"
                                     "I: mixdesk-tally: hardening-no-fortify-functions [usr/bin/tallyctl]\n"));
    ASSERT_EQ(tags.size(), 3);
    EXPECT_EQ(tags[0].severity, u'E');
    EXPECT_EQ(tags[0].name, QStringLiteral("unstripped-binary-or-object"));
    EXPECT_EQ(tags[1].severity, u'W');
    EXPECT_EQ(tags[1].name, QStringLiteral("binary-without-manpage"));
    EXPECT_EQ(tags[2].name, QStringLiteral("hardening-no-fortify-functions"));
}

namespace {

// Installing changes the running system, so a developer's machine opts in;
// a CI machine is thrown away after the run and says so with CI=true.
bool isRootWithPackageInstallsAllowed()
{
    return ::geteuid() == 0
        && (qEnvironmentVariable("MIXDESK_TALLY_DPKG_TEST") == QStringLiteral("1")
            || qEnvironmentVariable("CI") == QStringLiteral("true"));
}

} // namespace

TEST(DebPackageTest, PackageInstallsRunsAndRemovesCleanly)
{
    if (!isRootWithPackageInstallsAllowed()) {
        GTEST_SKIP() << "installs into the running system: runs only as root, on CI (CI=true) or with "
                        "MIXDESK_TALLY_DPKG_TEST=1";
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
    for (const char* path : { "/usr/bin/tallyctl", "/usr/bin/mixdesk-standin", "/usr/share/mixdesk-tally/query_shots",
             "/usr/share/applications/io.github.mixdesktally.MixdeskTally.desktop",
             "/usr/lib/udev/rules.d/70-mixdesk-tally.rules" }) {
        EXPECT_FALSE(QFileInfo::exists(QString::fromLatin1(path))) << path;
    }
    const ProgramRun status = runProgram(QStringLiteral("dpkg-query"),
        { QStringLiteral("-W"), QStringLiteral("-f=${Status}"), QStringLiteral("mixdesk-tally") });
    EXPECT_FALSE(status.out.contains(QStringLiteral("install ok installed"))) << status.out.toStdString();
}
